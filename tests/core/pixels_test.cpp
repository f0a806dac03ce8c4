// The 16- and 32-bit pixels of the DIB floor: rows of whole dwords, pixels as little-endian
// words stored and read back as they are, neighbours left alone by a write or a copy.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <type_traits>

#include "dib_layout.hpp"
#include "pixels.hpp"

namespace {

template <unsigned Bits>
void ExpectWordsInPlace(uint32_t value) {
    constexpr unsigned kBytes = Bits / 8;
    std::array<uint8_t, 16> row, copy;
    row.fill(0xEE);
    copy.fill(0xEE);
    vx::SetPixel<Bits>(row.data(), 1, value);
    for (unsigned i = 0; i < row.size(); ++i) {
        const bool inPixel = i >= kBytes && i < 2 * kBytes;
        EXPECT_EQ(row[i], inPixel ? uint8_t(value >> 8 * (i - kBytes)) : 0xEE) << Bits << " bits, byte " << i;
    }
    EXPECT_EQ(vx::GetPixel<Bits>(row.data(), 1), value) << Bits << " bits";
    EXPECT_EQ(vx::GetPixel<Bits>(row.data(), 0), Bits == 16 ? 0xEEEEu : 0xEEEEEEEEu) << Bits << " bits";
    vx::CopyPixel<Bits>(row.data(), 1, copy.data(), 2);
    for (unsigned i = 0; i < copy.size(); ++i)
        EXPECT_EQ(copy[i], i / kBytes == 2 ? row[i - kBytes] : 0xEE) << Bits << " bits, copied byte " << i;
}

}  // namespace

TEST(Pixels, SixteenAndThirtyTwoBitRowsAndWords) {
    const struct { uint32_t bits, width, stride; } rows[] = {
        {16, 1, 4}, {16, 2, 4}, {16, 3, 8}, {32, 1, 4}, {32, 3, 12}, {32, 0x7FFFFFF, 0x1FFFFFFC},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(vx::RowStride(r.width, r.bits), r.stride) << r.bits << " bits x " << r.width;
        EXPECT_EQ(vx::Stride32(r.width, r.bits), r.stride) << r.bits << " bits x " << r.width;
    }
    EXPECT_FALSE(vx::Stride32(0x8000000, 32));  // the 32-bit arithmetic would wrap
    ExpectWordsInPlace<16>(0xFC1F);  // bit 15 is kept as stored
    ExpectWordsInPlace<32>(0x80FF8040);  // so is the fourth byte
}

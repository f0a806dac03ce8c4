// SkewDIB against a plain shear written from the documented moves, and its error-channel,
// corner-record and refusal contracts.

#include <climits>
#include <cstdlib>

#include "export_calls.hpp"

using namespace vxtest;

namespace {

// The whole result block, moving one pixel (vertical) or one source byte (horizontal) at a
// time. Horizontal writes past the end of the block are dropped.
Bytes ReferenceSkew(const Bytes& src, bool horizontal, int d, int corners[8]) {
    const int64_t W = static_cast<int32_t>(GetU32(src, 4)), H = static_cast<int32_t>(GetU32(src, 8));
    const int b = GetU16(src, 14);
    const size_t table = 40 + 4 * Colours(src);
    const int64_t m = std::llabs(int64_t{d});
    const int64_t outW = horizontal ? W + m : W, outH = horizontal ? H : H + m;
    const size_t stride = Stride(W, b), outStride = Stride(outW, b);
    Bytes out = ResultFrame(src, table, outW, outH, outStride);
    const int64_t c[2][2][8] = {
        {{0, 0, W, 0, W, H - d, 0, H - d}, {0, d, W, d, W, H, 0, H}},
        {{0, 0, W, 0, W - d, H, -d, H}, {d, 0, W + d, 0, W, H, 0, H}}};
    for (int i = 0; i < 8; ++i) corners[i] = static_cast<int32_t>(c[horizontal][d > 0][i]);
    if (b != 1 && b != 4 && b != 8 && b != 24) return out;

    if (!horizontal) {
        for (int64_t x = 0; x < W; ++x) {
            const int64_t s = d > 0 ? m * x / W : m * (W - x) / W, byte = x * b / 8;
            for (int64_t r = 0; r < H; ++r) {
                const size_t from = table + r * stride + byte, to = table + (r + s) * outStride + byte;
                if (b == 1) out.at(to) |= src.at(from) & (128 >> (x % 8));
                if (b == 4) out.at(to) |= src.at(from) & (x % 2 ? 15 : 240);
                for (int i = 0; i < b / 8; ++i) out.at(to + i) = src.at(from + i);
            }
        }
        return out;
    }
    for (int64_t y = 0; y < H; ++y) {
        int64_t t = d > 0 ? b * m * y / H : b * m * (H - y) / H;
        if (b == 8 || b == 24) t = (t + 7) / 8 * 8;
        int64_t B = t / 8, k = t % 8;
        if (b == 24) B = B / 3 * 3;
        if (b == 4) k = k < 4 ? 0 : 4;
        const size_t row = table + y * outStride + B;
        for (int64_t i = 0; i < (b * W + 7) / 8; ++i) {
            const uint8_t v = src.at(table + y * stride + i);
            if (k == 0) {
                out.at(row + i) = v;
                continue;
            }
            out.at(row + i) |= static_cast<uint8_t>(v >> k);
            if (row + i + 1 < out.size()) out[row + i + 1] = static_cast<uint8_t>(v << (8 - k));
        }
    }
    return out;
}

// Depths other than 1, 4, 8 and 24 give a blank image of the new size.
TEST(SkewDIB, MatchesThePerPixelShearForEveryDepthAndOffset) {
    const int sizes[][2] = {{1, 1}, {1, 5}, {9, 1}, {25, 3}, {31, 7}, {32, 3}, {33, 17}, {13, 40}};
    uint32_t seed = 100;
    for (int bits : {1, 4, 8, 24, 16, 32})
        for (const auto& size : sizes)
            for (int direction : {0, 1, -7})
                for (int d : {0, 1, 3, -1, -5, size[0] + size[1] + 3, -2 * size[0] - 2 * size[1] - 1}) {
                    ++seed;
                    SCOPED_TRACE(testing::Message() << bits << " bits " << size[0] << "x" << size[1]
                                                    << " direction " << direction << " offset " << d << " seed " << seed);
                    const Bytes src = PackedDib(
                        {size[0], size[1], static_cast<uint16_t>(bits), seed % 3 == 0 && bits <= 8 ? 2u : 0u, false, seed});
                    int want[8], got[8];
                    DWORD error = 77;
                    const Bytes expected = ReferenceSkew(src, direction != 0, d, want);
                    const Outcome o = CallOn(src, [&](HDIB dib) { return SkewDIB(dib, direction, d, &error, got); });
                    ASSERT_EQ(o.result, expected);
                    EXPECT_TRUE(std::equal(got, got + 8, want));
                    EXPECT_EQ(error, 77u);  // success leaves the cell alone, clears the module code, keeps the lock
                    EXPECT_TRUE(o.moduleCode == IMGERR_SUCCESS && o.sourceUnchanged && o.sourceLocked);
                }
}

// Pinning the model: a 24-bit shift that falls inside a pixel goes up to whole bytes, then
// down to whole pixels (2 x 2, offset -1: row 1 moves 24 x 1 x 1 / 2 = 12 bits -> 16 bits ->
// byte 2 -> byte 0).
TEST(SkewDIB, WholePixelShiftsAtTwentyFourBits) {
    const Bytes src = PackedDib({2, 2, 24, 0, false, 4});
    int corners[8];
    const Bytes b = ReferenceSkew(src, true, -1, corners);
    EXPECT_TRUE(std::equal(b.begin() + 40 + 12, b.begin() + 40 + 18, src.begin() + 40 + 8));
    EXPECT_TRUE(std::equal(b.begin() + 40 + 3, b.begin() + 40 + 9, src.begin() + 40));
}

TEST(SkewDIB, FailuresSetTheSameCodeInBothPlacesAndUnlockTheSource) {
    const Bytes good = PackedDib({10, 6, 4, 0, false, 2});
    const int P = IMGERR_PARAMETER, S = IMGERR_DIBSIZE, M = IMGERR_NOMEMORY;
    const struct { const char* what; Source source; int direction, offset, code; bool cornersWritten = false; } cases[] = {
        {"header only 39 bytes", Cut(good, 39), 1, 3, P}, {"biSize 108", With(good, 0, 108), 1, 3, P},
        {"RLE4", With(good, 16, 2), 1, 3, IMGERR_COMPRESSED}, {"width 0", With(good, 4, 0), 1, 3, S},
        {"height 0", With(good, 8, 0), 0, 3, S}, {"top-down rows", With(good, 8, uint32_t(-6)), 0, 3, S},
        {"block one byte short", Cut(good, good.size() - 1), 0, 3, S},
        {"2^32-byte result", good, 0, 1000000000, M, true}, {"height past 2^31", good, 0, INT_MAX, M, true},
        {"width past 2^31", good, 1, INT_MIN, M, true},
        {"null handle", kNullHandle, 1, 1, P}, {"unlockable", kUnlockable, 1, 1, IMGERR_LOCKMEMORY},
    };
    ExpectRefusals(Reports::kBoth, cases, [](HDIB dib, const auto& c, DWORD* error) {
        int corners[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
        HDIB out = SkewDIB(dib, c.direction, c.offset, error, corners);
        EXPECT_EQ(corners[0] != -1, c.cornersWritten);
        return out;
    });
    // Without a cell, the module code alone.
    EXPECT_EQ(CallOn(kNullHandle, [](HDIB d) { return SkewDIB(d, 1, 1, nullptr, nullptr); }).moduleCode, IMGERR_PARAMETER);
}

}  // namespace

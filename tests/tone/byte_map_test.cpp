// ByteMap and IndexBits: the AVX2 workers against the portable ones (and those against a plain
// look-up), over lengths that reach every tail, in place and not, for tables of every kind; and
// the gray rows of a result large enough to be streamed, against the portable rows.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tone/byte_map.hpp"
#include "tone/luminance.hpp"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes RandomBytes(std::mt19937& random, size_t n) {
    Bytes b(n);
    for (size_t i = 0; i < n; i += 4) {
        const uint32_t r = random();
        for (size_t k = 0; k < 4 && i + k < n; ++k) b[i + k] = static_cast<uint8_t>(r >> 8 * k);
    }
    return b;
}

// Flag tables: random, empty, full, and "from k on" for k = 1, 128, 255 (and with one gap).
std::vector<Bytes> FlagTables(std::mt19937& random) {
    std::vector<Bytes> sets = {RandomBytes(random, 256), Bytes(256, 0), Bytes(256, 1)};
    for (int from : {1, 128, 255, 200}) {
        Bytes set(256, 0);
        for (int i = from; i < 256; ++i) set[i] = 1;
        if (from == 200) set[230] = 0;
        sets.push_back(set);
    }
    return sets;
}

TEST(ByteMap, EveryWorkerLooksUpEveryByte) {
    std::mt19937 random(5);
    for (int round = 0; round < 8; ++round) {
        const Bytes table = RandomBytes(random, 256);
        for (size_t n : {0, 1, 31, 32, 33, 63, 64, 95, 257, 1000}) {
            const Bytes src = RandomBytes(random, n + 1);
            Bytes want(n + 1, 0xEE);
            for (size_t i = 0; i < n; ++i) want[i] = table[src[i]];
            for (bool portable : {true, false}) {
                SCOPED_TRACE(testing::Message() << "length " << n << (portable ? " portable" : " fastest"));
                const vx::tone::ByteMap map(table.data(), portable);
                Bytes out(n + 1, 0xEE), inPlace = src;
                map.map(src.data(), out.data(), n);
                map.map(inPlace.data(), inPlace.data(), n);
                EXPECT_EQ(out, want);
                inPlace[n] = 0xEE;
                EXPECT_EQ(inPlace, want);
            }
        }
    }
}

TEST(IndexBits, EveryWorkerPacksTheFlagsFirstInTheTopBit) {
    std::mt19937 random(9);
    for (const Bytes& set : FlagTables(random))
        for (size_t width : {1, 7, 8, 9, 31, 32, 33, 40, 64, 65, 100}) {
            const Bytes index = RandomBytes(random, width);
            Bytes want((width + 7) / 8 + 1, 0);
            for (size_t x = 0; x < width; ++x)
                if (set[index[x]]) want[x / 8] |= uint8_t(0x80 >> x % 8);
            want.back() = 0xEE;
            for (bool portable : {true, false}) {
                SCOPED_TRACE(testing::Message() << "width " << width << (portable ? " portable" : " fastest"));
                Bytes out(want.size(), 0xEE);
                vx::tone::IndexBits(set.data(), portable).pack(index.data(), width, out.data());
                EXPECT_EQ(out, want);
            }
        }
}

TEST(GrayRows, LargeResultsMatchThePortableRows) {
    std::mt19937 random(3);
    const uint64_t width = 2901, height = 2900, srcStride = 8704, dstStride = 2904;
    const Bytes src = RandomBytes(random, srcStride * height);
    for (bool weighted : {false, true}) {
        Bytes want(dstStride * height, 0xEE), got = want;
        using vx::tone::GrayRows;
        GrayRows(vx::tone::GrayRowPath::Portable, weighted, src.data(), srcStride, want.data(), dstStride, width, height);
        GrayRows(vx::tone::FastestGrayRowPath(), weighted, src.data(), srcStride, got.data(), dstStride, width, height);
        EXPECT_TRUE(got == want) << "weighted " << weighted;
    }
}

}  // namespace

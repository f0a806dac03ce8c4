// resample_test.cpp - VexoraResampleDIB against a plain double-precision model of area
// averaging and Lanczos-3 (within one level, the bound its fixed point guarantees), the exact
// properties (constant images, halving, same size), the depth each source gives, and the
// headers and sizes it refuses with their codes.

#include <array>
#include <cmath>
#include <numbers>

#include "dib_builder.hpp"
#include "scale_models.hpp"

using namespace vxtest;

namespace {

// Blue, green, red of picture pixel (x, y from the top) of a 40-byte-header DIB.
std::array<double, 3> Colour(const Bytes& dib, int64_t x, int64_t y) {
    const int bits = dib[14];
    const int64_t w = int32_t(GetU32(dib, 4)), h = int32_t(GetU32(dib, 8));
    const uint32_t table = Colours(dib);
    const uint8_t* row = &dib[40 + 4 * table + size_t(h < 0 ? y : h - 1 - y) * Stride(w, bits)];
    if (bits == 24) return {double(row[3 * x]), double(row[3 * x + 1]), double(row[3 * x + 2])};
    uint32_t index = 0;
    WithDepth(bits, [&](auto depth) { index = vx::GetPixel<decltype(depth)::value>(row, uint64_t(x)); });
    if (index >= table) return {0, 0, 0};
    const uint8_t* e = &dib[40 + 4 * index];
    return {double(e[0]), double(e[1]), double(e[2])};
}

// Exact weights of output sample i of an axis of `in` samples resized to `out`.
std::vector<std::pair<int64_t, double>> ModelWeights(int64_t in, int64_t out, int64_t i) {
    std::vector<std::pair<int64_t, double>> taps;
    if (in == out) return {{i, 1.0}};
    if (out < in) {  // the share of the output's footprint each source sample covers
        const double lo = double(i) * in / out, hi = double(i + 1) * in / out;
        for (int64_t s = int64_t(lo); s < hi; ++s) taps.push_back({s, (std::min(hi, s + 1.0) - std::max(lo, double(s))) * out / in});
        return taps;
    }
    const auto sinc = [](double t) { return t == 0 ? 1.0 : std::sin(std::numbers::pi * t) / (std::numbers::pi * t); };
    const double centre = (i + 0.5) * in / out - 0.5;
    double total = 0;
    for (int64_t s = int64_t(std::floor(centre)) - 2; s <= int64_t(std::floor(centre)) + 3; ++s) {
        const double t = centre - double(s), w = std::abs(t) < 3 ? sinc(t) * sinc(t / 3) : 0;
        taps.push_back({std::clamp<int64_t>(s, 0, in - 1), w});
        total += w;
    }
    for (auto& tap : taps) tap.second /= total;
    return taps;
}

Bytes Resampled(const Bytes& src, int w, int h) {
    Block out(VexoraResampleDIB(Block(BlockFrom(src)).get(), w, h));
    return out ? BlockBytes(out.get()) : Bytes{};
}

// The largest difference between the result and the model, over every pixel and channel.
double WorstDifference(const Bytes& src, const Bytes& out) {
    const int64_t inW = int32_t(GetU32(src, 4)), inH = std::abs(int32_t(GetU32(src, 8)));
    const int64_t outW = GetU32(out, 4), outH = GetU32(out, 8);
    double worst = 0;
    for (int64_t j = 0; j < outH; ++j)
        for (int64_t i = 0; i < outW; ++i) {
            std::array<double, 3> exact{};
            for (auto [y, wy] : ModelWeights(inH, outH, j))
                for (auto [x, wx] : ModelWeights(inW, outW, i))
                    for (int c = 0; c < 3; ++c) exact[size_t(c)] += wy * wx * Colour(src, x, y)[size_t(c)];
            const auto got = Colour(out, i, j);
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::abs(got[size_t(c)] - std::clamp(std::floor(exact[size_t(c)] + 0.5), 0.0, 255.0)));
        }
    return worst;
}

Bytes GrayTable(Bytes dib, bool ramp) {
    for (uint32_t i = 0; i < Colours(dib); ++i) {
        const uint8_t level = ramp ? uint8_t(i) : dib[40 + 4 * i];
        dib[40 + 4 * i] = dib[41 + 4 * i] = dib[42 + 4 * i] = level;
    }
    return dib;
}

TEST(Resample, FollowsTheModelWithinOneLevel) {
    const struct { int w, h, outW, outH; } sizes[] = {
        {37, 29, 11, 7}, {40, 30, 15, 12}, {9, 13, 31, 40}, {5, 3, 17, 11}, {33, 20, 70, 9}, {1, 7, 4, 3}, {64, 3, 64, 10}};
    const Bytes sources[] = {SeededDib(64, 40, 24, 3), GrayTable(SeededDib(64, 40, 8, 4), true), SeededDib(64, 40, 8, 5),
                             SeededDib(64, 40, 4, 6), GrayTable(SeededDib(64, 40, 4, 7), false), SeededDib(64, 40, 1, 8),
                             SeededDib(64, -40, 24, 9)};
    for (const Bytes& src : sources)
        for (const auto& s : sizes) {
            const Bytes image = With(With(src, 4, uint32_t(s.w)), 8, uint32_t(int32_t(GetU32(src, 8)) < 0 ? -s.h : s.h));
            SCOPED_TRACE(testing::Message() << int(src[14]) << "-bit " << s.w << "x" << s.h << " -> " << s.outW << "x" << s.outH);
            const Bytes out = Resampled(image, s.outW, s.outH);
            ASSERT_FALSE(out.empty());
            EXPECT_LE(WorstDifference(image, out), 1.0);
        }
}

TEST(Resample, ExactWhereTheArithmeticIsExact) {
    // A constant picture stays constant through every filter; halving averages 2 x 2 blocks
    // rounding half up; the same size is a copy of the whole DIB.
    const std::pair<int, int> sizes[] = {{7, 5}, {50, 3}, {91, 77}, {23, 19}};
    for (const auto& [outW, outH] : sizes) {
        Bytes flat = SeededDib(23, 19, 24, 2);
        std::fill(flat.begin() + 40, flat.end(), uint8_t(201));
        const Bytes out = Resampled(flat, outW, outH);
        for (int64_t y = 0; y < outH; ++y)
            for (int64_t x = 0; x < outW; ++x) ASSERT_EQ(Colour(out, x, y), (std::array<double, 3>{201, 201, 201})) << outW << "x" << outH;
    }
    const Bytes src = SeededDib(30, 18, 24, 11);
    const Bytes half = Resampled(src, 15, 9);
    for (int64_t y = 0; y < 9; ++y)
        for (int64_t x = 0; x < 15; ++x)
            for (size_t c = 0; c < 3; ++c) {
                const double sum = Colour(src, 2 * x, 2 * y)[c] + Colour(src, 2 * x + 1, 2 * y)[c] +
                                   Colour(src, 2 * x, 2 * y + 1)[c] + Colour(src, 2 * x + 1, 2 * y + 1)[c];
                ASSERT_EQ(Colour(half, x, y)[c], std::floor(sum / 4 + 0.5)) << x << "," << y;
            }
    for (const Bytes& same : {SeededDib(13, 7, 4, 3), PackedDib({.width = 9, .height = 4, .bitCount = 1, .coreHeader = true})})
        EXPECT_EQ(Resampled(same, GetU16(same, 0) == 12 ? 9 : 13, GetU16(same, 0) == 12 ? 4 : 7), same);
}

TEST(Resample, DepthAndHeaderOfTheResult) {
    const struct { const char* what; Bytes src; uint16_t bits; uint32_t offset; } cases[] = {
        {"24-bit", SeededDib(10, 6, 24), 24, 40},
        {"8-bit gray ramp", GrayTable(SeededDib(10, 6, 8), true), 8, 40 + 1024},
        {"4-bit gray table", GrayTable(SeededDib(10, 6, 4), false), 8, 40 + 1024},
        {"8-bit short colour table", SeededDib(10, 6, 8, 1, 20), 24, 40},
        {"1-bit colour table", SeededDib(10, 6, 1), 24, 40},
        {"core header, 4-bit", PackedDib({.width = 10, .height = 6, .bitCount = 4, .coreHeader = true}), 24, 40},
    };
    for (const auto& c : cases) {
        const Bytes out = Resampled(c.src, 25, 3);
        ASSERT_FALSE(out.empty()) << c.what;
        EXPECT_EQ(GetU32(out, 0), 40u) << c.what;
        EXPECT_EQ(GetU16(out, 14), c.bits) << c.what;
        EXPECT_EQ(out.size(), c.offset + Stride(25, c.bits) * 3) << c.what;
        EXPECT_EQ(GetU32(out, 20), Stride(25, c.bits) * 3) << c.what;
        // Resolution keeps the physical size: 3780 x 2835 per metre over 10 x 6 pixels.
        EXPECT_EQ(GetU32(out, 24), GetU32(c.src, 0) == 12 ? 0u : 9450u) << c.what;
        EXPECT_EQ(GetU32(out, 28), GetU32(c.src, 0) == 12 ? 0u : 1418u) << c.what;
        if (c.bits == 8) {
            EXPECT_EQ(GetU32(out, 40 + 4 * 200), 0x00C8C8C8u) << c.what;
        }
    }
}

TEST(Resample, RefusesWithItsCode) {
    const Bytes good = SeededDib(12, 8, 8, 3);
    const struct { const char* what; Bytes src; int w, h, code; } cases[] = {
        {"zero width asked", good, 0, 5, IMGERR_PARAMETER},
        {"negative height asked", good, 5, -1, IMGERR_PARAMETER},
        {"result over the pixel limit", good, 70000, 70000, IMGERR_DIBSIZE},
        {"two billion wide", good, 2000000000, 2, IMGERR_DIBSIZE},
        {"16-bit", SeededDib(12, 8, 16), 5, 5, IMGERR_HEADERBITCOUNT},
        {"2-bit", SeededDib(12, 8, 2), 5, 5, IMGERR_HEADERBITCOUNT},
        {"run-length compressed", With(good, 16, 1), 5, 5, IMGERR_COMPRESSED},
        {"one byte short", Cut(good, good.size() - 1), 5, 5, IMGERR_DIBSIZE},
        {"more rows than bytes", With(good, 8, 9), 5, 5, IMGERR_DIBSIZE},
        {"zero width", With(good, 4, 0), 5, 5, IMGERR_DIBSIZE},
        {"negative width", With(good, 4, uint32_t(-12)), 5, 5, IMGERR_DIBSIZE},
        {"huge colour table", With(good, 32, 0x40000000), 5, 5, IMGERR_DIBSIZE},
        {"source over the pixel limit", With(With(good, 4, 0x10000), 8, 0x10001), 5, 5, IMGERR_DIBSIZE},
        {"version 5 header", With(good, 0, 124), 5, 5, IMGERR_DIBSIZE},
        {"header cut short", Cut(good, 30), 5, 5, IMGERR_DIBSIZE},
    };
    for (const auto& c : cases) {
        SetImgError(IMGERR_SUCCESS);
        EXPECT_EQ(Resampled(c.src, c.w, c.h), Bytes{}) << c.what;
        EXPECT_EQ(ImgError(), c.code) << c.what;
    }
    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(VexoraResampleDIB(nullptr, 5, 5), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
}

}  // namespace

// Convert8to24 and ColorBrightnessContrast against models written from the documented steps
// (16-bit widths, strides and pixel offsets, the unbounded table index, the level table in
// double precision): whole result blocks compared byte for byte, and the refusals in order.

#include "export_calls.hpp"

using namespace vxtest;

namespace {

int ByteAt(const Bytes& b, int64_t at) { return at >= 0 && uint64_t(at) < b.size() ? b[size_t(at)] : 0; }

Bytes Expand24Model(const Bytes& src) {
    const int16_t w = int16_t(GetU32(src, 4)), h = int16_t(GetU32(src, 8)), used = int16_t(GetU32(src, 32));
    const int64_t pixels = 40 + 4 * (used ? used : 256);
    const auto srcStride = uint16_t((GetU16(src, 14) * w + 31) / 32 * 4);
    const auto outStride = uint16_t((w * 24 + 31) / 32 * 4);
    Bytes out(size_t(40 + h * outStride), 0);
    std::copy(src.begin(), src.begin() + 40, out.begin());
    for (const auto& [at, v] : {std::pair{12u, 1u | 24 << 16}, {20u, uint32_t(h * outStride)}, {32u, 0u}, {36u, 0u}}) PutU32(out, at, v);
    for (int64_t y = 0; y < h; ++y)
        for (int64_t x = 0; x < w; ++x) {
            const int index = ByteAt(src, pixels + y * srcStride + x);
            const int64_t at = 40 + y * outStride + int16_t(3 * x);
            for (int64_t k = at < 0 ? -at : 0; k < 3 && at + k < int64_t(out.size()); ++k)
                out[size_t(at + k)] = uint8_t(ByteAt(src, 40 + 4 * index + k));
        }
    return out;
}

int Level(int i, int b, int c) {
    const double v = double(std::clamp(i + b * 128 / 100, 0, 255)) * (c + 100) * 0.01 - c * 128 / 100;
    return v > 255 ? 255 : v <= 0 ? 0 : int(v);
}

Bytes BrightnessModel(const Bytes& src, int brightness, int contrast) {
    const int b = int16_t(brightness), c = int16_t(contrast), bits = GetU16(src, 14);
    const int64_t w = int32_t(GetU32(src, 4)), h = int32_t(GetU32(src, 8));
    const size_t n = GetU32(src, 32) ? GetU32(src, 32) : bits == 4 ? 16 : bits == 8 ? 256 : 0, pixels = 40 + 4 * n;
    const uint32_t image = GetU32(src, 20) ? GetU32(src, 20) : uint32_t((bits * w + 31) / 32 * 4 * h);
    Bytes out(pixels + image, 0);
    std::copy(src.begin(), src.begin() + int64_t(pixels), out.begin());
    PutU32(out, 20, image);
    if (bits == 4 || bits == 8) {
        for (size_t i = 40; i < pixels; ++i) out[i] = i % 4 == 3 ? src[i] : uint8_t(Level(src[i], b, c));
        std::copy(src.begin() + int64_t(pixels), src.begin() + int64_t(pixels + image), out.begin() + int64_t(pixels));
    }
    const uint16_t stride = uint16_t((w * 24 + 31) / 32 * 4);
    for (int64_t y = 0; bits == 24 && y < h; ++y)
        for (int64_t k = 0, at = int64_t(pixels) + y * stride; k < 3 * w; ++k, ++at)
            if (at < int64_t(out.size())) out[size_t(at)] = uint8_t(Level(ByteAt(src, at), b, c));
    return out;
}

TEST(Convert8to24, MatchesTheModelForEverySizeAndTableLength) {
    uint32_t seed = 10;
    for (uint16_t bits : {8, 2, 16, 32})
        for (uint32_t used : {0u, 2u, 17u, 0x10000u})  // 2: indices past the table; 0x10000: 256 entries
            for (int w : {1, 2, 3, 4, 5, 7, 8, 9, 13, 31, 33})
                for (int h : {1, 2, 5}) {
                    const Bytes src = SeededDib(w, h, bits, ++seed, used, -1, used % 0x10000 ? used : 256);
                    SCOPED_TRACE(testing::Message() << bits << "-bit " << w << "x" << h << " clrUsed " << used);
                    ExpectResult(src, Expand24Model(src), true, Convert8to24);  // the source stays locked
                }
}

// 65537 columns are one column; rows over 32767 bytes wrap back over earlier rows and the
// header; at 21845 columns the result stride is 0; 65539 rows are 3.
TEST(Convert8to24, SixteenBitArithmeticOfWideImages) {
    const int32_t sizes[][3] = {{65537, 3, 3}, {10923, 2, 2}, {10924, 2, 2}, {11000, 3, 3},
                                {21845, 2, 2}, {30000, 2, 2}, {5, 65539, 3}};
    for (const auto& s : sizes) {
        Bytes src = With(With(SeededDib(int16_t(s[0]), s[2], 8, uint32_t(s[0])), 4, uint32_t(s[0])), 8, uint32_t(s[1]));
        SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
        ExpectResult(src, Expand24Model(src), true, Convert8to24);
    }
}

TEST(Convert8to24, RefusalsInTheirOrder) {
    const int P = IMGERR_PARAMETER, S = IMGERR_DIBSIZE, B = IMGERR_BITCOUNT;
    const Refusal cases[] = {
        {"block under 40 bytes", Cut(SeededDib(4, 4, 8), 39), P}, {"biSize 12", With(SeededDib(4, 4, 8), 0, 12), P},
        {"compressed 24-bit", With(SeededDib(4, 4, 24), 16, 1), IMGERR_COMPRESSED},
        {"1-bit, before the size", SeededDib(0, 4, 1), B}, {"4-bit", SeededDib(4, 4, 4), B},
        {"24-bit, before the size", SeededDib(0, 4, 24), 31}, {"width 65536 is 0", SeededDib(65536, 4, 8, 1, 0, 0), S},
        {"height 0", SeededDib(4, 0, 8), S}, {"width 40000 is negative", SeededDib(40000, 1, 8, 1, 0, 0), S},
        {"negative height", SeededDib(4, -4, 8), S}, {"colour count 40000 is negative", SeededDib(4, 4, 8, 1, 40000, 4, 256), S},
        {"block one byte short", Cut(SeededDib(7, 5, 8), 1103), S},
        {"null handle", kNullHandle, P}, {"unlockable", kUnlockable, IMGERR_LOCKMEMORY},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [](HDIB d, auto&, auto) { return Convert8to24(d); });
}

// Every level at every setting, through a colour table and through 24-bit pixels.
TEST(ColorBrightnessContrast, LevelsMatchTheDoublePrecisionFormulaForEverySetting) {
    Bytes paletted = SeededDib(1, 1, 8), trueColour = SeededDib(86, 1, 24);
    for (size_t i = 0; i < 256; ++i) paletted[41 + 4 * i] = trueColour[40 + i] = uint8_t(i);
    for (int b = -100; b <= 100; ++b)
        for (int c = -100; c <= 100; ++c) {
            SCOPED_TRACE(testing::Message() << "brightness " << b << ", contrast " << c);
            for (const Bytes* src : {&paletted, &trueColour})
                ASSERT_NO_FATAL_FAILURE(ExpectResult(*src, BrightnessModel(*src, b, c), true,
                                                     [&](HDIB d) { return ColorBrightnessContrast(d, b, c); }));
        }
    for (int i = 0; i < 256; ++i) {  // the documented corners
        EXPECT_EQ(Level(i, 0, 0), i);
        EXPECT_EQ(Level(i, 100, 0), std::min(i + 128, 255));
        EXPECT_EQ(Level(i, 0, -100), 128);
    }
}

// biSizeImage as stored, 0 (computed and stored) or too small for the rows; 24-bit widths
// whose 16-bit stride wraps, so that rows overlap (21845: they coincide).
TEST(ColorBrightnessContrast, MatchesTheModelForEveryDepthAndImageSize) {
    uint32_t seed = 40;
    const int settings[][2] = {{0, 0}, {37, -12}, {-100, 100}, {65536 + 20, -65536 - 50}};
    for (uint16_t bits : {4, 8, 24, 16, 32, 2})
        for (uint32_t used : {0u, 5u})
            for (int w : {1, 2, 3, 5, 8, 9, 13, 33, 21844, 21845, 21846, 30000})
                for (int h : {1, 2, 5})
                    for (uint32_t sizeImage : {0xFFFFFFFFu, 0u, 1u})
                        for (const auto& s : settings) {
                            if (w > 64 && (bits != 24 || used != 0 || s[0] != 37)) continue;
                            const Bytes src = PackedDib({w, h, bits, used, false, ++seed, -1, -1, 1, sizeImage});
                            SCOPED_TRACE(testing::Message() << bits << "-bit " << w << "x" << h << " clrUsed " << used
                                                            << " sizeImage " << sizeImage << " setting " << s[0]);
                            ExpectResult(src, BrightnessModel(src, s[0], s[1]), true,
                                         [&](HDIB d) { return ColorBrightnessContrast(d, s[0], s[1]); });
                        }
}

// Pixels of 8 MiB and more are stored around the cache from an aligned boundary on; odd rows
// (3 x 1671 bytes) put that boundary everywhere.
TEST(ColorBrightnessContrast, LargeResultsMatchTheModel) {
    for (const Bytes& src : {SeededDib(1671, 1700, 24, 77), SeededDib(2901, 2900, 8, 78)})
        ExpectResult(src, BrightnessModel(src, -23, 61), true,
                     [&](HDIB d) { return ColorBrightnessContrast(d, -23, 61); });
}

TEST(ColorBrightnessContrast, RefusalsInTheirOrder) {
    struct Case { const char* what; Source source; int code, brightness = 0, contrast = 0; };
    const int P = IMGERR_PARAMETER, S = IMGERR_DIBSIZE;
    const Case cases[] = {
        {"block under 40 bytes", Cut(SeededDib(4, 4, 8), 39), P}, {"biSize 108", With(SeededDib(4, 4, 8), 0, 108), P},
        {"compressed 1-bit", With(SeededDib(4, 4, 1), 16, 2), IMGERR_COMPRESSED},
        {"1-bit, before size and settings", SeededDib(0, 4, 1), IMGERR_BITCOUNT, 500},
        {"width 65536, before settings", SeededDib(65536, 1, 8, 1, 0, 0), S, 101}, {"height 0", SeededDib(4, 0, 24), S},
        {"brightness 101", SeededDib(4, 4, 8), P, 101}, {"brightness -101", SeededDib(4, 4, 24), P, -101},
        {"contrast 101", SeededDib(4, 4, 4), P, 0, 101}, {"16-bit brightness -32668", SeededDib(4, 4, 4), P, 32868, 65535},
        {"negative height", SeededDib(4, -4, 8), S}, {"one byte short", Cut(SeededDib(7, 5, 24), 159), S},
        {"short of biSizeImage", With(SeededDib(4, 4, 8), 20, 17), S},
        {"null handle", kNullHandle, P}, {"unlockable", kUnlockable, IMGERR_LOCKMEMORY},
    };
    ExpectRefusals(Reports::kModuleCode, cases,
                   [](HDIB d, const Case& c, auto) { return ColorBrightnessContrast(d, c.brightness, c.contrast); });
}

}  // namespace

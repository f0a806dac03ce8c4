// ConvColorDIBtoGrayscale and ConvMonoDIBtoGrayscale against models written from the documented
// steps: whole result blocks (header, table, pixels, padding, slack) compared byte for byte on
// random images of every accepted depth and awkward sizes, 1-bit renderings through a literal
// accumulator ring, a worked example, and the refusals in their order. The 24-bit gray rows
// take the path the SIMD policy allows; the scalar run of the suite takes the portable one.

#include <cstdlib>

#include "export_calls.hpp"

using namespace vxtest;

namespace {

int Gray(int b, int g, int r, bool weighted) { return weighted ? int(unsigned((g * 5 + b) * 3 + r * 8) / 26u) : (b + g + r) / 3; }

const int k3[3][3] = {{8, 31, 8}, {31, 99, 31}, {8, 31, 8}};
const int k5[5][5] = {{0, 3, 7, 3, 0}, {3, 16, 25, 16, 3}, {7, 25, 39, 25, 7}, {3, 16, 25, 16, 3}, {0, 3, 7, 3, 0}};

// The 1-bit rendering step by step: nibble rows with their border columns; the expansion
// written 8 bytes per source byte; the spreads through a ring of 3 or 5 accumulators primed
// with row 0, roles turning with the row number, the newest entry assigned, the oldest output.
struct MonoModel {
    const Bytes& src;
    size_t pixels, stride;
    int64_t width, height;
    bool complement;

    int Bit(int64_t row, int64_t col) const {
        const int64_t columns = 8 * ((width + 7) / 8);
        col += col < 0 ? 4 : col >= columns ? -4 : 0;
        const size_t at = pixels + size_t(row) * stride + size_t(col / 8);
        return ((at < src.size() ? src[at] : 0) >> (7 - col % 8) & 1) ^ int(complement);
    }

    void Render(int mode, Bytes& out, size_t outPixels, size_t outStride) const {
        if (mode == 2 && height < 6) mode = height < 4 ? 0 : 1;
        const int64_t columns = 8 * ((width + 7) / 8);
        for (int64_t i = 0; mode == 0 && i < height; ++i)
            for (int64_t c = 0; c < columns; ++c)
                if (size_t at = outPixels + size_t(i) * outStride + size_t(c); at < out.size())
                    out[at] = Bit(i, c) ? 255 : 0;
        if (mode == 0) return;
        const int K = mode == 1 ? 3 : 5, r = K / 2;
        std::vector<Bytes> ring(size_t(K), Bytes(size_t(columns) + 16, 0xCD));
        const auto spread = [&](int64_t row, int64_t i) {
            const int64_t turn = (i % K + K) % K;
            const auto entry = [&](int role) -> Bytes& { return ring[size_t((turn + role) % K)]; };
            std::fill(entry(K - 1).begin(), entry(K - 1).end(), 0);
            for (int64_t c = -2; c < columns + 4; ++c)
                for (int ky = 0; ky < K && Bit(row, c); ++ky)
                    for (int64_t kx = 0, at = c + 4 - r; kx < K; ++kx, ++at)
                        if (at >= 0) entry(ky)[size_t(at)] += uint8_t(K == 3 ? k3[ky][kx] : k5[ky][kx]);
        };
        for (int64_t i = 1 - K; i < 0; ++i) spread(0, i);
        for (int64_t i = 0; i < height; ++i) {
            spread(i, i);
            const Bytes& oldest = ring[size_t(i % K)];
            std::copy(oldest.begin() + 4, oldest.begin() + 4 + width,
                      out.begin() + int64_t(outPixels + size_t(i) * outStride));
        }
    }
};

void Ramp(Bytes& out, bool descending) {
    for (size_t i = 0; i < 256; ++i) out[40 + 4 * i] = out[41 + 4 * i] = out[42 + 4 * i] = uint8_t(descending ? 255 - i : i);
}

Bytes ColorModel(const Bytes& src, int monoMode, bool weighted) {
    const int64_t w = int32_t(GetU32(src, 4)), h = int32_t(GetU32(src, 8));
    const int bits = GetU16(src, 14);
    const size_t n = GetU32(src, 32) ? GetU32(src, 32) : bits == 1 ? 2 : bits == 4 ? 16 : bits == 8 ? 256 : 0;
    const size_t srcPixels = 40 + 4 * n, srcStride = Stride(w, bits), m = bits == 4 ? 16 : 256;
    const size_t outStride = Stride(w, bits == 4 ? 4 : 8), sizeImage = outStride * h;
    Bytes out(40 + 4 * m + sizeImage + (bits == 1 || bits == 24 ? (w * 40 + 155) / 32 * 4 : 0), 0);
    std::copy(src.begin(), src.begin() + 40, out.begin());
    PutU16(out, 14, bits == 4 ? 4 : 8);
    PutU32(out, 20, uint32_t(sizeImage));
    PutU32(out, 32, uint32_t(m));
    if (bits == 4 || bits == 8) {
        for (size_t i = 40; i < 40 + 4 * n; i += 4)  // entries past the table run into the pixels
            for (size_t k = 0; k < 4 && i + k < out.size(); ++k)
                out[i + k] = k == 3 ? 0 : uint8_t(Gray(src[i], src[i + 1], src[i + 2], weighted));
        const auto from = src.begin() + int64_t(srcPixels);
        std::copy(from, from + int64_t(sizeImage), out.begin() + int64_t(40 + 4 * m));
        return out;
    }
    Ramp(out, false);
    for (int64_t y = 0; bits == 24 && y < h; ++y)
        for (int64_t x = 0; x < w; ++x) {
            const size_t p = srcPixels + y * srcStride + 3 * x;
            out[40 + 4 * m + y * outStride + x] = uint8_t(Gray(src[p], src[p + 1], src[p + 2], weighted));
        }
    if (bits == 1) MonoModel{src, srcPixels, srcStride, w, h, false}.Render(monoMode, out, 40 + 4 * m, outStride);
    return out;
}

Bytes MonoResultModel(const Bytes& src, int mode) {
    const int64_t w = int32_t(GetU32(src, 4)), h = int32_t(GetU32(src, 8));
    const size_t outStride = Stride(w, 8);
    Bytes out(1064 + outStride * h + (w * 40 + 155) / 32 * 4, 0);
    const uint32_t fields[10] = {40, uint32_t(w), uint32_t(h), 1 | 8u << 16, 0, uint32_t(outStride * h),
                                 GetU32(src, 24), GetU32(src, 28), 0, 0};
    std::memcpy(out.data(), fields, 40);
    Ramp(out, true);
    const auto at = [&](size_t i) -> int { return i < src.size() ? src[i] : 0; };
    const bool complement = at(40) * at(41) * at(42) < at(44) * at(45) * at(46);
    MonoModel{src, 48, Stride(w, 1), w, h, complement}.Render(mode, out, 1064, outStride);
    return out;
}

// Calls f(width, height) for sizes around the byte, nibble and dword boundaries of 1-bit rows.
template <typename F>
void ForEachSize(F f) {
    for (int w : {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 31, 33, 63, 65, 100})
        for (int h : {1, 2, 3, 4, 5, 6, 7, 11}) f(w, h);
}

TEST(ConvColorDIBtoGrayscale, MatchesTheModelForEveryDepthSizeModeAndWeighting) {
    uint32_t seed = 1;
    for (uint16_t bits : {1, 4, 8, 24})
        for (uint32_t used : {0u, 3u, 20u})
            ForEachSize([&](int w, int h) {
                for (int mode = bits == 1 ? 0 : 7; mode <= (bits == 1 ? 2 : 7); ++mode)
                    for (BOOL weighted : {FALSE, TRUE}) {
                        const Bytes src = SeededDib(w, h, bits, ++seed, used);
                        SCOPED_TRACE(testing::Message() << bits << "-bit " << w << "x" << h << " clrUsed " << used
                                                        << " mode " << mode << " weighted " << weighted);
                        ExpectResult(src, ColorModel(src, mode, weighted), true,  // the source stays locked
                                     [&](HDIB d) { return ConvColorDIBtoGrayscale(d, mode, weighted); });
                    }
            });
}

// Either entry may be the darker; equal products count the 1-bits. With one entry in biClrUsed
// the rows, read after two entries, run 4 bytes past the block: those read as 0.
TEST(ConvMonoDIBtoGrayscale, MatchesTheModelForEitherDarkerColour) {
    const uint8_t tables[][8] = {{0, 0, 0, 0, 255, 255, 255, 0}, {255, 255, 255, 0, 0, 0, 0, 0},
                                 {10, 20, 30, 0, 30, 20, 10, 0}, {0, 255, 255, 0, 1, 1, 1, 0}};
    uint32_t seed = 900;
    for (const auto& table : tables)
        for (uint32_t used : {0u, 1u})
            for (int mode : {0, 1, 2})
                ForEachSize([&](int w, int h) {
                    Bytes src = SeededDib(w, h, 1, ++seed, used);
                    std::copy(table, table + (used ? 4 : 8), src.begin() + 40);
                    SCOPED_TRACE(testing::Message() << "mode " << mode << " " << w << "x" << h << " table "
                                                    << int(table[0]) << " clrUsed " << used);
                    ExpectResult(src, MonoResultModel(src, mode), false,
                                 [&](HDIB d) { return ConvMonoDIBtoGrayscale(d, mode); });
                });
}

// The pure primaries of the documented example ride along as the first three pixels.
TEST(Grayscale, RefusalsInTheirOrderAndTheDocumentedGrays) {
    struct Case { const char* what; Source source; int code, mode = 0; bool mono = false; };
    const int P = IMGERR_PARAMETER, S = IMGERR_DIBSIZE, B = IMGERR_BITCOUNT, C = IMGERR_COMPRESSED;
    const Case cases[] = {
        {"block under 40 bytes", Bytes(39, 40), P}, {"biSize 124", With(SeededDib(4, 4, 8), 0, 124), P},
        {"compressed, before the size", With(SeededDib(0, 4, 8), 16, 1), C},
        {"width 0, before the mode", SeededDib(0, 4, 1), S, 9}, {"height 0, before the mode", SeededDib(4, 0, 1), S, 9},
        {"1-bit mode 3", SeededDib(4, 4, 1), P, 3}, {"mode -1, before a short block", SeededDib(4, 4, 1, 1, 0, 2), P, -1},
        {"depth 0", SeededDib(4, 4, 0), B}, {"depth 2", SeededDib(4, 4, 2), B}, {"depth 16", SeededDib(4, 4, 16), B},
        {"depth 32", SeededDib(4, 4, 32), B}, {"negative height", SeededDib(4, -4, 8), S},
        {"one byte short", Cut(SeededDib(9, 5, 24), 179), S},
        {"table past the block", SeededDib(4, 4, 8, 1, 1u << 30, 4, 256), S},
        {"null handle", kNullHandle, P}, {"unlockable", kUnlockable, IMGERR_LOCKMEMORY},
        {"mono: biSize 44", With(SeededDib(4, 4, 1), 0, 44), P, 0, true},
        {"mono: two planes", With(SeededDib(4, 4, 1), 12, 2 | 1 << 16), C, 0, true},
        {"mono: 4-bit, before the size", SeededDib(0, 4, 4), C, 0, true},
        {"mono: width 0, before the mode", SeededDib(0, 4, 1), S, 5, true},
        {"mono: mode 3", SeededDib(4, 4, 1), P, 3, true}, {"mono: negative height", SeededDib(4, -4, 1), S, 0, true},
        {"mono: short of its rows", SeededDib(40, 6, 1, 1, 0, 5), S, 1, true},
        {"mono: null handle", kNullHandle, P, 0, true}, {"mono: unlockable", kUnlockable, IMGERR_LOCKMEMORY, 0, true},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [](HDIB d, const Case& c, auto) {
        return c.mono ? ConvMonoDIBtoGrayscale(d, c.mode) : ConvColorDIBtoGrayscale(d, c.mode, TRUE);
    });

    Bytes src = SeededDib(3, 1, 24);
    const uint8_t redGreenBlue[9] = {0, 0, 255, 0, 255, 0, 255, 0, 0};
    std::copy(redGreenBlue, redGreenBlue + 9, src.begin() + 40);
    const Outcome o = CallOn(src, [](HDIB d) { return ConvColorDIBtoGrayscale(d, -5, TRUE); });  // the mode is for 1-bit images only
    ASSERT_EQ(o.moduleCode, IMGERR_SUCCESS);
    EXPECT_EQ(Bytes(o.result.begin() + 1064, o.result.begin() + 1067), (Bytes{78, 147, 29}));
}

}  // namespace

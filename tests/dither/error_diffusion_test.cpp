// DitherFS4 and DitherJJN: every result byte against a plain model of the documented error
// diffusion (one block of 16-bit error rows, shares added or stored in place, the row moves),
// worked examples, and the refusals.

#include "dither_frame_model.hpp"

using namespace vxtest;
using namespace vxtest::dither;

namespace {

Bytes DiffusionModel(const Bytes& dib, int depth, bool jjn) {
    FrameModel f(dib, depth);
    const int channels = depth == 1 ? 1 : 3, rowsPer = jjn ? 3 : 2, P = f.P, w = f.w;
    std::vector<int16_t> block(6 + size_t(channels * rowsPer) * (P + 20) + 44, 0);
    const auto row = [&](int c, int r) { return &block[6 + size_t(c * rowsPer + r) * (P + 20)]; };
    const auto add = [](int16_t& s, int v) { s = int16_t(s + v); };
    // Shares of error e at x: into the current row, and added into or stored in later rows.
    const auto spread = [&](int c, int x, int e, bool eightBit) {
        int16_t *cur = row(c, 0), *next = row(c, 1), *after = jjn ? row(c, 2) : nullptr;
        if (!jjn) {
            add(cur[x + 1], 7 * e / 16);
            const int at = eightBit ? x - 1 : x;  // the 8-bit quantiser stores one place left
            next[at - 1] = int16_t(3 * e / 16), next[at] = int16_t(5 * e / 16), next[at + 1] = int16_t(e / 16);
            return;
        }
        add(cur[x + 1], 7 * e / 48), add(cur[x + 2], 5 * e / 48);
        const int nextWeights[5] = {3, 5, 7, 5, 3};
        for (int k = 0; k < 5; ++k) add(next[x - 2 + k], nextWeights[k] * e / 48);
        after[x - 1] = int16_t(3 * e / 48), after[x] = int16_t(5 * e / 48), after[x - 2] = int16_t(e / 48);
        after[x + 1] = int16_t(e / 48), after[x + 2] = int16_t(3 * e / 48);
    };
    f.load(0, jjn);
    for (int32_t y = 0; y < f.h; ++y) {
        for (int c = 0; c < channels; ++c)
            for (int x = 0; x < w; ++x) add(row(c, 0)[x], f.plane(c)[x]);
        if (depth == 8) {
            for (int x = 0; x < w; ++x) {
                int level[3];
                for (int c = 0; c < 3; ++c) {
                    const int v = row(c, 0)[x], step = c == 2 ? 64 : 32, top = c < 2 ? 7 : jjn ? 4 : 3;
                    level[c] = std::clamp(v / step, 0, top);
                    spread(c, x, v - level[c] * step, true);
                }
                f.outRow(0, y)[x] = uint8_t(level[0] * 32 | level[1] * 4 | level[2]);
            }
        } else {
            for (int c = 0; c < channels; ++c)
                for (int x = 0; x < w; ++x) {
                    const int v = row(c, 0)[x];
                    if (v > 128) f.outRow(c, y)[x / 8] |= uint8_t(0x80 >> x % 8);
                    const int e = v > 128 ? v - 255 : v;
                    if (e != 0) spread(c, x, e, false);
                }
        }
        for (int c = 0; c < channels; ++c) {
            if (jjn) {
                std::copy_n(row(c, 1), P, row(c, 0));
                std::copy_n(row(c, 2), P, row(c, 1));
            } else {
                std::copy_n(row(0, 1), P, row(c, 0));  // every channel takes channel 0's next row
            }
        }
        if (y + 1 < f.h) f.load(y + 1, false);
    }
    return f.result();
}

TEST(ErrorDiffusion, BothExportsMatchTheModel) {
    const std::vector<DepthPair> pairs = {{4, 1}, {8, 1}, {8, 4}, {24, 1}, {24, 4}, {24, 8}};
    for (const bool jjn : {false, true}) {
        SCOPED_TRACE(jjn ? "DitherJJN" : "DitherFS4");
        ExpectModelBytes(jjn ? DitherJJN : DitherFS4, pairs, [&](const Bytes& src, int depth) { return DiffusionModel(src, depth, jjn); });
    }
}

using Rows = std::vector<std::vector<uint32_t>>;  // 0xRRGGBB colours, bottom row first

Bytes Picture(const Rows& rows) {
    const auto w = int32_t(rows[0].size());
    Bytes b = RandomSource(w, int32_t(rows.size()), 24, 1);
    for (size_t y = 0; y < rows.size(); ++y)
        for (int32_t x = 0; x < w; ++x)
            for (int k = 0; k < 3; ++k) b[40 + y * Stride(w, 24) + 3 * x + k] = uint8_t(rows[y][x] >> 8 * k);
    return b;
}
Rows Filled(int w, int h, uint32_t colour) { return Rows(size_t(h), std::vector<uint32_t>(size_t(w), colour)); }
constexpr uint32_t Gray(uint32_t level) { return level * 0x010101; }

TEST(ErrorDiffusion, WorkedExamples) {
    // FS: the next-row share at x + 1 is e/16 (6 for e = 100) where the next pixel has no error;
    // it decides the top right pixel (6 + 122 = 128, not above the threshold).
    Bytes fs = Dither(Picture({{Gray(100), Gray(212)}, {Gray(224), Gray(122)}}), DitherFS4, 1).result;
    EXPECT_EQ(fs[48], 0x40);
    EXPECT_EQ(fs[52], 0x80);
    // JJN: the after-next share at x + 1 is e/48 (2 for e = 100), not 3e/48.
    Bytes jjn = Dither(Picture({{Gray(100), Gray(241)}, {Gray(241), Gray(245)}, {Gray(245), Gray(126)}}), DitherJJN, 1).result;
    EXPECT_EQ(jjn[48], 0x40);
    EXPECT_EQ(jjn[52], 0xC0);
    EXPECT_EQ(jjn[56], 0x80);
    // Gray 128 is not above the threshold; its error pushes the second pixel over it.
    EXPECT_EQ(Dither(Picture(Filled(8, 2, Gray(128))), DitherFS4, 1).result[48], 0x55);
    // The first row's leftmost pixel keeps its red value under DitherJJN: red 200 (luminance 60).
    EXPECT_EQ(Dither(Picture(Filled(1, 1, 0xC80000)), DitherFS4, 1).result[48], 0x00);
    EXPECT_EQ(Dither(Picture(Filled(1, 1, 0xC80000)), DitherJJN, 1).result[48], 0x80);
    // Pure blue to 8 bits: accumulated blue reaches 256 and lands in the green field.
    const Bytes r = Dither(Picture(Filled(4, 1, 0x0000FF)), DitherJJN, 8).result;
    EXPECT_EQ(Bytes(r.begin() + 1064, r.begin() + 1068), (Bytes{3, 4, 4, 3}));
}

TEST(ErrorDiffusion, Refusals) {
    ExpectSharedRefusals("DitherFS4", DitherFS4, IMGERR_PARAMETER, IMGERR_LOCKMEMORY, 8);
    ExpectSharedRefusals("DitherJJN", DitherJJN, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, 8);
}

}  // namespace

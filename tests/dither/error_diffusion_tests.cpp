// DitherFS4 and DitherJJN: every result byte against a plain model of the documented error
// diffusion (one block of 16-bit error rows, shares added or stored in place, the row moves),
// worked examples, the exact divisions, and the refusals.
#include <gtest/gtest.h>

#include "dither/dither_frame.hpp"
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

const std::vector<DepthPair> kPairs = {{4, 1}, {8, 1}, {8, 4}, {24, 1}, {24, 4}, {24, 8}};

TEST(ErrorDiffusion, DivisionsTruncateTowardZeroForEveryShare) {
    for (int32_t e = -32768; e <= 32767; ++e)
        for (int32_t weight : {1, 3, 5, 7}) {
            ASSERT_EQ(vx::dither::Div16(e * weight), e * weight / 16) << e << " x " << weight;
            ASSERT_EQ(vx::dither::Div48(e * weight), e * weight / 48) << e << " x " << weight;
        }
}

TEST(ErrorDiffusion, DitherFS4MatchesTheModel) {
    ExpectModelBytes(DitherFS4, kPairs, [](const Bytes& src, int depth) { return DiffusionModel(src, depth, false); });
}

TEST(ErrorDiffusion, DitherJJNMatchesTheModel) {
    ExpectModelBytes(DitherJJN, kPairs, [](const Bytes& src, int depth) { return DiffusionModel(src, depth, true); });
}

TEST(ErrorDiffusion, WidestImageMatchesTheModel) {
    const Bytes src = Source(32767, 2, 24, 5);
    for (int depth : {1, 8}) {
        EXPECT_EQ(CallOn(src, DitherFS4, depth).result, DiffusionModel(src, depth, false));
        EXPECT_EQ(CallOn(src, DitherJJN, depth).result, DiffusionModel(src, depth, true));
    }
}

// A 24-bit image of w x h pixels of one colour.
Bytes Uniform(int32_t w, int32_t h, uint8_t red, uint8_t green, uint8_t blue) {
    Bytes b = Source(w, h, 24, 1);
    for (int32_t y = 0; y < h; ++y)
        for (uint64_t x = 0, at = 40 + y * Stride(w, 24); x < uint64_t(w); ++x, at += 3)
            b[at] = blue, b[at + 1] = green, b[at + 2] = red;
    return b;
}

// A 24-bit gray image, rows given bottom first.
Bytes Gray(const std::vector<std::vector<uint8_t>>& rows) {
    Bytes b = Source(int32_t(rows[0].size()), int32_t(rows.size()), 24, 1);
    const uint64_t stride = Stride(int64_t(rows[0].size()), 24);
    for (size_t y = 0; y < rows.size(); ++y)
        for (size_t x = 0; x < rows[y].size(); ++x) std::fill_n(&b[40 + y * stride + 3 * x], 3, rows[y][x]);
    return b;
}

TEST(ErrorDiffusion, WorkedExamples) {
    // JJN: the after-next share at x + 1 is e/48 (2 for e = 100), and survives where the
    // pixels after it carry no error: it decides the top right pixel (2 + 126 = 128, not above).
    // FS: the next-row share at x + 1 is e/16 (6 for e = 100) where the next pixel has no error.
    Bytes fs = CallOn(Gray({{100, 212}, {224, 122}}), DitherFS4, 1).result;
    EXPECT_EQ(fs[48], 0x40);
    EXPECT_EQ(fs[52], 0x80);
    Bytes jjn = CallOn(Gray({{100, 241}, {241, 245}, {245, 126}}), DitherJJN, 1).result;
    EXPECT_EQ(jjn[48], 0x40);
    EXPECT_EQ(jjn[52], 0xC0);
    EXPECT_EQ(jjn[56], 0x80);

    // Gray 128 is not above the threshold; its error pushes the second pixel over it.
    Bytes r = CallOn(Uniform(8, 2, 128, 128, 128), DitherFS4, 1).result;
    EXPECT_EQ(r[48], 0x55);
    EXPECT_EQ(CallOn(Uniform(8, 1, 129, 129, 129), DitherFS4, 1).result[48] & 0x80, 0x80);
    // The first row's leftmost pixel keeps its red value under DitherJJN: red 200 (luminance 60).
    EXPECT_EQ(CallOn(Uniform(1, 1, 200, 0, 0), DitherFS4, 1).result[48], 0x00);
    EXPECT_EQ(CallOn(Uniform(1, 1, 200, 0, 0), DitherJJN, 1).result[48], 0x80);
    // Pure blue to 8 bits: accumulated blue reaches 256 and lands in the green field.
    r = CallOn(Uniform(4, 1, 0, 0, 255), DitherJJN, 8).result;
    EXPECT_EQ(Bytes(r.begin() + 1064, r.begin() + 1068), (Bytes{3, 4, 4, 3}));
    // 24 to 4 bits uses even indices only.
    r = CallOn(Source(33, 3, 24, 9), DitherFS4, 4).result;
    for (size_t at = 40 + 64; at < r.size(); ++at) EXPECT_EQ(r[at] & 0x11, 0) << at;
}

TEST(ErrorDiffusion, Refusals) {
    {
        SCOPED_TRACE("DitherFS4");
        ExpectSharedRefusals(DitherFS4, IMGERR_PARAMETER, IMGERR_LOCKMEMORY, 8);
    }
    SCOPED_TRACE("DitherJJN");
    ExpectSharedRefusals(DitherJJN, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, 8);
}

}  // namespace

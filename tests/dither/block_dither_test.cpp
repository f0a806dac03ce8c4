// DitherSmooth and DitherSharp: every result byte against a plain model of the documented
// window redistribution (one block of 16-bit rows with spare slots, the pre-pass on row 0, the
// ranking scans), a worked example, and the refusals.

#include "dither_frame_model.hpp"

using namespace vxtest;
using namespace vxtest::dither;

namespace {

Bytes BlockModel(const Bytes& dib, int depth, bool sharp) {
    FrameModel f(dib, depth);
    const int channels = depth == 1 ? 1 : 3, P = f.P;
    std::vector<int16_t> block(6 + size_t(channels) * 2 * (P + 20) + 44, 0);
    const auto row = [&](int c, int r) { return &block[6 + size_t(c * 2 + r) * (P + 20)]; };
    const auto quantise = [&](int ch, int32_t y) {
        int16_t *cur = row(ch, 0), *next = row(ch, 1);
        uint8_t* out = f.outRow(ch, y);
        std::fill_n(out, (f.w + 7) / 8, 0);
        int16_t n = 0, r = 0;
        for (int x = 0; x < f.w; ++x) {
            int16_t* cells[4] = {&cur[x], &cur[x + 1], &next[x], &next[x + 1]};
            int v[4];
            for (int i = 0; i < 4; ++i) v[i] = *cells[i];
            int16_t s = int16_t(n + r + v[0] + v[1] + v[2] + v[3]);
            if (s < 0) n = s, s = 0;
            else n = 0;
            const int k = s / 255, rest = s % 255;
            int first = 0, last = 3;
            for (int i = 0; i < 4; ++i) {
                if (v[i] > v[first]) first = i;
                if (v[i] <= v[last]) last = i;
            }
            int m[2], count = 0;
            for (int i = 0; i < 4; ++i)
                if (i != first && i != last) m[count++] = i;
            const int second = v[m[0]] > v[m[1]] ? m[0] : m[1], third = second == m[0] ? m[1] : m[0];
            const int order[4] = {first, second, third, last};
            for (int j = 0; j < 4; ++j) *cells[order[j]] = int16_t(j < k ? 255 : j == k ? rest : 0);
            if (*cells[0] == 255) out[x / 8] |= uint8_t(0x80 >> x % 8), r = 0;
            else r = *cells[0];
            if (sharp) r = int16_t(r / 2);
        }
        std::copy_n(next, P, cur);
    };
    f.load(0, true);
    for (int c = 0; c < channels; ++c) {
        std::copy_n(f.plane(c), P, row(c, 0));
        std::copy_n(f.plane(c), P, row(c, 1));
        quantise(c, 0);
    }
    f.load(1, false);
    for (int32_t y = 0; y < f.h; ++y) {
        for (int c = 0; c < channels; ++c) {
            if (y < f.h - 1) std::copy_n(f.plane(c), P, row(c, 1));
            quantise(c, y);
        }
        if (y < f.h - 2) f.load(y + 2, false);
    }
    return f.result();
}

// Width 1 of 24 bits (among the model's sizes, with and without slack) has the window read
// slot 1: the row's padding byte and the next row's first bytes, or zeros past the block.
TEST(BlockDither, BothExportsMatchTheModel) {
    const std::vector<DepthPair> pairs = {{4, 1}, {8, 1}, {8, 4}, {24, 1}, {24, 4}};
    for (const bool sharp : {false, true}) {
        SCOPED_TRACE(sharp ? "DitherSharp" : "DitherSmooth");
        ExpectModelBytes(sharp ? DitherSharp : DitherSmooth, pairs,
                         [&](const Bytes& src, int depth) { return BlockModel(src, depth, sharp); });
    }
}

TEST(BlockDither, WorkedExample) {
    // One row of gray 100 on 4 pixels (a 4-bit source): each window of equal cells gives its
    // first 255 to a only when the sum reaches 255.
    Bytes gray = RandomSource(4, 1, 4, 3);
    for (int i = 0; i < 16; ++i) PutU32(gray, 40 + 4 * i, 0x646464);
    EXPECT_EQ(Dither(gray, DitherSmooth, 1).result[48], 0x90);
    EXPECT_EQ(Dither(gray, DitherSharp, 1).result[48], 0x90);
}

TEST(BlockDither, Refusals) {
    ExpectSharedRefusals("DitherSmooth", DitherSmooth, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, 4);
    ExpectSharedRefusals("DitherSharp", DitherSharp, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, 4);
}

}  // namespace

// dither_frame_model.hpp - test helpers for DitherFS4, DitherJJN, DitherSmooth and DitherSharp:
// random sources, the refusals every dither shares,
// and a plain model of their common frame written from the documented steps (rows loaded into
// one block of three planes, luminance, the right-to-left first row, output planes, result).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "export_calls.hpp"

namespace vxtest::dither {

using Export = HDIB(VXCALL*)(HDIB, int);

// A random source (random biCompression and biClrUsed, which the dithers ignore, and the full
// table of the depth), then `slack` more bytes. Colours (table entries, 24-bit pixels) are
// often gray, and levels are often 0, 255 or near them, so that errors of 0, runs of them
// after small errors, clamped levels and saturated sums all occur.
inline Bytes RandomSource(int32_t w, int32_t h, uint16_t bits, uint32_t seed, uint32_t slack = 0) {
    std::mt19937 random(seed);
    const auto level = [&] {
        const uint32_t r = random();
        return uint8_t(r % 4 == 0 ? 0 : r % 4 == 1 ? 255 : r % 4 == 2 ? r >> 8 : (r >> 8) % 9 + (r & 4 ? 247 : 0));
    };
    const int64_t colours = bits == 4 || bits == 8 || bits == 1 ? 1 << bits : 0;
    Bytes b = PackedDib({w, h, bits, uint32_t(random() % 300), false, seed, colours});
    PutU32(b, 16, uint32_t(random() % 3));
    const size_t colourEnd = bits == 24 ? b.size() : 40 + 4 * size_t(colours);
    for (size_t at = 40; at + 3 <= colourEnd; at += bits == 24 ? 3 : 4) {
        b[at] = level();
        const bool gray = random() % 2 != 0;
        b[at + 1] = gray ? b[at] : level();
        b[at + 2] = gray ? b[at] : level();
    }
    b.resize(b.size() + slack, 0xEE);
    return b;
}

// One dither call through CallOn.
inline Outcome Dither(const Bytes& source, Export call, int depth) {
    return CallOn(source, [&](HDIB dib) { return call(dib, depth); });
}

// The refusals of every dither: `nullCode` and `lockCode` for a null handle and one that cannot
// be locked; `maxDepth` the largest output depth taken.
inline void ExpectSharedRefusals(const char* name, Export call, int nullCode, int lockCode, int maxDepth) {
    SCOPED_TRACE(name);
    const Bytes good = RandomSource(8, 4, 24, 1);
    const int same = maxDepth == 8 ? 8 : 1, P = IMGERR_PARAMETER, D = IMGERR_DITHERPARAM;  // same: 8 to 8 bits, or 1 to 1
    const struct { const char* what; vxtest::Source source; int depth, code; bool leftLocked = false; } cases[] = {
        {"output depth 2", good, 2, P}, {"output depth 0", good, 0, P},
        {"output depth 8 where not taken", good, maxDepth == 8 ? 16 : 8, P}, {"header cut short", Cut(good, 39), 1, P},
        {"8 to 8 bits, or 1 to 1", RandomSource(8, 4, uint16_t(same), 2), same, D, true},
        {"4 to 8 bits", RandomSource(8, 4, 4, 2), 8, maxDepth == 8 ? D : P, maxDepth == 8},
        {"4 to 4 bits", RandomSource(8, 4, 4, 2), 4, D, true}, {"1-bit source", RandomSource(8, 4, 1, 2), 1, D, true},
        {"16-bit source", RandomSource(8, 4, 16, 2), 1, D, true}, {"32-bit source", RandomSource(8, 4, 32, 2), 4, D, true},
        {"width 0", With(good, 4, 0), 1, P}, {"height 0", With(good, 8, 0), 1, P},
        {"negative width", With(good, 4, uint32_t(-8)), 1, P}, {"negative height", With(good, 8, uint32_t(-4)), 1, P},
        {"width 32768", RandomSource(32768, 1, 24, 3), 4, P}, {"rows cut short by a byte", Cut(good, good.size() - 1), 1, P},
        {"table cut short", Cut(RandomSource(1, 1, 8, 4), 40 + 1020), 1, P}, {"null handle", kNullHandle, 1, nullCode},
        {"null handle, the depth checked first", kNullHandle, 2, P}, {"unlockable", kUnlockable, 1, lockCode},
    };
    ExpectRefusals(Reports::kModuleCode, cases, [&](HDIB dib, const auto& c, auto) { return call(dib, c.depth); });
}

// The frame of the dithers, step by step.
struct FrameModel {
    const Bytes& dib;
    int32_t w, h, P;
    int bits, depth;
    std::vector<uint8_t> planes;  // red, green, blue, then one byte that stays 0
    std::vector<uint8_t> out;     // one image, or three 1-bit images for 4-bit output
    uint64_t outStride;

    FrameModel(const Bytes& d, int outDepth)
        : dib(d), w(int32_t(GetU32(d, 4))), h(int32_t(GetU32(d, 8))), bits(d[14]), depth(outDepth) {
        P = bits == 4 ? (w * 4 + 31) / 32 * 8 : (w * 8 + 31) / 32 * 4;
        planes.assign(3 * size_t(P) + 1, 0);
        outStride = Stride(w, depth == 4 ? 1 : depth);
        out.assign(outStride * h * (depth == 4 ? 3 : 1), 0);
    }
    int byte(uint64_t at) const { return at < dib.size() ? dib[at] : 0; }
    static int Luminance(int r, int g, int b) { return std::min(255, (30 * r + 59 * g + 11 * b) / 100); }
    uint8_t* plane(int c) { return &planes[size_t(c) * P]; }
    uint8_t* outRow(int c, int32_t y) { return &out[(uint64_t(c) * h + y) * outStride]; }

    void load(int32_t y, bool rightToLeft) {
        const uint64_t table = 40, row = 40 + (bits == 24 ? 0 : 4u << bits) + uint64_t(y) * Stride(w, bits);
        for (int32_t x = 0; x < P; ++x) {
            int r, g, b;
            if (bits == 24) {
                b = byte(row + 3 * x), g = byte(row + 3 * x + 1), r = byte(row + 3 * x + 2);
            } else {
                const int index = bits == 8 ? byte(row + x) : byte(row + x / 2) >> (x % 2 ? 0 : 4) & 15;
                b = byte(table + 4 * index), g = byte(table + 4 * index + 1), r = byte(table + 4 * index + 2);
            }
            planes[x] = uint8_t(r), planes[P + x] = uint8_t(g), planes[2 * P + x] = uint8_t(b);
        }
        if (depth != 1) return;
        // Right to left, the first row runs from P down to 1: slot 0 keeps its red value.
        for (int32_t i = rightToLeft; i < P + rightToLeft; ++i)
            planes[i] = uint8_t(Luminance(planes[i], planes[P + i], planes[2 * P + i]));
    }

    Bytes result() {
        const uint32_t colours = 1u << depth;
        const uint64_t stride = Stride(w, depth), pixels = 40 + 4 * colours;
        Bytes r(pixels + stride * h, 0);
        const uint32_t fields[10] = {40, uint32_t(w), uint32_t(h), 1u | uint32_t(depth) << 16, 0,
                                     uint32_t(stride * h), GetU32(dib, 24), GetU32(dib, 28), colours, 0};
        std::memcpy(r.data(), fields, sizeof fields);
        for (uint32_t i = 0; i < colours; ++i) {
            const uint32_t red = depth == 1 ? 255 * i : depth == 4 ? (i & 8 ? 255 : 0) : i / 32 * 36;
            const uint32_t green = depth == 1 ? 255 * i : depth == 4 ? (i & 4 ? 255 : 0) : (i / 4) % 8 * 36;
            const uint32_t blue = depth == 1 ? 255 * i : depth == 4 ? (i & 2 ? 255 : 0) : i % 4 * 85;
            PutU32(r, 40 + 4 * i, blue | green << 8 | red << 16);
        }
        for (int32_t y = 0; y < h; ++y) {
            uint8_t* to = &r[pixels + y * stride];
            if (depth != 4) {
                std::copy_n(outRow(0, y), stride, to);
                continue;
            }
            for (uint64_t g = 0; g < stride / 4; ++g)
                for (int k = 0; k < 8; ++k) {
                    const auto bit = [&](int c) { return outRow(c, y)[g] >> (7 - k) & 1; };
                    to[4 * g + k / 2] |= uint8_t((8 * bit(0) + 4 * bit(1) + 2 * bit(2)) << (k % 2 ? 0 : 4));
                }
        }
        return r;
    }
};

// The legal source/output depth pairs; every pair at awkward sizes and the widest image taken,
// against `model`, with slack after every other source.
struct DepthPair { uint16_t from; int to; };
template <typename Model>
void ExpectModelBytes(Export call, const std::vector<DepthPair>& pairs, Model model) {
    std::vector<std::pair<int32_t, int32_t>> sizes;
    for (int32_t w : {1, 2, 3, 5, 7, 8, 9, 13, 21, 33, 50})
        for (int32_t h : {1, 2, 3, 6}) sizes.emplace_back(w, h);
    sizes.insert(sizes.end(), {{67, 41}, {32767, 2}});
    uint32_t seed = 100;
    for (const DepthPair& p : pairs)
        for (const auto& [w, h] : sizes) {
            ++seed;
            const Bytes src = RandomSource(w, h, p.from, seed, seed % 2 ? 7 : 0);
            SCOPED_TRACE(testing::Message() << p.from << " -> " << p.to << " bits, " << w << "x" << h << ", seed " << seed);
            ASSERT_NO_FATAL_FAILURE(ExpectResult(src, model(src, p.to), false, [&](HDIB d) { return call(d, p.to); }));
        }
}

}  // namespace vxtest::dither

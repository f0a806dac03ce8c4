// pixels.hpp - pixel access in packed DIB rows, specialised per depth at compile time.
//
// Provides: BitMask, GetPixel, SetPixel and CopyPixel for 1, 4, 8, 16, 24 and 32 bits per
// pixel, and DispatchDepth, the one switch from a run-time depth to those templates.
//
// Operations dispatch once on the depth at their boundary (ForEachDepth / DispatchDepth) and
// run kernels instantiated for that depth, so that no inner loop switches on the depth per
// pixel. Rows are packed most significant bits first: 1-bit pixel x is bit 7 - x % 8 of byte
// x / 8, 4-bit pixel x is the high nibble of byte x / 2 when x is even, 24-bit pixels are
// blue, green, red. The 16- and 32-bit pixels of screen-compatible and device bitmaps are
// little-endian words: 5-5-5 (bit 15 unused, red in bits 14-10, green 9-5, blue 4-0) and
// 8-8-8-x (blue, green, red, then an unused byte). Their values are the stored words as they
// are; only DispatchDepth leaves them out, since the DIB operations take no such images.
//
// These accessors are the plain reference path: kernels that need speed work on whole bytes
// or words, and their tests compare them against loops written with these.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

namespace vx {

// The mask of 1-bit pixel x within its byte.
constexpr uint8_t BitMask(uint64_t x) { return static_cast<uint8_t>(0x80u >> (x & 7)); }

template <unsigned Bits>
inline constexpr bool kPixelDepth = Bits == 1 || Bits == 4 || Bits == 8 || Bits == 16 || Bits == 24 || Bits == 32;

// A pixel value: a colour-table index, 0xRRGGBB for 24 bits, the stored word for 16 and 32.
template <unsigned Bits>
inline uint32_t GetPixel(const uint8_t* row, uint64_t x) {
    static_assert(kPixelDepth<Bits>);
    if constexpr (Bits == 1) {
        return (row[x >> 3] & BitMask(x)) ? 1u : 0u;
    } else if constexpr (Bits == 4) {
        const uint8_t b = row[x >> 1];
        return (x & 1) ? (b & 0x0Fu) : (b >> 4);
    } else if constexpr (Bits == 8) {
        return row[x];
    } else if constexpr (Bits == 16) {
        return uint32_t{row[2 * x]} | uint32_t{row[2 * x + 1]} << 8;
    } else if constexpr (Bits == 32) {
        uint32_t v;
        std::memcpy(&v, row + x * 4, 4);
        return v;
    } else {
        const uint8_t* p = row + x * 3;
        return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16;
    }
}

template <unsigned Bits>
inline void SetPixel(uint8_t* row, uint64_t x, uint32_t value) {
    static_assert(kPixelDepth<Bits>);
    if constexpr (Bits == 1) {
        if (value & 1) row[x >> 3] |= BitMask(x);
        else row[x >> 3] &= static_cast<uint8_t>(~BitMask(x));
    } else if constexpr (Bits == 4) {
        uint8_t& b = row[x >> 1];
        b = (x & 1) ? static_cast<uint8_t>((b & 0xF0) | (value & 0x0F))
                    : static_cast<uint8_t>((b & 0x0F) | (value & 0x0F) << 4);
    } else if constexpr (Bits == 8) {
        row[x] = static_cast<uint8_t>(value);
    } else if constexpr (Bits == 16) {
        row[2 * x] = static_cast<uint8_t>(value);
        row[2 * x + 1] = static_cast<uint8_t>(value >> 8);
    } else if constexpr (Bits == 32) {
        std::memcpy(row + x * 4, &value, 4);
    } else {
        uint8_t* p = row + x * 3;
        p[0] = static_cast<uint8_t>(value);
        p[1] = static_cast<uint8_t>(value >> 8);
        p[2] = static_cast<uint8_t>(value >> 16);
    }
}

// Copies pixel sx of one row to pixel dx of another, keeping the destination's neighbours.
template <unsigned Bits>
inline void CopyPixel(const uint8_t* src, uint64_t sx, uint8_t* dst, uint64_t dx) {
    if constexpr (Bits == 8) {
        dst[dx] = src[sx];
    } else if constexpr (Bits >= 16) {
        std::memcpy(dst + dx * (Bits / 8), src + sx * (Bits / 8), Bits / 8);
    } else {
        SetPixel<Bits>(dst, dx, GetPixel<Bits>(src, sx));
    }
}

// The one switch on depth: calls f(std::integral_constant<unsigned, Bits>{}) for the depths the
// pixel operations handle (1, 4, 8, 24) and returns true; false for any other depth.
template <typename F>
inline bool DispatchDepth(uint32_t bits, F&& f) {
    switch (bits) {
    case 1: f(std::integral_constant<unsigned, 1>{}); return true;
    case 4: f(std::integral_constant<unsigned, 4>{}); return true;
    case 8: f(std::integral_constant<unsigned, 8>{}); return true;
    case 24: f(std::integral_constant<unsigned, 24>{}); return true;
    default: return false;
    }
}

}  // namespace vx

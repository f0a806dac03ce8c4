// bmp_tolerant_rows.hpp - the pixel kernels of the tolerant BMP reader: Channel (one bit-field
// mask and its exact scaling to 8 bits), the row converters RowConverter, CopyRow,
// TwoBitRowToFour and BitFieldRow<Pixel, Alpha>, and DecodeRunLengths<Kind> for the RLE8, RLE4
// and RLE24 streams.
//
// The reader checks a file completely before it allocates, then runs one of these kernels per
// row (or one decoder per image): none of them can fail, and none reads past the bytes it is
// given. The converter is picked once per image, so the pixel loops carry no switch on depth.
//
// Bit fields are scaled exactly: a field of n bits holding v becomes (v * 255 + m / 2) / m with
// m = 2^n - 1, for every width from 1 to 32 bits (a 5-bit field is not the same as shifting
// left by 3 and copying the top bits: 4 of its 32 values differ by one). A channel whose mask
// is 0 reads as 0. With an alpha channel the colour is composited on white,
// c' = (c * a + 255 * (255 - a) + 127) / 255, as the format modules do.
//
// The run-length decoder keeps its own bounds: runs and literal groups that pass the right
// edge are cut there, rows past the top are never written, a delta moves right and up without
// wrapping, and the stream ends at the end-of-bitmap code, at the last row, or where the bytes
// end (a cut stream keeps what it decoded). Pixels the stream never sets stay 0: colour-table
// index 0 for RLE4 and RLE8, black for RLE24.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vx::bmp {

// One colour channel of a bit-field pixel.
struct Channel {
    uint32_t mask = 0;
    uint32_t shift = 0;
    uint64_t max = 1;  // the field's largest value (1 for an absent channel, whose value is 0)

    static Channel From(uint32_t mask) {
        if (mask == 0) return {};
        const uint32_t shift = static_cast<uint32_t>(std::countr_zero(mask));
        return {mask, shift, uint64_t{mask} >> shift};
    }
    uint32_t scaled(uint32_t pixel) const {
        const uint64_t v = (pixel & mask) >> shift;
        return static_cast<uint32_t>((v * 255 + max / 2) / max);
    }
};

struct PixelFormat {
    Channel red, green, blue, alpha;
};

// Converts one stored row of `width` pixels into a row of the result.
using RowConverter = void (*)(const uint8_t* source, uint8_t* target, uint32_t width,
                              const PixelFormat& format);

// Rows stored as the result stores them (1, 4, 8 and 24 bits).
template <uint32_t Bits>
void CopyRow(const uint8_t* source, uint8_t* target, uint32_t width, const PixelFormat&) {
    std::memcpy(target, source, (uint64_t{width} * Bits + 7) / 8);
}

// Each 2-bit index becomes the 4-bit index of the same value: one source byte, two result bytes.
inline constexpr std::array<uint16_t, 256> kTwoToFour = [] {
    std::array<uint16_t, 256> table{};
    for (uint32_t b = 0; b < 256; ++b) {
        const uint32_t p0 = b >> 6, p1 = (b >> 4) & 3, p2 = (b >> 2) & 3, p3 = b & 3;
        table[b] = static_cast<uint16_t>(((p0 << 4) | p1) | (((p2 << 4) | p3) << 8));
    }
    return table;
}();

inline void TwoBitRowToFour(const uint8_t* source, uint8_t* target, uint32_t width,
                            const PixelFormat&) {
    const uint32_t sourceBytes = (width + 3) / 4;
    const uint32_t targetBytes = (width + 1) / 2;
    for (uint32_t i = 0; i < sourceBytes; ++i) {
        const uint16_t pair = kTwoToFour[source[i]];
        target[2 * i] = static_cast<uint8_t>(pair);
        if (2 * i + 1 < targetBytes) target[2 * i + 1] = static_cast<uint8_t>(pair >> 8);
    }
}

// 16- and 32-bit bit-field pixels (little-endian) to BGR triples.
template <typename Pixel, bool Alpha>
void BitFieldRow(const uint8_t* source, uint8_t* target, uint32_t width, const PixelFormat& f) {
    for (uint32_t x = 0; x < width; ++x, source += sizeof(Pixel), target += 3) {
        Pixel stored;
        std::memcpy(&stored, source, sizeof stored);
        const uint32_t p = stored;
        uint32_t b = f.blue.scaled(p), g = f.green.scaled(p), r = f.red.scaled(p);
        if constexpr (Alpha) {
            const uint32_t a = f.alpha.scaled(p), white = 255 * (255 - a) + 127;
            b = (b * a + white) / 255;
            g = (g * a + white) / 255;
            r = (r * a + white) / 255;
        }
        target[0] = static_cast<uint8_t>(b);
        target[1] = static_cast<uint8_t>(g);
        target[2] = static_cast<uint8_t>(r);
    }
}

// The stream kinds: RLE8 and RLE4 store indices, OS/2's RLE24 stores BGR triples.
enum class RunKind { Rle8, Rle4, Rle24 };

// Decodes a run-length stream into zero-filled bottom-up rows of the result (8, 4 or 24 bits).
template <RunKind Kind>
void DecodeRunLengths(const uint8_t* stream, size_t size, uint8_t* rows, size_t stride,
                      uint32_t width, uint32_t height) {
    constexpr size_t kValueBytes = Kind == RunKind::Rle24 ? 3 : 1;
    uint32_t x = 0, y = 0;
    uint8_t* row = rows;
    // Writes pixel k of a run or group: a whole value, or one nibble of a pair for RLE4.
    auto put = [&](const uint8_t* value, uint32_t k) {
        if constexpr (Kind == RunKind::Rle8) {
            row[x] = value[0];
        } else if constexpr (Kind == RunKind::Rle4) {
            const uint8_t nibble = (k & 1) ? (value[0] & 0x0F) : (value[0] >> 4);
            row[x / 2] |= (x & 1) ? nibble : static_cast<uint8_t>(nibble << 4);
        } else {
            std::memcpy(row + size_t{x} * 3, value, 3);
        }
    };
    size_t i = 0;
    while (y < height && i + 2 <= size) {
        const uint8_t count = stream[i];
        if (count != 0) {  // a run of one value
            if (i + 1 + kValueBytes > size) return;
            const uint8_t* value = stream + i + 1;
            i += 1 + kValueBytes;
            const uint32_t n = std::min<uint32_t>(count, width - x);
            for (uint32_t k = 0; k < n; ++k, ++x) put(value, k);
            continue;
        }
        const uint8_t code = stream[i + 1];
        i += 2;
        if (code == 0) {  // end of line
            x = 0;
            row = rows + stride * ++y;
        } else if (code == 1) {  // end of bitmap
            return;
        } else if (code == 2) {  // delta: right and up
            if (i + 2 > size) return;
            x = std::min<uint32_t>(x + stream[i], width);
            y += stream[i + 1];
            row = rows + stride * std::min(y, height);
            i += 2;
        } else {  // a literal group of `code` pixels, padded to an even number of bytes
            const size_t bytes = Kind == RunKind::Rle4 ? (code + 1u) / 2 : size_t{code} * kValueBytes;
            if (i + bytes > size) return;
            const uint8_t* literal = stream + i;
            i += bytes + (bytes & 1);
            const uint32_t n = std::min<uint32_t>(code, width - x);
            for (uint32_t k = 0; k < n; ++k, ++x) {
                put(literal + (Kind == RunKind::Rle4 ? k / 2 : size_t{k} * kValueBytes), k);
            }
        }
    }
}

}  // namespace vx::bmp

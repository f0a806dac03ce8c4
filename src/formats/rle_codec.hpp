// rle_codec.hpp - EncodeRle8Row, EncodeRle4Row, MaxRle8RowBytes, MaxRle4RowBytes, RleTarget,
// DecodeRle8 and DecodeRle4: the row encoders and the stream decoder behind CompressDIB and
// ExpandCompressedDIB (rle.cpp), exposed so that tests, the fuzz target and the benchmark can
// drive them without building DIB blocks.
//
// The kernels have no failure paths. Their callers guarantee what each one may touch:
//   - EncodeRle8Row reads row[0 .. width] (one byte past the last pixel) and writes at most
//     MaxRle8RowBytes(width) bytes; EncodeRle4Row reads row[0 .. (width + 1) / 2 + 1] (two
//     bytes past the last pixel byte) and writes at most MaxRle4RowBytes(width) bytes. Neither
//     writes the end-of-line code.
//   - DecodeRle8 and DecodeRle4 read only stream[0 .. size - 1] and write only rows
//     0 .. height - 1 (stride bytes apart; the stride must hold (width * bits + 7) / 8 bytes).
//     DecodeRle4 writes only the pixels the stream sets. DecodeRle8 writes every byte of the
//     rows, padding included: the stream's pixels and zero elsewhere, so that its target needs
//     no zero fill.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "simd.hpp"

namespace vx::formats {

// The longest code sequences a row can give (the end-of-line code not included). Every code
// costs at most two bytes per pixel it takes from an 8-bit row and one byte per pixel from a
// 4-bit row, except the last code of a row: RLE8 may spend four bytes on one pixel (two single
// pixels, the second past the row), RLE4 two bytes on one pixel or four on three.
constexpr uint64_t MaxRle8RowBytes(uint64_t width) { return width == 0 ? 0 : 2 * width + 2; }
constexpr uint64_t MaxRle4RowBytes(uint64_t width) { return width == 0 ? 0 : width + 1; }

// Bytes past the last pixel byte of a row that the encoders read.
inline constexpr uint64_t kRle8ReadsPastRow = 1;
inline constexpr uint64_t kRle4ReadsPastRow = 2;

// Encodes one row; returns the number of bytes written to `out`.
size_t EncodeRle8Row(const uint8_t* row, uint32_t width, uint8_t* out);

// The fast form of EncodeRle8Row that CompressDIB uses, in two steps per row. The row and the
// output each need kRle8RowSlack bytes of room past what EncodeRle8Row touches: the steps read
// up to row[width + kRle8RowSlack - 1] and write up to kRle8RowSlack bytes past their codes.
// Only row[0 .. width] decides the codes, as in EncodeRle8Row.
//   - MarkEqualNeighbours sets bit i of `marks` (Rle8MarkWords(width) words, bit 0 first) where
//     row[i] == row[i + 1], for i < width, with the instructions `level` allows.
//   - EncodeRle8Marked writes the row's codes from the pixels and their marks.
inline constexpr uint64_t kRle8RowSlack = 64;
uint32_t Rle8MarkWords(uint32_t width);
void MarkEqualNeighbours(const uint8_t* row, uint32_t width, uint64_t* marks, SimdLevel level);
size_t EncodeRle8Marked(const uint8_t* row, uint32_t width, const uint64_t* marks, uint8_t* out);
// Two rows of the same width at once, each as EncodeRle8Marked would; returns both lengths.
struct Rle8Row {
    const uint8_t* pixels;
    const uint64_t* marks;
    uint8_t* out;
};
std::pair<size_t, size_t> EncodeRle8MarkedPair(uint32_t width, const Rle8Row& first, const Rle8Row& second);
size_t EncodeRle4Row(const uint8_t* row, uint32_t width, uint8_t* out);

// The rows a decoder writes into: row y starts at base + y * stride (y = 0 is the bottom row).
struct RleTarget {
    uint8_t* base = nullptr;
    uint64_t stride = 0;
    int64_t width = 0;
    int64_t height = 0;
};

// Decodes a stream until its end-of-bitmap code, the end of the input, or a move above the
// top row (after which nothing could be written any more).
void DecodeRle8(const uint8_t* stream, uint64_t size, const RleTarget& target);
void DecodeRle4(const uint8_t* stream, uint64_t size, const RleTarget& target);

}  // namespace vx::formats

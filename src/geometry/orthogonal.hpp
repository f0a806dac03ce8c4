// orthogonal.hpp - Orthogonal, OrthogonalPlan, PlanOrthogonal, SourceRows, ResultRows and the
// kernels TurnClockwise, TurnAnticlockwiseShifted, TurnHalf, MirrorRows and ReverseRowOrder:
// the quarter turns, half turn and mirrors of packed DIB rows (the exports are in
// quarter_turns.cpp): the check an export makes before it allocates, and the kernels it runs
// afterwards, which have no failure paths.
#pragma once

#include <cstdint>
#include <optional>

#include "simd.hpp"

namespace vx::geometry {

enum class Orthogonal { Rotate90, Rotate270, Rotate180, FlipVertical, FlipHorizontal };

// Every result block ends in 4 zero bytes after its last row: the anticlockwise turn writes
// the bottom source row one pixel past each result row, and past the last one into these.
inline constexpr uint64_t kResultSlackBytes = 4;

// What one operation does to one source block, worked out from the header alone.
struct OrthogonalPlan {
    uint32_t width = 0;           // source biWidth
    uint32_t height = 0;          // source biHeight
    uint32_t bitCount = 0;        // biBitCount: the depth the pixels are moved at
    uint64_t headerAndTable = 0;  // 40 + PaletteSize: copied to the result as they are
    uint64_t sourceStride = 0;    // from biPlanes x biBitCount
    uint64_t resultStride = 0;    // from biPlanes x biBitCount and the result's width
    uint64_t resultRows = 0;
    uint64_t resultPixelBytes() const { return resultStride * resultRows; }
    uint64_t resultBytes() const { return headerAndTable + resultPixelBytes() + kResultSlackBytes; }
};

// The plan for `op` on a block of blockBytes bytes, or nothing when the block must be refused:
// shorter than a 40-byte header, its table and its rows; a negative width or height; rows
// narrower than the pixels they hold (biPlanes 0, or a row size past 32 bits); or a result
// of more than 2^32 - 1 bytes. Reads the 40-byte header only.
std::optional<OrthogonalPlan> PlanOrthogonal(const uint8_t* block, uint64_t blockBytes, Orthogonal op);

// Pixel rows of a source, bottom row first, `stride` bytes apart.
struct SourceRows {
    const uint8_t* bits;
    uint64_t stride;
    uint32_t width;
    uint32_t height;
};

// Pixel rows of a result, `stride` bytes apart. The rows of a quarter turn are as
// many as the source is wide; the block holds kResultSlackBytes more after the last one.
struct ResultRows {
    uint8_t* bits;
    uint64_t stride;
};

// Kernels for 1, 4, 8 and 24 bits: each writes every byte of the result's rows, padding
// included, and for any other depth writes nothing (the result must then be zero-filled).
// They take the fastest path `level` allows (the exports pass ActiveSimdLevel()); every
// level gives the same bytes.
void TurnClockwise(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level);
// Source row y goes to result column height - y: column 0 is zero and the bottom row lands one
// pixel past the end of each result row, which ORs it into the byte there: the slack after the
// last row must be zero beforehand.
void TurnAnticlockwiseShifted(const SourceRows& source, const ResultRows& result, uint32_t bitCount,
                              SimdLevel level);
void TurnHalf(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level);
void MirrorRows(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level);
// Whole rows (padding included) in reverse order, for any depth; strides are equal.
void ReverseRowOrder(const SourceRows& source, const ResultRows& result);

}  // namespace vx::geometry

// orthogonal_kernels.cpp - TurnClockwise, TurnAnticlockwiseShifted, TurnHalf, MirrorRows and
// ReverseRowOrder: the pixel work behind the quarter turns, the half turn and the mirrors.
// Every function here runs after its export has checked the geometry and allocated the
// result, so none of them can fail. The result is not zero-filled beforehand: each kernel
// writes every byte of its rows, padding included, as zero where no pixel goes.
//
// Method. Rows of 1, 4 and 8 bits are handled 64 bits at a time, loaded most significant byte
// first so that the leftmost pixel of a word is its top element:
//   - A quarter turn moves square blocks of 64 / E rows by 64 / E pixels (64 x 64 for 1 bit,
//     16 x 16 for 4, 8 x 8 for 8): one 64-bit word per source row, transposed in registers by
//     recursive block swaps (each stage exchanges the upper-right and lower-left quarters of
//     every sub-square with one shift, one mask and three exclusive-ors per pair of words),
//     then one word per result row; an all-zero square (white paper, mostly) is not
//     transposed at all. Where the SIMD policy allows SSE2 (simd.hpp), 8-bit squares are
//     16 x 16 bytes interleaved by unpacks instead.
//     The squares of a tile are staged in a small buffer whose rows are then copied out
//     whole, so every cache line of source and result is touched once, even when the row
//     strides are powers of two and would alias in the cache.
//   - Which source row feeds which result column is all that tells the two directions apart.
//     The anticlockwise turn's column 0 has no source row and is written as zero; its extra
//     column (the bottom row, one pixel past each result row) is ORed in by a last pass, after
//     the padding has been zeroed, since it may share a byte with the row's last pixel, fall
//     in the padding or on the next row's first pixel.
//   - A mirrored row is built word by word: 64 source bits read at any bit offset (one load
//     and a shift), their elements reversed (byte swap, then nibble, pair and bit swaps as the
//     depth needs). Bits before the row's first pixel read as zero, so the result's padding
//     bits come out zero as they must.
// 24-bit pixels move as 4-byte loads and stores whose fourth byte the next pixel overwrites,
// never past a row's last pixel; their quarter turns are staged the same way, pixel by pixel.
//
// Where the policy allows AVX2, mirrored rows of 1, 8 and 24 bits take 32 result bytes per
// step (bytes reversed by a shuffle and a lane swap; 1-bit bytes first shifted into place by
// the row's spare bits and bit-reversed through nibble tables; 24-bit pixels five to a
// 16-byte half), and 24-bit quarter turns move squares of 8 x 8 pixels widened to 32 bits.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "geometry/orthogonal.hpp"
#include "pixels.hpp"
#include "simd.hpp"

#if defined(VX_SIMD_SSE2)
#include <emmintrin.h>
#endif
#if defined(VX_SIMD_SSE2) && defined(VX_SIMD_TARGETS)
#include <immintrin.h>

#include "geometry/transpose_avx2.hpp"
#define VX_ORTHOGONAL_AVX2 1
#endif

namespace vx::geometry {
namespace {

inline uint64_t FromBigEndian(uint64_t v) {
    if constexpr (std::endian::native == std::endian::little) return __builtin_bswap64(v);
    return v;
}

// The `bytes` (1 to 8) bytes at p as the top bytes of a word, the rest zero.
inline uint64_t LoadWord(const uint8_t* p, uint64_t bytes) {
    if (bytes >= 8) {
        uint64_t v;
        std::memcpy(&v, p, 8);
        return FromBigEndian(v);
    }
    uint64_t v = 0;
    for (uint64_t i = 0; i < bytes; ++i) v |= uint64_t{p[i]} << (56 - 8 * i);
    return v;
}

// Writes the top `bytes` (1 to 8) bytes of v to p.
inline void StoreWord(uint8_t* p, uint64_t v, uint64_t bytes) {
    if (bytes >= 8) {
        v = FromBigEndian(v);
        std::memcpy(p, &v, 8);
        return;
    }
    for (uint64_t i = 0; i < bytes; ++i) p[i] = static_cast<uint8_t>(v >> (56 - 8 * i));
}

// Alternating groups of `width` bits, the lowest group set: the right-hand elements of each
// pair of sub-squares in a transpose stage.
constexpr uint64_t RightHalves(unsigned width) {
    uint64_t mask = 0;
    for (unsigned at = 0; at < 64; at += 2 * width) mask |= ((uint64_t{1} << width) - 1) << at;
    return mask;
}

// Transposes the square of 64 / E rows of 64 / E elements of E bits held in a[0 .. 64 / E):
// element c of row r (c counted from the top of the word) becomes element r of row c.
template <unsigned E, unsigned Half = 32 / E>
inline void TransposeSquare(uint64_t* a) {
    if constexpr (Half >= 1) {
        constexpr unsigned kShift = Half * E;
        constexpr uint64_t kMask = RightHalves(kShift);
        for (unsigned base = 0; base < 64 / E; base += 2 * Half) {
            for (unsigned i = 0; i < Half; ++i) {
                uint64_t& upper = a[base + i];
                uint64_t& lower = a[base + i + Half];
                const uint64_t t = (upper ^ (lower >> kShift)) & kMask;
                upper ^= t;
                lower ^= t << kShift;
            }
        }
        TransposeSquare<E, Half / 2>(a);
    }
}

// Reverses the order of the E-bit elements of a word.
template <unsigned E>
inline uint64_t ReverseElements(uint64_t v) {
    v = __builtin_bswap64(v);
    if constexpr (E <= 4) v = (v >> 4 & 0x0F0F0F0F0F0F0F0Full) | (v & 0x0F0F0F0F0F0F0F0Full) << 4;
    if constexpr (E <= 2) v = (v >> 2 & 0x3333333333333333ull) | (v & 0x3333333333333333ull) << 2;
    if constexpr (E <= 1) v = (v >> 1 & 0x5555555555555555ull) | (v & 0x5555555555555555ull) << 1;
    return v;
}

// The result column c of a quarter turn is source row c (clockwise) or height - c
// (anticlockwise); null where there is none. Column `height`, the anticlockwise turn's extra
// column, is left to SpillBottomRow.
template <bool Clockwise>
inline const uint8_t* SourceRowOf(const SourceRows& s, uint64_t c) {
    if (c >= s.height || (!Clockwise && c == 0)) return nullptr;
    return s.bits + (Clockwise ? c : s.height - c) * s.stride;
}

// The result row that source column x becomes.
template <bool Clockwise>
inline uint64_t ResultRowOf(const SourceRows& s, uint64_t x) {
    return Clockwise ? s.width - 1 - x : x;
}

// A register square of a packed quarter turn: kSide source rows of kSide pixels (kBytes
// bytes each) in, kSide result rows out. The portable square is one 64-bit word per row;
// 8-bit pixels use 16 x 16 bytes in SSE2 registers where the build and the policy allow.
template <unsigned E>
struct WordSquare {
    static constexpr unsigned kSide = 64 / E;
    static constexpr unsigned kBytes = 8;
    // rows[t] is null for a result column without a source row; n bytes are read from each.
    static void Move(const uint8_t* const* rows, uint64_t at, uint64_t n, uint8_t* out, uint64_t outStride,
                     uint64_t count) {
        uint64_t a[kSide];
        uint64_t any = 0;
        for (unsigned t = 0; t < kSide; ++t) {
            a[t] = rows[t] != nullptr ? LoadWord(rows[t] + at, n) : 0;
            any |= a[t];
        }
        if (any != 0) TransposeSquare<E>(a);
        for (uint64_t k = 0; k < count; ++k) StoreWord(out + k * outStride, a[k], 8);
    }
};

#if defined(VX_SIMD_SSE2)
struct ByteSquareSse2 {
    static constexpr unsigned kSide = 16;
    static constexpr unsigned kBytes = 16;
    static void Move(const uint8_t* const* rows, uint64_t at, uint64_t n, uint8_t* out, uint64_t outStride,
                     uint64_t count) {
        __m128i r[16];
        for (unsigned t = 0; t < 16; ++t) {
            if (rows[t] == nullptr) {
                r[t] = _mm_setzero_si128();
            } else if (n >= 16) {
                r[t] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows[t] + at));
            } else {
                alignas(16) uint8_t part[16] = {};
                std::memcpy(part, rows[t] + at, n);
                r[t] = _mm_load_si128(reinterpret_cast<const __m128i*>(part));
            }
        }
        // Interleave bytes, then pairs, quads and halves of rows: after the four stages each
        // register holds one column.
        __m128i a[16], b[16];
        for (unsigned i = 0; i < 8; ++i) {
            a[2 * i] = _mm_unpacklo_epi8(r[2 * i], r[2 * i + 1]);
            a[2 * i + 1] = _mm_unpackhi_epi8(r[2 * i], r[2 * i + 1]);
        }
        for (unsigned j = 0; j < 4; ++j)
            for (unsigned h = 0; h < 2; ++h) {
                b[4 * j + 2 * h] = _mm_unpacklo_epi16(a[4 * j + h], a[4 * j + 2 + h]);
                b[4 * j + 2 * h + 1] = _mm_unpackhi_epi16(a[4 * j + h], a[4 * j + 2 + h]);
            }
        for (unsigned k = 0; k < 2; ++k)
            for (unsigned q = 0; q < 4; ++q) {
                a[8 * k + 2 * q] = _mm_unpacklo_epi32(b[8 * k + q], b[8 * k + 4 + q]);
                a[8 * k + 2 * q + 1] = _mm_unpackhi_epi32(b[8 * k + q], b[8 * k + 4 + q]);
            }
        for (unsigned m = 0; m < 8; ++m) {
            b[2 * m] = _mm_unpacklo_epi64(a[m], a[8 + m]);
            b[2 * m + 1] = _mm_unpackhi_epi64(a[m], a[8 + m]);
        }
        for (uint64_t k = 0; k < count; ++k)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k * outStride), b[k]);
    }
};
#endif

// A quarter turn goes through a staging tile of kStageRows result rows of kStageBytes bytes:
// squares are transposed into it, then its rows are copied out whole, so the result is written
// in long runs per row and the squares' scattered stores stay in L1 even when row strides are
// powers of two (which would otherwise put every row of a column in one cache set).
constexpr unsigned kStageBytes = 128;
constexpr unsigned kStageRows = 64;

// Result columns 0 .. height - 1 of a quarter turn of E-bit pixels (E = 1, 4, 8), moved in
// squares of type Sq.
template <unsigned E, bool Clockwise, typename Sq>
void TurnPacked(const SourceRows& s, const ResultRows& d) {
    constexpr unsigned kStageColumns = kStageBytes * 8 / E;  // result columns per stage
    const uint64_t width = s.width;
    const uint64_t height = s.height;
    const uint64_t sourceRowBytes = (width * E + 7) / 8;
    const uint64_t resultRowBytes = (height * E + 7) / 8;
    alignas(64) uint8_t stage[kStageRows][kStageBytes];
    const uint8_t* rows[kStageColumns];
    for (uint64_t c0 = 0; c0 < height; c0 += kStageColumns) {
        for (unsigned t = 0; t < kStageColumns; ++t) rows[t] = SourceRowOf<Clockwise>(s, c0 + t);
        const uint64_t resultByte = c0 * E / 8;
        const uint64_t bytes = std::min<uint64_t>(kStageBytes, resultRowBytes - resultByte);
        for (uint64_t x0 = 0; x0 < width; x0 += kStageRows) {
            const uint64_t count = std::min<uint64_t>(kStageRows, width - x0);
            for (unsigned band = 0; band * Sq::kBytes < bytes; ++band) {
                for (uint64_t xb = 0; xb < count; xb += Sq::kSide) {
                    // Source columns past the width are padding: their result rows are not kept.
                    const uint64_t at = (x0 + xb) * E / 8;
                    Sq::Move(rows + band * Sq::kSide, at, std::min<uint64_t>(Sq::kBytes, sourceRowBytes - at),
                             &stage[xb][band * Sq::kBytes], kStageBytes, std::min<uint64_t>(Sq::kSide, count - xb));
                }
            }
            for (uint64_t k = 0; k < count; ++k)
                std::memcpy(d.bits + ResultRowOf<Clockwise>(s, x0 + k) * d.stride + resultByte, stage[k], bytes);
        }
    }
}

// The squares the policy allows: SSE2 bytes for 8-bit pixels, words otherwise.
template <unsigned E, bool Clockwise>
void TurnPackedAt(SimdLevel level, const SourceRows& s, const ResultRows& d) {
#if defined(VX_SIMD_SSE2)
    if constexpr (E == 8) {
        if (level >= SimdLevel::kSse2) return TurnPacked<E, Clockwise, ByteSquareSse2>(s, d);
    }
#endif
    (void)level;
    TurnPacked<E, Clockwise, WordSquare<E>>(s, d);
}

// The same for 24-bit pixels; the anticlockwise turn's column 0, which has no source row, is
// written as zero. A stage holds kStage24Rows result rows of kStage24Columns pixels, with
// spare bytes for moves wider than a pixel.
constexpr uint64_t kStage24Columns = 128;  // result columns (source rows) per stage
constexpr uint64_t kStage24Rows = 32;      // result rows (source columns) per stage
using Stage24 = uint8_t[kStage24Rows][kStage24Columns * 3 + 8];

// Pixels x0 + k of the source rows rows[t] into stage[k][3 t], for t in [t0, columns) and k
// in [k0, count); a null row gives zero pixels. `lastOfRow` says that pixel x0 + count - 1
// is the last of its row, which a 4-byte move must not read past.
void StagePixels24(const uint8_t* const* rows, uint64_t x0, uint64_t t0, uint64_t columns, uint64_t k0,
                   uint64_t count, bool lastOfRow, Stage24& stage) {
    const uint64_t wide = lastOfRow ? count - 1 : count;
    for (uint64_t t = t0; t < columns; ++t) {
        if (rows[t] == nullptr) {
            for (uint64_t k = k0; k < count; ++k) std::memset(&stage[k][t * 3], 0, 3);
            continue;
        }
        const uint8_t* in = rows[t] + x0 * 3;
        uint64_t k = k0;
        for (; k < wide; ++k) std::memcpy(&stage[k][t * 3], in + k * 3, 4);
        for (; k < count; ++k) std::memcpy(&stage[k][t * 3], in + k * 3, 3);
    }
}

#if defined(VX_ORTHOGONAL_AVX2)
VX_TARGET_AVX2 inline __m256i Load32(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
VX_TARGET_AVX2 inline void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// Squares of 8 x 8 pixels in AVX2 registers: each source row's 24 bytes are widened to eight
// 4-byte lanes, the square is transposed as 32-bit elements (three rounds of unpacks), and
// each result row is narrowed back to 24 bytes and stored with 8 bytes to spare. The pixels
// around the squares go as in StagePixels24, three bytes at a time (the squares are already
// staged beside them).
VX_TARGET_AVX2 inline __m256i LoadPixels24(const uint8_t* row) {
    if (row == nullptr) return _mm256_setzero_si256();
    // Lane 0: bytes 0-15 (pixels 0-3 from byte 0); lane 1: bytes 8-23 (pixels 4-7 from byte 4).
    const __m256i v = _mm256_setr_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row)),
                                        _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 8)));
    const __m256i widen = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                           4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
    return _mm256_shuffle_epi8(v, widen);
}

VX_TARGET_AVX2 inline void StorePixels24(uint8_t* out, __m256i v) {
    const __m256i narrow = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                            0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i packed = _mm256_shuffle_epi8(v, narrow);
    Store32(out, _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7)));
}

VX_TARGET_AVX2 void StageSquares24Avx2(const uint8_t* const* rows, uint64_t x0, uint64_t columns, uint64_t count,
                                       bool lastOfRow, Stage24& stage) {
    const uint64_t squareColumns = columns / 8 * 8, squareRows = count / 8 * 8;
    for (uint64_t t = 0; t < squareColumns; t += 8) {
        for (uint64_t k = 0; k < squareRows; k += 8) {
            __m256i r[8];
            for (unsigned i = 0; i < 8; ++i) r[i] = LoadPixels24(rows[t + i] ? rows[t + i] + (x0 + k) * 3 : nullptr);
            Transpose8x8Epi32(r);
            for (unsigned i = 0; i < 8; ++i) StorePixels24(&stage[k + i][t * 3], r[i]);
        }
    }
    StagePixels24(rows, x0, 0, squareColumns, squareRows, count, lastOfRow, stage);
    StagePixels24(rows, x0, squareColumns, columns, 0, count, lastOfRow, stage);
}
#endif

using Stager24 = void (*)(const uint8_t* const* rows, uint64_t x0, uint64_t columns, uint64_t count, bool lastOfRow,
                          Stage24& stage);

void StagePortable24(const uint8_t* const* rows, uint64_t x0, uint64_t columns, uint64_t count, bool lastOfRow,
                     Stage24& stage) {
    StagePixels24(rows, x0, 0, columns, 0, count, lastOfRow, stage);
}

template <bool Clockwise>
void Turn24(const SourceRows& s, const ResultRows& d, SimdLevel level) {
    Stager24 fill = StagePortable24;
#if defined(VX_ORTHOGONAL_AVX2)
    if (level >= SimdLevel::kAvx2) fill = StageSquares24Avx2;
#endif
    (void)level;
    const uint64_t width = s.width;
    const uint64_t height = s.height;
    alignas(64) Stage24 stage;
    const uint8_t* rows[kStage24Columns];
    for (uint64_t c0 = 0; c0 < height; c0 += kStage24Columns) {
        const uint64_t columns = std::min(kStage24Columns, height - c0);
        for (uint64_t t = 0; t < columns; ++t) rows[t] = SourceRowOf<Clockwise>(s, c0 + t);
        for (uint64_t x0 = 0; x0 < width; x0 += kStage24Rows) {
            const uint64_t count = std::min(kStage24Rows, width - x0);
            fill(rows, x0, columns, count, x0 + count == width, stage);
            for (uint64_t k = 0; k < count; ++k)
                std::memcpy(d.bits + ResultRowOf<Clockwise>(s, x0 + k) * d.stride + c0 * 3, stage[k], columns * 3);
        }
    }
}

// The anticlockwise turn's extra column: source row 0 goes one pixel past the end of every
// result row, ORed in after the rest, since it may share a byte with the row's last pixel or
// land on the first pixel of the next row (for the last row, in the block's slack).
template <unsigned Bits>
void SpillBottomRow(const SourceRows& s, const ResultRows& d) {
    if (s.height == 0) return;
    const uint64_t bit = uint64_t{s.height} * Bits;
    for (uint64_t x = 0; x < s.width; ++x) {
        uint8_t* out = d.bits + x * d.stride + bit / 8;
        if constexpr (Bits == 24) {
            std::memcpy(out, s.bits + x * 3, 3);
        } else {
            const uint32_t v = GetPixel<Bits>(s.bits, x);
            *out |= static_cast<uint8_t>(v << (8 - Bits - bit % 8));
        }
    }
}

// Writes the pixels of one row in reverse order (E = 1, 4, 8).
template <unsigned E>
void ReverseRowPacked(const uint8_t* in, uint8_t* out, uint64_t width) {
    const uint64_t bits = width * E;
    const uint64_t bytes = (bits + 7) / 8;
    for (uint64_t word = 0; word * 64 < bits; ++word) {
        // Result bits [64 word, 64 word + 64) are source bits [q, q + 64) reversed.
        const int64_t q = static_cast<int64_t>(bits) - 64 * static_cast<int64_t>(word + 1);
        uint64_t v;
        if (q >= 0) {
            const uint64_t at = static_cast<uint64_t>(q) >> 3;
            const unsigned shift = static_cast<unsigned>(q & 7);
            v = LoadWord(in + at, 8);
            if (shift != 0) v = v << shift | in[at + 8] >> (8 - shift);
        } else {
            // The leftmost word: only n bits of the row are left; what precedes them is zero.
            const unsigned n = static_cast<unsigned>(q + 64);
            v = LoadWord(in, (n + 7) / 8) >> (64 - n);
        }
        const uint64_t at = word * 8;
        StoreWord(out + at, ReverseElements<E>(v), std::min<uint64_t>(8, bytes - at));
    }
}

void ReverseRow24(const uint8_t* in, uint8_t* out, uint64_t width) {
    if (width == 0) return;
    // The source's last pixel and the result's last pixel move three bytes exactly; the ones
    // between read and write a fourth byte that stays inside the row.
    std::memcpy(out, in + (width - 1) * 3, 3);
    for (uint64_t x = 1; x + 1 < width; ++x) std::memcpy(out + x * 3, in + (width - 1 - x) * 3, 4);
    if (width > 1) std::memcpy(out + (width - 1) * 3, in, 3);
}

template <unsigned Bits>
void ReverseRow(const uint8_t* in, uint8_t* out, uint64_t width) {
    if constexpr (Bits == 24) ReverseRow24(in, out, width);
    else ReverseRowPacked<Bits>(in, out, width);
}

#if defined(VX_ORTHOGONAL_AVX2)
// Mirrored rows in AVX2 registers: 32 result bytes per step, read from the far end of the
// source row. A row's last step overlaps the one before it rather than running past the row,
// and rows too short for one step take the portable path.

// The 32 bytes of v in reverse order.
VX_TARGET_AVX2 inline __m256i ReverseBytes(__m256i v) {
    const __m256i lane = _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,  //
                                          15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, lane), 0x4E);
}

VX_TARGET_AVX2 void ReverseRow8Avx2(const uint8_t* in, uint8_t* out, uint64_t width) {
    if (width < 32) return ReverseRowPacked<8>(in, out, width);
    uint64_t j = 0;
    for (; j + 64 <= width; j += 64) {
        const __m256i a = Load32(in + width - 32 - j), b = Load32(in + width - 64 - j);
        Store32(out + j, ReverseBytes(a));
        Store32(out + j + 32, ReverseBytes(b));
    }
    for (; j + 32 <= width; j += 32) Store32(out + j, ReverseBytes(Load32(in + width - 32 - j)));
    if (j < width) Store32(out + width - 32, ReverseBytes(Load32(in)));
}

// 24-bit pixels five at a time: 16 bytes loaded from one byte before a group of five, the
// group reversed into the first 15 bytes of the store; its 16th byte is the next group's
// first, written again by the step that follows (or by the portable tail). The groups stop
// short of the source's first pixel, which leaves at least one pixel to the tail.
VX_TARGET_AVX2 void ReverseRow24Avx2(const uint8_t* in, uint8_t* out, uint64_t width) {
    const __m128i group = _mm_setr_epi8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, -1);
    const __m256i pair = _mm256_broadcastsi128_si256(group);
    uint64_t x = 0;  // result pixels done
    for (; x + 11 <= width; x += 10) {
        // Two groups: source pixels width - 5 - x .. (lane 0) and width - 10 - x .. (lane 1).
        const uint8_t* first = in + (width - 5 - x) * 3 - 1;
        const __m256i v = _mm256_setr_m128i(_mm_loadu_si128(reinterpret_cast<const __m128i*>(first)),
                                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(first - 15)));
        const __m256i r = _mm256_shuffle_epi8(v, pair);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 3), _mm256_castsi256_si128(r));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 3 + 15), _mm256_extracti128_si256(r, 1));
    }
    for (; x + 6 <= width; x += 5) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + (width - 5 - x) * 3 - 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 3), _mm_shuffle_epi8(v, group));
    }
    for (; x < width; ++x) std::memcpy(out + x * 3, in + (width - 1 - x) * 3, 3);
}

// 1-bit rows: result byte j holds the eight source pixels that start at bit 8 k + r, where
// k = width / 8 - 1 - j and r = width % 8, in reverse order. Each step builds 32 such bytes
// from two loads one byte apart, reverses the bits of every byte through two nibble tables
// and then the order of the bytes. The last result byte, which has only r pixels, is made
// alone; with r = 0 the second load is the first again, its bits all shifted out.
VX_TARGET_AVX2 inline __m256i ReverseBitsOfBytes(__m256i v) {
    const __m256i low = _mm256_setr_epi8(0x00, 0x08, 0x04, 0x0C, 0x02, 0x0A, 0x06, 0x0E, 0x01, 0x09, 0x05, 0x0D, 0x03,
                                         0x0B, 0x07, 0x0F, 0x00, 0x08, 0x04, 0x0C, 0x02, 0x0A, 0x06, 0x0E, 0x01, 0x09,
                                         0x05, 0x0D, 0x03, 0x0B, 0x07, 0x0F);
    const __m256i high = _mm256_slli_epi16(low, 4);  // the same table, in the high nibble
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i lowNibbles = _mm256_and_si256(v, nibble);
    const __m256i highNibbles = _mm256_and_si256(_mm256_srli_epi16(v, 4), nibble);
    return _mm256_or_si256(_mm256_shuffle_epi8(high, lowNibbles), _mm256_shuffle_epi8(low, highNibbles));
}

// The 32 result bytes that start at source byte k, shifted up by r bits (with the bits of
// the next byte moved in), bit-reversed and in reverse byte order.
VX_TARGET_AVX2 inline __m256i MirroredBits(const uint8_t* at, const uint8_t* next, __m128i up, __m128i down,
                                           __m256i keepUp, __m256i keepDown) {
    const __m256i a = _mm256_and_si256(_mm256_sll_epi16(Load32(at), up), keepUp);
    const __m256i b = _mm256_and_si256(_mm256_srl_epi16(Load32(next), down), keepDown);
    return ReverseBytes(ReverseBitsOfBytes(_mm256_or_si256(a, b)));
}

VX_TARGET_AVX2 void ReverseRow1Avx2(const uint8_t* in, uint8_t* out, uint64_t width) {
    const uint64_t whole = width / 8;
    if (whole < 32) return ReverseRowPacked<1>(in, out, width);
    const unsigned r = width % 8;
    const __m128i up = _mm_cvtsi32_si128(static_cast<int>(r)), down = _mm_cvtsi32_si128(static_cast<int>(8 - r));
    const __m256i keepUp = _mm256_set1_epi8(static_cast<char>(0xFF << r & 0xFF));
    const __m256i keepDown = _mm256_set1_epi8(static_cast<char>(0xFF >> (8 - r)));
    const uint8_t* next = r != 0 ? in + 1 : in;
    uint64_t j = 0;
    for (; j + 32 <= whole; j += 32) {
        const uint64_t k = whole - 32 - j;
        Store32(out + j, MirroredBits(in + k, next + k, up, down, keepUp, keepDown));
    }
    if (j < whole) Store32(out + whole - 32, MirroredBits(in, next, up, down, keepUp, keepDown));
    if (r != 0) {
        const uint8_t last = static_cast<uint8_t>(in[0] >> (8 - r));
        out[whole] = static_cast<uint8_t>(ReverseElements<1>(last) >> 56);
    }
}
#endif

using RowReverser = void (*)(const uint8_t* in, uint8_t* out, uint64_t width);

// The row mirror for Bits-bit pixels at the fastest path `level` allows.
template <unsigned Bits>
RowReverser RowReverserAt(SimdLevel level) {
#if defined(VX_ORTHOGONAL_AVX2)
    if (level >= SimdLevel::kAvx2) {
        if constexpr (Bits == 1) return ReverseRow1Avx2;
        if constexpr (Bits == 8) return ReverseRow8Avx2;
        if constexpr (Bits == 24) return ReverseRow24Avx2;
    }
#endif
    (void)level;
    return ReverseRow<Bits>;
}

// Each source row mirrored into result row r (MirrorRows) or height - 1 - r (TurnHalf), its
// padding written as zero.
template <bool UpsideDown>
void MirrorEachRow(const SourceRows& s, const ResultRows& d, uint32_t bitCount, SimdLevel level) {
    DispatchDepth(bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        const RowReverser reverse = RowReverserAt<kBits>(level);
        const uint64_t used = (uint64_t{s.width} * kBits + 7) / 8;
        for (uint64_t r = 0; r < s.height; ++r) {
            uint8_t* out = d.bits + (UpsideDown ? s.height - 1 - r : r) * d.stride;
            reverse(s.bits + r * s.stride, out, s.width);
            std::memset(out + used, 0, d.stride - used);
        }
    });
}

// A quarter turn: the padding of every result row (the bytes past its `height` pixels) is
// zeroed first, since the anticlockwise turn's extra column may fall there.
template <bool Clockwise>
void Turn(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level) {
    DispatchDepth(bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        const uint64_t used = (uint64_t{source.height} * kBits + 7) / 8;
        if (used < result.stride)
            for (uint64_t r = 0; r < source.width; ++r) std::memset(result.bits + r * result.stride + used, 0, result.stride - used);
        if constexpr (kBits == 24) Turn24<Clockwise>(source, result, level);
        else TurnPackedAt<kBits, Clockwise>(level, source, result);
        if constexpr (!Clockwise) SpillBottomRow<kBits>(source, result);
    });
}

}  // namespace

void TurnClockwise(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level) {
    Turn<true>(source, result, bitCount, level);
}

void TurnAnticlockwiseShifted(const SourceRows& source, const ResultRows& result, uint32_t bitCount,
                              SimdLevel level) {
    Turn<false>(source, result, bitCount, level);
}

void TurnHalf(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level) {
    MirrorEachRow<true>(source, result, bitCount, level);
}

void MirrorRows(const SourceRows& source, const ResultRows& result, uint32_t bitCount, SimdLevel level) {
    MirrorEachRow<false>(source, result, bitCount, level);
}

void ReverseRowOrder(const SourceRows& source, const ResultRows& result) {
    if (source.stride == 0) return;
    for (uint64_t r = 0; r < source.height; ++r)
        std::memcpy(result.bits + (source.height - 1 - r) * result.stride,
                    source.bits + r * source.stride, source.stride);
}

}  // namespace vx::geometry

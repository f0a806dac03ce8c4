// orthogonal_kernels.cpp - the pixel work behind the quarter turns, the half turn and the
// mirrors. Every function here runs after its export has checked the geometry and allocated a
// zero-filled result, so none of them can fail.
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
//     column (the bottom row, one pixel past each result row) is ORed in by a last pass, since
//     it may share a byte with the row's last pixel or fall on the next row's first one.
//   - A mirrored row is built word by word: 64 source bits read at any bit offset (one load
//     and a shift), their elements reversed (byte swap, then nibble, pair and bit swaps as the
//     depth needs). Bits before the row's first pixel read as zero, so the result's padding
//     bits come out zero as they must.
// 24-bit pixels move as 4-byte loads and stores whose fourth byte the next pixel overwrites,
// never past a row's last pixel; their quarter turns are staged the same way, pixel by pixel.
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
void TurnPackedAtActiveLevel(const SourceRows& s, const ResultRows& d) {
#if defined(VX_SIMD_SSE2)
    if constexpr (E == 8) {
        if (SimdAllows(SimdLevel::kSse2)) return TurnPacked<E, Clockwise, ByteSquareSse2>(s, d);
    }
#endif
    TurnPacked<E, Clockwise, WordSquare<E>>(s, d);
}

// The same for 24-bit pixels, from column 1 for the anticlockwise turn (column 0 has no
// source row). Staging rows carry one spare byte for the 4-byte pixel moves.
template <bool Clockwise>
void Turn24(const SourceRows& s, const ResultRows& d) {
    constexpr uint64_t kColumns = 128;  // result columns (source rows) per stage
    constexpr uint64_t kRows = 32;     // result rows (source columns) per stage
    const uint64_t width = s.width;
    const uint64_t height = s.height;
    alignas(64) uint8_t stage[kRows][kColumns * 3 + 1];
    for (uint64_t c0 = Clockwise ? 0 : 1; c0 < height; c0 += kColumns) {
        const uint64_t columns = std::min(kColumns, height - c0);
        for (uint64_t x0 = 0; x0 < width; x0 += kRows) {
            const uint64_t count = std::min(kRows, width - x0);
            // A 4-byte load reads one byte of the next pixel: not past the row's last one.
            const uint64_t wide = x0 + count < width ? count : count - 1;
            for (uint64_t t = 0; t < columns; ++t) {
                const uint8_t* in = SourceRowOf<Clockwise>(s, c0 + t) + x0 * 3;
                uint64_t k = 0;
                for (; k < wide; ++k) std::memcpy(&stage[k][t * 3], in + k * 3, 4);
                for (; k < count; ++k) std::memcpy(&stage[k][t * 3], in + k * 3, 3);
            }
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

template <bool Clockwise>
void Turn(const SourceRows& source, const ResultRows& result, uint32_t bitCount) {
    DispatchDepth(bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        if constexpr (kBits == 24) Turn24<Clockwise>(source, result);
        else TurnPackedAtActiveLevel<kBits, Clockwise>(source, result);
        if constexpr (!Clockwise) SpillBottomRow<kBits>(source, result);
    });
}

}  // namespace

void TurnClockwise(const SourceRows& source, const ResultRows& result, uint32_t bitCount) {
    Turn<true>(source, result, bitCount);
}

void TurnAnticlockwiseShifted(const SourceRows& source, const ResultRows& result, uint32_t bitCount) {
    Turn<false>(source, result, bitCount);
}

void TurnHalf(const SourceRows& source, const ResultRows& result, uint32_t bitCount) {
    DispatchDepth(bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        for (uint64_t r = 0; r < source.height; ++r)
            ReverseRow<kBits>(source.bits + r * source.stride,
                              result.bits + (source.height - 1 - r) * result.stride, source.width);
    });
}

void MirrorRows(const SourceRows& source, const ResultRows& result, uint32_t bitCount) {
    DispatchDepth(bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        for (uint64_t r = 0; r < source.height; ++r)
            ReverseRow<kBits>(source.bits + r * source.stride, result.bits + r * result.stride,
                              source.width);
    });
}

void ReverseRowOrder(const SourceRows& source, const ResultRows& result) {
    if (source.stride == 0) return;
    for (uint64_t r = 0; r < source.height; ++r)
        std::memcpy(result.bits + (source.height - 1 - r) * result.stride,
                    source.bits + r * source.stride, source.stride);
}

}  // namespace vx::geometry

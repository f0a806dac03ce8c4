// luminance.cpp - 24-bit rows converted to gray levels (see luminance.hpp for the measures).
//
// The pixels are interleaved, three bytes each, which the compiler cannot take apart with the
// SSE2 instructions every x86-64 processor has. Two paths give the same bytes:
//   - Portable: sixteen pixels at a time, the sum of every three neighbouring bytes is formed
//     and divided at all 48 byte positions (every third position starts a pixel; the others
//     are computed and ignored), both contiguous loops that vectorise, then every third
//     quotient is picked. A chunk reads two bytes past its sixteenth pixel, so the last
//     sixteen pixels or fewer of a row are done one by one.
//   - Shuffled: where the SIMD policy allows SSSE3 (simd.hpp), the plain per-pixel loop is
//     compiled for it, and the compiler deinterleaves the channels with byte shuffles. About
//     twice as fast as the portable path.
#include "tone/luminance.hpp"

#include <algorithm>

#include "simd.hpp"

#if defined(VX_SIMD_TARGETS)
#include <immintrin.h>
#endif

namespace vx::tone {
namespace {

template <bool Weighted>
[[gnu::always_inline]] inline uint16_t SumAt(const uint8_t* p) {
    return static_cast<uint16_t>(Weighted ? p[0] * 3 + p[1] * 15 + p[2] * 8 : p[0] + p[1] + p[2]);
}

template <bool Weighted>
[[gnu::always_inline]] inline uint8_t Quotient(uint16_t sum) {
    constexpr uint16_t kHigh = Weighted ? kWeightedHigh : kPlainHigh;
    constexpr uint32_t kShift = Weighted ? kWeightedHighShift : kPlainHighShift;
    return static_cast<uint8_t>(static_cast<uint16_t>(uint32_t{sum} * kHigh >> 16) >> kShift);
}

template <bool Weighted>
[[gnu::always_inline]] inline void RowOneByOne(const uint8_t* __restrict src, uint8_t* __restrict dst,
                                               uint64_t from, uint64_t width) {
    for (uint64_t x = from; x < width; ++x) dst[x] = Quotient<Weighted>(SumAt<Weighted>(src + 3 * x));
}

constexpr uint64_t kChunk = 16;

template <bool Weighted>
void PortableRow(const uint8_t* __restrict src, uint8_t* __restrict dst, uint64_t width) {
    uint64_t x = 0;
    for (; x + kChunk < width; x += kChunk) {
        const uint8_t* s = src + 3 * x;
        uint8_t gray[3 * kChunk];
        for (uint64_t k = 0; k < 3 * kChunk; ++k) gray[k] = Quotient<Weighted>(SumAt<Weighted>(s + k));
        for (uint64_t i = 0; i < kChunk; ++i) dst[x + i] = gray[3 * i];
    }
    RowOneByOne<Weighted>(src, dst, x, width);
}

template <bool Weighted>
void PortableRows(const uint8_t* src, uint64_t srcStride, uint8_t* dst, uint64_t dstStride, uint64_t width,
                  uint64_t height) {
    for (uint64_t y = 0; y < height; ++y, src += srcStride, dst += dstStride) PortableRow<Weighted>(src, dst, width);
}

#if defined(VX_SIMD_TARGETS)
// 32 pixels a step. Each 128-bit lane is loaded with 4 pixels (12 bytes of a 16-byte load, so
// the last load reads 4 bytes past the 32nd pixel), spread to blue, green, red, 0 and weighted
// by a multiply-add into the pairs (weight x blue + weight x green, weight x red); a horizontal
// add gives the sums, divided as in Quotient(). The lanes leave the groups of four in the
// order 0 4 1 5 2 6 3 7, which one permutation undoes.
template <bool Weighted>
VX_TARGET_AVX2 inline __m256i PairSums(const uint8_t* p, __m256i spread, __m256i weights) {
    const __m256i pixels = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 12),
                                                reinterpret_cast<const __m128i*>(p));
    return _mm256_maddubs_epi16(_mm256_shuffle_epi8(pixels, spread), weights);
}

template <bool Weighted>
VX_TARGET_AVX2 inline __m256i Quotients(__m256i sums) {
    constexpr auto kHigh = static_cast<short>(Weighted ? kWeightedHigh : kPlainHigh);
    constexpr int kShift = Weighted ? kWeightedHighShift : kPlainHighShift;
    return _mm256_srli_epi16(_mm256_mulhi_epu16(sums, _mm256_set1_epi16(kHigh)), kShift);
}

// With Stream, the gray bytes go around the cache from the first 32-byte boundary of the row
// on (the pixels before it are done one by one): a large result is not read back soon, and
// plain stores would first read every line they fill.
template <bool Weighted, bool Stream>
VX_TARGET_AVX2 void WideRow(const uint8_t* __restrict src, uint8_t* __restrict dst, uint64_t width) {
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1, 3, 4,
                                            5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m256i weights = Weighted ? _mm256_setr_epi8(3, 15, 8, 0, 3, 15, 8, 0, 3, 15, 8, 0, 3, 15, 8, 0, 3, 15, 8,
                                                        0, 3, 15, 8, 0, 3, 15, 8, 0, 3, 15, 8, 0)
                                     : _mm256_setr_epi8(1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1,
                                                        1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    uint64_t x = 0;
    if constexpr (Stream) {
        x = std::min<uint64_t>((32 - (reinterpret_cast<uintptr_t>(dst) & 31)) & 31, width);
        RowOneByOne<Weighted>(src, dst, 0, x);
    }
    for (; x + 34 <= width; x += 32) {
        const uint8_t* p = src + 3 * x;
        // A kilobyte ahead: more reads in flight than the hardware prefetcher keeps alone.
        _mm_prefetch(reinterpret_cast<const char*>(p + 1024), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(p + 1088), _MM_HINT_T0);
        const __m256i low = Quotients<Weighted>(_mm256_hadd_epi16(PairSums<Weighted>(p, spread, weights),
                                                                   PairSums<Weighted>(p + 24, spread, weights)));
        const __m256i high = Quotients<Weighted>(_mm256_hadd_epi16(PairSums<Weighted>(p + 48, spread, weights),
                                                                    PairSums<Weighted>(p + 72, spread, weights)));
        const __m256i gray = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order);
        if constexpr (Stream) _mm256_stream_si256(reinterpret_cast<__m256i*>(dst + x), gray);
        else _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x), gray);
    }
    RowOneByOne<Weighted>(src, dst, x, width);
}

// Results from this size on are streamed.
constexpr uint64_t kStreamBytes = uint64_t{8} << 20;

template <bool Weighted>
VX_TARGET_AVX2 void WideRows(const uint8_t* src, uint64_t srcStride, uint8_t* dst, uint64_t dstStride, uint64_t width,
                             uint64_t height) {
    if (width * height < kStreamBytes) {
        for (uint64_t y = 0; y < height; ++y, src += srcStride, dst += dstStride)
            WideRow<Weighted, false>(src, dst, width);
        return;
    }
    for (uint64_t y = 0; y < height; ++y, src += srcStride, dst += dstStride) WideRow<Weighted, true>(src, dst, width);
    _mm_sfence();
}

template <bool Weighted>
VX_TARGET_SSSE3 void ShuffledRows(const uint8_t* src, uint64_t srcStride, uint8_t* dst, uint64_t dstStride,
                                           uint64_t width, uint64_t height) {
    for (uint64_t y = 0; y < height; ++y, src += srcStride, dst += dstStride) RowOneByOne<Weighted>(src, dst, 0, width);
}
#endif

bool GrayRowPathAvailable(GrayRowPath path) {
#if defined(VX_SIMD_TARGETS)
    if (path == GrayRowPath::Wide) return SimdAllows(SimdLevel::kAvx2);
    if (path == GrayRowPath::Shuffled) return SimdAllows(SimdLevel::kSsse3);
#else
    if (path != GrayRowPath::Portable) return false;
#endif
    return true;
}

}  // namespace

GrayRowPath FastestGrayRowPath() {
    if (GrayRowPathAvailable(GrayRowPath::Wide)) return GrayRowPath::Wide;
    return GrayRowPathAvailable(GrayRowPath::Shuffled) ? GrayRowPath::Shuffled : GrayRowPath::Portable;
}

void GrayRows(GrayRowPath path, bool weighted, const uint8_t* src, uint64_t srcStride, uint8_t* dst,
              uint64_t dstStride, uint64_t width, uint64_t height) {
#if defined(VX_SIMD_TARGETS)
    if (path == GrayRowPath::Wide && SimdAllows(SimdLevel::kAvx2)) {
        if (weighted) WideRows<true>(src, srcStride, dst, dstStride, width, height);
        else WideRows<false>(src, srcStride, dst, dstStride, width, height);
        return;
    }
    if (path == GrayRowPath::Shuffled && SimdAllows(SimdLevel::kSsse3)) {
        if (weighted) ShuffledRows<true>(src, srcStride, dst, dstStride, width, height);
        else ShuffledRows<false>(src, srcStride, dst, dstStride, width, height);
        return;
    }
#endif
    if (weighted) PortableRows<true>(src, srcStride, dst, dstStride, width, height);
    else PortableRows<false>(src, srcStride, dst, dstStride, width, height);
}

}  // namespace vx::tone

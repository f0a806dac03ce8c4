// scale_sampling.cpp - SampleBytes and SamplePixels24; see scale_sampling.hpp.
//
// Halving is the common case and gets vector paths: the even bytes of a run of 8-bit samples
// are the low bytes of its 16-bit lanes (mask, then pack), thirty-two at a time with AVX2 and
// sixteen with SSE2; 24-bit pixels five at a time by SSSE3 shuffles, otherwise as overlapping
// 4-byte stores, the last pixel on its own so that nothing is written past the row.
#include "geometry/scale_sampling.hpp"

#include <cstring>

#include "simd.hpp"

#if defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

namespace vx::geometry {

namespace {

#if defined(VX_SIMD_SSE2)
uint32_t HalveSse2(const uint8_t* in, uint32_t n, uint8_t* out) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    uint32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i + 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                         _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)));
    }
    return i;
}
#endif

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
VX_TARGET_AVX2 uint32_t HalveAvx2(const uint8_t* in, uint32_t n, uint8_t* out) {
    const __m256i low = _mm256_set1_epi16(0x00FF);
    uint32_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 2 * i));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 2 * i + 32));
        const __m256i packed = _mm256_packus_epi16(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), _mm256_permute4x64_epi64(packed, 0xD8));
    }
    return i;
}
#endif

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
// Five pixels per step: the even pixels 0, 2, 4 of a 16-byte window and 0, 2 of the window 18
// bytes on, shuffled side by side; the sixteenth byte stored is the next step's first.
VX_TARGET_SSSE3 uint32_t HalvePixels24Ssse3(const uint8_t* in, uint32_t n, uint8_t* out) {
    const __m128i first = _mm_setr_epi8(0, 1, 2, 6, 7, 8, 12, 13, 14, -1, -1, -1, -1, -1, -1, -1);
    const __m128i second = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 2, 6, 7, 8, -1);
    uint32_t i = 0;
    for (; i + 6 <= n; i += 5) {
        const uint8_t* at = in + uint64_t{i} * 6;
        const __m128i a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), first);
        const __m128i b = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 18)), second);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + uint64_t{i} * 3), _mm_or_si128(a, b));
    }
    return i;
}
#endif

}  // namespace

void SampleBytes(const uint8_t* in, uint32_t step, uint32_t n, uint8_t* out) {
    uint32_t i = 0;
    if (step == 2) {
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
        if (SimdAllows(SimdLevel::kAvx2)) i = HalveAvx2(in, n, out);
#endif
#if defined(VX_SIMD_SSE2)
        if (SimdAllows(SimdLevel::kSse2)) i += HalveSse2(in + 2 * i, n - i, out + i);
#endif
    }
    for (; i < n; ++i) out[i] = in[uint64_t{i} * step];
}

void SamplePixels24(const uint8_t* in, uint32_t step, uint32_t n, uint8_t* out) {
    if (n == 0) return;
    const uint64_t stride = uint64_t{step} * 3;
    uint32_t i = 0;
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
    if (step == 2 && SimdAllows(SimdLevel::kSsse3)) i = HalvePixels24Ssse3(in, n, out);
#endif
    for (; i + 1 < n; ++i) std::memcpy(out + uint64_t{i} * 3, in + i * stride, 4);
    std::memcpy(out + uint64_t{n - 1} * 3, in + (n - 1) * stride, 3);
}

}  // namespace vx::geometry

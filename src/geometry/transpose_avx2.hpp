// transpose_avx2.hpp - Transpose8x8Epi32: eight AVX2 registers of eight 32-bit lanes turned
// so that register r holds lane r of each, the step both the 24-bit quarter turns and the
// any-angle rotation's row groups take to move pixels gathered by column into rows.
// Included only where AVX2 functions can be compiled (VX_SIMD_SSE2 and VX_SIMD_TARGETS).
#pragma once

#include <immintrin.h>

#include "simd.hpp"

namespace vx::geometry {

VX_TARGET_AVX2 inline void Transpose8x8Epi32(__m256i* v) {
    __m256i t[8], u[8];
    for (int i = 0; i < 8; i += 2) {
        t[i] = _mm256_unpacklo_epi32(v[i], v[i + 1]);
        t[i + 1] = _mm256_unpackhi_epi32(v[i], v[i + 1]);
    }
    for (int i = 0; i < 8; i += 4) {
        u[i] = _mm256_unpacklo_epi64(t[i], t[i + 2]);
        u[i + 1] = _mm256_unpackhi_epi64(t[i], t[i + 2]);
        u[i + 2] = _mm256_unpacklo_epi64(t[i + 1], t[i + 3]);
        u[i + 3] = _mm256_unpackhi_epi64(t[i + 1], t[i + 3]);
    }
    for (int i = 0; i < 4; ++i) {
        v[i] = _mm256_permute2x128_si256(u[i], u[i + 4], 0x20);
        v[i + 4] = _mm256_permute2x128_si256(u[i], u[i + 4], 0x31);
    }
}

}  // namespace vx::geometry

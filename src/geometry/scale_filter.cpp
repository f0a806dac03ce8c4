// scale_filter.cpp - tap tables and row kernels of the bilinear and cubic resampler.
//
// Positions. Output index i of an axis maps to source position i src / dst, with no half-pixel
// offset: its integer part p is the integer quotient, so index 0 always samples source index 0
// exactly, and the last output index never passes the last source index.
//
// Bilinear weights are integer arithmetic throughout: the weight of sample p + 1 is the
// remainder of i src / dst scaled to 255 and rounded, floor((255 r + floor(dst / 2)) / dst).
//
// Cubic weights (cubic convolution with a = -1) are the one place that keeps floating point,
// because the truncated weight depends on the exact double-precision value: x = (i src) / dst
// in double, f = x - p, the four distances |1 + f|, |f|, |f - 1|, |f - 2| fed to t^3 - 5t^2 + 8t
// - 4 (outer lobes, a magnitude) and t^3 - 2t^2 + 1 (inner), the powers taken with pow(), each
// result multiplied by 255 and truncated toward zero. The same operations in the same order are
// kept here; they run once per output column (tap table) and once per output row, never per
// pixel. The weights are not renormalised: their sum may differ from 255 and the output
// carries that small gain. On 32-bit x86 the function is compiled for SSE2 arithmetic
// (VX_EXACT_DOUBLES), so that no intermediate keeps x87 extended precision and every build
// rounds alike.
//
// Row kernels. A filtered sample adds products of samples and 8-bit weights (Product(), the
// product table's values) and clips: to 255 for bilinear; to 0..255 for cubic, whose outer
// products are subtracted. Horizontally, the weights are laid out once per call as one row per
// tap (two or four), and the samples under each output pixel's taps are brought into the same
// layout: sixteen at a time by a byte shuffle where a block of sixteen outputs finds all its
// samples within sixteen bytes (the shuffle plan, made once per call; growing and mild
// shrinking), otherwise gathered one by one. The weighted sums then run over whole rows, like
// the vertical combinations: thirty-two samples per step with AVX2, sixteen with SSE2, where
// the build has them and the SIMD policy allows them; the plain loop finishes each row, and is
// otherwise the whole path. The products in 16-bit lanes are the same integers as Product().
#include "geometry/scale_filter.hpp"

#include <cmath>
#include <cstddef>
#include <cstring>

#include "dib_layout.hpp"
#include "simd.hpp"

#if defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

namespace vx::geometry::filter {

BilinearTap BilinearTapAt(uint32_t i, uint32_t src, uint32_t dst) {
    const uint32_t n = i * src;  // both below 2^16
    const uint32_t r = n % dst;
    const uint32_t w = (255 * r + dst / 2) / dst;
    return BilinearTap{static_cast<uint16_t>(n / dst), static_cast<uint8_t>(255 - w),
                       static_cast<uint8_t>(w)};
}

namespace {

VX_EXACT_DOUBLES double OuterLobe(double t) {
    return std::pow(t, 3.0) - 5.0 * std::pow(t, 2.0) + 8.0 * t - 4.0;
}
VX_EXACT_DOUBLES double InnerLobe(double t) {
    return std::pow(t, 3.0) - 2.0 * std::pow(t, 2.0) + 1.0;
}
VX_EXACT_DOUBLES uint8_t Weight(double kernel) {
    return static_cast<uint8_t>(static_cast<int>(kernel * 255.0));
}

}  // namespace

VX_EXACT_DOUBLES CubicTap CubicTapAt(uint32_t i, uint32_t src, uint32_t dst) {
    const uint32_t n = i * src;
    const uint32_t p = n / dst;
    const double x = static_cast<double>(n) / static_cast<double>(dst);
    const double f = x - static_cast<double>(p);
    return CubicTap{static_cast<uint16_t>(p), Weight(OuterLobe(std::fabs(1.0 + f))),
                    Weight(InnerLobe(std::fabs(f))), Weight(InnerLobe(std::fabs(f - 1.0))),
                    Weight(OuterLobe(std::fabs(f - 2.0)))};
}

template <unsigned C>
void GatherTaps(const uint8_t* s, const uint32_t* offsets, uint32_t n, unsigned taps,
                uint8_t* const* rows) {
    if constexpr (C == 3) {
        // Four bytes moved per pixel: the fourth is overwritten by the next pixel, or lands in
        // the slack after the row; the reads stay inside the guard pixels after the last pixel.
        for (uint32_t i = 0; i < n; ++i) {
            const uint8_t* q = s + offsets[i];
            for (unsigned k = 0; k < taps; ++k) std::memcpy(rows[k] + uint64_t{i} * 3, q + 3 * k, 4);
        }
    } else {
        for (uint32_t i = 0; i < n; ++i) {
            const uint8_t* q = s + offsets[i];
            for (unsigned k = 0; k < taps; ++k) rows[k][i] = q[k];
        }
    }
}

template void GatherTaps<1>(const uint8_t*, const uint32_t*, uint32_t, unsigned, uint8_t* const*);
template void GatherTaps<3>(const uint8_t*, const uint32_t*, uint32_t, unsigned, uint8_t* const*);

namespace {

inline uint8_t ClipHigh(uint32_t v) { return static_cast<uint8_t>(v > 255 ? 255 : v); }
inline uint8_t Clip(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

#if defined(VX_SIMD_SSE2)
// Sixteen samples at a time in 16-bit lanes. A product is floor(y / 255) for y = w v + 128
// <= 65,153, which is (y x 0x8081) >> 23 for every 16-bit y: the high half of the unsigned
// 16-bit product, shifted by 7. A sum of products lies in -510..510, and the signed-to-unsigned
// saturating pack is exactly the clip to 0..255.
inline __m128i Product16(__m128i w, __m128i v) {
    const __m128i y = _mm_add_epi16(_mm_mullo_epi16(w, v), _mm_set1_epi16(128));
    return _mm_srli_epi16(_mm_mulhi_epu16(y, _mm_set1_epi16(static_cast<short>(0x8081))), 7);
}
inline __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline __m128i Low(__m128i v) { return _mm_unpacklo_epi8(v, _mm_setzero_si128()); }
inline __m128i High(__m128i v) { return _mm_unpackhi_epi8(v, _mm_setzero_si128()); }
inline void Store16(uint8_t* p, __m128i lo, __m128i hi) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(lo, hi));
}
// The weights of sample x: a row of per-sample weights, or one weight for every sample.
struct RowWeights {
    const uint8_t* w;
    __m128i at(uint64_t x, bool high) const { return high ? High(Load16(w + x)) : Low(Load16(w + x)); }
    uint32_t scalar(uint64_t x) const { return w[x]; }
};
struct FixedWeight {
    __m128i lanes;
    uint32_t value;
    explicit FixedWeight(uint32_t v) : lanes(_mm_set1_epi16(static_cast<short>(v))), value(v) {}
    __m128i at(uint64_t, bool) const { return lanes; }
    uint32_t scalar(uint64_t) const { return value; }
};
#else
struct RowWeights {
    const uint8_t* w;
    uint32_t scalar(uint64_t x) const { return w[x]; }
};
struct FixedWeight {
    uint32_t value;
    explicit FixedWeight(uint32_t v) : value(v) {}
    uint32_t scalar(uint64_t) const { return value; }
};
#endif

template <typename W>
void Bilinear(const uint8_t* a, W wa, const uint8_t* b, W wb, uint64_t n, uint8_t* out) {
    uint64_t x = 0;
#if defined(VX_SIMD_SSE2)
    const uint64_t vectorEnd = SimdAllows(SimdLevel::kSse2) ? n : 0;
    for (; x + 16 <= vectorEnd; x += 16) {
        const __m128i va = Load16(a + x), vb = Load16(b + x);
        const __m128i lo = _mm_add_epi16(Product16(wa.at(x, false), Low(va)), Product16(wb.at(x, false), Low(vb)));
        const __m128i hi = _mm_add_epi16(Product16(wa.at(x, true), High(va)), Product16(wb.at(x, true), High(vb)));
        Store16(out + x, lo, hi);
    }
#endif
    for (; x < n; ++x) out[x] = ClipHigh(Product(wa.scalar(x), a[x]) + Product(wb.scalar(x), b[x]));
}

template <typename W>
void Cubic(const uint8_t* const r[4], const W w[4], uint64_t n, uint8_t* out) {
    uint64_t x = 0;
#if defined(VX_SIMD_SSE2)
    const uint64_t vectorEnd = SimdAllows(SimdLevel::kSse2) ? n : 0;
    for (; x + 16 <= vectorEnd; x += 16) {
        __m128i sum[2];
        for (int half = 0; half < 2; ++half) {
            const bool high = half == 1;
            __m128i v[4];
            for (int k = 0; k < 4; ++k) {
                const __m128i samples = Load16(r[k] + x);
                v[k] = Product16(w[k].at(x, high), high ? High(samples) : Low(samples));
            }
            sum[half] = _mm_sub_epi16(_mm_add_epi16(v[1], v[2]), _mm_add_epi16(v[0], v[3]));
        }
        Store16(out + x, sum[0], sum[1]);
    }
#endif
    for (; x < n; ++x)
        out[x] = Clip(static_cast<int>(Product(w[1].scalar(x), r[1][x]) + Product(w[2].scalar(x), r[2][x])) -
                      static_cast<int>(Product(w[0].scalar(x), r[0][x]) + Product(w[3].scalar(x), r[3][x])));
}

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
// The same sums, thirty-two samples at a time in AVX2 registers; unpacking and packing work
// within 128-bit halves, so every sample keeps its place.
VX_TARGET_AVX2 inline __m256i Product32(__m256i w, __m256i v) {
    const __m256i y = _mm256_add_epi16(_mm256_mullo_epi16(w, v), _mm256_set1_epi16(128));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(y, _mm256_set1_epi16(static_cast<short>(0x8081))), 7);
}
VX_TARGET_AVX2 inline __m256i Load32(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
VX_TARGET_AVX2 inline __m256i Half(__m256i v, bool high) {
    return high ? _mm256_unpackhi_epi8(v, _mm256_setzero_si256()) : _mm256_unpacklo_epi8(v, _mm256_setzero_si256());
}
// Tap k's sum term of 32 samples: its samples v and weights w, both as bytes.
struct Terms {
    __m256i lo, hi;
};
VX_TARGET_AVX2 inline Terms Products(__m256i w, __m256i v) {
    return {Product32(Half(w, false), Half(v, false)), Product32(Half(w, true), Half(v, true))};
}
// Sums the products of 2 (bilinear) or 4 (cubic: 1 + 2 - 0 - 3) taps and stores 32 samples.
template <unsigned taps>
VX_TARGET_AVX2 inline void StoreSum(uint8_t* out, const __m256i* samples, const __m256i* weights) {
    Terms t[4];
    for (unsigned k = 0; k < taps; ++k) t[k] = Products(weights[k], samples[k]);
    __m256i lo, hi;
    if constexpr (taps == 2) {
        lo = _mm256_add_epi16(t[0].lo, t[1].lo);
        hi = _mm256_add_epi16(t[0].hi, t[1].hi);
    } else {
        lo = _mm256_sub_epi16(_mm256_add_epi16(t[1].lo, t[2].lo), _mm256_add_epi16(t[0].lo, t[3].lo));
        hi = _mm256_sub_epi16(_mm256_add_epi16(t[1].hi, t[2].hi), _mm256_add_epi16(t[0].hi, t[3].hi));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_packus_epi16(lo, hi));
}
// Rows of samples with a row of weights per tap.
template <unsigned taps>
VX_TARGET_AVX2 uint64_t MixRowsAvx2(const uint8_t* const* rows, const uint8_t* const* weights, uint64_t n, uint8_t* out) {
    __m256i w[4], v[4];
    uint64_t x = 0;
    for (; x + 32 <= n; x += 32) {
        for (unsigned k = 0; k < taps; ++k) {
            v[k] = Load32(rows[k] + x);
            w[k] = Load32(weights[k] + x);
        }
        StoreSum<taps>(out + x, v, w);
    }
    return x;
}
// Rows of samples with one weight per tap.
template <unsigned taps>
VX_TARGET_AVX2 uint64_t CombineRowsAvx2(const uint8_t* const* rows, const uint8_t* fixed, uint64_t n, uint8_t* out) {
    __m256i w[4], v[4];
    for (unsigned k = 0; k < taps; ++k) w[k] = _mm256_set1_epi8(static_cast<char>(fixed[k]));
    uint64_t x = 0;
    for (; x + 32 <= n; x += 32) {
        for (unsigned k = 0; k < taps; ++k) v[k] = Load32(rows[k] + x);
        StoreSum<taps>(out + x, v, w);
    }
    return x;
}
template <unsigned taps>
VX_TARGET_AVX2 uint32_t MixShuffledAvx2(const uint8_t* first, unsigned channels, const uint32_t* base,
                                        const uint8_t* shuffle, uint32_t blocks, const uint8_t* const* weights,
                                        uint8_t* out) {
    __m256i w[4], v[4];
    uint32_t b = 0;
    for (; b + 2 <= blocks; b += 2) {
        const __m256i order = Load32(shuffle + uint64_t{b} * 16);
        const uint64_t x = uint64_t{b} * 16;
        for (unsigned k = 0; k < taps; ++k) {
            const uint8_t* at = first + uint64_t{k} * channels;
            const __m256i window = _mm256_inserti128_si256(
                _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + base[b]))),
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + base[b + 1])), 1);
            v[k] = _mm256_shuffle_epi8(window, order);
            w[k] = Load32(weights[k] + x);
        }
        StoreSum<taps>(out + x, v, w);
    }
    return b;
}
#endif

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
VX_TARGET_SSSE3 uint32_t MixShuffledSsse3(const uint8_t* first, unsigned channels, const uint32_t* base,
                                          const uint8_t* shuffle, uint32_t blocks, unsigned taps,
                                          const uint8_t* const* weights, uint8_t* out) {
    for (uint32_t b = 0; b < blocks; ++b) {
        const __m128i order = Load16(shuffle + uint64_t{b} * 16);
        const uint64_t x = uint64_t{b} * 16;
        __m128i lo[4], hi[4];
        for (unsigned k = 0; k < taps; ++k) {
            const __m128i v = _mm_shuffle_epi8(Load16(first + uint64_t{k} * channels + base[b]), order);
            const __m128i w = Load16(weights[k] + x);
            lo[k] = Product16(Low(w), Low(v));
            hi[k] = Product16(High(w), High(v));
        }
        if (taps == 2)
            Store16(out + x, _mm_add_epi16(lo[0], lo[1]), _mm_add_epi16(hi[0], hi[1]));
        else
            Store16(out + x, _mm_sub_epi16(_mm_add_epi16(lo[1], lo[2]), _mm_add_epi16(lo[0], lo[3])),
                    _mm_sub_epi16(_mm_add_epi16(hi[1], hi[2]), _mm_add_epi16(hi[0], hi[3])));
    }
    return blocks;
}
#endif

// The first samples of a row mix done with AVX2 where allowed; the rest is the caller's.
uint64_t MixRowsWide(const uint8_t* const* rows, const uint8_t* const* weights, const uint8_t* fixed,
                     unsigned taps, uint64_t n, uint8_t* out) {
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
    if (SimdAllows(SimdLevel::kAvx2))
        return fixed != nullptr ? (taps == 2 ? CombineRowsAvx2<2>(rows, fixed, n, out) : CombineRowsAvx2<4>(rows, fixed, n, out))
                                : (taps == 2 ? MixRowsAvx2<2>(rows, weights, n, out) : MixRowsAvx2<4>(rows, weights, n, out));
#endif
    (void)rows, (void)weights, (void)fixed, (void)taps, (void)n, (void)out;
    return 0;
}

}  // namespace

uint32_t MixShuffled(const uint8_t* first, unsigned channels, const uint32_t* base, const uint8_t* shuffle,
                     uint32_t blocks, unsigned taps, const uint8_t* const* weights, uint8_t* out) {
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
    if (SimdAllows(SimdLevel::kAvx2)) {
        const uint32_t done = taps == 2 ? MixShuffledAvx2<2>(first, channels, base, shuffle, blocks, weights, out)
                                        : MixShuffledAvx2<4>(first, channels, base, shuffle, blocks, weights, out);
        const uint8_t* rest[4];
        for (unsigned k = 0; k < taps; ++k) rest[k] = weights[k] + uint64_t{done} * 16;
        return done + MixShuffledSsse3(first, channels, base + done, shuffle + uint64_t{done} * 16, blocks - done,
                                       taps, rest, out + uint64_t{done} * 16);
    }
    if (SimdAllows(SimdLevel::kSsse3))
        return MixShuffledSsse3(first, channels, base, shuffle, blocks, taps, weights, out);
#endif
    (void)first, (void)channels, (void)base, (void)shuffle, (void)blocks, (void)taps, (void)weights, (void)out;
    return 0;
}

void MixBilinear(const uint8_t* a, const uint8_t* wa, const uint8_t* b, const uint8_t* wb,
                 uint64_t n, uint8_t* out) {
    const uint8_t* rows[2] = {a, b};
    const uint8_t* weights[2] = {wa, wb};
    const uint64_t x = MixRowsWide(rows, weights, nullptr, 2, n, out);
    Bilinear(a + x, RowWeights{wa + x}, b + x, RowWeights{wb + x}, n - x, out + x);
}

void MixCubic(const uint8_t* const x[4], const uint8_t* const w[4], uint64_t n, uint8_t* out) {
    const uint64_t done = MixRowsWide(x, w, nullptr, 4, n, out);
    const uint8_t* rows[4] = {x[0] + done, x[1] + done, x[2] + done, x[3] + done};
    const RowWeights weights[4] = {{w[0] + done}, {w[1] + done}, {w[2] + done}, {w[3] + done}};
    Cubic(rows, weights, n - done, out + done);
}

void CombineBilinear(const uint8_t* a, const uint8_t* b, uint32_t w, uint64_t n, uint8_t* out) {
    const uint8_t* rows[2] = {a, b};
    const uint8_t fixed[2] = {static_cast<uint8_t>(255 - w), static_cast<uint8_t>(w)};
    const uint64_t x = MixRowsWide(rows, nullptr, fixed, 2, n, out);
    Bilinear(a + x, FixedWeight(255 - w), b + x, FixedWeight(w), n - x, out + x);
}

void CombineCubic(const uint8_t* const rows[4], const CubicTap& t, uint64_t n, uint8_t* out) {
    const uint8_t fixed[4] = {t.w0, t.w1, t.w2, t.w3};
    const uint64_t done = MixRowsWide(rows, nullptr, fixed, 4, n, out);
    const uint8_t* rest[4] = {rows[0] + done, rows[1] + done, rows[2] + done, rows[3] + done};
    const FixedWeight weights[4] = {FixedWeight(t.w0), FixedWeight(t.w1), FixedWeight(t.w2),
                                    FixedWeight(t.w3)};
    Cubic(rest, weights, n - done, out + done);
}

}  // namespace vx::geometry::filter

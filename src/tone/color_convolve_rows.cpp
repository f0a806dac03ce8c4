// color_convolve_rows.cpp - the gray and shift row loops of ColorConvolution: portable, SSSE3
// and AVX2 (see color_convolve_rows.hpp).
//
// The shuffled loops read 16 pixels (48 bytes, three vectors) per SSSE3 step; the AVX2 loops
// put two such groups side by side in the two 128-bit lanes of each register, since the byte
// shuffles do not cross lanes. Gray levels: each channel is gathered into one vector, widened
// to 16 bits and weighed, and the sum divided by 26 or 3 with the exact multiply-high of
// luminance.hpp. Shift: the quotient is formed as the portable loop forms it (an arithmetic
// shift, or the multiply-high of the magnitude with the sign put back), and the change of gray
// level is split into its positive and negative parts, each saturated to a byte and spread over
// the pixel's three bytes; adding the one and subtracting the other with unsigned saturation
// is B + delta clamped to 0 ... 255 (the negation saturates too, so -32768 would still clamp).
// The gray loops, which read the source rows from memory for the first time, prefetch a
// kilobyte ahead (about an eighth faster on 4096-pixel rows: the hardware prefetcher stops at
// each 4 KiB page). The pixels after the last whole group go through the portable loops.
#include "tone/color_convolve_rows.hpp"

#include <array>

#include "simd.hpp"
#include "tone/luminance.hpp"

#if defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

namespace vx::tone {
namespace {

template <bool Weighted>
VX_TONE_INLINE void GrayBody(const uint8_t* __restrict from, int16_t* __restrict gray, size_t n) {
    for (size_t x = 0; x < n; ++x) {
        const unsigned b = from[3 * x], g = from[3 * x + 1], r = from[3 * x + 2];
        gray[x] = static_cast<int16_t>(Weighted ? (8 * b + 15 * g + 3 * r) / 26 : (b + g + r) / 3);
    }
}

VX_TONE_INLINE uint8_t ClampByte(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

// `out` may be `from` (in place): each pixel is read before it is written.
VX_TONE_INLINE void ShiftBody(const Divider& d, const int16_t* sums, const int16_t* gray, const uint8_t* from,
                              uint8_t* out, size_t n) {
    ForEachQuotient(d, false, sums, n, [=](size_t x, int16_t q) {
        const int delta = static_cast<int16_t>(q - gray[x]);
        out[3 * x] = ClampByte(from[3 * x] + delta);
        out[3 * x + 1] = ClampByte(from[3 * x + 1] + delta);
        out[3 * x + 2] = ClampByte(from[3 * x + 2] + delta);
    });
}

template <bool Weighted>
void GrayPortable(const uint8_t* from, int16_t* gray, size_t n) { GrayBody<Weighted>(from, gray, n); }
void ShiftPortable(const Divider& d, const int16_t* sums, const int16_t* gray, const uint8_t* from, uint8_t* out,
                   size_t n) {
    ShiftBody(d, sums, gray, from, out, n);
}

#if defined(VX_SIMD_SSE2)
using Mask = std::array<int8_t, 16>;

// Byte i picks byte 3 i + c of the 48 where vector v of the three holds it (-1 elsewhere).
constexpr Mask Pick(int c, int v) {
    Mask m{};
    for (int i = 0; i < 16; ++i) {
        const int at = 3 * i + c - 16 * v;
        m[static_cast<size_t>(i)] = static_cast<int8_t>(at >= 0 && at < 16 ? at : -1);
    }
    return m;
}
// Byte j of vector v of the 48 belongs to pixel (16 v + j) / 3.
constexpr Mask Spread(int v) {
    Mask m{};
    for (int j = 0; j < 16; ++j) m[static_cast<size_t>(j)] = static_cast<int8_t>((16 * v + j) / 3);
    return m;
}
constexpr Mask kPick[3][3] = {{Pick(0, 0), Pick(0, 1), Pick(0, 2)},
                              {Pick(1, 0), Pick(1, 1), Pick(1, 2)},
                              {Pick(2, 0), Pick(2, 1), Pick(2, 2)}};
constexpr Mask kSpread[3] = {Spread(0), Spread(1), Spread(2)};

constexpr int16_t kGrayHigh[2] = {static_cast<int16_t>(kPlainHigh), static_cast<int16_t>(kWeightedHigh)};
constexpr int kGrayShift[2] = {kPlainHighShift, kWeightedHighShift};

// ---- SSSE3: 16 pixels a step

VX_TARGET_SSSE3 inline __m128i Load128(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

VX_TARGET_SSSE3 inline __m128i Channel128(const __m128i p[3], int c) {
    return _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(p[0], Load128(kPick[c][0].data())),
                                     _mm_shuffle_epi8(p[1], Load128(kPick[c][1].data()))),
                        _mm_shuffle_epi8(p[2], Load128(kPick[c][2].data())));
}

template <bool Weighted>
VX_TARGET_SSSE3 inline __m128i GrayOf128(__m128i b, __m128i g, __m128i r) {
    const __m128i sum = Weighted ? _mm_add_epi16(_mm_add_epi16(_mm_slli_epi16(b, 3), _mm_mullo_epi16(g, _mm_set1_epi16(15))),
                                                 _mm_mullo_epi16(r, _mm_set1_epi16(3)))
                                 : _mm_add_epi16(_mm_add_epi16(b, g), r);
    return _mm_srli_epi16(_mm_mulhi_epu16(sum, _mm_set1_epi16(kGrayHigh[Weighted])), kGrayShift[Weighted]);
}

template <bool Weighted>
VX_TARGET_SSSE3 void GraySsse3(const uint8_t* from, int16_t* gray, size_t n) {
    const __m128i zero = _mm_setzero_si128();
    size_t x = 0;
    for (; x + 16 <= n; x += 16) {
        _mm_prefetch(reinterpret_cast<const char*>(from + 3 * x + 1024), _MM_HINT_T0);
        const __m128i p[3] = {Load128(from + 3 * x), Load128(from + 3 * x + 16), Load128(from + 3 * x + 32)};
        const __m128i b = Channel128(p, 0), g = Channel128(p, 1), r = Channel128(p, 2);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(gray + x),
                         GrayOf128<Weighted>(_mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(g, zero),
                                             _mm_unpacklo_epi8(r, zero)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(gray + x + 8),
                         GrayOf128<Weighted>(_mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(g, zero),
                                             _mm_unpackhi_epi8(r, zero)));
    }
    GrayBody<Weighted>(from + 3 * x, gray + x, n - x);
}

VX_TARGET_SSSE3 inline __m128i Quotients128(const Divider& d, __m128i s) {
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(d.shift));
    switch (d.mode) {
    case Divider::Mode::kShift: return _mm_sra_epi16(s, shift);
    case Divider::Mode::kMagic:
        return _mm_sign_epi16(
            _mm_srl_epi16(_mm_mulhi_epu16(_mm_abs_epi16(s), _mm_set1_epi16(static_cast<int16_t>(d.magic))), shift), s);
    case Divider::Mode::kZero: break;
    }
    return _mm_setzero_si128();
}

VX_TARGET_SSSE3 void ShiftSsse3(const Divider& d, const int16_t* sums, const int16_t* gray, const uint8_t* from,
                                uint8_t* out, size_t n) {
    const __m128i zero = _mm_setzero_si128();
    size_t x = 0;
    for (; x + 16 <= n; x += 16) {
        const __m128i d0 = _mm_sub_epi16(Quotients128(d, Load128(sums + x)), Load128(gray + x));
        const __m128i d1 = _mm_sub_epi16(Quotients128(d, Load128(sums + x + 8)), Load128(gray + x + 8));
        const __m128i up = _mm_packus_epi16(d0, d1);
        const __m128i down = _mm_packus_epi16(_mm_subs_epi16(zero, d0), _mm_subs_epi16(zero, d1));
        for (int v = 0; v < 3; ++v) {
            const __m128i spread = Load128(kSpread[v].data());
            const __m128i p = Load128(from + 3 * x + 16 * v);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * x + 16 * v),
                             _mm_subs_epu8(_mm_adds_epu8(p, _mm_shuffle_epi8(up, spread)), _mm_shuffle_epi8(down, spread)));
        }
    }
    ShiftBody(d, sums + x, gray + x, from + 3 * x, out + 3 * x, n - x);
}

// ---- AVX2: 32 pixels a step, pixels 0 ... 15 in the low lanes, 16 ... 31 in the high ones

VX_TARGET_AVX2 inline __m256i Lanes(const uint8_t* low, const uint8_t* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(Load128(low)), Load128(high), 1);
}
VX_TARGET_AVX2 inline __m256i Load256(const int16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
VX_TARGET_AVX2 inline __m256i Both(const Mask& m) { return _mm256_broadcastsi128_si256(Load128(m.data())); }

VX_TARGET_AVX2 inline __m256i Channel256(const __m256i p[3], int c) {
    return _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(p[0], Both(kPick[c][0])),
                                           _mm256_shuffle_epi8(p[1], Both(kPick[c][1]))),
                           _mm256_shuffle_epi8(p[2], Both(kPick[c][2])));
}

template <bool Weighted>
VX_TARGET_AVX2 inline __m256i GrayOf256(__m256i b, __m256i g, __m256i r) {
    const __m256i sum = Weighted ? _mm256_add_epi16(_mm256_add_epi16(_mm256_slli_epi16(b, 3),
                                                                     _mm256_mullo_epi16(g, _mm256_set1_epi16(15))),
                                                    _mm256_mullo_epi16(r, _mm256_set1_epi16(3)))
                                 : _mm256_add_epi16(_mm256_add_epi16(b, g), r);
    return _mm256_srli_epi16(_mm256_mulhi_epu16(sum, _mm256_set1_epi16(kGrayHigh[Weighted])), kGrayShift[Weighted]);
}

template <bool Weighted>
VX_TARGET_AVX2 void GrayAvx2(const uint8_t* from, int16_t* gray, size_t n) {
    const __m256i zero = _mm256_setzero_si256();
    size_t x = 0;
    for (; x + 32 <= n; x += 32) {
        const uint8_t* at = from + 3 * x;
        _mm_prefetch(reinterpret_cast<const char*>(at + 1024), _MM_HINT_T0);
        _mm_prefetch(reinterpret_cast<const char*>(at + 1024 + 64), _MM_HINT_T0);
        const __m256i p[3] = {Lanes(at, at + 48), Lanes(at + 16, at + 64), Lanes(at + 32, at + 80)};
        const __m256i b = Channel256(p, 0), g = Channel256(p, 1), r = Channel256(p, 2);
        // Pixels 0 ... 7 and 16 ... 23, then 8 ... 15 and 24 ... 31.
        const __m256i low = GrayOf256<Weighted>(_mm256_unpacklo_epi8(b, zero), _mm256_unpacklo_epi8(g, zero),
                                                _mm256_unpacklo_epi8(r, zero));
        const __m256i high = GrayOf256<Weighted>(_mm256_unpackhi_epi8(b, zero), _mm256_unpackhi_epi8(g, zero),
                                                 _mm256_unpackhi_epi8(r, zero));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(gray + x), _mm256_permute2x128_si256(low, high, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(gray + x + 16), _mm256_permute2x128_si256(low, high, 0x31));
    }
    GrayBody<Weighted>(from + 3 * x, gray + x, n - x);
}

VX_TARGET_AVX2 inline __m256i Quotients256(const Divider& d, __m256i s) {
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(d.shift));
    switch (d.mode) {
    case Divider::Mode::kShift: return _mm256_sra_epi16(s, shift);
    case Divider::Mode::kMagic:
        return _mm256_sign_epi16(
            _mm256_srl_epi16(_mm256_mulhi_epu16(_mm256_abs_epi16(s), _mm256_set1_epi16(static_cast<int16_t>(d.magic))),
                             shift),
            s);
    case Divider::Mode::kZero: break;
    }
    return _mm256_setzero_si256();
}

VX_TARGET_AVX2 void ShiftAvx2(const Divider& d, const int16_t* sums, const int16_t* gray, const uint8_t* from,
                              uint8_t* out, size_t n) {
    const __m256i zero = _mm256_setzero_si256();
    size_t x = 0;
    for (; x + 32 <= n; x += 32) {
        const __m256i d0 = _mm256_sub_epi16(Quotients256(d, Load256(sums + x)), Load256(gray + x));
        const __m256i d1 = _mm256_sub_epi16(Quotients256(d, Load256(sums + x + 16)), Load256(gray + x + 16));
        // The packs interleave the lanes; 0xD8 puts pixels 0 ... 15 low and 16 ... 31 high.
        const __m256i up = _mm256_permute4x64_epi64(_mm256_packus_epi16(d0, d1), 0xD8);
        const __m256i down = _mm256_permute4x64_epi64(
            _mm256_packus_epi16(_mm256_subs_epi16(zero, d0), _mm256_subs_epi16(zero, d1)), 0xD8);
        for (int v = 0; v < 3; ++v) {
            const __m256i spread = Both(kSpread[v]);
            uint8_t* to = out + 3 * x + 16 * v;
            const __m256i p = Lanes(from + 3 * x + 16 * v, from + 3 * x + 48 + 16 * v);
            const __m256i moved = _mm256_subs_epu8(_mm256_adds_epu8(p, _mm256_shuffle_epi8(up, spread)),
                                                   _mm256_shuffle_epi8(down, spread));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(moved));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 48), _mm256_extracti128_si256(moved, 1));
        }
    }
    ShiftBody(d, sums + x, gray + x, from + 3 * x, out + 3 * x, n - x);
}
#endif

}  // namespace

bool ColorRowPathRuns(ColorRowPath path) {
    switch (path) {
    case ColorRowPath::kPortable: return true;
#if defined(VX_SIMD_SSE2)
    case ColorRowPath::kSsse3: return SimdAllows(SimdLevel::kSsse3);
    case ColorRowPath::kAvx2: return SimdAllows(SimdLevel::kAvx2);
#else
    default: return false;
#endif
    }
    return false;
}

ColorRowPath FastestColorRowPath() {
    if (ColorRowPathRuns(ColorRowPath::kAvx2)) return ColorRowPath::kAvx2;
    if (ColorRowPathRuns(ColorRowPath::kSsse3)) return ColorRowPath::kSsse3;
    return ColorRowPath::kPortable;
}

ColorRowLoops ColorRowLoopsFor(ColorRowPath path, bool weighted) {
#if defined(VX_SIMD_SSE2)
    if (path == ColorRowPath::kAvx2) return {weighted ? GrayAvx2<true> : GrayAvx2<false>, ShiftAvx2};
    if (path == ColorRowPath::kSsse3) return {weighted ? GraySsse3<true> : GraySsse3<false>, ShiftSsse3};
#else
    (void)path;
#endif
    return {weighted ? GrayPortable<true> : GrayPortable<false>, ShiftPortable};
}

}  // namespace vx::tone

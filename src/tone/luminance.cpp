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

#include "simd.hpp"

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
template <bool Weighted>
VX_TARGET_SSSE3 void ShuffledRows(const uint8_t* src, uint64_t srcStride, uint8_t* dst, uint64_t dstStride,
                                           uint64_t width, uint64_t height) {
    for (uint64_t y = 0; y < height; ++y, src += srcStride, dst += dstStride) RowOneByOne<Weighted>(src, dst, 0, width);
}
#endif

bool GrayRowPathAvailable(GrayRowPath path) {
#if defined(VX_SIMD_TARGETS)
    if (path == GrayRowPath::Shuffled) return SimdAllows(SimdLevel::kSsse3);
#else
    if (path == GrayRowPath::Shuffled) return false;
#endif
    return true;
}

}  // namespace

GrayRowPath FastestGrayRowPath() {
    return GrayRowPathAvailable(GrayRowPath::Shuffled) ? GrayRowPath::Shuffled : GrayRowPath::Portable;
}

void GrayRows(GrayRowPath path, bool weighted, const uint8_t* src, uint64_t srcStride, uint8_t* dst,
              uint64_t dstStride, uint64_t width, uint64_t height) {
#if defined(VX_SIMD_TARGETS)
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

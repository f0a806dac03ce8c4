// brightness_contrast.cpp - ColorBrightnessContrast: brightness and contrast, in percent, applied
// to a 4, 8 or 24-bit image through one mapping of the 256 levels, into a new DIB.
//
// The mapping: with b the brightness and c the contrast (-100 to 100), p = b x 128 / 100 and
// q = c x 128 / 100 (truncated toward zero); level i becomes x = i + p clamped to 0 ... 255,
// scaled by (100 + c) percent, less q, clamped to 0 ... 255 and truncated. Brightness shifts
// the input by up to 128 levels before the scaling; contrast scales and then pulls the result
// down by up to 128 levels (or up, for negative contrast). b = c = 0 is the identity.
//
// The scaling has always been done in double precision, x x (c + 100) x 0.01 - q. Since
// x x (c + 100) is a whole number n >= 0 and the double nearest 0.01 lies just above it, the
// product is n / 100 itself when n is a multiple of 100 and lies strictly between two whole
// numbers otherwise; so truncating it gives n / 100 in integer division, and the clamps at 0
// and 255 give the same levels as clamping the integer. The levels are computed that way,
// exactly and without depending on how a platform rounds intermediate doubles, in 16-bit steps
// (n / 100 as a high-half multiply) so that the loop over the bytes of a 24-bit image
// vectorises instead of looking each byte up in a table: in SSE2 by the compiler, and where
// AVX2 is allowed 32 bytes a step by hand, the first clamp a saturating byte addition and the
// second a saturating pack. A large result is stored around the cache.
//
// The same mapping serves every colour channel. A paletted image keeps its pixel bytes and gets
// its colour-table entries mapped (blue, green, red; the fourth byte kept). A 24-bit image has
// every byte of every row mapped, 3 x biWidth bytes per row, rows advancing by the 24-bit
// stride kept to 16 bits, padding 0. Where every byte of the result is written (paletted
// images, and rows that do not overlap, whose padding and tail are written as 0), its block
// is not zero-filled first. Other depths pass the checks and give a copy of the
// header and table with zeroed pixels.
//
// Quirks kept: biWidth and biHeight are tested for 0 in their low 16 bits, the two settings
// are read as signed 16-bit values, a biSizeImage of 0 is replaced in the result by the
// computed size, the allocation is tried twice, and the source stays locked on success.
//
// The 24-bit stride wraps past 16 bits for widths above 21844: rows then overlap (at 21845
// they coincide). Every byte they cover is mapped from the source byte at the same offset, so
// the covered bytes form one range or one range per row, each mapped once; bytes past the
// result's pixel area (a biSizeImage smaller than the rows) are dropped.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "platform/platform.hpp"
#include "simd.hpp"
#include "tone/checked_source.hpp"

#if defined(VX_SIMD_TARGETS) || defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

namespace vx::tone {
namespace {

// One setting, as the levels are computed from it: level(i) = clamp(clamp(i + shift, 0, 255)
// x scale / 100 - pull, 0, 255), with shift = b x 128 / 100, scale = 100 + c, pull =
// c x 128 / 100.
struct Setting {
    int16_t shift;
    uint16_t scale;
    int16_t pull;
};

constexpr Setting MakeSetting(int brightness, int contrast) {
    return {static_cast<int16_t>(brightness * 128 / 100), static_cast<uint16_t>(contrast + 100),
            static_cast<int16_t>(contrast * 128 / 100)};
}

// n / 100 for a product n <= 255 x 200, in 16-bit lanes: (n / 4) / 25, the second division a
// high-half multiply and a shift, exact for every quotient of the first.
constexpr uint16_t Hundredth(uint16_t n) {
    const auto quarter = static_cast<uint16_t>(n >> 2);
    return static_cast<uint16_t>(static_cast<uint16_t>(uint32_t{quarter} * 41944u >> 16) >> 4);
}
constexpr bool HundredthIsExact() {
    for (uint32_t n = 0; n <= 255 * 200; ++n)
        if (Hundredth(static_cast<uint16_t>(n)) != n / 100) return false;
    return true;
}
static_assert(HundredthIsExact());

// Written in 16-bit steps so that a loop of it vectorises in 16-bit lanes.
[[gnu::always_inline]] inline uint8_t Level(const Setting& s, uint8_t value) {
    auto x = static_cast<int16_t>(value + s.shift);
    x = x < 0 ? int16_t{0} : x > 255 ? int16_t{255} : x;
    const auto scaled = static_cast<uint16_t>(static_cast<uint16_t>(x) * s.scale);
    auto v = static_cast<int16_t>(static_cast<int16_t>(Hundredth(scaled)) - s.pull);
    v = v < 0 ? int16_t{0} : v > 255 ? int16_t{255} : v;
    return static_cast<uint8_t>(v);
}

// Results from this size on are stored around the cache.
constexpr uint64_t kStreamBytes = uint64_t{8} << 20;

#if defined(VX_SIMD_TARGETS)
// Level() for 32 bytes at a time: the shift as a saturating byte add or subtraction (which is
// the first clamp), then 16-bit lanes for the scaling, and a saturating pack for the second
// clamp.
struct SettingLanes {
    __m256i up, down, scale, reciprocal, pull;
};

VX_TARGET_AVX2 inline __m256i ScaledHalf(const SettingLanes& s, __m256i x) {
    const __m256i scaled = _mm256_mullo_epi16(x, s.scale);
    const __m256i hundredth = _mm256_srli_epi16(_mm256_mulhi_epu16(_mm256_srli_epi16(scaled, 2), s.reciprocal), 4);
    return _mm256_sub_epi16(hundredth, s.pull);
}

VX_TARGET_AVX2 inline __m256i Levels32(const SettingLanes& s, __m256i v) {
    const __m256i x = _mm256_subs_epu8(_mm256_adds_epu8(v, s.up), s.down);
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi16(ScaledHalf(s, _mm256_unpacklo_epi8(x, zero)),
                               ScaledHalf(s, _mm256_unpackhi_epi8(x, zero)));
}

// With `stream`, the result goes around the cache (the bytes up to the first 32-byte boundary
// are stored plainly): a large result is not read back soon, and plain stores would first read
// every line they fill.
VX_TARGET_AVX2 void LevelsAvx2(const uint8_t* src, uint8_t* out, uint64_t n, Setting s, bool stream) {
    const SettingLanes lanes{_mm256_set1_epi8(static_cast<char>(s.shift > 0 ? s.shift : 0)),
                             _mm256_set1_epi8(static_cast<char>(s.shift < 0 ? -s.shift : 0)),
                             _mm256_set1_epi16(static_cast<short>(s.scale)),
                             _mm256_set1_epi16(static_cast<short>(41944)), _mm256_set1_epi16(s.pull)};
    uint64_t i = 0;
    if (stream) {
        for (; i < n && (reinterpret_cast<uintptr_t>(out + i) & 31) != 0; ++i) out[i] = Level(s, src[i]);
        for (; i + 32 <= n; i += 32) {
            // A kilobyte ahead: more reads in flight than the hardware prefetcher keeps alone.
            _mm_prefetch(reinterpret_cast<const char*>(src + i + 1024), _MM_HINT_T0);
            _mm256_stream_si256(reinterpret_cast<__m256i*>(out + i),
                                Levels32(lanes, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i))));
        }
        _mm_sfence();
    }
    for (; i + 32 <= n; i += 32)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            Levels32(lanes, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i))));
    for (; i < n; ++i) out[i] = Level(s, src[i]);
}
#endif

// Maps bytes [from, to) of the pixel area, dropping those from `have` on: 32 bytes a step
// where AVX2 is allowed, otherwise in the 16-bit arithmetic of Level() (which vectorises in
// SSE2). The result's pixel area is exactly as long as the source's checked one, so every
// byte mapped is read inside the source block.
class RangeMapper {
public:
    RangeMapper(Setting s, uint64_t have) : setting_(s), have_(have), stream_(have >= kStreamBytes) {
#if defined(VX_SIMD_TARGETS)
        avx2_ = SimdAllows(SimdLevel::kAvx2);
#endif
    }

    void map(const uint8_t* __restrict src, uint8_t* __restrict out, uint64_t from, uint64_t to) const {
        to = std::min(to, have_);
        if (from >= to) return;
#if defined(VX_SIMD_TARGETS)
        if (avx2_) {
            LevelsAvx2(src + from, out + from, to - from, setting_, stream_);
            return;
        }
#endif
        for (uint64_t i = from; i < to; ++i) out[i] = Level(setting_, src[i]);
    }
    uint64_t have() const { return have_; }

private:
    Setting setting_;
    uint64_t have_;
    bool stream_;
    bool avx2_ = false;
};

// Copies the pixels of a paletted image; from 8 MiB on around the cache, for the reason
// LevelsAvx2 streams, 16 bytes a store from the first 16-byte boundary on.
void CopyPixels(const uint8_t* src, uint8_t* out, uint64_t n) {
#if defined(VX_SIMD_SSE2)
    if (n >= kStreamBytes && SimdAllows(SimdLevel::kSse2)) {
        const uint64_t head = (16 - (reinterpret_cast<uintptr_t>(out) & 15)) & 15;
        std::memcpy(out, src, head);
        uint64_t i = head;
        for (; i + 64 <= n; i += 64)
            for (uint64_t k = i; k < i + 64; k += 16)
                _mm_stream_si128(reinterpret_cast<__m128i*>(out + k),
                                 _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + k)));
        _mm_sfence();
        std::memcpy(out + i, src + i, n - i);
        return;
    }
#endif
    std::memcpy(out, src, n);
}

// Whether MapRows writes every byte of the pixel area: rows that neither overlap nor coincide,
// whose padding and whatever lies past them it then writes as 0.
constexpr bool RowsWrittenWhole(uint64_t width, uint64_t stride) { return stride != 0 && stride >= 3 * width; }

void MapRows(const uint8_t* src, uint8_t* out, const RangeMapper& mapper, uint64_t width, uint64_t height,
             uint64_t stride) {
    const uint64_t rowBytes = 3 * width, have = mapper.have();
    if (stride == 0) {
        mapper.map(src, out, 0, rowBytes);
    } else if (stride < rowBytes) {
        mapper.map(src, out, 0, (height - 1) * stride + rowBytes);
    } else {
        uint64_t end = 0;
        for (uint64_t y = 0, at = 0; y < height && at < have; ++y, at += stride) {
            mapper.map(src, out, at, at + rowBytes);
            end = std::min(at + stride, have);
            if (at + rowBytes < end) std::memset(out + at + rowBytes, 0, end - (at + rowBytes));
        }
        if (end < have) std::memset(out + end, 0, have - end);
    }
}

Outcome<HDIB> Adjust(HDIB dib, int brightnessArg, int contrastArg) {
    CheckedSource checked(dib);
    const SourceHeader& h = checked.header();
    const int brightness = static_cast<int16_t>(brightnessArg);
    const int contrast = static_cast<int16_t>(contrastArg);
    checked.require(h.compression == 0, IMGERR_COMPRESSED)
        .require(h.bitCount != 1, IMGERR_BITCOUNT)
        .require(static_cast<uint16_t>(h.width) != 0 && static_cast<uint16_t>(h.height) != 0, IMGERR_DIBSIZE)
        .require(brightness >= -100 && brightness <= 100 && contrast >= -100 && contrast <= 100, IMGERR_PARAMETER)
        .require(h.width > 0 && h.height > 0, IMGERR_DIBSIZE);

    const uint32_t bits = h.bitCount;
    const uint64_t width = h.width > 0 ? static_cast<uint64_t>(h.width) : 0;
    const uint64_t height = h.height > 0 ? static_cast<uint64_t>(h.height) : 0;
    const uint64_t colors = h.clrUsed != 0 ? h.clrUsed : bits == 4 ? 16 : bits == 8 ? 256 : 0;
    const uint64_t pixels = kInfoHeaderSize + 4 * colors;
    uint64_t imageBytes = h.sizeImage;
    if (imageBytes == 0) {
        const std::optional<uint64_t> stride = Stride32(width, bits);
        imageBytes = stride.value_or(0) * height;
        checked.require(stride && imageBytes <= kMaxBlockBytes, IMGERR_DIBSIZE);
    }
    checked.require(pixels + imageBytes <= checked.size(), IMGERR_DIBSIZE);
    if (checked.refused()) return checked.refusal();

    const uint64_t stride24 = RowStride(static_cast<uint32_t>(width), 24) & 0xFFFF;
    const bool writtenWhole = bits == 4 || bits == 8 || (bits == 24 && RowsWrittenWhole(width, stride24));
    std::optional<NewDib> result =
        checked.allocate(pixels + imageBytes, true, writtenWhole ? BlockFill::kWrittenWhole : BlockFill::kZero);
    if (!result) return checked.refusal();

    const uint8_t* src = checked.data();
    uint8_t* out = result->data();
    std::memcpy(out, src, pixels);
    StoreU32(out + bih::kSizeImage, static_cast<uint32_t>(imageBytes));

    const Setting setting = MakeSetting(brightness, contrast);
    if (bits == 4 || bits == 8) {
        for (uint64_t i = 0; i < colors; ++i) {
            uint8_t* entry = out + kInfoHeaderSize + 4 * i;
            for (int k = 0; k < 3; ++k) entry[k] = Level(setting, entry[k]);
        }
        CopyPixels(src + pixels, out + pixels, imageBytes);
    } else if (bits == 24) {
        platform::WaitCursor wait;
        MapRows(src + pixels, out + pixels, RangeMapper(setting, imageBytes), width, height, stride24);
    }
    return checked.succeed(*result, SourceLockOnSuccess::Kept);
}

}  // namespace
}  // namespace vx::tone

extern "C" VXAPI HDIB VXCALL ColorBrightnessContrast(HDIB dib, int brightness, int contrast) {
    return vx::RunExport(vx::tone::kToneChannel, [&] { return vx::tone::Adjust(dib, brightness, contrast); });
}

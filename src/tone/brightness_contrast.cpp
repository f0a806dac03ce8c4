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
// vectorises instead of looking each byte up in a table.
//
// The same mapping serves every colour channel. A paletted image keeps its pixel bytes and gets
// its colour-table entries mapped (blue, green, red; the fourth byte kept). A 24-bit image has
// every byte of every row mapped, 3 x biWidth bytes per row, rows advancing by the 24-bit
// stride kept to 16 bits, padding left 0. Other depths pass the checks and give a copy of the
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
#include "platform/platform.hpp"
#include "tone/checked_source.hpp"

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

// Maps bytes [from, to) of the pixel area, dropping those from `have` on. The result's pixel
// area is exactly as long as the source's checked one, so every byte mapped is read inside
// the source block.
void MapRange(const uint8_t* __restrict src, uint8_t* __restrict out, uint64_t have, uint64_t from, uint64_t to,
              Setting s) {
    to = std::min(to, have);
    for (uint64_t i = from; i < to; ++i) out[i] = Level(s, src[i]);
}

void MapRows(const uint8_t* src, uint8_t* out, uint64_t have, uint64_t width, uint64_t height, uint64_t stride,
             Setting s) {
    const uint64_t rowBytes = 3 * width;
    if (stride == 0) {
        MapRange(src, out, have, 0, rowBytes, s);
    } else if (stride < rowBytes) {
        MapRange(src, out, have, 0, (height - 1) * stride + rowBytes, s);
    } else {
        for (uint64_t y = 0, at = 0; y < height && at < have; ++y, at += stride)
            MapRange(src, out, have, at, at + rowBytes, s);
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

    std::optional<NewDib> result = checked.allocate(pixels + imageBytes, true);
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
        std::memcpy(out + pixels, src + pixels, imageBytes);
    } else if (bits == 24) {
        platform::WaitCursor wait;
        const uint64_t stride = RowStride(static_cast<uint32_t>(width), 24) & 0xFFFF;
        MapRows(src + pixels, out + pixels, imageBytes, width, height, stride, setting);
    }
    return checked.succeed(*result, SourceLockOnSuccess::Kept);
}

}  // namespace
}  // namespace vx::tone

extern "C" VXAPI HDIB VXCALL ColorBrightnessContrast(HDIB dib, int brightness, int contrast) {
    return vx::RunExport(vx::tone::kToneChannel, [&] { return vx::tone::Adjust(dib, brightness, contrast); });
}

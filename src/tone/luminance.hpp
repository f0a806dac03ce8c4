// luminance.hpp - the gray level of a colour, and 24-bit rows converted to gray levels.
//
// Two measures, both truncating: weighted (3 blue + 15 green + 8 red) / 26, and plain
// (blue + green + red) / 3. The divisions are done as a 16 x 16-bit high-half multiply and a
// shift, which give the quotient exactly over the whole range of the sums (checked at compile
// time below) and vectorise well.
#pragma once

#include <cstdint>

namespace vx::tone {

inline constexpr uint32_t kWeightedHigh = 40330, kWeightedHighShift = 4;  // s / 26 for s <= 6630
inline constexpr uint32_t kPlainHigh = 43691, kPlainHighShift = 1;        // s / 3 for s <= 765

constexpr uint8_t GrayOfSum(uint32_t sum, bool weighted) {
    const uint32_t high = sum * (weighted ? kWeightedHigh : kPlainHigh) >> 16;
    return static_cast<uint8_t>(high >> (weighted ? kWeightedHighShift : kPlainHighShift));
}

constexpr bool GrayOfSumIsExact() {
    for (uint32_t s = 0; s <= 26 * 255; ++s)
        if (GrayOfSum(s, true) != s / 26) return false;
    for (uint32_t s = 0; s <= 3 * 255; ++s)
        if (GrayOfSum(s, false) != s / 3) return false;
    return true;
}
static_assert(GrayOfSumIsExact());

constexpr uint8_t Luminance(uint32_t blue, uint32_t green, uint32_t red, bool weighted) {
    return weighted ? GrayOfSum((green * 5 + blue) * 3 + red * 8, true) : GrayOfSum(blue + green + red, false);
}

// Ways of converting 24-bit rows; every one gives the same bytes.
enum class GrayRowPath {
    Portable,  // any processor: sixteen pixels at a time through plain arrays
    Shuffled,  // x86 with SSSE3 byte shuffles: a per-pixel loop the compiler deinterleaves
    Wide,      // x86 with AVX2
};

GrayRowPath FastestGrayRowPath();

// Converts `height` rows of `width` blue-green-red pixels to one gray byte each.
void GrayRows(GrayRowPath path, bool weighted, const uint8_t* src, uint64_t srcStride, uint8_t* dst,
              uint64_t dstStride, uint64_t width, uint64_t height);

}  // namespace vx::tone

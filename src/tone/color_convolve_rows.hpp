// color_convolve_rows.hpp - the two row loops of ColorConvolution on 24-bit rows, on every path
// the processor may take: ColorRowPath, ColorRowPathRuns(), FastestColorRowPath() and
// ColorRowLoopsFor().
//
// The gray loop turns a row of blue, green, red pixels into 16-bit gray levels, (8 B + 15 G +
// 3 R) / 26 or (B + G + R) / 3. The shift loop divides a row of kernel sums by the divisor,
// takes the change from each pixel's gray level and adds it to the pixel's three bytes, each
// clamped to 0 ... 255. The portable loops are plain C++; the SSSE3 and AVX2 loops take the
// interleaved channels apart and put them back with byte shuffles, 16 or 32 pixels at a time,
// and give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tone/kernel_filter.hpp"

namespace vx::tone {

enum class ColorRowPath : uint8_t { kPortable, kSsse3, kAvx2 };

struct ColorRowLoops {
    void (*gray)(const uint8_t* pixels, int16_t* gray, size_t width);
    // `out` may be `pixels` (in place).
    void (*shift)(const Divider& d, const int16_t* sums, const int16_t* gray, const uint8_t* pixels, uint8_t* out,
                  size_t width);
};

// Whether this build has the path and the SIMD policy allows it.
bool ColorRowPathRuns(ColorRowPath path);
ColorRowPath FastestColorRowPath();
// The loops of a path that runs.
ColorRowLoops ColorRowLoopsFor(ColorRowPath path, bool weighted);

}  // namespace vx::tone

// scale_sampling.hpp - SampleBytes and SamplePixels24: every step-th sample of a row.
//
// When a source side is a whole multiple k of the output side, every position i k / dst of that
// axis is whole: the bilinear taps are (255, 0) and the cubic ones (0, 255, 0, 0), and a
// filtered sample equals the source sample under it (T[255][v] = v, T[0][v] = 0). ScaleDIB then
// skips the filters on such pictures and takes every k-th pixel of every k-th row.
#pragma once

#include <cstdint>

namespace vx::geometry {

// out[i] = in[i step] for i < n.
void SampleBytes(const uint8_t* in, uint32_t step, uint32_t n, uint8_t* out);
// Pixel i of `out` (three bytes) is pixel i step of `in`, for i < n.
void SamplePixels24(const uint8_t* in, uint32_t step, uint32_t n, uint8_t* out);

}  // namespace vx::geometry

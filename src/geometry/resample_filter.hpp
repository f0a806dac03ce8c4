// resample_filter.hpp - the separable filter under VexoraResampleDIB: per-axis weight tables
// in fixed point (BuildAxisTaps), the Lanczos-3 kernel, and the four row kernels of the two
// passes (a horizontal and a vertical kernel each for bytes in and for intermediates in).
//
// An axis shrinks by exact area averaging, grows by Lanczos-3, and keeps its size as a copy
// (one tap of weight one). The weights of an output sample are computed once per call, then
// rounded to fixed point by their running sums, so that each weight is within one unit of its
// exact value and every sample's weights add up to exactly one: a constant image stays
// constant, and halving averages 2 x 2 blocks exactly.
//
// Scales. The first pass turns 8-bit samples into intermediates with kIntermediateBits
// fractional bits, through weights of kFirstPassBits; the second pass turns intermediates into
// bytes through weights of kSecondPassBits, rounding half up and clamping to 0..255 (Lanczos
// overshoots). The widths are chosen so that every sum stays in 32-bit integers: a byte times
// the first weights is below 255 x 1.6 x 2^20, an intermediate times the second weights is
// below 6,900 x 2^17 (Lanczos-3 weights add up to at most 1.6 in magnitude, their positive
// part to 1.27). The error against exact arithmetic before the last rounding is under
// taps1 x 255 / 2^21 + 1 / 20 + taps2 x 255 / 2^18, under half a level up to 300 taps per
// axis (shrinking by 300 on each side), so the result is then within one level of exactly
// rounded filtering.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx::geometry::resample {

inline constexpr int kIntermediateBits = 4;
inline constexpr int kFirstPassBits = 20;
inline constexpr int kSecondPassBits = 17;

// The weights of one axis: output sample i reads source samples first[i] .. first[i] + n - 1
// with weights[offset[i] .. offset[i + 1]), n = offset[i + 1] - offset[i]. A uniform table
// gives every sample maxTaps weights (zeros fill up), so kernels can unroll a fixed count.
struct AxisTaps {
    std::vector<uint32_t> first;
    std::vector<uint32_t> offset;  // one more than the outputs
    std::vector<int32_t> weights;  // fixed point, each sample's adding up to 1 << bits
    uint32_t maxTaps = 0;
    bool uniform = false;

    uint32_t count(uint32_t i) const { return offset[i + 1] - offset[i]; }
    const int32_t* of(uint32_t i) const { return weights.data() + offset[i]; }
};

// sin(pi t) sin(pi t / 3) / (pi^2 t^2 / 3) for |t| < 3, 1 at 0, 0 beyond.
double Lanczos3(double t);

// The table of an axis of `in` samples resampled to `out`, weights of `bits` fractional bits;
// `uniform` asks for the padded layout where the axis allows it (few taps, enough samples).
// Throws std::bad_alloc when the table cannot be had.
AxisTaps BuildAxisTaps(uint32_t in, uint32_t out, int bits, bool uniform = false);

// Taps an axis costs in total (the length of its weight table), without building it.
uint64_t AxisTapCount(uint32_t in, uint32_t out);

// The row kernels of one call, chosen once for its channel count (1 or 3), the layout of its
// horizontal table and the processor.
struct RowKernels {
    // Horizontal: bytes to intermediates (first pass), intermediates to bytes (second pass).
    void (*filterBytes)(const uint8_t* src, const AxisTaps& taps, int32_t* dst);
    void (*filterIntermediates)(const int32_t* src, const AxisTaps& taps, uint8_t* dst);
    // Vertical: the weighted sum of n rows of `count` samples.
    void (*mixBytes)(const uint8_t* const* rows, const int32_t* weights, uint32_t n, size_t count,
                     int32_t* dst);
    void (*mixIntermediates)(const int32_t* const* rows, const int32_t* weights, uint32_t n,
                             size_t count, uint8_t* dst);
};
RowKernels SelectRowKernels(int channels, const AxisTaps& horizontal);

}  // namespace vx::geometry::resample

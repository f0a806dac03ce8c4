// resample_filter.cpp - the weight tables and row kernels declared in resample_filter.hpp.
//
// Weights. Shrinking, output sample i covers the source interval [i in / out, (i + 1) in / out);
// in units of 1 / out that is [i in, (i + 1) in), and source sample s covers [s out, (s + 1) out),
// so every overlap is an exact integer and the weights are overlap / in. Their running sums are
// rounded to fixed point in integers, no floating point involved. Growing, output sample i sits
// at (i + 1/2) in / out - 1/2 in source coordinates (pixel centres line up); it reads the six
// samples around it through Lanczos-3, a sample past either edge being the edge sample (its
// weight joins the edge's), and the weights are divided by their sum before the running sums are
// rounded. Running-sum rounding makes each sample's fixed-point weights add up to exactly one.
//
// Kernels. The vertical kernels add whole rows, one weight at a time, into a row of sums: a
// plain loop over contiguous samples that the compiler turns into vector code. The horizontal
// kernels gather each output sample's taps; they are instantiated per channel count, so the
// inner loop carries no test of the layout.
#include "geometry/resample_filter.hpp"

#include <algorithm>
#include <cmath>

namespace vx::geometry::resample {
namespace {

constexpr double kPi = 3.14159265358979323846;

// Pass one's shift and half, then pass two's.
constexpr int kFirstShift = kFirstPassBits - kIntermediateBits;
constexpr int32_t kFirstHalf = int32_t{1} << (kFirstShift - 1);
constexpr int kSecondShift = kSecondPassBits + kIntermediateBits;
constexpr int32_t kSecondHalf = int32_t{1} << (kSecondShift - 1);

inline uint8_t ClampToByte(int32_t v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

// Appends the fixed-point weights of one sample, given its exact running sums as fractions
// sum(k) / total of one, k = 1 .. n.
template <typename RunningSum>
void AppendRounded(AxisTaps& taps, uint32_t n, int bits, RunningSum&& runningFraction) {
    int64_t previous = 0;
    for (uint32_t k = 0; k < n; ++k) {
        const int64_t rounded = k + 1 == n ? int64_t{1} << bits : runningFraction(k);
        taps.weights.push_back(static_cast<int32_t>(rounded - previous));
        previous = rounded;
    }
    taps.offset.push_back(static_cast<uint32_t>(taps.weights.size()));
    taps.maxTaps = std::max(taps.maxTaps, n);
}

void AppendArea(AxisTaps& taps, uint64_t in, uint64_t out, uint64_t i, int bits) {
    const uint64_t lo = i * in, hi = (i + 1) * in;
    const uint64_t s0 = lo / out, s1 = (hi - 1) / out;
    taps.first.push_back(static_cast<uint32_t>(s0));
    uint64_t covered = 0;
    AppendRounded(taps, static_cast<uint32_t>(s1 - s0 + 1), bits, [&](uint32_t k) {
        const uint64_t s = s0 + k;
        covered += std::min(hi, (s + 1) * out) - std::max(lo, s * out);
        return static_cast<int64_t>(((covered << (bits + 1)) + in) / (2 * in));  // rounded half up
    });
}

void AppendLanczos(AxisTaps& taps, uint32_t in, uint32_t out, uint32_t i, int bits) {
    const double centre = (i + 0.5) * in / out - 0.5;
    const int64_t base = static_cast<int64_t>(std::floor(centre));
    const int64_t first = std::clamp<int64_t>(base - 2, 0, int64_t{in} - 1);
    const int64_t last = std::clamp<int64_t>(base + 3, 0, int64_t{in} - 1);
    double exact[6] = {};
    double total = 0;
    for (int64_t s = base - 2; s <= base + 3; ++s) {
        const double w = Lanczos3(centre - double(s));
        exact[std::clamp(s, first, last) - first] += w;
        total += w;
    }
    taps.first.push_back(static_cast<uint32_t>(first));
    double running = 0;
    AppendRounded(taps, static_cast<uint32_t>(last - first + 1), bits, [&](uint32_t k) {
        running += exact[k];
        return static_cast<int64_t>(std::floor(running / total * double(int64_t{1} << bits) + 0.5));
    });
}

template <int Channels>
void FilterBytes(const uint8_t* src, const AxisTaps& taps, int32_t* dst) {
    const auto outputs = static_cast<uint32_t>(taps.first.size());
    for (uint32_t x = 0; x < outputs; ++x) {
        const uint8_t* s = src + size_t{taps.first[x]} * Channels;
        const int32_t* w = taps.of(x);
        const uint32_t n = taps.count(x);
        int32_t sum[Channels] = {};
        for (uint32_t k = 0; k < n; ++k)
            for (int c = 0; c < Channels; ++c) sum[c] += w[k] * s[k * Channels + c];
        for (int c = 0; c < Channels; ++c) dst[x * Channels + c] = (sum[c] + kFirstHalf) >> kFirstShift;
    }
}

template <int Channels>
void FilterIntermediates(const int32_t* src, const AxisTaps& taps, uint8_t* dst) {
    const auto outputs = static_cast<uint32_t>(taps.first.size());
    for (uint32_t x = 0; x < outputs; ++x) {
        const int32_t* s = src + size_t{taps.first[x]} * Channels;
        const int32_t* w = taps.of(x);
        const uint32_t n = taps.count(x);
        int32_t sum[Channels] = {};
        for (uint32_t k = 0; k < n; ++k)
            for (int c = 0; c < Channels; ++c) sum[c] += w[k] * s[k * Channels + c];
        for (int c = 0; c < Channels; ++c)
            dst[x * Channels + c] = ClampToByte((sum[c] + kSecondHalf) >> kSecondShift);
    }
}

}  // namespace

double Lanczos3(double t) {
    if (t == 0) return 1;
    if (t <= -3 || t >= 3) return 0;
    const double pt = kPi * t;
    return 3 * std::sin(pt) * std::sin(pt / 3) / (pt * pt);
}

uint64_t AxisTapCount(uint32_t in, uint32_t out) {
    if (in == out) return out;
    if (out < in) return uint64_t{in} + out;  // each output's span, plus at most one shared sample each
    return uint64_t{out} * std::min<uint32_t>(in, 6);
}

AxisTaps BuildAxisTaps(uint32_t in, uint32_t out, int bits) {
    AxisTaps taps;
    taps.first.reserve(out);
    taps.offset.reserve(size_t{out} + 1);
    taps.weights.reserve(AxisTapCount(in, out));
    taps.offset.push_back(0);
    for (uint32_t i = 0; i < out; ++i) {
        if (in == out) {
            taps.first.push_back(i);
            AppendRounded(taps, 1, bits, [](uint32_t) { return int64_t{0}; });
        } else if (out < in) {
            AppendArea(taps, in, out, i, bits);
        } else {
            AppendLanczos(taps, in, out, i, bits);
        }
    }
    return taps;
}

void FilterRowBytes(int channels, const uint8_t* src, const AxisTaps& taps, int32_t* dst) {
    if (channels == 3) FilterBytes<3>(src, taps, dst);
    else FilterBytes<1>(src, taps, dst);
}

void FilterRowIntermediates(int channels, const int32_t* src, const AxisTaps& taps, uint8_t* dst) {
    if (channels == 3) FilterIntermediates<3>(src, taps, dst);
    else FilterIntermediates<1>(src, taps, dst);
}

void MixRowsBytes(const uint8_t* const* rows, const int32_t* weights, uint32_t n, size_t count,
                  int32_t* acc, int32_t* dst) {
    const uint8_t* row = rows[0];
    const int32_t w0 = weights[0];
    for (size_t x = 0; x < count; ++x) acc[x] = w0 * row[x];
    for (uint32_t k = 1; k < n; ++k) {
        const uint8_t* r = rows[k];
        const int32_t w = weights[k];
        for (size_t x = 0; x < count; ++x) acc[x] += w * r[x];
    }
    for (size_t x = 0; x < count; ++x) dst[x] = (acc[x] + kFirstHalf) >> kFirstShift;
}

void MixRowsIntermediates(const int32_t* const* rows, const int32_t* weights, uint32_t n,
                          size_t count, int32_t* acc, uint8_t* dst) {
    const int32_t* row = rows[0];
    const int32_t w0 = weights[0];
    for (size_t x = 0; x < count; ++x) acc[x] = w0 * row[x];
    for (uint32_t k = 1; k < n; ++k) {
        const int32_t* r = rows[k];
        const int32_t w = weights[k];
        for (size_t x = 0; x < count; ++x) acc[x] += w * r[x];
    }
    for (size_t x = 0; x < count; ++x) dst[x] = ClampToByte((acc[x] + kSecondHalf) >> kSecondShift);
}

}  // namespace vx::geometry::resample

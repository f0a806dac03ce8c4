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
// Kernels. The vertical kernels add whole rows into blocks of sums held in vector registers,
// compiled once for the baseline and once more for AVX2, taken when the processor has it (same
// integers, same bytes; VEXORA_SIMD=scalar keeps the baseline). The
// horizontal kernels gather each output sample's taps; they are instantiated per channel count
// and, for a uniform table, per tap count (1 to 4, or 6), so the inner loop is unrolled and
// carries no test of the layout.
#include "geometry/resample_filter.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "simd.hpp"

namespace vx::geometry::resample {
namespace {

constexpr double kPi = 3.14159265358979323846;
// The tap counts the horizontal kernels unroll: area averages shrinking by up to 3 and
// Lanczos-3 over six samples.
constexpr bool Unrolled(uint32_t taps) { return (taps >= 1 && taps <= 4) || taps == 6; }

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

// One horizontal pass over a row of samples of type In; store(i, sum) keeps output sample i.
// Taps is the fixed count of a uniform table, 0 for a table read count by count.
template <int Channels, int Taps, typename In, typename Store>
void FilterRow(const In* src, const AxisTaps& taps, Store store) {
    const auto outputs = static_cast<uint32_t>(taps.first.size());
    for (uint32_t x = 0; x < outputs; ++x) {
        const In* s = src + size_t{taps.first[x]} * Channels;
        const int32_t* w = taps.of(x);
        const uint32_t n = Taps != 0 ? Taps : taps.count(x);
        int32_t sum[Channels] = {};
        for (uint32_t k = 0; k < n; ++k)
            for (int c = 0; c < Channels; ++c) sum[c] += w[k] * s[k * Channels + c];
        for (int c = 0; c < Channels; ++c) store(size_t{x} * Channels + c, sum[c]);
    }
}

// Bytes to intermediates (the first pass) and intermediates to bytes (the second).
template <int Channels, int Taps>
void FilterBytes(const uint8_t* src, const AxisTaps& taps, int32_t* dst) {
    FilterRow<Channels, Taps>(src, taps, [dst](size_t i, int32_t sum) { dst[i] = (sum + kFirstHalf) >> kFirstShift; });
}

template <int Channels, int Taps>
void FilterIntermediates(const int32_t* src, const AxisTaps& taps, uint8_t* dst) {
    FilterRow<Channels, Taps>(src, taps,
                              [dst](size_t i, int32_t sum) { dst[i] = ClampToByte((sum + kSecondHalf) >> kSecondShift); });
}

// The vertical loops, compiled twice: for the baseline and for AVX2. They run over blocks of
// kMixBlock samples whose sums stay in registers (four vectors of eight lanes, written with
// the compiler's vector extensions: two SSE2 operations each on the baseline, one AVX2
// operation each where the processor has it) while the rows are added in. The last samples of
// a row, fewer than a block, take the plain loop.
constexpr size_t kMixBlock = 32;
using Lanes = int32_t __attribute__((vector_size(32)));
constexpr size_t kLanes = 8;

// Written lane by lane, which compilers turn into zero-extending loads (a conversion of a byte
// vector came out as scalar shifts).
[[gnu::always_inline]] inline void LoadLanes(Lanes& to, const uint8_t* from) {
    for (size_t i = 0; i < kLanes; ++i) to[i] = from[i];
}
[[gnu::always_inline]] inline void LoadLanes(Lanes& to, const int32_t* from) { std::memcpy(&to, from, sizeof to); }

template <typename Sample, typename Out, typename Finish>
[[gnu::always_inline]] inline void MixBody(const Sample* const* rows, const int32_t* weights, uint32_t n,
                                           size_t count, Out* __restrict dst, Finish finish) {
    size_t x = 0;
    for (; x + kMixBlock <= count; x += kMixBlock) {
        Lanes sum[kMixBlock / kLanes], v;
        for (size_t b = 0; b < kMixBlock / kLanes; ++b) {
            LoadLanes(v, rows[0] + x + b * kLanes);
            sum[b] = weights[0] * v;
        }
        for (uint32_t k = 1; k < n; ++k)
            for (size_t b = 0; b < kMixBlock / kLanes; ++b) {
                LoadLanes(v, rows[k] + x + b * kLanes);
                sum[b] += weights[k] * v;
            }
        int32_t sums[kMixBlock];
        std::memcpy(sums, sum, sizeof sums);
        for (size_t j = 0; j < kMixBlock; ++j) dst[x + j] = finish(sums[j]);
    }
    for (; x < count; ++x) {
        int32_t sum = 0;
        for (uint32_t k = 0; k < n; ++k) sum += weights[k] * rows[k][x];
        dst[x] = finish(sum);
    }
}

inline int32_t FinishFirst(int32_t sum) { return (sum + kFirstHalf) >> kFirstShift; }
inline uint8_t FinishSecond(int32_t sum) { return ClampToByte((sum + kSecondHalf) >> kSecondShift); }

[[gnu::always_inline]] inline void MixBytesBody(const uint8_t* const* rows, const int32_t* weights, uint32_t n,
                                                size_t count, int32_t* dst) {
    MixBody(rows, weights, n, count, dst, FinishFirst);
}
[[gnu::always_inline]] inline void MixIntermediatesBody(const int32_t* const* rows, const int32_t* weights,
                                                        uint32_t n, size_t count, uint8_t* dst) {
    MixBody(rows, weights, n, count, dst, FinishSecond);
}

void MixBytes(const uint8_t* const* rows, const int32_t* weights, uint32_t n, size_t count, int32_t* dst) {
    MixBytesBody(rows, weights, n, count, dst);
}
void MixIntermediates(const int32_t* const* rows, const int32_t* weights, uint32_t n, size_t count, uint8_t* dst) {
    MixIntermediatesBody(rows, weights, n, count, dst);
}
#if defined(VX_SIMD_TARGETS)
VX_TARGET_AVX2 void MixBytesAvx2(const uint8_t* const* rows, const int32_t* weights, uint32_t n, size_t count,
                                 int32_t* dst) {
    MixBytesBody(rows, weights, n, count, dst);
}
VX_TARGET_AVX2 void MixIntermediatesAvx2(const int32_t* const* rows, const int32_t* weights, uint32_t n,
                                         size_t count, uint8_t* dst) {
    MixIntermediatesBody(rows, weights, n, count, dst);
}
#endif

template <int Channels>
void SelectHorizontal(uint32_t taps, RowKernels& k) {
    switch (taps) {
    case 1: k = {FilterBytes<Channels, 1>, FilterIntermediates<Channels, 1>, k.mixBytes, k.mixIntermediates}; break;
    case 2: k = {FilterBytes<Channels, 2>, FilterIntermediates<Channels, 2>, k.mixBytes, k.mixIntermediates}; break;
    case 3: k = {FilterBytes<Channels, 3>, FilterIntermediates<Channels, 3>, k.mixBytes, k.mixIntermediates}; break;
    case 4: k = {FilterBytes<Channels, 4>, FilterIntermediates<Channels, 4>, k.mixBytes, k.mixIntermediates}; break;
    case 6: k = {FilterBytes<Channels, 6>, FilterIntermediates<Channels, 6>, k.mixBytes, k.mixIntermediates}; break;
    default: k = {FilterBytes<Channels, 0>, FilterIntermediates<Channels, 0>, k.mixBytes, k.mixIntermediates};
    }
}

// Gives every sample of a table maxTaps weights: a window that would pass the last sample
// moves back so that it ends there, its own weights after leading zeros.
void MakeUniform(AxisTaps& taps, uint32_t in) {
    const uint32_t width = taps.maxTaps;
    std::vector<int32_t> padded(taps.first.size() * width, 0);
    for (uint32_t i = 0; i < taps.first.size(); ++i) {
        const uint32_t start = std::min(taps.first[i], in - width);
        std::copy(taps.of(i), taps.of(i) + taps.count(i), padded.begin() + i * width + (taps.first[i] - start));
        taps.first[i] = start;
    }
    for (uint32_t i = 0; i < taps.offset.size(); ++i) taps.offset[i] = i * width;
    taps.weights = std::move(padded);
    taps.uniform = true;
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

AxisTaps BuildAxisTaps(uint32_t in, uint32_t out, int bits, bool uniform) {
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
    if (uniform && Unrolled(taps.maxTaps) && in >= taps.maxTaps) MakeUniform(taps, in);
    return taps;
}

RowKernels SelectRowKernels(int channels, const AxisTaps& horizontal) {
    RowKernels k{nullptr, nullptr, MixBytes, MixIntermediates};
#if defined(VX_SIMD_TARGETS)
    if (SimdAllows(SimdLevel::kAvx2)) k.mixBytes = MixBytesAvx2, k.mixIntermediates = MixIntermediatesAvx2;
#endif
    const uint32_t taps = horizontal.uniform ? horizontal.maxTaps : 0;
    if (channels == 3) SelectHorizontal<3>(taps, k);
    else SelectHorizontal<1>(taps, k);
    return k;
}

}  // namespace vx::geometry::resample

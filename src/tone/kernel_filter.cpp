// kernel_filter.cpp - the built-in kernels, the divisor stage and the row workers of the kernel
// ring shared by Convolve and ColorConvolution.
//
// Built-in kernels. Type 3 is the mean of the n x n neighbourhood (every weight 1, divisor
// n * n). Type 4 smooths with 1 2 1 / 2 4 2 / 1 2 1 over 16 at size 3, with the binomial
// (1 3 3 1) x (1 3 3 1) over 64 at size 4, and with the 5 x 5 table below over 44 at size 5.
// The sharpening kernels subtract a neighbourhood from the centre pixel and add the pixel back
// once, so that they sum to 1 and run with divisor 1: type 6 weighs every neighbour -1 (its
// centre is n * n, 9 at size 3), type 5 weighs the neighbours with the negated smoothing
// kernel of type 4 and puts 1 + (sum of those weights) at the centre (13 at size 3, 56 at
// size 4, 37 at size 5). Every built-in kernel stays inside the caller kernels' weight limits.
// At size 4 the centre is matrix cell (2, 2), the one that meets the output pixel itself.
//
// Workers. The built-in kernels that are outer products, or the centre minus one, run on the
// separable ring (separable_filter.hpp); the kernel ring here runs the rest. Every kernel size
// has its own worker for caller kernels with the taps unrolled at compile time, and the 5 x 5
// smoothing and sharpening tables get workers with their weights as constants (zero taps
// vanish, unit taps become additions). Each worker's loop over x is written so that it
// vectorises on 16-bit lanes (modular 16-bit sums, exact by the limits).
#include "kernel_filter.hpp"

#include <bit>
#include <utility>

namespace vx::tone {
namespace {

using Taps = std::array<int16_t, kMaxKernel * kMaxKernel>;  // a 7 x 7 matrix, row by row
constexpr Taps Outer(const Line& v, const Line& h) {
    Taps t{};
    for (int a = 0; a < kMaxKernel; ++a)
        for (int b = 0; b < kMaxKernel; ++b) t[a * kMaxKernel + b] = static_cast<int16_t>(v[a] * h[b]);
    return t;
}

constexpr Taps kSmooth5 = {0, 1, 1, 1, 0, 0, 0,  //
                           1, 2, 4, 2, 1, 0, 0,  //
                           1, 4, 8, 4, 1, 0, 0,  //
                           1, 2, 4, 2, 1, 0, 0,  //
                           0, 1, 1, 1, 0, 0, 0};

constexpr Taps MeanTaps(int n) { return Outer(OnesLine(n), OnesLine(n)); }
constexpr Taps SmoothTaps(int n) { return n == 5 ? kSmooth5 : Outer(BinomialLine(n), BinomialLine(n)); }

// Centre minus the neighbourhood `base` weighs, plus the centre once: unit sum.
constexpr Taps Sharpen(const Taps& base, int n) {
    const int centre = (n / 2) * kMaxKernel + n / 2;
    int sum = 0;
    Taps t{};
    for (int i = 0; i < kMaxKernel * kMaxKernel; ++i) {
        if (i == centre) continue;
        sum += base[i];
        t[i] = static_cast<int16_t>(-base[i]);
    }
    t[centre] = static_cast<int16_t>(1 + sum);
    return t;
}

constexpr int SumOf(const Taps& t) {
    int s = 0;
    for (const int16_t w : t) s += w;
    return s;
}

constexpr bool WithinLimits(const Taps& t) {
    int positive = 0, negative = 0;
    for (const int16_t w : t) (w > 0 ? positive : negative) += w > 0 ? w : -w;
    return positive <= kWeightLimit && negative <= kWeightLimit;
}

static_assert(WithinLimits(MeanTaps(7)) && WithinLimits(SmoothTaps(4)) && WithinLimits(Sharpen(SmoothTaps(4), 4)) &&
              WithinLimits(Sharpen(SmoothTaps(5), 5)) && WithinLimits(Sharpen(MeanTaps(5), 5)));
static_assert(SumOf(SmoothTaps(3)) == 16 && SumOf(SmoothTaps(4)) == 64 && SumOf(SmoothTaps(5)) == 44);
static_assert(Sharpen(MeanTaps(3), 3)[8] == 9 && Sharpen(SmoothTaps(3), 3)[8] == 13);

// ---------------------------------------------------------------------------------------------
// Workers

// sums[x] = sum over taps I of k[I] * rows[I / N][x + N - 1 - I % N], the column offset being
// the reflection: tap column b meets the value at x + N/2 - b, which sits at padded index
// x + N - 1 - b.
template <int N, typename K, size_t... I>
VX_TONE_INLINE void DenseLoop(const int16_t* const* rows, const K& k, int16_t* __restrict sums, size_t width,
                              std::index_sequence<I...>) {
    const int16_t* r[N];
    for (int a = 0; a < N; ++a) r[a] = rows[a];
    for (size_t x = 0; x < width; ++x) {
        uint16_t s = 0;
        ((s = static_cast<uint16_t>(s + k[I] * r[I / N][x + N - 1 - I % N])), ...);
        sums[x] = static_cast<int16_t>(s);
    }
}

template <int N>
VX_TONE_INLINE void DenseRuntimeBody(const int16_t* const* rows, const Kernel& kernel, int16_t* sums, size_t width) {
    std::array<int16_t, N * N> k;
    for (int a = 0; a < N; ++a)
        for (int b = 0; b < N; ++b) k[a * N + b] = kernel.weights[a][b];
    DenseLoop<N>(rows, k, sums, width, std::make_index_sequence<N * N>{});
}

template <int N, Taps T>
VX_TONE_INLINE void DenseFixedBody(const int16_t* const* rows, int16_t* sums, size_t width) {
    static constexpr auto k = [] {
        std::array<int16_t, N * N> c{};
        for (int a = 0; a < N; ++a)
            for (int b = 0; b < N; ++b) c[a * N + b] = T[a * kMaxKernel + b];
        return c;
    }();
    DenseLoop<N>(rows, k, sums, width, std::make_index_sequence<N * N>{});
}

// Each worker at both vector levels.
template <int N>
void DenseRuntime(const int16_t* const* rows, const Kernel& k, int16_t* sums, size_t width) {
    DenseRuntimeBody<N>(rows, k, sums, width);
}
template <int N>
VX_TARGET_AVX2 void DenseRuntimeAvx2(const int16_t* const* rows, const Kernel& k, int16_t* sums, size_t width) {
    DenseRuntimeBody<N>(rows, k, sums, width);
}
template <int N, Taps T>
void DenseFixed(const int16_t* const* rows, const Kernel&, int16_t* sums, size_t width) {
    DenseFixedBody<N, T>(rows, sums, width);
}
template <int N, Taps T>
VX_TARGET_AVX2 void DenseFixedAvx2(const int16_t* const* rows, const Kernel&, int16_t* sums, size_t width) {
    DenseFixedBody<N, T>(rows, sums, width);
}
using Worker = KernelRing::Worker;

// The worker for a kernel at the current vector level: the 5 x 5 smoothing and sharpening
// tables with constant weights, any other kernel with the weights it carries.
Worker SelectWorker(const Kernel& k) {
    const bool avx2 = CurrentVectorLevel() == VectorLevel::kAvx2;
    constexpr Taps kSmooth = SmoothTaps(5), kSharpen = Sharpen(SmoothTaps(5), 5);
    if (k.size == 5 && k.type == 4) return avx2 ? DenseFixedAvx2<5, kSmooth> : DenseFixed<5, kSmooth>;
    if (k.size == 5 && k.type == 5) return avx2 ? DenseFixedAvx2<5, kSharpen> : DenseFixed<5, kSharpen>;
    constexpr Worker kRuntime[2][5] = {
        {DenseRuntime<3>, DenseRuntime<4>, DenseRuntime<5>, DenseRuntime<6>, DenseRuntime<7>},
        {DenseRuntimeAvx2<3>, DenseRuntimeAvx2<4>, DenseRuntimeAvx2<5>, DenseRuntimeAvx2<6>, DenseRuntimeAvx2<7>}};
    return kRuntime[avx2][k.size - 3];
}

}  // namespace

bool BuiltInKernel(int type, int n, Kernel& k) {
    Taps t;
    if (type == 3 && n >= 3 && n <= kMaxKernel) t = MeanTaps(n);
    else if (type == 4 && n >= 3 && n <= 5) t = SmoothTaps(n);
    else if (type == 5 && n >= 3 && n <= 5) t = Sharpen(SmoothTaps(n), n);
    else if (type == 6 && n >= 3 && n <= 5) t = Sharpen(MeanTaps(n), n);
    else return false;
    k.type = type;
    k.size = n;
    for (int a = 0; a < kMaxKernel; ++a)
        for (int b = 0; b < kMaxKernel; ++b) k.weights[a][b] = t[a * kMaxKernel + b];
    k.divisor = type <= 4 ? SumOf(t) : 1;
    k.clamp = type >= 5;
    return true;
}

VectorLevel CurrentVectorLevel() {
    return SimdAllows(SimdLevel::kAvx2) ? VectorLevel::kAvx2 : VectorLevel::kBaseline;
}

KernelRing::KernelRing(const Kernel& kernel, uint64_t width, uint64_t height)
    : kernel_(kernel), width_(width), height_(height),
      padded_(static_cast<size_t>(width) + static_cast<size_t>(kernel.size) - 1), worker_(SelectWorker(kernel)) {
    // n ring rows and the sums.
    storage_.resize(padded_ * static_cast<size_t>(kernel.size) + static_cast<size_t>(width));
    sums_ = storage_.data() + padded_ * static_cast<size_t>(kernel.size);
}

}  // namespace vx::tone

// separable_filter.cpp - the row stages of SeparableRing, one set per built-in kernel, each
// compiled for the baseline instruction set and for AVX2, and the ring's set-up.
//
// The kernels: type 3 (mean, sizes 3 to 7) is ones x ones over n * n; type 4 (smoothing,
// sizes 3 and 4) is the binomial line times itself over 16 or 64; types 6 (sizes 3 to 5) and
// 5 (sizes 3 and 4) are (1 + the sum of the base kernel) x the centre pixel minus the mean or
// smoothing kernel, which is how kernel_filter.cpp builds them, clamped to 0 ... 255 and
// divided by 1. The 5 x 5 smoothing table is not an outer product and keeps the dense path.
// Every stage is a plain loop over x with its weights, divisor and clamp as constants, written
// so that it vectorises on 16-bit lanes; the row ends of the horizontal pass are summed with
// clamped columns outside the vector loop.
#include "tone/separable_filter.hpp"

namespace vx::tone {
namespace {

template <int Type, int N>
struct Shape {
    static constexpr Line kLine = Type == 3 || Type == 6 ? OnesLine(N) : BinomialLine(N);
    static constexpr int kLineSum = Type == 3 || Type == 6 ? N : 1 << (N - 1);
    // The centre's multiple for the sharpening kernels, 0 for the others.
    static constexpr int kCentre = Type >= 5 ? 1 + kLineSum * kLineSum : 0;
    static constexpr Divider kDivider = MakeDivider(Type >= 5 ? 1 : kLineSum * kLineSum);
};

// hsums[x] = sum over b of line[b] * values[x + N/2 - b], columns clamped to the row.
template <typename Value, int N, Line L, size_t... B>
VX_TONE_INLINE void HorizontalBody(const Value* __restrict in, uint16_t* __restrict out, size_t w,
                                   std::index_sequence<B...>) {
    constexpr size_t h = N / 2, right = N - 1 - h;
    const auto clamped = [&](size_t x) {
        uint16_t s = 0;
        const auto last = static_cast<int64_t>(w) - 1;
        ((s = static_cast<uint16_t>(
              s + L[B] * in[std::clamp<int64_t>(static_cast<int64_t>(x + h) - static_cast<int64_t>(B), 0, last)])),
         ...);
        return s;
    };
    const size_t lo = std::min(right, w), hi = w > h ? std::max(w - h, lo) : lo;
    for (size_t x = 0; x < lo; ++x) out[x] = clamped(x);
    for (size_t x = lo; x < hi; ++x) {  // x + h - b stays inside the row here
        uint16_t s = 0;
        ((s = static_cast<uint16_t>(s + L[B] * in[x + h - B])), ...);
        out[x] = s;
    }
    for (size_t x = hi; x < w; ++x) out[x] = clamped(x);
}

// The full sum of output pixel x from the row sums down the column (and the centre value).
template <int Type, int N, typename Value, size_t... A>
VX_TONE_INLINE uint16_t ColumnSum(const uint16_t* const* r, const Value* centre, size_t x, std::index_sequence<A...>) {
    using S = Shape<Type, N>;
    uint16_t v = 0;
    ((v = static_cast<uint16_t>(v + S::kLine[A] * r[A][x])), ...);
    if constexpr (S::kCentre != 0) v = static_cast<uint16_t>(S::kCentre * centre[x] - v);
    return v;
}

template <int Type, int N, typename Value>
VX_TONE_INLINE void ToSumsBody(const uint16_t* const* rows, const Value* centre, int16_t* __restrict sums, size_t w) {
    const uint16_t* r[N];
    for (int a = 0; a < N; ++a) r[a] = rows[a];
    for (size_t x = 0; x < w; ++x)
        sums[x] = static_cast<int16_t>(ColumnSum<Type, N>(r, centre, x, std::make_index_sequence<N>{}));
}

// Bytes: the mean and smoothing sums are 0 ... 32767 and divided; the sharpening sums are
// clamped to 0 ... 255, their divisor being 1. `out` may be the centre row itself (in place).
template <int Type, int N, typename Value>
VX_TONE_INLINE void ToBytesBody(const uint16_t* const* rows, const Value* centre, uint8_t* out, size_t w) {
    using S = Shape<Type, N>;
    const uint16_t* r[N];
    for (int a = 0; a < N; ++a) r[a] = rows[a];
    for (size_t x = 0; x < w; ++x) {
        const uint16_t v = ColumnSum<Type, N>(r, centre, x, std::make_index_sequence<N>{});
        if constexpr (S::kCentre != 0) out[x] = static_cast<uint8_t>(std::clamp<int>(static_cast<int16_t>(v), 0, 255));
        else out[x] = static_cast<uint8_t>(NonNegativeQuotient<S::kDivider>(v));
    }
}

template <typename Value, int Type, int N>
void Horizontal(const Value* in, uint16_t* out, size_t w) {
    HorizontalBody<Value, N, Shape<Type, N>::kLine>(in, out, w, std::make_index_sequence<N>{});
}
template <typename Value, int Type, int N>
VX_TARGET_AVX2 void HorizontalAvx2(const Value* in, uint16_t* out, size_t w) {
    HorizontalBody<Value, N, Shape<Type, N>::kLine>(in, out, w, std::make_index_sequence<N>{});
}
template <typename Value, int Type, int N>
void ToSums(const uint16_t* const* rows, const Value* centre, int16_t* sums, size_t w) {
    ToSumsBody<Type, N>(rows, centre, sums, w);
}
template <typename Value, int Type, int N>
VX_TARGET_AVX2 void ToSumsAvx2(const uint16_t* const* rows, const Value* centre, int16_t* sums, size_t w) {
    ToSumsBody<Type, N>(rows, centre, sums, w);
}
template <typename Value, int Type, int N>
void ToBytes(const uint16_t* const* rows, const Value* centre, uint8_t* out, size_t w) {
    ToBytesBody<Type, N>(rows, centre, out, w);
}
template <typename Value, int Type, int N>
VX_TARGET_AVX2 void ToBytesAvx2(const uint16_t* const* rows, const Value* centre, uint8_t* out, size_t w) {
    ToBytesBody<Type, N>(rows, centre, out, w);
}

template <typename Value>
struct Stages {
    typename SeparableRing<Value>::Horizontal horizontal = nullptr;
    typename SeparableRing<Value>::ToSums toSums = nullptr;
    typename SeparableRing<Value>::ToBytes toBytes = nullptr;
};

// Gray bytes are only ever divided into bytes (Convolve), gray levels only summed
// (ColorConvolution): each gets the stage it uses.
template <typename Value, bool Avx2, int Type, int N>
Stages<Value> StagesOf() {
    Stages<Value> s;
    s.horizontal = Avx2 ? HorizontalAvx2<Value, Type, N> : Horizontal<Value, Type, N>;
    if constexpr (std::is_same_v<Value, uint8_t>) s.toBytes = Avx2 ? ToBytesAvx2<Value, Type, N> : ToBytes<Value, Type, N>;
    else s.toSums = Avx2 ? ToSumsAvx2<Value, Type, N> : ToSums<Value, Type, N>;
    return s;
}

template <typename Value, bool Avx2>
Stages<Value> SelectAt(int type, int n) {
    switch (type * 10 + n) {
    case 33: return StagesOf<Value, Avx2, 3, 3>();
    case 34: return StagesOf<Value, Avx2, 3, 4>();
    case 35: return StagesOf<Value, Avx2, 3, 5>();
    case 36: return StagesOf<Value, Avx2, 3, 6>();
    case 37: return StagesOf<Value, Avx2, 3, 7>();
    case 43: return StagesOf<Value, Avx2, 4, 3>();
    case 44: return StagesOf<Value, Avx2, 4, 4>();
    case 53: return StagesOf<Value, Avx2, 5, 3>();
    case 54: return StagesOf<Value, Avx2, 5, 4>();
    case 63: return StagesOf<Value, Avx2, 6, 3>();
    case 64: return StagesOf<Value, Avx2, 6, 4>();
    case 65: return StagesOf<Value, Avx2, 6, 5>();
    default: return {};
    }
}

template <typename Value>
Stages<Value> Select(const Kernel& k) {
    return CurrentVectorLevel() == VectorLevel::kAvx2 ? SelectAt<Value, true>(k.type, k.size)
                                                      : SelectAt<Value, false>(k.type, k.size);
}

}  // namespace

bool RunsSeparable(const Kernel& k) { return SelectAt<uint8_t, false>(k.type, k.size).horizontal != nullptr; }

template <typename Value>
SeparableRing<Value>::SeparableRing(const Kernel& kernel, uint64_t width, uint64_t height)
    : size_(kernel.size), width_(static_cast<size_t>(width)), height_(height) {
    const Stages<Value> s = Select<Value>(kernel);
    horizontal_ = s.horizontal;
    toSums_ = s.toSums;
    toBytes_ = s.toBytes;
    const size_t rows = static_cast<size_t>(size_) * width_;
    hsums_.resize(rows);
    if constexpr (!std::is_same_v<Value, uint8_t>) slots_.resize(rows), sums_.resize(width_);
}

template class SeparableRing<uint8_t>;
template class SeparableRing<int16_t>;

}  // namespace vx::tone

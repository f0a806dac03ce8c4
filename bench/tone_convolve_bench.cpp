// tone_convolve_bench.cpp - Convolve on a 4096 x 4096 8-bit image and ColorConvolution on a
// 4096 x 4096 24-bit image, through their entry points into new DIBs (the result allocation
// included), in megapixels per second, for every type and every kernel size each type accepts.
// The caller kernels (type 1) mix signs and use a divisor that is not a power of two, so they
// take the clamped path and the multiply-high division. Each case checks its first result
// against its reference before timing.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;

HDIB MakeSource(int bits) {
    const uint32_t stride = (uint32_t(kSide) * uint32_t(bits) + 31) / 32 * 4;
    const uint32_t table = bits == 8 ? 1024 : 0;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 40 + table + size_t{stride} * kSide);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, uint32_t(kSide), uint32_t(kSide), 1u | uint32_t(bits) << 16, 0,
                                 stride * uint32_t(kSide), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    for (uint32_t i = 0; i < table / 4; ++i) p[40 + 4 * i] = p[41 + 4 * i] = p[42 + 4 * i] = uint8_t(i);
    std::mt19937 random{uint32_t(bits)};
    uint8_t* pixels = p + 40 + table;
    for (int y = 0; y < kSide; ++y)
        for (uint32_t x = 0; x < stride; ++x) pixels[size_t(y) * stride + x] = uint8_t((x ^ y) + random() % 32);
    GlobalUnlock(dib);
    return dib;
}

// A mixed-sign kernel inside the weight limits, with divisor 7.
template <typename Entry>
std::vector<Entry> CallerKernel(int n) {
    std::vector<Entry> k(size_t(n * n + 1), 0);
    for (int i = 0; i < n * n; ++i) k[size_t(i)] = Entry(i % 3 == 0 ? 2 : i % 3 == 1 ? -1 : 0);
    k[size_t(n * n / 2)] = 30;
    k[size_t(n * n)] = 7;
    return k;
}

template <typename Run>
void Measure(benchmark::State& state, const char* name, Run&& run) {
    const std::string key = vexora_bench::CaseKey(name, {state.range(0), state.range(1)});
    vexora_bench::MeasureChecked(state, key, int64_t{kSide} * kSide, run);
    state.counters["MP/s"] = benchmark::Counter(double(state.iterations()) * kSide * kSide / 1e6,
                                                benchmark::Counter::kIsRate);
}

void BM_Convolve8(benchmark::State& state) {
    static HDIB source = MakeSource(8);
    const int type = int(state.range(0)), n = int(state.range(1));
    const std::vector<int> kernel = CallerKernel<int>(n);
    Measure(state, "Convolve", [&] { return Convolve(source, TRUE, type, n, nullptr, kernel.data(), nullptr); });
}

void BM_ColorConvolution24(benchmark::State& state) {
    static HDIB source = MakeSource(24);
    const int type = int(state.range(0)), n = int(state.range(1));
    const std::vector<short> kernel = CallerKernel<short>(n);
    Measure(state, "ColorConvolution", [&] {
        return ColorConvolution(source, TRUE, 1, short(type), n, nullptr, kernel.data(), nullptr);
    });
}

// Every (type, size) the filters accept, type 2 aside (a kernel file runs type 1's worker).
void Cases(benchmark::internal::Benchmark* b) {
    for (int type : {1, 3, 4, 5, 6})
        for (int n = 3; n <= 7; ++n)
            if (n < 6 || type == 1 || type == 3) b->Args({type, n});
    b->ArgNames({"type", "n"})->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Convolve8)->Apply(Cases);
BENCHMARK(BM_ColorConvolution24)->Apply(Cases);

}  // namespace

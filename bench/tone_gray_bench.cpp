// tone_gray_bench.cpp - ConvColorDIBtoGrayscale (8 and 24-bit, both weightings; 1-bit in each
// rendering), ConvMonoDIBtoGrayscale (each rendering), Convert8to24 and ColorBrightnessContrast
// (8 and 24-bit) on random 4096 x 4096 images. Figures are source megapixels per second,
// result block allocation included, as a caller sees them. Each case checks its first result
// against its reference before timing.
#include <benchmark/benchmark.h>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;

HDIB RandomDib(int side, int bits) { return vexora_bench::RandomDib(side, bits, uint32_t(side * 17 + bits)); }

// Runs `call` on a random image of `bits` bits, unlocking the source after exports that
// return with it locked; the case is named by `name`, the depth and `variant`.
template <typename Call>
void Measure(benchmark::State& state, const char* name, int bits, int64_t variant, bool keepsLock, Call call) {
    HDIB dib = RandomDib(kSide, bits);
    vexora_bench::MeasureChecked(state, vexora_bench::CaseKey(name, {bits, variant}), int64_t{kSide} * kSide, [&] {
        HDIB out = call(dib);
        if (out != nullptr && keepsLock) GlobalUnlock(dib);
        return out;
    });
    GlobalFree(dib);
}

void BM_ConvColorDIBtoGrayscale(benchmark::State& state) {
    const int bits = int(state.range(0)), weighted = int(state.range(1));
    Measure(state, "ConvColorDIBtoGrayscale", bits, weighted, true,
            [&](HDIB d) { return ConvColorDIBtoGrayscale(d, 0, weighted); });
}

void BM_ConvColorDIBtoGrayscaleMono(benchmark::State& state) {
    const int mode = int(state.range(0));
    Measure(state, "ConvColorDIBtoGrayscale", 1, mode, true, [&](HDIB d) { return ConvColorDIBtoGrayscale(d, mode, TRUE); });
}

void BM_ConvMonoDIBtoGrayscale(benchmark::State& state) {
    const int mode = int(state.range(0));
    Measure(state, "ConvMonoDIBtoGrayscale", 1, mode, false, [&](HDIB d) { return ConvMonoDIBtoGrayscale(d, mode); });
}

void BM_Convert8to24(benchmark::State& state) {
    Measure(state, "Convert8to24", 8, 0, true, [](HDIB d) { return Convert8to24(d); });
}

void BM_ColorBrightnessContrast(benchmark::State& state) {
    const int bits = int(state.range(0));
    Measure(state, "ColorBrightnessContrast", bits, 0, true, [](HDIB d) { return ColorBrightnessContrast(d, 20, -30); });
}

}  // namespace

BENCHMARK(BM_ConvColorDIBtoGrayscale)
    ->ArgNames({"bits", "weighted"})
    ->Args({8, 0})
    ->Args({8, 1})
    ->Args({24, 0})
    ->Args({24, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvColorDIBtoGrayscaleMono)->ArgName("mode")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvMonoDIBtoGrayscale)->ArgName("mode")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert8to24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColorBrightnessContrast)->ArgName("bits")->Arg(8)->Arg(24)->Unit(benchmark::kMillisecond);

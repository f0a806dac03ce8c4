// rotate_bench.cpp - RotateDIB (both walks, 30 degrees) and SkewDIB (both directions, a
// shear of a quarter of the image) on square images of 1024 and 4096 pixels a side, for each
// depth the pixel walks handle. Figures are source megapixels per second, result block
// allocation included, as a caller sees them. Each case checks its first result against its
// reference before timing.
#include <benchmark/benchmark.h>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

using vexora_bench::CaseKey;
using vexora_bench::MeasureChecked;

HDIB RandomDib(int side, int bits) { return vexora_bench::RandomDib(side, bits, uint32_t(side * 31 + bits)); }

void BM_RotateDIB(benchmark::State& state) {
    const int side = int(state.range(0)), bits = int(state.range(1)), mode = int(state.range(2));
    HDIB dib = RandomDib(side, bits);
    MeasureChecked(state, CaseKey("RotateDIB", {side, bits, mode}), int64_t{side} * side, [&] {
        DWORD status = 0;
        HDIB out = RotateDIB(dib, 30, mode, &status, nullptr);
        if (out != nullptr) GlobalUnlock(dib);  // a turn returns with the source still locked
        return out;
    });
    GlobalFree(dib);
}

void BM_SkewDIB(benchmark::State& state) {
    const int side = int(state.range(0)), bits = int(state.range(1)), direction = int(state.range(2));
    HDIB dib = RandomDib(side, bits);
    MeasureChecked(state, CaseKey("SkewDIB", {side, bits, direction}), int64_t{side} * side, [&] {
        DWORD error = 0;
        HDIB out = SkewDIB(dib, direction, side / 4, &error, nullptr);
        if (out != nullptr) GlobalUnlock(dib);  // a shear returns with the source still locked
        return out;
    });
    GlobalFree(dib);
}

void Shapes(benchmark::internal::Benchmark* b, const char* variantName) {
    b->ArgNames({"side", "bits", variantName});
    for (int side : {1024, 4096})
        for (int bits : {1, 4, 8, 24})
            for (int variant : {0, 1}) b->Args({side, bits, variant});
}
void RotateShapes(benchmark::internal::Benchmark* b) { Shapes(b, "mode"); }
void SkewShapes(benchmark::internal::Benchmark* b) { Shapes(b, "horizontal"); }

}  // namespace

BENCHMARK(BM_RotateDIB)->Apply(RotateShapes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SkewDIB)->Apply(SkewShapes)->Unit(benchmark::kMillisecond);

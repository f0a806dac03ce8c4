// rotate_bench.cpp - RotateDIB (both walks, 30 degrees) and SkewDIB (both directions, a
// shear of a quarter of the image) on square images of 1024 and 4096 pixels a side, for each
// depth the pixel walks handle. Figures are source megapixels per second, result block
// allocation included, as a caller sees them.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

HDIB RandomDib(int side, int bits) { return vexora_bench::RandomDib(side, bits, uint32_t(side * 31 + bits)); }

void Report(benchmark::State& state, int side) {
    state.SetItemsProcessed(int64_t(state.iterations()) * side * side);
}

void BM_RotateDIB(benchmark::State& state) {
    const int side = int(state.range(0)), bits = int(state.range(1)), mode = int(state.range(2));
    HDIB dib = RandomDib(side, bits);
    for (auto _ : state) {
        DWORD status = 0;
        HDIB out = RotateDIB(dib, 30, mode, &status, nullptr);
        if (out == nullptr) state.SkipWithError("RotateDIB failed");
        GlobalUnlock(dib);  // RotateDIB returns with the source still locked
        GlobalFree(out);
    }
    GlobalFree(dib);
    Report(state, side);
}

void BM_SkewDIB(benchmark::State& state) {
    const int side = int(state.range(0)), bits = int(state.range(1)), direction = int(state.range(2));
    HDIB dib = RandomDib(side, bits);
    for (auto _ : state) {
        DWORD error = 0;
        HDIB out = SkewDIB(dib, direction, side / 4, &error, nullptr);
        if (out == nullptr) state.SkipWithError("SkewDIB failed");
        GlobalUnlock(dib);  // SkewDIB returns with the source still locked
        GlobalFree(out);
    }
    GlobalFree(dib);
    Report(state, side);
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

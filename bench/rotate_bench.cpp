// rotate_bench.cpp - RotateDIB (both walks, 30 degrees) and SkewDIB (both directions, a
// shear of a quarter of the image) on square images of 1024 and 4096 pixels a side, for each
// depth the pixel walks handle. Figures are source megapixels per second, result block
// allocation included, as a caller sees them.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "vexora.h"

namespace {

HDIB RandomDib(int side, int bits) {
    const uint32_t colours = bits <= 8 ? 1u << bits : 0;
    const uint64_t stride = (uint64_t(side) * bits + 31) / 32 * 4;
    const uint64_t bytes = 40 + colours * 4 + stride * side;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, uint32_t(side), uint32_t(side), 1u | uint32_t(bits) << 16, 0,
                                 uint32_t(stride * side), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    std::mt19937 random(uint32_t(side * 31 + bits));
    for (uint64_t i = 40; i < bytes; ++i) p[i] = uint8_t(random());
    GlobalUnlock(dib);
    return dib;
}

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

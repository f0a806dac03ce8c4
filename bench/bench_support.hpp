// bench_support.hpp - what the benchmarks share: random source images and a measuring loop
// that checks the export produces a result before it is timed.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "vexora.h"

namespace vexora_bench {

// A side x side DIB of `bits` bits with random pixels and a random colour table, seeded by
// its shape so that every run measures the same image.
inline HDIB RandomDib(int side, int bits, uint32_t seed) {
    const uint32_t colours = bits <= 8 ? 1u << bits : 0;
    const uint64_t stride = (uint64_t(side) * bits + 31) / 32 * 4;
    const uint64_t bytes = 40 + colours * 4 + stride * side;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    std::mt19937 random(seed);
    for (uint64_t i = 40; i < bytes; ++i) p[i] = uint8_t(random());
    const uint32_t header[10] = {40, uint32_t(side), uint32_t(side), 1u | uint32_t(bits) << 16, 0,
                                 uint32_t(stride * side), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    GlobalUnlock(dib);
    return dib;
}

// Times `run` (which returns a new block, freed here) and reports `pixels` items per run;
// an export that gives no result is reported as an error instead of timed.
template <typename Run>
void MeasureResults(benchmark::State& state, int64_t pixels, Run&& run) {
    HDIB first = run();
    if (first == nullptr) {
        state.SkipWithError("no result");
        return;
    }
    GlobalFree(first);
    for (auto _ : state) {
        HDIB out = run();
        benchmark::DoNotOptimize(out);
        GlobalFree(out);
    }
    state.SetItemsProcessed(state.iterations() * pixels);
}

}  // namespace vexora_bench

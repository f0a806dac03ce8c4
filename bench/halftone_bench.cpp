// Halftone of 4096 x 4096 random 8-bit and 24-bit sources, in each mode. Each case checks its
// first result against its reference before timing.
#include <benchmark/benchmark.h>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;

void BM_Halftone(benchmark::State& state) {
    const int bits = static_cast<int>(state.range(0));
    const auto mode = static_cast<WORD>(state.range(1));
    HDIB source = vexora_bench::RandomDib(kSide, bits, 4300u + static_cast<uint32_t>(bits));
    WORD error = 0;
    vexora_bench::MeasureChecked(state, vexora_bench::CaseKey("Halftone", {bits, mode}), int64_t{kSide} * kSide,
                                 [&] { return Halftone(source, mode, 17, &error); });
    GlobalFree(source);
}
BENCHMARK(BM_Halftone)
    ->ArgNames({"bits", "mode"})
    ->ArgsProduct({{8, 24}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

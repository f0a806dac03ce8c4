// Bench: DitherFS4, DitherJJN, DitherSmooth and DitherSharp of a 4096 x 4096 random image,
// from 8 bits (random palette) and 24 bits to each output depth the export takes. Each case
// checks its first result against its reference before timing.
#include "bench_support.hpp"

namespace {

using vexora_bench::CaseKey;
using vexora_bench::MeasureChecked;
using vexora_bench::RandomDib;

constexpr int kSide = 4096;

void BM_Dither(benchmark::State& state, const char* name, HDIB(VXCALL* dither)(HDIB, int)) {
    const int from = static_cast<int>(state.range(0)), to = static_cast<int>(state.range(1));
    HDIB source = RandomDib(kSide, from, 41 + from);
    MeasureChecked(state, CaseKey(name, {from, to}), int64_t{kSide} * kSide, [&] { return dither(source, to); });
    GlobalFree(source);
}

void DiffusionPairs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"from", "to"})->Args({8, 1})->Args({8, 4})->Args({24, 1})->Args({24, 4})->Args({24, 8});
    b->Unit(benchmark::kMillisecond);
}
void BlockPairs(benchmark::internal::Benchmark* b) {
    b->ArgNames({"from", "to"})->Args({8, 1})->Args({8, 4})->Args({24, 1})->Args({24, 4});
    b->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(BM_Dither, fs, "DitherFS4", DitherFS4)->Name("DitherFS4")->Apply(DiffusionPairs);
BENCHMARK_CAPTURE(BM_Dither, jjn, "DitherJJN", DitherJJN)->Name("DitherJJN")->Apply(DiffusionPairs);
BENCHMARK_CAPTURE(BM_Dither, smooth, "DitherSmooth", DitherSmooth)->Name("DitherSmooth")->Apply(BlockPairs);
BENCHMARK_CAPTURE(BM_Dither, sharp, "DitherSharp", DitherSharp)->Name("DitherSharp")->Apply(BlockPairs);

}  // namespace

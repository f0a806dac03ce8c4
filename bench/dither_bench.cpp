// Bench: DitherFS4, DitherJJN, DitherSmooth and DitherSharp of a 4096 x 4096 random image,
// from 8 bits (random palette) and 24 bits to each output depth the export takes.
#include "bench_support.hpp"

namespace {

using vexora_bench::MeasureResults;
using vexora_bench::RandomDib;

constexpr int kSide = 4096;

template <HDIB(VXCALL* Dither)(HDIB, int)>
void BM_Dither(benchmark::State& state) {
    const int from = static_cast<int>(state.range(0)), to = static_cast<int>(state.range(1));
    HDIB source = RandomDib(kSide, from, 41 + from);
    MeasureResults(state, int64_t{kSide} * kSide, [&] { return Dither(source, to); });
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

BENCHMARK(BM_Dither<DitherFS4>)->Name("DitherFS4")->Apply(DiffusionPairs);
BENCHMARK(BM_Dither<DitherJJN>)->Name("DitherJJN")->Apply(DiffusionPairs);
BENCHMARK(BM_Dither<DitherSmooth>)->Name("DitherSmooth")->Apply(BlockPairs);
BENCHMARK(BM_Dither<DitherSharp>)->Name("DitherSharp")->Apply(BlockPairs);

}  // namespace

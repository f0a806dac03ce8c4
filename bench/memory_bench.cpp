// memory_bench.cpp - the cost of a result block: allocate a zero-filled movable block the size
// of a 4096 x 4096 24-bit image, write every byte once (as an operation writes its result),
// free it. Compared with malloc + memset into fresh pages, which is what a plain allocator
// gives when every result is a new large block. The first block is checked against its
// reference (every byte zero, exactly the size asked for) before timing.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr size_t kImageBytes = size_t{4096} * 4096 * 3 + 40;

void BM_GlobalAllocWriteFree(benchmark::State& state) {
    const auto bytes = static_cast<size_t>(state.range(0));
    HGLOBAL first = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    const bool zeroed = vexora_bench::MatchesReference(state, vexora_bench::CaseKey("GlobalAlloc", {state.range(0)}), first);
    GlobalFree(first);
    if (!zeroed) return;
    for (auto _ : state) {
        HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
        auto* p = static_cast<unsigned char*>(GlobalLock(block));
        std::memset(p, 0x5A, bytes);
        benchmark::DoNotOptimize(p);
        GlobalUnlock(block);
        GlobalFree(block);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void BM_FreshPagesWriteFree(benchmark::State& state) {
    const auto bytes = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        auto* p = static_cast<unsigned char*>(std::calloc(bytes, 1));
        std::memset(p, 0x5A, bytes);
        benchmark::DoNotOptimize(p);
        std::free(p);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

}  // namespace

BENCHMARK(BM_GlobalAllocWriteFree)->Arg(kImageBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FreshPagesWriteFree)->Arg(kImageBytes)->Unit(benchmark::kMillisecond);

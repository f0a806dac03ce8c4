// bench_support.hpp - what the benchmarks share: random source images, the check of a case's
// first result against its reference, and the measuring loop.
//
// Every case checks one result before it is timed, so that a fast but wrong kernel reports no
// figure. Cases with a property or a plain model of their own (a round trip, an operation that
// undoes itself, a plain count) check that; the others compare the digest of their first
// result with the reference digest of the case (bench_references.inc): the bytes this library
// gives for that input, which its tests pin against independent models. A change of any byte
// of any result shows as a skipped case naming the case and the digest it got.
//
// Recording: with VEXORA_BENCH_RECORD set, the checked cases print their digests as table
// lines on standard error instead of being timed:
//   VEXORA_BENCH_RECORD=1 build/native/bench/vexora_bench 2>&1 >/dev/null | sort
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>

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

// The name of a case in the reference table: the export and the case's arguments, joined by
// slashes ("DitherFS4/24/8").
std::string CaseKey(const char* name, std::initializer_list<int64_t> arguments);

// Whether the first results are being recorded rather than checked and timed.
bool Recording();

// Compares every byte of `result` (through its digest) with the reference of case `key`;
// a missing result, a missing reference or another digest skips the case with the reason.
// While recording, prints the table line of the case and answers false.
bool MatchesReference(benchmark::State& state, const std::string& key, HGLOBAL result);

// Times `run` (which returns a new block, freed here) and reports `pixels` items per run.
template <typename Run>
void TimeResults(benchmark::State& state, int64_t pixels, Run&& run) {
    for (auto _ : state) {
        HDIB out = run();
        benchmark::DoNotOptimize(out);
        GlobalFree(out);
    }
    state.SetItemsProcessed(state.iterations() * pixels);
}

// As TimeResults, for a case that checked its result on its own: an export that gives no
// result is reported as an error instead of timed.
template <typename Run>
void MeasureResults(benchmark::State& state, int64_t pixels, Run&& run) {
    HDIB first = run();
    if (first == nullptr) {
        state.SkipWithError("no result");
        return;
    }
    GlobalFree(first);
    TimeResults(state, pixels, run);
}

// As TimeResults, once the first result matches the reference of case `key`.
template <typename Run>
void MeasureChecked(benchmark::State& state, const std::string& key, int64_t pixels, Run&& run) {
    HDIB first = run();
    const bool matches = MatchesReference(state, key, first);
    GlobalFree(first);
    if (matches) TimeResults(state, pixels, run);
}

}  // namespace vexora_bench

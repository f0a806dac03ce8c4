// rle_bench.cpp - CompressDIB and ExpandCompressedDIB through their exports (result allocation
// included), in pixels per second, on 4096 x 4096 images of 8 and 4 bits: a run-rich picture
// (horizontal bands with scattered spots) and random pixels. Before timing, each case checks
// that expanding the compressed image gives its pixels back (at 8 bits column 0 may carry the
// byte after a row that ends on a lone pixel), so that a fast but wrong kernel reports no figure.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;

const uint8_t* Pixels(const uint8_t* dib, int bits) { return dib + 40 + (4 << bits); }

// Bands of 64 rows, each of one colour, with a spot of a few pixels here and there.
HDIB BandedDib(int bits) {
    HDIB dib = vexora_bench::RandomDib(kSide, bits, 7);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const size_t stride = size_t(kSide) * bits / 8;
    uint8_t* rows = p + 40 + (4 << bits);
    std::mt19937 random(5);
    for (int y = 0; y < kSide; ++y) {
        uint8_t* row = rows + stride * y;
        std::memset(row, (y / 64) * 37 % 251, stride);
        for (int spots = random() % 4; spots > 0; --spots)
            std::memset(row + random() % (stride - 8), uint8_t(random()), 1 + random() % 6);
    }
    GlobalUnlock(dib);
    return dib;
}

bool ComesBack(HDIB source, int bits) {
    HDIB packed = CompressDIB(source);
    HDIB expanded = packed ? ExpandCompressedDIB(packed) : nullptr;
    bool same = expanded != nullptr && GlobalSize(expanded) == GlobalSize(source);
    if (same) {
        const auto* a = Pixels(static_cast<const uint8_t*>(GlobalLock(source)), bits);
        const auto* b = Pixels(static_cast<const uint8_t*>(GlobalLock(expanded)), bits);
        const size_t stride = size_t(kSide) * bits / 8, skip = bits == 8 ? 1 : 0;
        for (int y = 0; same && y < kSide; ++y)
            same = std::memcmp(a + stride * y + skip, b + stride * y + skip, stride - skip) == 0;
        GlobalUnlock(source);
        GlobalUnlock(expanded);
    }
    GlobalFree(packed);
    GlobalFree(expanded);
    return same;
}

void Run(benchmark::State& state, bool expand) {
    const int bits = int(state.range(0));
    HDIB source = state.range(1) ? BandedDib(bits) : vexora_bench::RandomDib(kSide, bits, 3);
    if (!ComesBack(source, bits)) {
        state.SkipWithError("expanding the compressed image does not give its pixels back");
    } else if (expand) {
        HDIB packed = CompressDIB(source);
        vexora_bench::MeasureResults(state, int64_t{kSide} * kSide, [&] { return ExpandCompressedDIB(packed); });
        GlobalFree(packed);
    } else {
        vexora_bench::MeasureResults(state, int64_t{kSide} * kSide, [&] { return CompressDIB(source); });
    }
    GlobalFree(source);
}

void BM_CompressDIB(benchmark::State& s) { Run(s, false); }
void BM_ExpandCompressedDIB(benchmark::State& s) { Run(s, true); }

void Cases(benchmark::internal::Benchmark* b) {
    for (int64_t bits : {8, 4})
        for (int64_t banded : {1, 0}) b->Args({bits, banded});
    b->ArgNames({"bits", "banded"})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_CompressDIB)->Apply(Cases);
BENCHMARK(BM_ExpandCompressedDIB)->Apply(Cases);

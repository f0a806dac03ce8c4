// geometry_bench.cpp - the quarter turns, half turn and flips through their exports (result
// allocation included), in pixels per second, on random square images of each depth. Before
// timing, each case checks once that its operation undoes itself (four clockwise turns, two
// half turns or flips), so that a fast but wrong kernel reports no figure.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "vexora.h"

namespace {

HDIB RandomDib(int32_t width, int32_t height, uint16_t bits) {
    const uint32_t stride = (static_cast<uint32_t>(width) * bits + 31) / 32 * 4;
    const uint32_t table = bits <= 8 ? 4u << bits : 0;
    const size_t bytes = 40 + table + size_t{stride} * static_cast<uint32_t>(height);
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                                 1u | uint32_t{bits} << 16, 0, stride * static_cast<uint32_t>(height),
                                 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    std::mt19937_64 random(width * 31 + bits);
    for (size_t at = 40 + table; at + 8 <= bytes; at += 8) {
        const uint64_t v = random();
        std::memcpy(p + at, &v, 8);
    }
    // Zero padding, so that undoing an operation gives back the very same rows.
    const uint32_t used = (static_cast<uint32_t>(width) * bits + 7) / 8;
    for (int32_t y = 0; y < height; ++y)
        std::memset(p + 40 + table + size_t{stride} * y + used, 0, stride - used);
    GlobalUnlock(dib);
    return dib;
}

bool SamePixels(HDIB a, HDIB b, size_t bytes) {
    const auto* pa = static_cast<const uint8_t*>(GlobalLock(a));
    const auto* pb = static_cast<const uint8_t*>(GlobalLock(b));
    const bool same = std::memcmp(pa, pb, bytes) == 0;
    GlobalUnlock(a);
    GlobalUnlock(b);
    return same;
}

bool UndoesItself(HDIB (*op)(HDIB), int times, HDIB source) {
    HDIB current = op(source);
    for (int i = 1; i < times; ++i) {
        HDIB next = op(current);
        GlobalFree(current);
        current = next;
    }
    const bool same = current != nullptr && SamePixels(source, current, GlobalSize(source));
    GlobalFree(current);
    return same;
}

void Run(benchmark::State& state, HDIB (*op)(HDIB), int undoCount) {
    const auto side = static_cast<int32_t>(state.range(0));
    const auto bits = static_cast<uint16_t>(state.range(1));
    HDIB source = RandomDib(side, side, bits);
    if (undoCount > 0 && !UndoesItself(op, undoCount, source)) state.SkipWithError("result does not undo to the source");
    for (auto _ : state) {
        HDIB result = op(source);
        benchmark::DoNotOptimize(result);
        GlobalFree(result);
    }
    GlobalFree(source);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * side * side);
}

void BM_RotateDIB90(benchmark::State& s) { Run(s, RotateDIB90, 4); }
// The anticlockwise turn lands one column in, so no repetition of it gives the source back.
void BM_RotateDIB270(benchmark::State& s) { Run(s, RotateDIB270, 0); }
void BM_RotateDIB180(benchmark::State& s) { Run(s, RotateDIB180, 2); }
void BM_FlipDIBHorizontal(benchmark::State& s) { Run(s, FlipDIBHorizontal, 2); }
void BM_FlipDIBVertical(benchmark::State& s) { Run(s, FlipDIBVertical, 2); }

void Sizes(benchmark::internal::Benchmark* b) {
    for (int64_t bits : {1, 4, 8, 24})
        for (int64_t side : {1024, 4096}) b->Args({side, bits});
    b->ArgNames({"side", "bits"})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_RotateDIB90)->Apply(Sizes)->Args({8192, 1});
BENCHMARK(BM_RotateDIB270)->Apply(Sizes);
BENCHMARK(BM_RotateDIB180)->Apply(Sizes);
BENCHMARK(BM_FlipDIBHorizontal)->Apply(Sizes);
BENCHMARK(BM_FlipDIBVertical)->Apply(Sizes);

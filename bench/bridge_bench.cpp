// bridge_bench.cpp - ConvertBitmapToDIB (a 32-bit device bitmap into a 24-bit DIB, one scan
// line per GetDIBits call) and ConvertDIBToBitmap (a 24-bit DIB into a device bitmap of the
// screen's format) on a 4096 x 4096 picture. Figures are megapixels per second, allocation of
// the result included. Each case first checks the round trip: the DIB made from the bitmap of
// a random DIB holds the same pixel bytes (24 -> 32 -> 24 bits loses nothing).
#include <benchmark/benchmark.h>

#include <cstring>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;
constexpr size_t kPixelBytes = size_t{kSide} * kSide * 3;  // rows of 12288 bytes: no padding

// Whether the bitmap converts back into the pixels of `dib`.
bool RoundTrips(HBITMAP bitmap, HDIB dib) {
    HDIB back = ConvertBitmapToDIB(bitmap, nullptr);
    if (back == nullptr) return false;
    const auto* a = static_cast<const uint8_t*>(GlobalLock(dib));
    const auto* b = static_cast<const uint8_t*>(GlobalLock(back));
    const bool same = std::memcmp(a + 40, b + 40, kPixelBytes) == 0;
    GlobalUnlock(back);
    GlobalUnlock(dib);
    GlobalFree(back);
    return same;
}

// A random 24-bit DIB, its device bitmap, and whether the pair passes the round trip.
struct Pair {
    HDIB dib = vexora_bench::RandomDib(kSide, 24, 4096 * 31 + 24);
    HBITMAP bitmap = ConvertDIBToBitmap(dib);
    ~Pair() {
        DeleteObject(bitmap);
        GlobalFree(dib);
    }
    bool checked(benchmark::State& state) const {
        const bool ok = bitmap != nullptr && RoundTrips(bitmap, dib);
        if (!ok) state.SkipWithError("the round trip does not give the pixels back");
        return ok;
    }
};

void BM_ConvertBitmapToDIB(benchmark::State& state) {
    Pair pair;
    if (pair.checked(state))
        vexora_bench::TimeResults(state, int64_t{kSide} * kSide, [&] { return ConvertBitmapToDIB(pair.bitmap, nullptr); });
}

void BM_ConvertDIBToBitmap(benchmark::State& state) {
    Pair pair;
    if (!pair.checked(state)) return;
    for (auto _ : state) {
        HBITMAP bitmap = ConvertDIBToBitmap(pair.dib);
        benchmark::DoNotOptimize(bitmap);
        DeleteObject(bitmap);
    }
    state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
}

}  // namespace

BENCHMARK(BM_ConvertBitmapToDIB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvertDIBToBitmap)->Unit(benchmark::kMillisecond);

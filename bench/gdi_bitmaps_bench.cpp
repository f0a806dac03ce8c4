// gdi_bitmaps_bench.cpp - the GDI subset's DIB transfers at their most common shape: a
// 4096 x 4096 24-bit DIB put into a 32-bit device bitmap (SetDIBits) and read back out of it
// (GetDIBits), each beside a memcpy of the bytes it writes, the speed of memory itself.
// Before timing, the round trip must give the DIB back byte for byte; a case whose check
// fails reports an error instead of a figure.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "vexora.h"

namespace {

constexpr int kSide = 4096;
constexpr size_t kBytes24 = size_t{kSide} * kSide * 3, kBytes32 = size_t{kSide} * kSide * 4;

struct Transfer {
    BITMAPINFO info{};
    std::vector<uint8_t> dib = std::vector<uint8_t>(kBytes24);
    std::vector<uint8_t> back = std::vector<uint8_t>(kBytes24);
    HDC dc = CreateCompatibleDC(nullptr);
    HBITMAP bitmap = CreateBitmap(kSide, kSide, 1, 32, nullptr);

    Transfer() {
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), kSide, kSide, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
        std::mt19937 random(24);
        for (uint8_t& b : dib) b = static_cast<uint8_t>(random());
    }
    ~Transfer() {
        DeleteObject(bitmap);
        DeleteDC(dc);
    }
    int put() { return SetDIBits(dc, bitmap, 0, kSide, dib.data(), &info, DIB_RGB_COLORS); }
    int get() { return GetDIBits(dc, bitmap, 0, kSide, back.data(), &info, DIB_RGB_COLORS); }
    // The DIB goes in and comes back unchanged.
    bool check(benchmark::State& state) {
        if (put() != kSide || get() != kSide || back != dib) {
            state.SkipWithError("the 24-bit DIB did not come back unchanged through the 32-bit bitmap");
            return false;
        }
        return true;
    }
};

void BM_SetDIBits24To32(benchmark::State& state) {
    Transfer transfer;
    if (!transfer.check(state)) return;
    for (auto _ : state) benchmark::DoNotOptimize(transfer.put());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes32));
    state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
}

void BM_GetDIBits32To24(benchmark::State& state) {
    Transfer transfer;
    if (!transfer.check(state)) return;
    for (auto _ : state) benchmark::DoNotOptimize(transfer.get());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes24));
    state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
}

void BM_Memcpy(benchmark::State& state) {
    const auto bytes = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> from(bytes, 0x5A), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

}  // namespace

BENCHMARK(BM_SetDIBits24To32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetDIBits32To24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Arg(kBytes32)->Arg(kBytes24)->Unit(benchmark::kMillisecond);

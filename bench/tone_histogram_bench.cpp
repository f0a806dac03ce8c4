// tone_histogram_bench.cpp - ComputeHistogram (a fresh count of the window, and the strip
// updates of a window scrolled by 128 pixels) and ApplyLUT (in place and into a new DIB) on a
// random 4096 x 4096 8-bit image, in pixels per second. Before timing, each case checks its
// result against a plain count or lookup, so that a fast but wrong kernel reports no figure.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "vexora.h"

namespace {

constexpr int32_t kSide = 4096;
constexpr size_t kPixels = 1064;  // offset of the rows: header and 256-entry table

HDIB RandomGrayDib() {
    const size_t bytes = kPixels + size_t{kSide} * kSide;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, kSide, kSide, 1u | 8u << 16, 0, uint32_t{kSide} * kSide, 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    std::mt19937_64 random(8);
    for (size_t at = 40; at + 8 <= bytes; at += 8) {
        const uint64_t v = random();
        std::memcpy(p + at, &v, 8);
    }
    GlobalUnlock(dib);
    return dib;
}

// The window at (x, y) counted plainly, modulo 65536.
std::array<uint16_t, 256> PlainWindow(HDIB dib, int x, int y) {
    const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
    std::array<uint16_t, 256> c{};
    for (int r = y; r < y + 256; ++r)
        for (int col = x; col < x + 256; ++col) ++c[p[kPixels + size_t(kSide - 1 - r) * kSide + col]];
    GlobalUnlock(dib);
    return c;
}

bool HistogramIs(HGLOBAL hist, const std::array<uint16_t, 256>& expected) {
    const void* p = GlobalLock(hist);
    const bool same = std::memcmp(p, expected.data(), 512) == 0;
    GlobalUnlock(hist);
    return same;
}

// Origins visited in turn: far jumps (every call counts the window afresh) or a scroll by
// 128 pixels, right along a row and then down, which updates by strips.
std::vector<std::array<int, 2>> Path(bool scroll) {
    std::vector<std::array<int, 2>> path;
    if (!scroll) return {{0, 0}, {2048, 2048}, {3840, 512}, {1024, 3840}};
    for (int y = 0; y + 256 <= kSide; y += 128)
        for (int i = 0; i + 256 <= kSide; i += 128) path.push_back({y % 256 == 0 ? i : kSide - 256 - i, y});
    return path;
}

void RunHistogram(benchmark::State& state, bool scroll) {
    HDIB dib = RandomGrayDib();
    DWORD error = 0;
    HGLOBAL hist = ComputeHistogram(nullptr, TABLE_CREATE, nullptr, nullptr, &error);
    auto path = Path(scroll);
    for (auto at : path) ComputeHistogram(dib, TABLE_COMPUTE, hist, at.data(), &error);
    if (error != 0 || !HistogramIs(hist, PlainWindow(dib, path.back()[0], path.back()[1])))
        state.SkipWithError("histogram differs from a plain count of the window");
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ComputeHistogram(dib, TABLE_COMPUTE, hist, path[i].data(), &error));
        if (++i == path.size()) i = 0;
    }
    ComputeHistogram(nullptr, TABLE_FREE, hist, nullptr, &error);
    GlobalFree(dib);
    // A fresh count reads 256 x 256 pixels; a scroll step reads two strips of 128 x 256.
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * 65536);
}

void BM_ComputeHistogramFresh(benchmark::State& s) { RunHistogram(s, false); }
void BM_ComputeHistogramScroll128(benchmark::State& s) { RunHistogram(s, true); }

void RunApply(benchmark::State& state, bool newDib) {
    HDIB dib = RandomGrayDib();
    DWORD error = 0;
    HGLOBAL lut = ComputeLUT(nullptr, TABLE_CREATE, nullptr, 0, 0, &error);
    ComputeLUT(nullptr, TABLE_COMPUTE, lut, 90, -20, &error);
    {
        // One result against a plain lookup: map[k] = LUT[(b + g + r + 1) / 3].
        std::vector<uint8_t> before(GlobalSize(dib));
        std::memcpy(before.data(), GlobalLock(dib), before.size());
        GlobalUnlock(dib);
        const auto* t = static_cast<const uint8_t*>(GlobalLock(lut));
        uint8_t map[256];
        for (int k = 0; k < 256; ++k) map[k] = t[(before[40 + 4 * k] + before[41 + 4 * k] + before[42 + 4 * k] + 1) / 3];
        GlobalUnlock(lut);
        HDIB out = ApplyLUT(dib, lut, TRUE, &error);
        const auto* p = static_cast<const uint8_t*>(GlobalLock(out));
        bool same = out != nullptr;
        for (size_t i = kPixels; same && i < before.size(); ++i) same = p[i] == map[before[i]];
        GlobalUnlock(out);
        GlobalFree(out);
        if (!same) state.SkipWithError("ApplyLUT differs from a plain lookup");
    }
    for (auto _ : state) {
        HDIB out = ApplyLUT(dib, lut, newDib, &error);
        benchmark::DoNotOptimize(out);
        if (newDib) GlobalFree(out);
    }
    GlobalFree(lut);
    GlobalFree(dib);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSide * kSide);
}

void BM_ApplyLUTInPlace(benchmark::State& s) { RunApply(s, false); }
void BM_ApplyLUTNewDib(benchmark::State& s) { RunApply(s, true); }

}  // namespace

BENCHMARK(BM_ComputeHistogramFresh)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ComputeHistogramScroll128)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ApplyLUTInPlace)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ApplyLUTNewDib)->Unit(benchmark::kMillisecond);

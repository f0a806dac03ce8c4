// tone_gray_bench.cpp - ConvColorDIBtoGrayscale (8 and 24-bit, both weightings; 1-bit in each
// rendering), ConvMonoDIBtoGrayscale (each rendering), Convert8to24 and ColorBrightnessContrast
// (8 and 24-bit) on random 4096 x 4096 images. Figures are source megapixels per second,
// result block allocation included, as a caller sees them.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>

#include "vexora.h"

namespace {

constexpr int kSide = 4096;

HDIB RandomDib(int side, int bits) {
    const uint32_t colours = bits <= 8 ? 1u << bits : 0;
    const uint64_t stride = (uint64_t(side) * bits + 31) / 32 * 4;
    const uint64_t bytes = 40 + colours * 4 + stride * side;
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    std::mt19937 random(uint32_t(side * 17 + bits));
    for (uint64_t i = 40; i < bytes; ++i) p[i] = uint8_t(random());
    const uint32_t header[10] = {40, uint32_t(side), uint32_t(side), 1u | uint32_t(bits) << 16, 0,
                                 uint32_t(stride * side), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    GlobalUnlock(dib);
    return dib;
}

// Runs `call` on a random image, unlocking the source after exports that keep it locked.
template <typename Call>
void Measure(benchmark::State& state, int bits, bool keepsLock, Call call) {
    HDIB dib = RandomDib(kSide, bits);
    for (auto _ : state) {
        HDIB out = call(dib);
        if (out == nullptr) {
            state.SkipWithError("the export failed");
            break;
        }
        if (keepsLock) GlobalUnlock(dib);
        GlobalFree(out);
    }
    GlobalFree(dib);
    state.SetItemsProcessed(int64_t(state.iterations()) * kSide * kSide);
}

void BM_ConvColorDIBtoGrayscale(benchmark::State& state) {
    const int bits = int(state.range(0)), weighted = int(state.range(1));
    Measure(state, bits, true, [&](HDIB d) { return ConvColorDIBtoGrayscale(d, 0, weighted); });
}

void BM_ConvColorDIBtoGrayscaleMono(benchmark::State& state) {
    const int mode = int(state.range(0));
    Measure(state, 1, true, [&](HDIB d) { return ConvColorDIBtoGrayscale(d, mode, TRUE); });
}

void BM_ConvMonoDIBtoGrayscale(benchmark::State& state) {
    const int mode = int(state.range(0));
    Measure(state, 1, false, [&](HDIB d) { return ConvMonoDIBtoGrayscale(d, mode); });
}

void BM_Convert8to24(benchmark::State& state) {
    Measure(state, 8, true, [](HDIB d) { return Convert8to24(d); });
}

void BM_ColorBrightnessContrast(benchmark::State& state) {
    const int bits = int(state.range(0));
    Measure(state, bits, true, [](HDIB d) { return ColorBrightnessContrast(d, 20, -30); });
}

}  // namespace

BENCHMARK(BM_ConvColorDIBtoGrayscale)
    ->ArgNames({"bits", "weighted"})
    ->Args({8, 0})
    ->Args({8, 1})
    ->Args({24, 0})
    ->Args({24, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvColorDIBtoGrayscaleMono)->ArgName("mode")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvMonoDIBtoGrayscale)->ArgName("mode")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Convert8to24)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ColorBrightnessContrast)->ArgName("bits")->Arg(8)->Arg(24)->Unit(benchmark::kMillisecond);

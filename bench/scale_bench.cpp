// scale_bench.cpp - ScaleDIB (bilinear and cubic), ScaleGrayDIB and the crop-and-scale members,
// through their entry points with the result allocation included, in output megapixels per
// second, from 1024 x 1024 and 4096 x 4096 sources of each accepted depth.
//
// Sources are smooth: pixels follow a gentle two-dimensional wave through a palette that is a
// colour ramp, so filtered colours fall between neighbouring entries as in a photograph. The
// "Noise" cases are random pixels over a random palette, the worst case of the palette look-up
// (nearly every filtered pixel is a colour not seen before). Each case checks its first result
// against its reference before timing.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

using vexora_bench::CaseKey;
using vexora_bench::MeasureChecked;

HDIB MakeSource(int size, int bits, bool noise) {
    const uint32_t stride = (uint32_t(size) * uint32_t(bits) + 31) / 32 * 4;
    const uint32_t table = bits <= 8 ? 4u << bits : 0;
    const size_t bytes = 40 + table + size_t{stride} * uint32_t(size);
    HDIB dib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    auto* p = static_cast<uint8_t*>(GlobalLock(dib));
    const uint32_t header[10] = {40, uint32_t(size), uint32_t(size), 1u | uint32_t(bits) << 16, 0,
                                 stride * uint32_t(size), 2835, 2835, 0, 0};
    std::memcpy(p, header, sizeof header);
    std::mt19937 random(uint32_t(size * 7 + bits));
    const uint32_t entries = table / 4;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint32_t level = i * 255 / (entries > 1 ? entries - 1 : 1);
        uint8_t* e = p + 40 + 4 * i;
        e[0] = noise ? uint8_t(random()) : uint8_t(level / 2);
        e[1] = noise ? uint8_t(random()) : uint8_t(level);
        e[2] = noise ? uint8_t(random()) : uint8_t(255 - level / 3);
    }
    uint8_t* pixels = p + 40 + table;
    const uint32_t top = bits == 24 ? 255 : entries - 1;
    for (int y = 0; y < size; ++y) {
        uint8_t* row = pixels + size_t(y) * stride;
        for (int x = 0; x < size; ++x) {
            const double wave = 0.5 + 0.25 * std::sin(x * 0.013) + 0.25 * std::cos(y * 0.009 + x * 0.004);
            const uint32_t v = noise ? random() % (top + 1) : uint32_t(wave * top);
            switch (bits) {
            case 1: row[x / 8] |= uint8_t((v > top / 2 ? 1 : 0) << (7 - x % 8)); break;
            case 4: row[x / 2] |= uint8_t(x % 2 ? v : v << 4); break;
            case 8: row[x] = uint8_t(v); break;
            default:
                row[3 * x] = uint8_t(noise ? random() : v / 2);
                row[3 * x + 1] = uint8_t(v);
                row[3 * x + 2] = uint8_t(noise ? random() : 255 - v / 3);
            }
        }
    }
    GlobalUnlock(dib);
    return dib;
}

struct Source {
    HDIB dib;
    explicit Source(int size, int bits, bool noise) : dib(MakeSource(size, bits, noise)) {}
    ~Source() { GlobalFree(dib); }
};


// Args: bits, source size, method, output size in percent, noise.
void BM_ScaleDIB(benchmark::State& state) {
    const int bits = int(state.range(0)), size = int(state.range(1)), method = int(state.range(2));
    const int out = size * int(state.range(3)) / 100;
    Source source(size, bits, state.range(4) != 0);
    MeasureChecked(state, CaseKey("ScaleDIB", {bits, size, method, state.range(3), state.range(4)}), int64_t{out} * out,
                   [&] { return ScaleDIB(source.dib, method, out, out); });
}

// Args: bits, source size, method, factor; the centred square of size / factor is magnified.
void BM_ScaleGrayDIB(benchmark::State& state) {
    const int bits = int(state.range(0)), size = int(state.range(1)), method = int(state.range(2));
    const int factor = int(state.range(3));
    const int crop = size / factor, at = (size - crop) / 2;
    Source source(size, bits, false);
    MeasureChecked(state, CaseKey("ScaleGrayDIB", {bits, size, method, factor}), int64_t{size} * size,
                   [&] { return ScaleGrayDIB(source.dib, at, at, crop, crop, factor, factor, method); });
}

// Args: bits, source size, output size in percent; the whole picture is resampled.
void BM_CropScale(benchmark::State& state) {
    const int bits = int(state.range(0)), size = int(state.range(1));
    const int out = size * int(state.range(2)) / 100;
    Source source(size, bits, false);
    MeasureChecked(state, CaseKey("VexoraCropScaleDIB", {bits, size, state.range(2)}), int64_t{out} * out,
                   [&] { return VexoraCropScaleDIB(source.dib, 0, 0, size, size, out, out); });
}

void ScaleArgs(benchmark::internal::Benchmark* b) {
    for (int bits : {1, 4, 8, 24})
        for (int method : {0, 1}) {
            if (bits == 1 && method == 1) continue;  // 1-bit ignores the method
            b->Args({bits, 1024, method, 50, 0});
            b->Args({bits, 1024, method, 200, 0});
            b->Args({bits, 4096, method, 50, 0});
            b->Args({bits, 4096, method, 150, 0});
        }
    b->Args({8, 1024, 0, 200, 1});
    b->Args({8, 1024, 1, 200, 1});
}

void GrayArgs(benchmark::internal::Benchmark* b) {
    for (int bits : {4, 8, 24})
        for (int method : {0, 1}) {
            b->Args({bits, 1024, method, 1});
            b->Args({bits, 1024, method, 2});
            b->Args({bits, 4096, method, 2});
        }
}

void CropArgs(benchmark::internal::Benchmark* b) {
    for (int bits : {1, 4, 8, 24}) {
        b->Args({bits, 1024, 200});
        b->Args({bits, 4096, 50});
        b->Args({bits, 4096, 150});
    }
}

BENCHMARK(BM_ScaleDIB)->Apply(ScaleArgs)->ArgNames({"bits", "size", "cubic", "pct", "noise"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaleGrayDIB)->Apply(GrayArgs)->ArgNames({"bits", "size", "cubic", "factor"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CropScale)->Apply(CropArgs)->ArgNames({"bits", "size", "pct"})
    ->Unit(benchmark::kMillisecond);

}  // namespace

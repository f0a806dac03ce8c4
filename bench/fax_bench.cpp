// LoadColorFaxPage of square colour fax pages whose random 1-bit planes are BMP files: the
// whole load (the set's profile, every plane file read, the page built and merged). Each case
// checks its first page against its reference before timing.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

void BM_LoadColorFaxPage(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0)), planes = static_cast<int>(state.range(1));
    const auto dir = std::filesystem::temp_directory_path() /
                     ("vexora-fax-bench-" + std::to_string(side) + "-" + std::to_string(planes));
    std::filesystem::create_directories(dir);
    std::string set = "[ColorFax]\nTotalPages=1\nFiles=" + std::to_string(planes) +
                      "\nPlanes=" + std::to_string(planes) + "\nBitsPixel=1\n[Page1]\n";
    for (int p = 0; p < planes; ++p) {
        HDIB plane = vexora_bench::RandomDib(side, 1, 7100u + static_cast<uint32_t>(p));
        const std::string file = (dir / ("plane" + std::to_string(p) + ".bmp")).string();
        SaveDIB(file.c_str(), plane);
        GlobalFree(plane);
        set += "Plane" + std::to_string(p) + "=" + file + "\n";
    }
    const std::string setFile = (dir / "set.cfx").string();
    std::ofstream(setFile) << set;
    int status = 0;
    vexora_bench::MeasureChecked(state, vexora_bench::CaseKey("LoadColorFaxPage", {side, planes}), int64_t{side} * side,
                                 [&] { return LoadColorFaxPage(setFile.c_str(), 1, &status); });
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_LoadColorFaxPage)
    ->ArgNames({"side", "planes"})
    ->ArgsProduct({{2048, 4096}, {3, 4}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

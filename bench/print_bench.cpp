// print_bench.cpp - printing a 4096 x 4096 24-bit DIB onto one page of a PDF file printer, end
// to end. BM_PrintDib24OnePdfPage: random pixels (the worst case for the file's compression)
// through the GDI calls: CreateDCA, StartDocA, StartPage, one StretchDIBits of the whole image
// onto the page, EndPage, EndDoc (the file written and renamed into place), DeleteDC.
// BM_PrintDIBPhotoLike: the library's PrintDIB (layout, fit, centring, the job) of an image
// with the smooth gradients and fine detail of a photograph.
// The case checks first that the job writes a PDF file of at least the image's compressed
// size (random pixels do not compress) before it is timed. Linux only: on Windows the printers
// are the spooler's.
#if !defined(_WIN32)

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "vexora.h"

namespace {

constexpr int kSide = 4096;

bool PrintOnce(const std::string& device, const BITMAPINFO& info, const std::vector<uint8_t>& bits) {
    HDC dc = CreateDCA(nullptr, device.c_str(), nullptr, nullptr);
    if (dc == nullptr) return false;
    const DOCINFOA doc{sizeof(DOCINFOA), "bench", nullptr, nullptr, 0};
    const int width = GetDeviceCaps(dc, HORZRES);
    bool done = StartDocA(dc, &doc) > 0 && StartPage(dc) > 0;
    done = done && StretchDIBits(dc, 0, 0, width, width, 0, 0, kSide, kSide, bits.data(), &info, DIB_RGB_COLORS,
                                 SRCCOPY) == kSide;
    done = EndPage(dc) > 0 && done;
    done = EndDoc(dc) > 0 && done;
    DeleteDC(dc);
    return done;
}

void BM_PrintDib24OnePdfPage(benchmark::State& state) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), kSide, kSide, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    std::vector<uint8_t> bits(size_t{kSide} * kSide * 3);
    std::mt19937 random(24);
    for (auto& b : bits) b = static_cast<uint8_t>(random());
    const auto folder = std::filesystem::temp_directory_path() / ("vexora-print-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string file = (folder / "page.pdf").string();
    if (!PrintOnce("PDF:" + file, info, bits) || std::filesystem::file_size(file) < bits.size()) {
        state.SkipWithError("the job did not write its page");
    } else {
        for (auto _ : state) PrintOnce("PDF:" + file, info, bits);
        state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_PrintDib24OnePdfPage)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PrintDIBPhotoLike(benchmark::State& state) {
    const size_t stride = size_t{kSide} * 3;
    HGLOBAL dib = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + stride * kSide);
    auto* header = static_cast<BITMAPINFOHEADER*>(GlobalLock(dib));
    *header = {sizeof(BITMAPINFOHEADER), kSide, kSide, 1, 24, BI_RGB, 0, 11811, 11811, 0, 0};  // 300 dpi
    auto* bits = reinterpret_cast<uint8_t*>(header + 1);
    std::mt19937 random(7);
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            uint8_t* p = bits + size_t(y) * stride + size_t(x) * 3;
            const int grain = static_cast<int>(random() % 9) - 4;
            p[0] = static_cast<uint8_t>(std::clamp(x / 16 + grain, 0, 255));
            p[1] = static_cast<uint8_t>(std::clamp(y / 16 + grain, 0, 255));
            p[2] = static_cast<uint8_t>(std::clamp((x + y) / 32 + grain, 0, 255));
        }
    GlobalUnlock(dib);
    const auto folder = std::filesystem::temp_directory_path() / ("vexora-print-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string device = "PDF:" + (folder / "photo.pdf").string();
    auto print = [&] {
        VXPRINTOPTIONS options = VXPRINTOPTIONS_DEFAULTS;
        options.noCancelBox = 1;
        return PrintDIB(nullptr, CreateDCA(nullptr, device.c_str(), nullptr, nullptr), dib, "bench", nullptr, &options, 0);
    };
    if (print() != 0) {
        state.SkipWithError("PrintDIB failed");
    } else {
        for (auto _ : state) print();
        state.SetItemsProcessed(state.iterations() * int64_t{kSide} * kSide);
    }
    GlobalFree(dib);
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_PrintDIBPhotoLike)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

#endif  // !_WIN32

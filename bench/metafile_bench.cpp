// metafile_bench.cpp - playing a metafile and reading a clipboard file, each next to the plain
// operation it should cost about as much as, on a 4096 x 4096 24-bit picture.
//
//   DrawMetaFileIntoBitmap   a Windows metafile of one StretchDIB record of the picture, played
//                            into a new bitmap of the same size (white fill included)
//   StretchDIBitsPlain       the same bitmap made and filled, the picture put in with one
//                            StretchDIBits: what the player should stay within 2x of
//   LoadClipboardDib         LoadClipboardFormat of a clipboard file holding the picture as
//                            CF_DIB (read, then made a device bitmap)
//   ReadClipboardFileBytes   reading the same file into memory: the speed of the disk cache
// Figures are megapixels per second. Each case first checks that its bitmap holds the picture's
// pixels (what ConvertDIBToBitmap makes of it); a GDI without metafiles skips the metafile case.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench_support.hpp"
#include "vexora.h"

namespace {

constexpr int kSide = 4096;
constexpr int64_t kPixels = int64_t{kSide} * kSide;

std::vector<uint8_t> PixelsOf(HBITMAP bitmap) {
    std::vector<uint8_t> bytes;
    if (HDIB dib = ConvertBitmapToDIB(bitmap, nullptr)) {
        const auto* p = static_cast<const uint8_t*>(GlobalLock(dib));
        bytes.assign(p + 40, p + 40 + size_t(kPixels) * 3);
        GlobalUnlock(dib);
        GlobalFree(dib);
    }
    return bytes;
}

struct Picture {
    HDIB dib = vexora_bench::RandomDib(kSide, 24, 4096 * 37 + 24);
    std::vector<uint8_t> expected = [this] {
        HBITMAP bitmap = ConvertDIBToBitmap(dib);
        auto pixels = PixelsOf(bitmap);
        DeleteObject(bitmap);
        return pixels;
    }();
    const uint8_t* locked = static_cast<const uint8_t*>(GlobalLock(dib));
    const uint8_t* bits() const { return locked + 40; }
    const BITMAPINFO* info() const { return reinterpret_cast<const BITMAPINFO*>(locked); }
    ~Picture() {
        GlobalUnlock(dib);
        GlobalFree(dib);
    }
    bool holds(benchmark::State& state, HBITMAP bitmap) const {
        const bool same = bitmap != nullptr && PixelsOf(bitmap) == expected;
        if (bitmap) DeleteObject(bitmap);
        if (!same) state.SkipWithError("the bitmap does not hold the picture");
        return same;
    }
};

void BM_DrawMetaFileIntoBitmap(benchmark::State& state) {
    Picture picture;
    HDC recorder = CreateMetaFileA(nullptr);
    if (recorder == nullptr) return state.SkipWithError("this GDI records no metafiles");
    SetWindowExtEx(recorder, kSide, kSide, nullptr);
    StretchDIBits(recorder, 0, 0, kSide, kSide, 0, 0, kSide, kSide, picture.bits(), picture.info(), DIB_RGB_COLORS, SRCCOPY);
    HMETAFILE metafile = CloseMetaFile(recorder);
    if (picture.holds(state, DrawMetaFileIntoBitmap(metafile, kSide, kSide, nullptr))) {
        for (auto _ : state) {
            HBITMAP bitmap = DrawMetaFileIntoBitmap(metafile, kSide, kSide, nullptr);
            benchmark::DoNotOptimize(bitmap);
            DeleteObject(bitmap);
        }
        state.SetItemsProcessed(state.iterations() * kPixels);
    }
    DeleteMetaFile(metafile);
}

HBITMAP StretchedPlainly(const Picture& picture) {
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, kSide, kSide);
    HGDIOBJ old = SelectObject(dc, bitmap);
    PatBlt(dc, 0, 0, kSide, kSide, WHITENESS);
    StretchDIBits(dc, 0, 0, kSide, kSide, 0, 0, kSide, kSide, picture.bits(), picture.info(), DIB_RGB_COLORS, SRCCOPY);
    SelectObject(dc, old);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

void BM_StretchDIBitsPlain(benchmark::State& state) {
    Picture picture;
    if (!picture.holds(state, StretchedPlainly(picture))) return;
    for (auto _ : state) {
        HBITMAP bitmap = StretchedPlainly(picture);
        benchmark::DoNotOptimize(bitmap);
        DeleteObject(bitmap);
    }
    state.SetItemsProcessed(state.iterations() * kPixels);
}

// A clipboard file of the picture, removed with the fixture.
struct ClipboardFixture {
    Picture picture;
    std::string path = (std::filesystem::temp_directory_path() / "vexora-bench-4096.clp").string();
    ClipboardFixture() {
        HBITMAP bitmap = ConvertDIBToBitmap(picture.dib);
        SaveClipboardFormat(path.c_str(), bitmap);
        DeleteObject(bitmap);
    }
    ~ClipboardFixture() { std::remove(path.c_str()); }
};

void BM_LoadClipboardDib(benchmark::State& state) {
    ClipboardFixture clip;
    if (!clip.picture.holds(state, static_cast<HBITMAP>(LoadClipboardFormat(clip.path.c_str(), 8)))) return;
    for (auto _ : state) {
        HANDLE bitmap = LoadClipboardFormat(clip.path.c_str(), 8);
        benchmark::DoNotOptimize(bitmap);
        DeleteObject(bitmap);
    }
    state.SetItemsProcessed(state.iterations() * kPixels);
}

void BM_ReadClipboardFileBytes(benchmark::State& state) {
    ClipboardFixture clip;
    const auto size = std::filesystem::file_size(clip.path);
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[size]);
    for (auto _ : state) {
        HFILE file = _lopen(clip.path.c_str(), OF_READ);
        const long got = _hread(file, buffer.get(), long(size));
        _lclose(file);
        if (got != long(size)) return state.SkipWithError("short read");
        benchmark::DoNotOptimize(buffer.get());
    }
    state.SetItemsProcessed(state.iterations() * kPixels);
}

}  // namespace

BENCHMARK(BM_DrawMetaFileIntoBitmap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StretchDIBitsPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadClipboardDib)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadClipboardFileBytes)->Unit(benchmark::kMillisecond);

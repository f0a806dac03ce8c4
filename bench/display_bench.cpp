// display_bench.cpp - the display engine painting a full-HD window from a large image: an
// 8192 x 8192 24-bit DIB shown in a 1920 x 1080 client area of a library window without a
// screen (VexoraCreateWindow with no toolkit behind it).
//
//   DisplayWmPaint/ZOOM   a whole-client paint (invalidate, then the WM_PAINT handler) at
//                         1:1 and at 1:4 (the engine shrinks through StretchDIBits)
//   DisplayLineScroll     DisplayWmVertScroll SB_LINEDOWN and the paint of the uncovered strip
//                         it causes (the window procedure paints through DisplayWmPaint)
//   DisplayDIBImage/LOWMEM  the stateless painter with the low-memory switch off (GDI
//                         stretches) and on (the library crops and scales the visible part
//                         first, then draws it 1:1)
//   StretchDIBitsClient   the GDI call alone, the same source rectangle to the same client
//
// Items are client pixels painted. Before timing, every case checks what it drew: each client
// pixel must be one of the image's pixels under it (exactly the one at 1:1; one of the block
// it covers, give or take a pixel of rounding, when scaled). A case that draws nothing or
// draws the wrong part reports an error instead of a figure.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "bench_support.hpp"

namespace {

constexpr int kSide = 8192, kClientWidth = 1920, kClientHeight = 1080;
constexpr int64_t kClientPixels = int64_t{kClientWidth} * kClientHeight;

VXDISPLAYSTATE* g_paintState = nullptr;  // the record the window procedure paints from

LRESULT CALLBACK PaintingProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_PAINT && g_paintState != nullptr) return DisplayWmPaint(window, g_paintState);
    return DefWindowProcA(window, message, wParam, lParam);
}

// The large image and a window to paint it into, shared by every case of a run.
struct Scene {
    HDIB dib = vexora_bench::RandomDib(kSide, 24, 8192 * 24 + 1);
    HWND window = nullptr;
    VXDISPLAYSTATE state{};

    Scene() {
        VXWINDOWHOST host{};
        host.windowProc = PaintingProc;
        window = VexoraCreateWindow(kClientWidth, kClientHeight, &host);
    }
    ~Scene() {
        if (window != nullptr) VexoraDestroyWindow(window);
        GlobalFree(dib);
    }
    static Scene& get() {
        static Scene scene;
        return scene;
    }

    // Shows the image at xMul:xDiv (both axes) from its top-left corner.
    bool start(int mul, int div) {
        if (window == nullptr || dib == nullptr) return false;
        DisplayWmDestroy(window, 0, 0, &state);
        DisplayWmCreate(window, 0, 0, &state);
        const int zoom[4] = {mul, div, mul, div};
        int position[4] = {0, 0, 0, 0};
        DisplayDIBStart(window, dib, position, zoom, 0, &state);
        return state.dib == dib;
    }

    // Whether every client pixel is an image pixel under it: the image pixel of client pixel x
    // at `scale` client pixels per image pixel, seen from image point (originX, originY),
    // lies within `slack` pixels of the block the client pixel covers.
    bool painted(double scale, int originX, int originY, int slack) const {
        int width = 0, height = 0, stride = 0;
        const auto* pixels = static_cast<const uint8_t*>(VexoraWindowPixels(window, &width, &height, &stride));
        const auto* image = static_cast<const uint8_t*>(GlobalLock(dib));
        if (pixels == nullptr || image == nullptr) return false;
        const uint8_t* bits = image + 40;
        const size_t imageStride = size_t{kSide} * 3;
        auto span = [&](int client, int origin) {
            const int first = origin + static_cast<int>(std::floor(client / scale));
            const int last = std::max(first, origin + static_cast<int>(std::floor((client + 1) / scale)) - 1);
            return std::pair{std::max(0, first - slack), std::min(kSide - 1, last + slack)};
        };
        bool good = true;
        for (int y = 0; y < height && good; ++y) {
            const auto [rowFirst, rowLast] = span(y, originY);
            for (int x = 0; x < width && good; ++x) {
                const uint8_t* seen = pixels + size_t(y) * size_t(stride) + size_t(x) * 4;
                const auto [colFirst, colLast] = span(x, originX);
                bool found = false;
                for (int r = rowFirst; r <= rowLast && !found; ++r) {
                    const uint8_t* row = bits + size_t(kSide - 1 - r) * imageStride;
                    for (int c = colFirst; c <= colLast && !found; ++c) found = std::memcmp(row + size_t(c) * 3, seen, 3) == 0;
                }
                good = found;
            }
        }
        GlobalUnlock(dib);
        return good;
    }
};

void PaintAll(Scene& scene) {
    InvalidateRect(scene.window, nullptr, FALSE);
    DisplayWmPaint(scene.window, &scene.state);
}

void BM_DisplayWmPaint(benchmark::State& state) {
    Scene& scene = Scene::get();
    const int div = static_cast<int>(state.range(0));
    if (!scene.start(1, div)) return state.SkipWithError("DisplayDIBStart did not take the image");
    PaintAll(scene);
    if (!scene.painted(1.0 / div, scene.state.originLogical.x, scene.state.originLogical.y, div == 1 ? 0 : 1))
        return state.SkipWithError("the client does not show the image's top-left part");
    for (auto _ : state) PaintAll(scene);
    state.SetItemsProcessed(state.iterations() * kClientPixels);
}

void BM_DisplayLineScroll(benchmark::State& state) {
    Scene& scene = Scene::get();
    if (!scene.start(1, 1)) return state.SkipWithError("DisplayDIBStart did not take the image");
    g_paintState = &scene.state;
    PaintAll(scene);
    DisplayWmVertScroll(scene.window, MAKEWPARAM(SB_LINEDOWN, 0), 0, &scene.state);
    const bool moved = scene.state.scrollY > 0;
    if (!moved || !scene.painted(1.0, scene.state.originLogical.x, scene.state.originLogical.y, 0)) {
        g_paintState = nullptr;
        return state.SkipWithError("a line down did not scroll, or left the client unlike the image");
    }
    int64_t lines = 0;
    for (auto _ : state) {
        if (scene.state.scrollY >= scene.state.vMax) {
            state.PauseTiming();
            DisplayWmVertScroll(scene.window, MAKEWPARAM(SB_TOP, 0), 0, &scene.state);
            state.ResumeTiming();
        }
        const LONG before = scene.state.scrollY;
        DisplayWmVertScroll(scene.window, MAKEWPARAM(SB_LINEDOWN, 0), 0, &scene.state);
        lines += scene.state.scrollY - before;
    }
    g_paintState = nullptr;
    // Items: the client pixels uncovered, the strip each line scroll paints.
    state.SetItemsProcessed(lines * kClientWidth);
}

// The stateless painter at the image's own resolution against the device's (72 and 96 dpi,
// so the image is enlarged by 4/3), from the top-left corner.
void BM_DisplayDIBImage(benchmark::State& state) {
    Scene& scene = Scene::get();
    if (scene.window == nullptr) return state.SkipWithError("no window");
    const int lowMemory = static_cast<int>(state.range(0));
    const int previous = SetLowMemStretch(lowMemory);
    const int zoom[4] = {1, 1, 1, 1};
    auto paint = [&] {
        VXVIEW view{0, 0, 0, 0};
        InvalidateRect(scene.window, nullptr, FALSE);
        return DisplayDIBImage(scene.window, scene.dib, &view, zoom, 0);
    };
    paint();
    if (!scene.painted(96.0 / 72.0, 0, 0, 1)) {
        SetLowMemStretch(previous);
        return state.SkipWithError("the client does not show the image's top-left part at 4/3");
    }
    for (auto _ : state) benchmark::DoNotOptimize(paint());
    SetLowMemStretch(previous);
    state.SetItemsProcessed(state.iterations() * kClientPixels);
}

void BM_StretchDIBitsClient(benchmark::State& state) {
    Scene& scene = Scene::get();
    if (scene.window == nullptr) return state.SkipWithError("no window");
    const auto* image = static_cast<const uint8_t*>(GlobalLock(scene.dib));
    const auto* info = reinterpret_cast<const BITMAPINFO*>(image);
    HDC dc = GetDC(scene.window);
    SetStretchBltMode(dc, COLORONCOLOR);
    const int sourceWidth = kClientWidth * 72 / 96, sourceHeight = kClientHeight * 72 / 96;
    auto paint = [&] {
        return StretchDIBits(dc, 0, 0, kClientWidth, kClientHeight, 0, kSide - sourceHeight, sourceWidth, sourceHeight,
                             image + 40, info, DIB_RGB_COLORS, SRCCOPY);
    };
    paint();
    if (!scene.painted(96.0 / 72.0, 0, 0, 1)) {
        state.SkipWithError("StretchDIBits did not draw the image's top-left part at 4/3");
    } else {
        for (auto _ : state) benchmark::DoNotOptimize(paint());
        state.SetItemsProcessed(state.iterations() * kClientPixels);
    }
    ReleaseDC(scene.window, dc);
    GlobalUnlock(scene.dib);
}

}  // namespace

BENCHMARK(BM_DisplayWmPaint)->ArgName("zoom1to")->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DisplayLineScroll)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DisplayDIBImage)->ArgName("lowmem")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StretchDIBitsClient)->Unit(benchmark::kMillisecond);

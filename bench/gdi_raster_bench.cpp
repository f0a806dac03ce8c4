// gdi_raster_bench.cpp - the Linux GDI's bit transfers on a 4096 x 4096 32-bit device bitmap:
// a SRCCOPY BitBlt against memcpy of the same bytes between buffers already touched (the
// floor a row-by-row copy can reach), a SRCAND BitBlt (the raster-operation path reading its
// source in place), and a COLORONCOLOR StretchBlt doubling a 2048 x 2048 bitmap. Each case
// checks its first result against a plain model before it is timed: the copy equals its
// source, the AND equals the byte-wise AND, the doubled pixel (x, y) is source pixel
// (x / 2, y / 2). The shape fills draw on a 1024 x 1024 32-bit DIB section without a pen: an
// ellipse filling it and a 1000-point wavy ring (a polygon whose edges cross many rows each);
// each is checked to cover its area to within a hundredth, the centre of the ellipse filled and
// the corners left alone.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "vexora_win32.h"

namespace {

constexpr int kSide = 4096;

struct Surface {
    HBITMAP bitmap = nullptr;
    HDC dc = nullptr;
    HGDIOBJ previous = nullptr;
    Surface(int side, uint32_t seed) {
        std::vector<uint8_t> bytes(size_t{4} * side * side);
        std::mt19937 random(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(random());
        bitmap = CreateBitmap(side, side, 1, 32, bytes.data());
        dc = CreateCompatibleDC(nullptr);
        previous = SelectObject(dc, bitmap);
    }
    ~Surface() {
        SelectObject(dc, previous);
        DeleteDC(dc);
        DeleteObject(bitmap);
    }
    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> out(static_cast<size_t>(GetBitmapBits(bitmap, 0, nullptr)));
        GetBitmapBits(bitmap, static_cast<LONG>(out.size()), out.data());
        return out;
    }
};

void Time(benchmark::State& state, int64_t pixels, bool checked, auto run) {
    if (!checked) {
        state.SkipWithError("the first result does not match its model");
        return;
    }
    for (auto _ : state) run();
    state.SetItemsProcessed(state.iterations() * pixels);
    state.SetBytesProcessed(state.iterations() * pixels * 4);
}

void BM_BitBltSrcCopy(benchmark::State& state) {
    Surface source(kSide, 1), dest(kSide, 2);
    const auto blit = [&] { BitBlt(dest.dc, 0, 0, kSide, kSide, source.dc, 0, 0, SRCCOPY); };
    blit();
    Time(state, int64_t{kSide} * kSide, dest.bytes() == source.bytes(), blit);
}

void BM_MemcpySameBytes(benchmark::State& state) {
    std::vector<uint8_t> from(size_t{4} * kSide * kSide, 1), to(from.size(), 2);
    Time(state, int64_t{kSide} * kSide, true, [&] {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
    });
}

void BM_BitBltSrcAnd(benchmark::State& state) {
    Surface source(kSide, 3), dest(kSide, 4);
    std::vector<uint8_t> expected = dest.bytes();
    const std::vector<uint8_t> s = source.bytes();
    for (size_t i = 0; i < expected.size(); ++i) expected[i] &= s[i];
    const auto blit = [&] { BitBlt(dest.dc, 0, 0, kSide, kSide, source.dc, 0, 0, SRCAND); };
    blit();
    Time(state, int64_t{kSide} * kSide, dest.bytes() == expected, blit);
}

void BM_StretchBltDouble(benchmark::State& state) {
    Surface source(kSide / 2, 5), dest(kSide, 6);
    SetStretchBltMode(dest.dc, COLORONCOLOR);
    const auto blit = [&] { StretchBlt(dest.dc, 0, 0, kSide, kSide, source.dc, 0, 0, kSide / 2, kSide / 2, SRCCOPY); };
    blit();
    const std::vector<uint8_t> s = source.bytes(), d = dest.bytes();
    bool same = true;
    for (int y = 0; y < kSide && same; ++y)
        for (int x = 0; x < kSide && same; ++x)
            same = std::memcmp(&d[(size_t{4} * y * kSide) + 4 * size_t(x)],
                               &s[(size_t{4} * (y / 2) * (kSide / 2)) + 4 * size_t(x / 2)], 4) == 0;
    Time(state, int64_t{kSide} * kSide, same, blit);
}

// A white 1024 x 1024 32-bit DIB section with a black brush and no pen.
struct ShapeCanvas {
    static constexpr int kShapeSide = 1024;
    HDC dc = CreateCompatibleDC(nullptr);
    HBITMAP bitmap = nullptr;
    HGDIOBJ previous = nullptr;
    uint32_t* pixels = nullptr;
    ShapeCanvas() {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), kShapeSide, -kShapeSide, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        pixels = static_cast<uint32_t*>(bits);
        previous = SelectObject(dc, bitmap);
        SelectObject(dc, GetStockObject(NULL_PEN));
        SelectObject(dc, GetStockObject(BLACK_BRUSH));
    }
    ~ShapeCanvas() {
        SelectObject(dc, previous);
        DeleteDC(dc);
        DeleteObject(bitmap);
    }
    void clear() const { std::memset(pixels, 0xFF, size_t{4} * kShapeSide * kShapeSide); }
    // Whether the black pixels cover `area` to within a hundredth, the centre among them.
    bool covers(double area) const {
        int64_t black = 0;
        for (int i = 0; i < kShapeSide * kShapeSide; ++i) black += (pixels[i] & 0xFFFFFF) == 0;
        const uint32_t centre = pixels[kShapeSide / 2 * kShapeSide + kShapeSide / 2];
        return std::fabs(static_cast<double>(black) - area) < area / 100 && (centre & 0xFFFFFF) == 0 &&
               (pixels[0] & 0xFFFFFF) != 0;
    }
};

void BM_EllipseFill(benchmark::State& state) {
    ShapeCanvas canvas;
    constexpr int side = ShapeCanvas::kShapeSide;
    const auto draw = [&] { Ellipse(canvas.dc, 0, 0, side, side); };
    canvas.clear();
    draw();
    Time(state, int64_t{side} * side, canvas.covers(std::numbers::pi * side * side / 4), draw);
}

void BM_PolygonFill1000(benchmark::State& state) {
    ShapeCanvas canvas;
    constexpr int side = ShapeCanvas::kShapeSide;
    // A ring whose radius swings by 40 pixels 100 times around, 1000 points.
    std::vector<POINT> ring;
    double area = 0;
    for (int i = 0; i < 1000; ++i) {
        const double angle = 2 * std::numbers::pi * i / 1000, radius = 440 + 40 * std::sin(100 * angle);
        ring.push_back({static_cast<LONG>(std::lround(side / 2 + radius * std::cos(angle))),
                        static_cast<LONG>(std::lround(side / 2 + radius * std::sin(angle)))});
    }
    for (size_t i = 0; i < ring.size(); ++i) {
        const POINT a = ring[i], b = ring[(i + 1) % ring.size()];
        area += (static_cast<double>(a.x) * b.y - static_cast<double>(b.x) * a.y) / 2;
    }
    const auto draw = [&] { Polygon(canvas.dc, ring.data(), static_cast<int>(ring.size())); };
    canvas.clear();
    draw();
    Time(state, int64_t{side} * side, canvas.covers(std::fabs(area)), draw);
}

}  // namespace

BENCHMARK(BM_EllipseFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PolygonFill1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_BitBltSrcCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemcpySameBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BitBltSrcAnd)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StretchBltDouble)->Unit(benchmark::kMillisecond);

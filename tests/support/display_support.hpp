// display_support.hpp - what the display tests share: Pattern and PatternDib, a 24-bit DIB whose
// pixel (x, y) (y from the top) is Pattern(x, y); WrongPixels, which counts and reports the pixels
// of an area or of a window's client area that do not show that DIB through a column and row
// mapping; Zoomed, the mapping of an image drawn at a device origin with an integer zoom;
// SameRect; ScrollRange; and PaintWindow, a test window whose WM_PAINT runs the painter under test.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

#include "dib_builder.hpp"
#include "test_window.hpp"
#include "vexora.h"

namespace vxtest {

constexpr uint32_t kGray = 0xC0C0C0;  // TestWindow::kBackground as 0x00RRGGBB

// 0x00RRGGBB varying with (x, y) with no simple structure.
inline uint32_t Pattern(int x, int y) {
    return ((static_cast<uint32_t>(x) * 73856093u) ^ (static_cast<uint32_t>(y) * 19349663u)) >> 3 & 0xFFFFFFu;
}

// topDown: stored with a negative height, top row first.
inline Block PatternDib(int width, int height, int dpi = 96, bool topDown = false) {
    Bytes bytes = PackedDib(DibShape{.width = width, .height = height, .bitCount = 24});
    for (const size_t at : {24, 28}) PutU32(bytes, at, static_cast<uint32_t>(dpi / 0.0254 + 0.5));
    if (topDown) PutU32(bytes, 8, static_cast<uint32_t>(-height));
    for (int y = 0; y < height; ++y) {
        uint8_t* row = bytes.data() + 40 + static_cast<size_t>(topDown ? y : height - 1 - y) * Stride(width, 24);
        for (int x = 0; x < width; ++x) {
            const uint32_t bgr = Pattern(x, y);  // little-endian: blue, green, red
            std::memcpy(row + 3 * x, &bgr, 3);
        }
    }
    return Block(BlockFrom(bytes));
}

inline ::testing::AssertionResult SameRect(const RECT& a, const RECT& b) {
    if (a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << a.left << "," << a.top << "," << a.right << "," << a.bottom;
}

inline std::array<int, 2> ScrollRange(HWND window, int bar) {
    int low = -1, high = -1;
    GetScrollRange(window, bar, &low, &high);
    return {low, high};
}

// The image column (or row) device pixel x shows when `size` pixels are drawn from `origin`
// `zoom` times enlarged; -1 outside them.
inline std::function<int(int)> Zoomed(LONG origin, int zoom, int size) {
    return [=](int x) { return x >= origin && (x - origin) / zoom < size ? (x - origin) / zoom : -1; };
}

// The pixels of a width x height area that read(x, y) does not give as Pattern(column(x),
// row(y)) XOR `invert`; where column or row is negative, as `outside` (unchecked if none).
// The first few are reported.
template <typename Read, typename Column, typename Row>
int WrongPixels(int width, int height, Read read, Column column, Row row, std::optional<uint32_t> outside = {},
                uint32_t invert = 0) {
    int wrong = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool inside = column(x) >= 0 && row(y) >= 0;
            if (!inside && !outside) continue;
            const uint32_t want = inside ? Pattern(column(x), row(y)) ^ invert : *outside, got = read(x, y);
            if (got != want && wrong++ < 3)
                ADD_FAILURE() << "pixel (" << x << ", " << y << ") is " << std::hex << got << ", not " << want;
        }
    return wrong;
}

// WrongPixels over the client area of `window`, as `shown` holds it.
template <typename Column, typename Row>
int WrongPixels(const TestWindow& window, const std::vector<uint32_t>& shown, Column column, Row row,
                std::optional<uint32_t> outside = {}, uint32_t invert = 0) {
    const auto read = [&](int x, int y) { return window.pixel(shown, x, y); };
    return WrongPixels(window.client().right, window.client().bottom, read, column, row, outside, invert);
}

// A test window whose paints run the function show() was last given.
class PaintWindow : public TestWindow {
public:
    PaintWindow(int width, int height) : TestWindow(width, height) {
        setHandler([this](HWND w, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
            if (message != WM_PAINT || !paint_) return std::nullopt;
            paint_(w);
            return 0;
        });
    }
    // Repaints the whole client area through `paint` `times` times (later paints see the scroll
    // bars earlier ones showed) and answers its pixels.
    std::vector<uint32_t> show(std::function<void(HWND)> paint, int times = 1) {
        paint_ = std::move(paint);
        for (int i = 0; i < times; ++i) {
            InvalidateRect(get(), nullptr, TRUE);
            pump();
            UpdateWindow(get());
        }
        return pixels();
    }

private:
    std::function<void(HWND)> paint_;
};

}  // namespace vxtest

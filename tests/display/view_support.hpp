// view_support.hpp - what the tests of the stateless painters and of the scrolling view share:
// a 24-bit DIB of a given size and resolution whose pixel (x, y) (y from the top) is Pattern(x, y);
// a window whose WM_PAINT runs the painter under test; and the check that a rectangle of the
// client shows the DIB through a given column and row mapping.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "dib_builder.hpp"
#include "test_window.hpp"
#include "vexora.h"

namespace vxtest {

// A colour that varies with (x, y) with no simple structure.
inline COLORREF Pattern(int x, int y) {
    const uint32_t h = (static_cast<uint32_t>(x) * 73856093u) ^ (static_cast<uint32_t>(y) * 19349663u);
    return RGB(h >> 3, h >> 11, h >> 19);
}

inline bool SameRect(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// Pels per metre of a resolution in dots per inch, as the header stores it.
inline int32_t PelsPerMetre(int dpi) { return static_cast<int32_t>(dpi / 0.0254 + 0.5); }

inline Block PatternDib(int width, int height, int dpiX = 96, int dpiY = 96) {
    DibShape shape;
    shape.width = width;
    shape.height = height;
    shape.bitCount = 24;
    Bytes bytes = PackedDib(shape);
    PutU32(bytes, 24, static_cast<uint32_t>(PelsPerMetre(dpiX)));
    PutU32(bytes, 28, static_cast<uint32_t>(PelsPerMetre(dpiY)));
    const uint32_t stride = Stride(width, 24);
    for (int y = 0; y < height; ++y) {
        uint8_t* row = bytes.data() + 40 + static_cast<size_t>(height - 1 - y) * stride;
        for (int x = 0; x < width; ++x) {
            const COLORREF c = Pattern(x, y);
            row[3 * x] = GetBValue(c);
            row[3 * x + 1] = GetGValue(c);
            row[3 * x + 2] = GetRValue(c);
        }
    }
    return Block(BlockFrom(bytes));
}

// 0x00RRGGBB of Pattern(x, y), as TestWindow::pixels answers it.
inline uint32_t Expected(int x, int y) {
    const COLORREF c = Pattern(x, y);
    return uint32_t{GetRValue(c)} << 16 | uint32_t{GetGValue(c)} << 8 | GetBValue(c);
}

// A test window whose paints run `paint`; it reports (and the test skips) when the platform
// has no windows to give.
class PaintWindow {
public:
    PaintWindow(int width, int height) : window_(width, height) {
        window_.setHandler([this](HWND w, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
            if (message != WM_PAINT || !paint_) return std::nullopt;
            paint_(w);
            return 0;
        });
    }
    explicit operator bool() const { return static_cast<bool>(window_); }
    HWND get() const { return window_.get(); }
    TestWindow& window() { return window_; }
    // Repaints the whole client area through `paint` and answers its pixels.
    std::vector<uint32_t> show(std::function<void(HWND)> paint) {
        paint_ = std::move(paint);
        InvalidateRect(window_.get(), nullptr, TRUE);
        window_.pump();
        UpdateWindow(window_.get());
        return window_.pixels();
    }

private:
    TestWindow window_;
    std::function<void(HWND)> paint_;
};

// Counts the client pixels in [0, width) x [0, height) that differ from Expected(column(x), row(y)),
// and names the first in the test's failure message.
template <typename Column, typename Row>
int MismatchedPixels(const TestWindow& window, const std::vector<uint32_t>& pixels, int width, int height,
                     Column column, Row row) {
    int wrong = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const uint32_t want = Expected(column(x), row(y)), got = window.pixel(pixels, x, y);
            if (got != want && wrong++ == 0)
                ADD_FAILURE() << "client (" << x << ", " << y << ") shows " << std::hex << got << ", image ("
                              << std::dec << column(x) << ", " << row(y) << ") is " << std::hex << want;
        }
    }
    return wrong;
}

}  // namespace vxtest

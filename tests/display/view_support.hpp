// view_support.hpp - shared by the tests of the stateless painters and the scrolling view: a
// 24-bit DIB whose pixel (x, y) (y from the top) is Pattern(x, y), a window whose WM_PAINT runs
// the painter under test, and a count of the client pixels that do not show the DIB through a
// given column and row mapping.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <vector>

#include "dib_builder.hpp"
#include "test_window.hpp"
#include "vexora.h"

namespace vxtest {

// 0x00RRGGBB varying with (x, y) with no simple structure.
inline uint32_t Pattern(int x, int y) {
    return ((static_cast<uint32_t>(x) * 73856093u) ^ (static_cast<uint32_t>(y) * 19349663u)) >> 3 & 0xFFFFFFu;
}

inline ::testing::AssertionResult SameRect(const RECT& a, const RECT& b) {
    if (a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << a.left << "," << a.top << "," << a.right << "," << a.bottom;
}

// topDown: stored with a negative height, top row first.
inline Block PatternDib(int width, int height, int dpi = 96, bool topDown = false) {
    DibShape shape;
    shape.width = width;
    shape.height = height;
    shape.bitCount = 24;
    Bytes bytes = PackedDib(shape);
    PutU32(bytes, 24, static_cast<uint32_t>(dpi / 0.0254 + 0.5));
    PutU32(bytes, 28, static_cast<uint32_t>(dpi / 0.0254 + 0.5));
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

// A test window whose paints run the function show() was last given.
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
    RECT client() const { return window_.client(); }
    uint32_t pixel(const std::vector<uint32_t>& pixels, int x, int y) const { return window_.pixel(pixels, x, y); }
    // Repaints the whole client area through `paint` and answers its pixels.
    std::vector<uint32_t> show(std::function<void(HWND)> paint) {
        paint_ = std::move(paint);
        InvalidateRect(window_.get(), nullptr, TRUE);
        window_.pump();
        UpdateWindow(window_.get());
        return window_.pixels();
    }

    // The client pixels that differ from Pattern(column(x), row(y)); the first one is reported.
    // A negative column or row leaves the pixel out.
    template <typename Column, typename Row>
    int mismatches(const std::vector<uint32_t>& pixels, Column column, Row row) const {
        const RECT c = client();
        int wrong = 0;
        for (int y = 0; y < c.bottom; ++y) {
            for (int x = 0; x < c.right; ++x) {
                if (column(x) < 0 || row(y) < 0) continue;
                const uint32_t want = Pattern(column(x), row(y)), got = pixel(pixels, x, y);
                if (got != want && wrong++ == 0)
                    ADD_FAILURE() << "client (" << x << ", " << y << ") shows " << std::hex << got << ", not "
                                  << want << std::dec << " of image (" << column(x) << ", " << row(y) << ")";
            }
        }
        return wrong;
    }

private:
    TestWindow window_;
    std::function<void(HWND)> paint_;
};

}  // namespace vxtest

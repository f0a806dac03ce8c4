// ink.hpp - where the black pixels of a 1-bit bitmap lie, for the text tests, which check the
// structure of what fonts draw (where the ink is, how many lines) and never a glyph's pixels:
// Ink (the box around the black pixels and their count), InkOf (of a whole monochrome bitmap
// or a band of its rows) and Picture (the bitmap as rows of '#' and '.', for failure messages).
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "gdi_support.hpp"

namespace vxtest {

struct Ink {
    int left = INT_MAX, top = INT_MAX, right = INT_MIN, bottom = INT_MIN;  // right, bottom exclusive
    int64_t pixels = 0;
    bool any() const { return pixels > 0; }
};

// A monochrome bitmap's bits, top down, as 0/1 per pixel (1: white, the bitmap's second colour).
struct MonoRows {
    explicit MonoRows(HBITMAP bitmap) {
        BITMAP info{};
        GetObjectA(bitmap, sizeof info, &info);
        width = info.bmWidth;
        height = info.bmHeight;
        stride = info.bmWidthBytes;
        bytes = BitmapBytes(bitmap);
    }
    bool black(int x, int y) const {
        return ((bytes[static_cast<size_t>(y) * stride + x / 8] >> (7 - x % 8)) & 1) == 0;
    }
    int width = 0, height = 0, stride = 0;
    std::vector<uint8_t> bytes;
};

// The black pixels of rows [top, bottom) of a monochrome bitmap (all rows by default).
inline Ink InkOf(const MonoRows& rows, int top = 0, int bottom = INT_MAX) {
    Ink ink;
    for (int y = std::max(top, 0); y < std::min(bottom, rows.height); ++y)
        for (int x = 0; x < rows.width; ++x)
            if (rows.black(x, y)) {
                ink.left = std::min(ink.left, x);
                ink.right = std::max(ink.right, x + 1);
                ink.top = std::min(ink.top, y);
                ink.bottom = std::max(ink.bottom, y + 1);
                ++ink.pixels;
            }
    return ink;
}
inline Ink InkOf(HBITMAP bitmap) { return InkOf(MonoRows(bitmap)); }

// Rows of '#' (black) and '.', at most 120 x 60 of them.
inline std::string Picture(const MonoRows& rows) {
    std::string text;
    for (int y = 0; y < std::min(rows.height, 60); ++y) {
        for (int x = 0; x < std::min(rows.width, 120); ++x) text += rows.black(x, y) ? '#' : '.';
        text += '\n';
    }
    return text;
}

}  // namespace vxtest

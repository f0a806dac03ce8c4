// gdi_support.hpp - bitmaps for the GDI conformance tests: Canvas, a bitmap of any depth
// selected into a memory DC of its own, filled from a list of colours and read back as colours
// (GetPixel) or as its device bytes (GetBitmapBits); Show, a grid of colours for failure
// messages; and Mix, a colour a function of a position, for patterns without structure.
//
// Monochrome and 32-bit canvases are device bitmaps (what CreateBitmap makes and a memory DC
// takes on a true-colour screen); other depths are top-down DIB sections with the table given,
// or a table of evenly spread grays. The same code runs against Windows' GDI and ours.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "gdi_guards.hpp"

namespace vxtest {

using Colours = std::vector<COLORREF>;

// A colour that varies with (x, y) with no simple structure.
inline COLORREF Mix(int x, int y) {
    const uint32_t h = (static_cast<uint32_t>(x) * 73856093u) ^ (static_cast<uint32_t>(y) * 19349663u);
    return RGB(h >> 3, h >> 11, h >> 19);
}

// Colours as rows of hexadecimal RRGGBB, for failure messages.
inline std::string Show(const Colours& colours, int width) {
    std::string text;
    char cell[12];
    for (size_t i = 0; i < colours.size(); ++i) {
        const COLORREF c = colours[i];
        std::snprintf(cell, sizeof cell, "%02x%02x%02x%c", GetRValue(c), GetGValue(c), GetBValue(c),
                      (i + 1) % static_cast<size_t>(width) == 0 ? '\n' : ' ');
        text += cell;
    }
    return text;
}

class Canvas {
public:
    Canvas(int width, int height, int bitsPerPixel, std::vector<RGBQUAD> table = {})
        : width_(width), height_(height) {
        if (bitsPerPixel == 1 || bitsPerPixel == 32) {
            bitmap_ = vx::OwnedObject<HBITMAP>(CreateBitmap(width, height, 1, bitsPerPixel, nullptr));
        } else {
            const int entries = bitsPerPixel <= 8 ? 1 << bitsPerPixel : 0;
            if (table.empty())
                for (int i = 0; i < entries; ++i) {
                    const auto v = static_cast<BYTE>(i * 255 / (entries - 1));
                    table.push_back({v, v, v, 0});
                }
            std::vector<uint8_t> info(sizeof(BITMAPINFOHEADER) + table.size() * sizeof(RGBQUAD));
            auto* header = reinterpret_cast<BITMAPINFOHEADER*>(info.data());
            *header = {sizeof(BITMAPINFOHEADER), width, -height, 1, static_cast<WORD>(bitsPerPixel), BI_RGB, 0, 0, 0,
                       static_cast<DWORD>(table.size()), 0};
            if (!table.empty()) std::memcpy(header + 1, table.data(), table.size() * sizeof(RGBQUAD));
            void* bits = nullptr;
            bitmap_ = vx::OwnedObject<HBITMAP>(CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(info.data()),
                                                                DIB_RGB_COLORS, &bits, nullptr, 0));
        }
        EXPECT_NE(bitmap_.get(), nullptr) << width << " x " << height << " at " << bitsPerPixel << " bits";
        previous_ = SelectObject(dc_.get(), bitmap_.get());
        EXPECT_NE(previous_, nullptr);
    }
    ~Canvas() { SelectObject(dc_.get(), previous_); }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    HDC dc() const { return dc_.get(); }
    HBITMAP bitmap() const { return bitmap_.get(); }
    int width() const { return width_; }
    int height() const { return height_; }

    // Sets the pixels, rows top down (width x height colours).
    void fill(const Colours& colours) const {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) SetPixel(dc(), x, y, colours[static_cast<size_t>(y) * width_ + x]);
    }
    // The pixels, rows top down.
    Colours read() const {
        Colours colours;
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) colours.push_back(GetPixel(dc(), x, y));
        return colours;
    }
    // The bitmap's bytes as GetBitmapBits gives them (rows top down, 16-bit padded).
    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> out(static_cast<size_t>(GetBitmapBits(bitmap(), 0, nullptr)));
        GetBitmapBits(bitmap(), static_cast<LONG>(out.size()), out.data());
        return out;
    }

private:
    int width_, height_;
    vx::MemoryDC dc_;
    vx::OwnedObject<HBITMAP> bitmap_{nullptr};
    HGDIOBJ previous_ = nullptr;
};

}  // namespace vxtest

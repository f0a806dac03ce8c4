// bitmap_fixtures.hpp - device bitmaps for the tests of the families built on GDI (the bridge,
// combining, the bitmap turns): owned bitmaps made from a colour function, their pixels read
// back as colours, the colour of a DIB pixel through its table, and VX_NEEDS_GDI, which skips
// a test on Linux while the GDI subset still answers its calls with failure.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "dib_builder.hpp"
#include "gdi_guards.hpp"
#include "vexora.h"

namespace vxtest {

using Bitmap = vx::OwnedObject<HBITMAP>;
using Colour = uint32_t;  // 0xRRGGBB
using ColourAt = std::function<Colour(int x, int y)>;  // y counted from the top

// Whether bitmaps can be made, read, written and blitted: always with the real GDI; on Linux
// once the subset's bitmap, transfer and raster calls are built.
inline bool GdiReady() {
    vx::MemoryDC dc;
    Bitmap probe(CreateBitmap(2, 2, 1, 32, nullptr));
    uint32_t pixels[4] = {0x123456, 0, 0, 0};
    BITMAPINFO info{};
    info.bmiHeader = {40, 2, 2, 1, 32, 0, 0, 0, 0, 0, 0};
    if (!dc || !probe || SetDIBits(dc.get(), probe.get(), 0, 2, pixels, &info, DIB_RGB_COLORS) != 2) return false;
    vx::ObjectSelection in(dc.get(), probe.get());
    return in && BitBlt(dc.get(), 0, 0, 2, 2, nullptr, 0, 0, DSTINVERT) && GetPixel(dc.get(), 0, 1) == 0xA9CBED;
}
#define VX_NEEDS_GDI()                                                                                  \
    do {                                                                                                \
        if (!vxtest::GdiReady()) GTEST_SKIP() << "the GDI subset does not make and blit bitmaps yet"; \
    } while (0)

// 32-bit rows, bottom row first, through GetDIBits on the screen.
inline std::vector<Colour> BitmapColours(HBITMAP bitmap) {
    BITMAP bm{};
    if (GetObjectA(bitmap, sizeof bm, &bm) == 0) return {};
    std::vector<Colour> rows(size_t(bm.bmWidth) * bm.bmHeight);
    BITMAPINFO info{};
    info.bmiHeader = {40, bm.bmWidth, bm.bmHeight, 1, 32, 0, 0, 0, 0, 0, 0};
    vx::WindowDC screen(nullptr);
    GetDIBits(screen.get(), bitmap, 0, UINT(bm.bmHeight), rows.data(), &info, DIB_RGB_COLORS);
    std::vector<Colour> topDown(rows.size());
    for (int y = 0; y < bm.bmHeight; ++y)
        for (int x = 0; x < bm.bmWidth; ++x)
            topDown[size_t(y) * bm.bmWidth + x] = rows[size_t(bm.bmHeight - 1 - y) * bm.bmWidth + x] & 0xFFFFFF;
    return topDown;
}

// A device bitmap of `bits` bits per pixel (1: monochrome) painted with `colour`.
inline Bitmap MakeBitmap(int width, int height, int bits, const ColourAt& colour) {
    Bitmap bitmap(CreateBitmap(width, height, 1, UINT(bits), nullptr));
    std::vector<Colour> rows(size_t(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) rows[size_t(height - 1 - y) * width + x] = colour(x, y);
    BITMAPINFO info{};
    info.bmiHeader = {40, width, height, 1, 32, 0, 0, 0, 0, 0, 0};
    vx::WindowDC screen(nullptr);
    SetDIBits(screen.get(), bitmap.get(), 0, UINT(height), rows.data(), &info, DIB_RGB_COLORS);
    return bitmap;
}

// The colour of pixel (x, y from the top) of a packed DIB of 1, 4, 8 or 24 bits (40-byte header).
inline Colour DibColour(const Bytes& dib, int x, int y) {
    const int width = int(GetU32(dib, 4)), height = int(GetU32(dib, 8)), bits = GetU16(dib, 14);
    const size_t pixels = 40 + Colours(dib) * 4, row = pixels + size_t(height - 1 - y) * Stride(width, bits);
    const auto rgb = [](const uint8_t* p) { return Colour(p[2]) << 16 | p[1] << 8 | p[0]; };
    if (bits == 24) return rgb(&dib.at(row + size_t(x) * 3));
    const unsigned index = (dib.at(row + size_t(x) * bits / 8) >> (8 - bits - x * bits % 8)) & ((1u << bits) - 1);
    return rgb(&dib.at(40 + index * 4));
}

// Every pixel of a DIB or bitmap as colours, top row first.
inline std::vector<Colour> DibColours(const Bytes& dib) {
    std::vector<Colour> out;
    for (int y = 0; y < int(GetU32(dib, 8)); ++y)
        for (int x = 0; x < int(GetU32(dib, 4)); ++x) out.push_back(DibColour(dib, x, y));
    return out;
}

}  // namespace vxtest

// bitmap_fixtures.hpp - for the tests of the families built on GDI: bitmaps painted by a
// colour function and read back as colours, the colours of a DIB through its table, and
// handles that are no bitmap.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "dib_builder.hpp"
#include "gdi_guards.hpp"

namespace vxtest {

using Bitmap = vx::OwnedObject<HBITMAP>;
using Colour = uint32_t;                               // 0xRRGGBB
using ColourAt = std::function<Colour(int x, int y)>;  // y counted from the top

// Moves 32-bit pixels, top row first, out of (or, with `write`, into) a bitmap.
inline std::vector<Colour> Transfer(HBITMAP bitmap, std::vector<Colour> pixels = {}, bool write = false) {
    BITMAP bm{};
    GetObjectA(bitmap, sizeof bm, &bm);
    pixels.resize(size_t(bm.bmWidth) * bm.bmHeight);
    BITMAPINFO info{{40, bm.bmWidth, -bm.bmHeight, 1, 32, 0, 0, 0, 0, 0, 0}, {}};
    vx::WindowDC screen(nullptr);
    if (write) SetDIBits(screen.get(), bitmap, 0, UINT(bm.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    else GetDIBits(screen.get(), bitmap, 0, UINT(bm.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    for (Colour& c : pixels) c &= 0xFFFFFF;
    return pixels;
}
// A device bitmap of `bits` bits per pixel (1: monochrome) painted with `colour`.
inline Bitmap MakeBitmap(int width, int height, int bits, const ColourAt& colour) {
    Bitmap bitmap(CreateBitmap(width, height, 1, UINT(bits), nullptr));
    std::vector<Colour> pixels;
    for (int i = 0; i < width * height; ++i) pixels.push_back(colour(i % width, i / width));
    Transfer(bitmap.get(), pixels, true);
    return bitmap;
}

// A null handle, a deleted bitmap and a palette.
inline std::vector<HBITMAP> NotBitmaps() {
    const HBITMAP deleted = CreateBitmap(4, 4, 1, 1, nullptr);
    return DeleteObject(deleted), std::vector<HBITMAP>{nullptr, deleted, HBITMAP(GetStockObject(DEFAULT_PALETTE))};
}
// The bytes of a block the test now owns (empty for a null handle).
inline Bytes Take(HDIB dib) {
    const Block owned(dib);
    return dib ? BlockBytes(dib) : Bytes{};
}
// A seeded 1-bit DIB with a black and white table.
inline Bytes MonoDib(int width, int height, uint32_t seed) {
    return With(With(SeededDib(width, height, 1, seed), 40, 0), 44, 0xFFFFFF);
}

// Pixels of a packed DIB of 1, 4, 8 or 24 bits (40-byte header), top row first.
inline std::vector<Colour> DibColours(const Bytes& dib) {
    const int width = int(GetU32(dib, 4)), height = int(GetU32(dib, 8)), bits = GetU16(dib, 14);
    const auto rgb = [&](size_t at) { return Colour(dib.at(at + 2)) << 16 | dib.at(at + 1) << 8 | dib.at(at); };
    std::vector<Colour> out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t row = 40 + Colours(dib) * 4 + size_t(height - 1 - y) * Stride(width, bits);
            const size_t at = row + size_t(x) * bits / 8;  // 24 bits: the pixel, else its byte
            const unsigned index = bits == 24 ? 0 : dib.at(at) >> (8 - bits - x * bits % 8) & ((1u << bits) - 1);
            out.push_back(rgb(bits == 24 ? at : 40 + index * 4));
        }
    return out;
}

}  // namespace vxtest

// brushes.cpp - brushes of the Linux GDI subset: CreateSolidBrush, CreatePatternBrush,
// CreateBrushIndirect, and RealizeBrush (raster.hpp), which turns a DC's brush into pixels of
// its surface for the transfers.
//
// A solid brush keeps its colour as given (the high byte too, as Windows answers it back) and
// is drawn as one pixel value: the nearest entry of a paletted surface, with no dithering, as
// Wine draws it; on a 1-bit surface the rule pens follow (an exact colour of the two, else
// the background colour's pixel for the background colour and the other pixel otherwise). A
// pattern brush copies its bitmap's pixels when it is made (later changes to the bitmap do not
// reach it), the whole bitmap, not only its top-left 8 x 8, and tiles from the surface's
// origin. A pattern made from a 1-bit device bitmap keeps bits: 0 is drawn in the DC's text
// colour and 1 in its background colour, and on a 1-bit device bitmap the bits are copied as
// they are. On a 1-bit device bitmap (which has no colours of its own) every colour of a brush,
// solid or pattern, is dithered as Wine dithers it: the pixel is 1 when the colour's gray
// (30 red + 59 green + 11 blue) / 100 reaches 4 x (63 - b) + 2, b the entry of the 8 x 8
// ordered-dither matrix at the pixel (of the surface for a solid brush, of the pattern
// bitmap for a pattern). BS_HATCHED and the DIB pattern styles are not part of the subset:
// they make no brush.
#include <memory>
#include <vector>

#include "platform/posix/gdi/pixel_formats.hpp"
#include "platform/posix/gdi/raster.hpp"

namespace vx::posix::gdi {
namespace {

void PutPixel(uint8_t* row, int x, int bitsPerPixel, uint32_t v) {
    switch (bitsPerPixel) {
        case 1: {
            const auto bit = static_cast<uint8_t>(0x80 >> (x & 7));
            row[x >> 3] = static_cast<uint8_t>(v & 1 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
            break;
        }
        case 4: {
            uint8_t& b = row[x >> 1];
            b = static_cast<uint8_t>((x & 1) ? (b & 0xF0) | (v & 15) : (b & 0x0F) | (v & 15) << 4);
            break;
        }
        default:
            for (int i = 0; i < bitsPerPixel / 8; ++i)
                row[static_cast<size_t>(x) * static_cast<size_t>(bitsPerPixel / 8) + static_cast<size_t>(i)] =
                    static_cast<uint8_t>(v >> (8 * i));
    }
}

// The 8 x 8 ordered-dither (Bayer) matrix, rows top down.
constexpr uint8_t kBayer[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},  {48, 16, 56, 24, 50, 18, 58, 26}, {12, 44, 4, 36, 14, 46, 6, 38},
    {60, 28, 52, 20, 62, 30, 54, 22}, {3, 35, 11, 43, 1, 33, 9, 41},  {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37},  {63, 31, 55, 23, 61, 29, 53, 21},
};

// The dithered bit of a colour at (x, y) on a 1-bit device bitmap.
uint32_t DitheredBit(COLORREF c, int x, int y) {
    const int gray = (30 * GetRValue(c) + 59 * GetGValue(c) + 11 * GetBValue(c)) / 100;
    return gray >= 4 * (63 - kBayer[y & 7][x & 7]) + 2 ? 1 : 0;
}

HBRUSH AddBrush(std::unique_ptr<Brush> brush) {
    try {
        return static_cast<HBRUSH>(Objects().add(std::move(brush)));
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

BlitPattern RealizeBrush(const ObjectTable::Access& objects, const DeviceContext& context, const BlitTarget& target) {
    BlitPattern pattern;
    const Brush* brush = objects.find<Brush>(context.state.brush);
    if (brush == nullptr || (brush->style != BS_SOLID && brush->style != BS_PATTERN)) {
        pattern.none = true;
        return pattern;
    }
    const Surface& s = target.surface;
    if (brush->style == BS_SOLID) {
        const COLORREF colour = ResolveColour(objects, context.state, brush->colour);
        if (!target.monoDevice) {
            pattern.pixel = SolidPixel(target, colour);
            return pattern;
        }
        pattern.solid = false;
        pattern.width = pattern.height = 8;
        pattern.stride = 1 + 8;
        pattern.tile.assign(pattern.stride * 8, 0);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                PutPixel(&pattern.tile[pattern.stride * static_cast<size_t>(y)], x, 1, DitheredBit(colour, x, y));
        return pattern;
    }
    // Setting pixels of a tile in a surface's format is not on the per-row path: the tile is
    // made once per transfer, and the rows then copy from it.
    pattern.solid = false;
    pattern.width = brush->patternWidth;
    pattern.height = brush->patternHeight;
    pattern.stride = static_cast<size_t>((int64_t{pattern.width} * s.bitsPerPixel + 7) / 8 + 8);
    pattern.tile.assign(pattern.stride * static_cast<size_t>(pattern.height), 0);
    const ChannelMasks masks =
        ChannelMasks::Of({s.bitsPerPixel, s.colours, s.colourCount, s.redMask, s.greenMask, s.blueMask});
    const auto pixelOf = [&](COLORREF c) -> uint32_t {
        c &= 0xFFFFFF;
        if (s.bitsPerPixel <= 8) return NearestEntry(s.colours, s.colourCount, c);
        return EncodeChannels(masks, c);
    };
    const uint32_t text = pixelOf(target.text), background = pixelOf(target.background);
    for (int y = 0; y < pattern.height; ++y) {
        uint8_t* row = pattern.tile.data() + static_cast<size_t>(y) * pattern.stride;
        for (int x = 0; x < pattern.width; ++x) {
            const COLORREF c = brush->pattern[static_cast<size_t>(y) * pattern.width + x];
            uint32_t v;
            if (!brush->patternMonochrome) v = target.monoDevice ? DitheredBit(c, x, y) : pixelOf(c);
            else if (target.monoDevice) v = c & 1;
            else v = c & 1 ? background : text;
            PutPixel(row, x, s.bitsPerPixel, v);
        }
    }
    return pattern;
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HBRUSH CreateSolidBrush(COLORREF colour) {
    try {
        auto brush = std::make_unique<Brush>();
        brush->style = BS_SOLID;
        brush->colour = colour;
        return AddBrush(std::move(brush));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HBRUSH CreatePatternBrush(HBITMAP bitmapHandle) {
    try {
        auto brush = std::make_unique<Brush>();
        {
            auto objects = Objects();
            Bitmap* bitmap = objects.find<Bitmap>(bitmapHandle);
            if (bitmap == nullptr) return nullptr;
            const Surface s = bitmap->surface();
            if (s.bits == nullptr) return nullptr;
            brush->style = BS_PATTERN;
            brush->patternWidth = s.width;
            brush->patternHeight = s.height;
            brush->patternMonochrome = !bitmap->section && bitmap->bitsPerPixel == 1;
            static constexpr PixelFormat kBgr{32, nullptr, 0, 0xFF0000, 0x00FF00, 0x0000FF};
            const RGBQUAD bits[2] = {{0, 0, 0, 0}, {255, 255, 255, 0}};
            PixelFormat from{s.bitsPerPixel, s.colours, s.colourCount, s.redMask, s.greenMask, s.blueMask};
            if (brush->patternMonochrome) {
                from.colours = bits;
                from.colourCount = 2;
            }
            RowConverter convert(from, kBgr);
            std::vector<uint8_t> row(static_cast<size_t>(s.width) * 4);
            brush->pattern.reserve(static_cast<size_t>(s.width) * static_cast<size_t>(s.height));
            for (int y = 0; y < s.height; ++y) {
                convert(s.bits + static_cast<ptrdiff_t>(y) * s.stride, 0, row.data(), 0, s.width);
                for (int x = 0; x < s.width; ++x) {
                    const uint8_t* p = row.data() + 4 * static_cast<size_t>(x);
                    const COLORREF c = RGB(p[2], p[1], p[0]);
                    brush->pattern.push_back(brush->patternMonochrome ? (c != 0 ? 1 : 0) : c);
                }
            }
        }
        return AddBrush(std::move(brush));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HBRUSH CreateBrushIndirect(const LOGBRUSH* brush) {
    if (brush == nullptr) return nullptr;
    switch (brush->lbStyle) {
        case BS_SOLID: return CreateSolidBrush(brush->lbColor);
        case BS_NULL: {
            try {
                return static_cast<HBRUSH>(StockObject(NULL_BRUSH));
            } catch (...) {
                return nullptr;
            }
        }
        case BS_PATTERN: return CreatePatternBrush(reinterpret_cast<HBITMAP>(brush->lbHatch));
        default: return nullptr;
    }
}

}  // extern "C"

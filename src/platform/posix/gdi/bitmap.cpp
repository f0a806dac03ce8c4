// bitmap.cpp - device bitmaps of the Linux subset and single pixels: Bitmap::surface,
// DcSurface, PixelColour, ColourPixel, ResolveColour; CreateBitmap, CreateBitmapIndirect,
// CreateCompatibleBitmap, GetObjectA, GetBitmapBits, SetBitmapBits, GetPixel and SetPixel.
//
// A device bitmap keeps its rows top down, each padded to 16 bits, exactly as GetBitmapBits
// hands them out. Its depth is rounded up to one GDI draws on (2 and 3 bits become 4, 5 to 7
// become 8, and so on; 0 becomes 4 as under Windows), and the bits past the last pixel of a
// row are kept zero, whatever SetBitmapBits or CreateBitmap is given: Windows reads them back
// as zeros. A width or height of 0 gives the stock 1 x 1 monochrome bitmap, a negative one its
// magnitude; a row whose bit count does not fit an int, or a bitmap of more than 2^31 - 1
// bytes, is refused.
//
// GetObjectA answers each kind the way Windows does: a bitmap needs room for the whole BITMAP
// (a DIB section fills a DIBSECTION when there is room for one), a pen for the whole LOGPEN,
// while a brush, a font and a palette copy as many bytes of their LOGBRUSH, LOGFONTA or entry
// count as there is room for; regions and DCs answer 0.
//
// GetBitmapBits and SetBitmapBits move a DIB section's rows as they are, top row first, each
// cut to the 16-bit padded width of a device bitmap of its size.
//
// A pixel colour is the nearest colour the surface holds: the nearest table entry, or the
// channels cut to the surface's bits. SetPixel answers the colour it stored.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/objects.hpp"
#include "platform/posix/gdi/pixel_formats.hpp"

namespace vx::posix::gdi {
namespace {

// The depth CreateBitmap makes of a requested one; 0 when there is none.
int RoundedDepth(UINT bitsPerPixel) {
    if (bitsPerPixel == 1) return 1;
    if (bitsPerPixel <= 4) return 4;
    if (bitsPerPixel <= 8) return 8;
    if (bitsPerPixel <= 16) return 16;
    if (bitsPerPixel <= 24) return 24;
    if (bitsPerPixel <= 32) return 32;
    return 0;
}

// Zeroes the bits after the last pixel of each row of a device bitmap.
void ClearPadding(Bitmap& bitmap) {
    const int64_t usedBits = int64_t{bitmap.width} * bitmap.bitsPerPixel;
    const auto fullBytes = static_cast<size_t>(usedBits / 8);
    const int partialBits = static_cast<int>(usedBits % 8);
    for (int y = 0; y < bitmap.height; ++y) {
        uint8_t* row = bitmap.pixels.data() + static_cast<size_t>(y) * bitmap.widthBytes;
        size_t from = fullBytes;
        if (partialBits != 0) row[from++] &= static_cast<uint8_t>(0xFF00 >> partialBits);
        std::memset(row + from, 0, bitmap.widthBytes - from);
    }
}

// A device bitmap of a requested size and depth, its rows from `bits` (16-bit padded) or
// zero; the stock bitmap for an empty size, null when refused.
HBITMAP MakeDeviceBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void* bits) {
    if (planes != 1) return nullptr;
    const int depth = RoundedDepth(bitsPerPixel);
    if (depth == 0) return nullptr;
    if (width == 0 || height == 0) return DefaultBitmap();
    const int64_t w = std::llabs(int64_t{width}), h = std::llabs(int64_t{height});
    const int64_t rowBits = w * depth;
    if (rowBits > INT_MAX - 15) return nullptr;
    const int64_t widthBytes = (rowBits + 15) / 16 * 2;
    if (widthBytes * h > INT_MAX) return nullptr;
    try {
        auto bitmap = std::make_unique<Bitmap>();
        bitmap->width = static_cast<int>(w);
        bitmap->height = static_cast<int>(h);
        bitmap->bitsPerPixel = depth;
        bitmap->widthBytes = static_cast<int>(widthBytes);
        bitmap->colours = DeviceColours(depth);
        if (bits != nullptr) {
            const auto* first = static_cast<const uint8_t*>(bits);
            bitmap->pixels.assign(first, first + widthBytes * h);
            ClearPadding(*bitmap);
        } else {
            bitmap->pixels.assign(static_cast<size_t>(widthBytes * h), 0);
        }
        return static_cast<HBITMAP>(Objects().add(std::move(bitmap)));
    } catch (...) {
        return nullptr;
    }
}

template <typename T>
int CopyOut(const T& value, int size, void* out) {
    if (out == nullptr) return static_cast<int>(sizeof(T));
    if (size < static_cast<int>(sizeof(T))) return 0;
    std::memcpy(out, &value, sizeof(T));
    return static_cast<int>(sizeof(T));
}

// Copies as much of `value` as `size` bytes hold (brushes and palettes).
template <typename T>
int CopyPart(const T& value, int size, void* out) {
    if (out == nullptr) return static_cast<int>(sizeof(T));
    const int n = size < 0 ? 0 : std::min(size, static_cast<int>(sizeof(T)));
    std::memcpy(out, &value, static_cast<size_t>(n));
    return n;
}

int BitmapObject(const Bitmap& bitmap, int size, void* out) {
    BITMAP bm{};
    bm.bmWidth = bitmap.width;
    bm.bmHeight = bitmap.height;
    bm.bmWidthBytes = bitmap.widthBytes;
    bm.bmPlanes = 1;
    bm.bmBitsPixel = static_cast<WORD>(bitmap.bitsPerPixel);
    if (!bitmap.section) return CopyOut(bm, size, out);
    bm.bmBits = bitmap.sectionBits;
    bm.bmWidthBytes = static_cast<LONG>((int64_t{bitmap.width} * bitmap.bitsPerPixel + 31) / 32 * 4);
    if (out == nullptr || size < static_cast<int>(sizeof(DIBSECTION))) return CopyOut(bm, size, out);
    DIBSECTION ds{};
    ds.dsBm = bm;
    ds.dsBmih = *bitmap.section;
    ds.dsBmih.biHeight = bitmap.height;  // a top-down section's too, as Windows answers under Wine
    std::memcpy(ds.dsBitfields, bitmap.sectionMasks, sizeof ds.dsBitfields);
    return CopyOut(ds, size, out);
}

// Whether a device point of a DC is drawn on: inside its surface and its clipping region.
bool Visible(const DcState& state, const Surface& surface, POINT p) {
    if (p.x < 0 || p.y < 0 || p.x >= surface.width || p.y >= surface.height) return false;
    auto inside = [&](const std::vector<RECT>& rects) {
        return std::any_of(rects.begin(), rects.end(), [&](const RECT& r) {
            return p.x >= r.left && p.x < r.right && p.y >= r.top && p.y < r.bottom;
        });
    };
    if (surface.visible != nullptr && !inside(*surface.visible)) return false;
    return !state.clip || inside(*state.clip);
}

uint8_t* RowOf(const Surface& surface, int y) { return surface.bits + static_cast<ptrdiff_t>(y) * surface.stride; }

uint32_t ReadPixel(const Surface& surface, int x, int y) {
    const uint8_t* row = RowOf(surface, y);
    switch (surface.bitsPerPixel) {
        case 1: return (row[x >> 3] >> (7 - (x & 7))) & 1;
        case 4: return (row[x >> 1] >> ((x & 1) ? 0 : 4)) & 15;
        case 8: return row[x];
        case 16: return row[2 * x] | uint32_t{row[2 * x + 1]} << 8;
        case 24: return row[3 * x] | uint32_t{row[3 * x + 1]} << 8 | uint32_t{row[3 * x + 2]} << 16;
        default: {
            uint32_t v;
            std::memcpy(&v, row + 4 * static_cast<ptrdiff_t>(x), 4);
            return v;
        }
    }
}

void WritePixel(const Surface& surface, int x, int y, uint32_t value) {
    uint8_t* row = RowOf(surface, y);
    switch (surface.bitsPerPixel) {
        case 1: {
            const auto bit = static_cast<uint8_t>(0x80 >> (x & 7));
            row[x >> 3] = static_cast<uint8_t>(value & 1 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
            break;
        }
        case 4: {
            uint8_t& b = row[x >> 1];
            b = static_cast<uint8_t>((x & 1) ? (b & 0xF0) | (value & 15) : (b & 0x0F) | (value & 15) << 4);
            break;
        }
        case 8: row[x] = static_cast<uint8_t>(value); break;
        case 16:
            row[2 * x] = static_cast<uint8_t>(value);
            row[2 * x + 1] = static_cast<uint8_t>(value >> 8);
            break;
        case 24:
            row[3 * x] = static_cast<uint8_t>(value);
            row[3 * x + 1] = static_cast<uint8_t>(value >> 8);
            row[3 * x + 2] = static_cast<uint8_t>(value >> 16);
            break;
        default: std::memcpy(row + 4 * static_cast<ptrdiff_t>(x), &value, 4); break;
    }
}

PixelFormat FormatOf(const Surface& surface) {
    return {surface.bitsPerPixel, surface.colours, surface.colourCount, surface.redMask, surface.greenMask,
            surface.blueMask};
}

}  // namespace

Surface Bitmap::surface() {
    Surface s;
    s.width = width;
    s.height = height;
    s.bitsPerPixel = bitsPerPixel;
    s.colours = colours.empty() ? nullptr : colours.data();
    s.colourCount = static_cast<int>(colours.size());
    if (!section) {
        s.bits = pixels.empty() ? nullptr : pixels.data();
        s.stride = widthBytes;
        return s;
    }
    const ptrdiff_t stride = (static_cast<ptrdiff_t>(width) * bitsPerPixel + 31) / 32 * 4;
    const bool bottomUp = section->biHeight > 0;
    s.bits = bottomUp ? sectionBits + stride * (height - 1) : sectionBits;
    s.stride = bottomUp ? -stride : stride;
    s.redMask = sectionMasks[0];
    s.greenMask = sectionMasks[1];
    s.blueMask = sectionMasks[2];
    return s;
}

Surface DcSurface(const ObjectTable::Access& objects, const DeviceContext& context) {
    if (context.window != nullptr) {
        Surface s = context.window->surface();
        if (context.visible) s.visible = &*context.visible;
        return s;
    }
    if (context.kind() != ObjectKind::MemoryDC) return {};
    Bitmap* bitmap = objects.find<Bitmap>(context.state.bitmap);
    return bitmap != nullptr ? bitmap->surface() : Surface{};
}

COLORREF PixelColour(const Surface& surface, uint32_t pixel) {
    if (surface.bitsPerPixel <= 8) {
        if (static_cast<int>(pixel) >= surface.colourCount) return 0;
        const RGBQUAD& q = surface.colours[pixel];
        return RGB(q.rgbRed, q.rgbGreen, q.rgbBlue);
    }
    return DecodeChannels(ChannelMasks::Of(FormatOf(surface)), pixel);
}

uint32_t ColourPixel(const Surface& surface, COLORREF colour) {
    if (surface.bitsPerPixel <= 8) return NearestEntry(surface.colours, surface.colourCount, colour);
    return EncodeChannels(ChannelMasks::Of(FormatOf(surface)), colour);
}

COLORREF ResolveColour(const ObjectTable::Access& objects, const DcState& state, COLORREF colour) {
    if ((colour & 0x01000000) != 0) {
        const Palette* palette = objects.find<Palette>(state.palette);
        const UINT index = colour & 0xFFFF;
        if (palette == nullptr || palette->entries.empty()) return 0;
        const PALETTEENTRY& e = palette->entries[index < palette->entries.size() ? index : 0];
        return RGB(e.peRed, e.peGreen, e.peBlue);
    }
    return colour & 0xFFFFFF;
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void* bits) {
    return MakeDeviceBitmap(width, height, planes, bitsPerPixel, bits);
}

VXPLATFORMAPI HBITMAP CreateBitmapIndirect(const BITMAP* bitmap) {
    if (bitmap == nullptr) return nullptr;
    return MakeDeviceBitmap(bitmap->bmWidth, bitmap->bmHeight, bitmap->bmPlanes, bitmap->bmBitsPixel, bitmap->bmBits);
}

VXPLATFORMAPI HBITMAP CreateCompatibleBitmap(HDC dc, int width, int height) {
    int depth = 0;
    try {
        auto objects = Objects();
        const DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return nullptr;
        if (context->kind() == ObjectKind::MemoryDC) {
            const Bitmap* selected = objects.find<Bitmap>(context->state.bitmap);
            depth = selected != nullptr ? selected->bitsPerPixel : 1;
            // A DC drawing on a DIB section makes DIB sections of its format.
            if (selected != nullptr && selected->section && width != 0 && height != 0) {
                std::unique_ptr<Bitmap> section = SectionLike(*selected, std::abs(width), std::abs(height));
                return section != nullptr ? static_cast<HBITMAP>(objects.add(std::move(section))) : nullptr;
            }
        } else {
            depth = ScreenBitsPerPixel();
        }
    } catch (...) {
        return nullptr;
    }
    return MakeDeviceBitmap(width, height, 1, static_cast<UINT>(depth), nullptr);
}

VXPLATFORMAPI int GetObjectA(HGDIOBJ handle, int size, LPVOID out) {
    auto objects = Objects();
    const GdiObject* object = objects.find(handle);
    if (object == nullptr) return 0;
    switch (object->kind()) {
        case ObjectKind::Bitmap: return BitmapObject(*static_cast<const Bitmap*>(object), size, out);
        case ObjectKind::Palette: {
            const auto count = static_cast<WORD>(static_cast<const Palette*>(object)->entries.size());
            return CopyPart(count, size, out);
        }
        case ObjectKind::Pen: {
            const auto* pen = static_cast<const Pen*>(object);
            const LOGPEN logical{pen->style, {pen->width, 0}, pen->colour};
            return CopyOut(logical, size, out);
        }
        case ObjectKind::Brush: {
            const auto* brush = static_cast<const Brush*>(object);
            const LOGBRUSH logical{brush->style, brush->style == BS_SOLID ? brush->colour : 0, 0};
            return CopyPart(logical, size, out);
        }
        case ObjectKind::Font: return CopyPart(static_cast<const Font*>(object)->logical, size, out);
        default: return 0;
    }
}

VXPLATFORMAPI LONG GetBitmapBits(HBITMAP handle, LONG size, LPVOID bits) {
    auto objects = Objects();
    Bitmap* bitmap = objects.find<Bitmap>(handle);
    if (bitmap == nullptr) return 0;
    const LONG total = bitmap->widthBytes * bitmap->height;
    if (bits == nullptr) return total;
    if (size < 0 || size > total) size = total;
    auto* out = static_cast<uint8_t*>(bits);
    if (!bitmap->section) {
        std::memcpy(out, bitmap->pixels.data(), static_cast<size_t>(size));
        return size;
    }
    // A DIB section's rows, top down, each cut to the 16-bit padded width as they are.
    const Surface surface = bitmap->surface();
    for (LONG done = 0, y = 0; done < size; ++y) {
        const LONG n = std::min<LONG>(bitmap->widthBytes, size - done);
        std::memcpy(out + done, RowOf(surface, static_cast<int>(y)), static_cast<size_t>(n));
        done += n;
    }
    return size;
}

VXPLATFORMAPI LONG SetBitmapBits(HBITMAP handle, DWORD size, const void* bits) {
    auto objects = Objects();
    Bitmap* bitmap = objects.find<Bitmap>(handle);
    if (bitmap == nullptr || bits == nullptr) return 0;
    const auto total = static_cast<DWORD>(bitmap->widthBytes) * static_cast<DWORD>(bitmap->height);
    if (size > total) size = total;
    const auto* in = static_cast<const uint8_t*>(bits);
    if (!bitmap->section) {
        std::memcpy(bitmap->pixels.data(), in, size);
        ClearPadding(*bitmap);
        return static_cast<LONG>(size);
    }
    const Surface surface = bitmap->surface();
    for (DWORD done = 0, y = 0; done < size; ++y) {
        const DWORD n = std::min<DWORD>(static_cast<DWORD>(bitmap->widthBytes), size - done);
        std::memcpy(RowOf(surface, static_cast<int>(y)), in + done, n);
        done += n;
    }
    return static_cast<LONG>(size);
}

VXPLATFORMAPI COLORREF GetPixel(HDC dc, int x, int y) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return CLR_INVALID;
    const Surface surface = DcSurface(objects, *context);
    const POINT p = ToDevice(context->state, {x, y});
    if (surface.bits == nullptr || !Visible(context->state, surface, p)) return CLR_INVALID;
    return PixelColour(surface, ReadPixel(surface, p.x, p.y));
}

VXPLATFORMAPI COLORREF SetPixel(HDC dc, int x, int y, COLORREF colour) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return CLR_INVALID;
    if (MetaRecorder* recorder = RecorderOf(*context)) {
        recorder->SetPixel(x, y, colour);
        if (!recorder->keepsState()) return 1;  // TRUE, not a colour
    }
    const Surface surface = DcSurface(objects, *context);
    if (surface.bits == nullptr) return CLR_INVALID;
    const uint32_t pixel = ColourPixel(surface, ResolveColour(objects, context->state, colour));
    const POINT p = ToDevice(context->state, {x, y});
    if (Visible(context->state, surface, p)) WritePixel(surface, p.x, p.y, pixel);
    return PixelColour(surface, pixel);
}

}  // extern "C"

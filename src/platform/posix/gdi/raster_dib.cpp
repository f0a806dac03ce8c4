// raster_dib.cpp - transfers from DIB bits of the Linux GDI subset: SetDIBitsToDevice and
// StretchDIBits, through the engine of raster.cpp.
//
// The bits are read as a source surface: 1, 4, 8, 16, 24 or 32 bits per pixel, top-down or
// bottom-up, BI_RGB or BI_BITFIELDS (16 and 32 bits), the colour table given as colours
// (DIB_RGB_COLORS) or as indices into the DC's palette (DIB_PAL_COLORS; an index past its end
// wraps round, as Wine takes it). Both calls take the
// source rectangle's y from the bottom of the image, for top-down DIBs too: source row sy is
// the image row H - sy - height (counting from the top), as Wine does.
//
// SetDIBitsToDevice copies without stretching; only the scan lines start ... start + lines - 1
// are in `bits` (counted from the bottom; a top-down DIB holds them top row first). Its
// answer is Wine's: for a top-down DIB the number of lines given (0 when there are more than
// the image has or when start is past it); for a bottom-up DIB the lines up to the source
// rectangle's top, at most the lines that exist: min(lines, H - start, sy + height - start),
// not below 0. StretchDIBits answers the image's height when it drew (or had nothing visible
// to draw on), and 0 when the source rectangle is empty or lies wholly outside the image;
// for a top-down DIB and any operation but SRCCOPY it answers the header's negative height.
// The header is trusted for the size of the bits, as Windows trusts it.
//
// On a printer DC, StretchDIBits places the source rectangle on the page as one image
// (printer_device.hpp) instead of running the raster engine.
//
// A metafile DC's recorder gets a call once its header has been read; a Windows metafile DC
// then answers the source height (StretchDIBits) or the lines given (SetDIBitsToDevice),
// whatever the rectangles.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/printer_device.hpp"
#include "platform/posix/gdi/raster.hpp"
#include "platform/posix/gdi/rop.hpp"

namespace vx::posix::gdi {
namespace {

// A DIB's pixels as a source surface, rows top down.
struct DibSource {
    Surface surface;
    std::vector<RGBQUAD> colours;
    int height = 0;  // |biHeight|
    bool topDown = false;
    ptrdiff_t stride = 0;
};

bool ReadDib(const ObjectTable::Access& objects, const DcState& state, const BITMAPINFO* info, UINT usage,
             DibSource& dib) {
    if (info == nullptr) return false;
    const BITMAPINFOHEADER& h = info->bmiHeader;
    if (h.biSize < sizeof(BITMAPINFOHEADER) || h.biWidth <= 0 || h.biHeight == 0 || h.biPlanes != 1) return false;
    const int bpp = h.biBitCount;
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return false;
    if (h.biCompression != BI_RGB && !(h.biCompression == BI_BITFIELDS && (bpp == 16 || bpp == 32))) return false;
    if (h.biHeight == INT32_MIN) return false;
    const int64_t stride = (int64_t{h.biWidth} * bpp + 31) / 32 * 4;
    if (stride > INT32_MAX) return false;
    const auto* after = reinterpret_cast<const uint8_t*>(info) + h.biSize;
    Surface& s = dib.surface;
    s.width = h.biWidth;
    s.bitsPerPixel = bpp;
    dib.height = h.biHeight < 0 ? -h.biHeight : h.biHeight;
    dib.topDown = h.biHeight < 0;
    dib.stride = static_cast<ptrdiff_t>(stride);
    if (bpp <= 8) {
        const int entries = h.biClrUsed != 0 && h.biClrUsed < (1u << bpp) ? static_cast<int>(h.biClrUsed) : 1 << bpp;
        if (usage == DIB_PAL_COLORS) {
            const Palette* palette = objects.find<Palette>(state.palette);
            WORD index[256];
            std::memcpy(index, after, sizeof(WORD) * static_cast<size_t>(entries));
            for (int i = 0; i < entries; ++i) {
                PALETTEENTRY e{0, 0, 0, 0};
                if (palette != nullptr && !palette->entries.empty())
                    e = palette->entries[index[i] % palette->entries.size()];
                dib.colours.push_back({e.peBlue, e.peGreen, e.peRed, 0});
            }
        } else {
            dib.colours.resize(static_cast<size_t>(entries));
            std::memcpy(dib.colours.data(), after, sizeof(RGBQUAD) * dib.colours.size());
        }
        s.colours = dib.colours.data();
        s.colourCount = entries;
    } else if (h.biCompression == BI_BITFIELDS) {
        uint32_t masks[3];
        std::memcpy(masks, reinterpret_cast<const uint8_t*>(info) + sizeof(BITMAPINFOHEADER), sizeof masks);
        s.redMask = masks[0];
        s.greenMask = masks[1];
        s.blueMask = masks[2];
    }
    return true;
}

// `lines` rows of `bits` holding image rows [first, first + lines) (top-down numbering),
// stored top row first (top-down DIB) or bottom row first, as a surface of those rows.
Surface Band(const DibSource& dib, const void* bits, int first, int lines) {
    Surface s = dib.surface;
    const auto* b = static_cast<const uint8_t*>(bits);
    s.height = lines;
    s.bits = const_cast<uint8_t*>(dib.topDown ? b : b + (lines - 1) * dib.stride);
    s.stride = dib.topDown ? dib.stride : -dib.stride;
    (void)first;
    return s;
}

}  // namespace
}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                                    UINT start, UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) {
    try {
        if (bits == nullptr) return 0;
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return 0;
        DibSource dib;
        if (!ReadDib(objects, context->state, info, usage, dib)) return 0;
        if (MetaRecorder* recorder = RecorderOf(*context)) {
            recorder->SetDIBitsToDevice(x, y, width, height, sourceX, sourceY, start, lines, bits, info, usage);
            if (!recorder->keepsState()) return static_cast<int>(lines);
        }
        if (lines == 0 || width == 0) return 0;
        const int64_t H = dib.height;
        if (start >= H) return 0;
        int64_t given = lines, answer;
        if (dib.topDown) {
            if (lines > H) return 0;
            answer = lines;
        } else {
            given = std::min<int64_t>(lines, H - start);
            answer = std::clamp<int64_t>(int64_t{sourceY} + int64_t{height} - start, 0, given);
        }
        // Image rows (top-down) the band holds, without those above the image.
        int64_t first = H - start - given;
        int64_t skip = 0;
        if (first < 0) {
            skip = -first;
            first = 0;
        }
        const auto visibleLines = static_cast<int>(given - skip);
        Surface band = Band(dib, bits, static_cast<int>(first), static_cast<int>(given));
        if (dib.topDown) band.bits += skip * dib.stride;
        band.height = visibleLines;
        const BlitTarget target = TargetOf(objects, *context);
        BlitSource source{band, false, target.background};
        const int64_t w = std::min<int64_t>(width, INT32_MAX), h = std::min<int64_t>(height, INT32_MAX);
        const int64_t top = H - int64_t{sourceY} - h - first;
        if (top < INT32_MIN || top + h > INT32_MAX) return static_cast<int>(answer);
        const POINT origin = ToDevice(context->state, POINT{x, y});
        BlitGeometry geometry;
        geometry.dest = RECT{origin.x, origin.y, static_cast<LONG>(std::min<int64_t>(origin.x + w, INT32_MAX)),
                             static_cast<LONG>(std::min<int64_t>(origin.y + h, INT32_MAX))};
        geometry.source = RECT{sourceX, static_cast<LONG>(top), static_cast<LONG>(std::min<int64_t>(sourceX + w, INT32_MAX)),
                               static_cast<LONG>(top + h)};
        geometry.rop = 0xCC;
        RunBlit(target, &source, nullptr, geometry);
        return static_cast<int>(answer);
    } catch (...) {
        return 0;
    }
}

VXPLATFORMAPI int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY,
                                int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                                UINT usage, DWORD rop) {
    try {
        if (bits == nullptr) return 0;
        std::vector<uint8_t> expandedInfo, expandedBits;
        if (ExpandRleForPrinter(dc, info, bits, usage, expandedInfo, expandedBits))
            return StretchDIBits(dc, x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight,
                                 expandedBits.data(), reinterpret_cast<const BITMAPINFO*>(expandedInfo.data()), usage,
                                 rop);
        const auto code = static_cast<uint8_t>(rop >> 16);
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return 0;
        DibSource dib;
        if (!ReadDib(objects, context->state, info, usage, dib)) return 0;
        if (MetaRecorder* recorder = RecorderOf(*context)) {
            recorder->StretchDIBits(x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight, bits, info, usage,
                                    rop);
            if (!recorder->keepsState()) return sourceHeight;
        }
        if (sourceWidth == 0 || sourceHeight == 0) return 0;
        const int64_t H = dib.height;
        // The source rectangle in image rows from the top.
        const int64_t left = sourceX, right = int64_t{sourceX} + sourceWidth;
        // Rows are counted from the bottom: a positive height covers bottom-up rows
        // [sy, sy + height), a negative one [sy + height, sy), mirrored (unlike columns, whose
        // negative width covers (sx + width, sx]).
        const int64_t shift = sourceHeight < 0 ? 1 : 0;
        const int64_t top = H - sourceY - sourceHeight - shift, bottom = H - sourceY - shift;
        // The pixels covered: [from, to) a side, a negative extent covering (to, from].
        const auto covers = [](int64_t from, int64_t to, int64_t limit) {
            const int64_t low = to >= from ? from : to + 1, high = to >= from ? to : from + 1;
            return high > 0 && low < limit;
        };
        if (!covers(left, right, dib.surface.width) || !covers(top, bottom, H)) return 0;
        if (std::max({std::abs(left), std::abs(right), std::abs(top), std::abs(bottom)}) > INT32_MAX) return 0;
        const int answer = code == 0xCC || !dib.topDown ? static_cast<int>(H) : info->bmiHeader.biHeight;
        const RECT sourceRect{static_cast<LONG>(left), static_cast<LONG>(top), static_cast<LONG>(right),
                              static_cast<LONG>(bottom)};
        if (context->printer != nullptr) {  // painted onto the page as one image
            const Surface image = Band(dib, bits, 0, static_cast<int>(H));
            const RECT dest = ToDeviceRect(context->state, x, y, width, height);
            return PaintDibOnPrinter(*context->printer, context->state, image, dest, sourceRect) ? answer : 0;
        }
        const BlitTarget target = TargetOf(objects, *context);
        BlitSource source{Band(dib, bits, 0, static_cast<int>(H)), false, target.background};
        BlitGeometry geometry;
        geometry.dest = ToDeviceRect(context->state, x, y, width, height);
        geometry.source = sourceRect;
        geometry.stretchMode = context->state.stretchMode;
        geometry.rop = code;
        BlitPattern pattern;
        const bool usesPattern = RopInputs(code).pattern;
        if (usesPattern) pattern = RealizeBrush(objects, *context, target);
        RunBlit(target, &source, usesPattern ? &pattern : nullptr, geometry);
        return answer;
    } catch (...) {
        return 0;
    }
}

}  // extern "C"

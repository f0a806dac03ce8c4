// dib_bits.cpp - device-independent bits of the Linux subset: GetDIBits, SetDIBits,
// CreateDIBSection, CreateDIBitmap, and SectionLike (objects.hpp).
//
// A DIB's scan lines are numbered from its bottom, whichever way it is stored, and its top row
// lies on the bitmap's top row: scan line s is row |height| - 1 - s from the top, in the DIB
// and in the bitmap alike. A transfer of `lines` scan lines from `start` moves the rows both
// have; the other rows of the DIB are written as zeros by GetDIBits and skipped by SetDIBits.
// GetDIBits answers the rows it read from the bitmap (1 when it was given nothing to do, as
// Windows answers), SetDIBits the scan lines it was given (0 when none; a top-down DIB's are
// not cut at its top, the rows past it skipped, as Windows does). Columns past the
// narrower of the two are left alone (SetDIBits) or zeroed (GetDIBits, with each row's
// padding). Pixels are converted through RowConverter: between equal formats they are copied
// as they are (the fourth byte of a 32-bit pixel included), otherwise each becomes the
// nearest colour the destination holds.
//
// GetDIBits writes the colour table of a 1, 4 or 8-bit request after the header: the
// bitmap's own when it has that depth, else the default table of the depth (black and white,
// the 16 VGA colours, the 256-colour cube of the screen), or with DIB_PAL_COLORS the indices
// 0, 1, 2 ... of the DC's palette, the pixels then being the nearest of its entries. A 16 or
// 32-bit BI_BITFIELDS request gets the bitmap's own masks when it has that depth, else 5-6-5 or
// 8-8-8. biSizeImage is set to the size of the whole DIB and biClrUsed to 0. A request with
// biBitCount 0 fills the header with the bitmap's own format instead (16 and 32 bits as
// BI_BITFIELDS, no table) and answers the bitmap's height. (For a 16-bit BI_BITFIELDS request
// of a 32-bit bitmap, Wine hands out its 8-8-8 masks and pixels cut to 16 bits; this answers
// 5-6-5, the format the request names.)
//
// A DIB section keeps the DIB's own layout in memory from calloc, its table filled out to
// 2^depth entries with zeros (biClrUsed then says 2^depth) and a 16-bit section reporting its
// 5-5-5 layout as BI_BITFIELDS masks. Section handles (file mappings) are not supported.
// CreateDIBitmap makes what CreateCompatibleBitmap makes (a monochrome bitmap for no DC) and
// with CBM_INIT puts the bits in through SetDIBits; a header of negative width is refused.
//
// Only BITMAPINFOHEADER and its longer successors are read, uncompressed or BI_BITFIELDS;
// 12-byte core headers and RLE bits are refused.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/posix/gdi/objects.hpp"
#include "platform/posix/gdi/pixel_formats.hpp"

namespace vx::posix::gdi {
namespace {

// What a BITMAPINFO header says about its bits.
struct DibLayout {
    int width = 0;
    int height = 0;  // rows, positive
    bool topDown = false;
    int bitsPerPixel = 0;
    bool bitfields = false;
    ptrdiff_t stride = 0;
    int tableEntries = 0;  // entries of a paletted DIB's table as it is laid out: biClrUsed or 2^depth
};

std::optional<DibLayout> ReadLayout(const BITMAPINFOHEADER& header) {
    if (header.biSize < sizeof(BITMAPINFOHEADER)) return std::nullopt;
    const int bits = header.biBitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return std::nullopt;
    const bool bitfields = header.biCompression == BI_BITFIELDS;
    if (header.biCompression != BI_RGB && !(bitfields && (bits == 16 || bits == 32))) return std::nullopt;
    if (header.biWidth <= 0 || header.biHeight == 0 || header.biHeight == INT_MIN) return std::nullopt;
    DibLayout layout;
    layout.width = header.biWidth;
    layout.height = header.biHeight < 0 ? -header.biHeight : header.biHeight;
    layout.topDown = header.biHeight < 0;
    layout.bitsPerPixel = bits;
    layout.bitfields = bitfields;
    const int64_t rowBits = int64_t{layout.width} * bits;
    if (rowBits > INT_MAX - 31) return std::nullopt;
    layout.stride = static_cast<ptrdiff_t>((rowBits + 31) / 32 * 4);
    if (bits <= 8) {
        const int full = 1 << bits;
        layout.tableEntries = header.biClrUsed != 0 && header.biClrUsed < static_cast<DWORD>(full)
                                  ? static_cast<int>(header.biClrUsed)
                                  : full;
    }
    return layout;
}

uint8_t* TableOf(BITMAPINFO* info) { return reinterpret_cast<uint8_t*>(info) + info->bmiHeader.biSize; }
const uint8_t* TableOf(const BITMAPINFO* info) {
    return reinterpret_cast<const uint8_t*>(info) + info->bmiHeader.biSize;
}

// The masks of a BI_BITFIELDS header: the three DWORDs after the 40-byte header (inside the
// longer headers, the table's place after the short one).
void ReadMasks(const BITMAPINFO* info, uint32_t masks[3]) {
    std::memcpy(masks, reinterpret_cast<const uint8_t*>(info) + sizeof(BITMAPINFOHEADER), 3 * sizeof(uint32_t));
}

// The colours of a DC's palette (the default palette when there is none).
std::vector<PALETTEENTRY> PaletteOf(const ObjectTable::Access& objects, HDC dc) {
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    const Palette* palette = context != nullptr ? objects.find<Palette>(context->state.palette) : nullptr;
    if (palette == nullptr) palette = objects.find<Palette>(StockObject(DEFAULT_PALETTE));
    return palette != nullptr ? palette->entries : std::vector<PALETTEENTRY>{};
}

RGBQUAD Quad(const PALETTEENTRY& e) { return {e.peBlue, e.peGreen, e.peRed, 0}; }

// The 2^depth colours of a paletted DIB's table: RGBQUADs or (DIB_PAL_COLORS) WORD indices
// into the DC's palette, entries past those given black.
std::vector<RGBQUAD> ReadTable(const ObjectTable::Access& objects, HDC dc, const BITMAPINFO* info,
                               const DibLayout& layout, UINT usage) {
    std::vector<RGBQUAD> table(static_cast<size_t>(1) << layout.bitsPerPixel, RGBQUAD{0, 0, 0, 0});
    const uint8_t* in = TableOf(info);
    if (usage == DIB_PAL_COLORS) {
        const std::vector<PALETTEENTRY> palette = PaletteOf(objects, dc);
        for (int i = 0; i < layout.tableEntries; ++i) {
            WORD index;
            std::memcpy(&index, in + 2 * i, 2);
            if (!palette.empty()) table[i] = Quad(palette[index < palette.size() ? index : 0]);
        }
    } else {
        std::memcpy(table.data(), in, sizeof(RGBQUAD) * static_cast<size_t>(layout.tableEntries));
        for (RGBQUAD& q : table) q.rgbReserved = 0;
    }
    return table;
}

// A bitmap's pixel format as the converter reads it.
PixelFormat FormatOf(const Surface& surface) {
    return {surface.bitsPerPixel, surface.colours, surface.colourCount, surface.redMask, surface.greenMask,
            surface.blueMask};
}

uint8_t* SurfaceRow(const Surface& surface, int y) { return surface.bits + static_cast<ptrdiff_t>(y) * surface.stride; }

// The span of DIB rows a transfer of `lines` scan lines from `start` covers, top row first;
// empty when there is none.
struct RowSpan {
    int top = 0;    // the first row from the top
    int count = 0;  // rows
};
RowSpan SpanOf(const DibLayout& layout, UINT start, UINT lines) {
    if (start >= static_cast<UINT>(layout.height) || lines == 0) return {};
    const int count = static_cast<int>(std::min<UINT>(lines, static_cast<UINT>(layout.height) - start));
    return {layout.height - static_cast<int>(start) - count, count};
}

// Where DIB row `row` (from the top) of a span sits in the caller's bits.
ptrdiff_t OffsetOf(const DibLayout& layout, const RowSpan& span, int row) {
    const int index = layout.topDown ? row - span.top : span.top + span.count - 1 - row;
    return index * layout.stride;
}

// A new DIB section. `masks` for 16 and 32 bits (zero: the default layout).
std::unique_ptr<Bitmap> MakeSection(const BITMAPINFOHEADER& header, const DibLayout& layout,
                                    std::vector<RGBQUAD> table, const uint32_t masks[3]) {
    const int64_t bytes = int64_t{layout.stride} * layout.height;
    if (bytes > INT_MAX) return nullptr;
    auto bitmap = std::make_unique<Bitmap>();
    bitmap->sectionMemory.reset(static_cast<uint8_t*>(std::calloc(static_cast<size_t>(bytes), 1)));
    if (bitmap->sectionMemory == nullptr) return nullptr;
    bitmap->sectionBits = bitmap->sectionMemory.get();
    bitmap->width = layout.width;
    bitmap->height = layout.height;
    bitmap->bitsPerPixel = layout.bitsPerPixel;
    bitmap->widthBytes = static_cast<int>((int64_t{layout.width} * layout.bitsPerPixel + 15) / 16 * 2);
    bitmap->colours = std::move(table);
    BITMAPINFOHEADER kept = header;
    kept.biSize = sizeof(BITMAPINFOHEADER);
    kept.biSizeImage = static_cast<DWORD>(bytes);
    kept.biClrUsed = layout.bitsPerPixel <= 8 ? 1u << layout.bitsPerPixel : 0;
    if (layout.bitsPerPixel == 16) {
        // 16 bits are always described by their masks, 5-5-5 when none were given.
        kept.biCompression = BI_BITFIELDS;
        static constexpr uint32_t k555[3] = {0x7C00, 0x03E0, 0x001F};
        if ((masks[0] | masks[1] | masks[2]) == 0) masks = k555;
    }
    if (kept.biCompression == BI_BITFIELDS) std::memcpy(bitmap->sectionMasks, masks, sizeof bitmap->sectionMasks);
    bitmap->section = kept;
    return bitmap;
}

}  // namespace

std::unique_ptr<Bitmap> SectionLike(const Bitmap& like, int width, int height) {
    BITMAPINFOHEADER header = *like.section;
    header.biWidth = width;
    header.biHeight = header.biHeight < 0 ? -height : height;
    const std::optional<DibLayout> layout = ReadLayout(header);
    if (!layout) return nullptr;
    return MakeSection(header, *layout, like.colours, like.sectionMasks);
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI int GetDIBits(HDC dc, HBITMAP handle, UINT start, UINT lines, LPVOID bits, LPBITMAPINFO info,
                            UINT usage) {
    try {
        StockObject(DEFAULT_PALETTE);  // made before the lock is taken
        auto objects = Objects();
        Bitmap* bitmap = objects.find<Bitmap>(handle);
        if (objects.find<DeviceContext>(dc) == nullptr || bitmap == nullptr || info == nullptr || usage > DIB_PAL_COLORS)
            return 0;
        BITMAPINFOHEADER& header = info->bmiHeader;
        if (header.biSize < sizeof(BITMAPINFOHEADER)) return 0;
        const Surface surface = bitmap->surface();
        const int sourceStride = static_cast<int>((int64_t{bitmap->width} * bitmap->bitsPerPixel + 31) / 32 * 4);
        if (header.biBitCount == 0) {
            // The bitmap's own format.
            header.biWidth = bitmap->width;
            header.biHeight = bitmap->height;
            header.biPlanes = 1;
            header.biBitCount = static_cast<WORD>(bitmap->bitsPerPixel);
            header.biCompression = bitmap->bitsPerPixel >= 16 && bitmap->bitsPerPixel != 24 ? BI_BITFIELDS : BI_RGB;
            header.biSizeImage = static_cast<DWORD>(sourceStride) * static_cast<DWORD>(bitmap->height);
            header.biXPelsPerMeter = header.biYPelsPerMeter = 0;
            header.biClrUsed = header.biClrImportant = 0;
            return bitmap->height;
        }
        const std::optional<DibLayout> layout = ReadLayout(header);
        if (!layout) return 0;
        const int depth = layout->bitsPerPixel;

        // The destination's table or masks, written after the header.
        PixelFormat target{depth};
        std::vector<RGBQUAD> table;
        uint32_t masks[3] = {0, 0, 0};
        if (depth <= 8) {
            const size_t entries = size_t{1} << depth;
            if (usage == DIB_PAL_COLORS) {
                const std::vector<PALETTEENTRY> palette = PaletteOf(objects, dc);
                for (size_t i = 0; i < entries; ++i) {
                    table.push_back(palette.empty() ? RGBQUAD{0, 0, 0, 0} : Quad(palette[i < palette.size() ? i : 0]));
                    const auto index = static_cast<WORD>(i);
                    std::memcpy(TableOf(info) + 2 * i, &index, 2);
                }
            } else {
                table = bitmap->bitsPerPixel == depth ? bitmap->colours : DeviceColours(depth);
                table.resize(entries, RGBQUAD{0, 0, 0, 0});
                std::memcpy(TableOf(info), table.data(), entries * sizeof(RGBQUAD));
            }
            target.colours = table.data();
            target.colourCount = static_cast<int>(table.size());
        } else if (layout->bitfields) {
            if (bitmap->bitsPerPixel == depth) {
                const ChannelMasks own = ChannelMasks::Of(FormatOf(surface));
                masks[0] = own.red, masks[1] = own.green, masks[2] = own.blue;
            } else if (depth == 16) {
                masks[0] = 0xF800, masks[1] = 0x07E0, masks[2] = 0x001F;
            } else {
                masks[0] = 0xFF0000, masks[1] = 0x00FF00, masks[2] = 0x0000FF;
            }
            std::memcpy(reinterpret_cast<uint8_t*>(info) + sizeof(BITMAPINFOHEADER), masks, sizeof masks);
            target.redMask = masks[0], target.greenMask = masks[1], target.blueMask = masks[2];
        }
        header.biSizeImage = static_cast<DWORD>(layout->stride * layout->height);
        header.biClrUsed = 0;
        if (bits == nullptr) return 1;

        const RowSpan span = SpanOf(*layout, start, lines);
        if (span.count == 0) return 1;
        RowConverter convert(FormatOf(surface), target);
        const int columns = std::min(layout->width, bitmap->width);
        int read = 0;
        for (int row = span.top; row < span.top + span.count; ++row) {
            uint8_t* out = static_cast<uint8_t*>(bits) + OffsetOf(*layout, span, row);
            if (row >= bitmap->height || surface.bits == nullptr) {
                std::memset(out, 0, static_cast<size_t>(layout->stride));
                continue;
            }
            // Zeroes from the first byte the pixels do not fill whole; the pixels fill the rest.
            const size_t filled = static_cast<size_t>(int64_t{columns} * depth / 8);
            std::memset(out + filled, 0, static_cast<size_t>(layout->stride) - filled);
            convert(SurfaceRow(surface, row), 0, out, 0, columns);
            ++read;
        }
        return read;
    } catch (...) {
        return 0;
    }
}

VXPLATFORMAPI int SetDIBits(HDC dc, HBITMAP handle, UINT start, UINT lines, const void* bits,
                            const BITMAPINFO* info, UINT usage) {
    try {
        StockObject(DEFAULT_PALETTE);  // made before the lock is taken
        auto objects = Objects();
        Bitmap* bitmap = objects.find<Bitmap>(handle);
        if (bitmap == nullptr || bits == nullptr || info == nullptr || usage > DIB_PAL_COLORS) return 0;
        const std::optional<DibLayout> layout = ReadLayout(info->bmiHeader);
        if (!layout) return 0;
        PixelFormat source{layout->bitsPerPixel};
        std::vector<RGBQUAD> table;
        if (layout->bitsPerPixel <= 8) {
            table = ReadTable(objects, dc, info, *layout, usage);
            source.colours = table.data();
            source.colourCount = static_cast<int>(table.size());
        } else if (layout->bitfields) {
            uint32_t masks[3];
            ReadMasks(info, masks);
            source.redMask = masks[0], source.greenMask = masks[1], source.blueMask = masks[2];
        }
        RowSpan span = SpanOf(*layout, start, lines);
        if (span.count == 0) return 0;
        if (layout->topDown) {
            // A top-down DIB's lines are not cut at its top: the rows above it are skipped.
            span.count = static_cast<int>(std::min<UINT>(lines, INT_MAX / 2));
            span.top = layout->height - static_cast<int>(start) - span.count;
        }
        const Surface surface = bitmap->surface();
        if (surface.bits == nullptr) return span.count;
        RowConverter convert(source, FormatOf(surface));
        const int columns = std::min(layout->width, bitmap->width);
        for (int row = std::max(span.top, 0); row < std::min(span.top + span.count, bitmap->height); ++row)
            convert(static_cast<const uint8_t*>(bits) + OffsetOf(*layout, span, row), 0, SurfaceRow(surface, row), 0,
                    columns);
        return span.count;
    } catch (...) {
        return 0;
    }
}

VXPLATFORMAPI HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                       DWORD /*offset*/) {
    if (bits != nullptr) *bits = nullptr;
    if (info == nullptr || usage > DIB_PAL_COLORS || section != nullptr) return nullptr;
    try {
        const std::optional<DibLayout> layout = ReadLayout(info->bmiHeader);
        if (!layout) return nullptr;
        StockObject(DEFAULT_PALETTE);  // made before the lock is taken
        auto objects = Objects();
        std::vector<RGBQUAD> table;
        if (layout->bitsPerPixel <= 8) table = ReadTable(objects, dc, info, *layout, usage);
        uint32_t masks[3] = {0, 0, 0};
        if (layout->bitfields) ReadMasks(info, masks);
        std::unique_ptr<Bitmap> bitmap = MakeSection(info->bmiHeader, *layout, std::move(table), masks);
        if (bitmap == nullptr) return nullptr;
        void* memory = bitmap->sectionBits;
        const auto handle = static_cast<HBITMAP>(objects.add(std::move(bitmap)));
        if (bits != nullptr) *bits = memory;
        return handle;
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HBITMAP CreateDIBitmap(HDC dc, const BITMAPINFOHEADER* header, DWORD init, const void* bits,
                                     const BITMAPINFO* info, UINT usage) {
    if (header == nullptr || header->biSize < sizeof(BITMAPINFOHEADER)) return nullptr;
    if ((init & CBM_INIT) != 0 && (bits == nullptr || info == nullptr)) return nullptr;
    const int width = header->biWidth, height = header->biHeight;
    if (width < 0) return nullptr;  // a DIB has no right-to-left rows; Windows refuses one
    const HBITMAP bitmap = dc != nullptr ? CreateCompatibleBitmap(dc, width, height)
                                         : CreateBitmap(width, height, 1, 1, nullptr);
    if (bitmap == nullptr || (init & CBM_INIT) == 0 || bitmap == DefaultBitmap()) return bitmap;
    const LONG rows = info->bmiHeader.biHeight;
    SetDIBits(dc, bitmap, 0, static_cast<UINT>(rows < 0 ? -static_cast<int64_t>(rows) : rows), bits, info, usage);
    return bitmap;
}

}  // extern "C"

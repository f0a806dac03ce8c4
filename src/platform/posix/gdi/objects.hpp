// objects.hpp - the kinds of GDI object the Linux subset holds in its table: Palette, Bitmap
// (with the Surface view its pixels are drawn through), Brush, Pen, Region and DeviceContext
// (with the DcState that SaveDC keeps), and the stock objects every DC starts with.
//
// Every call of the subset works on these through the table (object_table.hpp): it looks a
// handle up, checks its kind, and works on the object while the table is locked. The drawing
// code reaches pixels only through a Surface, so one blitter serves device bitmaps (rows top
// down) and DIB sections (rows as the DIB lays them out) alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/posix/gdi/object_table.hpp"
#include "platform/posix/pooled_bytes.hpp"

namespace vx::posix::gdi {

class MetaRecorder;    // metafile_recorder.hpp
struct PrinterDevice;  // printer_device.hpp

// A logical palette: its entries and nothing else.
struct Palette final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Palette; }
    Palette() : GdiObject(ObjectKind::Palette) {}
    std::vector<PALETTEENTRY> entries;
};

// Pixels as the drawing code sees them: `height` rows of `width` pixels of `bitsPerPixel`
// (1, 4, 8, 16, 24 or 32) bits, row y at bits + y x stride (stride is negative for a
// bottom-up DIB section). Paletted surfaces name their colour table; 16-bit pixels are 5-5-5,
// 32-bit pixels are blue, green, red, unused.
struct Surface {
    uint8_t* bits = nullptr;
    ptrdiff_t stride = 0;
    int width = 0;
    int height = 0;
    int bitsPerPixel = 0;
    const RGBQUAD* colours = nullptr;  // 1, 4 and 8 bits
    int colourCount = 0;
    // 16 and 32 bits: the channel masks of a BI_BITFIELDS DIB section; all zero for the layouts
    // above (pixel_formats.hpp reads both).
    uint32_t redMask = 0;
    uint32_t greenMask = 0;
    uint32_t blueMask = 0;
    // A window DC lent out by BeginPaint: the part of the surface it may draw on (the update
    // region, banded); null: all of it. Drawing and GetClipBox see it under any clipping region.
    const std::vector<RECT>* visible = nullptr;
};

// Frees what std::calloc gave.
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

// A bitmap: a device bitmap (its own rows, top down, each padded to 16 bits, as GetBitmapBits
// hands them out) or a DIB section (the caller-visible DIB layout). Selected into at most one
// memory DC at a time.
struct Bitmap final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Bitmap; }
    Bitmap() : GdiObject(ObjectKind::Bitmap) {}

    int width = 0;
    int height = 0;
    int bitsPerPixel = 1;
    int widthBytes = 0;                // bmWidthBytes: the 16-bit-padded row of a device bitmap
    PooledBytes pixels;                // device bitmap rows, top down; empty for a DIB section
    std::vector<RGBQUAD> colours;      // the colour table of a 1, 4 or 8-bit bitmap
    std::optional<BITMAPINFOHEADER> section;  // a DIB section's header, as created
    uint8_t* sectionBits = nullptr;    // a DIB section's rows, as the DIB lays them out
    HDC selectedInto = nullptr;        // the memory DC that holds it, if any
    // A DIB section's channel masks (16 and 32 bits; zero for 8-8-8) and the memory that holds
    // its rows (sectionBits), zeroed by the system as it is first touched.
    uint32_t sectionMasks[3] = {0, 0, 0};
    std::unique_ptr<uint8_t, FreeMemory> sectionMemory;

    // The pixels as the drawing code addresses them.
    Surface surface();
};

// A brush: solid, hollow, or a pattern (a copy of the bitmap's pixels, 8 x 8 at most used).
struct Brush final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Brush; }
    Brush() : GdiObject(ObjectKind::Brush) {}
    UINT style = BS_SOLID;
    COLORREF colour = 0;
    std::vector<COLORREF> pattern;  // BS_PATTERN: patternWidth x patternHeight, top row first
    int patternWidth = 0;
    int patternHeight = 0;
    bool patternMonochrome = false;  // a 1-bit pattern takes the DC's text and background colours
};

// A cosmetic pen.
struct Pen final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Pen; }
    Pen() : GdiObject(ObjectKind::Pen) {}
    UINT style = PS_SOLID;
    int width = 0;
    COLORREF colour = 0;
};

// A region: a union of non-overlapping rectangles, sorted by top and then by left, in bands
// as Windows keeps them. Empty means the empty region.
struct Region final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Region; }
    Region() : GdiObject(ObjectKind::Region) {}
    std::vector<RECT> rects;
};

// A logical font as CreateFontIndirectA was given it; the glyphs are looked up when it is
// drawn with (fonts.hpp).
struct Font final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Font; }
    Font() : GdiObject(ObjectKind::Font) {}
    LOGFONTA logical{};
};

// The bytes of a metafile, which never change once it is made: a player takes a share of them
// to play with the table unlocked, rather than a copy of what may be a whole picture.
class MetafileBytes {
public:
    MetafileBytes& operator=(std::vector<uint8_t>&& bytes) {
        shared_ = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
        return *this;
    }
    const std::vector<uint8_t>& get() const { return shared_ ? *shared_ : Empty(); }
    operator const std::vector<uint8_t>&() const { return get(); }
    operator std::span<const uint8_t>() const { return get(); }
    std::shared_ptr<const std::vector<uint8_t>> share() const {
        return shared_ ? shared_ : std::make_shared<const std::vector<uint8_t>>();
    }
    size_t size() const { return get().size(); }
    const uint8_t* data() const { return get().data(); }

private:
    static const std::vector<uint8_t>& Empty() {
        static const std::vector<uint8_t> none;
        return none;
    }
    std::shared_ptr<const std::vector<uint8_t>> shared_;
};

// The bytes of a Windows metafile (from its 18-byte header on) or of an enhanced metafile
// (from its EMR_HEADER record on), as Get...Bits hands them out.
struct MetaFile final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::MetaFile; }
    MetaFile() : GdiObject(ObjectKind::MetaFile) {}
    MetafileBytes bytes;
};
struct EnhMetaFile final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::EnhMetaFile; }
    EnhMetaFile() : GdiObject(ObjectKind::EnhMetaFile) {}
    MetafileBytes bytes;
};

// GetMetaFileBitsEx and GetEnhMetaFileBits: copies at most `size` of a metafile's bytes to
// `out` and answers how many; with `out` null, answers its length; 0 for a handle that is not
// a live metafile of that kind.
template <typename Kind>
UINT CopyMetafileBytes(HGDIOBJ handle, UINT size, void* out) {
    auto objects = Objects();
    const Kind* metafile = objects.find<Kind>(handle);
    if (metafile == nullptr) return 0;
    const auto length = static_cast<UINT>(metafile->bytes.size());
    if (out == nullptr) return length;
    const UINT copied = size < length ? size : length;
    std::memcpy(out, metafile->bytes.data(), copied);
    return copied;
}

// Everything SaveDC keeps and RestoreDC puts back.
struct DcState {
    HPALETTE palette = nullptr;
    HBITMAP bitmap = nullptr;  // memory DCs: the selected bitmap (a stock 1 x 1 monochrome one at first)
    HBRUSH brush = nullptr;
    HPEN pen = nullptr;
    HFONT font = nullptr;  // the stock SYSTEM_FONT at first
    std::optional<std::vector<RECT>> clip;  // device coordinates; none: the whole surface
    COLORREF textColour = RGB(0, 0, 0);
    COLORREF backgroundColour = RGB(255, 255, 255);
    int backgroundMode = OPAQUE;
    int rop2 = R2_COPYPEN;
    int stretchMode = BLACKONWHITE;
    int polyFillMode = ALTERNATE;
    UINT textAlign = TA_LEFT | TA_TOP | TA_NOUPDATECP;
    int mapMode = MM_TEXT;
    POINT windowOrigin{0, 0};
    SIZE windowExtent{1, 1};
    POINT viewportOrigin{0, 0};
    SIZE viewportExtent{1, 1};
    POINT position{0, 0};
};

// The client pixels of a window (window.hpp): 32-bit true colour, top row first, as the
// screen's DCs draw them. The window layer owns it and resizes it; the window DCs lent out
// share it, so a DC that outlives its window holds a surface that is no longer alive and draws
// nothing. Guarded by the table lock, like every object of the table.
struct WindowSurface {
    HWND window = nullptr;
    std::vector<uint32_t> pixels;  // width x height, 0x00RRGGBB
    int width = 0;
    int height = 0;
    bool alive = true;

    Surface surface() {
        Surface s;
        if (!alive || pixels.empty()) return s;
        s.bits = reinterpret_cast<uint8_t*>(pixels.data());
        s.stride = static_cast<ptrdiff_t>(width) * 4;
        s.width = width;
        s.height = height;
        s.bitsPerPixel = 32;
        return s;
    }
};

// A device context: a memory DC (OBJ_MEMDC) draws into its selected bitmap; a screen DC
// (OBJ_DC, from GetDC) is lent out of a cache and given back by ReleaseDC; a metafile DC
// (OBJ_METADC, OBJ_ENHMETADC) has no pixels and hands what is done on it to its recorder.
struct DeviceContext final : GdiObject {
    static bool Holds(ObjectKind kind) {
        return kind == ObjectKind::DC || kind == ObjectKind::MemoryDC || kind == ObjectKind::MetaDC ||
               kind == ObjectKind::EnhMetaDC;
    }
    explicit DeviceContext(ObjectKind kind) : GdiObject(kind) {}
    DcState state;
    std::vector<DcState> saved;  // SaveDC's stack, oldest first
    bool released = false;       // a screen DC back in the cache
    // A metafile DC's recorder (metafile_recorder.hpp); null for every other DC.
    std::shared_ptr<MetaRecorder> recorder;
    // A screen DC lent for a window (GetDC, BeginPaint): the window's client pixels, and for
    // BeginPaint the update region it is limited to (client coordinates).
    std::shared_ptr<WindowSurface> window;
    std::optional<std::vector<RECT>> visible;
    // A printer DC (CreateDCA): its printer and job; it has no pixels of its own.
    std::shared_ptr<PrinterDevice> printer;
};

// Lends a screen DC out of the cache, reset to a new DC's state: for a window's client pixels
// when `window` is given (limited to `visible` when that is given), else for the screen. Null
// when memory runs out. Takes the table lock: call it without one.
HDC LendDC(std::shared_ptr<WindowSurface> window, std::optional<std::vector<RECT>> visible);
// A window is gone: the DCs lent for it draw nothing from now on and are back in the cache.
void ForgetWindowDCs(const ObjectTable::Access& objects, const WindowSurface* window);

// The stock objects (GetStockObject indices WHITE_BRUSH ... DEFAULT_PALETTE), made on first
// use, and the stock 1 x 1 monochrome bitmap every memory DC starts with. Each takes the table
// lock, so call them before taking one. Throw std::bad_alloc.
HGDIOBJ StockObject(int which);
HPALETTE DefaultPalette();
HBITMAP DefaultBitmap();

// The surface a DC draws on: its selected bitmap's (a memory DC) or the screen's; bits null
// when there is nothing to draw on.
Surface DcSurface(const ObjectTable::Access& objects, const DeviceContext& context);

// The colour of a pixel value of a surface, and the pixel value a colour gets on it (for a
// paletted surface, the nearest entry of its table).
COLORREF PixelColour(const Surface& surface, uint32_t pixel);
uint32_t ColourPixel(const Surface& surface, COLORREF colour);

// A logical point of a DC in device coordinates, rounded as Windows rounds.
POINT ToDevice(const DcState& state, POINT logical);

// Makes a copy of `region` (null: none) the clipping region of a DC; answers the region's
// complexity (NULLREGION, SIMPLEREGION, COMPLEXREGION) or ERROR.
int SelectClip(DcState& state, const Region* region);

// A DC's selections and settings as a new DC (or a screen DC lent out again) starts with.
// Calls the stock makers: call it before taking the table lock.
DcState InitialState(ObjectKind kind);

// A COLORREF as a DC draws it: a colour with bit 24 set (PALETTEINDEX(i), and CLR_INVALID
// too) is entry i of the DC's palette (entry 0 when there is no such entry); otherwise the
// high byte (PALETTERGB's flag) is dropped.
COLORREF ResolveColour(const ObjectTable::Access& objects, const DcState& state, COLORREF colour);

// The colour table device bitmaps of a depth take (1, 4 or 8 bits; empty otherwise): black and
// white, the 16 VGA colours, the 256 colours of the screen's system palette.
std::vector<RGBQUAD> DeviceColours(int bitsPerPixel);

// The bits per pixel of the screen: 32, or 8 with the palette screen (screen.hpp).
int ScreenBitsPerPixel();

// A new DIB section of the format of `like` (a DIB section: its depth, orientation, colour
// table and masks), `width` x `height` pixels of zero; null when too large. Throws
// std::bad_alloc.
std::unique_ptr<Bitmap> SectionLike(const Bitmap& like, int width, int height);

// Selection bookkeeping (selection.cpp), called with the table locked. A bitmap, brush or pen
// deleted while a DC holds it stays alive, still usable by the DCs that hold it, and goes when
// the last of them lets it go, as Windows does.
//   DeferDeletion: true when `handle` is selected somewhere (it is then marked to go later).
//   ReleaseSelections: a DC lets go of what its current state holds (DeleteDC, a screen DC
//     lent out again); call it before dropping or replacing the state.
//   Reselect: a DC's current state is replaced by `next` (RestoreDC): the selections move.
bool DeferDeletion(ObjectTable::Access& objects, HGDIOBJ handle);
void ReleaseSelections(ObjectTable::Access& objects, HDC dc, DcState& state);
void Reselect(ObjectTable::Access& objects, HDC dc, DcState& state, const DcState& next);

}  // namespace vx::posix::gdi

namespace vx::posix::gdi {

// A device point of a DC in logical coordinates, as DPtoLP rounds; false (the point left as
// it is) when the DC's mapping cannot be inverted.
bool ToLogical(const DcState& state, POINT& point);

// The logical rectangle from (x, y) to (x + width, y + height) with both corners in device
// coordinates, in the order given (not normalised): the device origin and extent a blit
// works on, as Windows maps them (device width = right - left, which may be negative).
RECT ToDeviceRect(const DcState& state, int x, int y, int width, int height);

// The clipping region of a DC in device coordinates intersected with the surface's bounds:
// the rectangles drawing may touch, banded, none when nothing is visible.
std::vector<RECT> VisibleRects(const DcState& state, const Surface& surface);

// Runs `work(objects, context)` on a live DC with the table locked and answers what it
// answers; `failure` for a handle that is not a DC, and when the work cannot get memory. Every
// call that works on one DC starts here, so none dereferences a stale handle.
template <typename Result, typename Work>
Result OnDC(HDC dc, Result failure, Work&& work) {
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        return context != nullptr ? static_cast<Result>(work(objects, *context)) : failure;
    } catch (...) {
        return failure;
    }
}

}  // namespace vx::posix::gdi

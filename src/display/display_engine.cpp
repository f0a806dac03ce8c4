// display_engine.cpp - the display engine's exports: DisplayStart, DisplayDIBStart,
// DisplayWmCreate, DisplayWmDestroy, DisplayWmSize, DisplayWmVertScroll, DisplayWmHorzScroll,
// DisplayWmPaint, DisplaySetScrollPos, DisplayDIBImageDC, DisplayImageDC, MapDisplayDC,
// GetLowMemStretch and SetLowMemStretch.
//
// The application keeps one VXDISPLAYSTATE per window and forwards its window's messages here;
// the engine keeps nothing per window. Every handler rebuilds the mapping from the record on a
// saved DC (display_mapping.cpp), acts, and restores the DC, so a handler never leaves its
// mapping behind in a window DC the application shares.
//
// Scrolling moves by whole zoomed pixels: the step is the viewport extent left by the extent
// reduction (at most 16), a line is at least 8 pixels, and a thumb dropped on either end of the
// bar goes one step beyond it before the clamp, so that the last partial column or row stays
// reachable. Moves scroll the window's pixels (ScrollDC) and repaint only what was uncovered.
//
// The module keeps two values: the low-memory stretch switch (read by the stateless painters)
// and the guard that drops a WM_SIZE arriving while one is handled (showing or hiding a scroll
// bar resizes the client area and sends one).
//
// Decisions of ours, documented with the exports in vexora.h: a start with no window, no image
// or a DIB whose block does not hold its header and table changes nothing and returns 0; an
// owned bitmap or palette that a new start replaces is deleted rather than leaked; a drawn DIB
// whose block is shorter than its rows is not drawn.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "display/display_state.hpp"

#include "dib_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"

namespace vx::display {
namespace {

int lowMemStretch = 0;
bool sizeGuard = false;

constexpr uint32_t kBiBitfields = 3;

// The state of a DC saved for the lifetime of the guard.
class SavedDC {
public:
    explicit SavedDC(HDC dc) : dc_(dc), level_(SaveDC(dc)) {}
    SavedDC(const SavedDC&) = delete;
    SavedDC& operator=(const SavedDC&) = delete;
    ~SavedDC() { restore(); }
    void restore() {
        if (level_ != 0) RestoreDC(dc_, level_);
        level_ = 0;
    }

private:
    HDC dc_;
    int level_;
};

// Differences wrap as 32-bit values: a record is the caller's memory and may hold anything.
LONG Difference(LONG a, LONG b) { return static_cast<LONG>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }
LONG ClientWidth(const VXDISPLAYSTATE& s) { return Difference(s.client.right, s.client.left); }
LONG ClientHeight(const VXDISPLAYSTATE& s) { return Difference(s.client.bottom, s.client.top); }

void DeleteOwned(VXDISPLAYSTATE& s, LONG bit) {
    if (!(s.owned & bit)) return;
    if (bit == DISPLAY_OWNS_BITMAP) {
        if (s.bitmap != nullptr) DeleteObject(s.bitmap);
        s.bitmap = nullptr;
    } else {
        if (s.palette != nullptr) DeleteObject(s.palette);
        s.palette = nullptr;
    }
    s.owned &= ~bit;
}

// One scroll bar: hidden for good with its never-show flag, else the limits and the position.
void UpdateScrollBar(HWND window, const VXDISPLAYSTATE& s, int bar) {
    const bool vertical = bar == SB_VERT;
    if (s.flags & (vertical ? DISPLAY_NOVSCROLL : DISPLAY_NOHSCROLL)) {
        SetScrollRange(window, bar, -1, -1, TRUE);
        return;
    }
    SetScrollRange(window, bar, vertical ? s.vMin : s.hMin, vertical ? s.vMax : s.hMax, FALSE);
    SetScrollPos(window, bar, vertical ? s.scrollY : s.scrollX, TRUE);
}

void UpdateScrollBars(HWND window, const VXDISPLAYSTATE& s) {
    UpdateScrollBar(window, s, SB_VERT);
    UpdateScrollBar(window, s, SB_HORZ);
}

// The DIB a block carries when the block holds its header and colour table; `drawable` also
// when it holds the rows GDI reads (the masks of a bit-field DIB and biSizeImage bytes of
// run-length rows included).
struct DibHeader {
    DibLayout layout;
    bool drawable = false;
};

std::optional<DibHeader> ReadDib(const BlockLock& lock) {
    if (!lock) return std::nullopt;
    const auto layout = InspectDib(lock.data(), lock.size());
    if (!layout || !layout->holdsHeaderAndTable() || layout->width < 0) return std::nullopt;
    const uint64_t masks = layout->compression == kBiBitfields ? 12 : 0;
    return DibHeader{*layout, layout->pixelOffset + masks + layout->imageBytes <= lock.size()};
}

// Pixels per inch from pixels per metre, rounded; the device's when that gives less than 1.
VX_EXACT_DOUBLES LONG DpiFromPelsPerMetre(int32_t pels, LONG device) {
    const int32_t dpi = TruncToInt32(static_cast<double>(pels) * 0.0254 + 0.5);
    return dpi < 1 ? device : dpi;
}

// The common part of both starts, from the filled record on: map, place the requested
// position, settle the scroll position and report the origins.
void Settle(HDC dc, int* position, VXDISPLAYSTATE& s) {
    {
        SavedDC saved(dc);
        MapDisplay(dc, s, true);
        if (position != nullptr) {
            SetWindowOrgEx(dc, 0, 0, nullptr);
            POINT p{position[0], position[1]};
            LPtoDP(dc, &p, 1);
            s.scrollX = Difference(p.x, s.centreX);
            s.scrollY = Difference(p.y, s.centreY);
        }
        Recompute(dc, s);
        if (ClampScroll(s)) Recompute(dc, s);
    }
    if (position != nullptr) {
        position[0] = s.originLogical.x;
        position[1] = s.originLogical.y;
        position[2] = s.originDevice.x;
        position[3] = s.originDevice.y;
    }
}

// What both starts do before they fill the record: with fit or stretch the scroll bars go
// first, so that the client rectangle read next is the whole window.
void PrepareStart(HWND window, DWORD flags, VXDISPLAYSTATE& s) {
    if (!(flags & (DISPLAY_FIT | DISPLAY_STRETCH))) return;
    s.flags = flags;
    s.hMin = s.vMin = s.hMax = s.vMax = -1;
    UpdateScrollBars(window, s);
}

void FillCommon(HWND window, HDC dc, const int* zoom, DWORD flags, VXDISPLAYSTATE& s) {
    s.flags = flags;
    s.deviceDpiX = GetDeviceCaps(dc, LOGPIXELSX);
    s.deviceDpiY = GetDeviceCaps(dc, LOGPIXELSY);
    if (zoom != nullptr)
        s.zoom = {zoom[0], zoom[1], zoom[2], zoom[3]};
    else
        s.zoom = {1, 1, 1, 1};
    GetClientRect(window, &s.client);
}

// Rectangle arithmetic as USER's IntersectRect and InflateRect do it (no overlap: the empty
// rectangle at 0), done here so that drawing into a DC needs no window layer.
RECT Intersection(const RECT& a, const RECT& b) {
    const RECT r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                 std::min(a.bottom, b.bottom)};
    if (a.left >= a.right || a.top >= a.bottom || b.left >= b.right || b.top >= b.bottom || r.left >= r.right ||
        r.top >= r.bottom)
        return {0, 0, 0, 0};
    return r;
}

// One unit wider on every side, kept within 32 bits (a mapping that overflowed answers INT_MIN).
RECT Widened(const RECT& r) {
    const auto widen = [](LONG v, int by) {
        return static_cast<LONG>(std::clamp<int64_t>(int64_t{v} + by, INT32_MIN, INT32_MAX));
    };
    return {widen(r.left, -1), widen(r.top, -1), widen(r.right, 1), widen(r.bottom, 1)};
}

// Draws the record's image into `dc` with the record's mapping: the part of it within `target`
// (device units; none: the clip box, or the client rectangle when that is empty).
void DrawImage(HDC dc, VXDISPLAYSTATE& s, const RECT* target) {
    RECT area{0, 0, 0, 0};
    if (target != nullptr) {
        area = *target;
    } else {
        GetClipBox(dc, &area);
        if (area.right <= area.left || area.bottom <= area.top) area = s.client;
    }

    SavedDC saved(dc);
    Recompute(dc, s);
    if (s.bitsPerPixel == 1) {
        SetStretchBltMode(dc, BLACKONWHITE);
        SetBkColor(dc, RGB(255, 255, 255));
    } else {
        SetStretchBltMode(dc, COLORONCOLOR);
    }
    SetBkMode(dc, OPAQUE);
    PaletteSelection palette(dc, s.palette, TRUE);
    if (palette) RealizePalette(dc);

    // The visible part of the image, one device pixel and one image pixel wider on each side
    // so that partly covered pixels at the edges are drawn whole.
    POINT corners[2] = {{0, 0}, {s.imageWidth, s.imageHeight}};
    LPtoDP(dc, corners, 2);
    RECT visible = Widened(Intersection({corners[0].x, corners[0].y, corners[1].x, corners[1].y}, area));
    DPtoLP(dc, reinterpret_cast<POINT*>(&visible), 2);
    visible = Widened(visible);

    const bool fromBitmap = s.bitmap != nullptr;
    if (!fromBitmap) {
        visible.left = 0;
        visible.right = s.imageWidth;
    }
    // Start on whole multiples of the window extent, where the reduced mapping places image
    // pixels exactly on device pixels.
    SIZE extent{1, 1};
    GetWindowExtEx(dc, &extent);
    if (extent.cx > 0) visible.left = visible.left / extent.cx * extent.cx;
    if (extent.cy > 0) visible.top = visible.top / extent.cy * extent.cy;
    visible.left = std::max<LONG>(visible.left, 0);
    visible.top = std::max<LONG>(visible.top, 0);
    visible.right = std::min(visible.right, s.imageWidth);
    visible.bottom = std::min(visible.bottom, s.imageHeight);
    const LONG width = visible.right - visible.left, height = visible.bottom - visible.top;
    if (width <= 0 || height <= 0) return;

    const DWORD rop = (s.flags & DISPLAY_INVERT) ? NOTSRCCOPY : SRCCOPY;
    if (fromBitmap) {
        MemoryDC memory(dc);
        if (!memory) return;
        ObjectSelection selection(memory.get(), s.bitmap);
        if (!selection) return;
        BitBlt(dc, visible.left, visible.top, width, height, memory.get(), visible.left, visible.top, rop);
        return;
    }
    BlockLock lock(s.dib);
    const auto dib = ReadDib(lock);
    if (!dib || !dib->drawable) return;
    const uint8_t* header = lock.data();
    // Rows are stored bottom-up: the source rectangle is counted from the last row stored (a
    // top-down DIB counts from its first).
    const auto storedHeight = static_cast<LONG>(dib->layout.height);
    const LONG sourceY = storedHeight < 0 ? visible.top : storedHeight - visible.bottom;
    StretchDIBits(dc, visible.left, visible.top, width, height, visible.left, sourceY, width,
                  height, header + dib->layout.pixelOffset, reinterpret_cast<const BITMAPINFO*>(header),
                  DIB_RGB_COLORS, rop);
}

enum class Axis { horizontal, vertical };

// The scroll position one scroll message asks for on one axis, before snapping.
int64_t ScrollTarget(WPARAM wParam, LONG old, LONG low, LONG high, LONG step, LONG page) {
    const auto thumb = static_cast<LONG>(HIWORD(wParam));
    switch (LOWORD(wParam)) {
        case SB_LINEUP: return int64_t{old} - std::max<LONG>(step, 8);
        case SB_LINEDOWN: return int64_t{old} + std::max<LONG>(step, 8);
        case SB_PAGEUP: return int64_t{old} - page;
        case SB_PAGEDOWN: return int64_t{old} + page;
        case SB_THUMBPOSITION:
        case SB_THUMBTRACK:
            // A thumb dropped on an end goes one step beyond it, so that the snap from the old
            // position still reaches the end.
            if (thumb == high) return int64_t{thumb} + step;
            if (thumb == low) return int64_t{thumb} - step;
            return thumb;
        case SB_TOP: return low;
        case SB_BOTTOM: return high;
        default: return old;
    }
}

// The viewport extent of a freshly recomputed mapping: the size of one zoomed image pixel, at
// least 1.
SIZE ScrollSteps(HDC dc, VXDISPLAYSTATE& s) {
    Recompute(dc, s);
    SIZE viewport{1, 1};
    GetViewportExtEx(dc, &viewport);
    return {std::max<LONG>(viewport.cx, 1), std::max<LONG>(viewport.cy, 1)};
}

void ScrollMessage(HWND window, WPARAM wParam, VXDISPLAYSTATE& s, Axis axis) {
    const bool vertical = axis == Axis::vertical;
    LONG& position = vertical ? s.scrollY : s.scrollX;
    const LONG old = position;
    RECT uncovered{0, 0, 0, 0};
    {
        WindowDC dc(window);
        if (!dc) return;
        {
            SavedDC saved(dc.get());
            const SIZE steps = ScrollSteps(dc.get(), s);
            const LONG step = vertical ? steps.cy : steps.cx;
            const LONG low = vertical ? s.vMin : s.hMin, high = vertical ? s.vMax : s.hMax;
            const LONG page = (vertical ? ClientHeight(s) : ClientWidth(s)) / 2;
            position = SnapScroll(old, ScrollTarget(wParam, old, low, high, step, page), low, high, step);
            ClampScroll(s);
        }
        if (position == old) return;
        const LONG moved = Difference(old, position);
        ScrollDC(dc.get(), vertical ? 0 : moved, vertical ? moved : 0, &s.client, &s.client, nullptr, &uncovered);
    }
    UpdateScrollBar(window, s, vertical ? SB_VERT : SB_HORZ);
    InvalidateRect(window, &uncovered, FALSE);
    UpdateWindow(window);
}

// The part of the update rectangle a move by `delta` uncovered on one axis: the first
// `delta` columns (rows) for a move right (down), the last ones for a move left (up).
RECT UncoveredStrip(const RECT& update, LONG delta, bool horizontal) {
    RECT strip = update;
    LONG& low = horizontal ? strip.left : strip.top;
    LONG& high = horizontal ? strip.right : strip.bottom;
    if (delta > 0)
        high = static_cast<LONG>(std::min<int64_t>(high, int64_t{low} + delta));
    else
        low = static_cast<LONG>(std::max<int64_t>(low, int64_t{high} + delta));
    return strip;
}

// Repaints one uncovered strip at once and takes it out of what is left to repaint.
void RepaintStrip(HWND window, const RECT& strip, HRGN rest) {
    InvalidateRect(window, &strip, FALSE);
    UpdateWindow(window);
    OwnedObject<HRGN> stripRegion(CreateRectRgnIndirect(&strip));
    if (stripRegion) CombineRgn(rest, rest, stripRegion.get(), RGN_DIFF);
}

// A device context of any kind: window, memory, printer or metafile.
bool IsDC(HDC dc) {
    const DWORD type = dc != nullptr ? GetObjectType(dc) : 0;
    return type == OBJ_DC || type == OBJ_MEMDC || type == OBJ_METADC || type == OBJ_ENHMETADC;
}

}  // namespace
}  // namespace vx::display

using namespace vx;
using namespace vx::display;

extern "C" {

VXAPI DWORD VXCALL DisplayStart(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette, const int* resolution, int* position,
                                const int* zoom, DWORD flags, VXDISPLAYSTATE* state) {
    if (state == nullptr || hWnd == nullptr || !IsWindow(hWnd)) return 0;
    BITMAP description{};
    const int described = hBitmap != nullptr ? GetObjectA(hBitmap, sizeof description, &description) : 0;
    if (described != static_cast<int>(sizeof description)) return 0;
    VXDISPLAYSTATE& s = *state;
    PrepareStart(hWnd, flags, s);
    {
        WindowDC dc(hWnd);
        if (!dc) return 0;
        FillCommon(hWnd, dc.get(), zoom, flags, s);
        if (s.bitmap != hBitmap) DeleteOwned(s, DISPLAY_OWNS_BITMAP);
        if (s.palette != hPalette) DeleteOwned(s, DISPLAY_OWNS_PALETTE);
        s.bitmap = hBitmap;
        s.dib = nullptr;
        s.palette = hPalette;
        s.imageWidth = description.bmWidth;
        s.imageHeight = description.bmHeight;
        s.bitsPerPixel = description.bmBitsPixel;
        s.imageDpiX = resolution != nullptr ? resolution[0] : s.deviceDpiX;
        s.imageDpiY = resolution != nullptr ? resolution[1] : s.deviceDpiY;
        Settle(dc.get(), position, s);
    }
    UpdateScrollBars(hWnd, s);
    InvalidateRect(hWnd, nullptr, TRUE);
    return s.flags;
}

VXAPI DWORD VXCALL DisplayDIBStart(HWND hWnd, HDIB hDIB, int* position, const int* zoom, DWORD flags,
                                   VXDISPLAYSTATE* state) {
    if (state == nullptr || hWnd == nullptr || !IsWindow(hWnd)) return 0;
    DibLayout layout;
    {
        BlockLock lock(hDIB);
        const auto dib = ReadDib(lock);
        if (!dib) return 0;
        layout = dib->layout;
    }
    VXDISPLAYSTATE& s = *state;
    PrepareStart(hWnd, flags, s);
    {
        WindowDC dc(hWnd);
        if (!dc) return 0;
        FillCommon(hWnd, dc.get(), zoom, flags, s);
        s.dib = hDIB;
        s.imageWidth = static_cast<LONG>(layout.width);
        s.imageHeight = static_cast<LONG>(layout.rows);
        s.bitsPerPixel = static_cast<LONG>(layout.bitCount);
        const bool info = !layout.coreHeader;
        BlockLock lock(hDIB);
        s.imageDpiX = DpiFromPelsPerMetre(info ? LoadI32(lock.data() + bih::kXPels) : 0, s.deviceDpiX);
        s.imageDpiY = DpiFromPelsPerMetre(info ? LoadI32(lock.data() + bih::kYPels) : 0, s.deviceDpiY);
        lock.unlock();

        // A palette of the caller's stays; one of ours is made again from this DIB.
        DeleteOwned(s, DISPLAY_OWNS_PALETTE);
        if (s.palette == nullptr) {
            s.palette = CreateDIBPalette(hDIB);
            if (s.palette != nullptr) s.owned |= DISPLAY_OWNS_PALETTE;
        }
        if (s.bitmap != nullptr && !(s.owned & DISPLAY_OWNS_BITMAP)) s.bitmap = nullptr;
        DeleteOwned(s, DISPLAY_OWNS_BITMAP);
        if (flags & DISPLAY_MAKEBITMAP) {
            s.bitmap = ConvertDIBToBitmap(hDIB);
            if (s.bitmap != nullptr) s.owned |= DISPLAY_OWNS_BITMAP;
            s.flags &= ~DISPLAY_MAKEBITMAP;
        }
        s.scrollX = s.scrollY = 0;
        Settle(dc.get(), position, s);
    }
    UpdateScrollBars(hWnd, s);
    InvalidateRect(hWnd, nullptr, TRUE);
    return flags;
}

VXAPI LRESULT VXCALL DisplayWmCreate(HWND hWnd, WPARAM, LPARAM, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    if (state != nullptr) std::memset(state, 0, sizeof *state);
    return 0;
}

VXAPI LRESULT VXCALL DisplayWmDestroy(HWND hWnd, WPARAM, LPARAM, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    if (state == nullptr) return 0;
    DeleteOwned(*state, DISPLAY_OWNS_BITMAP);
    DeleteOwned(*state, DISPLAY_OWNS_PALETTE);
    return 0;
}

VXAPI LRESULT VXCALL DisplayWmSize(HWND hWnd, WPARAM, LPARAM, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    if (state == nullptr || sizeGuard) return 0;
    sizeGuard = true;
    GetClientRect(hWnd, &state->client);
    {
        WindowDC dc(hWnd);
        if (dc) {
            SavedDC saved(dc.get());
            Recompute(dc.get(), *state);
        }
    }
    UpdateScrollBars(hWnd, *state);
    sizeGuard = false;
    return 0;
}

VXAPI LRESULT VXCALL DisplayWmVertScroll(HWND hWnd, WPARAM wParam, LPARAM, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    if (state != nullptr) ScrollMessage(hWnd, wParam, *state, Axis::vertical);
    return 0;
}

VXAPI LRESULT VXCALL DisplayWmHorzScroll(HWND hWnd, WPARAM wParam, LPARAM, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    if (state != nullptr) ScrollMessage(hWnd, wParam, *state, Axis::horizontal);
    return 0;
}

VXAPI LRESULT VXCALL DisplayWmPaint(HWND hWnd, VXDISPLAYSTATE* state) {
    if (hWnd == nullptr) return 1;
    PAINTSTRUCT paint{};
    HDC dc = BeginPaint(hWnd, &paint);
    if (state != nullptr && dc != nullptr) {
        // GetClassLongPtrA is GetClassLongA on 32-bit Windows; on 64-bit only it keeps the whole handle.
        auto brush = reinterpret_cast<HBRUSH>(GetClassLongPtrA(hWnd, GCLP_HBRBACKGROUND));
        ObjectSelection selection(dc, brush);
        DrawImage(dc, *state, nullptr);
        POINT corners[2] = {{0, 0}, {state->imageWidth, state->imageHeight}};
        {
            SavedDC saved(dc);
            MapDisplay(dc, *state, false);
            LPtoDP(dc, corners, 2);
        }
        ExcludeClipRect(dc, corners[0].x, corners[0].y, corners[1].x, corners[1].y);
        // The paint rectangle with its right and bottom edges included.
        const RECT& area = paint.rcPaint;
        PatBlt(dc, area.left, area.top, area.right - area.left + 1, area.bottom - area.top + 1, PATCOPY);
    }
    EndPaint(hWnd, &paint);
    return 0;
}

VXAPI int VXCALL DisplaySetScrollPos(HWND hWnd, VXDISPLAYSTATE* state, LPPOINT point) {
    if (hWnd == nullptr || point == nullptr) return 1;
    if (state == nullptr) return 0;
    VXDISPLAYSTATE& s = *state;
    const POINT old{s.scrollX, s.scrollY};
    OwnedObject<HRGN> rest(CreateRectRgn(0, 0, 0, 0));
    RECT update{0, 0, 0, 0};
    LONG dx = 0, dy = 0;
    {
        WindowDC dc(hWnd);
        if (!dc) return 0;
        {
            SavedDC saved(dc.get());
            const SIZE steps = ScrollSteps(dc.get(), s);
            s.scrollX = SnapScroll(old.x, point->x, s.hMin, s.hMax, steps.cx);
            s.scrollY = SnapScroll(old.y, point->y, s.vMin, s.vMax, steps.cy);
            ClampScroll(s);
        }
        dx = Difference(old.x, s.scrollX);
        dy = Difference(old.y, s.scrollY);
        if (dx == 0 && dy == 0) return 0;
        ScrollDC(dc.get(), dx, dy, &s.client, &s.client, rest.get(), &update);
    }
    // What the scroll uncovered is repainted strip by strip, each axis's strip at once, then
    // whatever else the update region holds.
    ValidateRgn(hWnd, rest.get());
    if (dx != 0) RepaintStrip(hWnd, UncoveredStrip(update, dx, true), rest.get());
    if (dy != 0) RepaintStrip(hWnd, UncoveredStrip(update, dy, false), rest.get());
    InvalidateRgn(hWnd, rest.get(), FALSE);
    UpdateWindow(hWnd);
    UpdateScrollBars(hWnd, s);
    return 0;
}

VXAPI DWORD VXCALL DisplayDIBImageDC(HDC hDC, VXDISPLAYSTATE* state) {
    if (state == nullptr || !IsDC(hDC)) return 0;
    ClampScroll(*state);
    DrawImage(hDC, *state, nullptr);
    return state->flags;
}

VXAPI DWORD VXCALL DisplayImageDC(HDC hDC, VXDISPLAYSTATE* state) { return DisplayDIBImageDC(hDC, state); }

VXAPI DWORD VXCALL MapDisplayDC(HDC hDC, VXDISPLAYSTATE* state) {
    if (state == nullptr || !IsDC(hDC)) return 0;
    MapDisplay(hDC, *state, false);
    return state->flags;
}

VXAPI int VXCALL GetLowMemStretch(void) { return lowMemStretch; }

VXAPI int VXCALL SetLowMemStretch(int value) { return std::exchange(lowMemStretch, value); }

}  // extern "C"

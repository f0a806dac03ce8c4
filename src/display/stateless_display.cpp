// stateless_display.cpp - the two paint handlers that keep no state record: DisplayImage (a
// device bitmap) and DisplayDIBImage (an HDIB), each one whole WM_PAINT from BeginPaint to
// EndPaint, whose result they answer.
//
// Both measure in hundredths of an inch, so that an image of any resolution shows at its
// physical size, and both take the scroll position from a VXVIEW the caller keeps between
// paints (image pixels in x and y, a pending move in device pixels in dx and dy, cleared once
// applied). The layouts are LayOutBitmapPaint and LayOutDibPaint (view_layout.cpp); this file
// does the drawing around them:
//   - MM_TEXT, COLORONCOLOR, the palette selected as a background palette and realised (for a
//     bitmap in the paint DC and in the memory DC it is selected into; for a DIB the palette is
//     made from its colour table here and deleted at the end);
//   - the picture by StretchBlt (bitmap) or DrawDib (DIB: StretchDIBits, or with the low-memory
//     stretch switch on the crop-and-scale at exactly the destination size drawn 1:1, the
//     same picture as StretchDIBits at a scale of 1, and a half-source-pixel different choice
//     of column and row elsewhere: GDI samples (i + 1/2) w / n, the crop-and-scale i w / n
//     rounded);
//   - NOTSRCCOPY with DISPLAY_INVERT in `mode`, else SRCCOPY;
//   - the drawn rectangle excluded and the rest of the paint rectangle filled with the window
//     class's background brush (PATCOPY), so nothing of an older picture stays.
// DisplayImage sets the scroll bars' ranges and positions outside fit mode and leaves them
// alone in it; DisplayDIBImage shows a bar only on an axis that needs it (and reads the client
// size again after showing or hiding one), and hides both in fit mode.
//
// Defined results for bad input: a NULL window answers FALSE without painting; a NULL view
// is a view at the top left whose updates are dropped; a NULL zoom, or a pair with a term of
// 0 or less, is 1:1; a bitmap or DIB that cannot be read (NULL, deleted, unlockable, a header
// claiming more than its block holds, compressed) gives a paint that only fills the background;
// a window of zero client size draws nothing.
#include "vexora.h"

#include "display/view_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"

namespace vx::display {
namespace {

DWORD RasterOperation(DWORD mode) { return (mode & DISPLAY_INVERT) ? NOTSRCCOPY : SRCCOPY; }

void SetAxis(HWND window, int bar, int range, int position) {
    SetScrollRange(window, bar, 0, range, FALSE);
    SetScrollPos(window, bar, position, TRUE);
}

// Fills what the picture left of the paint rectangle with the class background brush.
void FillAround(HWND window, HDC dc, const PAINTSTRUCT& paint, const RECT& drawn) {
    if (drawn.right > drawn.left && drawn.bottom > drawn.top)
        ExcludeClipRect(dc, drawn.left, drawn.top, drawn.right, drawn.bottom);
    const auto brush = reinterpret_cast<HBRUSH>(GetClassLongPtrA(window, GCLP_HBRBACKGROUND));
    if (brush == nullptr) return;
    const ObjectSelection selected(dc, brush);
    if (!selected) return;
    const RECT& r = paint.rcPaint;
    PatBlt(dc, r.left, r.top, r.right - r.left, r.bottom - r.top, PATCOPY);
}

PaintInput InputFor(HWND window, HDC dc, int width, int height, double dpiX, double dpiY, const int* zoom,
                    DWORD mode) {
    RECT client{0, 0, 0, 0};
    GetClientRect(window, &client);
    PaintInput in;
    in.clientWidth = client.right;
    in.clientHeight = client.bottom;
    in.imageWidth = width;
    in.imageHeight = height;
    in.imageDpiX = dpiX;
    in.imageDpiY = dpiY;
    in.deviceDpiX = GetDeviceCaps(dc, LOGPIXELSX);
    in.deviceDpiY = GetDeviceCaps(dc, LOGPIXELSY);
    in.zoom = zoom;
    in.fit = (mode & DISPLAY_FIT) != 0;
    return in;
}

void PaintBitmap(HWND window, HDC dc, const PAINTSTRUCT& paint, HBITMAP bitmap, HPALETTE palette, VXVIEW& view,
                 const int* resolution, const int* zoom, DWORD mode) {
    BITMAP facts{};
    RECT drawn{0, 0, 0, 0};
    if (bitmap != nullptr && GetObjectA(bitmap, sizeof facts, &facts) != 0 && facts.bmWidth > 0 &&
        facts.bmHeight > 0) {
        SetMapMode(dc, MM_TEXT);
        SetStretchBltMode(dc, COLORONCOLOR);
        const PaintLayout layout = LayOutBitmapPaint(
            InputFor(window, dc, facts.bmWidth, facts.bmHeight, resolution != nullptr ? resolution[0] : 0,
                     resolution != nullptr ? resolution[1] : 0, zoom, mode),
            view);
        if (layout.setsScrollBars) {
            SetAxis(window, SB_HORZ, layout.rangeX, layout.positionX);
            SetAxis(window, SB_VERT, layout.rangeY, layout.positionY);
        }
        const MemoryDC memory(dc);
        const PaletteSelection inWindow(dc, palette, TRUE);
        const PaletteSelection inMemory(memory.get(), palette, TRUE);
        if (inWindow) RealizePalette(dc);
        if (inMemory) RealizePalette(memory.get());
        const ObjectSelection selected(memory.get(), bitmap);
        const RECT& s = layout.source;
        const RECT& d = layout.destination;
        if (memory && selected && d.right > d.left && d.bottom > d.top && s.right > s.left && s.bottom > s.top) {
            StretchBlt(dc, d.left, d.top, d.right - d.left, d.bottom - d.top, memory.get(), s.left, s.top,
                       s.right - s.left, s.bottom - s.top, RasterOperation(mode));
            drawn = d;
        }
    }
    FillAround(window, dc, paint, drawn);
}

void PaintDib(HWND window, HDC dc, const PAINTSTRUCT& paint, HDIB hDIB, VXVIEW& view, const int* zoom, DWORD mode) {
    RECT drawn{0, 0, 0, 0};
    {
        const BlockLock block(hDIB);
        if (const auto dib = ReadDibFacts(block.data(), block.size())) {
            // Exact resolution, not rounded to whole dots per inch: 0.025400052 inch per metre unit.
            PaintInput in = InputFor(window, dc, dib->width, dib->height, dib->pelsX * 0.025400052,
                                     dib->pelsY * 0.025400052, zoom, mode);
            const ScrollBarsShown bars = DibScrollBars(in);
            ShowScrollBar(window, SB_HORZ, bars.horizontal);
            ShowScrollBar(window, SB_VERT, bars.vertical);
            in = InputFor(window, dc, dib->width, dib->height, in.imageDpiX, in.imageDpiY, zoom, mode);
            const PaintLayout layout = LayOutDibPaint(in, view);
            if (bars.horizontal) SetAxis(window, SB_HORZ, layout.rangeX, layout.positionX);
            if (bars.vertical) SetAxis(window, SB_VERT, layout.rangeY, layout.positionY);
            SetMapMode(dc, MM_TEXT);
            SetStretchBltMode(dc, COLORONCOLOR);
            const OwnedObject<HPALETTE> palette(CreateDIBPalette(hDIB));
            const PaletteSelection selected(dc, palette.get(), TRUE);
            if (selected) RealizePalette(dc);
            DrawDib(dc, *dib, layout.source, layout.destination, RasterOperation(mode), 0);
            drawn = layout.destination;
        }
    }
    FillAround(window, dc, paint, drawn);
}

}  // namespace
}  // namespace vx::display

extern "C" {

VXAPI BOOL VXCALL DisplayImage(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette, VXVIEW* view, const int* resolution,
                               const int* zoom, DWORD mode) {
    if (hWnd == nullptr) return FALSE;
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(hWnd, &paint);
    if (dc == nullptr) return FALSE;
    VXVIEW local{0, 0, 0, 0};
    vx::display::PaintBitmap(hWnd, dc, paint, hBitmap, hPalette, view != nullptr ? *view : local, resolution, zoom,
                             mode);
    return EndPaint(hWnd, &paint);
}

VXAPI BOOL VXCALL DisplayDIBImage(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD mode) {
    if (hWnd == nullptr) return FALSE;
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(hWnd, &paint);
    if (dc == nullptr) return FALSE;
    VXVIEW local{0, 0, 0, 0};
    vx::display::PaintDib(hWnd, dc, paint, hDIB, view != nullptr ? *view : local, zoom, mode);
    return EndPaint(hWnd, &paint);
}

}  // extern "C"

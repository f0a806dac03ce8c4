// cpp_view.cpp - the scrolling DIB view in physical units: DisplayCPPImage (WM_PAINT),
// DisplayCPPSize (WM_SIZE), DisplayCPPHScroll and DisplayCPPVScroll (WM_HSCROLL, WM_VSCROLL).
//
// The application keeps a four-field VXVIEW per window instead of a display state record; the
// four calls read the client size, the device resolution and the DIB's header, run the one
// layout (LayOutCppView in view_layout.cpp) and then paint or set the scroll bars. Scroll bars
// count hundredths of an inch of the image, so a thumb position survives a change of zoom.
//
// Painting uses StretchDIBits in MM_TEXT with the COLORONCOLOR stretch mode (a shrunk picture
// keeps its colours instead of AND-ing neighbours as the default mode would), or, with the
// low-memory stretch switch on, the library's nearest-neighbour crop-and-scale to the
// destination size less one pixel each way, drawn 1:1: that path leaves the destination's last
// column and row unpainted and samples its columns at (2 i w + n) / 2n of a rectangle one
// pixel narrower than GDI's (i + 1/2) w / n, so the two pictures agree only where both
// mappings pick the same source pixel.
//
// Defined results for bad input: a NULL window answers 0 and does nothing; a NULL view acts
// as a view at the image's top left whose updates are dropped; a NULL, unlockable or malformed
// DIB (see ReadDibFacts) leaves the scroll bars and the window alone and answers the flags as
// given (DisplayCPPImage still begins and ends painting, so the window is validated). A window
// of zero client size draws nothing.
#include "vexora.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "display/view_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"

namespace vx::display {
namespace {

struct DeviceDpi {
    int x = 96, y = 96;
};

DeviceDpi DpiOf(HDC dc) { return {GetDeviceCaps(dc, LOGPIXELSX), GetDeviceCaps(dc, LOGPIXELSY)}; }

DeviceDpi WindowDpi(HWND window) {
    const WindowDC dc(window);
    return dc ? DpiOf(dc.get()) : DeviceDpi{};
}

CppInput InputFor(const DibFacts& dib, int clientWidth, int clientHeight, DeviceDpi dpi, const int* zoom,
                  DWORD flags) {
    CppInput in;
    in.clientWidth = clientWidth;
    in.clientHeight = clientHeight;
    in.imageWidth = dib.width;
    in.imageHeight = dib.height;
    in.imageDpiX = RoundedDpi(dib.pelsX);
    in.imageDpiY = RoundedDpi(dib.pelsY);
    in.deviceDpiX = dpi.x;
    in.deviceDpiY = dpi.y;
    in.zoom = zoom;
    in.flags = flags;
    return in;
}

void SetScrollBars(HWND window, const CppLayout& layout) {
    SetScrollRange(window, SB_HORZ, 0, layout.scrolls ? layout.rangeX : 0, FALSE);
    SetScrollPos(window, SB_HORZ, layout.scrolls ? layout.positionX : 0, TRUE);
    SetScrollRange(window, SB_VERT, 0, layout.scrolls ? layout.rangeY : 0, FALSE);
    SetScrollPos(window, SB_VERT, layout.scrolls ? layout.positionY : 0, TRUE);
}

LONG Saturate(int64_t value) { return static_cast<LONG>(std::clamp<int64_t>(value, INT_MIN, INT_MAX)); }

// One scroll code applied to one axis of the view: `position`/`pending` are x/dx or y/dy.
void ApplyScrollCode(LONG& position, LONG& pending, int code, int thumb, int clientLength, int barMaximum) {
    switch (code) {
        case SB_LINEUP: pending = Saturate(int64_t{pending} - 1); break;
        case SB_LINEDOWN: pending = Saturate(int64_t{pending} + 1); break;
        case SB_PAGEUP: pending = Saturate(int64_t{pending} - clientLength / 2); break;
        case SB_PAGEDOWN: pending = Saturate(int64_t{pending} + clientLength / 2); break;
        case SB_THUMBPOSITION:
        case SB_THUMBTRACK:
            position = -1;
            pending = thumb;
            break;
        case SB_TOP:
            position = 0;
            pending = 0;
            break;
        case SB_BOTTOM:
            position = -1;
            pending = barMaximum;
            break;
        default: break;
    }
}

// The size and scroll handlers: an optional scroll step on the view, the layout, the scroll
// bars, and an invalidation of the whole client area.
template <typename Step>
DWORD UpdateView(HWND window, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags, const RECT* client, BOOL erase,
                 Step step) {
    if (window == nullptr) return 0;
    const BlockLock block(hDIB);
    const auto dib = ReadDibFacts(block.data(), block.size());
    if (!dib) return flags;
    RECT area{0, 0, 0, 0};
    if (client != nullptr) {
        area = *client;
    } else {
        GetClientRect(window, &area);
    }
    VXVIEW local{0, 0, 0, 0};
    VXVIEW& v = view != nullptr ? *view : local;
    step(v, area);
    const CppLayout layout = LayOutCppView(
        InputFor(*dib, area.right - area.left, area.bottom - area.top, WindowDpi(window), zoom, flags), v);
    SetScrollBars(window, layout);
    InvalidateRect(window, nullptr, erase);
    return layout.flags;
}

// One scroll step of the view on one axis (SB_HORZ or SB_VERT), then the layout.
DWORD ScrollView(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags, int bar, int code, int thumb) {
    return UpdateView(hWnd, hDIB, view, zoom, flags, nullptr, FALSE, [&](VXVIEW& v, const RECT& client) {
        int minimum = 0, maximum = 0;
        if (code == SB_BOTTOM) GetScrollRange(hWnd, bar, &minimum, &maximum);
        if (bar == SB_HORZ)
            ApplyScrollCode(v.x, v.dx, code, thumb, client.right - client.left, maximum);
        else
            ApplyScrollCode(v.y, v.dy, code, thumb, client.bottom - client.top, maximum);
    });
}

}  // namespace
}  // namespace vx::display

extern "C" {

VXAPI DWORD VXCALL DisplayCPPImage(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags) {
    using namespace vx;
    using namespace vx::display;
    if (hWnd == nullptr) return 0;
    PAINTSTRUCT paint{};
    const HDC dc = BeginPaint(hWnd, &paint);
    if (dc == nullptr) return flags;
    DWORD result = flags;
    {
        const BlockLock block(hDIB);
        if (const auto dib = ReadDibFacts(block.data(), block.size())) {
            RECT client{0, 0, 0, 0};
            GetClientRect(hWnd, &client);
            VXVIEW local{0, 0, 0, 0};
            const CppLayout layout =
                LayOutCppView(InputFor(*dib, client.right, client.bottom, DpiOf(dc), zoom, flags),
                              view != nullptr ? *view : local);
            result = layout.flags;
            const RECT& d = layout.destination;
            if (d.left < client.right && d.right > 0 && d.top < client.bottom && d.bottom > 0) {
                const OwnedObject<HPALETTE> palette(CreateDIBPalette(hDIB));
                const PaletteSelection selected(dc, palette.get(), TRUE);
                if (palette) RealizePalette(dc);
                SetMapMode(dc, MM_TEXT);
                SetStretchBltMode(dc, COLORONCOLOR);
                DrawDib(dc, *dib, layout.source, layout.destination,
                        (layout.flags & DISPLAY_INVERT) ? NOTSRCCOPY : SRCCOPY, 1);
            }
        }
    }
    EndPaint(hWnd, &paint);
    return result;
}

VXAPI DWORD VXCALL DisplayCPPSize(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags, LPARAM size) {
    const RECT client{0, 0, static_cast<LONG>(size & 0xFFFF), static_cast<LONG>((size >> 16) & 0xFFFF)};
    return vx::display::UpdateView(hWnd, hDIB, view, zoom, flags, &client, TRUE, [](VXVIEW&, const RECT&) {});
}

VXAPI DWORD VXCALL DisplayCPPHScroll(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags, int code,
                                     int thumb) {
    return vx::display::ScrollView(hWnd, hDIB, view, zoom, flags, SB_HORZ, code, thumb);
}

VXAPI DWORD VXCALL DisplayCPPVScroll(HWND hWnd, HDIB hDIB, VXVIEW* view, const int* zoom, DWORD flags, int code,
                                     int thumb) {
    return vx::display::ScrollView(hWnd, hDIB, view, zoom, flags, SB_VERT, code, thumb);
}

}  // extern "C"

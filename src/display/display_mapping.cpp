// display_mapping.cpp - the display engine's arithmetic on a state record: MapDisplay, Recompute,
// ScrollRanges, ClampScroll and SnapScroll (display_state.hpp).
//
// A record is shown through an anisotropic mapping of the device context: logical units are
// image pixels, device units are client pixels. The mapping is always rebuilt from nothing
// through the real GDI calls (SetMapMode, ScaleWindowExtEx, ScaleViewportExtEx, ...), never
// computed on the side, so that every point the engine stores (origins, centring, scroll
// limits) is the one GDI's own rounding gives for that DC, on Windows and in the Linux subset
// alike.
//
// The order of the layers matters and is kept: the zoom ratio first, then the resolution
// correction (device dpi / image dpi), then, replacing both, fit or stretch. A plain zoom's
// extents are then reduced by halving until both viewport extents are below 17: the ratio
// survives approximately and every device coordinate the engine produces stays within what a
// 16-bit coordinate space could address. Fit is computed in single precision, as it always
// was: a double would move the fitted edge by a pixel for some client sizes.
//
// Centring and scrolling both act on the window origin: the device point (centre + scroll) is
// converted to logical units and becomes the origin. A centre is negative when the image is
// smaller than the client area (the image moves right/down) and positive when it is larger
// (the resting view shows the image's middle); the scroll limits are offset by it, so that a
// scroll position of 0 is always the resting view.
//
// Bad terms never divide by zero here: a zero in the zoom or a zero resolution is refused by
// GDI's Scale...ExtEx (the extent stays as it was), and the fit's single-precision quotients
// become infinities or NaN that are converted to integers without undefined behaviour (the
// scale GDI is then asked for is refused the same way).
#include <algorithm>
#include <cstdint>

#include "display/display_state.hpp"

#include "dib_layout.hpp"

namespace vx::display {
namespace {

// Sums and differences wrap as 32-bit values: a record is the caller's memory and may hold anything.
LONG Difference(LONG a, LONG b) { return static_cast<LONG>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }
LONG Sum(LONG a, LONG b) { return static_cast<LONG>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
LONG ClientWidth(const VXDISPLAYSTATE& s) { return Difference(s.client.right, s.client.left); }
LONG ClientHeight(const VXDISPLAYSTATE& s) { return Difference(s.client.bottom, s.client.top); }

// A clean anisotropic mapping: MM_TEXT in between resets both extents to 1 (setting
// MM_ANISOTROPIC again while in it would keep the old extents).
void StartAfresh(HDC dc) {
    SetMapMode(dc, MM_TEXT);
    SetMapMode(dc, MM_ANISOTROPIC);
}

// Fit keeping the aspect, corrected for the pixel aspect (image dpi against device dpi).
VX_EXACT_DOUBLES void MapFit(HDC dc, const VXDISPLAYSTATE& s) {
    StartAfresh(dc);
    const float ratio = static_cast<float>(s.deviceDpiY) / static_cast<float>(s.deviceDpiX) *
                        (static_cast<float>(s.imageDpiX) / static_cast<float>(s.imageDpiY));
    int32_t aspectWidth = s.imageWidth, aspectHeight = s.imageHeight;
    if (ratio > 1.0f)
        aspectWidth = TruncToInt32(static_cast<float>(s.imageWidth) / ratio);
    else
        aspectHeight = TruncToInt32(static_cast<float>(s.imageHeight) * ratio);
    const float scaleX = static_cast<float>(ClientWidth(s)) / static_cast<float>(aspectWidth);
    const float scaleY = static_cast<float>(ClientHeight(s)) / static_cast<float>(aspectHeight);
    const float scale = scaleX < scaleY ? scaleX : scaleY;
    StartAfresh(dc);
    ScaleViewportExtEx(dc, TruncToInt32(scale * static_cast<float>(aspectWidth)), 1,
                       TruncToInt32(scale * static_cast<float>(aspectHeight)), 1, nullptr);
    ScaleWindowExtEx(dc, s.imageWidth, 1, s.imageHeight, 1, nullptr);
}

// Halves all four extents while a viewport extent is 17 or more, stopping before any of them
// would become 0.
void ReduceExtents(HDC dc) {
    SIZE window{1, 1}, viewport{1, 1};
    GetWindowExtEx(dc, &window);
    GetViewportExtEx(dc, &viewport);
    while (viewport.cx >= 17 || viewport.cy >= 17) {
        const SIZE keptWindow = window, keptViewport = viewport;
        window.cx /= 2;
        window.cy /= 2;
        viewport.cx /= 2;
        viewport.cy /= 2;
        if (viewport.cx == 0) viewport.cx = 1;
        if (viewport.cy == 0) viewport.cy = 1;
        if (window.cx == 0 || window.cy == 0 || viewport.cx == 0 || viewport.cy == 0) {
            window = keptWindow;
            viewport = keptViewport;
            break;
        }
    }
    SetWindowExtEx(dc, window.cx, window.cy, nullptr);
    SetViewportExtEx(dc, viewport.cx, viewport.cy, nullptr);
}

POINT ToDevice(HDC dc, LONG x, LONG y) {
    POINT p{x, y};
    LPtoDP(dc, &p, 1);
    return p;
}

POINT ToLogical(HDC dc, LONG x, LONG y) {
    POINT p{x, y};
    DPtoLP(dc, &p, 1);
    return p;
}

// Keeps `position` within [low, high]; true when it moved.
bool ClampAxis(LONG& position, LONG low, LONG high) {
    const LONG before = position;
    if (position < low) position = low;
    if (position > high) position = high;
    return position != before;
}

}  // namespace

void MapDisplay(HDC dc, VXDISPLAYSTATE& s, bool reset) {
    SetMapMode(dc, MM_TEXT);
    SetWindowOrgEx(dc, 0, 0, nullptr);
    if (reset) s.centreX = s.centreY = 0;

    SetMapMode(dc, MM_ANISOTROPIC);
    ScaleWindowExtEx(dc, s.zoom.xDiv, 1, s.zoom.yDiv, 1, nullptr);
    ScaleViewportExtEx(dc, s.zoom.xMul, 1, s.zoom.yMul, 1, nullptr);
    if (s.flags & DISPLAY_TRUESIZE) {
        ScaleViewportExtEx(dc, s.deviceDpiX, 1, s.deviceDpiY, 1, nullptr);
        ScaleWindowExtEx(dc, s.imageDpiX, 1, s.imageDpiY, 1, nullptr);
    }

    if (s.flags & DISPLAY_FIT) {
        MapFit(dc, s);
        if (reset) s.scrollX = s.scrollY = 0;
    } else if (s.flags & DISPLAY_STRETCH) {
        StartAfresh(dc);
        SetWindowExtEx(dc, s.imageWidth, s.imageHeight, nullptr);
        SetViewportExtEx(dc, ClientWidth(s), ClientHeight(s), nullptr);
    } else {
        ReduceExtents(dc);
    }

    if (s.flags & DISPLAY_CENTER) {
        const POINT origin = ToDevice(dc, 0, 0), corner = ToDevice(dc, s.imageWidth, s.imageHeight);
        // 64-bit: a 2^31-pixel image or a mapping that overflowed must not wrap here.
        const int64_t dx = int64_t{ClientWidth(s)} - (int64_t{corner.x} - origin.x);
        const int64_t dy = int64_t{ClientHeight(s)} - (int64_t{corner.y} - origin.y);
        if (reset) {
            s.centreX = static_cast<LONG>(-(dx / 2));
            s.centreY = static_cast<LONG>(-(dy / 2));
        }
    }

    const POINT windowOrigin = ToLogical(dc, Sum(s.centreX, s.scrollX), Sum(s.centreY, s.scrollY));
    SetWindowOrgEx(dc, windowOrigin.x, windowOrigin.y, nullptr);
    if (reset) {
        s.windowOrgX = windowOrigin.x;
        s.windowOrgY = windowOrigin.y;
    }
    s.originLogical = ToLogical(dc, 0, 0);
    s.originDevice = ToDevice(dc, 0, 0);
}

void ScrollRanges(HDC dc, VXDISPLAYSTATE& s) {
    POINT kept{0, 0};
    SetWindowOrgEx(dc, 0, 0, &kept);
    const POINT extent = ToDevice(dc, s.imageWidth, s.imageHeight);
    SetWindowOrgEx(dc, kept.x, kept.y, nullptr);
    const int64_t excessX = int64_t{extent.x} - ClientWidth(s), excessY = int64_t{extent.y} - ClientHeight(s);
    if (excessX < 1) {
        s.hMin = s.hMax = -1;
    } else {
        s.hMin = static_cast<LONG>(-int64_t{s.centreX});
        s.hMax = static_cast<LONG>(excessX - s.centreX);
    }
    if (excessY <= 0) {
        s.vMin = s.vMax = -1;
    } else {
        s.vMin = static_cast<LONG>(-int64_t{s.centreY});
        s.vMax = static_cast<LONG>(excessY - s.centreY);
    }
}

void Recompute(HDC dc, VXDISPLAYSTATE& s) {
    MapDisplay(dc, s, true);
    ScrollRanges(dc, s);
}

bool ClampScroll(VXDISPLAYSTATE& s) {
    const bool movedX = ClampAxis(s.scrollX, s.hMin, s.hMax);
    const bool movedY = ClampAxis(s.scrollY, s.vMin, s.vMax);
    return movedX || movedY;
}

LONG SnapScroll(LONG old, int64_t target, LONG low, LONG high, LONG step) {
    // In 64 bits: limits near 2^31 plus a step must not wrap.
    target = std::max<int64_t>(int64_t{low} - step, target);
    target = std::min<int64_t>(int64_t{high} + step, target);
    const int64_t snapped = old - (old - target) / step * step;
    return static_cast<LONG>(std::clamp<int64_t>(snapped, INT32_MIN, INT32_MAX));
}

}  // namespace vx::display

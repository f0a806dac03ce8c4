// zoom_drag.cpp - Zoom: the user drags a rectangle in a window and the library turns it into
// a zoom percentage.
//
// Zoom runs its own modal loop on the caller's thread. It confines the cursor to the client
// area and draws the rectangle from the start point to the mouse with R2_NOTXORPEN: the DC's
// black pen inverts the outline and its white brush leaves the inside as it is, so drawing
// the same rectangle again erases it. The loop takes the window's mouse messages
// (WM_MOUSEMOVE to WM_MBUTTONDBLCLK) out of the queue and ends on WM_LBUTTONUP; other
// messages stay queued for the application.
//
// The loop takes every mouse message already queued before it waits, and waits only when
// none is there: WaitMessage returns for messages that arrived since the queue was last
// looked at, so a batch queued before the call (or several arriving at once) is not left
// behind. When WaitMessage fails, as the Linux window layer's does when its host says no
// input will come, or when the window goes away, the drag ends at the last position seen.
//
// The rectangle gives zx = (ratio[0] / ratio[1], 1 when ratio[1] is 0) x client width /
// rectangle width, zy likewise from ratio[2], ratio[3] and the heights, each capped at 5
// (500 %); an empty rectangle counts as the cap. ratio becomes {zoom, 100, zoom, 100} with
// zoom = floor(min(zx, zy) x 100), and the window is repainted with erase.
#include <algorithm>
#include <cmath>

#include "vexora.h"

namespace vx::zoom {
namespace {

constexpr double kCap = 5.0;

double AxisZoom(const int* pair, LONG clientExtent, LONG dragExtent) {
    if (dragExtent == 0) return kCap;
    const double current = pair[1] != 0 ? static_cast<double>(pair[0]) / pair[1] : 1.0;
    return std::min(current * clientExtent / dragExtent, kCap);
}

POINT PointOf(LPARAM position) {
    return POINT{static_cast<short>(LOWORD(position)), static_cast<short>(HIWORD(position))};
}

class DragRectangle {
public:
    DragRectangle(HDC dc, POINT start) : dc_(dc), start_(start), end_(start) {}
    // Moves the corner to `p`: the old rectangle is drawn again (erased), the new one drawn.
    void moveTo(POINT p) {
        if (p.x == end_.x && p.y == end_.y) return;
        erase();
        end_ = p;
        Rectangle(dc_, start_.x, start_.y, end_.x, end_.y);
        shown_ = true;
    }
    void erase() {
        if (shown_) Rectangle(dc_, start_.x, start_.y, end_.x, end_.y);
        shown_ = false;
    }
    POINT end() const { return end_; }

private:
    HDC dc_;
    POINT start_, end_;
    bool shown_ = false;
};

// The modal loop; answers the last corner.
POINT Track(HWND window, HDC dc, POINT start) {
    DragRectangle band(dc, start);
    MSG message;
    for (;;) {
        if (!PeekMessageA(&message, window, WM_MOUSEFIRST, WM_MBUTTONDBLCLK, PM_REMOVE)) {
            if (!IsWindow(window) || !WaitMessage()) break;
            continue;
        }
        POINT p = PointOf(message.lParam);
        DPtoLP(dc, &p, 1);
        band.moveTo(p);
        if (message.message == WM_LBUTTONUP) break;
    }
    band.erase();
    return band.end();
}

BOOL Run(HWND window, LPARAM start, int* ratio) {
    RECT client{0, 0, 0, 0};
    GetClientRect(window, &client);
    POINT anchor = PointOf(start);
    if (!PtInRect(&client, anchor)) {
        MessageBeep(0);
        return FALSE;
    }
    RECT screen = client;
    ClientToScreen(window, reinterpret_cast<POINT*>(&screen.left));
    ClientToScreen(window, reinterpret_cast<POINT*>(&screen.right));
    ClipCursor(&screen);
    HDC dc = GetDC(window);
    POINT end = anchor;
    if (dc != nullptr) {
        SetROP2(dc, R2_NOTXORPEN);
        DPtoLP(dc, &anchor, 1);
        end = Track(window, dc, anchor);
        ReleaseDC(window, dc);
    }
    ClipCursor(nullptr);

    const LONG width = std::abs(end.x - anchor.x), height = std::abs(end.y - anchor.y);
    const double z = std::min(AxisZoom(ratio, client.right, width), AxisZoom(ratio + 2, client.bottom, height)) * 100.0;
    // floor, within the range of an int (a negative ratio gives a negative zoom).
    const int zoom = z >= -2147483648.0 ? static_cast<int>(std::floor(z)) : -2147483647 - 1;
    ratio[0] = ratio[2] = zoom;
    ratio[1] = ratio[3] = 100;
    InvalidateRect(window, nullptr, TRUE);
    return UpdateWindow(window);
}

}  // namespace
}  // namespace vx::zoom

extern "C" VXAPI BOOL VXCALL Zoom(HWND hWnd, LPARAM start, int* ratio) {
    if (hWnd == nullptr || ratio == nullptr || !IsWindow(hWnd)) return FALSE;
    return vx::zoom::Run(hWnd, start, ratio);
}

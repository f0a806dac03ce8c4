// window_scroll_bars.cpp - the standard scroll bars of a window: SetScrollRange,
// GetScrollRange, SetScrollPos, GetScrollPos, ShowScrollBar and VexoraScrollBarShown.
//
// A bar is a range, a position and whether it is shown; it is drawn by the host, outside the
// client pixels, and told of every change (VXWINDOWHOST.scrollBars). As under Wine:
//   - a range whose minimum is above its maximum, or which spans 2^31 or more, becomes 0..0;
//   - setting a range that differs from the bar's shows the bar when the range is not empty
//     (minimum below maximum) and hides it otherwise, whatever the redraw flag says; setting
//     the same range again changes nothing (so -1..-1 hides a bar like 0..0 does);
//   - the position is kept inside the range: SetScrollPos clamps and answers the previous
//     position, and a new range pulls the position into itself;
//   - ShowScrollBar shows or hides without touching range or position.
// Showing or hiding a bar resizes the client area by SM_CXVSCROLL or SM_CYHSCROLL before the
// call returns (ResizeClient, window.hpp), WM_SIZE included.
//
// A window that never had a range answers 0..0. Wine starts a bar it has never seen at
// 0..100, so there a first range of exactly 0..100 shows nothing; this layer behaves as
// Windows itself, where any non-empty first range shows the bar.
#include <algorithm>
#include <cstdint>

#include "platform/posix/window.hpp"

namespace vx::posix::user {
namespace {

bool StandardBar(int bar) { return bar == SB_HORZ || bar == SB_VERT; }

// Tells the host its bars changed.
void NotifyBars(HWND window) {
    VXWINDOWHOST host;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr || found->host.scrollBars == nullptr) return;
        host = found->host;
    }
    host.scrollBars(host.context, window);
}

// After a bar change: the client area follows what is shown, then the host hears of it.
void BarsChanged(HWND window, bool visibilityChanged) {
    if (visibilityChanged) ResizeClient(window);
    NotifyBars(window);
}

}  // namespace
}  // namespace vx::posix::user

using vx::posix::user::ScrollBar;
using vx::posix::user::Window;
using vx::posix::user::Windows;

extern "C" {

VXPLATFORMAPI BOOL SetScrollRange(HWND window, int bar, int minimum, int maximum, BOOL /*redraw*/) {
    if (!vx::posix::user::StandardBar(bar)) return FALSE;
    if (minimum > maximum || static_cast<uint32_t>(maximum) - static_cast<uint32_t>(minimum) >= 0x80000000u)
        minimum = maximum = 0;
    bool visibilityChanged = false;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        ScrollBar& b = found->bars[bar];
        if (b.minimum == minimum && b.maximum == maximum) return TRUE;
        b.minimum = minimum;
        b.maximum = maximum;
        b.position = std::clamp(b.position, minimum, maximum);
        const bool show = minimum < maximum;
        visibilityChanged = b.shown != show;
        b.shown = show;
    }
    vx::posix::user::BarsChanged(window, visibilityChanged);
    return TRUE;
}

VXPLATFORMAPI BOOL GetScrollRange(HWND window, int bar, LPINT minimum, LPINT maximum) {
    if (!vx::posix::user::StandardBar(bar) || minimum == nullptr || maximum == nullptr) return FALSE;
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr) return FALSE;
    *minimum = found->bars[bar].minimum;
    *maximum = found->bars[bar].maximum;
    return TRUE;
}

VXPLATFORMAPI int SetScrollPos(HWND window, int bar, int position, BOOL /*redraw*/) {
    if (!vx::posix::user::StandardBar(bar)) return 0;
    int previous = 0;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return 0;
        ScrollBar& b = found->bars[bar];
        previous = b.position;
        b.position = std::clamp(position, b.minimum, b.maximum);
        if (b.position == previous) return previous;
    }
    vx::posix::user::BarsChanged(window, false);
    return previous;
}

VXPLATFORMAPI int GetScrollPos(HWND window, int bar) {
    if (!vx::posix::user::StandardBar(bar)) return 0;
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr ? found->bars[bar].position : 0;
}

VXPLATFORMAPI BOOL ShowScrollBar(HWND window, int bar, BOOL show) {
    if (bar != SB_HORZ && bar != SB_VERT && bar != SB_BOTH) return FALSE;
    bool visibilityChanged = false;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        for (int which : {SB_HORZ, SB_VERT}) {
            if (bar != SB_BOTH && bar != which) continue;
            visibilityChanged |= found->bars[which].shown != (show != FALSE);
            found->bars[which].shown = show != FALSE;
        }
    }
    if (visibilityChanged) vx::posix::user::BarsChanged(window, true);
    return TRUE;
}

VXPLATFORMAPI BOOL VexoraScrollBarShown(HWND window, int bar) {
    if (!vx::posix::user::StandardBar(bar)) return FALSE;
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr && found->bars[bar].shown;
}

}  // extern "C"

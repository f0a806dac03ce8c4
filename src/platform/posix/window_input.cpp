// window_input.cpp - the pointer of the library's windows: SetCapture, ReleaseCapture,
// GetCapture, LoadCursorA, SetCursor, GetCursor, ClipCursor and MessageBeep.
//
// The mouse belongs to the host; the library keeps what Windows keeps for the thread. Taking
// or releasing the capture sends WM_CAPTURECHANGED to the window that had it (lParam: the
// window that takes it, or NULL), even when the same window takes it again, as Wine does.
// The cursor is one per process: SetCursor answers the previous one (NULL at first, and NULL
// hides it) and hands the new one to the host of every window. LoadCursorA knows the stock
// cursors of a NULL instance only (IDC_ARROW, IDC_CROSS, ...), each a fixed handle; any other
// name answers NULL. ClipCursor and MessageBeep go to the hosts and answer TRUE.
#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/posix/window.hpp"

namespace vx::posix::user {
namespace {

std::vector<std::pair<HWND, VXWINDOWHOST>> Hosts() {
    std::vector<std::pair<HWND, VXWINDOWHOST>> hosts;
    auto windows = Windows();
    for (const Window* window : windows.all()) hosts.emplace_back(window->handle, window->host);
    return hosts;
}

constexpr WORD kStockCursors[] = {32512, 32513, 32514, 32515, 32516, 32640, 32641, 32642, 32643,
                                  32644, 32645, 32646, 32648, 32649, 32650, 32651};

}  // namespace
}  // namespace vx::posix::user

extern "C" {

VXPLATFORMAPI HWND SetCapture(HWND window) {
    HWND previous = nullptr;
    {
        auto windows = vx::posix::user::Windows();
        if (windows.find(window) == nullptr) return nullptr;
        previous = std::exchange(windows.capture(), window);
    }
    if (previous != nullptr)
        vx::posix::user::SendTo(previous, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
    return previous;
}

VXPLATFORMAPI BOOL ReleaseCapture(void) {
    HWND previous = std::exchange(vx::posix::user::Windows().capture(), nullptr);
    if (previous != nullptr) vx::posix::user::SendTo(previous, WM_CAPTURECHANGED, 0, 0);
    return TRUE;
}

VXPLATFORMAPI HWND GetCapture(void) { return vx::posix::user::Windows().capture(); }

VXPLATFORMAPI HCURSOR LoadCursorA(HINSTANCE instance, LPCSTR name) {
    const auto id = reinterpret_cast<uintptr_t>(name);
    if (instance != nullptr || id > 0xFFFF) return nullptr;
    const auto& stock = vx::posix::user::kStockCursors;
    if (std::find(std::begin(stock), std::end(stock), id) == std::end(stock)) return nullptr;
    return reinterpret_cast<HCURSOR>(0x10000 + id);
}

VXPLATFORMAPI HCURSOR SetCursor(HCURSOR cursor) {
    const HCURSOR previous = std::exchange(vx::posix::user::Windows().cursor(), cursor);
    if (previous != cursor) {
        for (const auto& [window, host] : vx::posix::user::Hosts())
            if (host.cursor != nullptr) host.cursor(host.context, window, cursor);
    }
    return previous;
}

VXPLATFORMAPI HCURSOR GetCursor(void) { return vx::posix::user::Windows().cursor(); }

VXPLATFORMAPI BOOL ClipCursor(const RECT* rect) {
    for (const auto& [window, host] : vx::posix::user::Hosts())
        if (host.clipCursor != nullptr) host.clipCursor(host.context, window, rect);
    return TRUE;
}

VXPLATFORMAPI BOOL MessageBeep(UINT type) {
    for (const auto& [window, host] : vx::posix::user::Hosts()) {
        if (host.beep == nullptr) continue;
        host.beep(host.context, type);
        break;  // one beep, from the first host that makes sounds
    }
    return TRUE;
}

}  // extern "C"

// window_messages.cpp - messages of the library's windows: SendMessageA, PostMessageA,
// PeekMessageA, WaitMessage, DispatchMessageA and DefWindowProcA.
//
// The library's windows belong to the thread that drives them, so one queue serves the
// process, oldest message first. PeekMessageA takes the first queued message that matches
// its window (NULL: any, messages posted to no window included) and its range (0, 0: any);
// with nothing queued that matches, it hands out WM_PAINT for the first window with a
// non-empty update region, as Windows makes paint messages up only when the queue is empty.
// A WM_PAINT is never removed: it comes back until the window is validated (BeginPaint or
// ValidateRect). Messages posted to a window die with it.
//
// SendMessageA and DispatchMessageA call the window procedure directly, with no lock of the
// library held, so a procedure may call any USER or GDI function, send messages and even
// destroy its own window.
#include <algorithm>
#include <chrono>

#include "platform/posix/window.hpp"

namespace vx::posix::user {
namespace {

bool InRange(UINT message, UINT first, UINT last) {
    return (first == 0 && last == 0) || (message >= first && message <= last);
}

DWORD MessageTime() {
    using namespace std::chrono;
    return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace
}  // namespace vx::posix::user

using vx::posix::user::Window;
using vx::posix::user::Windows;

extern "C" {

VXPLATFORMAPI LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return vx::posix::user::SendTo(window, message, wParam, lParam);
}

VXPLATFORMAPI BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    try {
        auto windows = Windows();
        if (window != nullptr && windows.find(window) == nullptr) return FALSE;
        windows.queue().push_back(MSG{window, message, wParam, lParam, vx::posix::user::MessageTime(), POINT{0, 0}});
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

VXPLATFORMAPI BOOL PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
    if (message == nullptr) return FALSE;
    auto windows = Windows();
    if (window != nullptr && windows.find(window) == nullptr) return FALSE;
    auto& queue = windows.queue();
    const auto found = std::find_if(queue.begin(), queue.end(), [&](const MSG& m) {
        return (window == nullptr || m.hwnd == window) && vx::posix::user::InRange(m.message, first, last);
    });
    if (found != queue.end()) {
        *message = *found;
        if ((remove & PM_REMOVE) != 0) queue.erase(found);
        return TRUE;
    }
    if (!vx::posix::user::InRange(WM_PAINT, first, last)) return FALSE;
    for (const Window* candidate : windows.all()) {
        if ((window != nullptr && candidate->handle != window) || candidate->update.empty()) continue;
        *message = MSG{candidate->handle, WM_PAINT, 0, 0, vx::posix::user::MessageTime(), POINT{0, 0}};
        return TRUE;
    }
    return FALSE;
}

VXPLATFORMAPI BOOL WaitMessage(void) {
    std::vector<std::pair<HWND, VXWINDOWHOST>> hosts;
    {
        auto windows = Windows();
        if (!windows.queue().empty()) return TRUE;
        for (const Window* window : windows.all()) {
            if (!window->update.empty()) return TRUE;
            if (window->host.waitMessage != nullptr) hosts.emplace_back(window->handle, window->host);
        }
    }
    for (const auto& [window, host] : hosts)
        if (host.waitMessage(host.context, window)) return TRUE;
    return FALSE;
}

VXPLATFORMAPI LRESULT DispatchMessageA(const MSG* message) {
    if (message == nullptr || message->hwnd == nullptr) return 0;
    return vx::posix::user::SendTo(message->hwnd, message->message, message->wParam, message->lParam);
}

VXPLATFORMAPI LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wParam, LPARAM /*lParam*/) {
    switch (message) {
        case WM_ERASEBKGND: {
            const auto brush = reinterpret_cast<HBRUSH>(GetClassLongPtrA(window, GCLP_HBRBACKGROUND));
            const auto dc = reinterpret_cast<HDC>(wParam);
            if (brush == nullptr || dc == nullptr) return 0;
            RECT box;
            if (GetClipBox(dc, &box) == ERROR) return 0;
            const HGDIOBJ previous = SelectObject(dc, brush);
            PatBlt(dc, box.left, box.top, box.right - box.left, box.bottom - box.top, PATCOPY);
            if (previous != nullptr) SelectObject(dc, previous);
            return 1;
        }
        case WM_PAINT: {
            PAINTSTRUCT paint;
            if (BeginPaint(window, &paint) != nullptr) EndPaint(window, &paint);
            return 0;
        }
        default: return 0;
    }
}

}  // extern "C"

// windows.cpp - windows without a windowing system: VexoraCreateWindow, VexoraDestroyWindow,
// VexoraSetWindowPos, VexoraWindowPixels, IsWindow, GetClientRect, ClientToScreen,
// ScreenToClient, Get/SetWindowLongPtrA, GetClassLongA, GetClassLongPtrA and GetSystemMetrics;
// and the window table with the shared steps of window.hpp (SurfaceOf, Present, SendTo,
// EraseNow, ResizeClient).
//
// A window is its client pixels plus the state Windows keeps for it: the frame (the client
// area with no scroll bar shown), the bars, the update region, the user data. Its handle is a
// number never issued before, so a destroyed window's handle stays stale for good and every
// call refuses it as Windows does (NULL, FALSE or 0).
//
// The client area changes size when the frame does (VexoraSetWindowPos) and when a scroll bar
// appears or goes (scroll_bars.cpp). As Windows does under Wine, the pixels that stay keep
// their place; a strip that is uncovered joins the update region with erase and is erased at
// once (WM_ERASEBKGND inside the call), and then WM_SIZE is sent, also inside the call, before
// the call that caused it returns. Covering a strip invalidates nothing.
#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/posix/gdi/regions.hpp"
#include "platform/posix/window.hpp"

namespace vx::posix::user {

int Window::clientWidth() const { return std::max(0, frameWidth - (bars[SB_VERT].shown ? kScrollBarSize : 0)); }
int Window::clientHeight() const { return std::max(0, frameHeight - (bars[SB_HORZ].shown ? kScrollBarSize : 0)); }

Window* WindowTable::Access::find(HWND handle) const {
    if (handle == nullptr) return nullptr;
    const auto found = table_.windows_.find(handle);
    return found != table_.windows_.end() ? found->second.get() : nullptr;
}

HWND WindowTable::Access::add(std::unique_ptr<Window> window) {
    const auto handle = reinterpret_cast<HWND>(table_.next_);
    window->handle = handle;
    window->surface->window = handle;
    table_.windows_.emplace(handle, std::move(window));
    table_.next_ += 0x10;
    return handle;
}

std::unique_ptr<Window> WindowTable::Access::remove(HWND handle) {
    const auto found = table_.windows_.find(handle);
    if (found == table_.windows_.end()) return nullptr;
    std::unique_ptr<Window> window = std::move(found->second);
    table_.windows_.erase(found);
    return window;
}

std::vector<Window*> WindowTable::Access::all() const {
    std::vector<Window*> windows;
    for (const auto& [handle, window] : table_.windows_) windows.push_back(window.get());
    std::sort(windows.begin(), windows.end(), [](Window* a, Window* b) { return a->handle < b->handle; });
    return windows;
}

WindowTable::Access Windows() {
    static auto* table = new WindowTable;
    return WindowTable::Access(*table);
}

std::shared_ptr<gdi::WindowSurface> SurfaceOf(HWND window) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr ? found->surface : nullptr;
}

void Present(HWND window, const RECT& changed) {
    VXWINDOWHOST host;
    RECT shown;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr || found->host.present == nullptr) return;
        const RECT client = found->clientRect();
        shown = RECT{std::max(changed.left, client.left), std::max(changed.top, client.top),
                     std::min(changed.right, client.right), std::min(changed.bottom, client.bottom)};
        if (shown.left >= shown.right || shown.top >= shown.bottom) return;
        host = found->host;
    }
    host.present(host.context, window, &shown);
}

LRESULT SendTo(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    WNDPROC procedure = nullptr;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr) return 0;
        procedure = found->host.windowProc;
    }
    return procedure != nullptr ? procedure(window, message, wParam, lParam)
                                : DefWindowProcA(window, message, wParam, lParam);
}

LRESULT EraseNow(HWND window) {
    std::shared_ptr<gdi::WindowSurface> surface;
    std::vector<RECT> region;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr || !found->erase) return 0;
        surface = found->surface;
        region = found->update;
    }
    HDC dc = gdi::LendDC(std::move(surface), std::move(region));
    if (dc == nullptr) return 0;
    {
        auto windows = Windows();
        if (Window* found = windows.find(window)) found->erase = false;
    }
    const LRESULT erased = SendTo(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0);
    ReleaseDC(window, dc);
    if (erased == 0) {
        auto windows = Windows();
        if (Window* found = windows.find(window)) found->eraseLeft = true;
    }
    return erased;
}

void ResizeClient(HWND window) {
    int width = 0, height = 0;
    bool uncovered = false;
    try {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return;
        width = found->clientWidth();
        height = found->clientHeight();
        gdi::WindowSurface& surface = *found->surface;
        if (width == surface.width && height == surface.height) return;
        const gdi::Bands old = gdi::RectRegion(0, 0, surface.width, surface.height);
        const gdi::Bands added = gdi::CombineBands(gdi::RectRegion(0, 0, width, height), old, RGN_DIFF);
        std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height), 0x00FFFFFFu);
        {
            auto objects = gdi::Objects();
            const int keptWidth = std::min(width, surface.width), keptHeight = std::min(height, surface.height);
            for (int y = 0; y < keptHeight; ++y)
                std::memcpy(pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width),
                            surface.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(surface.width),
                            static_cast<size_t>(keptWidth) * 4);
            surface.pixels = std::move(pixels);
            surface.width = width;
            surface.height = height;
        }
        found->update = gdi::CombineBands(found->update, gdi::RectRegion(0, 0, width, height), RGN_AND);
        if (!added.empty()) {
            found->update = gdi::CombineBands(found->update, added, RGN_OR);
            found->erase = true;
            uncovered = true;
        }
    } catch (...) {
        return;  // no memory for the new size: the window keeps the old one
    }
    if (uncovered) EraseNow(window);
    SendTo(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(width, height));
    Present(window, RECT{0, 0, width, height});
}

namespace {

bool ValidSide(int side) { return side >= 1 && side <= kMaxSide; }

// Moves a point by the window's client origin on the screen, `sign` times.
BOOL ShiftByOrigin(HWND window, LPPOINT point, int sign) {
    if (point == nullptr) return FALSE;
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr) return FALSE;
    point->x += sign * found->origin.x;
    point->y += sign * found->origin.y;
    return TRUE;
}

}  // namespace
}  // namespace vx::posix::user

using vx::posix::user::Window;
using vx::posix::user::Windows;

extern "C" {

VXPLATFORMAPI HWND VexoraCreateWindow(int clientWidth, int clientHeight, const VXWINDOWHOST* host) {
    using namespace vx::posix::user;
    if (!ValidSide(clientWidth) || !ValidSide(clientHeight)) return nullptr;
    HWND handle = nullptr;
    try {
        auto window = std::make_unique<Window>();
        if (host != nullptr) window->host = *host;
        window->frameWidth = clientWidth;
        window->frameHeight = clientHeight;
        window->surface = std::make_shared<vx::posix::gdi::WindowSurface>();
        window->surface->pixels.assign(static_cast<size_t>(clientWidth) * static_cast<size_t>(clientHeight),
                                       0x00FFFFFFu);
        window->surface->width = clientWidth;
        window->surface->height = clientHeight;
        handle = Windows().add(std::move(window));
    } catch (...) {
        return nullptr;
    }
    // The class background, drawn as WM_ERASEBKGND would, with no message sent.
    if (host != nullptr && host->background != nullptr) {
        if (HDC dc = GetDC(handle)) {
            HGDIOBJ previous = SelectObject(dc, host->background);
            PatBlt(dc, 0, 0, clientWidth, clientHeight, PATCOPY);
            if (previous != nullptr) SelectObject(dc, previous);
            ReleaseDC(handle, dc);
        }
    }
    return handle;
}

VXPLATFORMAPI BOOL VexoraDestroyWindow(HWND window) {
    if (!IsWindow(window)) return FALSE;
    vx::posix::user::SendTo(window, WM_DESTROY, 0, 0);
    std::unique_ptr<Window> gone;
    {
        auto windows = Windows();
        gone = windows.remove(window);
        if (gone == nullptr) return FALSE;  // destroyed from its own WM_DESTROY
        std::erase_if(windows.queue(), [&](const MSG& m) { return m.hwnd == window; });
        if (windows.capture() == window) windows.capture() = nullptr;
        auto objects = vx::posix::gdi::Objects();
        gone->surface->alive = false;
        gone->surface->pixels = {};
        vx::posix::gdi::ForgetWindowDCs(objects, gone->surface.get());
    }
    // Then the windows it owned: a dialog's controls, a window's dialogs, each after its owner
    // had WM_DESTROY, as Windows orders it.
    std::vector<HWND> owned;
    try {
        auto windows = Windows();
        for (const Window* other : windows.all())
            if (other->parent == window) owned.push_back(other->handle);
    } catch (...) {
        return TRUE;  // no memory to list them: they stay, refused by nothing but alive
    }
    for (HWND other : owned) VexoraDestroyWindow(other);
    return TRUE;
}

VXPLATFORMAPI BOOL VexoraSetWindowPos(HWND window, int x, int y, int width, int height) {
    using namespace vx::posix::user;
    if (!ValidSide(width) || !ValidSide(height)) return FALSE;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        found->origin = POINT{x, y};
        found->frameWidth = width;
        found->frameHeight = height;
    }
    ResizeClient(window);
    return TRUE;
}

VXPLATFORMAPI const void* VexoraWindowPixels(HWND window, int* width, int* height, int* stride) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr) return nullptr;
    auto objects = vx::posix::gdi::Objects();
    const vx::posix::gdi::WindowSurface& surface = *found->surface;
    if (width != nullptr) *width = surface.width;
    if (height != nullptr) *height = surface.height;
    if (stride != nullptr) *stride = surface.width * 4;
    static const uint32_t none = 0;
    return surface.pixels.empty() ? &none : surface.pixels.data();
}

VXPLATFORMAPI BOOL IsWindow(HWND window) { return Windows().find(window) != nullptr; }

VXPLATFORMAPI BOOL GetClientRect(HWND window, LPRECT rect) {
    if (rect == nullptr) return FALSE;
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr) return FALSE;
    *rect = found->clientRect();
    return TRUE;
}

VXPLATFORMAPI BOOL ClientToScreen(HWND window, LPPOINT point) { return vx::posix::user::ShiftByOrigin(window, point, 1); }

VXPLATFORMAPI BOOL ScreenToClient(HWND window, LPPOINT point) { return vx::posix::user::ShiftByOrigin(window, point, -1); }

VXPLATFORMAPI LONG_PTR GetWindowLongPtrA(HWND window, int index) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    return found != nullptr && index == GWLP_USERDATA ? found->userData : 0;
}

VXPLATFORMAPI LONG_PTR SetWindowLongPtrA(HWND window, int index, LONG_PTR value) {
    auto windows = Windows();
    Window* found = windows.find(window);
    if (found == nullptr || index != GWLP_USERDATA) return 0;
    return std::exchange(found->userData, value);
}

VXPLATFORMAPI ULONG_PTR GetClassLongPtrA(HWND window, int index) {
    auto windows = Windows();
    const Window* found = windows.find(window);
    if (found == nullptr || index != GCLP_HBRBACKGROUND) return 0;
    return reinterpret_cast<ULONG_PTR>(found->host.background);
}

// The low 32 bits of the handle, as Windows answers for a 64-bit handle.
VXPLATFORMAPI DWORD GetClassLongA(HWND window, int index) {
    return static_cast<DWORD>(GetClassLongPtrA(window, index));
}

VXPLATFORMAPI int GetSystemMetrics(int index) {
    switch (index) {
        case SM_CXSCREEN: return 1280;
        case SM_CYSCREEN: return 1024;
        case SM_CXVSCROLL:
        case SM_CYHSCROLL: return vx::posix::user::kScrollBarSize;
        default: return 0;
    }
}

}  // extern "C"

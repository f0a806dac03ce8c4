// window.hpp - the window layer of the Linux subset, inside the library: Window (what the
// layer keeps of one window), Windows() (the locked table of live windows, the message queue,
// capture and cursor), and the few entry points the GDI side and the other window files share:
// SurfaceOf, Present, SendTo, EraseNow and ResizeClient.
//
// One mutex guards the table. The GDI table has its own; the window layer may take the GDI
// lock while it holds its own (never the other way round), and calls no window procedure, no
// host callback and no exported GDI or USER function while it holds either: window procedures
// call straight back into both.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "vexora_win32.h"

#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::user {

// The width of a vertical bar and the height of a horizontal one, as Wine's default theme
// has them (GetSystemMetrics SM_CXVSCROLL, SM_CYHSCROLL).
inline constexpr int kScrollBarSize = 17;
// The largest client side VexoraCreateWindow and VexoraSetWindowPos take.
inline constexpr int kMaxSide = 16384;

struct ScrollBar {
    int minimum = 0;
    int maximum = 0;
    int position = 0;
    bool shown = false;
};

struct Window {
    HWND handle = nullptr;
    VXWINDOWHOST host{};
    POINT origin{0, 0};   // the client origin on the screen
    int frameWidth = 0;   // the client size with no bar shown
    int frameHeight = 0;
    ScrollBar bars[2];    // SB_HORZ, SB_VERT
    std::vector<RECT> update;  // the update region, banded, client coordinates
    bool erase = false;        // the update region waits for WM_ERASEBKGND
    bool eraseLeft = false;    // WM_ERASEBKGND went out and the procedure left it undone
    LONG_PTR userData = 0;
    std::shared_ptr<gdi::WindowSurface> surface;
    // What the dialog manager adds: the owner of a dialog or the dialog of a control (GetParent),
    // a control's id, the enabled and visible states, and the manager's own record of the
    // window (dialog_manager.hpp), freed with it. Windows of VexoraCreateWindow are shown,
    // enabled and have none of these.
    HWND parent = nullptr;
    bool control = false;  // a child window: destroyed with its parent, hidden when it is
    int id = 0;
    bool disabled = false;
    bool visible = true;
    std::shared_ptr<void> dialogPart;

    int clientWidth() const;
    int clientHeight() const;
    RECT clientRect() const { return RECT{0, 0, clientWidth(), clientHeight()}; }
};

class WindowTable {
public:
    class Access {
    public:
        explicit Access(WindowTable& table) : table_(table), lock_(table.mutex_) {}
        Window* find(HWND handle) const;
        // Issues a handle (never one used before) and keeps the window. Throws std::bad_alloc.
        HWND add(std::unique_ptr<Window> window);
        std::unique_ptr<Window> remove(HWND handle);
        std::vector<Window*> all() const;
        std::deque<MSG>& queue() { return table_.queue_; }
        HWND& capture() { return table_.capture_; }
        HCURSOR& cursor() { return table_.cursor_; }

    private:
        WindowTable& table_;
        std::lock_guard<std::mutex> lock_;
    };

private:
    std::mutex mutex_;
    std::unordered_map<HWND, std::unique_ptr<Window>> windows_;
    uintptr_t next_ = 0x10010;
    std::deque<MSG> queue_;  // posted messages, oldest first
    HWND capture_ = nullptr;
    HCURSOR cursor_ = nullptr;
};

// The process's windows, locked for the caller.
WindowTable::Access Windows();

// A live window's client pixels, or null.
std::shared_ptr<gdi::WindowSurface> SurfaceOf(HWND window);
// Tells the window's host that the client pixels in `changed` changed (nothing when empty).
void Present(HWND window, const RECT& changed);
// SendMessageA without the stale-handle answer: the window's procedure, or DefWindowProcA.
LRESULT SendTo(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Sends WM_ERASEBKGND when the update region waits for it, with a DC limited to that region.
// It is sent once: a procedure that answers 0 leaves the erasing to the painter (BeginPaint's
// fErase). Answers what the procedure answered.
LRESULT EraseNow(HWND window);
// Brings the client size in line with the frame and the bars shown: resizes the pixels
// (those kept stay where they were), invalidates with erase what is uncovered and erases it,
// then sends WM_SIZE. Nothing when the size is unchanged.
void ResizeClient(HWND window);

}  // namespace vx::posix::user

// gdi_guards.hpp - RAII for the pairs of the graphics interface: OwnedObject (an object the
// library made, DeleteObject on destruction), MemoryDC (CreateCompatibleDC / DeleteDC),
// WindowDC (GetDC / ReleaseDC), PaletteSelection (SelectPalette, the previous palette put
// back on destruction) and ObjectSelection (SelectObject, likewise for a bitmap, brush or pen).
//
// The device families are written as the documented sequence of Win32 calls; these guards
// make every exit path of such a sequence undo what it did, in reverse order, as the habit for
// memory blocks in guards.hpp does. A result leaves its guard by release(), so ownership
// passing to the caller is visible where it happens. The guards call the Win32 names: the real
// API on Windows, the Linux subset elsewhere, so they behave alike on both.
//
// A selection that GDI refuses (a deleted handle, a bitmap already selected into another DC)
// leaves nothing to restore; the guard says so through its bool, so that a sequence can stop
// before it draws into the empty default bitmap a memory DC starts with.
#pragma once

#include <utility>

#include "vexora.h"

#include "guards.hpp"

namespace vx {

struct DeleteGdiObject {
    void operator()(HGDIOBJ object) const { DeleteObject(object); }
};

// A GDI object (bitmap, palette, ...) owned by the library, deleted on destruction unless
// released.
template <typename Handle>
using OwnedObject = OwnedHandle<Handle, DeleteGdiObject>;

// A memory device context compatible with `like` (null: with the screen), deleted on
// destruction.
class MemoryDC {
public:
    explicit MemoryDC(HDC like = nullptr) : dc_(CreateCompatibleDC(like)) {}
    MemoryDC(const MemoryDC&) = delete;
    MemoryDC& operator=(const MemoryDC&) = delete;
    ~MemoryDC() {
        if (dc_ != nullptr) DeleteDC(dc_);
    }

    explicit operator bool() const { return dc_ != nullptr; }
    HDC get() const { return dc_; }

private:
    HDC dc_;
};

// The device context of a window (null: of the screen), released on destruction.
class WindowDC {
public:
    explicit WindowDC(HWND window) : window_(window), dc_(GetDC(window)) {}
    WindowDC(const WindowDC&) = delete;
    WindowDC& operator=(const WindowDC&) = delete;
    ~WindowDC() {
        if (dc_ != nullptr) ReleaseDC(window_, dc_);
    }

    explicit operator bool() const { return dc_ != nullptr; }
    HDC get() const { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

// A palette selected into a DC for the lifetime of the guard. The palette it replaced goes
// back in on destruction, selected the same way (foreground or background). A null palette
// selects nothing, and a refused selection (a DC or palette that is not live) leaves nothing
// to restore.
class PaletteSelection {
public:
    PaletteSelection(HDC dc, HPALETTE palette, BOOL forceBackground = FALSE)
        : dc_(dc),
          background_(forceBackground),
          previous_(palette != nullptr ? SelectPalette(dc, palette, forceBackground) : nullptr) {}
    PaletteSelection(const PaletteSelection&) = delete;
    PaletteSelection& operator=(const PaletteSelection&) = delete;
    ~PaletteSelection() {
        if (previous_ != nullptr) SelectPalette(dc_, previous_, background_);
    }

    explicit operator bool() const { return previous_ != nullptr; }
    HPALETTE previous() const { return previous_; }

private:
    HDC dc_;
    BOOL background_;
    HPALETTE previous_;
};

// A bitmap, brush or pen selected into a DC for the lifetime of the guard; the object it
// replaced goes back in on destruction, which frees a selected bitmap for other DCs before
// the DC itself is deleted.
class ObjectSelection {
public:
    ObjectSelection(HDC dc, HGDIOBJ object) : dc_(dc), previous_(SelectObject(dc, object)) {}
    ObjectSelection(const ObjectSelection&) = delete;
    ObjectSelection& operator=(const ObjectSelection&) = delete;
    ~ObjectSelection() {
        if (previous_ != nullptr) SelectObject(dc_, previous_);
    }

    explicit operator bool() const { return previous_ != nullptr; }

private:
    HDC dc_;
    HGDIOBJ previous_;
};

}  // namespace vx

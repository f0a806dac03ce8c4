// platform.hpp - the few platform services the core uses that are not plain Win32 calls of
// the same name on every platform. Win32 names the library calls directly (GlobalAlloc,
// _lread, MessageBoxA, CreatePalette, ...) are the real API on Windows and the POSIX backend's
// own implementations on Linux.
#pragma once

#include "vexora_win32.h"

namespace vx::platform {

// Shows the wait cursor for the lifetime of the guard and restores the previous cursor on
// every exit path. Without a screen it does nothing.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

private:
    [[maybe_unused]] void* previous_ = nullptr;  // the cursor to restore (Windows)
};

}  // namespace vx::platform

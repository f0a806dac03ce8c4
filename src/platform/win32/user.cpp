// user.cpp - the windowing services of platform.hpp on Windows: the wait cursor (the hourglass
// while an operation runs, the previous cursor put back on every exit path) and the device
// context of the active window, and the system's message box for messages no sink takes.
#include <windows.h>

#include "platform/platform.hpp"

namespace vx::platform {

int SystemMessageBox(const char* text, const char* caption, UINT style) {
    return MessageBoxA(nullptr, text, caption, style);
}

WaitCursor::WaitCursor() : previous_(SetCursor(LoadCursorA(nullptr, IDC_WAIT))) {}

WaitCursor::~WaitCursor() { SetCursor(static_cast<HCURSOR>(previous_)); }

ActiveWindowDC::ActiveWindowDC() : window_(GetActiveWindow()), dc_(GetDC(window_)) {}

ActiveWindowDC::~ActiveWindowDC() {
    if (dc_ != nullptr) ReleaseDC(window_, dc_);
}

}  // namespace vx::platform

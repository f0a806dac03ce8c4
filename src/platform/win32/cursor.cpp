// cursor.cpp - the wait cursor on Windows: the hourglass while an operation runs, the
// previous cursor put back on every exit path.
#include <windows.h>

#include "platform/platform.hpp"

namespace vx::platform {

WaitCursor::WaitCursor() : previous_(SetCursor(LoadCursorA(nullptr, IDC_WAIT))) {}

WaitCursor::~WaitCursor() { SetCursor(static_cast<HCURSOR>(previous_)); }

}  // namespace vx::platform

// user.cpp - the windowing calls the library makes, for a platform without a screen:
// VexoraSetMessageSink, MessageBoxA, GetVersion, and the wait cursor and active-window context
// of platform.hpp.
//
// MessageBoxA goes to the library's message sink (message_sink.cpp), like the library's own
// messages; without a sink the box is one line "caption: text" on standard error. The wait
// cursor does nothing.
// There is no active window, so the metafile writers are given a null context.
#include <cstdio>

#include "vexora_win32.h"

#include "platform/platform.hpp"

namespace vx::platform {

int SystemMessageBox(const char* text, const char* caption, UINT /*style*/) {
    std::fprintf(stderr, "%s: %s\n", caption, text);
    std::fflush(stderr);
    return IDOK;
}

WaitCursor::WaitCursor() = default;
WaitCursor::~WaitCursor() = default;
ActiveWindowDC::ActiveWindowDC() = default;
ActiveWindowDC::~ActiveWindowDC() = default;
}  // namespace vx::platform

extern "C" {

VXPLATFORMAPI int MessageBoxA(HWND /*owner*/, LPCSTR text, LPCSTR caption, UINT style) {
    return vx::platform::ShowMessage(text, caption, style);
}

// Reports Windows 10 (major 10, minor 0, build 19045); the high bit is clear.
VXPLATFORMAPI DWORD GetVersion(void) { return (DWORD{19045} << 16) | 0x000A; }

}  // extern "C"

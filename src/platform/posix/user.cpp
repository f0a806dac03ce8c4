// user.cpp - the windowing calls the library makes, for a platform without a screen:
// VexoraSetMessageSink, MessageBoxA, GetVersion, and the wait cursor and active-window context
// of platform.hpp.
//
// Message boxes go to a message sink that a host may replace (a GUI toolkit's dialog, a log);
// the default writes one line "caption: text" to standard error. The wait cursor does nothing.
// There is no active window, so the metafile writers are given a null context.
#include <cstdio>
#include <mutex>

#include "vexora_win32.h"

#include "platform/platform.hpp"

namespace {

int DefaultSink(const char* text, const char* caption, UINT /*style*/, void* /*context*/) {
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "", text ? text : "");
    std::fflush(stderr);
    return IDOK;
}

struct SinkState {
    std::mutex mutex;
    VXMESSAGESINK sink = DefaultSink;
    void* context = nullptr;
};

SinkState& Sink() {
    static SinkState state;
    return state;
}

}  // namespace

namespace vx::platform {
WaitCursor::WaitCursor() = default;
WaitCursor::~WaitCursor() = default;
ActiveWindowDC::ActiveWindowDC() = default;
ActiveWindowDC::~ActiveWindowDC() = default;
}  // namespace vx::platform

extern "C" {

VXPLATFORMAPI VXMESSAGESINK VexoraSetMessageSink(VXMESSAGESINK sink, void* context) {
    SinkState& state = Sink();
    std::lock_guard lock(state.mutex);
    VXMESSAGESINK previous = state.sink == DefaultSink ? nullptr : state.sink;
    state.sink = sink ? sink : DefaultSink;
    state.context = sink ? context : nullptr;
    return previous;
}

VXPLATFORMAPI int MessageBoxA(HWND /*owner*/, LPCSTR text, LPCSTR caption, UINT style) {
    VXMESSAGESINK sink;
    void* context;
    {
        SinkState& state = Sink();
        std::lock_guard lock(state.mutex);
        sink = state.sink;
        context = state.context;
    }
    return sink(text ? text : "", caption ? caption : "Error", style, context);
}

// Reports Windows 10 (major 10, minor 0, build 19045); the high bit is clear.
VXPLATFORMAPI DWORD GetVersion(void) { return (DWORD{19045} << 16) | 0x000A; }

}  // extern "C"

// message_sink.cpp - VexoraSetMessageSink and vx::platform::ShowMessage, on every platform.
//
// The library's message boxes (ImgErrorString without a buffer, the format-module loader
// messages) go through one sink that a host may install: a GUI toolkit's dialog, a log, a
// console program's standard error. Without one, the platform shows its own box. The sink and
// its context are read together under a lock and called outside it, so a sink may itself
// install another.
#include <mutex>

#include "vexora.h"

#include "platform/platform.hpp"

namespace {

struct SinkState {
    std::mutex mutex;
    VXMESSAGESINK sink = nullptr;
    void* context = nullptr;
};

SinkState& Sink() {
    static SinkState state;
    return state;
}

}  // namespace

namespace vx::platform {

int ShowMessage(const char* text, const char* caption, UINT style) {
    VXMESSAGESINK sink;
    void* context;
    {
        SinkState& state = Sink();
        std::lock_guard lock(state.mutex);
        sink = state.sink;
        context = state.context;
    }
    text = text ? text : "";
    caption = caption ? caption : "Error";
    return sink ? sink(text, caption, style, context) : SystemMessageBox(text, caption, style);
}

}  // namespace vx::platform

extern "C" {

VXAPI VXMESSAGESINK VXCALL VexoraSetMessageSink(VXMESSAGESINK sink, void* context) {
    SinkState& state = Sink();
    std::lock_guard lock(state.mutex);
    const VXMESSAGESINK previous = state.sink;
    state.sink = sink;
    state.context = sink ? context : nullptr;
    return previous;
}

}  // extern "C"

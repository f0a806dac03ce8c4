// message_box.cpp - the system's own message box on Windows, for messages no sink takes.
#include <windows.h>

#include "platform/platform.hpp"

namespace vx::platform {

int SystemMessageBox(const char* text, const char* caption, UINT style) {
    return MessageBoxA(nullptr, text, caption, style);
}

}  // namespace vx::platform

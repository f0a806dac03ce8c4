// library.hpp - LibraryInstance and LibraryEntry (defined in dib_model.cpp): the library-wide
// frame state, the instance handle recorded at process attach.
#pragma once

#include "vexora.h"

namespace vx {

// The module handle recorded at process attach (null before it, and always on Linux). The
// library's dialogs are resources of the module itself and are created with this handle.
HINSTANCE LibraryInstance();

// The attach/detach logic of the module entry point. `version` is GetVersion()'s answer: its
// high bit marks the 16-bit hosting layer, under which a second attach or detach is refused.
BOOL LibraryEntry(HINSTANCE instance, DWORD reason, DWORD version);

}  // namespace vx

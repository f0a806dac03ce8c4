// format_modules.cpp - ModuleCall: the loader behind every call into a format module.
//
// A module that cannot be loaded is reported as "'<module>' module has not found (<n>)" with
// the caption "VEXORA DLL", where <n> is the value the load returned: 0 on every current
// platform (LoadLibraryA answers NULL; a failed dlopen is reported the same way). A module
// without the entry point is reported as "'<entry>' function has not found in '<module>'
// module" with the caption "VEXORA-DLL". Both boxes are task-modal and have no owner, and go
// through the message sink when the host installed one. The wording is the library's own and
// hosts match on it.
#include "formats/format_modules.hpp"

#include <cstdio>

namespace vx::formats {

namespace {

constexpr UINT kTaskModal = 0x2000;  // MB_TASKMODAL

}  // namespace

ModuleCall::ModuleCall(const ModuleEntry& entry) : module_(entry.module) {
    char text[512];
    if (!module_) {
        std::snprintf(text, sizeof text, "'%s' module has not found (%i)", entry.module, module_.loadResult());
        platform::ShowMessage(text, "VEXORA DLL", kTaskModal);
        return;
    }
    entry_ = module_.entry(entry.entry);
    if (entry_ == nullptr) {
        std::snprintf(text, sizeof text, "'%s' function has not found in '%s' module", entry.entry, entry.module);
        platform::ShowMessage(text, "VEXORA-DLL", kTaskModal);
    }
}

}  // namespace vx::formats

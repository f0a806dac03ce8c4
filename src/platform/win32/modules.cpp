// modules.cpp - format modules on Windows: LoadLibraryA, GetProcAddress and FreeLibrary.
//
// The module file name goes to LoadLibraryA unchanged, so Windows searches for it as it does
// for any library (the application's directory first). A handle below 32 counts as a failed
// load, as the 16-bit loader reported its errors that way; 32-bit Windows answers NULL.
#include <windows.h>

#include <cstdint>

#include "platform/platform.hpp"

namespace vx::platform {

Module::Module(const char* fileName) {
    if (fileName == nullptr) return;
    HMODULE module = LoadLibraryA(fileName);
    const auto value = reinterpret_cast<uintptr_t>(module);
    if (value < 32) {
        loadResult_ = static_cast<int>(value);
        return;
    }
    handle_ = module;
    loadResult_ = static_cast<int>(value);
}

Module::~Module() {
    if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

Module::Entry Module::entry(const char* name) const {
    if (handle_ == nullptr || name == nullptr) return nullptr;
    return reinterpret_cast<Entry>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace vx::platform

// platform.hpp - the few platform services the library uses that are not plain Win32 calls of
// the same name on every platform: WaitCursor, Module (a format module loaded by file name),
// ActiveWindowDC (the context the metafile writers draw for) and FileExists. Win32 names the
// library calls directly (GlobalAlloc, _lread, MessageBoxA, CreatePalette, ...) are the real
// API on Windows and the POSIX backend's own implementations on Linux; each service here has
// one implementation under win32/ and one under posix/.
#pragma once

#include "vexora_win32.h"

namespace vx::platform {

// Shows one of the library's messages: through the host's message sink when one is installed
// (VexoraSetMessageSink), otherwise as this platform shows a message box. Returns the box's
// answer (the sink's result).
int ShowMessage(const char* text, const char* caption, UINT style);

// This platform's own message box: MessageBoxA without an owner on Windows, one line
// "caption: text" on standard error where there is no screen.
int SystemMessageBox(const char* text, const char* caption, UINT style);

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

// A separately built library (a format module) loaded by its own file name for the lifetime of
// the guard and freed on destruction. On Windows the name goes to LoadLibraryA as it is. On
// Linux "NAME.DLL" is the shared object "NAME.so", looked up beside the object that holds the
// library's code (libvexora.so, or the program it is linked into) first, then on the loader's
// path, and loaded with its own symbols kept local.
class Module {
public:
    using Entry = void (*)();  // an entry point, cast to its real type by the caller

    explicit Module(const char* fileName);
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    // The value the load call returned, as the library reports it when the load failed: 0
    // (LoadLibraryA answers NULL; a dlopen failure is reported the same way).
    int loadResult() const { return loadResult_; }
    // The entry point of exactly this name, or null.
    Entry entry(const char* name) const;

private:
    void* handle_ = nullptr;
    int loadResult_ = 0;
};

// The device context of the active window for the lifetime of the guard (GetActiveWindow,
// GetDC, ReleaseDC on Windows, where no active window gives the screen's). Without a screen
// the context is null.
class ActiveWindowDC {
public:
    ActiveWindowDC();
    ~ActiveWindowDC();
    ActiveWindowDC(const ActiveWindowDC&) = delete;
    ActiveWindowDC& operator=(const ActiveWindowDC&) = delete;
    HDC get() const { return dc_; }

private:
    [[maybe_unused]] HWND window_ = nullptr;  // the window the context belongs to (Windows)
    HDC dc_ = nullptr;
};

// Whether a file of this name exists (the C runtime's access check); false for null.
bool FileExists(const char* fileName);

}  // namespace vx::platform

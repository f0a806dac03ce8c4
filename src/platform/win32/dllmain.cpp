// dllmain.cpp - the module entry point of VEXORA.DLL. The attach/detach logic lives in the
// core (LibraryEntry) so that it is the same code everywhere it is tested.
#include <windows.h>

#include "library.hpp"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
    return vx::LibraryEntry(instance, reason, GetVersion());
}

/*
 * vexora_win32.h - the Win32 types and calls that Vexora's interface uses, for platforms
 * without <windows.h>, one header per area:
 *
 *   - vexora_win32_types.h: base types, handles, DIB structures, VXPLATFORMAPI;
 *   - vexora_win32_kernel.h: memory blocks, file calls, profiles, GetVersion;
 *   - vexora_win32_gdi.h: GDI objects, logical palettes, memory device contexts;
 *   - vexora_win32_user.h: message boxes (a message sink), screen device contexts.
 *
 * An application written against VEXORA.DLL recompiles against libvexora.so unchanged: the
 * types have the sizes they have on Windows (LONG and DWORD are 32-bit, handles are pointers),
 * and libvexora.so itself exports the Win32 calls a caller needs to work with the library's
 * handles. Every such call is declared with VXPLATFORMAPI.
 *
 * On Windows each of these headers only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_H
#define VEXORA_WIN32_H

#include "vexora_win32_types.h"
#include "vexora_win32_kernel.h"
#include "vexora_win32_gdi.h"
#include "vexora_win32_user.h"
#include "vexora_win32_print.h"

#endif /* VEXORA_WIN32_H */

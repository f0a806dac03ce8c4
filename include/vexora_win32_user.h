/*
 * vexora_win32_user.h - the USER32 calls libvexora.so exports, for platforms without
 * <windows.h>:
 *
 *   - MessageBoxA, which has no screen here and reports through the library's message sink
 *     (VexoraSetMessageSink in vexora.h);
 *   - GetDC and ReleaseDC for the screen (a null window): there are no other windows yet.
 *
 * On Windows this file only includes <windows.h>.
 */
#ifndef VEXORA_WIN32_USER_H
#define VEXORA_WIN32_USER_H

#include "vexora_win32_types.h"

#if !defined(_WIN32)

#ifdef __cplusplus
extern "C" {
#endif

/* Message boxes: no screen, so the text goes to the message sink (VexoraSetMessageSink). */
#define MB_OK 0x00000000L
#define MB_ICONHAND 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONASTERISK 0x00000040L
#define IDOK 1

VXPLATFORMAPI int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style);

/*
 * Device contexts of windows. GetDC(NULL) gives a context of the screen, the default palette
 * selected. ReleaseDC gives it back (1) to a cache, so the handle stays a DC and a later GetDC
 * may lend it out again; releasing a context that is not lent out answers 0. GetDC of any
 * other window answers NULL: there are no windows yet.
 */
VXPLATFORMAPI HDC GetDC(HWND window);
VXPLATFORMAPI int ReleaseDC(HWND window, HDC dc);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_USER_H */

/*
 * vexora_win32_user.h - the USER32 calls libvexora.so exports, for platforms without
 * <windows.h>:
 *
 *   - MessageBoxA, which has no screen here and reports through the library's message sink
 *     (VexoraSetMessageSink in vexora.h);
 *   - GetDC and ReleaseDC for the screen (a null window): there are no other windows yet;
 *   - GetActiveWindow (NULL: no window is active), DrawTextA over the GDI's fonts, and
 *     OemToCharA (code page 437 to Windows-1252).
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
VXPLATFORMAPI HWND GetActiveWindow(void);

/*
 * DrawTextA lays text out in a rectangle as Windows does: lines break at CR, LF and CR LF,
 * each line one font height (plus the external leading with DT_EXTERNALLEADING) below the
 * last. DT_CALCRECT only measures: the rectangle's right and bottom grow or shrink to the
 * text's extent and the answer is its height. DT_NOCLIP draws without clipping to the
 * rectangle. Answers the height of the text drawn, 0 on failure.
 */
#define DT_TOP 0x00000000
#define DT_LEFT 0x00000000
#define DT_CENTER 0x00000001
#define DT_RIGHT 0x00000002
#define DT_VCENTER 0x00000004
#define DT_BOTTOM 0x00000008
#define DT_WORDBREAK 0x00000010
#define DT_SINGLELINE 0x00000020
#define DT_EXPANDTABS 0x00000040
#define DT_NOCLIP 0x00000100
#define DT_EXTERNALLEADING 0x00000200
#define DT_CALCRECT 0x00000400
#define DT_NOPREFIX 0x00000800
VXPLATFORMAPI int DrawTextA(HDC dc, LPCSTR text, int count, LPRECT rect, UINT format);

/* Converts OEM (code page 437) text to ANSI (Windows-1252), in place when both are the same. */
VXPLATFORMAPI BOOL OemToCharA(LPCSTR source, LPSTR destination);

#ifdef __cplusplus
}
#endif

#endif /* _WIN32 */
#endif /* VEXORA_WIN32_USER_H */

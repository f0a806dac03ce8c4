// pending_user.cpp - the window calls of the Linux subset: stubs until the window layer is
// built. Each answers its failure value and writes through none of its pointers.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {

VXPLATFORMAPI HWND VexoraCreateWindow(int clientWidth, int clientHeight, const VXWINDOWHOST *host) { return nullptr; }
VXPLATFORMAPI BOOL VexoraDestroyWindow(HWND window) { return 0; }
VXPLATFORMAPI BOOL VexoraSetWindowPos(HWND window, int x, int y, int width, int height) { return 0; }
VXPLATFORMAPI const void * VexoraWindowPixels(HWND window, int *width, int *height, int *stride) { return nullptr; }
VXPLATFORMAPI BOOL VexoraScrollBarShown(HWND window, int bar) { return 0; }
VXPLATFORMAPI LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXPLATFORMAPI BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXPLATFORMAPI BOOL PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove) { return 0; }
VXPLATFORMAPI BOOL WaitMessage(void) { return 0; }
VXPLATFORMAPI LRESULT DispatchMessageA(const MSG *message) { return 0; }
VXPLATFORMAPI LRESULT DefWindowProcA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXPLATFORMAPI BOOL IsWindow(HWND window) { return 0; }
VXPLATFORMAPI BOOL GetClientRect(HWND window, LPRECT rect) { return 0; }
VXPLATFORMAPI BOOL ClientToScreen(HWND window, LPPOINT point) { return 0; }
VXPLATFORMAPI BOOL ScreenToClient(HWND window, LPPOINT point) { return 0; }
VXPLATFORMAPI LONG_PTR GetWindowLongPtrA(HWND window, int index) { return 0; }
VXPLATFORMAPI LONG_PTR SetWindowLongPtrA(HWND window, int index, LONG_PTR value) { return 0; }
VXPLATFORMAPI DWORD GetClassLongA(HWND window, int index) { return 0; }
VXPLATFORMAPI ULONG_PTR GetClassLongPtrA(HWND window, int index) { return 0; }
VXPLATFORMAPI HDC BeginPaint(HWND window, LPPAINTSTRUCT paint) { return nullptr; }
VXPLATFORMAPI BOOL EndPaint(HWND window, const PAINTSTRUCT *paint) { return 0; }
VXPLATFORMAPI BOOL InvalidateRect(HWND window, const RECT *rect, BOOL erase) { return 0; }
VXPLATFORMAPI BOOL InvalidateRgn(HWND window, HRGN region, BOOL erase) { return 0; }
VXPLATFORMAPI BOOL ValidateRect(HWND window, const RECT *rect) { return 0; }
VXPLATFORMAPI BOOL ValidateRgn(HWND window, HRGN region) { return 0; }
VXPLATFORMAPI BOOL UpdateWindow(HWND window) { return 0; }
VXPLATFORMAPI BOOL GetUpdateRect(HWND window, LPRECT rect, BOOL erase) { return 0; }
VXPLATFORMAPI BOOL ScrollDC(HDC dc, int dx, int dy, const RECT *scroll, const RECT *clip, HRGN update, LPRECT updateRect) { return 0; }
VXPLATFORMAPI BOOL SetScrollRange(HWND window, int bar, int minimum, int maximum, BOOL redraw) { return 0; }
VXPLATFORMAPI BOOL GetScrollRange(HWND window, int bar, LPINT minimum, LPINT maximum) { return 0; }
VXPLATFORMAPI int SetScrollPos(HWND window, int bar, int position, BOOL redraw) { return 0; }
VXPLATFORMAPI int GetScrollPos(HWND window, int bar) { return 0; }
VXPLATFORMAPI BOOL ShowScrollBar(HWND window, int bar, BOOL show) { return 0; }
VXPLATFORMAPI int GetSystemMetrics(int index) { return 0; }
VXPLATFORMAPI HWND SetCapture(HWND window) { return nullptr; }
VXPLATFORMAPI BOOL ReleaseCapture(void) { return 0; }
VXPLATFORMAPI HWND GetCapture(void) { return nullptr; }
VXPLATFORMAPI HCURSOR LoadCursorA(HINSTANCE instance, LPCSTR name) { return nullptr; }
VXPLATFORMAPI HCURSOR SetCursor(HCURSOR cursor) { return nullptr; }
VXPLATFORMAPI HCURSOR GetCursor(void) { return nullptr; }
VXPLATFORMAPI BOOL ClipCursor(const RECT *rect) { return 0; }
VXPLATFORMAPI BOOL MessageBeep(UINT type) { return 0; }
VXPLATFORMAPI BOOL SetRect(LPRECT rect, int left, int top, int right, int bottom) { return 0; }
VXPLATFORMAPI BOOL SetRectEmpty(LPRECT rect) { return 0; }
VXPLATFORMAPI BOOL CopyRect(LPRECT destination, const RECT *source) { return 0; }
VXPLATFORMAPI BOOL IsRectEmpty(const RECT *rect) { return 0; }
VXPLATFORMAPI BOOL EqualRect(const RECT *a, const RECT *b) { return 0; }
VXPLATFORMAPI BOOL PtInRect(const RECT *rect, POINT point) { return 0; }
VXPLATFORMAPI BOOL OffsetRect(LPRECT rect, int dx, int dy) { return 0; }
VXPLATFORMAPI BOOL InflateRect(LPRECT rect, int dx, int dy) { return 0; }
VXPLATFORMAPI BOOL IntersectRect(LPRECT destination, const RECT *a, const RECT *b) { return 0; }
VXPLATFORMAPI BOOL UnionRect(LPRECT destination, const RECT *a, const RECT *b) { return 0; }

}  // extern "C"

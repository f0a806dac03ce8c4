// pending_display.cpp - the exports of the display engine: stubs until their operations are built.
//
// Each one does nothing, writes through none of its pointers and returns its failure value.
#include "vexora.h"

#include "display/display_state.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI DWORD VXCALL DisplayStart(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette, const int *resolution, int *position, const int *zoom, DWORD flags, VXDISPLAYSTATE *state) { return 0; }
VXAPI DWORD VXCALL DisplayDIBStart(HWND hWnd, HDIB hDIB, int *position, const int *zoom, DWORD flags, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmCreate(HWND hWnd, WPARAM wParam, LPARAM lParam, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmDestroy(HWND hWnd, WPARAM wParam, LPARAM lParam, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmSize(HWND hWnd, WPARAM wParam, LPARAM lParam, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmVertScroll(HWND hWnd, WPARAM wParam, LPARAM lParam, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmHorzScroll(HWND hWnd, WPARAM wParam, LPARAM lParam, VXDISPLAYSTATE *state) { return 0; }
VXAPI LRESULT VXCALL DisplayWmPaint(HWND hWnd, VXDISPLAYSTATE *state) { return 0; }
VXAPI int VXCALL DisplaySetScrollPos(HWND hWnd, VXDISPLAYSTATE *state, LPPOINT point) { return 0; }
VXAPI DWORD VXCALL DisplayDIBImageDC(HDC hDC, VXDISPLAYSTATE *state) { return 0; }
VXAPI DWORD VXCALL DisplayImageDC(HDC hDC, VXDISPLAYSTATE *state) { return 0; }
VXAPI DWORD VXCALL MapDisplayDC(HDC hDC, VXDISPLAYSTATE *state) { return 0; }
VXAPI int VXCALL GetLowMemStretch(void) { return 0; }
VXAPI int VXCALL SetLowMemStretch(int value) { return 0; }
}  // extern "C"

namespace vx::display {
void MapDisplay(HDC, VXDISPLAYSTATE&, bool) {}
void Recompute(HDC, VXDISPLAYSTATE&) {}
}  // namespace vx::display

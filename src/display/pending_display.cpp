// pending_display.cpp - the exports of the display engine and the scrolling view: stubs until their operations are built.
//
// Each one does nothing, writes through none of its pointers and returns its failure value.
#include "vexora.h"

#include "display/display_state.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI BOOL VXCALL DisplayImage(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette, VXVIEW *view, const int *resolution, const int *zoom, DWORD mode) { return 0; }
VXAPI BOOL VXCALL DisplayDIBImage(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD mode) { return 0; }
VXAPI DWORD VXCALL DisplayCPPImage(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags) { return 0; }
VXAPI DWORD VXCALL DisplayCPPSize(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, LPARAM size) { return 0; }
VXAPI DWORD VXCALL DisplayCPPHScroll(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, int code, int thumb) { return 0; }
VXAPI DWORD VXCALL DisplayCPPVScroll(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, int code, int thumb) { return 0; }
}  // extern "C"

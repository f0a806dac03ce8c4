// pending_zoom.cpp - the exports of the rubber-band zoom, Zoom and the magnifier: stubs until their operations are built.
//
// Each one does nothing, writes through none of its pointers and returns its failure value.
#include "vexora.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI BOOL VXCALL Zoom(HWND hWnd, LPARAM start, int *ratio) { return 0; }
VXAPI BOOL VXCALL BZoomSetScaleSteps(int base, const int *zoomIn, const int *zoomOut) { return 0; }
VXAPI int VXCALL BZoomGetScaleSteps(int *zoomIn, int *zoomOut) { return 0; }
VXAPI void VXCALL BZoomStart(HWND hWnd, LPPOINT start, const int *currentZoom, int mode, VXBZOOM *zoom, BOOL screenPoints) { }
VXAPI void VXCALL BZoomUpdate(HWND hWnd, LPPOINT point, VXBZOOM *zoom) { }
VXAPI void VXCALL BZoomEnd(HWND hWnd, LPPOINT end, VXBZOOM *zoom, VXDISPLAYSTATE *state) { }
VXAPI void VXCALL BZoomStep(HWND hWnd, const int *currentZoom, int mode, VXBZOOM *zoom, VXDISPLAYSTATE *state) { }
VXAPI void VXCALL BZoomScreenEnd(HWND hWnd, LPPOINT end, VXBZOOM *zoom, VXSCREENVIEW *view) { }
VXAPI void VXCALL BZoomScreenStep(HWND hWnd, const int *currentZoom, int mode, VXBZOOM *zoom, VXSCREENVIEW *view) { }
VXAPI int VXCALL M_SetSizes(int width, int height) { return 0; }
VXAPI int VXCALL M_GetWidth(void) { return 0; }
VXAPI int VXCALL M_GetHeight(void) { return 0; }
VXAPI int VXCALL M_StartMagnify(HWND hWnd, HPALETTE hPalette) { return 0; }
VXAPI int VXCALL M_CalcRect(int x, int y, int *ratio, LPRECT rect) { return 0; }
VXAPI void VXCALL M_StretchBitmap(HBITMAP hBitmap, int x, int y, int width, int height) { }
VXAPI void VXCALL M_CopyBitmap(HWND hWnd, int x, int y) { }
VXAPI int VXCALL M_StopMagnify(void) { return 0; }
}  // extern "C"

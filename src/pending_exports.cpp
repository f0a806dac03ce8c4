// pending_exports.cpp - the exports of the display, zoom,
// magnifier and printing families: stubs until their operations are built.
//
// Every function of the interface is exported from the first release on, so that an
// application that imports any of them loads against this library. Until its operation is
// built, each one does nothing, writes through none of its pointers and returns its failure
// value (0, a null handle or FALSE). Each definition leaves this file when its operation lands.
#include "vexora.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI BOOL VXCALL Zoom(HWND hWnd, LPARAM start, int *ratio) { return 0; }
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
VXAPI BOOL VXCALL DisplayImage(HWND hWnd, HBITMAP hBitmap, HPALETTE hPalette, VXVIEW *view, const int *resolution, const int *zoom, DWORD mode) { return 0; }
VXAPI BOOL VXCALL DisplayDIBImage(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD mode) { return 0; }
VXAPI DWORD VXCALL DisplayCPPImage(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags) { return 0; }
VXAPI DWORD VXCALL DisplayCPPSize(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, LPARAM size) { return 0; }
VXAPI DWORD VXCALL DisplayCPPHScroll(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, int code, int thumb) { return 0; }
VXAPI DWORD VXCALL DisplayCPPVScroll(HWND hWnd, HDIB hDIB, VXVIEW *view, const int *zoom, DWORD flags, int code, int thumb) { return 0; }
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
VXAPI int VXCALL PrepareToPrint(HWND hWnd, HDC hPrinterDC, VXPRINTOPTIONS *options, LPCSTR docName, int pageCount) { return 0; }
VXAPI int VXCALL PrintDIBPage(HDIB hDIB, const int *resolution, DWORD reserved, int page, int xOffset, int yOffset) { return 0; }
VXAPI void VXCALL PrintPageContinue(void) { }
VXAPI int VXCALL EndPrint(HDC hPrinterDC) { return 0; }
VXAPI int VXCALL PrintDIB(HWND hWnd, HDC hPrinterDC, HDIB hDIB, LPCSTR docName, const int *resolution, VXPRINTOPTIONS *options, DWORD reserved) { return 0; }
VXAPI int VXCALL PrintImage(HWND hWnd, HDC hPrinterDC, HBITMAP hBitmap, HPALETTE hPalette, LPCSTR docName, const int *resolution, VXPRINTOPTIONS *options, DWORD reserved) { return 0; }
VXAPI INT_PTR VXCALL PrintCancelDlgProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXAPI BOOL VXCALL PrintAbortProc(HDC hDC, int code) { return 0; }
VXAPI HGLOBAL VXCALL PrinterSetup(HWND hWndOwner) { return 0; }
VXAPI INT_PTR VXCALL PrinterSetupProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXAPI INT_PTR VXCALL PrintPageProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }

}  // extern "C"

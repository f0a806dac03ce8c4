// pending_jobs.cpp - the print-job exports: stubs until they are built. Each does
// nothing, writes through none of its pointers and returns its failure value.
#include "vexora.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI int VXCALL PrepareToPrint(HWND hWnd, HDC hPrinterDC, VXPRINTOPTIONS *options, LPCSTR docName, int pageCount) { return 0; }
VXAPI int VXCALL PrintDIBPage(HDIB hDIB, const int *resolution, DWORD reserved, int page, int xOffset, int yOffset) { return 0; }
VXAPI void VXCALL PrintPageContinue(void) { }
VXAPI int VXCALL EndPrint(HDC hPrinterDC) { return 0; }
VXAPI int VXCALL PrintDIB(HWND hWnd, HDC hPrinterDC, HDIB hDIB, LPCSTR docName, const int *resolution, VXPRINTOPTIONS *options, DWORD reserved) { return 0; }
VXAPI int VXCALL PrintImage(HWND hWnd, HDC hPrinterDC, HBITMAP hBitmap, HPALETTE hPalette, LPCSTR docName, const int *resolution, VXPRINTOPTIONS *options, DWORD reserved) { return 0; }
VXAPI INT_PTR VXCALL PrintCancelDlgProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXAPI BOOL VXCALL PrintAbortProc(HDC hDC, int code) { return 0; }
}  // extern "C"

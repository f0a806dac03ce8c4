// pending_exports.cpp - the exports of the printing family: stubs until their operations are
// built.
//
// Every function of the interface is exported from the first release on, so that an
// application that imports any of them loads against this library. Until its operation is
// built, each one does nothing, writes through none of its pointers and returns its failure
// value (0, a null handle or FALSE). Each definition leaves this file when its operation lands.
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
VXAPI HGLOBAL VXCALL PrinterSetup(HWND hWndOwner) { return 0; }
VXAPI INT_PTR VXCALL PrinterSetupProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXAPI INT_PTR VXCALL PrintPageProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }

}  // extern "C"

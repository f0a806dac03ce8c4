// pending_setup.cpp - the printer dialogs: stubs until they are built. Each does
// nothing, writes through none of its pointers and returns its failure value.
#include "vexora.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXAPI HGLOBAL VXCALL PrinterSetup(HWND hWndOwner) { return 0; }
VXAPI INT_PTR VXCALL PrinterSetupProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXAPI INT_PTR VXCALL PrintPageProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
}  // extern "C"

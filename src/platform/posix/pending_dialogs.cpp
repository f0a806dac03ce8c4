// pending_dialogs.cpp - the dialog manager, local blocks and string calls:
// stubs until they are built. Each answers its failure value and writes through none of its
// pointers.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI INT_PTR DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner, DLGPROC dialogProc, LPARAM initParam) { return 0; }
VXPLATFORMAPI HWND CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND owner, DLGPROC dialogProc, LPARAM initParam) { return nullptr; }
VXPLATFORMAPI BOOL EndDialog(HWND dialog, INT_PTR result) { return 0; }
VXPLATFORMAPI BOOL IsDialogMessageA(HWND dialog, LPMSG message) { return 0; }
VXPLATFORMAPI BOOL TranslateMessage(const MSG *message) { return 0; }
VXPLATFORMAPI BOOL DestroyWindow(HWND window) { return 0; }
VXPLATFORMAPI BOOL ShowWindow(HWND window, int command) { return 0; }
VXPLATFORMAPI BOOL IsWindowVisible(HWND window) { return 0; }
VXPLATFORMAPI HWND GetParent(HWND window) { return nullptr; }
VXPLATFORMAPI HWND GetDlgItem(HWND dialog, int id) { return nullptr; }
VXPLATFORMAPI int GetDlgCtrlID(HWND control) { return 0; }
VXPLATFORMAPI LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) { return 0; }
VXPLATFORMAPI BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text) { return 0; }
VXPLATFORMAPI UINT GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int size) { return 0; }
VXPLATFORMAPI BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) { return 0; }
VXPLATFORMAPI UINT GetDlgItemInt(HWND dialog, int id, BOOL *translated, BOOL isSigned) { return 0; }
VXPLATFORMAPI BOOL CheckDlgButton(HWND dialog, int id, UINT check) { return 0; }
VXPLATFORMAPI UINT IsDlgButtonChecked(HWND dialog, int id) { return 0; }
VXPLATFORMAPI BOOL SetWindowTextA(HWND window, LPCSTR text) { return 0; }
VXPLATFORMAPI int GetWindowTextA(HWND window, LPSTR buffer, int size) { return 0; }
VXPLATFORMAPI BOOL EnableWindow(HWND window, BOOL enable) { return 0; }
VXPLATFORMAPI BOOL IsWindowEnabled(HWND window) { return 0; }
VXPLATFORMAPI HWND SetFocus(HWND window) { return nullptr; }
VXPLATFORMAPI HWND GetFocus(void) { return nullptr; }
VXPLATFORMAPI LONG GetDialogBaseUnits(void) { return 0; }
VXPLATFORMAPI HMENU GetSystemMenu(HWND window, BOOL revert) { return nullptr; }
VXPLATFORMAPI BOOL EnableMenuItem(HMENU menu, UINT item, UINT flags) { return 0; }
VXPLATFORMAPI int ShowCursor(BOOL show) { return 0; }
VXPLATFORMAPI int wsprintfA(LPSTR buffer, LPCSTR format, ...) { return 0; }
VXPLATFORMAPI HLOCAL LocalAlloc(UINT flags, size_t bytes) { return nullptr; }
VXPLATFORMAPI HLOCAL LocalFree(HLOCAL block) { return nullptr; }
VXPLATFORMAPI LPVOID LocalLock(HLOCAL block) { return nullptr; }
VXPLATFORMAPI BOOL LocalUnlock(HLOCAL block) { return 0; }
VXPLATFORMAPI HLOCAL LocalHandle(LPCVOID pointer) { return nullptr; }
VXPLATFORMAPI LPSTR lstrcpyA(LPSTR destination, LPCSTR source) { return nullptr; }
VXPLATFORMAPI LPSTR lstrcpynA(LPSTR destination, LPCSTR source, int size) { return nullptr; }
VXPLATFORMAPI int lstrcmpiA(LPCSTR a, LPCSTR b) { return 0; }
VXPLATFORMAPI int lstrlenA(LPCSTR text) { return 0; }
}  // extern "C"

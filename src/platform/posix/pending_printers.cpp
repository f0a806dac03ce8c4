// pending_printers.cpp - printer DCs, the printer list, the user profile and the last error:
// stubs until they are built. Each answers its failure value and writes through none of its
// pointers.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI DWORD GetProfileStringA(LPCSTR section, LPCSTR key, LPCSTR defaultValue, LPSTR buffer, DWORD size) { return 0; }
VXPLATFORMAPI BOOL WriteProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value) { return 0; }
VXPLATFORMAPI DWORD GetLastError(void) { return 0; }
VXPLATFORMAPI void SetLastError(DWORD error) {}
VXPLATFORMAPI HDC CreateDCA(LPCSTR driver, LPCSTR device, LPCSTR port, const void *devMode) { return nullptr; }
VXPLATFORMAPI int StartDocA(HDC dc, const DOCINFOA *info) { return 0; }
VXPLATFORMAPI int EndDoc(HDC dc) { return 0; }
VXPLATFORMAPI int StartPage(HDC dc) { return 0; }
VXPLATFORMAPI int EndPage(HDC dc) { return 0; }
VXPLATFORMAPI int AbortDoc(HDC dc) { return 0; }
VXPLATFORMAPI int SetAbortProc(HDC dc, ABORTPROC procedure) { return 0; }
VXPLATFORMAPI int Escape(HDC dc, int escape, int inputSize, LPCSTR input, LPVOID output) { return 0; }
VXPLATFORMAPI BOOL EnumPrintersA(DWORD flags, LPSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) { return 0; }
}  // extern "C"

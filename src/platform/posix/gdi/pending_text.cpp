// pending_text.cpp - the font and text calls of the Linux subset until they are built: each
// answers its failure value. A definition leaves this file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HFONT CreateFontIndirectA(const LOGFONTA *font) { return nullptr; }
VXPLATFORMAPI HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                                DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision,
                                DWORD clipPrecision, DWORD quality, DWORD pitchAndFamily, LPCSTR faceName) {
    return nullptr;
}
VXPLATFORMAPI BOOL GetTextMetricsA(HDC dc, LPTEXTMETRICA metrics) { return FALSE; }
VXPLATFORMAPI BOOL GetTextExtentPoint32A(HDC dc, LPCSTR text, int count, LPSIZE size) { return FALSE; }
VXPLATFORMAPI BOOL TextOutA(HDC dc, int x, int y, LPCSTR text, int count) { return FALSE; }
VXPLATFORMAPI BOOL ExtTextOutA(HDC dc, int x, int y, UINT options, const RECT *rect, LPCSTR text, UINT count,
                               const INT *dx) {
    return FALSE;
}
VXPLATFORMAPI UINT SetTextAlign(HDC dc, UINT align) { return GDI_ERROR; }
VXPLATFORMAPI UINT GetTextAlign(HDC dc) { return GDI_ERROR; }
VXPLATFORMAPI HWND GetActiveWindow(void) { return nullptr; }
VXPLATFORMAPI int DrawTextA(HDC dc, LPCSTR text, int count, LPRECT rect, UINT format) { return 0; }
VXPLATFORMAPI BOOL OemToCharA(LPCSTR source, LPSTR destination) { return FALSE; }
}  // extern "C"

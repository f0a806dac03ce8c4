// pending_raster.cpp - bit transfers, stretching, brushes and the DC's colours of the Linux
// subset: stubs answering each call's failure value until they are built. Each definition
// leaves this file when its call lands.
#include "platform/posix/gdi/objects.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI BOOL BitBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                          DWORD rop) { return FALSE; }
VXPLATFORMAPI BOOL StretchBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX,
                              int sourceY, int sourceWidth, int sourceHeight, DWORD rop) { return FALSE; }
VXPLATFORMAPI BOOL PatBlt(HDC dc, int x, int y, int width, int height, DWORD rop) { return FALSE; }
VXPLATFORMAPI int SetDIBitsToDevice(HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                                    UINT start, UINT lines, const void* bits, const BITMAPINFO* info,
                                    UINT usage) { return 0; }
VXPLATFORMAPI int StretchDIBits(HDC dc, int x, int y, int width, int height, int sourceX, int sourceY,
                                int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                                UINT usage, DWORD rop) { return 0; }
VXPLATFORMAPI int SetStretchBltMode(HDC dc, int mode) { return 0; }
VXPLATFORMAPI int GetStretchBltMode(HDC dc) { return 0; }
VXPLATFORMAPI HBRUSH CreateSolidBrush(COLORREF colour) { return nullptr; }
VXPLATFORMAPI HBRUSH CreatePatternBrush(HBITMAP bitmap) { return nullptr; }
VXPLATFORMAPI HBRUSH CreateBrushIndirect(const LOGBRUSH* brush) { return nullptr; }
VXPLATFORMAPI COLORREF SetTextColor(HDC dc, COLORREF colour) { return CLR_INVALID; }
VXPLATFORMAPI COLORREF GetTextColor(HDC dc) { return CLR_INVALID; }
VXPLATFORMAPI COLORREF SetBkColor(HDC dc, COLORREF colour) { return CLR_INVALID; }
VXPLATFORMAPI COLORREF GetBkColor(HDC dc) { return CLR_INVALID; }
VXPLATFORMAPI int SetBkMode(HDC dc, int mode) { return 0; }
VXPLATFORMAPI int GetBkMode(HDC dc) { return 0; }
}  // extern "C"

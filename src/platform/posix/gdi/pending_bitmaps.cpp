// pending_bitmaps.cpp - bitmaps, selections, device capabilities, palette realisation and
// single pixels of the Linux subset: stubs answering each call's failure value until they are
// built. Each definition leaves this file when its call lands.
#include "platform/posix/gdi/objects.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HBITMAP CreateDIBitmap(HDC dc, const BITMAPINFOHEADER* header, DWORD init, const void* bits,
                                     const BITMAPINFO* info, UINT usage) { return nullptr; }
VXPLATFORMAPI HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                       DWORD offset) { return nullptr; }
VXPLATFORMAPI int GetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, LPVOID bits, LPBITMAPINFO info,
                            UINT usage) { return 0; }
VXPLATFORMAPI int SetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, const void* bits,
                            const BITMAPINFO* info, UINT usage) { return 0; }
VXPLATFORMAPI UINT RealizePalette(HDC dc) { return 0; }
VXPLATFORMAPI UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, LPPALETTEENTRY entries) { return 0; }
VXPLATFORMAPI COLORREF GetNearestColor(HDC dc, COLORREF colour) { return CLR_INVALID; }
}  // extern "C"

// pending_bitmaps.cpp - bitmaps, selections, device capabilities, palette realisation and
// single pixels of the Linux subset: stubs answering each call's failure value until they are
// built. Each definition leaves this file when its call lands.
#include "platform/posix/gdi/objects.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI UINT RealizePalette(HDC dc) { return 0; }
VXPLATFORMAPI UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, LPPALETTEENTRY entries) { return 0; }
VXPLATFORMAPI COLORREF GetNearestColor(HDC dc, COLORREF colour) { return CLR_INVALID; }
}  // extern "C"

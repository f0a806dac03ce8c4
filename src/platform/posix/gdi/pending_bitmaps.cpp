// pending_bitmaps.cpp - bitmaps, selections, device capabilities, palette realisation and
// single pixels of the Linux subset: stubs answering each call's failure value until they are
// built. Each definition leaves this file when its call lands.
#include "platform/posix/gdi/objects.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

namespace vx::posix::gdi {
Surface Bitmap::surface() { return {}; }
Surface DcSurface(const ObjectTable::Access& objects, const DeviceContext& context) { return {}; }
COLORREF PixelColour(const Surface& surface, uint32_t pixel) { return 0; }
uint32_t ColourPixel(const Surface& surface, COLORREF colour) { return 0; }
}  // namespace vx::posix::gdi

extern "C" {
VXPLATFORMAPI HBITMAP CreateBitmap(int width, int height, UINT planes, UINT bitsPerPixel, const void* bits) { return nullptr; }
VXPLATFORMAPI HBITMAP CreateBitmapIndirect(const BITMAP* bitmap) { return nullptr; }
VXPLATFORMAPI HBITMAP CreateCompatibleBitmap(HDC dc, int width, int height) { return nullptr; }
VXPLATFORMAPI HBITMAP CreateDIBitmap(HDC dc, const BITMAPINFOHEADER* header, DWORD init, const void* bits,
                                     const BITMAPINFO* info, UINT usage) { return nullptr; }
VXPLATFORMAPI HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                       DWORD offset) { return nullptr; }
VXPLATFORMAPI int GetObjectA(HGDIOBJ object, int size, LPVOID out) { return 0; }
VXPLATFORMAPI LONG GetBitmapBits(HBITMAP bitmap, LONG size, LPVOID bits) { return 0; }
VXPLATFORMAPI LONG SetBitmapBits(HBITMAP bitmap, DWORD size, const void* bits) { return 0; }
VXPLATFORMAPI int GetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, LPVOID bits, LPBITMAPINFO info,
                            UINT usage) { return 0; }
VXPLATFORMAPI int SetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, const void* bits,
                            const BITMAPINFO* info, UINT usage) { return 0; }
VXPLATFORMAPI HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) { return nullptr; }
VXPLATFORMAPI HGDIOBJ GetCurrentObject(HDC dc, UINT type) { return nullptr; }
VXPLATFORMAPI int GetDeviceCaps(HDC dc, int index) { return 0; }
VXPLATFORMAPI UINT RealizePalette(HDC dc) { return 0; }
VXPLATFORMAPI UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, LPPALETTEENTRY entries) { return 0; }
VXPLATFORMAPI COLORREF GetNearestColor(HDC dc, COLORREF colour) { return CLR_INVALID; }
VXPLATFORMAPI COLORREF GetPixel(HDC dc, int x, int y) { return CLR_INVALID; }
VXPLATFORMAPI COLORREF SetPixel(HDC dc, int x, int y, COLORREF colour) { return CLR_INVALID; }
}  // extern "C"

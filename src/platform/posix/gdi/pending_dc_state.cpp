// pending_dc_state.cpp - saved DC states, mapping modes, regions, clipping, pens and lines of
// the Linux subset: stubs answering each call's failure value until they are built. Each
// definition leaves this file when its call lands.
#include "platform/posix/gdi/objects.hpp"

#pragma GCC diagnostic ignored "-Wunused-parameter"

namespace vx::posix::gdi {
POINT ToDevice(const DcState& state, POINT logical) { return logical; }
int SelectClip(DcState& state, const Region* region) { return ERROR; }
}  // namespace vx::posix::gdi

extern "C" {
VXPLATFORMAPI int SaveDC(HDC dc) { return 0; }
VXPLATFORMAPI BOOL RestoreDC(HDC dc, int saved) { return FALSE; }
VXPLATFORMAPI int SetMapMode(HDC dc, int mode) { return 0; }
VXPLATFORMAPI int GetMapMode(HDC dc) { return 0; }
VXPLATFORMAPI BOOL SetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous) { return FALSE; }
VXPLATFORMAPI BOOL GetWindowOrgEx(HDC dc, LPPOINT origin) { return FALSE; }
VXPLATFORMAPI BOOL SetWindowExtEx(HDC dc, int x, int y, LPSIZE previous) { return FALSE; }
VXPLATFORMAPI BOOL GetWindowExtEx(HDC dc, LPSIZE extent) { return FALSE; }
VXPLATFORMAPI BOOL SetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous) { return FALSE; }
VXPLATFORMAPI BOOL GetViewportOrgEx(HDC dc, LPPOINT origin) { return FALSE; }
VXPLATFORMAPI BOOL SetViewportExtEx(HDC dc, int x, int y, LPSIZE previous) { return FALSE; }
VXPLATFORMAPI BOOL GetViewportExtEx(HDC dc, LPSIZE extent) { return FALSE; }
VXPLATFORMAPI BOOL LPtoDP(HDC dc, LPPOINT points, int count) { return FALSE; }
VXPLATFORMAPI BOOL DPtoLP(HDC dc, LPPOINT points, int count) { return FALSE; }
VXPLATFORMAPI HRGN CreateRectRgn(int left, int top, int right, int bottom) { return nullptr; }
VXPLATFORMAPI HRGN CreateRectRgnIndirect(const RECT* rect) { return nullptr; }
VXPLATFORMAPI int CombineRgn(HRGN dest, HRGN source1, HRGN source2, int mode) { return ERROR; }
VXPLATFORMAPI int GetRgnBox(HRGN region, LPRECT box) { return ERROR; }
VXPLATFORMAPI int OffsetRgn(HRGN region, int x, int y) { return ERROR; }
VXPLATFORMAPI BOOL PtInRegion(HRGN region, int x, int y) { return FALSE; }
VXPLATFORMAPI int SelectClipRgn(HDC dc, HRGN region) { return ERROR; }
VXPLATFORMAPI int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) { return ERROR; }
VXPLATFORMAPI int ExcludeClipRect(HDC dc, int left, int top, int right, int bottom) { return ERROR; }
VXPLATFORMAPI int GetClipBox(HDC dc, LPRECT box) { return ERROR; }
VXPLATFORMAPI HPEN CreatePen(int style, int width, COLORREF colour) { return nullptr; }
VXPLATFORMAPI int SetROP2(HDC dc, int mode) { return 0; }
VXPLATFORMAPI int GetROP2(HDC dc) { return 0; }
VXPLATFORMAPI BOOL MoveToEx(HDC dc, int x, int y, LPPOINT previous) { return FALSE; }
VXPLATFORMAPI BOOL LineTo(HDC dc, int x, int y) { return FALSE; }
VXPLATFORMAPI BOOL Polyline(HDC dc, const POINT* points, int count) { return FALSE; }
VXPLATFORMAPI BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) { return FALSE; }
}  // extern "C"

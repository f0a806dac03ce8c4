// pending_shapes.cpp - the shape, region-painting and window/viewport offset calls of the
// Linux subset until they are built: each answers its failure value. A definition leaves this
// file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI BOOL Arc(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY) {
    return FALSE;
}
VXPLATFORMAPI BOOL Pie(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY) {
    return FALSE;
}
VXPLATFORMAPI BOOL Chord(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                         int endY) {
    return FALSE;
}
VXPLATFORMAPI BOOL FillRgn(HDC dc, HRGN region, HBRUSH brush) { return FALSE; }
VXPLATFORMAPI BOOL PaintRgn(HDC dc, HRGN region) { return FALSE; }
VXPLATFORMAPI BOOL FrameRgn(HDC dc, HRGN region, HBRUSH brush, int width, int height) { return FALSE; }
VXPLATFORMAPI BOOL InvertRgn(HDC dc, HRGN region) { return FALSE; }
VXPLATFORMAPI BOOL OffsetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous) { return FALSE; }
VXPLATFORMAPI BOOL OffsetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous) { return FALSE; }
VXPLATFORMAPI BOOL ScaleWindowExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous) {
    return FALSE;
}
VXPLATFORMAPI BOOL ScaleViewportExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous) {
    return FALSE;
}
}  // extern "C"

// magnifier.cpp - the magnifier lens: M_SetSizes, M_GetWidth, M_GetHeight, M_StartMagnify,
// M_CalcRect, M_StretchBitmap, M_CopyBitmap and M_StopMagnify.
//
// One lens for the process, a module-wide object (180 x 80 pixels until M_SetSizes). Starting
// it on a window takes a snapshot of the client area, hides the cursor and makes the lens
// bitmap. The application then asks M_CalcRect which part of its image lies under the lens
// for a mouse position and a magnification, has M_StretchBitmap stretch that part of a bitmap
// into the lens, and M_CopyBitmap shows the lens at the mouse position: the snapshot is put
// back over the lens's previous place, with the new place excluded from clipping so that the
// pixels the lens will cover are not drawn twice (no flicker), then the lens is drawn. M_Stop
// puts the snapshot back under the last place, so the window looks as it did at the start.
//
// The lens bitmap holds the stretched picture inside a frame four pixels wide: a black line
// at the edge, a raised bevel (white top and left, gray right and bottom), a sunken bevel
// (the colours swapped) and another black line. Parts of the requested rectangle that lie
// outside the source bitmap show the stock gray brush. Until M_StretchBitmap first fills it,
// the lens shows that gray inside the same frame, so a lens shown early is a defined picture.
//
// Every blit selects the application's palette (when one was given) into both contexts as a
// background palette and realises it, so that palette-based screens show the right colours.
#include <algorithm>
#include <cstdint>

#include "vexora.h"

#include "gdi_guards.hpp"

namespace vx::magnifier {
namespace {

constexpr int kFrame = 4;            // frame width on each side
constexpr int kReset = 10;           // a ratio that does not magnify becomes kReset:kReset
constexpr COLORREF kBevelGray = RGB(128, 128, 128);

struct Lens {
    bool active = false;
    HWND window = nullptr;
    HBITMAP lens = nullptr;
    HBITMAP snapshot = nullptr;
    HPALETTE palette = nullptr;
    HCURSOR savedCursor = nullptr;
    int width = 180, height = 80;  // the size the next start gives the lens
    int lastX = 0, lastY = 0;
    int shownWidth = 0, shownHeight = 0;  // the size of the lens bitmap made by the last start
};

Lens g_lens;

// The application's palette in a DC, as a background palette, realised.
class LensPalette {
public:
    explicit LensPalette(HDC dc) : selection_(dc, g_lens.palette, TRUE) {
        if (selection_) RealizePalette(dc);
    }

private:
    PaletteSelection selection_;
};

void DeleteBitmap(HBITMAP& bitmap) {
    if (bitmap != nullptr) DeleteObject(bitmap);
    bitmap = nullptr;
}

// The edge of the frame at `inset`: `light` along the left and top, `dark` along the right
// and bottom (the bottom-left corner light, the top-right corner dark).
void Bevel(HDC dc, int inset, HPEN light, HPEN dark) {
    const int l = inset, t = inset, r = g_lens.shownWidth - 1 - inset, b = g_lens.shownHeight - 1 - inset;
    ObjectSelection lightPen(dc, light);
    MoveToEx(dc, l, b, nullptr);
    LineTo(dc, l, t);
    LineTo(dc, r, t);
    ObjectSelection darkPen(dc, dark);
    MoveToEx(dc, r, t, nullptr);
    LineTo(dc, r, b);
    LineTo(dc, l, b);
}

void Outline(HDC dc, int inset) {
    const int l = inset, t = inset, r = g_lens.shownWidth - 1 - inset, b = g_lens.shownHeight - 1 - inset;
    ObjectSelection pen(dc, GetStockObject(BLACK_PEN));
    MoveToEx(dc, l, t, nullptr);
    LineTo(dc, r, t);
    LineTo(dc, r, b);
    LineTo(dc, l, b);
    LineTo(dc, l, t);
}

void DrawFrame(HDC dc) {
    OwnedObject<HPEN> gray(CreatePen(PS_SOLID, 1, kBevelGray));
    const auto white = static_cast<HPEN>(GetStockObject(WHITE_PEN));
    Outline(dc, 0);
    Bevel(dc, 1, white, gray.get());
    Bevel(dc, 2, gray.get(), white);
    Outline(dc, 3);
}

void FillGray(HDC dc) {
    ObjectSelection brush(dc, GetStockObject(GRAY_BRUSH));
    PatBlt(dc, 0, 0, g_lens.shownWidth, g_lens.shownHeight, PATCOPY);
}

// When the whole blit is refused, the rectangle goes over in pieces: a one-pixel top strip
// (BLACKNESS) and a one-pixel left column, each shrunk until a blit succeeds, then the rest.
void BlitInPieces(HDC lens, int x, int y, int width, int height, HDC source, int sx, int sy) {
    int strip = width;
    while (strip > 0 && !BitBlt(lens, x, y, strip, 1, source, sx, sy, BLACKNESS)) --strip;
    int column = height;
    while (column > 0 && !BitBlt(lens, x, y, 1, column, source, sx, sy, SRCCOPY)) --column;
    if (strip == 0 || column == 0) BitBlt(lens, x, y, width, height, source, sx, sy, SRCCOPY);
    else BitBlt(lens, x + 1, y + 1, width - 1, height - 1, source, sx + 1, sy + 1, SRCCOPY);
}

void Fill(HBITMAP bitmap, int x, int y, int width, int height) {
    MemoryDC lensDC;
    MemoryDC sourceDC;
    if (!lensDC || !sourceDC) return;
    ObjectSelection lensSelection(lensDC.get(), g_lens.lens);
    ObjectSelection sourceSelection(sourceDC.get(), bitmap);
    if (!lensSelection || !sourceSelection) return;
    LensPalette lensPalette(lensDC.get());
    LensPalette sourcePalette(sourceDC.get());
    FillGray(lensDC.get());

    // The requested rectangle fills the lens, stretched.
    SetMapMode(lensDC.get(), MM_ANISOTROPIC);
    SetWindowOrgEx(lensDC.get(), 0, 0, nullptr);
    SetViewportExtEx(lensDC.get(), g_lens.shownWidth, g_lens.shownHeight, nullptr);
    SetWindowExtEx(lensDC.get(), width, height, nullptr);

    BITMAP description{};
    if (GetObjectA(bitmap, sizeof description, &description) != 0) {
        const int64_t left = std::max(x, 0), top = std::max(y, 0);
        const int64_t right = std::min<int64_t>(int64_t{x} + width, description.bmWidth);
        const int64_t bottom = std::min<int64_t>(int64_t{y} + height, description.bmHeight);
        if (right > left && bottom > top) {
            const int dx = static_cast<int>(left - x), dy = static_cast<int>(top - y);
            const int w = static_cast<int>(right - left), h = static_cast<int>(bottom - top);
            const int sx = static_cast<int>(left), sy = static_cast<int>(top);
            if (!BitBlt(lensDC.get(), dx, dy, w, h, sourceDC.get(), sx, sy, SRCCOPY)) {
                BlitInPieces(lensDC.get(), dx, dy, w, h, sourceDC.get(), sx, sy);
            }
        }
    }
    SetMapMode(lensDC.get(), MM_TEXT);
    DrawFrame(lensDC.get());
}

// The far edge of a span, saturated at the 32-bit range.
int Beyond(int start, int extent) {
    return static_cast<int>(std::clamp<int64_t>(int64_t{start} + extent, INT32_MIN, INT32_MAX));
}

// Puts the snapshot back over the lens's last place on the window's DC.
void RestoreUnderLens(HDC windowDC, HDC snapshotDC) {
    BitBlt(windowDC, g_lens.lastX, g_lens.lastY, g_lens.shownWidth, g_lens.shownHeight, snapshotDC, g_lens.lastX,
           g_lens.lastY, SRCCOPY);
}

// Puts the snapshot back under the lens's last place on the window it was started on.
void TakeOff() {
    if (g_lens.window != nullptr && g_lens.snapshot != nullptr && IsWindow(g_lens.window)) {
        WindowDC windowDC(g_lens.window);
        MemoryDC memory(windowDC.get());
        if (windowDC && memory) {
            ObjectSelection selection(memory.get(), g_lens.snapshot);
            LensPalette windowPalette(windowDC.get());
            LensPalette memoryPalette(memory.get());
            RestoreUnderLens(windowDC.get(), memory.get());
        }
    }
}

void Start(HWND window, HPALETTE palette) {
    if (g_lens.active) TakeOff();
    g_lens.window = window;
    g_lens.palette = palette;
    UpdateWindow(window);
    DeleteBitmap(g_lens.snapshot);
    DeleteBitmap(g_lens.lens);
    RECT client{0, 0, 0, 0};
    GetClientRect(window, &client);
    WindowDC windowDC(window);
    if (!windowDC) return;
    MemoryDC memory(windowDC.get());
    g_lens.snapshot = CreateCompatibleBitmap(windowDC.get(), client.right, client.bottom);
    if (memory && g_lens.snapshot != nullptr) {
        ObjectSelection selection(memory.get(), g_lens.snapshot);
        LensPalette windowPalette(windowDC.get());
        LensPalette memoryPalette(memory.get());
        BitBlt(memory.get(), 0, 0, client.right, client.bottom, windowDC.get(), 0, 0, SRCCOPY);
    }
    if (!g_lens.active) g_lens.savedCursor = SetCursor(nullptr);
    g_lens.active = true;
    g_lens.shownWidth = g_lens.width;
    g_lens.shownHeight = g_lens.height;
    g_lens.lens = CreateCompatibleBitmap(windowDC.get(), g_lens.shownWidth, g_lens.shownHeight);
    if (memory && g_lens.lens != nullptr) {
        ObjectSelection selection(memory.get(), g_lens.lens);
        FillGray(memory.get());
        DrawFrame(memory.get());
    }
}

void Move(HWND window, int x, int y) {
    WindowDC windowDC(window);
    MemoryDC memory(windowDC.get());
    if (!windowDC || !memory) return;
    LensPalette windowPalette(windowDC.get());
    LensPalette memoryPalette(memory.get());
    if (g_lens.snapshot != nullptr) {
        ObjectSelection selection(memory.get(), g_lens.snapshot);
        const int saved = SaveDC(windowDC.get());
        ExcludeClipRect(windowDC.get(), x, y, Beyond(x, g_lens.shownWidth), Beyond(y, g_lens.shownHeight));
        RestoreUnderLens(windowDC.get(), memory.get());
        RestoreDC(windowDC.get(), saved);
    }
    if (g_lens.lens != nullptr) {
        ObjectSelection selection(memory.get(), g_lens.lens);
        BitBlt(windowDC.get(), x, y, g_lens.shownWidth, g_lens.shownHeight, memory.get(), 0, 0, SRCCOPY);
    }
    g_lens.lastX = x;
    g_lens.lastY = y;
}

void Stop() {
    const bool wasActive = g_lens.active;
    g_lens.active = false;
    TakeOff();
    if (wasActive) SetCursor(g_lens.savedCursor);
    g_lens.savedCursor = nullptr;
    DeleteBitmap(g_lens.snapshot);
    DeleteBitmap(g_lens.lens);
    g_lens.palette = nullptr;
    g_lens.window = nullptr;
}

}  // namespace
}  // namespace vx::magnifier

using namespace vx::magnifier;

extern "C" {

VXAPI int VXCALL M_SetSizes(int width, int height) {
    g_lens.width = width;
    g_lens.height = height;
    return 1;
}

VXAPI int VXCALL M_GetWidth(void) { return g_lens.width; }

VXAPI int VXCALL M_GetHeight(void) { return g_lens.height; }

VXAPI int VXCALL M_StartMagnify(HWND hWnd, HPALETTE hPalette) {
    if (hWnd == nullptr || !IsWindow(hWnd)) return 0;
    Start(hWnd, hPalette);
    return 1;
}

VXAPI int VXCALL M_CalcRect(int x, int y, int* ratio, LPRECT rect) {
    if (ratio == nullptr || rect == nullptr || ratio[2] == 0 || ratio[3] == 0) return 0;
    if (ratio[1] > ratio[0] || ratio[0] == 0) ratio[0] = ratio[1] = kReset;
    if (ratio[3] > ratio[2]) ratio[2] = ratio[3] = kReset;
    // 64-bit products; the results wrap to 32 bits as the rectangle's fields do.
    const int64_t sw = (int64_t{g_lens.width} - 2 * kFrame) * ratio[1] / ratio[0];
    const int64_t sh = (int64_t{g_lens.height} - 2 * kFrame) * ratio[3] / ratio[2];
    const int64_t left = x - sw / 2, top = y - sh / 2;
    rect->left = static_cast<LONG>(left);
    rect->top = static_cast<LONG>(top);
    rect->right = static_cast<LONG>(left + sw);
    rect->bottom = static_cast<LONG>(top + sh);
    return 1;
}

VXAPI void VXCALL M_StretchBitmap(HBITMAP hBitmap, int x, int y, int width, int height) {
    if (!g_lens.active || g_lens.lens == nullptr) return;
    Fill(hBitmap, x, y, width, height);
}

VXAPI void VXCALL M_CopyBitmap(HWND hWnd, int x, int y) {
    if (!g_lens.active || hWnd == nullptr) return;
    Move(hWnd, x, y);
}

VXAPI int VXCALL M_StopMagnify(void) {
    Stop();
    return 1;
}

}  // extern "C"

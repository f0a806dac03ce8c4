// bzoom.cpp - the rubber-band zoom: BZoomSetScaleSteps, BZoomGetScaleSteps, BZoomStart,
// BZoomUpdate, BZoomEnd, BZoomStep, BZoomScreenEnd and BZoomScreenStep.
//
// A zoom is a ratio of two integers one of which is the base B (10 unless the application sets
// another): magnifications are step:B with steps from the zoom-in table, reductions B:step
// with steps from the zoom-out table. Both tables and the base are the one piece of
// library-wide state here; everything else lives in the application's VXBZOOM record.
//
// The application calls BZoomStart on button-down, BZoomUpdate on every mouse move and
// BZoomEnd on button-up. The record's mode says what a click does (keep, step in or out, fine
// in or out) and whether a drag is under way: the command codes 17 to 21 carry the drag bit
// 0x10, so a start with one of them captures the mouse, tracks the band and ends either as a
// rectangle zoom (the end point passed the 6-pixel threshold on both axes) or as the command
// applied at the clicked point. The same commands without the drag bit (1 to 5) make a start
// that captures nothing. BZoomStep applies a command without the mouse whatever its bit: it
// stores the command without the drag bit, so nothing is captured or drawn, and no point is
// known, so the zoom changes and the view keeps its top-left logical point.
//
// The band is drawn on the window's DC with R2_NOTXORPEN and the DC's default black pen,
// which inverts the pixels it covers: drawing the same outline again puts them back. One
// polyline per move erases the old outline and draws the new one; where the two overlap the
// pixels are inverted twice and stay as they are, which keeps the band from flickering.
//
// BZoomEnd applies the new zoom through the display engine: the point is taken to logical
// units with the record's mapping (MapDisplayDC), the zoom is stored and the mapping and
// scroll ranges recomputed, and newScrollX/Y is set so that the point lands in the middle of
// the view; the application then scrolls there. The screen variants do the same arithmetic on
// a VXSCREENVIEW, whose zoom is a pair of doubles and whose scroll position is rescaled here.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "vexora.h"

#include "display/display_state.hpp"

namespace vx::bzoom {
namespace {

constexpr int kTableLength = BZOOM_STEP_TABLE_LEN;
constexpr int kThreshold = 6;  // pixels on both axes before a press counts as a drag

struct ScaleSteps {
    int base = 10;
    int in[kTableLength] = {5, 10, 20, 40, 60, 80};
    int out[kTableLength] = {5, 10, 15, 30, 40, 50};
};

ScaleSteps g_steps;

bool ValidTable(int base, const int* table) {
    const int count = table[0];
    if (count < 1 || count > kTableLength - 1 || table[1] != base) return false;
    for (int i = 2; i <= count; ++i) {
        if (table[i] <= table[i - 1]) return false;
    }
    return true;
}

int Last(const int* table) { return table[table[0]]; }

// The first step >= v, or the one after it when it equals v; the last step when none is.
int StepAbove(const int* table, int v) {
    const int count = table[0];
    for (int i = 1; i <= count; ++i) {
        if (table[i] >= v) return table[i] == v && i < count ? table[i + 1] : table[i];
    }
    return table[count];
}

// Scanning down, the first step <= v, or the one before it when it equals v; the first step
// when none is.
int StepBelow(const int* table, int v) {
    for (int i = table[0]; i >= 1; --i) {
        if (table[i] <= v) return table[i] == v && i > 1 ? table[i - 1] : table[i];
    }
    return table[1];
}

int FineIncrement(int v) { return v < 10 ? 1 : v < 30 ? 2 : static_cast<int>(5LL * v / 100); }

// Brings a ratio to the form m:B or B:m: the smaller number becomes B and the other is
// scaled with it; a ratio with a zero in it becomes B:B.
void Normalise(int& m, int& d, int base) {
    if (m == base || d == base) return;
    if (m == 0 || d == 0) {
        m = d = base;
    } else if (m < d) {
        d = static_cast<int>(static_cast<long long>(base) * d / m);
        m = base;
    } else {
        m = static_cast<int>(static_cast<long long>(base) * m / d);
        d = base;
    }
}

int Command(LONG mode) { return (mode & 0xFF) | BZOOM_DRAG; }
bool Dragging(const VXBZOOM& zoom) { return (zoom.mode & BZOOM_DRAG) != 0; }

void ApplyCommand(int command, int& m, int& d) {
    const ScaleSteps& s = g_steps;
    const int base = s.base;
    switch (command) {
        case BZOOM_STEPIN:
            Normalise(m, d, base);
            if (d == base) m = StepAbove(s.in, m);
            else if (m == base) d = StepBelow(s.out, d);
            break;
        case BZOOM_STEPOUT:
            Normalise(m, d, base);
            if (m == base) d = StepAbove(s.out, d);
            else if (d == base) m = StepBelow(s.in, m);
            break;
        case BZOOM_FINEIN:
            if (d != base) d = static_cast<int>(std::max<long long>(1LL * d - FineIncrement(d), base));
            else m = static_cast<int>(std::min<long long>(1LL * m + FineIncrement(m), Last(s.in)));
            break;
        case BZOOM_FINEOUT:
            if (m == base) d = static_cast<int>(std::min<long long>(1LL * d + FineIncrement(d), Last(s.out)));
            else if (d == base) m = static_cast<int>(std::max<long long>(1LL * m - FineIncrement(m), base));
            break;
        default:  // BZOOM_KEEP and anything unknown: the zoom stays
            break;
    }
}

// The ratio that makes a rectangle of `rectWidth` x `rectHeight` fill a client area of
// `clientWidth` x `clientHeight` (both at 1:1), kept within the tables' extremes.
void RectangleZoom(double clientWidth, double clientHeight, int rectWidth, int rectHeight, VXZOOMRATIO& zoom) {
    const ScaleSteps& s = g_steps;
    const double base = s.base;
    double z = std::min(clientWidth / rectWidth, clientHeight / rectHeight);
    z = std::clamp(z, base / Last(s.out), Last(s.in) / base);
    if (z < 1.0) {
        zoom.xMul = zoom.yMul = s.base;
        zoom.xDiv = zoom.yDiv = static_cast<LONG>(std::floor(base / z + 0.5));
    } else {
        zoom.xMul = zoom.yMul = static_cast<LONG>(std::floor(z * base + 0.5));
        zoom.xDiv = zoom.yDiv = s.base;
    }
}

POINT ToClient(HWND window, const VXBZOOM& zoom, POINT point) {
    if (zoom.screenPoints != 0) ScreenToClient(window, &point);
    return point;
}

bool PassesThreshold(const VXBZOOM& zoom, POINT point) {
    return std::abs(static_cast<long long>(point.x) - zoom.startX) >= kThreshold &&
           std::abs(static_cast<long long>(point.y) - zoom.startY) >= kThreshold;
}

// Inverts the outline of the band from the start to `endX`, `endY`, then, when `next` is
// given, the outline to it, in one polyline: the shared pixels are inverted twice.
void DrawBand(HWND window, const VXBZOOM& zoom, LONG endX, LONG endY, const POINT* next) {
    HDC dc = GetDC(window);
    if (dc == nullptr) return;
    const LONG sx = zoom.startX, sy = zoom.startY;
    POINT points[9] = {{sx, sy}, {endX, sy}, {endX, endY}, {sx, endY}, {sx, sy}};
    int count = 5;
    if (next != nullptr) {
        points[5] = {next->x, sy};
        points[6] = {next->x, next->y};
        points[7] = {sx, next->y};
        points[8] = {sx, sy};
        count = 9;
    }
    const int previousRop = SetROP2(dc, R2_NOTXORPEN);
    Polyline(dc, points, count);
    SetROP2(dc, previousRop);
    ReleaseDC(window, dc);
}

void Start(HWND window, const POINT* start, const int* currentZoom, int mode, VXBZOOM* zoom, BOOL screenPoints) {
    if (zoom == nullptr) return;
    std::memset(zoom, 0, sizeof *zoom);
    zoom->screenPoints = screenPoints != 0;
    if (start != nullptr) {
        const POINT p = ToClient(window, *zoom, *start);
        zoom->startX = zoom->endX = p.x;
        zoom->startY = zoom->endY = p.y;
    }
    const int base = g_steps.base;
    if (currentZoom != nullptr) zoom->curZoom = {currentZoom[0], currentZoom[1], currentZoom[2], currentZoom[3]};
    else zoom->curZoom = {base, base, base, base};
    zoom->mode = mode;
    if ((mode & BZOOM_DRAG) != 0 && window != nullptr) SetCapture(window);
}

// What every end shares: the drag is closed, and the new zoom computed. Returns whether the
// end is a rectangle zoom; `point` is the end point in client coordinates when one is given.
bool CloseDrag(HWND window, const POINT* end, VXBZOOM& zoom, POINT& point) {
    const bool known = end != nullptr;
    if (known) point = ToClient(window, zoom, *end);
    bool rectangle = false;
    if (Dragging(zoom)) {
        ReleaseCapture();
        if (zoom.bandShown != 0 && window != nullptr) DrawBand(window, zoom, zoom.endX, zoom.endY, nullptr);
        zoom.bandShown = 0;
        zoom.mode &= ~BZOOM_DRAG;
        rectangle = known && PassesThreshold(zoom, point);
    }
    return rectangle;
}

RECT BandRectangle(const VXBZOOM& zoom, POINT end) {
    return RECT{std::min(zoom.startX, end.x), std::min(zoom.startY, end.y), std::max(zoom.startX, end.x),
                std::max(zoom.startY, end.y)};
}

void CommandZoom(VXBZOOM& zoom) {
    int m = zoom.curZoom.xMul, d = zoom.curZoom.xDiv;
    ApplyCommand(Command(zoom.mode), m, d);
    zoom.newZoom = {m, d, m, d};
}

// The client rectangle in the logical units of the state's mapping.
RECT LogicalClient(HDC dc, HWND window) {
    RECT client{0, 0, 0, 0};
    GetClientRect(window, &client);
    DPtoLP(dc, reinterpret_cast<POINT*>(&client), 2);
    return client;
}

void End(HWND window, const POINT* end, VXBZOOM* zoom, VXDISPLAYSTATE* state) {
    if (zoom == nullptr) return;
    POINT point{0, 0};
    const bool rectangle = CloseDrag(window, end, *zoom, point);
    bool pointKnown = end != nullptr;
    if (state != nullptr) {
        zoom->newScrollX = state->originLogical.x;
        zoom->newScrollY = state->originLogical.y;
    }
    HDC dc = window != nullptr && state != nullptr ? GetDC(window) : nullptr;
    if (rectangle) {
        const RECT band = BandRectangle(*zoom, point);
        double clientWidth = 0, clientHeight = 0;
        if (dc != nullptr) {
            const int saved = SaveDC(dc);
            MapDisplayDC(dc, state);
            POINT corners[2] = {{band.left, band.top}, {band.right, band.bottom}};
            DPtoLP(dc, corners, 2);
            POINT centre{(corners[0].x + corners[1].x) / 2, (corners[0].y + corners[1].y) / 2};
            LPtoDP(dc, &centre, 1);
            point = centre;
            // The client area at 1:1 and without fitting gives the size the rectangle fills.
            const VXZOOMRATIO zoomKept = state->zoom;
            const DWORD flagsKept = state->flags;
            state->zoom = {1, 1, 1, 1};
            state->flags &= ~DISPLAY_FIT;
            MapDisplayDC(dc, state);
            const RECT client = LogicalClient(dc, window);
            state->zoom = zoomKept;
            state->flags = flagsKept;
            RestoreDC(dc, saved);
            clientWidth = client.right - client.left;
            clientHeight = client.bottom - client.top;
        } else {
            RECT client{0, 0, 0, 0};
            if (window != nullptr) GetClientRect(window, &client);
            clientWidth = client.right;
            clientHeight = client.bottom;
            point = {(band.left + band.right) / 2, (band.top + band.bottom) / 2};
        }
        RectangleZoom(clientWidth, clientHeight, band.right - band.left, band.bottom - band.top, zoom->newZoom);
        pointKnown = true;
    } else {
        CommandZoom(*zoom);
    }
    if (dc == nullptr) return;

    // Apply: the point in logical units under the old mapping, the new zoom, then the view
    // placed so that the point is in its middle.
    int saved = SaveDC(dc);
    MapDisplayDC(dc, state);
    DPtoLP(dc, &point, 1);
    RestoreDC(dc, saved);
    state->zoom = zoom->newZoom;
    saved = SaveDC(dc);
    vx::display::Recompute(dc, *state);
    RestoreDC(dc, saved);
    state->flags = (state->flags & ~DISPLAY_FIT) | DISPLAY_ZOOMED;
    if (pointKnown) {
        saved = SaveDC(dc);
        MapDisplayDC(dc, state);
        const RECT client = LogicalClient(dc, window);
        RestoreDC(dc, saved);
        zoom->newScrollX = point.x - (client.right - client.left) / 2;
        zoom->newScrollY = point.y - (client.bottom - client.top) / 2;
    }
    ReleaseDC(window, dc);
}

double Factor(LONG mul, LONG div) { return div != 0 ? static_cast<double>(mul) / div : 1.0; }

// Rounds to the nearest integer, saturating at the 32-bit range (NaN gives the low end).
long long Round32(double v) {
    v = std::floor(v + 0.5);
    if (!(v > -2147483648.0)) return -2147483648LL;
    return v < 2147483647.0 ? static_cast<long long>(v) : 2147483647LL;
}

// One axis of a screen view: the scroll position rescaled to the new zoom (recentred on
// `centre` when one is known), then kept inside the image's new range.
void RescaleAxis(LONG& scroll, LONG& maximum, double oldZoom, double newZoom, LONG image, LONG client,
                 const LONG* centre) {
    const double ratio = oldZoom > 0 ? newZoom / oldZoom : 1.0;
    const double target = centre != nullptr ? (static_cast<double>(scroll) + *centre) * ratio - client / 2
                                            : static_cast<double>(scroll) * ratio;
    const long long extent = Round32(static_cast<double>(image) * newZoom) - client;
    maximum = static_cast<LONG>(std::clamp<long long>(extent, 0, 2147483647LL));
    scroll = static_cast<LONG>(std::clamp<long long>(Round32(target), 0, maximum));
}

void ScreenEnd(HWND window, const POINT* end, VXBZOOM* zoom, VXSCREENVIEW* view) {
    if (zoom == nullptr) return;
    POINT point{0, 0};
    const bool rectangle = CloseDrag(window, end, *zoom, point);
    RECT client{0, 0, 0, 0};
    if (window != nullptr) GetClientRect(window, &client);
    bool pointKnown = end != nullptr;
    if (rectangle) {
        const RECT band = BandRectangle(*zoom, point);
        RectangleZoom(client.right, client.bottom, band.right - band.left, band.bottom - band.top, zoom->newZoom);
        point = {band.left + (band.right - band.left) / 2, band.top + (band.bottom - band.top) / 2};
        pointKnown = true;
    } else {
        CommandZoom(*zoom);
    }
    if (view == nullptr) return;
    const double zoomX = Factor(zoom->newZoom.xMul, zoom->newZoom.xDiv);
    const double zoomY = Factor(zoom->newZoom.yMul, zoom->newZoom.yDiv);
    const double oldX = view->zoomX > 0 ? view->zoomX : Factor(zoom->curZoom.xMul, zoom->curZoom.xDiv);
    const double oldY = view->zoomY > 0 ? view->zoomY : Factor(zoom->curZoom.yMul, zoom->curZoom.yDiv);
    RescaleAxis(view->scrollX, view->hMax, oldX, zoomX, view->imageWidth, client.right,
                pointKnown ? &point.x : nullptr);
    RescaleAxis(view->scrollY, view->vMax, oldY, zoomY, view->imageHeight, client.bottom,
                pointKnown ? &point.y : nullptr);
    view->zoomX = zoomX;
    view->zoomY = zoomY;
    zoom->newScrollX = view->scrollX;
    zoom->newScrollY = view->scrollY;
}

}  // namespace
}  // namespace vx::bzoom

using namespace vx::bzoom;

extern "C" {

VXAPI BOOL VXCALL BZoomSetScaleSteps(int base, const int* zoomIn, const int* zoomOut) {
    if (base < 1 || base > 1000) return FALSE;
    if (zoomIn != nullptr && !ValidTable(base, zoomIn)) return FALSE;
    if (zoomOut != nullptr && !ValidTable(base, zoomOut)) return FALSE;
    g_steps.base = base;
    if (zoomIn != nullptr) std::memcpy(g_steps.in, zoomIn, sizeof g_steps.in);
    if (zoomOut != nullptr) std::memcpy(g_steps.out, zoomOut, sizeof g_steps.out);
    return TRUE;
}

VXAPI int VXCALL BZoomGetScaleSteps(int* zoomIn, int* zoomOut) {
    if (zoomIn != nullptr) std::memcpy(zoomIn, g_steps.in, sizeof g_steps.in);
    if (zoomOut != nullptr) std::memcpy(zoomOut, g_steps.out, sizeof g_steps.out);
    return g_steps.base;
}

VXAPI void VXCALL BZoomStart(HWND hWnd, LPPOINT start, const int* currentZoom, int mode, VXBZOOM* zoom,
                             BOOL screenPoints) {
    Start(hWnd, start, currentZoom, mode, zoom, screenPoints);
}

VXAPI void VXCALL BZoomUpdate(HWND hWnd, LPPOINT point, VXBZOOM* zoom) {
    if (zoom == nullptr || point == nullptr || hWnd == nullptr || !Dragging(*zoom)) return;
    const POINT p = ToClient(hWnd, *zoom, *point);
    if (zoom->bandShown == 0) {
        if (!PassesThreshold(*zoom, p)) return;
        zoom->endX = zoom->startX + 5;
        zoom->endY = zoom->startY + 5;
        zoom->bandShown = 1;
        DrawBand(hWnd, *zoom, zoom->endX, zoom->endY, nullptr);
    }
    DrawBand(hWnd, *zoom, zoom->endX, zoom->endY, &p);
    zoom->endX = p.x;
    zoom->endY = p.y;
}

VXAPI void VXCALL BZoomEnd(HWND hWnd, LPPOINT end, VXBZOOM* zoom, VXDISPLAYSTATE* state) {
    End(hWnd, end, zoom, state);
}

VXAPI void VXCALL BZoomStep(HWND hWnd, const int* currentZoom, int mode, VXBZOOM* zoom, VXDISPLAYSTATE* state) {
    Start(hWnd, nullptr, currentZoom, mode & ~BZOOM_DRAG, zoom, FALSE);
    End(hWnd, nullptr, zoom, state);
}

VXAPI void VXCALL BZoomScreenEnd(HWND hWnd, LPPOINT end, VXBZOOM* zoom, VXSCREENVIEW* view) {
    ScreenEnd(hWnd, end, zoom, view);
}

VXAPI void VXCALL BZoomScreenStep(HWND hWnd, const int* currentZoom, int mode, VXBZOOM* zoom,
                                  VXSCREENVIEW* view) {
    Start(hWnd, nullptr, currentZoom, mode & ~BZOOM_DRAG, zoom, FALSE);
    ScreenEnd(hWnd, nullptr, zoom, view);
}

}  // extern "C"

// window_painting.cpp - the paint cycle of the library's windows: InvalidateRect,
// InvalidateRgn, ValidateRect, ValidateRgn, GetUpdateRect, UpdateWindow, BeginPaint, EndPaint
// and ScrollDC.
//
// A window keeps an update region (client coordinates, cut to the client area) and whether it
// waits for erasing. Invalidating with erase sets that flag, so it gathers over calls;
// WM_ERASEBKGND is sent once for it (by BeginPaint, or earlier by GetUpdateRect with erase),
// and a procedure that answers 0 leaves the erasing to the painter, whom BeginPaint tells
// through PAINTSTRUCT.fErase. A rectangle given the wrong way round is taken by its corners,
// as Windows does under Wine. BeginPaint validates the whole region, sends WM_ERASEBKGND when
// it waits for erasing, and lends a DC that draws only inside the region whatever clipping is
// selected into it; GetClipBox of that DC answers the region's box (NULLREGION and all zero
// when nothing was invalid). EndPaint gives the DC back and shows the host rcPaint.
// UpdateWindow sends WM_PAINT at once when the region is not empty, and nothing otherwise.
//
// ScrollDC works on any DC with pixels and follows Wine's arithmetic exactly: the pixels
// that move are those of the scroll rectangle (none: all) that stay inside the clip rectangle
// (none: the DC's clip box), taken in logical units and moved by (dx, dy) mapped to device
// units; the update region is the clip rectangle intersected with the scroll rectangle, within
// what the DC may draw on, less where pixels landed. It is handed out in device coordinates,
// and so is its box, the update rectangle. With neither rectangle given the pixels still move
// but the update region is empty, as Wine answers.
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "platform/posix/gdi/regions.hpp"
#include "platform/posix/window.hpp"

namespace vx::posix::user {
namespace {

using gdi::Bands;

// A caller's rectangle as a region, corners in any order; the client area for none.
Bands RectOrClient(const Window& window, const RECT* rect) {
    const RECT r = rect != nullptr ? *rect : window.clientRect();
    return gdi::RectRegion(r.left, r.top, r.right, r.bottom);
}

// Adds `area` to the update region (cut to the client area), or takes it away.
BOOL ChangeUpdate(HWND window, bool invalidate, bool erase, auto&& area) {
    try {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        const std::optional<Bands> given = area(*found);
        if (!given) return FALSE;
        const Bands clipped = gdi::CombineBands(*given, gdi::RectRegion(0, 0, found->clientWidth(), found->clientHeight()), RGN_AND);
        found->update = gdi::CombineBands(found->update, clipped, invalidate ? RGN_OR : RGN_DIFF);
        if (invalidate && erase && !clipped.empty()) found->erase = true;
        if (found->update.empty()) found->erase = found->eraseLeft = false;
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

// A region handle's rectangles; none for NULL (the whole client area), nothing for a handle
// that is no region.
std::optional<Bands> RegionOrClient(const Window& window, HRGN region) {
    if (region == nullptr) return RectOrClient(window, nullptr);
    auto objects = gdi::Objects();
    const gdi::Region* found = objects.find<gdi::Region>(region);
    if (found == nullptr) return std::nullopt;
    return found->rects;
}

// Wine's intersection of two rectangles: empty (all zero) when they do not overlap.
RECT Intersect(const RECT& a, const RECT& b) {
    const RECT r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
    return r.left < r.right && r.top < r.bottom ? r : RECT{0, 0, 0, 0};
}

// Logical rectangle to a device region (corners mapped, then normalised).
Bands DeviceRegion(const gdi::DcState& state, const RECT& r) {
    const POINT a = gdi::ToDevice(state, POINT{r.left, r.top}), b = gdi::ToDevice(state, POINT{r.right, r.bottom});
    return gdi::RectRegion(a.x, a.y, b.x, b.y);
}

// Moves the pixels of `area` (device rectangles where pixels land) from (x - dx, y - dy), in
// place: rows go in the order that reads every source row before it is written over (from the
// bottom when pixels move down, else from the top) and, when they stay in their row, the
// rectangles of a row go from the side the pixels move towards; memmove takes care of the
// overlap inside one span. The area's rectangles are banded, left to right within a band.
void MovePixels(const gdi::Surface& surface, const Bands& area, int dx, int dy) {
    if (area.empty()) return;
    const RECT box = gdi::RegionBox(area);
    const auto bytes = static_cast<ptrdiff_t>(surface.bitsPerPixel / 8);
    const bool fromBottom = dy > 0, fromRight = dy == 0 && dx > 0;
    const size_t count = area.size();
    for (int i = 0; i < box.bottom - box.top; ++i) {
        const int y = fromBottom ? box.bottom - 1 - i : box.top + i;
        uint8_t* row = surface.bits + static_cast<ptrdiff_t>(y) * surface.stride;
        const uint8_t* sourceRow = surface.bits + static_cast<ptrdiff_t>(y - dy) * surface.stride;
        for (size_t k = 0; k < count; ++k) {
            const RECT& r = area[fromRight ? count - 1 - k : k];
            if (y < r.top || y >= r.bottom) continue;
            std::memmove(row + r.left * bytes, sourceRow + (r.left - dx) * bytes, static_cast<size_t>((r.right - r.left) * bytes));
        }
    }
}

// Sub-byte pixels move one at a time.
void MovePackedPixels(const gdi::Surface& surface, const Bands& area, int dx, int dy) {
    const int bits = surface.bitsPerPixel, perByte = 8 / bits, mask = (1 << bits) - 1;
    auto shiftOf = [&](int x) { return (perByte - 1 - x % perByte) * bits; };
    std::vector<uint8_t> values;
    for (const RECT& r : area) {
        values.clear();
        for (int y = r.top; y < r.bottom; ++y)
            for (int x = r.left; x < r.right; ++x) {
                const uint8_t* row = surface.bits + static_cast<ptrdiff_t>(y - dy) * surface.stride;
                values.push_back(static_cast<uint8_t>(row[(x - dx) / perByte] >> shiftOf(x - dx) & mask));
            }
        size_t i = 0;
        for (int y = r.top; y < r.bottom; ++y)
            for (int x = r.left; x < r.right; ++x) {
                uint8_t& byte = (surface.bits + static_cast<ptrdiff_t>(y) * surface.stride)[x / perByte];
                byte = static_cast<uint8_t>((byte & ~(mask << shiftOf(x))) | values[i++] << shiftOf(x));
            }
    }
}

}  // namespace
}  // namespace vx::posix::user

using vx::posix::gdi::Bands;
using vx::posix::user::Window;
using vx::posix::user::Windows;

extern "C" {

VXPLATFORMAPI BOOL InvalidateRect(HWND window, const RECT* rect, BOOL erase) {
    return vx::posix::user::ChangeUpdate(window, true, erase != FALSE, [&](const Window& w) {
        return std::optional<Bands>(vx::posix::user::RectOrClient(w, rect));
    });
}

VXPLATFORMAPI BOOL InvalidateRgn(HWND window, HRGN region, BOOL erase) {
    return vx::posix::user::ChangeUpdate(window, true, erase != FALSE,
                                         [&](const Window& w) { return vx::posix::user::RegionOrClient(w, region); });
}

VXPLATFORMAPI BOOL ValidateRect(HWND window, const RECT* rect) {
    return vx::posix::user::ChangeUpdate(window, false, false, [&](const Window& w) {
        return std::optional<Bands>(vx::posix::user::RectOrClient(w, rect));
    });
}

VXPLATFORMAPI BOOL ValidateRgn(HWND window, HRGN region) {
    return vx::posix::user::ChangeUpdate(window, false, false,
                                         [&](const Window& w) { return vx::posix::user::RegionOrClient(w, region); });
}

VXPLATFORMAPI BOOL GetUpdateRect(HWND window, LPRECT rect, BOOL erase) {
    RECT box;
    bool waits = false;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        box = vx::posix::gdi::RegionBox(found->update);
        waits = found->erase;
    }
    if (erase && waits) vx::posix::user::EraseNow(window);
    if (rect != nullptr) *rect = box;
    return box.left < box.right && box.top < box.bottom;
}

VXPLATFORMAPI BOOL UpdateWindow(HWND window) {
    bool invalid = false;
    {
        auto windows = Windows();
        const Window* found = windows.find(window);
        if (found == nullptr) return FALSE;
        invalid = !found->update.empty();
    }
    if (invalid) vx::posix::user::SendTo(window, WM_PAINT, 0, 0);
    return TRUE;
}

VXPLATFORMAPI HDC BeginPaint(HWND window, LPPAINTSTRUCT paint) {
    if (paint == nullptr) return nullptr;
    std::shared_ptr<vx::posix::gdi::WindowSurface> surface;
    Bands region;
    bool erase = false;
    BOOL left = FALSE;
    {
        auto windows = Windows();
        Window* found = windows.find(window);
        if (found == nullptr) return nullptr;
        surface = found->surface;
        region = std::move(found->update);
        found->update.clear();
        erase = std::exchange(found->erase, false);
        left = std::exchange(found->eraseLeft, false);
    }
    const RECT box = vx::posix::gdi::RegionBox(region);
    HDC dc = vx::posix::gdi::LendDC(std::move(surface), std::move(region));
    if (dc == nullptr) return nullptr;
    if (erase) left = vx::posix::user::SendTo(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0) == 0;
    *paint = PAINTSTRUCT{};
    paint->hdc = dc;
    paint->fErase = left;
    paint->rcPaint = box;
    return dc;
}

VXPLATFORMAPI BOOL EndPaint(HWND window, const PAINTSTRUCT* paint) {
    if (paint == nullptr) return FALSE;
    ReleaseDC(window, paint->hdc);
    return TRUE;
}

VXPLATFORMAPI BOOL ScrollDC(HDC dc, int dx, int dy, const RECT* scroll, const RECT* clip, HRGN update, LPRECT updateRect) {
    using namespace vx::posix::gdi;
    HWND shown = nullptr;
    RECT changed{0, 0, 0, 0};
    const BOOL done = OnDC(dc, FALSE, [&](ObjectTable::Access& objects, DeviceContext& context) {
        const Surface surface = DcSurface(objects, context);
        const DcState& state = context.state;
        const Bands visible = surface.bits != nullptr ? VisibleRects(state, surface) : Bands{};
        // The DC's clip box in logical units.
        auto clipBox = [&] {
            const RECT box = RegionBox(visible);
            POINT corners[2] = {{box.left, box.top}, {box.right, box.bottom}};
            for (POINT& corner : corners) ToLogical(state, corner);
            return RECT{corners[0].x, corners[0].y, corners[1].x, corners[1].y};
        };
        const RECT clipRect = clip != nullptr ? *clip : clipBox();
        const RECT back{clipRect.left - dx, clipRect.top - dy, clipRect.right - dx, clipRect.bottom - dy};
        RECT source = vx::posix::user::Intersect(clipRect, back);
        if (scroll != nullptr) source = vx::posix::user::Intersect(source, *scroll);
        const POINT origin = ToDevice(state, POINT{0, 0}), moved = ToDevice(state, POINT{dx, dy});
        const int dxDevice = moved.x - origin.x, dyDevice = moved.y - origin.y;
        Bands landed = CombineBands(vx::posix::user::DeviceRegion(state, source), visible, RGN_AND);
        for (RECT& r : landed) r = RECT{r.left + dxDevice, r.top + dyDevice, r.right + dxDevice, r.bottom + dyDevice};
        landed = CombineBands(landed, visible, RGN_AND);

        Bands uncovered;
        if (scroll != nullptr || clip != nullptr) {
            const RECT base = scroll == nullptr ? *clip : clip == nullptr ? *scroll : vx::posix::user::Intersect(*clip, *scroll);
            uncovered = CombineBands(vx::posix::user::DeviceRegion(state, base), visible, RGN_AND);
            uncovered = CombineBands(uncovered, landed, RGN_DIFF);
        }
        if (surface.bits != nullptr && (dxDevice != 0 || dyDevice != 0)) {
            if (surface.bitsPerPixel >= 8)
                vx::posix::user::MovePixels(surface, landed, dxDevice, dyDevice);
            else
                vx::posix::user::MovePackedPixels(surface, landed, dxDevice, dyDevice);
        }
        if (update != nullptr) {
            if (Region* region = objects.find<Region>(update)) region->rects = uncovered;
        }
        if (updateRect != nullptr) *updateRect = RegionBox(uncovered);
        if (context.window != nullptr && !landed.empty()) {
            shown = context.window->window;
            changed = RegionBox(landed);
        }
        return TRUE;
    });
    if (shown != nullptr) vx::posix::user::Present(shown, changed);
    return done;
}

}  // extern "C"

// clipping.cpp - clipping regions of DCs in the Linux subset: SelectClipRgn,
// IntersectClipRect, ExcludeClipRect and GetClipBox, and for the rest of the subset SelectClip
// (what SelectObject does with a region) and VisibleRects (what drawing may touch).
//
// A DC's clipping region lives in its DcState in device coordinates, kept exactly as the calls
// made it and not cut to the surface: as in Windows it may reach beyond the selected bitmap,
// and its SIMPLEREGION / COMPLEXREGION answers describe it whole. Drawing intersects it with
// the surface's bounds (VisibleRects). Rectangles given in logical coordinates are mapped
// corner by corner and then normalised, so a mapping that flips an axis still clips the area
// the caller named.
//
// Without a clipping region IntersectClipRect takes the rectangle itself (answering
// SIMPLEREGION even when it is empty or off the surface), while ExcludeClipRect first takes
// the surface's bounds, as Windows does. GetClipBox answers the box of the region (or the
// surface's bounds) cut to the surface, NULLREGION when nothing of it is visible, and maps the
// corners back to logical coordinates without reordering them.
#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/regions.hpp"

namespace vx::posix::gdi {
namespace {

RECT SurfaceBounds(const Surface& surface) { return RECT{0, 0, surface.width, surface.height}; }

bool IsEmpty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }

// The logical rectangle as a region in device coordinates.
Bands DeviceRectRegion(const DcState& state, int left, int top, int right, int bottom) {
    const POINT a = ToDevice(state, POINT{left, top}), b = ToDevice(state, POINT{right, bottom});
    return RectRegion(a.x, a.y, b.x, b.y);
}

// Runs `change` on the state of a DC with the table locked and the DC's surface at hand;
// answers what it answers, ERROR for a handle that is not a DC. A metafile DC's recorder is
// handed the call first by `record(recorder, objects)` (null: a call no metafile holds); one
// that keeps no state answers 1 at once.
template <typename Record, typename Change>
int ChangeClip(HDC dc, Record record, Change change) {
    return OnDC(dc, int{ERROR}, [&](auto& objects, DeviceContext& context) {
        if constexpr (!std::is_null_pointer_v<Record>) {
            if (MetaRecorder* recorder = RecorderOf(context)) {
                record(*recorder, objects);
                if (!recorder->keepsState()) return 1;
            }
        }
        return change(objects, context.state, DcSurface(objects, context));
    });
}

// The region a DC clips to when it has none: the surface's bounds.
void MakeDefaultClip(DcState& state, const Surface& surface) {
    if (!state.clip) state.clip = RectRegion(0, 0, surface.width, surface.height);
}

}  // namespace

int SelectClip(DcState& state, const Region* region) {
    try {
        if (region == nullptr) {
            state.clip.reset();
            return SIMPLEREGION;
        }
        state.clip = region->rects;
        return RegionComplexity(region->rects);
    } catch (...) {
        return ERROR;
    }
}

std::vector<RECT> VisibleRects(const DcState& state, const Surface& surface) {
    Bands bounds = RectRegion(0, 0, surface.width, surface.height);
    if (surface.visible != nullptr) bounds = CombineBands(*surface.visible, bounds, RGN_AND);
    if (!state.clip) return bounds;
    return CombineBands(*state.clip, bounds, RGN_AND);
}

}  // namespace vx::posix::gdi

using vx::posix::gdi::Bands;
using vx::posix::gdi::DcState;
using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::MetaRecorder;
using vx::posix::gdi::Objects;
using vx::posix::gdi::Region;
using vx::posix::gdi::Surface;

extern "C" {

VXPLATFORMAPI int SelectClipRgn(HDC dc, HRGN region) {
    using Access = vx::posix::gdi::ObjectTable::Access;
    const auto record = [&](MetaRecorder& recorder, const Access& objects) {
        const Region* found = objects.find<Region>(region);
        if (region == nullptr || found != nullptr) recorder.SelectClipRgn(found);
    };
    return vx::posix::gdi::ChangeClip(dc, record, [&](const Access& objects, DcState& state, const Surface& surface) {
        if (region == nullptr) return vx::posix::gdi::SelectClip(state, nullptr);
        // Windows gives the DC its default region before it copies, and keeps it on failure.
        vx::posix::gdi::MakeDefaultClip(state, surface);
        return vx::posix::gdi::SelectClip(state, objects.find<Region>(region));
    });
}

VXPLATFORMAPI int IntersectClipRect(HDC dc, int left, int top, int right, int bottom) {
    using Access = vx::posix::gdi::ObjectTable::Access;
    const auto record = [&](MetaRecorder& recorder, const Access&) {
        recorder.IntersectClipRect(left, top, right, bottom);
    };
    return vx::posix::gdi::ChangeClip(dc, record, [&](const Access&, DcState& state, const Surface&) {
        Bands rect = vx::posix::gdi::DeviceRectRegion(state, left, top, right, bottom);
        if (!state.clip) {
            state.clip = std::move(rect);
            return SIMPLEREGION;
        }
        state.clip = vx::posix::gdi::CombineBands(*state.clip, rect, RGN_AND);
        return vx::posix::gdi::RegionComplexity(*state.clip);
    });
}

VXPLATFORMAPI int ExcludeClipRect(HDC dc, int left, int top, int right, int bottom) {
    using Access = vx::posix::gdi::ObjectTable::Access;
    const auto record = [&](MetaRecorder& recorder, const Access&) {
        recorder.ExcludeClipRect(left, top, right, bottom);
    };
    return vx::posix::gdi::ChangeClip(dc, record, [&](const Access&, DcState& state, const Surface& surface) {
        const Bands rect = vx::posix::gdi::DeviceRectRegion(state, left, top, right, bottom);
        vx::posix::gdi::MakeDefaultClip(state, surface);
        state.clip = vx::posix::gdi::CombineBands(*state.clip, rect, RGN_DIFF);
        return vx::posix::gdi::RegionComplexity(*state.clip);
    });
}

VXPLATFORMAPI int GetClipBox(HDC dc, LPRECT box) {
    if (box == nullptr) return ERROR;
    using Access = vx::posix::gdi::ObjectTable::Access;
    return vx::posix::gdi::ChangeClip(dc, nullptr, [&](const Access&, DcState& state, const Surface& surface) {
        const RECT bounds = vx::posix::gdi::SurfaceBounds(surface);
        int answer = SIMPLEREGION;
        RECT result = bounds;
        if (surface.visible != nullptr) {
            // A DC limited to a window's update region: the box of what it may draw on.
            const Bands visible = vx::posix::gdi::VisibleRects(state, surface);
            answer = vx::posix::gdi::RegionComplexity(visible);
            result = vx::posix::gdi::RegionBox(visible);
        } else if (state.clip) {
            result = vx::posix::gdi::RegionBox(*state.clip);
            answer = vx::posix::gdi::RegionComplexity(*state.clip);
        }
        if (surface.visible == nullptr && !vx::posix::gdi::IsEmpty(bounds)) {
            // Cut to the surface; an empty cut keeps the corners it computed, as Windows does.
            result = RECT{std::max(result.left, bounds.left), std::max(result.top, bounds.top),
                          std::min(result.right, bounds.right), std::min(result.bottom, bounds.bottom)};
            if (vx::posix::gdi::IsEmpty(result)) answer = NULLREGION;
        }
        POINT corners[2] = {{result.left, result.top}, {result.right, result.bottom}};
        for (POINT& corner : corners) vx::posix::gdi::ToLogical(state, corner);
        *box = RECT{corners[0].x, corners[0].y, corners[1].x, corners[1].y};
        return answer;
    });
}

}  // extern "C"

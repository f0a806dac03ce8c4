// region_paint.cpp - painting regions on a DC in the Linux subset: FillRgn, PaintRgn, FrameRgn
// and InvertRgn.
//
// The region is taken in logical coordinates: each of its rectangles is mapped corner by corner
// (ToDevice) and normalised, and the mapped rectangles, sorted back into bands, are painted as
// one area (polygon_fill.hpp's FillArea), so a mapping that flips or scales an axis paints what
// the caller named. FillRgn paints with the brush it is given and PaintRgn with the DC's, both
// through the DC's binary raster operation (its ternary equivalent on the brush, as Rectangle's
// fill); InvertRgn inverts the destination whatever that operation is.
//
// FrameRgn paints the region less the region shrunk by |width| across and |height| down: what
// stays of the region where it, and it moved by width to either side and by height up and
// down, all overlap. The frame is made in logical coordinates and then painted as FillRgn
// paints, so a zero width leaves the left and right sides unframed and a frame wider than the
// region fills all of it.
//
// A call given anything but a live DC, region or brush answers FALSE; a metafile DC records the
// call and draws nothing. As in Windows, a Windows-metafile DC answers TRUE for a brush that is
// not one and an enhanced-metafile DC for a region that is not one; neither records anything.
#include <algorithm>
#include <cstdlib>

#include "platform/posix/gdi/lines.hpp"
#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/polygon_fill.hpp"

namespace vx::posix::gdi {
namespace {

// The region's rectangles in device coordinates, sorted into bands again.
Bands DeviceArea(const DcState& state, const Bands& logical) {
    Bands device;
    device.reserve(logical.size());
    for (const RECT& r : logical) {
        const POINT a = ToDevice(state, POINT{r.left, r.top}), b = ToDevice(state, POINT{r.right, r.bottom});
        const RECT mapped{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
        if (mapped.left < mapped.right && mapped.top < mapped.bottom) device.push_back(mapped);
    }
    std::sort(device.begin(), device.end(),
              [](const RECT& a, const RECT& b) { return a.top != b.top ? a.top < b.top : a.left < b.left; });
    return device;
}

// `bands` moved by (dx, dy), coordinates held to 32 bits.
Bands Moved(const Bands& bands, int64_t dx, int64_t dy) {
    const auto at = [](int64_t v) { return static_cast<LONG>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); };
    Bands moved;
    moved.reserve(bands.size());
    for (const RECT& r : bands) moved.push_back({at(r.left + dx), at(r.top + dy), at(r.right + dx), at(r.bottom + dy)});
    return moved;
}

Bands Frame(const Bands& region, int width, int height) {
    const int64_t x = std::llabs(int64_t{width}), y = std::llabs(int64_t{height});
    Bands inner = region;
    for (const auto& [dx, dy] : {std::pair{x, int64_t{0}}, {-x, 0}, {0, y}, {0, -y}})
        inner = CombineBands(inner, Moved(region, dx, dy), RGN_AND);
    return CombineBands(region, inner, RGN_DIFF);
}

enum class Paint { Fill, DcBrush, Frame, Invert };

BOOL PaintRegion(HDC dc, HRGN handle, HBRUSH brushHandle, Paint paint, int width = 0, int height = 0) {
    return OnDC(dc, FALSE, [&](const ObjectTable::Access& objects, DeviceContext& context) -> BOOL {
        const Region* region = objects.find<Region>(handle);
        const Brush* brush = objects.find<Brush>(brushHandle);
        if (region == nullptr) return context.kind() == ObjectKind::EnhMetaDC ? TRUE : FALSE;
        if ((paint == Paint::Fill || paint == Paint::Frame) && brush == nullptr)
            return context.kind() == ObjectKind::MetaDC ? TRUE : FALSE;
        if (MetaRecorder* recorder = RecorderOf(context)) {
            switch (paint) {
                case Paint::Fill: recorder->FillRgn(*region, brushHandle, *brush); break;
                case Paint::DcBrush: recorder->PaintRgn(*region); break;
                case Paint::Frame: recorder->FrameRgn(*region, brushHandle, *brush, width, height); break;
                case Paint::Invert: recorder->InvertRgn(*region); break;
            }
            return TRUE;
        }
        const BlitTarget target = TargetOf(objects, context);
        if (target.surface.bits == nullptr) return TRUE;
        const Bands area =
            DeviceArea(context.state, paint == Paint::Frame ? Frame(region->rects, width, height) : region->rects);
        if (paint == Paint::Invert) {
            FillArea(target, BlitPattern{}, 0x55, area);  // DSTINVERT: the brush is not read
            return TRUE;
        }
        // The brush is realised as the DC would realise it were it selected.
        DeviceContext painter(context.kind());
        painter.state = context.state;
        if (paint != Paint::DcBrush) painter.state.brush = brushHandle;
        FillArea(target, RealizeBrush(objects, painter, target), TernaryOf(context.state.rop2), area);
        return TRUE;
    });
}

}  // namespace
}  // namespace vx::posix::gdi

using vx::posix::gdi::Paint;

extern "C" {

VXPLATFORMAPI BOOL FillRgn(HDC dc, HRGN region, HBRUSH brush) {
    return vx::posix::gdi::PaintRegion(dc, region, brush, Paint::Fill);
}

VXPLATFORMAPI BOOL PaintRgn(HDC dc, HRGN region) {
    return vx::posix::gdi::PaintRegion(dc, region, nullptr, Paint::DcBrush);
}

VXPLATFORMAPI BOOL FrameRgn(HDC dc, HRGN region, HBRUSH brush, int width, int height) {
    return vx::posix::gdi::PaintRegion(dc, region, brush, Paint::Frame, width, height);
}

VXPLATFORMAPI BOOL InvertRgn(HDC dc, HRGN region) {
    return vx::posix::gdi::PaintRegion(dc, region, nullptr, Paint::Invert);
}

}  // extern "C"

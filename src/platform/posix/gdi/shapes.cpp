// shapes.cpp - filled shapes of the Linux subset: Polygon, PolyPolygon, SetPolyFillMode,
// GetPolyFillMode, Ellipse, RoundRect, Arc, Pie and Chord.
//
// Every shape is drawn as Windows' DIB engine draws it: its points go through the DC's mapping
// (ToDevice), the inside is filled with the brush through the raster operation's ternary
// equivalent (as PatBlt fills, polygon_fill.hpp), and then the outline is drawn with the pen
// along the same device points by lines.cpp's exact line code, closed. So with an XOR
// operation the pixels the brush and the pen both reach are flipped twice.
//
// Polygons fill by the DC's fill mode (ALTERNATE, WINDING); their right and bottom edges are
// outside the fill, so with a pen the outline lies on the left and top pixels of the fill and
// beyond its right and bottom ones.
//
// Curves. An ellipse in the box [left, right) x [top, bottom) is traced by an integer midpoint
// walk over its lower-right quarter, from the middle of the right side (right - 1, top + h/2)
// down to the middle of the bottom row: the error term of the curve through the centres of
// the box's corner pixels decides at each step whether x moves in, y moves down, or both, so
// the outline is 8-connected. The other quarters are its mirror images in the box. The brush
// covers each row from its leftmost outline pixel to its rightmost, the outline included; the
// pen then lights the outline pixels. RoundRect places the four quarters of an ellipse of the
// corner size (mapped as a size, cut to the box) in the box's corners, the straight sides
// joining them, and Ellipse is RoundRect with the box's own logical size as the corner size,
// so where the mapping rounds that size below the device box a straight side of a pixel is
// left; corners two pixels wide or high or less are drawn as Rectangle draws the box.
// Arcs, pies and chords walk the ellipse's outline counter-clockwise from the first point at or
// past the ray from the centre through the start point to the point before the first one at or
// past the ray through the end point (all the way round when the two coincide), the rays
// compared with the quarter's points in whole numbers from the box's point (width / 2,
// height / 2); the pen lights all of them but the last. Chords and pies are closed by a straight
// line (through that centre point for a pie) and filled as polygons.
//
// Bounds. A shape whose points or outline would pass kMaxShapePoints (polygons of 4 million
// points, curves whose width and height add up to over two million pixels) is refused with
// FALSE rather than allocated without bound. Windows refuses such a shape only when its
// allocation fails (Wine draws an ellipse 40 million pixels wide). Fills scan-convert only the
// visible rows; a curve's outline is walked whole, in time proportional to its perimeter.
//
// A metafile DC records the call (its recorder, metafile_recorder.hpp) and draws nothing.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <vector>

#include "platform/posix/gdi/lines.hpp"
#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/polygon_fill.hpp"

namespace vx::posix::gdi {
namespace {

// Fills `area` with the DC's brush and draws the closed outline with its pen.
void PaintShape(const ObjectTable::Access& objects, const Canvas& canvas, const DeviceContext& context,
                const Bands& area, const std::vector<POINT>& outline, std::span<const int> counts) {
    const BlitTarget target = TargetOf(objects, context);
    FillArea(target, RealizeBrush(objects, context, target), TernaryOf(canvas.rop2), area);
    const Pen* pen = objects.find<Pen>(context.state.pen);
    if (pen == nullptr || pen->style == PS_NULL) return;
    size_t first = 0;
    for (const int count : counts) {
        DrawPolyline(canvas, *pen, outline.data() + first, static_cast<size_t>(count), true);
        first += static_cast<size_t>(count);
    }
}

// Polygons from the caller's points and counts, in logical coordinates. A Windows-metafile DC
// records any counts that are not negative, as Windows does; every other DC needs two points a
// polygon (an enhanced metafile DC records only what it would draw).
BOOL DrawPolygons(HDC dc, const POINT* points, const int* counts, int polygons, bool single) {
    if (polygons < 0 || (polygons > 0 && (points == nullptr || counts == nullptr))) return FALSE;
    int64_t total = 0;
    int fewest = INT_MAX;
    for (int i = 0; i < polygons; ++i) {
        if (counts[i] < 0) return FALSE;
        fewest = std::min(fewest, counts[i]);
        total += counts[i];
    }
    if (total > kMaxShapePoints) return FALSE;
    return WithCanvas(dc, [&](const ObjectTable::Access& objects, const Canvas& canvas, DeviceContext& context) {
        MetaRecorder* recorder = RecorderOf(context);
        if (fewest < 2 && (recorder == nullptr || context.kind() != ObjectKind::MetaDC)) return FALSE;
        if (recorder != nullptr) {
            const std::span<const POINT> all(points, static_cast<size_t>(total));
            if (single) recorder->Polygon(all);
            else recorder->PolyPolygon(all, std::span<const INT>(counts, static_cast<size_t>(polygons)));
            return TRUE;
        }
        if (canvas.surface.bits == nullptr) return TRUE;
        std::vector<POINT> device(points, points + total);
        for (POINT& point : device) point = ToDevice(context.state, point);
        const RowRange rows = VisibleRows(canvas.visible);
        const std::span<const int> countSpan(counts, static_cast<size_t>(polygons));
        const Bands area =
            PolygonArea(device, countSpan, context.state.polyFillMode == WINDING, rows.top, rows.bottom);
        PaintShape(objects, canvas, context, area, device, countSpan);
        return TRUE;
    });
}

// The device box of a shape, normalised.
RECT DeviceBox(const DcState& state, int left, int top, int right, int bottom) {
    const POINT a = ToDevice(state, POINT{left, top}), b = ToDevice(state, POINT{right, bottom});
    return RECT{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

// The lower-right quarter of the ellipse in a box `width` x `height` (both at least 3), from
// the middle of the right side to the middle of the bottom, relative to the box's top-left;
// and where the walk stood when it left the quarter (`exit`).
struct Quarter {
    std::vector<POINT> points;
    POINT exit{};
};

Quarter EllipseQuarter(int64_t width, int64_t height) {
    // The error terms grow as the cube of the size: 128 bits keep them exact for any box.
    using Wide = __int128;
    const Wide a = width - 1, b = height - 1;
    const Wide stepX = 8 * b * b, stepY = 8 * a * a;
    Wide dx = 4 * b * b * (1 - a), dy = 4 * a * a * (1 + b % 2);
    Wide error = dx + dy + a * a * (b % 2);
    Quarter quarter;
    quarter.points.reserve(static_cast<size_t>(width / 2 + height / 2 + 2));
    int64_t x = width - 1, y = height / 2;
    while (x >= width / 2) {
        quarter.points.push_back(POINT{static_cast<LONG>(x), static_cast<LONG>(y)});
        const Wide e2 = 2 * error;
        if (e2 >= dx) {
            --x;
            error += dx += stepX;
        }
        if (e2 <= dy) {
            ++y;
            error += dy += stepY;
        }
    }
    quarter.exit = POINT{static_cast<LONG>(x), static_cast<LONG>(y)};
    return quarter;
}

// The closed outline of a box with corners rounded by quarters of a `cornerWidth` x
// `cornerHeight` ellipse, counter-clockwise from the middle of the right side (the order of the
// arcs' tour, which dashes follow). A narrow corner's walk stops before the row its quarter
// should end on; the brush then also covers that row between the walk's exits from the left
// and right corners, when those do not cross (`rows`).
struct RoundedShape {
    std::vector<POINT> outline;
    RECT rows[2]{};
};

RoundedShape RoundedOutline(const RECT& box, int64_t cornerWidth, int64_t cornerHeight) {
    const Quarter walk = EllipseQuarter(cornerWidth, cornerHeight);
    const std::vector<POINT>& quarter = walk.points;
    const int64_t offsetX = int64_t{box.right} - cornerWidth, offsetY = int64_t{box.bottom} - cornerHeight;
    const int64_t mirrorX = int64_t{box.left} + box.right - 1, mirrorY = int64_t{box.top} + box.bottom - 1;
    const auto at = [](int64_t x, int64_t y) { return POINT{static_cast<LONG>(x), static_cast<LONG>(y)}; };
    RoundedShape shape;
    std::vector<POINT>& outline = shape.outline;
    outline.reserve(4 * quarter.size());
    const size_t n = quarter.size();
    const auto right = [&](size_t i) { return offsetX + quarter[i].x; };
    const auto left = [&](size_t i) { return mirrorX - offsetX - quarter[i].x; };
    const auto lower = [&](size_t i) { return offsetY + quarter[i].y; };
    const auto upper = [&](size_t i) { return mirrorY - offsetY - quarter[i].y; };
    for (size_t i = 0; i < n; ++i) outline.push_back(at(right(i), upper(i)));
    for (size_t i = n; i-- > 0;) outline.push_back(at(left(i), upper(i)));
    for (size_t i = 0; i < n; ++i) outline.push_back(at(left(i), lower(i)));
    for (size_t i = n; i-- > 0;) outline.push_back(at(right(i), lower(i)));
    const int64_t from = mirrorX - offsetX - walk.exit.x, to = offsetX + walk.exit.x + 1;
    const int64_t bottomRow = offsetY + walk.exit.y, topRow = mirrorY - offsetY - walk.exit.y;
    if (from < to && bottomRow < box.bottom && topRow >= box.top) {
        shape.rows[0] = RECT{static_cast<LONG>(from), static_cast<LONG>(topRow), static_cast<LONG>(to),
                             static_cast<LONG>(topRow + 1)};
        shape.rows[1] = RECT{static_cast<LONG>(from), static_cast<LONG>(bottomRow), static_cast<LONG>(to),
                             static_cast<LONG>(bottomRow + 1)};
    }
    return shape;
}

// What a rounded shape call does once its geometry is known.
enum class Outcome { Drawn, AsRectangle, Refused };

// Ellipse (corner size: the whole box) and RoundRect in device coordinates.
Outcome DrawRounded(const ObjectTable::Access& objects, const Canvas& canvas, const DeviceContext& context,
                    const RECT& box, int64_t cornerWidth, int64_t cornerHeight) {
    const int64_t width = int64_t{box.right} - box.left, height = int64_t{box.bottom} - box.top;
    if (width == 0 || height == 0) return Outcome::Drawn;
    cornerWidth = std::min(width, cornerWidth);
    cornerHeight = std::min(height, cornerHeight);
    if (cornerWidth <= 2 || cornerHeight <= 2) return Outcome::AsRectangle;
    if (2 * (cornerWidth + cornerHeight) + 8 > kMaxShapePoints) return Outcome::Refused;
    if (canvas.surface.bits == nullptr) return Outcome::Drawn;
    const RoundedShape shape = RoundedOutline(box, cornerWidth, cornerHeight);
    const RowRange rows = VisibleRows(canvas.visible);
    const int count = static_cast<int>(shape.outline.size());
    PaintShape(objects, canvas, context, CurveArea(shape.outline, shape.rows, rows.top, rows.bottom), shape.outline,
               std::span<const int>(&count, 1));
    return Outcome::Drawn;
}

// Runs a rounded shape with corners `width` x `height` (logical units, mapped as a size):
// records it on a metafile DC, draws it, or hands it to Rectangle (called with the table
// unlocked).
template <typename Record>
BOOL RoundedCall(HDC dc, int left, int top, int right, int bottom, int width, int height, Record record) {
    Outcome outcome = Outcome::Drawn;
    const BOOL done = WithCanvas(dc, [&](const ObjectTable::Access& objects, const Canvas& canvas,
                                         DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context)) return record(*recorder);
        const POINT origin = ToDevice(context.state, POINT{0, 0});
        const POINT corner = ToDevice(context.state, POINT{width, height});
        outcome = DrawRounded(objects, canvas, context, DeviceBox(context.state, left, top, right, bottom),
                              std::llabs(int64_t{corner.x} - origin.x), std::llabs(int64_t{corner.y} - origin.y));
    });
    if (!done || outcome == Outcome::Refused) return FALSE;
    if (outcome == Outcome::AsRectangle) return Rectangle(dc, left, top, right, bottom);
    return TRUE;
}

// The quarter's points seen from the box's centre (width / 2, height / 2), and the index on
// the counter-clockwise tour of a ray from that centre (x right, y up): the tour's quarters
// are the upper right from the right side's middle up, the upper left, the lower left and the
// lower right, each `n` points, and a ray lands on the first point at or past it.
int64_t TourIndex(const std::vector<POINT>& quarter, int64_t width, int64_t height, int64_t x, int64_t y) {
    const auto n = static_cast<int64_t>(quarter.size());
    const auto first = [&](auto passed) {
        int64_t i = 0;
        for (; i < n; ++i) {
            const POINT q = quarter[static_cast<size_t>(i)];
            if (passed(q.x - width / 2, q.y - height / 2)) break;
        }
        return i;
    };
    if (y >= 0) {
        if (x >= 0) return first([&](int64_t px, int64_t py) { return px * y <= py * x; });
        return 2 * n - first([&](int64_t px, int64_t py) { return px * y < py * -x; });
    }
    if (x >= 0) return 4 * n - first([&](int64_t px, int64_t py) { return px * -y <= py * x; });
    return 2 * n + first([&](int64_t px, int64_t py) { return px * -y < py * -x; });
}

// The outline points of the ellipse in `box` from the ray through `start` to the one through
// `end`, counter-clockwise; the same ray twice gives the whole tour.
std::vector<POINT> ArcPoints(const RECT& box, POINT start, POINT end) {
    const int64_t width = int64_t{box.right} - box.left, height = int64_t{box.bottom} - box.top;
    const std::vector<POINT> quarter = EllipseQuarter(width, height).points;
    const auto n = static_cast<int64_t>(quarter.size());
    if (n == 0) return {};
    const int64_t centreX = box.left + width / 2, centreY = box.top + height / 2;
    const int64_t from = TourIndex(quarter, width, height, start.x - centreX, centreY - start.y);
    int64_t to = TourIndex(quarter, width, height, end.x - centreX, centreY - end.y);
    if (to <= from) to += 4 * n;
    const auto at = [&](int64_t k) {
        k %= 4 * n;
        const int64_t quadrant = k / n;
        const int64_t i = quadrant == 0 ? k : quadrant == 1 ? 2 * n - 1 - k : quadrant == 2 ? k - 2 * n : 4 * n - 1 - k;
        const POINT q = quarter[static_cast<size_t>(i)];
        const int64_t x = quadrant == 0 || quadrant == 3 ? box.left + q.x : box.left + width - 1 - q.x;
        const int64_t y = quadrant <= 1 ? box.top + height - 1 - q.y : box.top + q.y;
        return POINT{static_cast<LONG>(x), static_cast<LONG>(y)};
    };
    std::vector<POINT> points;
    points.reserve(static_cast<size_t>(to - from));
    for (int64_t k = from; k < to; ++k) points.push_back(at(k));
    return points;
}

// Arc, Pie and Chord in device coordinates: an open arc with the pen, or a closed and filled one.
Outcome DrawArc(const ObjectTable::Access& objects, const Canvas& canvas, const DeviceContext& context, ArcKind kind,
                const RECT& box, POINT start, POINT end) {
    const int64_t width = int64_t{box.right} - box.left, height = int64_t{box.bottom} - box.top;
    if (width == 0 || height == 0) return Outcome::Drawn;
    if (2 * (width + height) + 8 > kMaxShapePoints) return Outcome::Refused;
    if (canvas.surface.bits == nullptr) return Outcome::Drawn;
    std::vector<POINT> points = ArcPoints(box, start, end);
    if (points.empty()) return Outcome::Drawn;
    if (kind == ArcKind::Arc) {
        const Pen* pen = objects.find<Pen>(context.state.pen);
        if (pen != nullptr && pen->style != PS_NULL) DrawPolyline(canvas, *pen, points.data(), points.size(), false);
        return Outcome::Drawn;
    }
    if (kind == ArcKind::Pie)
        points.push_back(POINT{static_cast<LONG>(box.left + width / 2), static_cast<LONG>(box.top + height / 2)});
    const int count = static_cast<int>(points.size());
    const RowRange rows = VisibleRows(canvas.visible);
    const Bands area = PolygonArea(points, std::span<const int>(&count, 1), context.state.polyFillMode == WINDING,
                                   rows.top, rows.bottom);
    PaintShape(objects, canvas, context, area, points, std::span<const int>(&count, 1));
    return Outcome::Drawn;
}

BOOL ArcCall(HDC dc, ArcKind kind, int left, int top, int right, int bottom, int startX, int startY, int endX,
             int endY) {
    Outcome outcome = Outcome::Drawn;
    const BOOL done = WithCanvas(dc, [&](const ObjectTable::Access& objects, const Canvas& canvas,
                                         DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context))
            return recorder->ArcFamily(kind, left, top, right, bottom, startX, startY, endX, endY);
        const RECT box = DeviceBox(context.state, left, top, right, bottom);
        outcome = DrawArc(objects, canvas, context, kind, box, ToDevice(context.state, POINT{startX, startY}),
                          ToDevice(context.state, POINT{endX, endY}));
    });
    return done && outcome != Outcome::Refused;
}

}  // namespace
}  // namespace vx::posix::gdi

using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::MetaRecorder;

extern "C" {

VXPLATFORMAPI BOOL Polygon(HDC dc, const POINT* points, int count) {
    return vx::posix::gdi::DrawPolygons(dc, points, &count, 1, true);
}

VXPLATFORMAPI BOOL PolyPolygon(HDC dc, const POINT* points, const INT* counts, int polygons) {
    return vx::posix::gdi::DrawPolygons(dc, points, counts, polygons, false);
}

// A Windows-metafile DC records the mode and answers TRUE, keeping none (GetPolyFillMode
// answers 0 there); every other DC answers the previous mode.
VXPLATFORMAPI int SetPolyFillMode(HDC dc, int mode) {
    if (mode != ALTERNATE && mode != WINDING) return 0;
    return vx::posix::gdi::OnDC(dc, 0, [&](auto&, DeviceContext& context) {
        if (MetaRecorder* recorder = vx::posix::gdi::RecorderOf(context)) {
            recorder->SetPolyFillMode(mode);
            if (context.kind() == vx::posix::gdi::ObjectKind::MetaDC) return TRUE;
        }
        const int previous = context.state.polyFillMode;
        context.state.polyFillMode = mode;
        return previous;
    });
}

VXPLATFORMAPI int GetPolyFillMode(HDC dc) {
    return vx::posix::gdi::OnDC(dc, 0, [](auto&, const DeviceContext& context) {
        return context.kind() == vx::posix::gdi::ObjectKind::MetaDC ? 0 : context.state.polyFillMode;
    });
}

VXPLATFORMAPI BOOL Ellipse(HDC dc, int left, int top, int right, int bottom) {
    // The corners are the whole box, its size taken in logical units as Windows' 32-bit
    // subtraction gives it and mapped as a size, so a mapping that rounds the size and the box
    // apart leaves a straight side of a pixel.
    const auto extent = [](int from, int to) {
        return static_cast<int>(static_cast<int32_t>(static_cast<uint32_t>(to) - static_cast<uint32_t>(from)));
    };
    return vx::posix::gdi::RoundedCall(dc, left, top, right, bottom, extent(left, right), extent(top, bottom),
                                       [&](MetaRecorder& recorder) { recorder.Ellipse(left, top, right, bottom); });
}

VXPLATFORMAPI BOOL RoundRect(HDC dc, int left, int top, int right, int bottom, int width, int height) {
    return vx::posix::gdi::RoundedCall(dc, left, top, right, bottom, width, height, [&](MetaRecorder& recorder) {
        recorder.RoundRect(left, top, right, bottom, width, height);
    });
}

VXPLATFORMAPI BOOL Arc(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY) {
    return vx::posix::gdi::ArcCall(dc, vx::posix::gdi::ArcKind::Arc, left, top, right, bottom, startX, startY, endX,
                                   endY);
}

VXPLATFORMAPI BOOL Pie(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                       int endY) {
    return vx::posix::gdi::ArcCall(dc, vx::posix::gdi::ArcKind::Pie, left, top, right, bottom, startX, startY, endX,
                                   endY);
}

VXPLATFORMAPI BOOL Chord(HDC dc, int left, int top, int right, int bottom, int startX, int startY, int endX,
                         int endY) {
    return vx::posix::gdi::ArcCall(dc, vx::posix::gdi::ArcKind::Chord, left, top, right, bottom, startX, startY,
                                   endX, endY);
}

}  // extern "C"

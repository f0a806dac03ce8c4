// polygon_fill.hpp - the area fills behind the shape and region calls of the Linux subset:
// PolygonArea (the pixels a set of closed polygons covers, row by row, as Windows' polygon
// regions cover them), CurveArea (the pixels inside and on a closed curve of adjacent points),
// FillArea (an area painted with a brush through a ternary raster operation, clipped to what
// is visible) and the limits that keep a call from allocating without bound.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/posix/gdi/raster.hpp"
#include "platform/posix/gdi/regions.hpp"

namespace vx::posix::gdi {

// The most points a polygon set or a curve's outline may have; larger ones are refused.
inline constexpr int64_t kMaxShapePoints = int64_t{1} << 22;

// The pixels of polygons (`counts[i]` points each, each closed back to its first point) in
// rows [top, bottom) only, as rectangles one row high, sorted, each row's merged: the rows
// are sampled at their integer y, an edge covers the rows from its upper end to before its
// lower one, and a row's span runs from the first pixel at or right of its left crossing to
// the last one left of its right crossing. `winding`: WINDING, else ALTERNATE.
Bands PolygonArea(std::span<const POINT> points, std::span<const int> counts, bool winding, int top, int bottom);

// The pixels of a closed outline of points each 8-adjacent to, or on a horizontal or vertical
// line with, the next: on each row, from its leftmost outline pixel to its rightmost, in rows
// [top, bottom) only, together with the one-row spans of `extra`. The outline must be convex
// along rows (each row one span).
Bands CurveArea(std::span<const POINT> outline, std::span<const RECT> extra, int top, int bottom);

// Paints `area` (device coordinates, rectangles sorted by row) with `brush` through ternary
// operation `rop`, clipped to the target's visible rectangles.
void FillArea(const BlitTarget& target, const BlitPattern& brush, uint8_t rop, const Bands& area);

// The rows [top, bottom) where a target can be drawn: the bounds of its visible rectangles.
struct RowRange {
    int top = 0, bottom = 0;
};
RowRange VisibleRows(const std::vector<RECT>& visible);

}  // namespace vx::posix::gdi

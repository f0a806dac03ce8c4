// polygon_fill.cpp - PolygonArea, CurveArea, FillArea and VisibleRows (polygon_fill.hpp): the
// scan conversion every filled shape and painted region of the subset goes through.
//
// Polygons are converted as Windows converts polygon regions: each row y is sampled at the
// integer y, an edge from (x0, y0) to (x1, y1) with y0 < y1 crossing rows y0 .. y1 - 1 at
// x0 + ceil((y - y0) (x1 - x0) / (y1 - y0)), horizontal edges crossing none. A row's crossings
// are sorted; ALTERNATE fills from each odd crossing to the next, WINDING wherever the sum of
// the directions of the crossings to the left is not zero, both up to but not including the
// right crossing. So a polygon's pixels are those whose top-left corner lies inside it (on a
// left or top edge included), and its right and bottom edges are left out.
//
// Only the rows that can be seen are converted: an edge that starts above them is entered at
// the first visible row with one exact division (128 bits: coordinates near 2^31 multiply past
// 64), and then steps row by row by its quotient and remainder, so the cost is the number of
// visible rows times the edges crossing them. The area is painted through RunBlit, band by
// band, each band's spans as the visible rectangles of one transfer, so brushes, patterns and
// raster operations behave exactly as PatBlt's.
#include "platform/posix/gdi/polygon_fill.hpp"

#include <algorithm>
#include <climits>

namespace vx::posix::gdi {
namespace {

// floor(a / b) and ceil(a / b) for b > 0.
__int128 FloorDiv(__int128 a, __int128 b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
__int128 CeilDiv(__int128 a, __int128 b) { return -FloorDiv(-a, b); }

// An edge walked down the rows: at the current row it crosses at x; each row down adds
// `quotient` and, as `error` runs below zero, one more.
struct Edge {
    int64_t top, bottom;  // rows [top, bottom)
    int64_t x0, y0, dx, dy;
    int direction;
    int64_t x = 0, quotient = 0, remainder = 0, error = 0;

    // Positions the edge on row y (top <= y < bottom).
    void enter(int64_t y) {
        const __int128 numerator = static_cast<__int128>(y - y0) * dx;
        const __int128 steps = CeilDiv(numerator, dy);
        x = static_cast<int64_t>(x0 + steps);
        error = static_cast<int64_t>(steps * dy - numerator);  // in [0, dy)
        quotient = static_cast<int64_t>(FloorDiv(dx, dy));
        remainder = dx - quotient * dy;  // in [0, dy)
    }
    void step() {
        x += quotient;
        error -= remainder;
        if (error < 0) error += dy, ++x;
    }
};

struct Crossing {
    int64_t x;
    int direction;
};

int ClampInt(int64_t v) { return static_cast<int>(std::clamp<int64_t>(v, INT_MIN, INT_MAX)); }

}  // namespace

Bands PolygonArea(std::span<const POINT> points, std::span<const int> counts, bool winding, int top, int bottom) {
    std::vector<Edge> edges;
    size_t first = 0;
    for (const int count : counts) {
        for (int i = 0; i < count; ++i) {
            POINT a = points[first + i], b = points[first + (i + 1) % count];
            if (a.y == b.y) continue;
            const int direction = a.y < b.y ? 1 : -1;
            if (direction < 0) std::swap(a, b);
            if (b.y <= top || a.y >= bottom) continue;
            edges.push_back({a.y, b.y, a.x, a.y, int64_t{b.x} - a.x, int64_t{b.y} - a.y, direction});
        }
        first += static_cast<size_t>(count);
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.top < b.top; });

    Bands area;
    std::vector<Edge*> active;
    std::vector<Crossing> crossings;
    std::vector<RECT> spans;
    size_t next = 0;
    int64_t y = top;
    if (!edges.empty()) y = std::max<int64_t>(top, edges.front().top);
    for (; y < bottom && (next < edges.size() || !active.empty()); ++y) {
        for (Edge* e : active) e->step();
        std::erase_if(active, [&](const Edge* e) { return e->bottom <= y; });
        for (; next < edges.size() && edges[next].top <= y; ++next) {
            if (edges[next].bottom <= y) continue;
            edges[next].enter(y);
            active.push_back(&edges[next]);
        }
        if (active.empty()) {
            if (next < edges.size()) y = edges[next].top - 1;
            continue;
        }
        crossings.clear();
        for (const Edge* e : active) crossings.push_back({e->x, e->direction});
        std::sort(crossings.begin(), crossings.end(), [](const Crossing& a, const Crossing& b) { return a.x < b.x; });
        spans.clear();
        const int row = static_cast<int>(y);
        if (winding) {
            int sum = 0;
            int64_t start = 0;
            for (const Crossing& c : crossings) {
                if (sum == 0) start = c.x;
                sum += c.direction;
                if (sum == 0 && start < c.x) spans.push_back({ClampInt(start), row, ClampInt(c.x), row + 1});
            }
        } else {
            for (size_t i = 0; i + 1 < crossings.size(); i += 2)
                if (crossings[i].x < crossings[i + 1].x)
                    spans.push_back({ClampInt(crossings[i].x), row, ClampInt(crossings[i + 1].x), row + 1});
        }
        // Spans of one row come out sorted by their left ends; overlapping or touching ones merge.
        if (!winding)
            std::sort(spans.begin(), spans.end(), [](const RECT& a, const RECT& b) { return a.left < b.left; });
        const size_t rowStart = area.size();
        for (const RECT& span : spans) {
            if (span.left >= span.right) continue;
            if (area.size() > rowStart && span.left <= area.back().right)
                area.back().right = std::max(area.back().right, span.right);
            else
                area.push_back(span);
        }
    }
    return area;
}

Bands CurveArea(std::span<const POINT> outline, std::span<const RECT> extra, int top, int bottom) {
    if (top >= bottom || outline.empty()) return {};
    std::vector<int> low(static_cast<size_t>(bottom - top), INT_MAX), high(low.size(), INT_MIN);
    const auto mark = [&](int64_t y, int x0, int x1) {
        if (y < top || y >= bottom) return;
        const auto i = static_cast<size_t>(y - top);
        low[i] = std::min({low[i], x0, x1});
        high[i] = std::max({high[i], x0, x1});
    };
    for (size_t i = 0; i < outline.size(); ++i) {
        const POINT a = outline[i], b = outline[(i + 1) % outline.size()];
        if (a.x == b.x) {
            // A vertical run lights every row between its ends; only the visible ones matter.
            const int64_t from = std::max<int64_t>(std::min(a.y, b.y), top);
            const int64_t to = std::min<int64_t>(std::max(a.y, b.y), bottom - 1);
            for (int64_t y = from; y <= to; ++y) mark(y, a.x, a.x);
        } else if (a.y == b.y) {
            mark(a.y, a.x, b.x);
        } else {
            mark(a.y, a.x, a.x);
            mark(b.y, b.x, b.x);
        }
    }
    for (const RECT& span : extra)
        if (span.left < span.right) mark(span.top, span.left, span.right - 1);
    Bands area;
    for (size_t i = 0; i < low.size(); ++i)
        if (low[i] <= high[i] && high[i] < INT_MAX)
            area.push_back({low[i], top + static_cast<int>(i), high[i] + 1, top + static_cast<int>(i) + 1});
    return area;
}

void FillArea(const BlitTarget& target, const BlitPattern& brush, uint8_t rop, const Bands& area) {
    if (area.empty() || brush.none || target.surface.bits == nullptr) return;
    const Bands visible = CombineBands(area, target.visible, RGN_AND);
    BlitTarget band = target;
    for (size_t i = 0; i < visible.size();) {
        size_t j = i;
        RECT bounds = visible[i];
        while (j < visible.size() && visible[j].top == visible[i].top) bounds.right = visible[j++].right;
        band.visible.assign(visible.begin() + static_cast<ptrdiff_t>(i), visible.begin() + static_cast<ptrdiff_t>(j));
        BlitGeometry geometry;
        geometry.dest = bounds;
        geometry.rop = rop;
        RunBlit(band, nullptr, &brush, geometry);
        i = j;
    }
}

RowRange VisibleRows(const std::vector<RECT>& visible) {
    if (visible.empty()) return {};
    RowRange rows{INT_MAX, INT_MIN};
    for (const RECT& r : visible) {
        rows.top = std::min<int>(rows.top, r.top);
        rows.bottom = std::max<int>(rows.bottom, r.bottom);
    }
    return rows;
}

}  // namespace vx::posix::gdi

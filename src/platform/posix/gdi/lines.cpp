// lines.cpp - lines and rectangles of the Linux subset: LineTo, Polyline and Rectangle, drawn
// with the DC's pen, brush and binary raster operation (SetROP2) on the raw pixel bits of the
// DC's surface; and DrawPolyline and TernaryOf (lines.hpp), which the shapes draw with too.
//
// Pixels. A line lights the pixels Windows' Bresenham lights, its last point left out, so that
// joined lines light every joint once. The major axis is the one with the larger extent (y on
// a tie); the minor coordinate of the k-th pixel is the number of minor steps the error term
// has taken before it, ceil((2 k minor - major + bias) / (2 major)), where the bias is 1 for
// the lines that run right-to-left or upwards on the major axis (octants 3, 5, 6 and 8 counted
// clockwise from +x) and settles the ties toward the same pixels whichever way a line is drawn
// in those octants. Computing each pixel from k rather than by stepping lets a clipped line
// start anywhere: each visible rectangle of the clip is walked only along its own stretch of
// the major axis, and lights exactly the pixels the whole line lights inside it. As in
// Windows, the end points of a sloped line beyond 2^28 are divided by 8 before drawing.
//
// Pens. Cosmetic pens draw one pixel wide; PS_DASH, PS_DOT, PS_DASHDOT and PS_DASHDOTDOT follow
// Windows' cosmetic patterns (18-6, 3-3, 9-6-3-6, 9-3-3-3-3-3 pixels), restarted by each call
// and continued across the segments of a Polyline and the sides of a Rectangle; their gaps are
// drawn in the background colour when the background mode is OPAQUE. A pen wider than one
// device pixel is drawn one pixel wide here (Windows fills a polygon around the line).
//
// Colours. A colour (PALETTEINDEX resolved through the DC's palette) becomes the surface's
// pixel value (ColourPixel); on a 1-bit surface a colour that is not exactly one of its two
// entries takes the entry the background colour does not, as Windows does for pens and
// brushes. The raster operation then works bit by bit on the whole pixel value, the unused top
// byte of a 32-bit pixel included: D = (D & keep) ^ flip, with keep and flip derived from the
// operation's truth table and the pen's pixel.
//
// Rectangle draws its outline through the corners (right - 1, top), (left, top),
// (left, bottom - 1), (right - 1, bottom - 1) and fills the inside with the brush through the
// same raster operation: inside the outline, or with PS_NULL up to the outline's place on the
// left and top. The inside is filled as PatBlt fills (RunBlit with the realised brush and the
// ternary operation equivalent to the binary one), so brushes are dithered and tiled alike.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "platform/posix/gdi/lines.hpp"
#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {
namespace {

// D' = (D & keep) ^ flip over the bits of a pixel.
struct RopMasks {
    uint32_t keep = ~0u, flip = 0;
};

// The masks of binary raster operation `rop2` with pen pixel `pen`: the operation's code minus
// one is its truth table, bit (2 P + D) giving the result for pen bit P and destination bit D.
RopMasks MasksFor(int rop2, uint32_t pen) {
    const unsigned code = static_cast<unsigned>(rop2 - 1);
    const auto all = [](unsigned bit) { return (bit & 1) != 0 ? ~0u : 0u; };
    return {(pen & all((code >> 2) ^ (code >> 3))) | (~pen & all(code ^ (code >> 1))),
            (pen & all(code >> 2)) | (~pen & all(code))};
}

template <int Bits>
void ApplyPixel(uint8_t* row, int x, RopMasks m);

template <>
void ApplyPixel<1>(uint8_t* row, int x, RopMasks m) {
    const auto mask = static_cast<uint8_t>(0x80u >> (x & 7));
    const uint8_t keep = (m.keep & 1) != 0 ? 0xFF : 0, flip = (m.flip & 1) != 0 ? 0xFF : 0;
    uint8_t& byte = row[x >> 3];
    byte = static_cast<uint8_t>((byte & (keep | ~mask)) ^ (flip & mask));
}

template <>
void ApplyPixel<4>(uint8_t* row, int x, RopMasks m) {
    const int shift = (x & 1) != 0 ? 0 : 4;
    uint8_t& byte = row[x >> 1];
    const unsigned value = (((byte >> shift) & m.keep) ^ m.flip) & 0xFu;
    byte = static_cast<uint8_t>((byte & ~(0xFu << shift)) | (value << shift));
}

template <>
void ApplyPixel<8>(uint8_t* row, int x, RopMasks m) {
    row[x] = static_cast<uint8_t>((row[x] & m.keep) ^ m.flip);
}

template <>
void ApplyPixel<16>(uint8_t* row, int x, RopMasks m) {
    uint16_t value;
    std::memcpy(&value, row + 2 * x, 2);
    value = static_cast<uint16_t>((value & m.keep) ^ m.flip);
    std::memcpy(row + 2 * x, &value, 2);
}

template <>
void ApplyPixel<24>(uint8_t* row, int x, RopMasks m) {
    uint8_t* pixel = row + 3 * x;
    for (int i = 0; i < 3; ++i) pixel[i] = static_cast<uint8_t>((pixel[i] & (m.keep >> 8 * i)) ^ (m.flip >> 8 * i));
}

template <>
void ApplyPixel<32>(uint8_t* row, int x, RopMasks m) {
    uint32_t value;
    std::memcpy(&value, row + 4 * x, 4);
    value = (value & m.keep) ^ m.flip;
    std::memcpy(row + 4 * x, &value, 4);
}

uint8_t* Row(const Surface& surface, int64_t y) { return surface.bits + y * surface.stride; }

// A cosmetic dash pattern: lengths of alternating dashes and gaps, starting with a dash.
struct DashPattern {
    int count;
    int lengths[6];
    int total;
};

constexpr DashPattern kDashes[4] = {
    {2, {18, 6}, 24}, {2, {3, 3}, 6}, {4, {9, 6, 3, 6}, 24}, {6, {9, 3, 3, 3, 3, 3}, 24}};

// How a pen's pixels are written: the dash pattern (null for a solid pen), the masks of the
// dashes and of the gaps, and the offset along the pattern where the next segment starts.
struct Stroke {
    const DashPattern* dashes = nullptr;
    RopMasks on, off;
    bool drawGaps = false;
    int64_t offset = 0;

    // The masks of the pixel `k` steps into the segment, or null for an undrawn gap.
    const RopMasks* At(int64_t k) const {
        if (dashes == nullptr) return &on;
        int64_t position = (offset + k) % dashes->total;
        for (int i = 0; i < dashes->count; ++i) {
            if (position < dashes->lengths[i]) return i % 2 == 0 ? &on : drawGaps ? &off : nullptr;
            position -= dashes->lengths[i];
        }
        return nullptr;
    }
};

// A line in device coordinates, as the pixels it lights: the k-th (0 <= k < length) sits k
// steps along the major axis and MinorSteps(k) steps along the minor one from the start.
struct Segment {
    int64_t x = 0, y = 0;
    int64_t major = 0, minor = 0;
    int xStep = 1, yStep = 1;
    bool xMajor = true;
    int bias = 0;

    int64_t MinorSteps(int64_t k) const { return (2 * k * minor + bias + major - 1) / (2 * major); }
};

POINT CropFar(POINT p) {
    constexpr LONG kFar = 0x10000000;
    if (p.x >= kFar || p.x <= -kFar || p.y >= kFar || p.y <= -kFar) return POINT{p.x / 8, p.y / 8};
    return p;
}

Segment MakeSegment(POINT from, POINT to) {
    if (from.x != to.x && from.y != to.y) {
        from = CropFar(from);
        to = CropFar(to);
    }
    const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
    // Windows' octants, numbered clockwise from +x (y grows downwards); ties go to the
    // y-major octants.
    const int octant = dy > 0 ? (dx > 0 ? (dx > dy ? 1 : 2) : (-dx > dy ? 4 : 3))
                              : (dx < 0 ? (-dx > -dy ? 5 : 6) : (dx > -dy ? 8 : 7));
    const unsigned bit = 1u << (octant - 1);
    Segment s;
    s.x = from.x;
    s.y = from.y;
    s.xMajor = (bit & 0x99u) != 0;           // octants 1, 4, 5, 8
    s.bias = (bit & 0xB4u) != 0 ? 1 : 0;     // octants 3, 5, 6, 8
    s.xStep = (bit & 0xC3u) != 0 ? 1 : -1;   // octants 1, 2, 7, 8
    s.yStep = (bit & 0x0Fu) != 0 ? 1 : -1;   // octants 1 to 4
    s.major = s.xMajor ? std::llabs(dx) : std::llabs(dy);
    s.minor = s.xMajor ? std::llabs(dy) : std::llabs(dx);
    return s;
}

// Whether every pixel of the segment lies outside `box`: its pixels lie within the box spanned
// by its start and the point `major` steps along and `minor` steps across.
bool Outside(const Segment& s, const RECT& box) {
    const int64_t endX = s.x + s.xStep * (s.xMajor ? s.major : s.minor);
    const int64_t endY = s.y + s.yStep * (s.xMajor ? s.minor : s.major);
    return std::max(s.x, endX) < box.left || std::min(s.x, endX) >= box.right || std::max(s.y, endY) < box.top ||
           std::min(s.y, endY) >= box.bottom;
}

// The same test for the commonest segment of a curve's outline, one step to a neighbour, which
// lights its first point only (no point of it is far enough to be cropped): decided before the
// segment is made.
bool UnitStepOutside(POINT from, POINT to, const RECT& box) {
    const int64_t dx = int64_t{to.x} - from.x, dy = int64_t{to.y} - from.y;
    if (dx < -1 || dx > 1 || dy < -1 || dy > 1 || (dx == 0 && dy == 0)) return false;
    constexpr LONG kNear = 0x10000000 - 2;
    if (from.x <= -kNear || from.x >= kNear || from.y <= -kNear || from.y >= kNear) return false;
    return from.x < box.left || from.x >= box.right || from.y < box.top || from.y >= box.bottom;
}

// Lights the segment's pixels inside the visible rectangles.
template <int Bits>
void DrawSegment(const Surface& surface, const std::vector<RECT>& visible, const Segment& s, const Stroke& stroke) {
    if (s.major == 0) return;
    for (const RECT& rect : visible) {
        const int64_t start = s.xMajor ? s.x : s.y;
        const int step = s.xMajor ? s.xStep : s.yStep;
        const int64_t low = s.xMajor ? rect.left : rect.top, high = s.xMajor ? rect.right : rect.bottom;
        int64_t first = step > 0 ? low - start : start - (high - 1);
        int64_t last = step > 0 ? high - 1 - start : start - low;
        first = std::max<int64_t>(first, 0);
        last = std::min<int64_t>(last, s.major - 1);
        const int64_t minorLow = s.xMajor ? rect.top : rect.left, minorHigh = s.xMajor ? rect.bottom : rect.right;
        const int64_t minorStart = s.xMajor ? s.y : s.x;
        const int minorStep = s.xMajor ? s.yStep : s.xStep;
        for (int64_t k = first; k <= last; ++k) {
            const int64_t m = minorStart + minorStep * s.MinorSteps(k);
            if (m < minorLow || m >= minorHigh) continue;
            const RopMasks* masks = stroke.At(k);
            if (masks == nullptr) continue;
            const int64_t along = start + step * k;
            const int64_t x = s.xMajor ? along : m, y = s.xMajor ? m : along;
            ApplyPixel<Bits>(Row(surface, y), static_cast<int>(x), *masks);
        }
    }
}

}  // namespace

void DrawPolyline(const Canvas& canvas, const Pen& pen, const POINT* device, size_t count, bool close) {
    Stroke stroke;
    const DcState& state = *canvas.state;
    const uint32_t pixel = canvas.DrawingPixel(pen.colour);
    stroke.on = MasksFor(canvas.rop2, pixel);
    if (pen.style >= PS_DASH && pen.style <= PS_DASHDOTDOT) {
        stroke.dashes = &kDashes[pen.style - PS_DASH];
        stroke.drawGaps = state.backgroundMode == OPAQUE;
        const uint32_t gap = canvas.surface.bitsPerPixel == 1
                                 ? (pen.colour == state.backgroundColour ? pixel : pixel ^ 1)
                                 : canvas.Pixel(state.backgroundColour);
        stroke.off = MasksFor(canvas.rop2, gap);
    }
    // The box around every visible rectangle: a segment that lies wholly outside it lights
    // nothing and only moves the dash pattern on, which keeps the outline of a curve far larger
    // than the surface (millions of one-pixel segments) cheap.
    RECT reach{INT_MAX, INT_MAX, INT_MIN, INT_MIN};
    for (const RECT& rect : canvas.visible) {
        reach = {std::min(reach.left, rect.left), std::min(reach.top, rect.top), std::max(reach.right, rect.right),
                 std::max(reach.bottom, rect.bottom)};
    }
    const size_t segments = close ? count : count - 1;
    for (size_t i = 0; i < segments; ++i) {
        const POINT from = device[i], to = device[(i + 1) % count];
        if (UnitStepOutside(from, to, reach)) {
            stroke.offset += 1;
            continue;
        }
        const Segment s = MakeSegment(from, to);
        if (Outside(s, reach)) {
            stroke.offset += s.major;
            continue;
        }
        switch (canvas.surface.bitsPerPixel) {
            case 1: DrawSegment<1>(canvas.surface, canvas.visible, s, stroke); break;
            case 4: DrawSegment<4>(canvas.surface, canvas.visible, s, stroke); break;
            case 8: DrawSegment<8>(canvas.surface, canvas.visible, s, stroke); break;
            case 16: DrawSegment<16>(canvas.surface, canvas.visible, s, stroke); break;
            case 24: DrawSegment<24>(canvas.surface, canvas.visible, s, stroke); break;
            case 32: DrawSegment<32>(canvas.surface, canvas.visible, s, stroke); break;
        }
        stroke.offset += s.major;
    }
}

// The ternary raster operation that does to the brush and destination what binary operation
// `rop2` does to the pen and destination (bit 4 P + 2 S + D of the table, for any S).
uint8_t TernaryOf(int rop2) {
    const unsigned code = static_cast<unsigned>(rop2 - 1);
    unsigned table = 0;
    for (unsigned i = 0; i < 8; ++i) table |= ((code >> (2 * (i >> 2) + (i & 1))) & 1) << i;
    return static_cast<uint8_t>(table);
}

}  // namespace vx::posix::gdi

using vx::posix::gdi::Canvas;
using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::MetaRecorder;
using vx::posix::gdi::ObjectTable;
using vx::posix::gdi::Pen;

extern "C" {

VXPLATFORMAPI BOOL LineTo(HDC dc, int x, int y) {
    return vx::posix::gdi::WithCanvas(
        dc, [&](MetaRecorder& recorder) { recorder.LineTo(x, y); },
        [&](const ObjectTable::Access& objects, const Canvas& canvas, DeviceContext& context) {
            const Pen* pen = objects.find<Pen>(context.state.pen);
            if (canvas.surface.bits != nullptr && pen != nullptr && pen->style != PS_NULL) {
                const POINT device[2] = {vx::posix::gdi::ToDevice(context.state, context.state.position),
                                         vx::posix::gdi::ToDevice(context.state, POINT{x, y})};
                vx::posix::gdi::DrawPolyline(canvas, *pen, device, 2, false);
            }
            context.state.position = POINT{x, y};
            return TRUE;
        });
}

VXPLATFORMAPI BOOL Polyline(HDC dc, const POINT* points, int count) {
    // A metafile records whatever it is given; other DCs need two points.
    std::span<const POINT> given;
    if (points != nullptr && count > 0) given = std::span(points, static_cast<size_t>(count));
    return vx::posix::gdi::WithCanvas(
        dc, [&](MetaRecorder& recorder) { recorder.Polyline(given); },
        [&](const ObjectTable::Access& objects, const Canvas& canvas, const DeviceContext& context) -> BOOL {
            if (given.size() < 2) return FALSE;
            const Pen* pen = objects.find<Pen>(context.state.pen);
            if (canvas.surface.bits == nullptr || pen == nullptr || pen->style == PS_NULL) return TRUE;
            std::vector<POINT> device(points, points + count);
            for (POINT& point : device) point = vx::posix::gdi::ToDevice(context.state, point);
            vx::posix::gdi::DrawPolyline(canvas, *pen, device.data(), device.size(), false);
            return TRUE;
        });
}

VXPLATFORMAPI BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) {
    return vx::posix::gdi::WithCanvas(
        dc, [&](MetaRecorder& recorder) { recorder.Rectangle(left, top, right, bottom); },
        [&](const ObjectTable::Access& objects, const Canvas& canvas, const DeviceContext& context) -> BOOL {
            if (canvas.surface.bits == nullptr) return TRUE;
            const POINT a = vx::posix::gdi::ToDevice(context.state, POINT{left, top});
            const POINT b = vx::posix::gdi::ToDevice(context.state, POINT{right, bottom});
            RECT rect{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
            if (rect.left == rect.right || rect.top == rect.bottom) return TRUE;
            --rect.right;
            --rect.bottom;
            const Pen* pen = objects.find<Pen>(context.state.pen);
            const bool outlined = pen != nullptr && pen->style != PS_NULL;
            if (outlined) {
                const POINT corners[4] = {
                    {rect.right, rect.top}, {rect.left, rect.top}, {rect.left, rect.bottom}, {rect.right, rect.bottom}};
                vx::posix::gdi::DrawPolyline(canvas, *pen, corners, 4, true);
            }
            // The inside starts past the one-pixel outline (or where it would be, for PS_NULL only
            // on the right and bottom, which Windows leaves unfilled). It is filled as PatBlt fills,
            // through the same raster operation as the outline.
            const int inset = outlined ? 1 : 0;
            const RECT inside{rect.left + inset, rect.top + inset, rect.right, rect.bottom};
            if (inside.left < inside.right && inside.top < inside.bottom) {
                const vx::posix::gdi::BlitTarget target = vx::posix::gdi::TargetOf(objects, context);
                const vx::posix::gdi::BlitPattern brush = vx::posix::gdi::RealizeBrush(objects, context, target);
                vx::posix::gdi::BlitGeometry geometry;
                geometry.dest = inside;
                geometry.rop = vx::posix::gdi::TernaryOf(canvas.rop2);
                vx::posix::gdi::RunBlit(target, nullptr, &brush, geometry);
            }
            return TRUE;
        });
}

}  // extern "C"

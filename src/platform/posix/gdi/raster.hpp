// raster.hpp - the bit-transfer engine of the Linux GDI subset, shared by the blit calls
// (raster.cpp), the DIB transfers (raster_dib.cpp) and the brushes (brushes.cpp): BlitTarget
// and BlitSource (the two ends of a transfer, gathered with the table locked), BlitPattern (a
// brush realised in the destination's pixel format), AxisPicks (which source pixel each
// destination pixel takes along one axis, stretch.cpp), PixelMap (source pixels into the
// destination's format), RunBlit, and the helpers that read a DC into them.
//
// A transfer is: a destination rectangle and a source rectangle in device coordinates, as the
// DCs' mappings give them (a negative extent mirrors); the raster operation; the stretch mode.
// RunBlit maps each destination row and column to the source pixel(s) it takes, converts the
// source row into the destination's format, lays source and pattern bits out exactly as the
// destination row's bytes are laid out, and runs the raster operation on whole words of the
// destination's raw bits (rop.hpp), clipped to the DC's visible rectangles and to the part of
// the source that exists: a destination pixel whose source pixel lies outside the source
// bitmap is left alone, as Windows leaves it.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {

// Where a transfer draws: the surface, whether it is a 1-bit device bitmap (which has no
// colours of its own: colour sources are compared with the source DC's background colour),
// the DC's colours (resolved), and the visible rectangles (device coordinates).
struct BlitTarget {
    Surface surface;
    bool monoDevice = false;
    COLORREF text = 0;
    COLORREF background = 0;
    std::vector<RECT> visible;
};

// What a transfer reads: the surface and how its pixels are coloured. A 1-bit device bitmap
// takes the destination DC's text (0) and background (1) colours.
struct BlitSource {
    Surface surface;
    bool monoDevice = false;
    COLORREF background = 0;  // the source DC's background colour (colour to monochrome)
};

// A brush in the destination's pixel format: one pixel value (solid) or a tile of pixels
// aligned to the surface's origin. `none` for a hollow brush: nothing is drawn.
struct BlitPattern {
    bool none = false;
    bool solid = true;
    uint32_t pixel = 0;
    std::vector<uint8_t> tile;  // height rows of `stride` bytes in the destination's format
    size_t stride = 0;
    int width = 0;
    int height = 0;
};

// The geometry of a transfer: destination and source rectangles in device coordinates, not
// normalised (right < left mirrors along x), the stretch mode and the truth table.
struct BlitGeometry {
    RECT dest{};
    RECT source{};
    int stretchMode = BLACKONWHITE;
    uint8_t rop = 0xCC;
};

// Runs a transfer. `source` is null for operations that do not read one, `pattern` null for
// operations that do not read the brush.
void RunBlit(const BlitTarget& target, const BlitSource* source, const BlitPattern* pattern,
             const BlitGeometry& geometry);

// The target and source views of a DC (its surface has null bits when there is nothing to draw
// on); call with the table locked.
BlitTarget TargetOf(const ObjectTable::Access& objects, const DeviceContext& context);
BlitSource SourceOf(const ObjectTable::Access& objects, const DeviceContext& context);

// The brush of a DC realised for its target (brushes.cpp).
BlitPattern RealizeBrush(const ObjectTable::Access& objects, const DeviceContext& context,
                         const BlitTarget& target);

// The pixel value a solid colour takes on a target: for a 1-bit surface an exact match of
// its two colours, else the background colour's pixel when the colour is the background
// colour and the other pixel when not; elsewhere the nearest entry or the encoded colour.
uint32_t SolidPixel(const BlitTarget& target, COLORREF colour);

// The source pixel of each destination pixel along one axis of a stretch (stretch.cpp).
// `dest` and `source` are the lengths (positive), the flags say which side is mirrored.
// `first`: the first pixel of a dropped group wins (rows), else the last (columns).
// Entries are offsets into the source run, in destination order from its low end.
std::vector<int> AxisPicks(int dest, int source, bool destMirrored, bool sourceMirrored, bool first);
// For BLACKONWHITE and WHITEONBLACK: each destination pixel's group [low, high] of source
// offsets, in destination order.
struct Group {
    int low;
    int high;
};
std::vector<Group> AxisGroups(int dest, int source, bool destMirrored, bool sourceMirrored);

}  // namespace vx::posix::gdi

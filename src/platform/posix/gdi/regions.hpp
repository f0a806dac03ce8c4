// regions.hpp - the banded rectangle lists behind regions and clipping of the Linux subset:
// RectRegion (one rectangle as a region), CombineBands (AND, OR, XOR, DIFF of two lists),
// RegionComplexity and RegionBox (what GetRgnBox answers).
//
// A list is kept in the form Windows keeps its regions in: rectangles grouped in bands of
// equal top and bottom, bands sorted top down, rectangles of a band sorted left to right and
// never touching, and no band followed by a touching band of the same rectangles (those are
// one band). This form is unique for a given set of pixels, so two regions covering the same
// pixels hold the same list, and "one rectangle" (SIMPLEREGION) is a property of the pixels.
#pragma once

#include <vector>

#include "vexora_win32.h"

namespace vx::posix::gdi {

using Bands = std::vector<RECT>;

// The region of one rectangle given by any two corners: empty when it has no area.
Bands RectRegion(int left, int top, int right, int bottom);

// `mode` is RGN_AND, RGN_OR, RGN_XOR or RGN_DIFF. Throws std::bad_alloc.
Bands CombineBands(const Bands& first, const Bands& second, int mode);

// NULLREGION, SIMPLEREGION or COMPLEXREGION.
int RegionComplexity(const Bands& bands);

// The bounding box; (0, 0, 0, 0) for the empty region.
RECT RegionBox(const Bands& bands);

}  // namespace vx::posix::gdi

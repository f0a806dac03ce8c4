// display_state.hpp - the display engine's arithmetic on a state record, for the other display
// families (the rubber-band zoom applies its zooms through it):
//
//   MapDisplay  maps a device context with the record's mapping: a full mapping when `reset`
//               (centring and window origin recomputed and stored), else a partial one;
//   Recompute   a full mapping followed by the scroll ranges, what every handler does after
//               a change of zoom, flags or client size;
//   ScrollRanges the scroll limits of a freshly mapped context (-1..-1 on an axis that needs
//               no scrolling);
//   ClampScroll keeps the scroll position within the limits and says whether it moved;
//   SnapScroll  moves a scroll target onto whole zoomed pixels (steps of `step` from the old
//               position), at most one step beyond either limit, before the clamp.
//
// The mapping calls only change the context's mapping and the record; the caller saves and
// restores the context around them.
#pragma once

#include <cstdint>

#include "vexora.h"

namespace vx::display {

void MapDisplay(HDC dc, VXDISPLAYSTATE& state, bool reset);
void Recompute(HDC dc, VXDISPLAYSTATE& state);
void ScrollRanges(HDC dc, VXDISPLAYSTATE& state);
bool ClampScroll(VXDISPLAYSTATE& state);
// `step` is at least 1.
LONG SnapScroll(LONG old, int64_t target, LONG low, LONG high, LONG step);

}  // namespace vx::display

// display_state.hpp - the display engine's arithmetic on a state record, for the other display
// families (the rubber-band zoom applies its zooms through it):
//
//   MapDisplay  maps a device context with the record's mapping: a full mapping when `reset`
//               (centring and window origin recomputed and stored), else a partial one;
//   Recompute   a full mapping followed by the scroll ranges, what every handler does after
//               a change of zoom, flags or client size.
//
// Both only change the context's mapping and the record; the caller saves and restores the
// context around them.
#pragma once

#include "vexora.h"

namespace vx::display {

void MapDisplay(HDC dc, VXDISPLAYSTATE& state, bool reset);
void Recompute(HDC dc, VXDISPLAYSTATE& state);

}  // namespace vx::display

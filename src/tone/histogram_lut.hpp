// histogram_lut.hpp - ResetTableState: internals of the histogram and tone-table family shared with its tests.
#pragma once

namespace vx::tone {

// Puts the module-wide histogram state back to its values at load time: region origin (0, 0),
// histogram size 0 and LUT length 0. The exports never call it; tests, which run many cases in
// one process, use it to start from a known state.
void ResetTableState();

}  // namespace vx::tone

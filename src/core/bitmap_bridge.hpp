// bitmap_bridge.hpp - what the bridge between DIBs and device bitmaps lends the families built
// on it (combining, the device-bitmap turns): GetDIBitsIntoBlock and ReadSystemPalette.
#pragma once

#include <cstdint>

#include "vexora.h"

namespace vx::bridge {

// GetDIBits(dc, bitmap, 0, lines, pixels, header, DIB_RGB_COLORS) on the packed DIB a locked
// block of blockBytes bytes holds, its pixels at biSize + PaletteSize. GDI also rewrites the
// colour table after the header (the whole table of the depth, whatever biClrUsed says, which
// it then sets to 0): where that table or the rows would run past the block, the call is made
// on a copy large enough and the block receives what lands inside it, so the block ends as it
// would on a larger one and nothing is written outside it. Answers GetDIBits's result; 0
// without a call for a header GDI could not write rows of (compressed, a depth other than 1,
// 4, 8, 16, 24 or 32 bits, a block shorter than its header and table).
int GetDIBitsIntoBlock(HDC dc, HBITMAP bitmap, UINT lines, uint8_t* block, uint64_t blockBytes);

// The colours of the display's system palette, GetSystemPalette's sequence: at most `room`
// entries are written to `table` (the display has SIZEPALETTE). FALSE, nothing written, when
// the display has no palette.
BOOL ReadSystemPalette(RGBQUAD* table, uint64_t room);

}  // namespace vx::bridge

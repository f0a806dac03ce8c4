// bitmap_bridge_tables.hpp - the platform-neutral half of the bridge between DIBs and device
// bitmaps: BitmapDibDepth, PlanBitmapDib (the header and block size of the DIB made from a
// device bitmap), WriteDefaultTable (the colour table used when no palette fits) and
// WritePaletteTable (a palette's entries as RGBQUADs).
//
// These steps decide bytes of every DIB ConvertBitmapToDIB returns, so they are kept apart
// from the GDI sequence in bitmap_bridge.cpp and can be checked without a device.
#pragma once

#include <cstdint>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"

namespace vx::bridge {

// Zero bytes a DIB made from a device bitmap carries after its rows.
inline constexpr uint64_t kBitmapDibSlack = 10;

// The DIB depth for a device bitmap of planes x bitsPerPixel bits: 1, 4, 8, else 24.
constexpr uint16_t BitmapDibDepth(uint32_t planes, uint32_t bitsPerPixel) {
    const uint64_t depth = uint64_t{planes} * bitsPerPixel;
    return depth <= 1 ? 1 : depth <= 4 ? 4 : depth <= 8 ? 8 : 24;
}

struct BitmapDibPlan {
    InfoHeader header;    // biClrUsed = biClrImportant = 2^depth below 24 bits
    uint32_t stride = 0;  // bytes per row
    uint64_t tableBytes = 0;
    uint64_t blockBytes = 0;  // header, table, rows and the slack
};

// The DIB for a bitmap of width x height pixels of planes x bitsPerPixel bits, or nothing when
// the bitmap has no pixels or its DIB would not fit a block.
std::optional<BitmapDibPlan> PlanBitmapDib(int32_t width, int32_t height, uint32_t planes, uint32_t bitsPerPixel);

// The colour table of a DIB made without a usable palette: black and white for 1 bit, the 16
// colours of the classic display for 4 bits, a 3-3-2 colour cube for 8 bits, none for 24.
void WriteDefaultTable(uint8_t* table, uint16_t bitCount);

// `count` palette entries as RGBQUADs (blue, green, red, 0), in order.
void WritePaletteTable(uint8_t* table, const PALETTEENTRY* entries, uint32_t count);

}  // namespace vx::bridge

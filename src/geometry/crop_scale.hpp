// crop_scale.hpp - nearest-neighbour crop-and-scale of a locked DIB, one operation per depth.
//
// These are internal: ScaleDIB runs the 1-bit member over a whole 1-bit image, and the display
// code runs the member of the image's depth over the visible rectangle when low-memory
// stretching is on, then draws the small result 1:1. They are not exported.
//
// Every member takes the same arguments: the locked source, a source rectangle (left x0, top
// y0, width, height, in pixels, counted from the top of the picture) and the output width and
// height. It returns a new zero-filled movable block holding the rectangle resampled to the
// output size, or null. The caller owns the block and frees it with GlobalFree.
//
// The result block:
// - its size is 40 + colour-table bytes + (outHeight + 1) x outStride + 16, where outStride is
//   the usual DIB row stride of outWidth pixels at the member's depth (for 1 bit, (outWidth + 7)
//   / 8 bytes rounded up to 4; for 4 bits, (outWidth + 1) / 2 rounded up to 4; for 8 bits,
//   outWidth rounded up to 4; for 24 bits, 3 x outWidth rounded up to 4). The spare row and the
//   16 bytes after it stay zero;
// - it starts with the source's 40-byte header and colour table (PaletteSize bytes), copied
//   unchanged except biWidth = outWidth and biHeight = outHeight. biSizeImage keeps the
//   source's value, whatever it is.
//
// Mapping. Output row j (counted from the top) samples source row
//   y0 + floor((8 j height + 4 outHeight) / (8 outHeight))      (i.e. floor(j height/outHeight + 1/2))
// and output column x samples source column
//   x0 + floor((8 x width + 4 outWidth) / (8 outWidth)),
// both evaluated exactly (64-bit). The first output row is the last stored row of the result.
// A pixel is copied as it is: one bit, one nibble, one byte, or three bytes in stored order.
//
// Bounds. A source column at or beyond the image's width ends the output row: that pixel and
// the rest of the row stay zero. A source row at or beyond the image's height ends the
// picture: that output row and all below it stay zero. The bounds are those of the image, not
// of the rectangle, so a rectangle inside the image may sample the row or column just past its
// own edge where the rounding reaches it; a rectangle that reaches past the right or bottom
// edge of the image gives zero pixels there. Nothing is ever read outside the source rows.
//
// Refusals (null result, module error code untouched):
// - width, height, outWidth or outHeight below 1;
// - x0 or y0 negative, x0 not below the image's width or y0 not below its height;
// - a header whose biBitCount is not the member's depth, whose width or height is below 1, or
//   that is not a 40-byte-or-larger BITMAPINFOHEADER;
// - a header or colour table reaching past headerBytes, or pixel rows (image height x stride)
//   reaching past bitsBytes;
// - a result block over 4 GiB, or a failed allocation or lock.
#pragma once

#include <cstdint>
#include <optional>

#include "vexora.h"

namespace vx::geometry {

// A locked source DIB as the crop-and-scale operations read it.
struct LockedDib {
    const uint8_t* header = nullptr;  // the BITMAPINFOHEADER, followed by the colour table
    uint64_t headerBytes = 0;         // bytes readable from `header`
    const uint8_t* bits = nullptr;    // the first stored (bottom) pixel row
    uint64_t bitsBytes = 0;           // bytes readable from `bits`
};

// The view of a packed DIB occupying a whole locked block of blockBytes bytes: the pixel rows
// start at biSize + PaletteSize. Empty when the block is too small for a 40-byte header or
// for the colour table its header announces.
std::optional<LockedDib> ViewPackedDib(const uint8_t* block, uint64_t blockBytes);

HDIB CropScale1(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
                int outHeight);
HDIB CropScale4(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
                int outHeight);
HDIB CropScale8(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
                int outHeight);
HDIB CropScale24(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
                 int outHeight);

// The member for the header's biBitCount (1, 4, 8 or 24); null for any other depth.
HDIB CropScaleDib(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
                  int outHeight);

}  // namespace vx::geometry

// view_layout.hpp - the arithmetic of the views that keep no state record, as pure functions
// over numbers, so that it is tested without a window:
//
//   ScrolledSpan     which whole source pixels a scrolled axis shows, and where they land;
//   LayOutCppView    the scrolling view in hundredths of an inch (DisplayCPPImage, ...Size,
//                    ...HScroll, ...VScroll);
//   LayOutBitmapPaint  the stateless painter of a device bitmap (DisplayImage);
//   LayOutDibPaint   the stateless painter of a DIB (DisplayDIBImage), with DibScale and
//                    DibScrollBars, the per-axis scale and which scroll bars it shows;
//   DibFacts / ReadDibFacts  the few header fields the painters draw from, checked against
//                    the block that holds them;
//   DrawDib          the one place both views put DIB pixels on a device context: StretchDIBits,
//                    or with the low-memory stretch switch on the library's own nearest-neighbour
//                    crop-and-scale drawn 1:1. It is the only function here that touches GDI.
//
// Every layout answers a source rectangle in image pixels (counted from the top of the picture)
// and a destination rectangle in client pixels; an empty one of either means nothing is drawn.
// No layout divides by a term that can be zero: resolutions below 1 dot per inch are replaced
// by the device's, a zero client size gives empty destinations, and sizes are carried in double
// precision so that a 60000-pixel image or a 2^31 zoom term cannot overflow an int.
//
// A scrolled axis always shows whole source pixels at the exact scale: the first source pixel
// is the scroll offset divided by the scale, rounded; the last one is the one the client's far
// edge falls in, partial pixels included, never past the image. The destination is that span
// scaled, so it may reach up to one scaled pixel past the client's far edge, where the window
// clips it. When the rounding leaves the image's last pixel short of the client's far edge,
// the picture is drawn flush with that edge instead (its first pixel partly hidden). The
// picture is therefore never squeezed, and no strip of the client is left unpainted.
#pragma once

#include <cstdint>
#include <optional>

#include "vexora.h"

namespace vx::display {

// One axis of a scrolled picture: source pixels [sourceStart, sourceStart + sourceLength)
// drawn at [destinationStart, destinationStart + destinationLength); `position` is the first
// source pixel the scroll offset names (what a view records), which the drawing starts before
// only when it is pulled flush with the far edge of the client.
struct Span {
    int position = 0;
    int sourceStart = 0;
    int sourceLength = 0;
    int destinationStart = 0;
    int destinationLength = 0;
};

// The span an axis of `imageLength` pixels shows at `scale` device pixels per image pixel when
// scrolled `offset` device pixels in, through a window `clientLength` pixels long.
Span ScrolledSpan(double offset, int clientLength, double scale, int imageLength);

// What the scrolling view draws and what its scroll bars say.
struct CppLayout {
    DWORD flags = 0;
    RECT source{};         // image pixels, top-down; empty when nothing is drawn
    RECT destination{};    // client pixels
    bool scrolls = false;  // false with fit or stretch: the scroll ranges are 0..0
    int rangeX = 0, rangeY = 0;        // scroll bar maxima (minimum 0), hundredths of an inch
    int positionX = 0, positionY = 0;  // scroll bar positions, hundredths of an inch
};

struct CppInput {
    int clientWidth = 0, clientHeight = 0;
    int imageWidth = 1, imageHeight = 1;
    int imageDpiX = 0, imageDpiY = 0;  // from the header, rounded; below 1: unknown
    int deviceDpiX = 96, deviceDpiY = 96;
    const int* zoom = nullptr;  // {xNum, xDen, yNum, yDen}, used when all are >= 1
    DWORD flags = 0;
};

// Lays the view out; updates `view` (its position in image pixels, pending moves cleared)
// except with fit or stretch, which leave it alone.
CppLayout LayOutCppView(const CppInput& in, VXVIEW& view);

// What a stateless painter draws and which scroll bars it sets.
struct PaintLayout {
    RECT source{};       // image pixels, top-down
    RECT destination{};  // client pixels
    bool setsScrollBars = false;
    int rangeX = 0, rangeY = 0;
    int positionX = 0, positionY = 0;
};

struct PaintInput {
    int clientWidth = 0, clientHeight = 0;
    int imageWidth = 1, imageHeight = 1;
    double imageDpiX = 0, imageDpiY = 0;  // 0 or less: the device's
    int deviceDpiX = 96, deviceDpiY = 96;
    const int* zoom = nullptr;  // {xMul, xDiv, yMul, yDiv}; a pair is used when both are > 0
    bool fit = false;
};

// DisplayImage: a device bitmap in hundredths of an inch. Updates `view` outside fit mode.
PaintLayout LayOutBitmapPaint(const PaintInput& in, VXVIEW& view);

// DisplayDIBImage's device pixels per image pixel on each axis outside fit mode.
struct DibScale {
    double x = 1, y = 1;
};
DibScale DibPaintScale(const PaintInput& in);

// Which scroll bars DisplayDIBImage shows: an axis scrolls when its scaled image is larger
// than the client area.
struct ScrollBarsShown {
    bool horizontal = false, vertical = false;
};
ScrollBarsShown DibScrollBars(const PaintInput& in);

// DisplayDIBImage with the client size read after the scroll bars were shown or hidden.
PaintLayout LayOutDibPaint(const PaintInput& in, VXVIEW& view);

// The header fields the painters use, from a block checked to hold the header, the colour table
// and every pixel row (uncompressed, 1 to 32 bits, width and height at least 1).
struct DibFacts {
    const uint8_t* block = nullptr;  // the locked block
    uint64_t blockBytes = 0;
    const BITMAPINFO* info = nullptr;
    const uint8_t* bits = nullptr;
    int width = 0, height = 0;  // height as a positive count
    bool topDown = false;
    int bitCount = 0;
    int32_t pelsX = 0, pelsY = 0;  // pels per metre, as stored
};
std::optional<DibFacts> ReadDibFacts(const uint8_t* block, uint64_t blockBytes);

// Draws source (image pixels, top-down) into destination with raster operation `rop`. With
// the low-memory stretch switch on and a bottom-up 1-, 4-, 8- or 24-bit DIB, the rectangle is
// first resampled by nearest neighbour to the destination size less `shorten` pixels each way
// and drawn 1:1; when that cannot be done (a size below 1, more than 2^24 pixels, no memory)
// StretchDIBits scales instead, so the picture is never lost.
void DrawDib(HDC dc, const DibFacts& dib, const RECT& source, const RECT& destination, DWORD rop, int shorten);

// The resolution a header gives, rounded to whole dots per inch (pels per metre x 0.0254).
int RoundedDpi(int32_t pelsPerMetre);

}  // namespace vx::display

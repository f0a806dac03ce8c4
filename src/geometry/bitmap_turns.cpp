// bitmap_turns.cpp - RotateBitmap90, RotateBitmap180, RotateBitmap270, FlipBitmapVertical,
// FlipBitmapHorizontal and InvertBitmap: the quarter turns, flips and negative of a device
// bitmap, each into a new device bitmap.
//
// They are built through the bridge rather than on device bits of their own: the bitmap
// becomes a DIB (ConvertBitmapToDIB without a palette), the DIB operation of the same name
// turns it (RotateDIB90, ...), and the result becomes a bitmap again (ConvertDIBToBitmap). A
// device bitmap and the DIB made of it therefore turn into the same picture, the one-column
// shift of the anticlockwise turn included, and every depth GDI can describe is handled by the
// DIB code that already handles 1, 4, 8 and 24 bits. What the round trip implies:
//   - A monochrome bitmap gives a monochrome bitmap; any other one a bitmap of the display's
//     format (32 bits on a true-colour display), whatever its own depth was: 16- and 32-bit
//     bitmaps pass through 24 bits, 4- and 8-bit ones through GDI's colour table for the DIB.
//   - The source bitmap is only read.
//
// InvertBitmap makes the photographic negative of the picture: every colour c becomes
// 255 - c in each of red, green and blue. For the paletted DIBs (1, 4 and 8 bits) the colour
// table is inverted, which inverts every pixel's colour without touching an index, and for a
// 1-bit DIB makes GDI complement every bit of the monochrome bitmap it builds (it matches the
// swapped black and white); for 24 bits each pixel byte is complemented, the row padding left
// zero. Inverting the table rather than the indices is what keeps 4- and 8-bit pictures exact:
// GDI's tables are not symmetric, so complementing an index would not give the complementary
// colour.
//
// Failures return NULL with the module code: IMGERR_BITMAPPARAMS for a handle GetObjectA does
// not describe as a bitmap (null, deleted, another kind of object), IMGERR_COPYBITS when the
// DIB cannot be made, IMGERR_NOMEMORY when the turned DIB cannot be, IMGERR_CREATEBITMAP (set
// by ConvertDIBToBitmap) when the new bitmap cannot. On success the module code is left as it
// was on entry: the bridge's look-up of the display palette, which fails on a true-colour
// display, is no failure of these operations.
#include <cstdint>

#include "vexora.h"

#include "dib_layout.hpp"
#include "errors.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::geometry {
namespace {

using DibOperation = HDIB(VXCALL*)(HDIB);

// The negative of a DIB made by the bridge (1, 4, 8 or 24 bits, 40-byte header), in place.
bool InvertDibPicture(HDIB dib) {
    BlockLock lock(dib);
    const auto layout = lock ? InspectDib(lock.data(), lock.size()) : std::nullopt;
    if (!layout || !layout->holdsPixels()) return false;
    uint8_t* block = lock.data();
    if (layout->bitCount <= 8) {
        uint8_t* table = block + layout->headerSize;
        for (uint32_t i = 0; i < layout->colorCount; ++i)
            for (int c = 0; c < 3; ++c) table[i * 4 + c] = static_cast<uint8_t>(~table[i * 4 + c]);
        return true;
    }
    const uint64_t pixelBytes = static_cast<uint64_t>(layout->width) * 3;
    for (uint64_t r = 0; r < layout->rows; ++r) {
        uint8_t* row = block + layout->pixelOffset + r * layout->stride;
        for (uint64_t i = 0; i < pixelBytes; ++i) row[i] = static_cast<uint8_t>(~row[i]);
    }
    return true;
}

// Bitmap -> DIB -> `operation` (or the negative, when it is null) -> bitmap.
Outcome<HBITMAP> TransformBitmap(HBITMAP bitmap, DibOperation operation) {
    BITMAP bm{};
    if (bitmap == nullptr || GetObjectA(bitmap, sizeof bm, &bm) != static_cast<int>(sizeof bm))
        return Fail(IMGERR_BITMAPPARAMS);
    const int codeOnEntry = ImgError();
    OwnedBlock dib(ConvertBitmapToDIB(bitmap, nullptr));
    if (!dib) return Fail(IMGERR_COPYBITS);
    SetModuleError(codeOnEntry);

    OwnedBlock result;
    if (operation != nullptr) {
        result = OwnedBlock(operation(dib.get()));
        if (!result) return Fail(IMGERR_NOMEMORY);
    } else {
        if (!InvertDibPicture(dib.get())) return Fail(IMGERR_COPYBITS);
        result = std::move(dib);
    }
    HBITMAP turned = ConvertDIBToBitmap(result.get());
    if (turned == nullptr) return Fail(IMGERR_CREATEBITMAP);
    return turned;
}

HBITMAP Run(HBITMAP bitmap, DibOperation operation) {
    return RunExport(ModuleCode{}, [&] { return TransformBitmap(bitmap, operation); });
}

}  // namespace
}  // namespace vx::geometry

using vx::geometry::Run;

extern "C" {

VXAPI HBITMAP VXCALL RotateBitmap90(HBITMAP bitmap) { return Run(bitmap, RotateDIB90); }
VXAPI HBITMAP VXCALL RotateBitmap180(HBITMAP bitmap) { return Run(bitmap, RotateDIB180); }
VXAPI HBITMAP VXCALL RotateBitmap270(HBITMAP bitmap) { return Run(bitmap, RotateDIB270); }
VXAPI HBITMAP VXCALL FlipBitmapVertical(HBITMAP bitmap) { return Run(bitmap, FlipDIBVertical); }
VXAPI HBITMAP VXCALL FlipBitmapHorizontal(HBITMAP bitmap) { return Run(bitmap, FlipDIBHorizontal); }
VXAPI HBITMAP VXCALL InvertBitmap(HBITMAP bitmap) { return Run(bitmap, nullptr); }

}  // extern "C"

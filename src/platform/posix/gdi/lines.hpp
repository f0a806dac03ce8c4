// lines.hpp - what the shape and region calls share with lines.cpp: Canvas (a DC's surface,
// state and visible rectangles, gathered with the table locked), WithCanvas (runs a drawing
// call on one), DrawPolyline (the pen's exact pixels along a list of device points) and
// TernaryOf (the ternary raster operation a brush fill uses for a binary one).
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/raster.hpp"

namespace vx::posix::gdi {

// Everything one drawing call needs, gathered with the table locked.
struct Canvas {
    const ObjectTable::Access* objects = nullptr;
    const DcState* state = nullptr;
    Surface surface;
    std::vector<RECT> visible;
    int rop2 = R2_COPYPEN;

    uint32_t Pixel(COLORREF colour) const { return ColourPixel(surface, ResolveColour(*objects, *state, colour)); }

    // The pixel value a pen or brush colour takes: on a 1-bit surface, unless it is exactly one
    // of the two entries, the one the background colour does not take.
    uint32_t DrawingPixel(COLORREF colour) const {
        if (surface.bitsPerPixel != 1 || surface.colours == nullptr || surface.colourCount < 2) return Pixel(colour);
        const COLORREF resolved = ResolveColour(*objects, *state, colour);
        for (uint32_t i = 0; i < 2; ++i) {
            const RGBQUAD& entry = surface.colours[i];
            if (RGB(entry.rgbRed, entry.rgbGreen, entry.rgbBlue) == resolved) return i;
        }
        const uint32_t background = Pixel(state->backgroundColour);
        return colour == state->backgroundColour ? background : background ^ 1;
    }
};

// Draws the pen along device points `device[0 .. count)`, back to the first when `close`;
// each segment lights its pixels but its last, and dashes run on across the segments.
void DrawPolyline(const Canvas& canvas, const Pen& pen, const POINT* device, size_t count, bool close);

// The ternary raster operation that does to the brush and destination what binary operation
// `rop2` does to the pen and destination (bit 4 P + 2 S + D of the table, for any S).
uint8_t TernaryOf(int rop2);

// Runs `draw(objects, canvas, context)` for a DC with the table locked and answers what it
// answers (TRUE when it answers nothing); FALSE for a handle that is not a DC. Nothing is
// drawn on a DC without pixels, and the call still succeeds.
template <typename Draw>
BOOL WithCanvas(HDC dc, Draw draw) {
    return OnDC(dc, FALSE, [&](auto& objects, DeviceContext& context) -> BOOL {
        Canvas canvas;
        canvas.objects = &objects;
        canvas.state = &context.state;
        canvas.rop2 = context.state.rop2;
        canvas.surface = DcSurface(objects, context);
        if (canvas.surface.bits != nullptr) canvas.visible = VisibleRects(context.state, canvas.surface);
        if constexpr (std::is_void_v<decltype(draw(objects, canvas, context))>) {
            draw(objects, canvas, context);
            return TRUE;
        } else {
            return draw(objects, canvas, context);
        }
    });
}

// Runs `draw(objects, canvas, context)` for a DC with the table locked and answers what it
// answers; FALSE for a handle that is not a DC. A metafile DC's recorder gets the call first
// (`record`); one that keeps no state answers TRUE at once. Nothing is drawn on a DC without
// pixels.
template <typename Record, typename Draw>
BOOL WithCanvas(HDC dc, Record record, Draw draw) {
    return WithCanvas(dc, [&](auto& objects, const Canvas& canvas, DeviceContext& context) -> BOOL {
        if (MetaRecorder* recorder = RecorderOf(context)) {
            record(*recorder);
            if (!recorder->keepsState()) return TRUE;
        }
        return draw(objects, canvas, context);
    });
}

}  // namespace vx::posix::gdi

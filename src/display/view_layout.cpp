// view_layout.cpp - ScrolledSpan, LayOutCppView, LayOutBitmapPaint, DibPaintScale,
// DibScrollBars, LayOutDibPaint, ReadDibFacts and RoundedDpi (view_layout.hpp).
//
// All arithmetic is double precision and every conversion to an integer pixel or scroll value
// goes through Floor (after adding one half where the value is rounded), clamped into int, so a
// huge image, zoom or scroll value saturates instead of wrapping. Terms that divide are kept at
// 1 or more (scaled sizes, image sizes in hundredths of an inch, resolutions).
#include "display/view_layout.hpp"

#include <algorithm>
#include <climits>
#include <cmath>

#include "dib_layout.hpp"
#include "geometry/crop_scale.hpp"
#include "guards.hpp"

namespace vx::display {
namespace {

constexpr DWORD kZoomed = DISPLAY_ZOOMED;
constexpr DWORD kFit = DISPLAY_FIT;
constexpr DWORD kInvert = DISPLAY_INVERT;
constexpr DWORD kTrueSize = DISPLAY_TRUESIZE;
constexpr DWORD kCentre = DISPLAY_CENTER;
constexpr DWORD kStretch = DISPLAY_STRETCH;

// Scaled sizes at or above this make the scrolling view drop its scales: GDI coordinates of
// the classic interface are 16-bit.
constexpr double kScaledLimit = 32767.0;

int Floor(double value) {
    if (!(value > INT_MIN)) return INT_MIN;  // also NaN
    if (value >= INT_MAX) return INT_MAX;
    return static_cast<int>(std::floor(value));
}
int Round(double value) { return Floor(value + 0.5); }

RECT Rect(int left, int top, int width, int height) { return RECT{left, top, left + width, top + height}; }

void OffsetRectBy(RECT& rect, int dx, int dy) {
    rect.left += dx;
    rect.right += dx;
    rect.top += dy;
    rect.bottom += dy;
}

// Moves an axis of the destination to the middle of the client when it is narrower.
void Centre(RECT& destination, int clientWidth, int clientHeight) {
    const int width = destination.right - destination.left, height = destination.bottom - destination.top;
    if (clientWidth > width) OffsetRectBy(destination, (clientWidth - width) / 2, 0);
    if (clientHeight > height) OffsetRectBy(destination, 0, (clientHeight - height) / 2);
}

}  // namespace

Span ScrolledSpan(double offset, int clientLength, double scale, int imageLength) {
    Span span;
    if (imageLength <= 0 || !(scale > 0)) return span;
    span.position = std::clamp(Round(offset / scale), 0, imageLength - 1);
    span.sourceStart = span.position;
    if (clientLength <= 0) return span;  // nothing shows, but the position holds
    // The pixel the far edge of the client falls in, counted whole; a hair of tolerance keeps
    // an edge that lands exactly on a pixel boundary from pulling in the next pixel.
    const auto pixelsUpTo = [scale](double edge) { return std::ceil(edge / scale - 1e-9); };
    const int end =
        std::max(span.position + 1, static_cast<int>(std::min<double>(pixelsUpTo(offset + clientLength), imageLength)));
    span.sourceLength = end - span.sourceStart;
    span.destinationLength = std::max(1, Round(span.sourceLength * scale));
    // A rounded-up position can leave the far end short of the client's edge by part of a
    // pixel when the view is scrolled to the end; the picture is then drawn flush with that
    // edge, starting with a partly hidden pixel, so no strip of the client is left unpainted.
    if (end == imageLength && span.destinationLength < clientLength && imageLength * scale > clientLength) {
        span.sourceStart = std::max(0, imageLength - static_cast<int>(pixelsUpTo(clientLength)));
        span.sourceLength = imageLength - span.sourceStart;
        span.destinationLength = Round(span.sourceLength * scale);
        span.destinationStart = clientLength - span.destinationLength;
    }
    return span;
}

CppLayout LayOutCppView(const CppInput& in, VXVIEW& view) {
    CppLayout out;
    out.flags = in.flags;
    if (in.flags & kStretch) {
        out.flags = (in.flags & kInvert) | kStretch;
        out.source = Rect(0, 0, in.imageWidth, in.imageHeight);
        out.destination = Rect(0, 0, std::max(0, in.clientWidth), std::max(0, in.clientHeight));
        return out;
    }
    const int* z = in.zoom;
    const bool zoomUsable = z != nullptr && z[0] >= 1 && z[1] >= 1 && z[2] >= 1 && z[3] >= 1;
    double sx = zoomUsable ? double(z[0]) / z[1] : 1.0;
    double sy = zoomUsable ? double(z[2]) / z[3] : 1.0;
    const double deviceX = std::max(1, in.deviceDpiX), deviceY = std::max(1, in.deviceDpiY);
    double dpiX = in.imageDpiX, dpiY = in.imageDpiY;
    const bool resolutionKnown = dpiX >= 1 && dpiY >= 1;
    if (!resolutionKnown) {
        dpiX = deviceX;
        dpiY = deviceY;
    }
    if ((in.flags & kTrueSize) && resolutionKnown) {
        sx *= deviceX / dpiX;
        sy *= deviceY / dpiY;
    } else if (in.flags & kTrueSize) {
        out.flags = (out.flags & ~kTrueSize) | kZoomed;
    }
    if (Round(sx * in.imageWidth) >= kScaledLimit || Round(sy * in.imageHeight) >= kScaledLimit) sx = sy = 1.0;
    const int scaledW = std::max(1, Round(sx * in.imageWidth));
    const int scaledH = std::max(1, Round(sy * in.imageHeight));
    const int clientW = std::max(0, in.clientWidth), clientH = std::max(0, in.clientHeight);

    if (in.flags & kFit) {
        const double s = std::min(double(clientW) / scaledW, double(clientH) / scaledH);
        out.source = Rect(0, 0, in.imageWidth, in.imageHeight);
        out.destination = Rect(0, 0, Round(s * scaledW), Round(s * scaledH));
    } else {
        out.scrolls = true;
        const auto axis = [](LONG& position, LONG& pending, double scale, double dpi, int scaled, int client,
                             int image, int& range, int& reported) {
            double offset = position >= 0 ? std::floor(position * scale + 0.5) + pending
                                          : std::floor(dpi * pending * 0.01 * scale + 0.5);
            // Positions are whole image pixels: a move smaller than one (a line step at a zoom
            // above 1) still moves the view one pixel its way, or it would never get anywhere.
            if (position >= 0 && pending != 0) {
                const double step = pending > 0 ? 1.0 : -1.0;
                if ((Round(offset / scale) - position) * step < 1) offset = (position + step) * scale;
            }
            pending = 0;
            range = scaled > client ? Round((scaled - client) / scale * 100.0 / dpi) : 0;
            offset = scaled > client ? std::clamp(offset, 0.0, double(scaled - client)) : 0.0;
            const Span span = ScrolledSpan(offset, client, scale, image);
            position = span.position;
            reported = std::min(range, Round(position * 100.0 / dpi));
            return span;
        };
        const Span h = axis(view.x, view.dx, sx, dpiX, scaledW, clientW, in.imageWidth, out.rangeX, out.positionX);
        const Span v = axis(view.y, view.dy, sy, dpiY, scaledH, clientH, in.imageHeight, out.rangeY, out.positionY);
        out.source = Rect(h.sourceStart, v.sourceStart, h.sourceLength, v.sourceLength);
        out.destination = Rect(h.destinationStart, v.destinationStart, h.destinationLength, v.destinationLength);
    }
    if (in.flags & kCentre) Centre(out.destination, clientW, clientH);
    return out;
}

namespace {

// Hundredths of an inch: device and image pixels per unit, and the sizes in units.
struct Units {
    double devicePerUnit, imagePerUnit;
    int image;      // whole image, at least 1
    double client;  // client area
};

Units AxisUnits(int deviceDpi, double imageDpi, int imagePixels, int clientPixels) {
    Units u;
    u.devicePerUnit = std::max(1, deviceDpi) * 0.01;
    u.imagePerUnit = (imageDpi > 0 ? imageDpi : std::max(1, deviceDpi)) * 0.01;
    u.image = std::max(1, Round(imagePixels / u.imagePerUnit));
    u.client = std::max(0, clientPixels) / u.devicePerUnit;
    return u;
}

// A zoom pair as the factor the visible extent is multiplied by (divisor over multiplier).
double VisibleFactor(const int* zoom, int pair) {
    if (zoom == nullptr || zoom[2 * pair] <= 0 || zoom[2 * pair + 1] <= 0) return 1.0;
    return double(zoom[2 * pair + 1]) / zoom[2 * pair];
}

// Fit in hundredths of an inch: the whole image at the largest scale s, never above 1, that
// keeps both sides inside the client.
RECT FitDestination(const Units& ux, const Units& uy) {
    const double s = std::min({1.0, ux.client / ux.image, uy.client / uy.image});
    return Rect(0, 0, Round(s * ux.image * ux.devicePerUnit), Round(s * uy.image * uy.devicePerUnit));
}

}  // namespace

PaintLayout LayOutBitmapPaint(const PaintInput& in, VXVIEW& view) {
    PaintLayout out;
    const Units ux = AxisUnits(in.deviceDpiX, in.imageDpiX, in.imageWidth, in.clientWidth);
    const Units uy = AxisUnits(in.deviceDpiY, in.imageDpiY, in.imageHeight, in.clientHeight);
    out.source = Rect(0, 0, in.imageWidth, in.imageHeight);
    if (in.fit) {
        out.destination = FitDestination(ux, uy);
        return out;
    }
    out.setsScrollBars = true;
    const auto axis = [](LONG& position, LONG& pending, const Units& u, double zoom, int image, int client,
                         int& range, int& reported, int& start, int& length, int& destination) {
        const int visible = Round(u.client * zoom);
        range = std::max(0, u.image - visible);
        // The pending move is in device pixels; one of them spans zoom / devicePerUnit units.
        reported = std::clamp(Round(position / u.imagePerUnit + pending * zoom / u.devicePerUnit), 0, range);
        pending = 0;
        const int wanted = Round(visible * u.imagePerUnit);
        start = std::clamp(Round(reported * u.imagePerUnit), 0, image - 1);
        if (wanted <= image && start > image - wanted) start = image - wanted;  // rounding at the end
        length = std::min(image - start, wanted);
        destination = length == wanted ? std::max(0, client)
                                       : Round(length / u.imagePerUnit / zoom * u.devicePerUnit);
        position = start;
    };
    int x0, y0, w, h, dw, dh;
    axis(view.x, view.dx, ux, VisibleFactor(in.zoom, 0), in.imageWidth, in.clientWidth, out.rangeX, out.positionX, x0,
         w, dw);
    axis(view.y, view.dy, uy, VisibleFactor(in.zoom, 1), in.imageHeight, in.clientHeight, out.rangeY, out.positionY,
         y0, h, dh);
    out.source = Rect(x0, y0, w, h);
    out.destination = Rect(0, 0, dw, dh);
    return out;
}

DibScale DibPaintScale(const PaintInput& in) {
    const double deviceX = std::max(1, in.deviceDpiX), deviceY = std::max(1, in.deviceDpiY);
    DibScale s;
    s.x = deviceX / (in.imageDpiX > 0 ? in.imageDpiX : deviceX) / VisibleFactor(in.zoom, 0);
    s.y = deviceY / (in.imageDpiY > 0 ? in.imageDpiY : deviceY) / VisibleFactor(in.zoom, 1);
    if (Round(s.x * in.imageWidth) >= kScaledLimit || Round(s.y * in.imageHeight) >= kScaledLimit) s = DibScale{};
    return s;
}

ScrollBarsShown DibScrollBars(const PaintInput& in) {
    if (in.fit) return {};
    const DibScale s = DibPaintScale(in);
    return {Round(s.x * in.imageWidth) > in.clientWidth, Round(s.y * in.imageHeight) > in.clientHeight};
}

PaintLayout LayOutDibPaint(const PaintInput& in, VXVIEW& view) {
    PaintLayout out;
    if (in.fit) {
        // The image at its physical size, then scaled by one factor (which may enlarge) until it
        // meets the client's width or height.
        const double deviceX = std::max(1, in.deviceDpiX), deviceY = std::max(1, in.deviceDpiY);
        const double w = in.imageWidth * deviceX / (in.imageDpiX > 0 ? in.imageDpiX : deviceX);
        const double h = in.imageHeight * deviceY / (in.imageDpiY > 0 ? in.imageDpiY : deviceY);
        const double s = std::min(std::max(0, in.clientWidth) / w, std::max(0, in.clientHeight) / h);
        out.source = Rect(0, 0, in.imageWidth, in.imageHeight);
        out.destination = Rect(0, 0, Round(s * w), Round(s * h));
        return out;
    }
    out.setsScrollBars = true;
    const DibScale s = DibPaintScale(in);
    // The scroll bar spans the whole scaled image; its position maps proportionally onto the
    // offsets the client can take, so that the far end of the bar shows the far edge.
    const auto axis = [](LONG& position, LONG& pending, double scale, int image, int client, int& range,
                         int& reported) {
        const int scaled = std::max(1, Round(image * scale));
        const double at = std::clamp(std::floor(position * scale + 0.5) + pending, 0.0, double(scaled));
        pending = 0;
        const double offset = scaled > client ? std::floor(at * (scaled - client) / scaled + 0.5) : 0.0;
        range = scaled > client ? scaled : 0;
        reported = scaled > client ? static_cast<int>(at) : 0;
        position = std::min(image, Round(at / scale));
        return ScrolledSpan(offset, client, scale, image);
    };
    const Span h = axis(view.x, view.dx, s.x, in.imageWidth, in.clientWidth, out.rangeX, out.positionX);
    const Span v = axis(view.y, view.dy, s.y, in.imageHeight, in.clientHeight, out.rangeY, out.positionY);
    out.source = Rect(h.sourceStart, v.sourceStart, h.sourceLength, v.sourceLength);
    out.destination = Rect(h.destinationStart, v.destinationStart, h.destinationLength, v.destinationLength);
    return out;
}

std::optional<DibFacts> ReadDibFacts(const uint8_t* block, uint64_t blockBytes) {
    const auto d = InspectDib(block, blockBytes);
    if (!d || d->coreHeader || d->headerSize < kInfoHeaderSize || d->compression != 0) return std::nullopt;
    if (d->width < 1 || d->width > INT_MAX || d->rows < 1 || d->rows > INT_MAX) return std::nullopt;
    switch (d->bitCount) {
        case 1: case 4: case 8: case 16: case 24: case 32: break;
        default: return std::nullopt;
    }
    if (!d->holdsPixels()) return std::nullopt;
    DibFacts f;
    f.block = block;
    f.blockBytes = blockBytes;
    f.info = reinterpret_cast<const BITMAPINFO*>(block);
    f.bits = block + d->pixelOffset;
    f.width = static_cast<int>(d->width);
    f.height = static_cast<int>(d->rows);
    f.topDown = d->height < 0;
    f.bitCount = static_cast<int>(d->bitCount);
    f.pelsX = LoadI32(block + bih::kXPels);
    f.pelsY = LoadI32(block + bih::kYPels);
    return f;
}

void DrawDib(HDC dc, const DibFacts& dib, const RECT& source, const RECT& destination, DWORD rop, int shorten) {
    const int sourceW = source.right - source.left, sourceH = source.bottom - source.top;
    const int width = destination.right - destination.left, height = destination.bottom - destination.top;
    if (sourceW <= 0 || sourceH <= 0 || width <= 0 || height <= 0) return;
    const bool croppable = dib.bitCount == 1 || dib.bitCount == 4 || dib.bitCount == 8 || dib.bitCount == 24;
    const int outW = width - shorten, outH = height - shorten;
    if (GetLowMemStretch() != 0 && croppable && !dib.topDown && outW >= 1 && outH >= 1 &&
        int64_t{outW} * outH <= (int64_t{1} << 24)) {
        if (const auto view = geometry::ViewPackedDib(dib.block, dib.blockBytes)) {
            OwnedBlock piece(geometry::CropScaleDib(*view, source.left, source.top, sourceW, sourceH, outW, outH));
            const BlockLock lock(piece.get());
            if (lock) {
                const auto picture = geometry::ViewPackedDib(lock.data(), lock.size());
                if (picture) {
                    StretchDIBits(dc, destination.left, destination.top, outW, outH, 0, 0, outW, outH, picture->bits,
                                  reinterpret_cast<const BITMAPINFO*>(lock.data()), DIB_RGB_COLORS, rop);
                    return;
                }
            }
        }
    }
    // StretchDIBits counts source rows from the bottom of the picture, for top-down DIBs too
    // (Windows does, and Wine with it).
    const int sourceY = dib.height - source.bottom;
    StretchDIBits(dc, destination.left, destination.top, width, height, source.left, sourceY, sourceW, sourceH,
                  dib.bits, dib.info, DIB_RGB_COLORS, rop);
}

int RoundedDpi(int32_t pelsPerMetre) { return Round(pelsPerMetre * 0.0254); }

}  // namespace vx::display

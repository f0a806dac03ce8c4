// printer_device.hpp - the printer behind a printer DC (PrinterDevice), what the rest of the
// Linux GDI asks of it (GetDeviceCaps answers, painting a DIB onto the page), and how a
// printer is found by name (PrinterTarget, resolved by printers.cpp).
//
// A printer DC is a DeviceContext of kind OBJ_DC with no pixels of its own (DcSurface gives
// it none, so the raster engine draws nothing on it) and a PrinterDevice: a cairo document
// surface that exists from StartDocA to EndDoc. StretchDIBits and SetDIBitsToDevice hand their
// source rectangle to PaintDibOnPrinter, which places it on the page as one image.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/posix/gdi/objects.hpp"

typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo cairo_t;

namespace vx::posix::gdi {

// What a printer name resolves to.
struct PrinterTarget {
    enum class Kind { Pdf, PostScript, Bands, Cups } kind = Kind::Pdf;
    std::string where;  // the file (Pdf, PostScript, Bands) or the CUPS destination
    int width = 0, height = 0, dpi = 300;  // the page in dots
};

struct PrinterDevice {
    explicit PrinterDevice(PrinterTarget target) : target(std::move(target)) {}
    ~PrinterDevice();  // a job still open is thrown away: no file is left
    PrinterDevice(const PrinterDevice&) = delete;
    PrinterDevice& operator=(const PrinterDevice&) = delete;

    PrinterTarget target;
    ABORTPROC abortProcedure = nullptr;

    // The job: the document surface and the temporary file it is written to.
    cairo_surface_t* surface = nullptr;
    cairo_t* cairo = nullptr;
    std::string temporary, destination, title;
    int file = -1;
    bool writeFailed = false;
    bool pageOpen = false;
    int band = 0;  // NEXTBAND: the next band of the open page to hand out
    RECT bandRect{0, 0, 0, 0};  // the band being drawn (banding printer), empty: whole page

    bool inJob() const { return surface != nullptr; }
    bool bands() const { return target.kind == PrinterTarget::Kind::Bands; }
    // Ends the job without output: the surface, the temporary file.
    void discard();
};

// GetDeviceCaps of a printer DC.
int PrinterCaps(const PrinterDevice& printer, int index);

// Paints rows [source.top, source.bottom) x columns [source.left, source.right) of `dib`
// (rows top down; a reversed pair mirrors, covering (right, left] as StretchDIBits takes it)
// into the device rectangle `dest` of the open page, clipped to the page, the band and the
// DC's clipping region. False when the image cannot be made (too large, no memory).
bool PaintDibOnPrinter(PrinterDevice& printer, const DcState& state, const Surface& dib, RECT dest, RECT source);

// An RLE8 or RLE4 DIB given to a printer DC, expanded to the 8 or 4-bit DIB it stands for
// (header and colour table in `info`, rows in `bits`; pixels the stream skips are index 0);
// false when `dc` is not a printer's, the DIB is not run-length encoded, or it is too large.
// Takes the table lock: call it without one.
bool ExpandRleForPrinter(HDC dc, const BITMAPINFO* info, const void* bits, UINT usage,
                         std::vector<uint8_t>& expandedInfo, std::vector<uint8_t>& expandedBits);

// The printer a device name (and the port CreateDCA was given) names; false for none.
// Defined with the printer list (printers.cpp).
bool ResolvePrinter(const char* device, const char* port, PrinterTarget& target);

}  // namespace vx::posix::gdi

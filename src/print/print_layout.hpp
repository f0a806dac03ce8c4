// print_layout.hpp - the arithmetic and the texts of a printed page, as pure functions over
// plain numbers: ImageResolution, LayOutPage, BandInches, IntersectInches, SourcePixels,
// DevicePixels, DocumentTitle, PageText and SplitDeviceEntry.
//
// A page is laid out in inches. The printer reports its page in dots and its dots per inch; the
// image brings its pixels and a resolution (the printer's own, one the caller gives, or the
// one its header records). Fit-to-page scales the image by the smaller of the two page/image
// ratios; stretch makes the image's inches the page's inches, each axis on its own; centring
// puts half the room left over on each side. The printed rectangle, in inches, is then cut by
// each band the printer hands out (the whole page on a printer that does not band), and each
// piece goes back to image pixels (for the source rectangle) and to printer dots (for the
// destination), each edge rounded by adding 0.5 and truncating.
//
// The arithmetic is kept exactly as the printed pages have always come out: doubles, the
// order of the operations above, and the truncation of the x86 conversion (TruncToInt32),
// which also gives every value outside the 32-bit range, and the results of dividing by a page
// of zero inches, a defined answer instead of undefined behaviour. A resolution that is not a
// positive number (a caller's 0, a header's negative pels-per-metre) is not used: the
// printer's own stands in for it, so that no layout ever divides by zero.
//
// The command-line tool and the print job share these functions; nothing here touches a
// device or the job's state.
#pragma once

#include <string>

namespace vx::print {

// Dots (or pixels) per inch on each axis.
struct Resolution {
    double x = 0, y = 0;
};

// A rectangle in inches from the page's top left corner.
struct InchRect {
    double left = 0, top = 0, right = 0, bottom = 0;
};

// A rectangle in whole pixels.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
    int width() const { return static_cast<int>(static_cast<unsigned>(right) - static_cast<unsigned>(left)); }
    int height() const { return static_cast<int>(static_cast<unsigned>(bottom) - static_cast<unsigned>(top)); }
};

// The resolution an image prints at: the printer's, replaced when useImageDpi is set by the
// caller's {x, y} (when given) or by the header's pels-per-metre (when both are non-zero).
Resolution ImageResolution(Resolution printer, bool useImageDpi, const int* given, long xPelsPerMeter,
                           long yPelsPerMeter);

struct PageRequest {
    double widthPixels = 0, heightPixels = 0;  // the image
    Resolution resolution;                     // the image's (ImageResolution)
    double pageWidthInches = 0, pageHeightInches = 0;
    bool fit = false, stretch = false, centreHorizontally = false, centreVertically = false;
};

struct PageLayout {
    double scale = 1;                                // the fit scale (1 without fit)
    Resolution pixelsPerInch;                        // image pixels per printed inch
    double imageWidthInches = 0, imageHeightInches = 0;  // before scaling
    InchRect printed;                                // where the image goes on the page
};

PageLayout LayOutPage(const PageRequest& request);

// A band of the printer, in dots, as inches.
InchRect BandInches(int left, int top, int right, int bottom, Resolution printer);

// The common part of two rectangles; false (and all zero) when it is empty.
bool IntersectInches(const InchRect& a, const InchRect& b, InchRect& common);

// The image pixels under a piece of the printed rectangle.
PixelRect SourcePixels(const InchRect& piece, const PageLayout& layout);

// The printer dots of a piece of the page.
PixelRect DevicePixels(const InchRect& piece, Resolution printer);

// The title of a document: its name after the last backslash (all of it without one; empty
// for no name).
std::string DocumentTitle(const char* documentName);

// The cancel box's page line: "title  Page: n / total", n counted from 1.
std::string PageText(const std::string& title, int pageIndex, int pageCount);

// A printer entry "name,driver,port" cut the way it has always been: the name up to the first
// comma, then driver and port each up to the next comma or space (runs of either skipped).
// Missing pieces are empty; noName is set when the entry holds no name at all.
struct DeviceEntry {
    std::string name, driver, port;
    bool noName = true;
};
DeviceEntry SplitDeviceEntry(const std::string& entry);

}  // namespace vx::print

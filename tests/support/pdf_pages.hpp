// pdf_pages.hpp - PDF pages read back as pixels, for the tests of what the Linux printers write:
//   - PdfPageCount: the number of pages of a PDF file (poppler's pdfinfo);
//   - RenderPdfPage: one page rendered to 24-bit RGB at a given resolution (poppler's pdftoppm);
//   - NonWhiteBounds: the bounding box of the pixels that are not white, in device pixels.
//
// Rendering at the printer's own resolution (300 dpi for the file printers) makes one rendered
// pixel one printer dot, so the box of what a job drew can be compared with the rectangle it
// asked for. Anti-aliasing is turned off, so edges are not smeared by a pixel. Linux only: under
// Wine the test printer writes PostScript.
#pragma once

#if !defined(_WIN32)

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace vxtest {

struct PageRaster {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgb;  // top-down rows of width * 3 bytes
    bool empty() const { return width <= 0 || height <= 0; }
    // 0xRRGGBB of the pixel (x, y), y counted from the top.
    std::uint32_t pixel(int x, int y) const {
        const std::uint8_t* p = rgb.data() + (static_cast<std::size_t>(y) * width + x) * 3;
        return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
    }
};

// Left/top inclusive, right/bottom exclusive; all zero when nothing is drawn.
struct PixelBox {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool empty() const { return right <= left || bottom <= top; }
    bool operator==(const PixelBox&) const = default;
    // Equal within `dots` a side: poppler may round an edge that falls on a fraction of a
    // point (A4 is 841.92 points high) by one dot.
    bool near(const PixelBox& o, int dots = 1) const {
        return std::abs(left - o.left) <= dots && std::abs(top - o.top) <= dots &&
               std::abs(right - o.right) <= dots && std::abs(bottom - o.bottom) <= dots;
    }
};

// 0 when the file cannot be read as a PDF.
int PdfPageCount(const std::string& pdf);
// page counts from 1; an empty raster when the page cannot be rendered.
PageRaster RenderPdfPage(const std::string& pdf, int page = 1, int dpi = 300);
// Pixels whose channels are all >= whiteFloor count as white.
PixelBox NonWhiteBounds(const PageRaster& raster, int whiteFloor = 250);

}  // namespace vxtest

#endif  // !_WIN32

// pdf_pages.cpp - PdfPageCount, RenderPdfPage, NonWhiteBounds (pdf_pages.hpp), over poppler's
// command-line tools: pdftoppm writes a binary PPM (P6) to its standard output, which is read
// here without any image library.
#if !defined(_WIN32)

#include "pdf_pages.hpp"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

namespace vxtest {
namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

using Pipe = std::unique_ptr<FILE, decltype(&pclose)>;

std::string ReadAll(FILE* pipe) {
    std::string text;
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) text.append(chunk, n);
    return text;
}

}  // namespace

int PdfPageCount(const std::string& pdf) {
    Pipe pipe(popen(("pdfinfo " + Quoted(pdf) + " 2>/dev/null").c_str(), "r"), pclose);
    if (!pipe) return 0;
    const std::string info = ReadAll(pipe.get());
    const auto at = info.find("Pages:");
    return at == std::string::npos ? 0 : std::atoi(info.c_str() + at + 6);
}

PageRaster RenderPdfPage(const std::string& pdf, int page, int dpi) {
    const std::string command = "pdftoppm -q -aa no -aaVector no -r " + std::to_string(dpi) +
                                " -f " + std::to_string(page) + " -l " + std::to_string(page) +
                                " " + Quoted(pdf);
    Pipe pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return {};
    const std::string data = ReadAll(pipe.get());
    int width = 0, height = 0, maxValue = 0, header = 0;  // pdftoppm writes no comments
    if (std::sscanf(data.c_str(), "P6 %d %d %d%n", &width, &height, &maxValue, &header) != 3 || maxValue != 255)
        return {};
    const std::size_t at = static_cast<std::size_t>(header) + 1;  // one white space before the samples
    const std::size_t bytes = static_cast<std::size_t>(width) * height * 3;
    if (width <= 0 || height <= 0 || data.size() < at + bytes) return {};
    PageRaster raster;
    raster.width = width;
    raster.height = height;
    raster.rgb.assign(data.begin() + static_cast<std::ptrdiff_t>(at),
                      data.begin() + static_cast<std::ptrdiff_t>(at + bytes));
    return raster;
}

PixelBox NonWhiteBounds(const PageRaster& raster, int whiteFloor) {
    PixelBox box{raster.width, raster.height, 0, 0};
    for (int y = 0; y < raster.height; ++y) {
        const std::uint8_t* row = raster.rgb.data() + static_cast<std::size_t>(y) * raster.width * 3;
        for (int x = 0; x < raster.width; ++x) {
            const std::uint8_t* p = row + x * 3;
            if (p[0] >= whiteFloor && p[1] >= whiteFloor && p[2] >= whiteFloor) continue;
            box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1), std::max(box.bottom, y + 1)};
        }
    }
    return box.empty() ? PixelBox{} : box;
}

}  // namespace vxtest

#endif  // !_WIN32

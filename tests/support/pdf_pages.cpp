// pdf_pages.cpp - PdfPageCount, RenderPdfPage, NonWhiteBounds (pdf_pages.hpp), over poppler's
// command-line tools: pdftoppm writes a binary PPM (P6) to its standard output, which is read
// here without any image library.
#if !defined(_WIN32)

#include "pdf_pages.hpp"

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

struct PipeCloser {
    void operator()(FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, PipeCloser>;

std::string ReadAll(FILE* pipe) {
    std::string text;
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) text.append(chunk, n);
    return text;
}

// The next header field of a PPM: skips white space and comments.
bool NextNumber(const std::string& data, std::size_t& at, long& value) {
    while (at < data.size()) {
        if (data[at] == '#') {
            while (at < data.size() && data[at] != '\n') ++at;
        } else if (data[at] == ' ' || data[at] == '\n' || data[at] == '\r' || data[at] == '\t') {
            ++at;
        } else {
            break;
        }
    }
    if (at >= data.size() || data[at] < '0' || data[at] > '9') return false;
    value = 0;
    while (at < data.size() && data[at] >= '0' && data[at] <= '9' && value < 1000000)
        value = value * 10 + (data[at++] - '0');
    return true;
}

}  // namespace

int PdfPageCount(const std::string& pdf) {
    Pipe pipe(popen(("pdfinfo " + Quoted(pdf) + " 2>/dev/null").c_str(), "r"));
    if (!pipe) return 0;
    const std::string info = ReadAll(pipe.get());
    const auto at = info.find("Pages:");
    return at == std::string::npos ? 0 : std::atoi(info.c_str() + at + 6);
}

PageRaster RenderPdfPage(const std::string& pdf, int page, int dpi) {
    const std::string command = "pdftoppm -q -aa no -aaVector no -r " + std::to_string(dpi) +
                                " -f " + std::to_string(page) + " -l " + std::to_string(page) +
                                " " + Quoted(pdf);
    Pipe pipe(popen(command.c_str(), "r"));
    if (!pipe) return {};
    const std::string data = ReadAll(pipe.get());
    std::size_t at = 2;
    long width = 0, height = 0, maxValue = 0;
    if (data.compare(0, 2, "P6") != 0 || !NextNumber(data, at, width) ||
        !NextNumber(data, at, height) || !NextNumber(data, at, maxValue) || maxValue != 255)
        return {};
    ++at;  // the single white space before the samples
    const std::size_t bytes = static_cast<std::size_t>(width) * height * 3;
    if (width <= 0 || height <= 0 || data.size() - at < bytes) return {};
    PageRaster raster;
    raster.width = static_cast<int>(width);
    raster.height = static_cast<int>(height);
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
            if (x < box.left) box.left = x;
            if (x >= box.right) box.right = x + 1;
            if (y < box.top) box.top = y;
            if (y >= box.bottom) box.bottom = y + 1;
        }
    }
    return box.empty() ? PixelBox{} : box;
}

}  // namespace vxtest

#endif  // !_WIN32

// print_check.cpp - `vexora print --pdf` end to end: prints images of a known pattern to PDF
// files, renders the pages back (tests/support/pdf_pages: poppler's pdftoppm), and checks that
// each page shows the image where the layout puts it.
//
// usage: print_check TOOL WORKDIR   (exit 0 when every check passes)
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "pdf_pages.hpp"
#include "vexora.h"

namespace fs = std::filesystem;

namespace {

int failures = 0;

void Check(bool ok, const std::string& what) {
    if (!ok) {
        std::cerr << "FAILED: " << what << "\n";
        ++failures;
    }
}

struct Rgb {
    int r, g, b;
};

// The test image's colour at (x, y) from the top: never white, different in every pixel.
Rgb Pattern(int x, int y) { return {40 + x * 3, 20 + y * 5, 200 - x}; }

void WriteImage(const std::string& path, int width, int height) {
    const int stride = (width * 3 + 3) & ~3;
    HGLOBAL block = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER) + static_cast<size_t>(stride) * height);
    auto* header = static_cast<BITMAPINFOHEADER*>(GlobalLock(block));
    header->biSize = sizeof(BITMAPINFOHEADER);
    header->biWidth = width;
    header->biHeight = height;
    header->biPlanes = 1;
    header->biBitCount = 24;
    auto* bits = reinterpret_cast<BYTE*>(header + 1);
    for (int y = 0; y < height; ++y) {
        BYTE* row = bits + static_cast<size_t>(height - 1 - y) * stride;
        for (int x = 0; x < width; ++x) {
            const Rgb c = Pattern(x, y);
            row[3 * x] = static_cast<BYTE>(c.b);
            row[3 * x + 1] = static_cast<BYTE>(c.g);
            row[3 * x + 2] = static_cast<BYTE>(c.r);
        }
    }
    GlobalUnlock(block);
    SaveDIB(path.c_str(), block);
    GlobalFree(block);
}

bool Near(int a, double b) { return a >= b - 2 && a <= b + 2; }

int Run(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Quoted(const std::string& s) { return "'" + s + "'"; }

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: print_check TOOL WORKDIR\n";
        return 2;
    }
    const std::string tool = Quoted(argv[1]);
    const fs::path work = fs::absolute(argv[2]);
    fs::create_directories(work);
    setenv("VEXORA_PAPER", "letter", 1);  // 8.5 x 11 inches, whatever the locale
    const std::string wide = (work / "wide.bmp").string(), tall = (work / "tall.bmp").string();
    WriteImage(wide, 60, 40);
    WriteImage(tall, 30, 50);

    // At 100 dpi from the top left, rendered at 100 dpi: the page shows the pixels themselves.
    const std::string actual = (work / "actual.pdf").string();
    fs::remove(actual);
    Check(Run(tool + " print " + Quoted(wide) + " --pdf " + Quoted(actual) + " --dpi 100") == 0, "print at 100 dpi");
    Check(vxtest::PdfPageCount(actual) == 1, "one page at 100 dpi");
    if (const vxtest::PageRaster page = vxtest::RenderPdfPage(actual, 1, 100); !page.empty()) {
        Check(Near(page.width, 850) && Near(page.height, 1100), "a Letter page");
        const vxtest::PixelBox box = vxtest::NonWhiteBounds(page);
        Check(box.left == 0 && box.top == 0 && Near(box.right, 60) && Near(box.bottom, 40), "the image at the top left, 60 x 40");
        int wrong = 0;
        for (int y = 1; y < 39; ++y)
            for (int x = 1; x < 59; ++x) {
                const Rgb want = Pattern(x, y);
                const uint32_t got = page.pixel(x, y);
                if (std::abs(want.r - int(got >> 16)) > 6 || std::abs(want.g - int((got >> 8) & 0xFF)) > 6 ||
                    std::abs(want.b - int(got & 0xFF)) > 6)
                    ++wrong;
            }
        Check(wrong == 0, "the pixels of the image (" + std::to_string(wrong) + " differ)");
    }

    // Two images, fitted and centred, two copies each: four pages, each image as the layout says.
    const std::string fitted = (work / "fitted.pdf").string();
    fs::remove(fitted);
    Check(Run(tool + " print " + Quoted(wide) + " " + Quoted(tall) + " --pdf " + Quoted(fitted) +
              " --fit --centre --copies 2 --dpi 100 --title Check") == 0,
          "print fitted and centred");
    const int pageCount = vxtest::PdfPageCount(fitted);
    Check(pageCount == 4, "four pages for two images of two copies (" + std::to_string(pageCount) + ")");
    if (pageCount == 4) {
        // 0.6 x 0.4 inches fitted to 8.5 x 11: 8.5 x 5.667 inches, 2.667 inches from the top.
        const vxtest::PixelBox wideBox = vxtest::NonWhiteBounds(vxtest::RenderPdfPage(fitted, 2, 50));
        Check(Near(wideBox.left, 0) && Near(wideBox.right, 425) && Near(wideBox.top, 133.3) && Near(wideBox.bottom, 416.7),
              "the wide image fitted across the page, centred vertically");
        // 0.3 x 0.5 inches: 6.6 x 11 inches, 0.95 inches from the left.
        const vxtest::PixelBox tallBox = vxtest::NonWhiteBounds(vxtest::RenderPdfPage(fitted, 4, 50));
        Check(Near(tallBox.top, 0) && Near(tallBox.bottom, 550) && Near(tallBox.left, 47.5) && Near(tallBox.right, 377.5),
              "the tall image fitted down the page, centred horizontally");
    }

    // Failures leave nothing behind and never touch the input.
    const std::string unwritable = (work / "no-such-folder" / "out.pdf").string();
    Check(Run(tool + " print " + Quoted(wide) + " --pdf " + Quoted(unwritable) + " 2>/dev/null") == 1 &&
              !fs::exists(unwritable),
          "an unwritable PDF path fails with nothing written");
    const auto before = fs::file_size(wide);
    Check(Run(tool + " print " + Quoted(wide) + " --pdf " + Quoted(wide) + " 2>/dev/null") == 2 && fs::file_size(wide) == before,
          "the input is never the output");

    if (failures == 0) std::cout << "print_check: all checks passed\n";
    return failures == 0 ? 0 : 1;
}

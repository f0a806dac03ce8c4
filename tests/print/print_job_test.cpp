// print_job_test.cpp - print jobs end to end on the test printer: results, pages, and the box
// the images cover on each page, which must be where print_layout puts them.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "dib_builder.hpp"
#include "pdf_pages.hpp"
#include "print/print_layout.hpp"
#include "print/print_state.hpp"
#include "test_printer.hpp"

namespace {

using Box = std::array<int, 4>;  // left, top, right, bottom in dots
constexpr Box kBlank{INT_MAX, INT_MAX, INT_MIN, INT_MIN};
Box Union(Box a, Box b) { return {std::min(a[0], b[0]), std::min(a[1], b[1]), std::max(a[2], b[2]), std::max(a[3], b[3])}; }
// Pages alike to a dot (poppler rounds an edge by one).
bool Near(const std::vector<Box>& a, const std::vector<Box>& b) {
    for (size_t i = 0; a.size() == b.size() && i < 4 * a.size(); ++i)
        if (std::abs(a[i / 4][i % 4] - b[i / 4][i % 4]) > 1) return false;
    return a.size() == b.size();
}

// The box each printed page covers. Wine's PostScript driver starts a page with "%%Page:" and
// draws a StretchDIBits as "x y translate", "width height scale", then the image; the Linux
// printers' PDF pages are rendered back at the printer's 300 dpi.
#if !defined(_WIN32)
std::vector<Box> PrintedPages(const std::string& path) {
    std::vector<Box> pages;
    for (int page = 1; page <= vxtest::PdfPageCount(path); ++page) {
        const vxtest::PixelBox b = vxtest::NonWhiteBounds(vxtest::RenderPdfPage(path, page, 300));
        pages.push_back(b.empty() ? kBlank : Box{b.left, b.top, b.right, b.bottom});
    }
    return pages;
}
#else
std::vector<Box> PrintedPages(const std::string& path) {
    const vxtest::Bytes bytes = vxtest::ReadFileBytes(path);  // written whole by EndDoc
    const std::string text(bytes.begin(), bytes.end());
    std::vector<Box> pages;
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        int x, y, w, h, image = 0;
        if (text.compare(at + 1, 7, "%%Page:") == 0) pages.push_back(kBlank);
        std::sscanf(text.c_str() + at + 1, "%d %d translate\n%d %d scale\n<<%n", &x, &y, &w, &h, &image);
        if (image > 0 && !pages.empty()) pages.back() = Union(pages.back(), {x, y, x + w, y + h});
    }
    return pages;
}
#endif

class PrintJob : public ::testing::Test {
protected:
    void SetUp() override {
        if (!(dc = CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr))) GTEST_SKIP() << "no printer DCs";
        dots = {double(GetDeviceCaps(dc, LOGPIXELSX)), double(GetDeviceCaps(dc, LOGPIXELSY))};
        page = {0, 0, GetDeviceCaps(dc, HORZRES) / dots.x, GetDeviceCaps(dc, VERTRES) / dots.y};
    }
    // Where the layout puts a 300 x 200 image of `dpi` with the options, moved by (x, y).
    Box Expected(double dpi, int x = 0, int y = 0) const {
        const auto& o = options;
        vx::print::InchRect piece;
        vx::print::IntersectInches(page, vx::print::LayOutPage({300, 200, {dpi, dpi}, page.right, page.bottom, !!o.fitToPage,
            !!o.stretchToPage, !!o.centreHorizontally, !!o.centreVertically}).printed, piece);
        const auto d = vx::print::DevicePixels(piece, dots);
        return {d.left + x, d.top + y, d.right + x, d.bottom + y};
    }
    vxtest::TestPrinter printer;
    HDC dc = nullptr;
    vx::print::Resolution dots;
    vx::print::InchRect page;
    VXPRINTOPTIONS options{1, 1, 1, 1, 1, 0, 0, 1, 1, 1};  // the defaults without the cancel box
    // 300 x 200 pixels of 100 dots per inch (3937 pels per metre).
    vxtest::Block dib{vxtest::BlockFrom(vxtest::With(vxtest::With(vxtest::SeededDib(300, 200, 24), 24, 3937), 28, 3937))};
};

TEST_F(PrintJob, PagesCopiesAndPlacement) {
    // A bitmap's DIB records no resolution: it prints at the printer's, fitted and centred.
    const HBITMAP bitmap = CreateBitmap(300, 200, 1, 32, nullptr);
    EXPECT_EQ(PrintImage(nullptr, dc, bitmap, nullptr, "C:\\scans\\fitted.bmp", nullptr, &options, 0), 0);
    DeleteObject(bitmap);
    EXPECT_PRED2(Near, PrintedPages(printer.output()), std::vector<Box>{Expected(dots.x)});
#if !defined(_WIN32)  // a printer that bands (Wine's does not) prints the same page band by band
    const std::string bands = printer.folder() + "bands.pdf";
    EXPECT_EQ(PrintDIB(nullptr, CreateDCA(nullptr, ("BANDS:" + bands).c_str(), nullptr, nullptr), dib.get(), "", nullptr, &options, 0), 0);
    EXPECT_PRED2(Near, PrintedPages(bands), std::vector<Box>{Expected(100)});
#endif

    // A stretched page; two copies at an offset (two pages started, the second ended by
    // EndPrint: Wine's driver draws both on one page); then, after PrintPageContinue, one more
    // image at 200 dpi on that same page.
    options.fitToPage = 0, options.stretchToPage = 1;
    const Box stretched = Expected(100);
    ASSERT_EQ(PrepareToPrint(nullptr, CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr), &options, "", 3), 0);
    EXPECT_EQ(PrintDIBPage(dib.get(), nullptr, 0, 0, 0, 0), 0);
    options.stretchToPage = options.centreVertically = 0, options.copies = 2;
    vx::print::Job().options = options;
    EXPECT_EQ(PrintDIBPage(dib.get(), nullptr, 0, 1, 40, 30), 0);
    PrintPageContinue();
    const int dpi[2] = {200, 200};
    EXPECT_EQ(PrintDIBPage(dib.get(), dpi, 0, 2, 0, 1500), 0);
    EXPECT_EQ(EndPrint(nullptr), 0);
    EXPECT_PRED2(Near, PrintedPages(printer.output()), (std::vector<Box>{stretched, Union(Expected(100, 40, 30), Expected(200, 0, 1500))}));
}

TEST_F(PrintJob, CancelBoxAndAbort) {
    options.noCancelBox = 0, options.copies = 3;
    const int prepared = PrepareToPrint(nullptr, dc, &options, "D:\\a\\report", 4);
    if (prepared == -5 && !CreateDialogParamA(nullptr, "PRINTCANCELDLGBOX", nullptr, PrintCancelDlgProc, 0))
        return (void)EndPrint(dc);  // a build without dialogs: no cancel box, no job
    ASSERT_EQ(prepared, 0);
    const HWND box = vx::print::Job().cancelBox;
    const auto text = [box] { char t[64] = {}; return std::string(t, GetDlgItemTextA(box, 121, t, sizeof t)); };
    EXPECT_EQ(text(), "report");
    // Cancel, clicked before the page: the first band still draws, then the copies stop.
    PostMessageA(box, WM_COMMAND, IDCANCEL, 0);
    EXPECT_GE(PrintDIBPage(dib.get(), nullptr, 0, 1, 0, 0), SP_ERROR);
    EXPECT_TRUE(vx::print::Job().aborted && !PrintAbortProc(dc, 0));
    EXPECT_EQ(text(), "report  Page: 2 / 4");
    EndPrint(dc);
    EXPECT_FALSE(IsWindow(box));
}

TEST_F(PrintJob, DefaultPrinterAndRefusals) {
    options.showPrintDialog = 0;
    const vxtest::Block rle(vxtest::BlockFrom(vxtest::With(vxtest::SeededDib(8, 8, 8), 16, 1))),
        cut(vxtest::BlockFrom(vxtest::Cut(vxtest::SeededDib(300, 200, 24), 1000)));
    EXPECT_EQ(PrintDIBPage(dib.get(), nullptr, 0, 0, 0, 0), 0);  // no job
    ASSERT_EQ(PrepareToPrint(nullptr, nullptr, &options, "default", 1), 0);
    for (HDIB bad : {HDIB(nullptr), rle.get(), cut.get()}) EXPECT_EQ(PrintDIBPage(bad, nullptr, 0, 0, 0, 0), SP_ERROR);
    // A second PrepareToPrint ends the open job first; an image far off the page prints nothing.
    ASSERT_EQ(PrepareToPrint(nullptr, nullptr, &options, "second", 1), 0);
    EXPECT_EQ(PrintDIBPage(dib.get(), nullptr, 0, 0, INT_MIN, INT_MAX), 0);
    EXPECT_EQ(EndPrint(dc), 0);
    EXPECT_EQ(PrintedPages(printer.output()), std::vector<Box>{kBlank});
    // Default printers that cannot be opened: no comma, 10,000 characters, a 1,000-character name.
    for (const std::string& entry : {std::string("Nothing"), std::string(10000, 'n'), std::string(1000, 'n') + ",WINSPOOL,PDF:/x"})
        EXPECT_EQ(WriteProfileStringA("windows", "device", entry.c_str()) ? PrepareToPrint(nullptr, nullptr, &options, "", 1) : 0,
                  IMGERR_PRINTERDC) << entry.size();
    vx::print::ChosenPrinterName().clear();
}

}  // namespace

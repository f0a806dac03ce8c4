// Printer DCs, their jobs and the printer list. The job order, the device capabilities and
// the EnumPrintersA protocol are Windows' (run under Wine against its PostScript driver too);
// what the pages hold, the bands, the files and the profile are checked on Linux only, by
// reading the PDF back at the printer's resolution.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "pdf_pages.hpp"
#include "test_printer.hpp"
#include "vexora_win32.h"

namespace {

struct DcCloser {
    HDC dc;
    ~DcCloser() {
        if (dc != nullptr) DeleteDC(dc);
    }
};

DOCINFOA Doc(const char* name = "printer test") { return DOCINFOA{sizeof(DOCINFOA), name, nullptr, nullptr, 0}; }

TEST(PrinterDc, JobCallsAnswerInWindowsOrder) {
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    DcCloser dc{CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    EXPECT_EQ(GetObjectType(dc.dc), static_cast<DWORD>(OBJ_DC));
    const DOCINFOA doc = Doc();
    // Outside a job: pages answer as Windows' GDI does, nothing is ended.
    EXPECT_EQ(EndPage(dc.dc), 0);
    EXPECT_EQ(EndDoc(dc.dc), 0);
    EXPECT_EQ(AbortDoc(dc.dc), 0);
    EXPECT_GT(StartDocA(dc.dc, &doc), 0);
    EXPECT_EQ(StartDocA(dc.dc, &doc), 0);  // one job at a time
    EXPECT_GT(StartPage(dc.dc), 0);
    EXPECT_GT(EndPage(dc.dc), 0);
    EXPECT_GT(EndDoc(dc.dc), 0);
    EXPECT_EQ(EndDoc(dc.dc), 0);
    EXPECT_TRUE(std::filesystem::exists(printer.output()));
    // Handles that are no printer's.
    DcCloser memory{CreateCompatibleDC(nullptr)};
    EXPECT_EQ(StartDocA(memory.dc, &doc), 0);
    EXPECT_EQ(EndDoc(memory.dc), 0);
    EXPECT_EQ(StartDocA(nullptr, &doc), SP_ERROR);
    EXPECT_EQ(StartPage(nullptr), SP_ERROR);
    EXPECT_EQ(EndDoc(nullptr), SP_ERROR);
    RECT band{1, 2, 3, 4};
    EXPECT_EQ(Escape(memory.dc, NEXTBAND, 0, nullptr, &band), 0);
    for (int escape : {NEXTBAND, ABORTDOC, SETABORTPROC, QUERYESCSUPPORT, 12345}) {
        EXPECT_EQ(Escape(dc.dc, QUERYESCSUPPORT, sizeof escape, reinterpret_cast<LPCSTR>(&escape), nullptr),
                  escape == 12345 ? 0 : 1) << escape;
    }
    EXPECT_EQ(CreateDCA("WINSPOOL", std::string(1000, 'x').c_str(), nullptr, nullptr), nullptr);
    EXPECT_EQ(CreateDCA("WINSPOOL", "No Such Printer", nullptr, nullptr), nullptr);
}

TEST(PrinterDc, ReportsARasterPrinter) {
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    DcCloser dc{CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    const int dpi = GetDeviceCaps(dc.dc, LOGPIXELSX);
    EXPECT_EQ(dpi, 300);
    EXPECT_EQ(GetDeviceCaps(dc.dc, LOGPIXELSY), dpi);
    EXPECT_EQ(GetDeviceCaps(dc.dc, TECHNOLOGY), DT_RASPRINTER);
    EXPECT_EQ(GetDeviceCaps(dc.dc, RASTERCAPS), 0x2a19);
    EXPECT_EQ(GetDeviceCaps(dc.dc, PLANES), 1);
    EXPECT_EQ(GetDeviceCaps(dc.dc, BITSPIXEL), 32);
    EXPECT_EQ(GetDeviceCaps(dc.dc, NUMCOLORS), -1);
    EXPECT_EQ(GetDeviceCaps(dc.dc, SIZEPALETTE), 0);
    const int width = GetDeviceCaps(dc.dc, HORZRES), height = GetDeviceCaps(dc.dc, VERTRES);
    EXPECT_GT(width, 2400);
    EXPECT_GT(height, width);
    EXPECT_EQ(GetDeviceCaps(dc.dc, PHYSICALWIDTH), width);
    EXPECT_EQ(GetDeviceCaps(dc.dc, PHYSICALHEIGHT), height);
    EXPECT_EQ(GetDeviceCaps(dc.dc, HORZSIZE), width * 254 / (dpi * 10));  // millimetres, truncated
    EXPECT_EQ(GetDeviceCaps(dc.dc, VERTSIZE), height * 254 / (dpi * 10));
}

TEST(PrinterList, EnumPrintersAsksForTheSizeFirst) {
    {
        vxtest::NoPrinters none;
        DWORD needed = 99, returned = 99;
        EXPECT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &returned));
        EXPECT_EQ(needed, 0u);
        EXPECT_EQ(returned, 0u);
    }
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    for (DWORD level : {1u, 2u}) {
        DWORD needed = 0, returned = 99;
        SetLastError(0);
        EXPECT_FALSE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, nullptr, 0, &needed, &returned));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
        EXPECT_EQ(returned, 0u);
        std::vector<BYTE> buffer(needed);
        EXPECT_FALSE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, buffer.data(), needed - 1, &needed, &returned));
        ASSERT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, buffer.data(), needed, &needed, &returned));
        ASSERT_EQ(returned, 1u);
        const char* name = level == 1 ? reinterpret_cast<PRINTER_INFO_1A*>(buffer.data())->pName
                                      : reinterpret_cast<PRINTER_INFO_2A*>(buffer.data())->pPrinterName;
        EXPECT_STREQ(name, printer.name().c_str());
        EXPECT_TRUE(name > reinterpret_cast<char*>(buffer.data()) && name < reinterpret_cast<char*>(buffer.data()) + needed);
    }
    DWORD needed = 0, returned = 0;
    SetLastError(0);
    EXPECT_FALSE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 3, nullptr, 0, &needed, &returned));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_LEVEL));
    char device[300] = {};
    GetProfileStringA("windows", "device", "", device, sizeof device);
    EXPECT_EQ(std::string(device).substr(0, printer.name().size() + 1), printer.name() + ",");
}

#if !defined(_WIN32)

// A bottom-up 24-bit DIB: the left half red, the right half blue, its top row green.
struct TestDib {
    BITMAPINFO info{};
    std::vector<uint8_t> bits;
    TestDib(int width, int height) {
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
        const size_t stride = (static_cast<size_t>(width) * 3 + 3) & ~size_t{3};
        bits.assign(stride * height, 0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                uint8_t* p = &bits[static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 3];
                const bool top = y == height - 1;
                p[0] = !top && x >= width / 2 ? 255 : 0;
                p[1] = top ? 255 : 0;
                p[2] = !top && x < width / 2 ? 255 : 0;
            }
    }
    int paint(HDC dc, int x, int y, int w, int h, int sx, int sy, int sw, int sh) const {
        return StretchDIBits(dc, x, y, w, h, sx, sy, sw, sh, bits.data(), &info, DIB_RGB_COLORS, SRCCOPY);
    }
};

// The rasteriser may round an edge that falls on a fraction of a point by one dot.
void ExpectBox(const vxtest::PixelBox& actual, const vxtest::PixelBox& expected) {
    EXPECT_NEAR(actual.left, expected.left, 1);
    EXPECT_NEAR(actual.top, expected.top, 1);
    EXPECT_NEAR(actual.right, expected.right, 1);
    EXPECT_NEAR(actual.bottom, expected.bottom, 1);
}

TEST(PrinterPages, ImagesLandOnTheDotsAsked) {
    vxtest::NoPrinters scope;
    const std::string pdf = scope.folder() + "page.pdf";
    DcCloser dc{CreateDCA(nullptr, ("PDF:" + pdf).c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    const TestDib dib(40, 30);
    const DOCINFOA doc = Doc();
    ASSERT_GT(StartDocA(dc.dc, &doc), 0);
    ASSERT_GT(StartPage(dc.dc), 0);
    EXPECT_EQ(dib.paint(dc.dc, 300, 600, 400, 300, 0, 0, 40, 30), 30);
    // Mirrored horizontally, from the window origin the job sets.
    SetWindowOrgEx(dc.dc, -1000, -1500, nullptr);
    EXPECT_EQ(dib.paint(dc.dc, 200, 0, -200, 150, 0, 0, 40, 30), 30);
    SetWindowOrgEx(dc.dc, 0, 0, nullptr);
    // Run-length encoded: a 4 x 2 RLE8 DIB, its bottom row red (index 1), its top row blue.
    struct {
        BITMAPINFOHEADER header{sizeof(BITMAPINFOHEADER), 4, 2, 1, 8, BI_RLE8, 8, 0, 0, 3, 0};
        RGBQUAD colours[3] = {{0, 0, 0, 0}, {0, 0, 255, 0}, {255, 0, 0, 0}};
    } rle;
    const uint8_t stream[8] = {4, 1, 0, 0, 4, 2, 0, 1};
    EXPECT_EQ(StretchDIBits(dc.dc, 1500, 600, 400, 200, 0, 0, 4, 2, stream, reinterpret_cast<BITMAPINFO*>(&rle),
                            DIB_RGB_COLORS, SRCCOPY), 2);
    EXPECT_GT(EndPage(dc.dc), 0);
    EXPECT_FALSE(std::filesystem::exists(pdf));  // written whole at EndDoc
    ASSERT_GT(EndDoc(dc.dc), 0);
    ASSERT_EQ(vxtest::PdfPageCount(pdf), 1);
    const vxtest::PageRaster page = vxtest::RenderPdfPage(pdf);
    ASSERT_FALSE(page.empty());
    const int width = GetDeviceCaps(dc.dc, HORZRES);
    EXPECT_EQ(page.width, width);
    // Each source pixel covers 10 x 10 dots; the top row is green; red left, blue right.
    EXPECT_EQ(page.pixel(305, 605), 0x00FF00u);
    EXPECT_EQ(page.pixel(305, 615), 0xFF0000u);
    EXPECT_EQ(page.pixel(695, 895), 0x0000FFu);
    EXPECT_EQ(page.pixel(300, 599), 0xFFFFFFu);
    EXPECT_EQ(page.pixel(700, 900), 0xFFFFFFu);
    EXPECT_EQ(page.pixel(1005, 1530), 0x0000FFu);  // mirrored: blue on the left
    EXPECT_EQ(page.pixel(1195, 1530), 0xFF0000u);
    EXPECT_EQ(page.pixel(1505, 695), 0x0000FFu);
    EXPECT_EQ(page.pixel(1895, 705), 0xFF0000u);
    ExpectBox(vxtest::NonWhiteBounds(page), {300, 600, 1900, 1650});
}

TEST(PrinterPages, BandingPrinterHandsOutClippedBands) {
    vxtest::NoPrinters scope;
    const std::string pdf = scope.folder() + "bands.pdf";
    for (const char* kind : {"BANDS:", "PDF:"}) {
        DcCloser dc{CreateDCA("WINSPOOL", (kind + pdf).c_str(), nullptr, nullptr)};
        ASSERT_NE(dc.dc, nullptr);
        const bool banding = (GetDeviceCaps(dc.dc, RASTERCAPS) & RC_BANDING) != 0;
        EXPECT_EQ(banding, kind[0] == 'B');
        const int width = GetDeviceCaps(dc.dc, HORZRES), height = GetDeviceCaps(dc.dc, VERTRES);
        const TestDib dib(8, 8);
        const DOCINFOA doc = Doc();
        ASSERT_GT(StartDocA(dc.dc, &doc), 0);
        std::vector<RECT> bands;
        for (int copy = 0; copy < 2; ++copy) {
            StartPage(dc.dc);
            for (RECT band; Escape(dc.dc, NEXTBAND, 0, nullptr, &band) > 0 && band.bottom > band.top;) {
                bands.push_back(band);
                // The whole page, clipped to the band; on the first page in the first band only.
                if (copy == 1 || bands.size() == 1) dib.paint(dc.dc, 0, 0, width, height, 0, 0, 8, 8);
            }
        }
        EndPage(dc.dc);
        ASSERT_GT(EndDoc(dc.dc), 0);
        ASSERT_EQ(bands.size(), banding ? 8u : 2u) << kind;
        EXPECT_EQ(bands[0].top, 0);
        EXPECT_EQ(bands.back().bottom, height);
        EXPECT_EQ(vxtest::PdfPageCount(pdf), 2);
        const vxtest::PixelBox first = vxtest::NonWhiteBounds(vxtest::RenderPdfPage(pdf, 1));
        ExpectBox(first, {0, 0, width, static_cast<int>(bands[0].bottom)});
    }
}

TEST(PrinterPages, FailedAndAbortedJobsLeaveNoFile) {
    vxtest::NoPrinters scope;
    const std::string pdf = scope.folder() + "job.pdf";
    const DOCINFOA doc = Doc();
    const auto leftovers = [&] { return std::distance(std::filesystem::directory_iterator(scope.folder()), {}); };
    const auto baseline = leftovers();
    {
        DcCloser dc{CreateDCA(nullptr, ("PDF:" + pdf).c_str(), nullptr, nullptr)};
        ASSERT_GT(StartDocA(dc.dc, &doc), 0);
        StartPage(dc.dc);
        EXPECT_GT(AbortDoc(dc.dc), 0);
        EXPECT_EQ(EndDoc(dc.dc), 0);
        ASSERT_GT(StartDocA(dc.dc, &doc), 0);  // a DC deleted mid-job
        StartPage(dc.dc);
    }
    EXPECT_EQ(leftovers(), baseline);
    DcCloser dc{CreateDCA(nullptr, ("PDF:" + pdf).c_str(), nullptr, nullptr)};
    SetAbortProc(dc.dc, [](HDC, int) -> BOOL { return FALSE; });
    ASSERT_GT(StartDocA(dc.dc, &doc), 0);
    StartPage(dc.dc);
    EXPECT_EQ(EndPage(dc.dc), SP_APPABORT);
    EXPECT_EQ(EndDoc(dc.dc), 0);
    EXPECT_EQ(leftovers(), baseline);
    DcCloser nowhere{CreateDCA(nullptr, ("PS:" + scope.folder() + "missing/folder/job.ps").c_str(), nullptr, nullptr)};
    ASSERT_NE(nowhere.dc, nullptr);
    EXPECT_EQ(StartDocA(nowhere.dc, &doc), SP_ERROR);
    EXPECT_EQ(EndDoc(nowhere.dc), 0);
}

TEST(UserProfile, DevicesAndDefaultRoundTrip) {
    vxtest::NoPrinters scope;
    const auto start = std::chrono::steady_clock::now();
    DWORD needed = 1, returned = 1;
    EXPECT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, nullptr, 1, nullptr, 0, &needed, &returned));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));  // no server, no wait
    char text[20000];
    EXPECT_EQ(GetProfileStringA("windows", "device", "none", text, sizeof text), 4u);
    const std::string longValue(10000, 'v');
    EXPECT_TRUE(WriteProfileStringA("devices", "Files", ("WINSPOOL,PDF:" + scope.folder() + "f.pdf").c_str()));
    EXPECT_TRUE(WriteProfileStringA("devices", "No Comma", "justadriver"));
    EXPECT_TRUE(WriteProfileStringA("devices", "Long", longValue.c_str()));
    EXPECT_TRUE(WriteProfileStringA("windows", "device", "Files,WINSPOOL,PDF:x"));
    EXPECT_TRUE(WriteProfileStringA("other", "key", "value"));
    EXPECT_TRUE(WriteProfileStringA("devices", "Long", nullptr));
    EXPECT_FALSE(WriteProfileStringA(nullptr, "key", "value"));
    EXPECT_EQ(GetProfileStringA("devices", nullptr, "", text, sizeof text), 15u);
    EXPECT_EQ(std::memcmp(text, "Files\0No Comma\0", 16), 0);
    EXPECT_EQ(GetProfileStringA("other", "KEY", "", text, sizeof text), 5u);
    EXPECT_TRUE(WriteProfileStringA("other", nullptr, nullptr));
    EXPECT_EQ(GetProfileStringA("other", "key", "", text, sizeof text), 0u);
    ASSERT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 2, reinterpret_cast<BYTE*>(text), sizeof text, &needed, &returned));
    ASSERT_EQ(returned, 2u);
    const auto* info = reinterpret_cast<PRINTER_INFO_2A*>(text);
    EXPECT_STREQ(info[0].pPortName, ("PDF:" + scope.folder() + "f.pdf").c_str());
    EXPECT_EQ(info[0].Attributes, static_cast<DWORD>(PRINTER_ATTRIBUTE_LOCAL | PRINTER_ATTRIBUTE_DEFAULT));
    EXPECT_STREQ(info[1].pDriverName, "justadriver");
    EXPECT_STREQ(info[1].pPortName, "");
    DcCloser dc{CreateDCA("WINSPOOL", "files", nullptr, nullptr)};
    EXPECT_NE(dc.dc, nullptr);
    EXPECT_EQ(CreateDCA("WINSPOOL", "No Comma", nullptr, nullptr), nullptr);
}

#endif  // !_WIN32

}  // namespace

// Printer DCs, their jobs and the printer list. The job order, the device capabilities and
// the EnumPrintersA protocol are Windows' (run under Wine against its PostScript driver too);
// what the pages hold, the bands, the files and the profile are checked on Linux only, by
// reading the PDF back at the printer's resolution.
#include <gtest/gtest.h>

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
    ~DcCloser() { DeleteDC(dc); }
};

const DOCINFOA kDoc{sizeof(DOCINFOA), "printer test", nullptr, nullptr, 0};

TEST(PrinterDc, JobCallsAnswerInWindowsOrder) {
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    DcCloser dc{CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    EXPECT_EQ(GetObjectType(dc.dc), static_cast<DWORD>(OBJ_DC));
    DcCloser memory{CreateCompatibleDC(nullptr)};
    // Outside a job, on DCs that are no printer's, on handles that are no DC.
    for (HDC other : {dc.dc, memory.dc}) {
        EXPECT_EQ(EndPage(other), 0);
        EXPECT_EQ(EndDoc(other), 0);
        EXPECT_EQ(AbortDoc(other), 0);
    }
    EXPECT_EQ(StartDocA(memory.dc, &kDoc), 0);
    EXPECT_EQ(StartDocA(nullptr, &kDoc), SP_ERROR);
    EXPECT_EQ(StartPage(nullptr), SP_ERROR);
    EXPECT_EQ(EndDoc(nullptr), SP_ERROR);
    EXPECT_GT(StartDocA(dc.dc, &kDoc), 0);
    EXPECT_EQ(StartDocA(dc.dc, &kDoc), 0);  // one job at a time
    EXPECT_GT(StartPage(dc.dc), 0);
    EXPECT_GT(EndPage(dc.dc), 0);
    EXPECT_GT(EndDoc(dc.dc), 0);
    EXPECT_EQ(EndDoc(dc.dc), 0);
    EXPECT_TRUE(std::filesystem::exists(printer.output()));
    for (int escape : {NEXTBAND, ABORTDOC, SETABORTPROC, QUERYESCSUPPORT, 12345})
        EXPECT_EQ(Escape(dc.dc, QUERYESCSUPPORT, sizeof escape, reinterpret_cast<LPCSTR>(&escape), nullptr),
                  escape == 12345 ? 0 : 1) << escape;
    EXPECT_EQ(CreateDCA("WINSPOOL", std::string(1000, 'x').c_str(), nullptr, nullptr), nullptr);
}

TEST(PrinterDc, ReportsARasterPrinter) {
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    DcCloser dc{CreateDCA("WINSPOOL", printer.name().c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    const int width = GetDeviceCaps(dc.dc, HORZRES), height = GetDeviceCaps(dc.dc, VERTRES);
    EXPECT_GT(height, width);
    const std::pair<int, int> answers[] = {
        {LOGPIXELSX, 300}, {LOGPIXELSY, 300}, {TECHNOLOGY, DT_RASPRINTER}, {RASTERCAPS, 0x2a19}, {PLANES, 1},
        {BITSPIXEL, 32}, {NUMCOLORS, -1}, {SIZEPALETTE, 0}, {PHYSICALWIDTH, width}, {PHYSICALHEIGHT, height},
        {HORZSIZE, width * 254 / 3000}, {VERTSIZE, height * 254 / 3000}};  // whole millimetres
    for (const auto& [index, answer] : answers) EXPECT_EQ(GetDeviceCaps(dc.dc, index), answer) << index;
}

TEST(PrinterList, EnumPrintersAsksForTheSizeFirst) {
    DWORD needed = 99, returned = 99;
    {
        vxtest::NoPrinters none;
        EXPECT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &returned));
        EXPECT_EQ(needed + returned, 0u);
    }
    vxtest::TestPrinter printer;
    ASSERT_TRUE(printer);
    for (DWORD level : {1u, 2u, 3u}) {
        SetLastError(0);
        EXPECT_FALSE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, nullptr, 0, &needed, &returned));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(level == 3 ? ERROR_INVALID_LEVEL : ERROR_INSUFFICIENT_BUFFER));
        if (level == 3) break;
        std::vector<BYTE> buffer(needed);
        EXPECT_FALSE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, buffer.data(), needed - 1, &needed, &returned));
        ASSERT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, level, buffer.data(), needed, &needed, &returned));
        ASSERT_EQ(returned, 1u);
        const char* name = level == 1 ? reinterpret_cast<PRINTER_INFO_1A*>(buffer.data())->pName
                                      : reinterpret_cast<PRINTER_INFO_2A*>(buffer.data())->pPrinterName;
        EXPECT_STREQ(name, printer.name().c_str());
        EXPECT_LT(name, reinterpret_cast<char*>(buffer.data()) + needed);
    }
    char device[300] = {};  // the default printer: "name,driver,port"
    EXPECT_EQ(std::string(device, GetProfileStringA("windows", "device", "", device, sizeof device)).find(printer.name() + ","), 0u);
}

#if !defined(_WIN32)

// A bottom-up 24-bit DIB: the left half red, the right half blue, its top row green.
struct TestDib {
    BITMAPINFO info{{sizeof(BITMAPINFOHEADER), 0, 0, 1, 24, BI_RGB, 0, 0, 0, 0, 0}, {}};
    std::vector<uint8_t> bits;
    TestDib(int width, int height) : bits(static_cast<size_t>((width * 3 + 3) & ~3) * height) {
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = height;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const uint32_t colour = y == height - 1 ? 0x00FF00 : x < width / 2 ? 0xFF0000 : 0x0000FF;
                std::memcpy(&bits[static_cast<size_t>(y * ((width * 3 + 3) & ~3) + x * 3)], &colour, 3);
            }
    }
    int paint(HDC dc, int x, int y, int w, int h, int sw, int sh) const {
        return StretchDIBits(dc, x, y, w, h, 0, 0, sw, sh, bits.data(), &info, DIB_RGB_COLORS, SRCCOPY);
    }
};

TEST(PrinterPages, ImagesLandOnTheDotsAsked) {
    vxtest::NoPrinters scope;
    const std::string pdf = scope.folder() + "page.pdf";
    DcCloser dc{CreateDCA(nullptr, ("PDF:" + pdf).c_str(), nullptr, nullptr)};
    ASSERT_NE(dc.dc, nullptr);
    const TestDib dib(40, 30);
    ASSERT_GT(StartDocA(dc.dc, &kDoc), 0);
    ASSERT_GT(StartPage(dc.dc), 0);
    EXPECT_EQ(dib.paint(dc.dc, 300, 600, 400, 300, 40, 30), 30);
    SetWindowOrgEx(dc.dc, -1000, -1500, nullptr);  // mirrored, from the window origin the job sets
    EXPECT_EQ(dib.paint(dc.dc, 200, 0, -200, 150, 40, 30), 30);
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
    ASSERT_EQ(page.width, GetDeviceCaps(dc.dc, HORZRES));
    // Each source pixel covers 10 x 10 dots (5 x 5 mirrored, 100 x 100 run-length encoded).
    const std::pair<std::pair<int, int>, uint32_t> dots[] = {
        {{305, 605}, 0x00FF00}, {{305, 615}, 0xFF0000}, {{695, 895}, 0x0000FF}, {{1005, 1530}, 0x0000FF},
        {{1195, 1530}, 0xFF0000}, {{1505, 695}, 0x0000FF}, {{1895, 705}, 0xFF0000}};
    for (const auto& [at, colour] : dots) EXPECT_EQ(page.pixel(at.first, at.second), colour) << at.first;
    EXPECT_TRUE(vxtest::NonWhiteBounds(page).near({300, 600, 1900, 1650}));
}

TEST(PrinterPages, BandingPrinterHandsOutClippedBands) {
    vxtest::NoPrinters scope;
    const std::string pdf = scope.folder() + "bands.pdf";
    for (const char* kind : {"BANDS:", "PDF:"}) {
        DcCloser dc{CreateDCA("WINSPOOL", (kind + pdf).c_str(), nullptr, nullptr)};
        ASSERT_NE(dc.dc, nullptr);
        const bool banding = kind[0] == 'B';
        EXPECT_EQ((GetDeviceCaps(dc.dc, RASTERCAPS) & RC_BANDING) != 0, banding);
        const int width = GetDeviceCaps(dc.dc, HORZRES), height = GetDeviceCaps(dc.dc, VERTRES);
        const TestDib dib(8, 8);
        ASSERT_GT(StartDocA(dc.dc, &kDoc), 0);
        std::vector<RECT> bands;
        for (int copy = 0; copy < 2; ++copy) {
            StartPage(dc.dc);
            for (RECT band; Escape(dc.dc, NEXTBAND, 0, nullptr, &band) > 0 && band.bottom > band.top;) {
                bands.push_back(band);
                // The whole page, clipped to the band; on the first page in the first band only.
                if (copy == 1 || bands.size() == 1) dib.paint(dc.dc, 0, 0, width, height, 8, 8);
            }
        }
        ASSERT_GT(EndDoc(dc.dc), 0);
        ASSERT_EQ(bands.size(), banding ? 8u : 2u) << kind;
        EXPECT_EQ(bands[banding ? 3 : 0].bottom, height);
        EXPECT_EQ(vxtest::PdfPageCount(pdf), 2);
        const vxtest::PixelBox first = vxtest::NonWhiteBounds(vxtest::RenderPdfPage(pdf, 1));
        EXPECT_TRUE(first.near({0, 0, width, static_cast<int>(bands[0].bottom)})) << kind;
    }
}

TEST(PrinterPages, FailedAndAbortedJobsLeaveNoFile) {
    vxtest::NoPrinters scope;
    const std::string device = "PDF:" + scope.folder() + "job.pdf";
    const auto files = [&] { return std::distance(std::filesystem::directory_iterator(scope.folder()), {}); };
    const auto before = files();
    {
        DcCloser dc{CreateDCA(nullptr, device.c_str(), nullptr, nullptr)};
        ASSERT_GT(StartDocA(dc.dc, &kDoc), 0);
        StartPage(dc.dc);
        EXPECT_GT(AbortDoc(dc.dc), 0);
        EXPECT_EQ(EndDoc(dc.dc), 0);
        SetAbortProc(dc.dc, [](HDC, int) -> BOOL { return FALSE; });
        ASSERT_GT(StartDocA(dc.dc, &kDoc), 0);
        StartPage(dc.dc);
        EXPECT_EQ(EndPage(dc.dc), SP_APPABORT);
        EXPECT_EQ(EndDoc(dc.dc), 0);
        SetAbortProc(dc.dc, nullptr);
        ASSERT_GT(StartDocA(dc.dc, &kDoc), 0);  // then the DC is deleted mid-job
        StartPage(dc.dc);
    }
    EXPECT_EQ(files(), before);
    DcCloser nowhere{CreateDCA(nullptr, ("PS:" + scope.folder() + "missing/job.ps").c_str(), nullptr, nullptr)};
    EXPECT_EQ(StartDocA(nowhere.dc, &kDoc), SP_ERROR);
}

TEST(UserProfile, DevicesAndDefaultRoundTrip) {
    vxtest::NoPrinters scope;
    DWORD needed = 1, returned = 1;
    char text[20000];
    EXPECT_EQ(GetProfileStringA("windows", "device", "none", text, sizeof text), 4u);
    const std::string port = "PDF:" + scope.folder() + "f.pdf";
    EXPECT_TRUE(WriteProfileStringA("devices", "Files", ("WINSPOOL," + port).c_str()));
    EXPECT_TRUE(WriteProfileStringA("devices", "No Comma", "justadriver"));
    EXPECT_TRUE(WriteProfileStringA("devices", "Long", std::string(10000, 'v').c_str()));
    EXPECT_TRUE(WriteProfileStringA("devices", "long", nullptr));  // names are found in any case
    EXPECT_TRUE(WriteProfileStringA("windows", "device", "Files,WINSPOOL,PDF:x"));
    EXPECT_FALSE(WriteProfileStringA(nullptr, "key", "value"));
    EXPECT_EQ(GetProfileStringA("devices", nullptr, "", text, sizeof text), 15u);
    EXPECT_EQ(std::memcmp(text, "Files\0No Comma\0", 16), 0);
    ASSERT_TRUE(EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 2, reinterpret_cast<BYTE*>(text), sizeof text, &needed, &returned));
    ASSERT_EQ(returned, 2u);
    const auto* info = reinterpret_cast<PRINTER_INFO_2A*>(text);
    EXPECT_STREQ(info[0].pPortName, port.c_str());
    EXPECT_EQ(info[0].Attributes, static_cast<DWORD>(PRINTER_ATTRIBUTE_LOCAL | PRINTER_ATTRIBUTE_DEFAULT));
    EXPECT_STREQ(info[1].pDriverName, "justadriver");
    DcCloser dc{CreateDCA("WINSPOOL", "files", nullptr, nullptr)};
    EXPECT_NE(dc.dc, nullptr);
    EXPECT_EQ(CreateDCA("WINSPOOL", "No Comma", nullptr, nullptr), nullptr);
}

#endif  // !_WIN32

}  // namespace

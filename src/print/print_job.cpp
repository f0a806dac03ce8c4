// print_job.cpp - the print-job exports: PrepareToPrint, PrintDIBPage, PrintPageContinue,
// EndPrint, PrintDIB and PrintImage.
//
// A job is module-wide (print_state.hpp): PrepareToPrint opens it on a printer DC - the
// caller's, the one the print dialog makes, or the default printer of the profile - shows the
// cancel box with its abort procedure (print_cancel.cpp) and starts the document; each
// PrintDIBPage lays one image out on a page (print_layout.hpp) and sends it band by band,
// once per copy; EndPrint ends the last page and the document and lets go of everything.
//
// Pages are never ended where they are printed: the copies of an image each start a page,
// and the page in progress is ended by the next PrintDIBPage (unless PrintPageContinue said
// to go on drawing on it) or by EndPrint. A printer that bands hands the page out in bands
// (NEXTBAND); every other printer gets the whole page as one band. Between bands the job runs
// the abort procedure, so a click on Cancel stops the bands and copies still to come and makes
// the page end with the abort escape.
//
// The results are the job's own codes, never the module error code. Decisions of ours (also
// documented with the exports in vexora.h):
//   - A second PrepareToPrint while a job is open first ends that job (page and document) and
//     lets go of what the job opened itself (its memory DC, a printer DC it opened, the cancel
//     box); a printer DC the caller gave stays the caller's.
//   - A PrepareToPrint that fails once it has a printer DC (no cancel box, no abort procedure,
//     no document) destroys the cancel box and deletes the DCs it opened itself, so the job is
//     closed; a DC the caller gave is left to the caller (EndPrint still deletes it).
//   - The print dialog failing to open (DialogBoxParamA's -1) counts as no printer DC.
//   - The default printer's DC is made with the name as kept (at most 100 characters).
//   - PrintDIBPage refuses a DIB it cannot print - a null or stale handle, a block shorter
//     than its header, colour table and rows, or rows stored any way but BI_RGB (RLE, bit
//     fields) - with SP_ERROR (-1) before it touches the job: no page is ended or started.
//   - Offsets are negated as 32-bit words (wrapping); copies of 0 or less start no page.
#include <cstdint>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "library.hpp"
#include "outcome.hpp"
#include "print/print_layout.hpp"
#include "print/print_state.hpp"

namespace vx::print {
namespace {

constexpr int kNoRaster = 1;               // the printer cannot take bitmaps
constexpr int kNoCancelBox = -5;
constexpr int kDocumentNotStarted = -1;
constexpr int kProfileEntryLimit = 127;    // characters of "device" read from the profile
constexpr VXPRINTOPTIONS kDefaultOptions = VXPRINTOPTIONS_DEFAULTS;

int Negated(int value) { return static_cast<int>(0u - static_cast<unsigned>(value)); }

// The DC of the profile's default printer, its name kept as the chosen printer.
HDC OpenDefaultPrinter() {
    char entry[kProfileEntryLimit + 1] = {};
    GetProfileStringA("windows", "device", "", entry, sizeof entry);
    const DeviceEntry device = SplitDeviceEntry(entry);
    if (device.noName) return nullptr;
    std::string& name = ChosenPrinterName();
    name = device.name.substr(0, kPrinterNameLimit);
    return CreateDCA(device.driver.empty() ? nullptr : device.driver.c_str(), name.c_str(),
                     device.port.empty() ? nullptr : device.port.c_str(), nullptr);
}

// Lets go of what the job opened itself: the cancel box, a memory DC, a printer DC it opened.
void ReleaseJobObjects(PrintJob& job) {
    if (job.cancelBox != nullptr) DestroyWindow(job.cancelBox);
    if (job.dc != nullptr && job.dc != job.printerDC) DeleteDC(job.dc);
    if (job.ownsPrinterDC && job.printerDC != nullptr) DeleteDC(job.printerDC);
    job.cancelBox = nullptr;
    job.dc = job.printerDC = nullptr;
    job.ownsPrinterDC = false;
}

// Ends the page in progress and the document: -1 when either is refused.
int EndDocument(HDC dc) {
    const bool pageEnded = EndPage(dc) >= 0;
    const bool documentEnded = EndDoc(dc) >= 0;
    return pageEnded && documentEnded ? 0 : -1;
}

// The printer DC of a new job: the caller's, the default printer's, or the print dialog's.
// Empty: the dialog was cancelled.
std::optional<HDC> PrinterForJob(HWND owner, HDC given, PrintJob& job) {
    if (given != nullptr) return given;
    HDC opened = nullptr;
    if (job.options.showPrintDialog == 0) {
        opened = OpenDefaultPrinter();
    } else {
        const INT_PTR answer = DialogBoxParamA(LibraryInstance(), "PRINTPAGE", owner, PrintPageProc, 0);
        if (answer == 0) return std::nullopt;
        if (answer != -1) opened = reinterpret_cast<HDC>(answer);
    }
    job.ownsPrinterDC = opened != nullptr;
    return opened;
}

// The steps of PrepareToPrint that need undoing when they fail: the DC to draw on, the cancel
// box and abort procedure, the document.
int OpenJob(HWND owner, PrintJob& job) {
    HDC printer = job.printerDC;
    const bool monochrome = GetDeviceCaps(printer, PLANES) == 1 && GetDeviceCaps(printer, BITSPIXEL) == 1;
    job.dc = job.options.useMemoryDC != 0 && !monochrome ? CreateCompatibleDC(printer) : printer;
    if (job.dc == nullptr) return kDocumentNotStarted;
    const LPARAM title = reinterpret_cast<LPARAM>(job.title.c_str());
    if (job.options.noCancelBox != 1) {
        job.cancelBox = CreateDialogParamA(LibraryInstance(), "PRINTCANCELDLGBOX", owner, PrintCancelDlgProc, title);
        if (job.cancelBox == nullptr) return kNoCancelBox;
        UpdateWindow(job.cancelBox);
        const int installed = SetAbortProc(job.dc, PrintAbortProc);
        if (installed < 0) return installed;
        SendMessageA(job.cancelBox, kSetCancelText, 0, title);
    }
    // The record's size is the structure's (20 bytes in 32-bit programs); the type asks for
    // application banding.
    DOCINFOA document = {};
    document.cbSize = sizeof document;
    document.lpszDocName = job.title.c_str();
    document.lpszDatatype = "Tiff Document";
    document.fwType = DI_APPBANDING;
    if (StartDocA(job.dc, &document) <= 0) return kDocumentNotStarted;
    return 0;
}

VX_EXACT_DOUBLES int Prepare(HWND owner, HDC given, VXPRINTOPTIONS* options, LPCSTR documentName, int pageCount) {
    PrintJob& job = Job();
    if (job.dc != nullptr) {
        EndDocument(job.dc);
        ReleaseJobObjects(job);
    }
    job.title = DocumentTitle(documentName);
    job.pageCount = pageCount;
    job.continuePage = true;
    job.aborted = false;
    job.lastError = 0;
    job.options = options != nullptr ? *options : kDefaultOptions;

    const std::optional<HDC> printer = PrinterForJob(owner, given, job);
    if (!printer) return IMGERR_NOTHINGTODO;
    if (*printer == nullptr) return IMGERR_PRINTERDC;
    if (!(GetDeviceCaps(*printer, RASTERCAPS) & RC_BITBLT)) {
        DeleteDC(*printer);
        job.ownsPrinterDC = false;
        return kNoRaster;
    }
    job.printerDC = *printer;
    if (const int refused = OpenJob(owner, job); refused != 0) {
        if (!job.ownsPrinterDC) job.printerDC = nullptr;  // the caller's: not ours to delete
        if (job.dc == given) job.dc = nullptr;
        ReleaseJobObjects(job);
        return refused;
    }
    job.dpiX = GetDeviceCaps(job.dc, LOGPIXELSX);
    job.dpiY = GetDeviceCaps(job.dc, LOGPIXELSY);
    job.pageWidthInches = GetDeviceCaps(job.dc, HORZRES) / job.dpiX;
    job.pageHeightInches = GetDeviceCaps(job.dc, VERTRES) / job.dpiY;
    SetMapMode(job.dc, MM_TEXT);
    if (options != nullptr) *options = job.options;
    return 0;
}

// A DIB the job can hand to StretchDIBits: its header and bits, read from a locked block
// that holds all its header promises.
struct PrintableDib {
    BlockLock lock;
    DibLayout layout;
    const BITMAPINFO* info() const { return reinterpret_cast<const BITMAPINFO*>(lock.data()); }
    const void* bits() const { return lock.data() + layout.pixelOffset; }
};

std::optional<PrintableDib> OpenDib(HDIB dib) {
    PrintableDib printable{BlockLock(dib), {}};
    if (!printable.lock) return std::nullopt;
    const std::optional<DibLayout> layout = InspectDib(printable.lock.data(), printable.lock.size());
    if (!layout || layout->compressed() || !layout->holdsPixels()) return std::nullopt;
    printable.layout = *layout;
    return printable;
}

// Draws the part of the image that falls on one piece of the page.
void DrawPiece(const PrintJob& job, const PrintableDib& dib, const PageLayout& layout, const InchRect& piece,
               HPALETTE palette) {
    const PixelRect source = SourcePixels(piece, layout);
    const PixelRect device = DevicePixels(piece, {job.dpiX, job.dpiY});
    const platform::WaitCursor wait;
    const PaletteSelection selection(job.dc, palette, FALSE);
    // Rows are counted from the bottom of the DIB.
    const int sourceY = static_cast<int>(static_cast<uint32_t>(dib.layout.height) - static_cast<uint32_t>(source.bottom));
    StretchDIBits(job.dc, device.left, device.top, device.width(), device.height(), source.left, sourceY,
                  source.width(), source.height(), dib.bits(), dib.info(), DIB_RGB_COLORS, SRCCOPY);
}

// One band: the abort procedure, the piece of the image in the band, the abort procedure.
void PrintBand(PrintJob& job, const PrintableDib& dib, const PageLayout& layout, const InchRect& band,
               HPALETTE palette) {
    if (job.cancelBox != nullptr) PrintAbortProc(job.dc, 0);
    InchRect piece;
    if (IntersectInches(band, layout.printed, piece)) DrawPiece(job, dib, layout, piece, palette);
    if (job.cancelBox != nullptr) PrintAbortProc(job.dc, 0);
}

// Sends one copy of the page: band by band on a banding printer, else as one band.
void PrintCopy(PrintJob& job, const PrintableDib& dib, const PageLayout& layout, HPALETTE palette) {
    if (!(GetDeviceCaps(job.dc, RASTERCAPS) & RC_BANDING)) {
        if (job.lastError == 0 && !job.aborted)
            PrintBand(job, dib, layout, {0, 0, job.pageWidthInches, job.pageHeightInches}, palette);
        return;
    }
    const auto nextBand = [&job](RECT& band) {
        band = {};
        const int answer = Escape(job.dc, NEXTBAND, 0, nullptr, &band);
        if (answer < 0) job.lastError = answer;
    };
    RECT band;
    nextBand(band);
    while (band.left < band.right && band.top < band.bottom && job.lastError == 0 && !job.aborted) {
        PrintBand(job, dib, layout, BandInches(band.left, band.top, band.right, band.bottom, {job.dpiX, job.dpiY}),
                  palette);
        nextBand(band);
    }
}

int PrintPage(HDIB hDIB, const int* resolution, int page, int xOffset, int yOffset) {
    PrintJob& job = Job();
    if (job.dc == nullptr) return 0;
    const std::optional<PrintableDib> dib = OpenDib(hDIB);
    if (!dib) return SP_ERROR;

    if (!job.continuePage) EndPage(job.dc);
    job.continuePage = false;
    if (job.options.printAllPages != 0 && job.cancelBox != nullptr) {
        const std::string text = PageText(job.title, page, job.pageCount);
        SendMessageA(job.cancelBox, kSetCancelText, 0, reinterpret_cast<LPARAM>(text.c_str()));
    }
    SetMapMode(job.dc, MM_TEXT);
    SetWindowOrgEx(job.dc, Negated(xOffset), Negated(yOffset), nullptr);
    job.lastError = 0;

    const bool info = !dib->layout.coreHeader;
    const uint8_t* header = dib->lock.data();
    PageRequest request;
    request.widthPixels = static_cast<double>(dib->layout.width);
    request.heightPixels = static_cast<double>(dib->layout.rows);
    request.resolution = ImageResolution({job.dpiX, job.dpiY}, job.options.useImageDpi != 0, resolution,
                                         info ? LoadI32(header + bih::kXPels) : 0, info ? LoadI32(header + bih::kYPels) : 0);
    request.pageWidthInches = job.pageWidthInches;
    request.pageHeightInches = job.pageHeightInches;
    request.fit = job.options.fitToPage != 0;
    request.stretch = job.options.stretchToPage != 0;
    request.centreHorizontally = job.options.centreHorizontally != 0;
    request.centreVertically = job.options.centreVertically != 0;
    const PageLayout layout = LayOutPage(request);
    job.imageWidthInches = layout.imageWidthInches;
    job.imageHeightInches = layout.imageHeightInches;

    {
        const OwnedObject<HPALETTE> palette(CreateDIBPalette(hDIB));
        for (int copy = 0; copy < job.options.copies && !job.aborted; ++copy) {
            if (StartPage(job.dc) <= 0) {
                job.aborted = true;
                break;
            }
            PrintCopy(job, *dib, layout, palette.get());
        }
    }
    if (job.aborted) {
        job.lastError = 0;
        const int answer = Escape(job.dc, ABORTDOC, 0, nullptr, nullptr);
        if (answer < 0) job.lastError = answer;
    }
    return job.lastError;
}

int End(HDC printer) {
    PrintJob& job = Job();
    const int result = job.dc != nullptr ? EndDocument(job.dc) : 0;
    if (printer != nullptr) DeleteDC(printer);
    if (job.dc == printer) job.dc = nullptr;  // deleted as the given DC
    if (job.printerDC == printer || (!job.ownsPrinterDC && job.printerDC != job.dc)) job.printerDC = nullptr;
    if (job.printerDC == job.dc) job.ownsPrinterDC = true;  // the job context, deleted once below
    ReleaseJobObjects(job);
    return result;
}

}  // namespace
}  // namespace vx::print

using vx::NegativeResult;
using vx::Outcome;
using vx::RunExport;

VXAPI int VXCALL PrepareToPrint(HWND hWnd, HDC hPrinterDC, VXPRINTOPTIONS* options, LPCSTR docName, int pageCount) {
    return RunExport(NegativeResult{}, [&]() -> Outcome<int> {
        return vx::print::Prepare(hWnd, hPrinterDC, options, docName, pageCount);
    });
}

VXAPI int VXCALL PrintDIBPage(HDIB hDIB, const int* resolution, DWORD, int page, int xOffset, int yOffset) {
    return RunExport(NegativeResult{}, [&]() -> Outcome<int> {
        return vx::print::PrintPage(hDIB, resolution, page, xOffset, yOffset);
    });
}

VXAPI void VXCALL PrintPageContinue(void) { vx::print::Job().continuePage = true; }

VXAPI int VXCALL EndPrint(HDC hPrinterDC) { return vx::print::End(hPrinterDC); }

VXAPI int VXCALL PrintDIB(HWND hWnd, HDC hPrinterDC, HDIB hDIB, LPCSTR docName, const int* resolution,
                          VXPRINTOPTIONS* options, DWORD reserved) {
    int result = PrepareToPrint(hWnd, hPrinterDC, options, docName, 1);
    if (result == 0) result = PrintDIBPage(hDIB, resolution, reserved, 0, 0, 0);
    const int ended = EndPrint(hPrinterDC);
    return result != 0 ? result : ended;
}

VXAPI int VXCALL PrintImage(HWND hWnd, HDC hPrinterDC, HBITMAP hBitmap, HPALETTE hPalette, LPCSTR docName,
                            const int* resolution, VXPRINTOPTIONS* options, DWORD reserved) {
    const vx::OwnedBlock dib(ConvertBitmapToDIB(hBitmap, hPalette));
    if (!dib) return 1;
    return PrintDIB(hWnd, hPrinterDC, dib.get(), docName, resolution, options, reserved);
}

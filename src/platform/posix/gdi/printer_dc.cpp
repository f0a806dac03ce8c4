// printer_dc.cpp - printer DCs of the Linux GDI: CreateDCA, the job calls StartDocA, StartPage,
// EndPage, EndDoc, AbortDoc and SetAbortProc, Escape (QUERYESCSUPPORT, NEXTBAND, ABORTDOC,
// SETABORTPROC), and for the rest of the GDI PrinterCaps, PaintDibOnPrinter and the
// PrinterDevice's clean-up (printer_device.hpp).
//
// A job is a cairo document (PDF, or PostScript for "PS:" printers) written through a
// temporary file beside its destination; EndDoc renames it into place (or, for a CUPS queue,
// submits it and removes it), so that a job that is aborted, fails, or whose DC is deleted
// leaves no file behind. A destination that cannot be written makes StartDocA fail (SP_ERROR)
// before anything is drawn; a write that fails later (a full disk) makes EndDoc fail.
//
// The answers to calls out of order are those of Windows' GDI as Wine gives them: StartPage
// answers 1 on any DC, outside a job too (it starts a page only inside one); EndPage, EndDoc
// and AbortDoc outside a job, and StartDocA inside one, answer 0; a handle that is not a DC
// answers SP_ERROR. EndPage inside a job with no page open answers 1 and emits nothing.
//
// Bands (NEXTBAND): a printer that does not band hands out the whole page once; the banding
// test printer ("BANDS:") four horizontal strips, top first, each clipping what is drawn to
// it. After the last one an empty rectangle says the page is done, and the page is ended then,
// so that the next StartPage starts a new one. The abort procedure is called (with the table
// unlocked: it runs the caller's message loop) at each band, page and at EndDoc; a FALSE
// answer aborts the job and the call answers SP_APPABORT.
//
// Run-length encoded DIBs are expanded to the DIB they encode before they are painted (the
// stream's length is the header's biSizeImage, trusted as Windows trusts it).
//
// Painting: the DIB's rectangle becomes one cairo image of the covered pixels, rows converted
// straight into its buffer by a converter chosen once per depth, and is painted with the
// NEAREST filter under a matrix that maps it onto the destination rectangle (negative scales
// mirror), so every source pixel lands on the device rectangle it covers.
#include <cairo-pdf.h>
#include <cairo-ps.h>
#include <cairo.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "formats/rle_codec.hpp"
#include "platform/posix/gdi/pixel_formats.hpp"
#include "platform/posix/gdi/printer_device.hpp"
#include "platform/posix/printers.hpp"

namespace vx::posix::gdi {
namespace {

constexpr int kBands = 4;
// Cairo's largest image side.
constexpr int kLargestImage = 32767;

std::atomic<int> jobNumbers{0};

cairo_status_t WriteToJobFile(void* closure, const unsigned char* data, unsigned int length) {
    auto* printer = static_cast<PrinterDevice*>(closure);
    while (length > 0 && printer->file >= 0) {
        const ssize_t written = write(printer->file, data, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            printer->writeFailed = true;
            return CAIRO_STATUS_WRITE_ERROR;
        }
        data += written;
        length -= static_cast<unsigned int>(written);
    }
    return CAIRO_STATUS_SUCCESS;
}

// A temporary file for a job: beside `destination` for files (so that the rename is atomic),
// made with the permissions any new file gets (the umask's); in the temporary folder, private,
// for CUPS queues.
int MakeTemporary(const std::string& destination, bool beside, std::string& name) {
    if (!beside) {
        const char* folder = std::getenv("TMPDIR");
        name = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/vexora-job-XXXXXX";
        return mkostemp(name.data(), O_CLOEXEC);
    }
    static std::atomic<unsigned> serial{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        char suffix[48];
        std::snprintf(suffix, sizeof suffix, ".part-%ld-%u", static_cast<long>(getpid()), ++serial);
        name = destination + suffix;
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0 || errno != EEXIST) return file;
    }
    return -1;
}

bool OpenJob(PrinterDevice& printer, const DOCINFOA& info) {
    const PrinterTarget& target = printer.target;
    const bool toFile = target.kind != PrinterTarget::Kind::Cups;
    printer.destination = info.lpszOutput != nullptr && *info.lpszOutput != '\0' && toFile ? info.lpszOutput : target.where;
    printer.title = info.lpszDocName != nullptr ? info.lpszDocName : "";
    printer.file = MakeTemporary(printer.destination, toFile, printer.temporary);
    if (printer.file < 0) {
        printer.temporary.clear();
        return false;
    }
    printer.writeFailed = false;
    const double points = 72.0 / target.dpi;
    const double width = target.width * points, height = target.height * points;
    printer.surface = target.kind == PrinterTarget::Kind::PostScript
                          ? cairo_ps_surface_create_for_stream(WriteToJobFile, &printer, width, height)
                          : cairo_pdf_surface_create_for_stream(WriteToJobFile, &printer, width, height);
    if (cairo_surface_status(printer.surface) == CAIRO_STATUS_SUCCESS && !printer.title.empty() &&
        target.kind != PrinterTarget::Kind::PostScript)
        cairo_pdf_surface_set_metadata(printer.surface, CAIRO_PDF_METADATA_TITLE, printer.title.c_str());
    printer.cairo = cairo_create(printer.surface);
    cairo_scale(printer.cairo, points, points);
    printer.pageOpen = false;
    printer.band = 0;
    if (cairo_status(printer.cairo) != CAIRO_STATUS_SUCCESS) {
        printer.discard();
        return false;
    }
    return true;
}

void OpenPage(PrinterDevice& printer) {
    printer.pageOpen = true;
    printer.band = 0;
    printer.bandRect = RECT{0, 0, 0, 0};
}

void ClosePage(PrinterDevice& printer) {
    if (!printer.pageOpen) return;
    cairo_show_page(printer.cairo);
    printer.pageOpen = false;
    printer.bandRect = RECT{0, 0, 0, 0};
}

// Finishes the document and puts it where it goes; false (and nothing left) on failure.
bool CloseJob(PrinterDevice& printer) {
    ClosePage(printer);
    cairo_destroy(std::exchange(printer.cairo, nullptr));
    cairo_surface_finish(printer.surface);
    bool written = cairo_surface_status(printer.surface) == CAIRO_STATUS_SUCCESS && !printer.writeFailed;
    cairo_surface_destroy(std::exchange(printer.surface, nullptr));
    written = fsync(printer.file) == 0 && written;
    written = close(std::exchange(printer.file, -1)) == 0 && written;
    if (written) {
        if (printer.target.kind == PrinterTarget::Kind::Cups) {
            written = SubmitToCups(printer.target.where, printer.temporary, printer.title);
            unlink(printer.temporary.c_str());
        } else {
            written = std::rename(printer.temporary.c_str(), printer.destination.c_str()) == 0;
        }
    }
    if (!written) unlink(printer.temporary.c_str());
    printer.temporary.clear();
    return written;
}

// The printer DC `dc` and its printer, the table locked: `work(context, printer or null)`;
// `invalid` for a handle that is not a DC.
template <typename Work>
int OnPrinter(HDC dc, int invalid, Work&& work) {
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return invalid;
        return work(*context, context->printer.get());
    } catch (...) {
        return SP_ERROR;
    }
}

// Calls the job's abort procedure, if any, without the table lock; true to go on. A FALSE
// answer throws the job away (when the DC is still the same printer's).
bool AskToContinue(HDC dc) {
    ABORTPROC procedure = nullptr;
    std::shared_ptr<PrinterDevice> printer;
    OnPrinter(dc, 0, [&](DeviceContext& context, PrinterDevice* device) {
        if (device != nullptr && device->inJob()) {
            procedure = device->abortProcedure;
            printer = context.printer;
        }
        return 0;
    });
    if (procedure == nullptr || procedure(dc, 0)) return true;
    OnPrinter(dc, 0, [&](DeviceContext& context, PrinterDevice*) {
        if (context.printer == printer) printer->discard();
        return 0;
    });
    return false;
}

template <int Bits>
void ConvertRow(const uint8_t* row, int first, int count, const uint32_t* table, const ChannelMasks& masks,
                uint32_t* out) {
    if constexpr (Bits == 24) {
        const uint8_t* p = row + static_cast<ptrdiff_t>(first) * 3;
        for (int i = 0; i < count; ++i, p += 3) out[i] = uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
    } else if constexpr (Bits == 32) {
        const uint8_t* p = row + static_cast<ptrdiff_t>(first) * 4;
        for (int i = 0; i < count; ++i, p += 4) out[i] = uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
    } else if constexpr (Bits == 8) {
        for (int i = 0; i < count; ++i) out[i] = table[row[first + i]];
    } else if constexpr (Bits == 4 || Bits == 1) {
        constexpr int perByte = 8 / Bits;
        constexpr unsigned mask = (1u << Bits) - 1;
        for (int i = 0; i < count; ++i) {
            const int x = first + i;
            const int shift = (perByte - 1 - x % perByte) * Bits;
            out[i] = table[(row[x / perByte] >> shift) & mask];
        }
    } else {  // 16 bits, and 32 bits with channel masks
        constexpr int bytes = Bits == -16 ? 2 : 4;
        const uint8_t* p = row + static_cast<ptrdiff_t>(first) * bytes;
        for (int i = 0; i < count; ++i, p += bytes) {
            uint32_t pixel = 0;
            std::memcpy(&pixel, p, bytes);
            const COLORREF colour = DecodeChannels(masks, pixel);
            out[i] = uint32_t{GetRValue(colour)} << 16 | uint32_t{GetGValue(colour)} << 8 | GetBValue(colour);
        }
    }
}

using DibRowReader = void (*)(const uint8_t*, int, int, const uint32_t*, const ChannelMasks&, uint32_t*);

DibRowReader ConverterFor(const Surface& dib) {
    switch (dib.bitsPerPixel) {
        case 1: return ConvertRow<1>;
        case 4: return ConvertRow<4>;
        case 8: return ConvertRow<8>;
        case 16: return ConvertRow<-16>;
        case 24: return ConvertRow<24>;
        case 32: return dib.redMask | dib.greenMask | dib.blueMask ? ConvertRow<-32> : ConvertRow<32>;
        default: return nullptr;
    }
}

// The pixels [low, high) a side covers of [0, limit), and the image edge its first
// coordinate maps from: [from, to) covers from..to-1, a reversed pair (to, from].
struct Span {
    int64_t low, high, edgeFrom, edgeTo;
};
Span Cover(int64_t from, int64_t to, int64_t limit) {
    const bool reversed = to < from;
    Span span{reversed ? to + 1 : from, reversed ? from + 1 : to, reversed ? from + 1 : from, reversed ? to + 1 : to};
    span.low = std::max<int64_t>(span.low, 0);
    span.high = std::min<int64_t>(span.high, limit);
    return span;
}

}  // namespace

PrinterDevice::~PrinterDevice() { discard(); }

void PrinterDevice::discard() {
    if (file >= 0) close(std::exchange(file, -1));  // what cairo still writes goes nowhere
    if (cairo != nullptr) cairo_destroy(std::exchange(cairo, nullptr));
    if (surface != nullptr) cairo_surface_destroy(std::exchange(surface, nullptr));
    if (!temporary.empty()) unlink(temporary.c_str());
    temporary.clear();
    pageOpen = false;
}

int PrinterCaps(const PrinterDevice& printer, int index) {
    constexpr int kRasterCaps = RC_BITBLT | RC_BITMAP64 | 0x0010 /* GDI20_OUTPUT */ | RC_DIBTODEV | RC_STRETCHBLT |
                                RC_STRETCHDIB;
    const PrinterTarget& t = printer.target;
    switch (index) {
        case DRIVERVERSION: return 1;
        case TECHNOLOGY: return DT_RASPRINTER;
        case HORZSIZE: return static_cast<int>(int64_t{t.width} * 254 / (int64_t{t.dpi} * 10));  // millimetres
        case VERTSIZE: return static_cast<int>(int64_t{t.height} * 254 / (int64_t{t.dpi} * 10));
        case HORZRES:
        case PHYSICALWIDTH: return t.width;
        case VERTRES:
        case PHYSICALHEIGHT: return t.height;
        case BITSPIXEL: return 32;
        case PLANES: return 1;
        case NUMBRUSHES:
        case NUMPENS:
        case NUMCOLORS: return -1;
        case RASTERCAPS: return printer.bands() ? kRasterCaps | RC_BANDING : kRasterCaps;
        case LOGPIXELSX:
        case LOGPIXELSY: return t.dpi;
        default: return 0;  // SIZEPALETTE, COLORRES, PHYSICALOFFSETX/Y, ...
    }
}

bool PaintDibOnPrinter(PrinterDevice& printer, const DcState& state, const Surface& dib, RECT dest, RECT source) {
    if (!printer.inJob()) return true;  // nothing to draw on outside a job
    if (!printer.pageOpen) OpenPage(printer);
    const DibRowReader convert = ConverterFor(dib);
    if (convert == nullptr) return false;
    if (dest.left == dest.right || dest.top == dest.bottom) return true;
    const Span columns = Cover(source.left, source.right, dib.width);
    const Span rows = Cover(source.top, source.bottom, dib.height);
    if (columns.low >= columns.high || rows.low >= rows.high) return true;
    const int64_t width = columns.high - columns.low, height = rows.high - rows.low;
    if (width > kLargestImage || height > kLargestImage) return false;

    uint32_t table[256] = {};
    for (int i = 0; i < dib.colourCount && i < 256; ++i) {
        const RGBQUAD& q = dib.colours[i];
        table[i] = uint32_t{q.rgbRed} << 16 | uint32_t{q.rgbGreen} << 8 | q.rgbBlue;
    }
    ChannelMasks masks{dib.redMask, dib.greenMask, dib.blueMask};
    if ((masks.red | masks.green | masks.blue) == 0)
        masks = dib.bitsPerPixel == 16 ? ChannelMasks{0x7C00, 0x03E0, 0x001F} : ChannelMasks{0xFF0000, 0x00FF00, 0x0000FF};
    cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                                        static_cast<int>(height));
    if (cairo_surface_status(image) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(image);
        return false;
    }
    unsigned char* pixels = cairo_image_surface_get_data(image);
    const int stride = cairo_image_surface_get_stride(image);
    for (int64_t y = 0; y < height; ++y)
        convert(dib.bits + (rows.low + y) * dib.stride, static_cast<int>(columns.low), static_cast<int>(width), table,
                masks, reinterpret_cast<uint32_t*>(pixels + y * stride));
    cairo_surface_mark_dirty(image);

    cairo_t* c = printer.cairo;
    cairo_save(c);
    cairo_new_path(c);
    const bool banded = printer.bandRect.right > printer.bandRect.left;
    const RECT& page = banded ? printer.bandRect : RECT{0, 0, printer.target.width, printer.target.height};
    cairo_rectangle(c, page.left, page.top, page.right - page.left, page.bottom - page.top);
    cairo_clip(c);
    if (state.clip) {
        for (const RECT& r : *state.clip) cairo_rectangle(c, r.left, r.top, r.right - r.left, r.bottom - r.top);
        cairo_clip(c);  // an empty region leaves nothing visible
    }
    const double scaleX = double(dest.right - dest.left) / double(columns.edgeTo - columns.edgeFrom);
    const double scaleY = double(dest.bottom - dest.top) / double(rows.edgeTo - rows.edgeFrom);
    cairo_translate(c, dest.left + double(columns.low - columns.edgeFrom) * scaleX,
                    dest.top + double(rows.low - rows.edgeFrom) * scaleY);
    cairo_scale(c, scaleX, scaleY);
    cairo_set_source_surface(c, image, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(c), CAIRO_FILTER_NEAREST);
    cairo_pattern_set_extend(cairo_get_source(c), CAIRO_EXTEND_NONE);
    cairo_rectangle(c, 0, 0, double(width), double(height));
    cairo_fill(c);
    cairo_restore(c);
    cairo_surface_destroy(image);
    return cairo_status(c) == CAIRO_STATUS_SUCCESS;
}

bool ExpandRleForPrinter(HDC dc, const BITMAPINFO* info, const void* bits, UINT usage,
                         std::vector<uint8_t>& expandedInfo, std::vector<uint8_t>& expandedBits) {
    if (info == nullptr || bits == nullptr) return false;
    const BITMAPINFOHEADER& h = info->bmiHeader;
    const bool rle8 = h.biCompression == BI_RLE8 && h.biBitCount == 8;
    const bool rle4 = h.biCompression == BI_RLE4 && h.biBitCount == 4;
    if ((!rle8 && !rle4) || h.biSize < sizeof(BITMAPINFOHEADER) || h.biWidth <= 0 || h.biHeight <= 0) return false;
    if (!OnPrinter(dc, 0, [](DeviceContext&, PrinterDevice* printer) { return printer != nullptr; })) return false;
    const uint64_t stride = (uint64_t(h.biWidth) * h.biBitCount + 31) / 32 * 4;
    if (stride * uint64_t(h.biHeight) > (uint64_t{1} << 30)) return false;
    const uint32_t entries = h.biClrUsed != 0 && h.biClrUsed < (1u << h.biBitCount) ? h.biClrUsed : 1u << h.biBitCount;
    const auto* header = reinterpret_cast<const uint8_t*>(info);
    const size_t entrySize = usage == DIB_PAL_COLORS ? sizeof(WORD) : sizeof(RGBQUAD);
    expandedInfo.assign(header, header + h.biSize + entries * entrySize);
    auto* expanded = reinterpret_cast<BITMAPINFOHEADER*>(expandedInfo.data());
    expanded->biCompression = BI_RGB;
    expanded->biSizeImage = 0;
    expandedBits.assign(stride * uint64_t(h.biHeight), 0);
    const vx::formats::RleTarget target{expandedBits.data(), stride, h.biWidth, h.biHeight};
    const auto* stream = static_cast<const uint8_t*>(bits);
    if (rle8) vx::formats::DecodeRle8(stream, h.biSizeImage, target);
    else vx::formats::DecodeRle4(stream, h.biSizeImage, target);
    return true;
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HDC CreateDCA(LPCSTR driver, LPCSTR device, LPCSTR port, const void* /*devMode*/) {
    try {
        if (driver != nullptr && strcasecmp(driver, "DISPLAY") == 0) return LendDC(nullptr, std::nullopt);
        if (driver != nullptr && strcasecmp(driver, "WINSPOOL") != 0) return nullptr;
        PrinterTarget target;
        if (device == nullptr || !ResolvePrinter(device, port, target)) return nullptr;
        auto context = std::make_unique<DeviceContext>(ObjectKind::DC);
        context->state = InitialState(ObjectKind::DC);
        context->printer = std::make_shared<PrinterDevice>(std::move(target));
        return static_cast<HDC>(Objects().add(std::move(context)));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI int StartDocA(HDC dc, const DOCINFOA* info) {
    return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer == nullptr || printer->inJob() || info == nullptr) return 0;
        if (!OpenJob(*printer, *info)) return SP_ERROR;
        return ++jobNumbers;
    });
}

VXPLATFORMAPI int StartPage(HDC dc) {
    return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer != nullptr && printer->inJob() && !printer->pageOpen) OpenPage(*printer);
        return 1;
    });
}

VXPLATFORMAPI int EndPage(HDC dc) {
    const int state = OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        return printer == nullptr || !printer->inJob() ? 0 : printer->pageOpen ? 2 : 1;
    });
    if (state != 2) return state;
    if (!AskToContinue(dc)) return SP_APPABORT;
    return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer == nullptr || !printer->inJob()) return 0;
        ClosePage(*printer);
        return cairo_status(printer->cairo) == CAIRO_STATUS_SUCCESS ? 1 : SP_ERROR;
    });
}

VXPLATFORMAPI int EndDoc(HDC dc) {
    const int state = OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        return printer != nullptr && printer->inJob() ? 1 : 0;
    });
    if (state != 1) return state;
    if (!AskToContinue(dc)) return SP_APPABORT;
    return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer == nullptr || !printer->inJob()) return 0;
        return CloseJob(*printer) ? 1 : SP_ERROR;
    });
}

VXPLATFORMAPI int AbortDoc(HDC dc) {
    return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer == nullptr || !printer->inJob()) return 0;
        printer->discard();
        return 1;
    });
}

VXPLATFORMAPI int SetAbortProc(HDC dc, ABORTPROC procedure) {
    return OnPrinter(dc, 0, [&](DeviceContext&, PrinterDevice* printer) {
        if (printer != nullptr) printer->abortProcedure = procedure;
        return 1;
    });
}

VXPLATFORMAPI int Escape(HDC dc, int escape, int inputSize, LPCSTR input, LPVOID output) {
    const bool isPrinter = OnPrinter(dc, 0, [](DeviceContext&, PrinterDevice* printer) { return printer != nullptr; });
    if (!isPrinter) return 0;
    switch (escape) {
        case QUERYESCSUPPORT: {
            int asked = 0;
            if (input == nullptr || inputSize < static_cast<int>(sizeof asked)) return 0;
            std::memcpy(&asked, input, sizeof asked);
            switch (asked) {
                case NEWFRAME: case ABORTDOC: case NEXTBAND: case SETABORTPROC: case STARTDOC: case ENDDOC:
                case QUERYESCSUPPORT: return 1;
                default: return 0;
            }
        }
        case ABORTDOC: return AbortDoc(dc) > 0 ? 1 : SP_ERROR;
        case SETABORTPROC: {
            ABORTPROC procedure = nullptr;
            if (input != nullptr) std::memcpy(&procedure, &input, sizeof procedure);
            return SetAbortProc(dc, procedure);
        }
        case NEXTBAND: {
            if (output == nullptr) return SP_ERROR;
            if (!AskToContinue(dc)) return SP_APPABORT;
            return OnPrinter(dc, SP_ERROR, [&](DeviceContext&, PrinterDevice* printer) {
                if (printer == nullptr || !printer->inJob()) return SP_ERROR;
                if (!printer->pageOpen) OpenPage(*printer);
                const int width = printer->target.width, height = printer->target.height;
                const int count = printer->bands() ? kBands : 1;
                RECT band{0, 0, 0, 0};
                if (printer->band < count) {
                    band = RECT{0, static_cast<LONG>(int64_t{height} * printer->band / count), width,
                                static_cast<LONG>(int64_t{height} * (printer->band + 1) / count)};
                    ++printer->band;
                    if (printer->bands()) printer->bandRect = band;
                } else {
                    ClosePage(*printer);  // the page is done
                }
                std::memcpy(output, &band, sizeof band);
                return 1;
            });
        }
        default: return 0;
    }
}

}  // extern "C"

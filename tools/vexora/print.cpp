// print.cpp - `vexora print FILE...` and `vexora printers`.
//
// Exports RunPrint and RunPrinters (commands.hpp).
//
// `print` runs one job through the library: PrepareToPrint with the printer's context (or, with
// no printer named, the default printer of the profile), one PrintDIBPage per image, then
// EndPrint, which ends the last page and the document and deletes the context. The layout is
// the library's: the options block says fit, stretch, centring and copies, and the resolution
// is the one given with --dpi, else the image's own (from its header), else the printer's.
// The tool never shows the print dialog or the cancel box (it runs in a console), and it asks
// for the image's own resolution always, since that is what a user means by printing an image
// "at its size". Images are loaded expanded (the job refuses run-length compressed DIBs).
// Copies are whole pages: the tool prints each image once per copy, since the job's copies
// option starts the pages of the copies without ending them, and printers then put every copy
// on one sheet.
//
// A PDF file is the printer "PDF:" + path of the Linux library, which writes the file whole at
// the end of the job (nothing is left behind when the job fails). Windows has no such printer
// here: there --pdf is refused with a hint to print to a PDF printer by name.
//
// `printers` lists the printers as the print dialog sees them (EnumPrintersA, level 1) and the
// default one (the profile's "device" entry of section "windows", up to its first comma).
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "arguments.hpp"
#include "commands.hpp"

namespace vexora_tool {

namespace {

namespace fs = std::filesystem;

std::string ErrorText(int code) {
    char text[64] = {};
    return ImgErrorString(text, code);
}

// The library's words for what PrepareToPrint answered.
std::string PrepareFailure(int result) {
    switch (result) {
    case IMGERR_PRINTERDC: return ErrorText(IMGERR_PRINTERDC);
    case 1: return ErrorText(IMGERR_NORASTER);
    case -1: return ErrorText(IMGERR_STARTDOC);
    default: return result < 0 ? ErrorText(IMGERR_SETABORTPROC) : ErrorText(result);
    }
}

std::string DefaultPrinter() {
    char device[128] = {};
    GetProfileStringA("windows", "device", "", device, sizeof device);
    std::string name(device);
    return name.substr(0, name.find(','));
}

struct PrintRequest {
    std::vector<std::string> files;
    std::string printer, pdf, title;
    bool fit = false, stretch = false, centre = false;
    int copies = 1;
    int dpi[2] = {0, 0};
    bool dpiGiven = false;
};

PrintRequest ParsePrint(const std::vector<std::string>& args) {
    PrintRequest request;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == "--printer" && hasValue) {
            request.printer = args[++i];
        } else if (arg == "--pdf" && hasValue) {
            request.pdf = args[++i];
        } else if (arg == "--title" && hasValue) {
            request.title = args[++i];
        } else if (arg == "--copies" && hasValue) {
            request.copies = static_cast<int>(ParseNumber(args[++i], "--copies", 1, 999));
        } else if (arg == "--dpi" && hasValue) {
            const auto [x, y] = SplitOnce(args[++i], ',');
            request.dpi[0] = static_cast<int>(ParseNumber(x, "--dpi", 1, 100000));
            request.dpi[1] = y.empty() ? request.dpi[0] : static_cast<int>(ParseNumber(y, "--dpi", 1, 100000));
            request.dpiGiven = true;
        } else if (arg == "--fit") {
            request.fit = true;
        } else if (arg == "--stretch") {
            request.stretch = true;
        } else if (arg == "--centre" || arg == "--center") {
            request.centre = true;
        } else if (arg.rfind("--", 0) == 0) {
            throw UsageError("unknown option '" + arg + "' of print (or it lacks its value)");
        } else {
            request.files.push_back(arg);
        }
    }
    if (request.files.empty()) throw UsageError("name the files to print");
    if (!request.printer.empty() && !request.pdf.empty()) throw UsageError("choose either --printer or --pdf");
    if (request.fit && request.stretch) throw UsageError("choose either --fit or --stretch");
    for (const std::string& file : request.files) {
        if (!request.pdf.empty() && SameFile(file, request.pdf))
            throw UsageError("the output '" + request.pdf + "' is the input file; choose another name");
    }
    if (request.title.empty()) request.title = fs::path(request.files.front()).filename().string();
    return request;
}

// The printer's context, or null for the profile's default printer.
HDC OpenPrinter(const PrintRequest& request) {
    if (!request.pdf.empty()) {
#if defined(_WIN32)
        throw UsageError("--pdf writes PDF files on Linux; on Windows name a PDF printer with --printer");
#else
        const std::string device = "PDF:" + fs::absolute(request.pdf).string();
        HDC dc = CreateDCA("WINSPOOL", device.c_str(), nullptr, nullptr);
        if (dc == nullptr) throw OperationFailed("cannot write '" + request.pdf + "': " + ErrorText(IMGERR_PRINTERDC));
        return dc;
#endif
    }
    if (request.printer.empty()) return nullptr;
    HDC dc = CreateDCA("WINSPOOL", request.printer.c_str(), nullptr, nullptr);
    if (dc == nullptr) throw OperationFailed("no printer named '" + request.printer + "': " + ErrorText(IMGERR_PRINTERDC));
    return dc;
}

}  // namespace

int RunPrint(const std::vector<std::string>& args) {
    for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
            std::cout << kPrintHelp;
            return kExitSuccess;
        }
    }
    const PrintRequest request = ParsePrint(args);
    std::vector<Dib> images;
    for (const std::string& file : request.files) images.push_back(LoadImageFile(file));

    VXPRINTOPTIONS options = VXPRINTOPTIONS_DEFAULTS;
    options.showPrintDialog = 0;
    options.noCancelBox = 1;
    options.centreVertically = options.centreHorizontally = request.centre ? 1 : 0;
    options.fitToPage = request.fit ? 1 : 0;
    options.stretchToPage = request.stretch ? 1 : 0;
    options.copies = 1;
    options.useImageDpi = 1;

    HDC printer = OpenPrinter(request);
    const int prepared = PrepareToPrint(nullptr, printer, &options, request.title.c_str(),
                                        static_cast<int>(images.size()));
    if (prepared != 0) {
        // A job that got as far as a context is closed by EndPrint, which also deletes the
        // context; a device that cannot draw raster images has had its context deleted already.
        if (prepared != 1 && prepared != IMGERR_PRINTERDC) EndPrint(printer);
        std::string where = request.printer.empty() && request.pdf.empty()
                                ? " (no default printer: name one with --printer, or write a file with --pdf)"
                                : "";
        throw OperationFailed("cannot start the job: " + PrepareFailure(prepared) + where);
    }
    // Each copy is a page of its own: PrintDIBPage ends the page before it. The job's own copies
    // option starts pages without ending them, which most printers fold into a single page.
    int failed = 0;
    for (size_t page = 0; page < images.size() && failed == 0; ++page) {
        for (int copy = 0; copy < request.copies && failed == 0; ++copy) {
            failed = PrintDIBPage(images[page].get(), request.dpiGiven ? request.dpi : nullptr, 0,
                                  static_cast<int>(page), 0, 0);
        }
    }
    const int ended = EndPrint(printer);
    if (failed != 0) throw OperationFailed("printing stopped: " + ErrorText(IMGERR_NEXTBAND));
    if (ended != 0) throw OperationFailed("cannot end the job: " + ErrorText(IMGERR_STARTDOC));
    const std::string target = !request.pdf.empty() ? request.pdf
                               : !request.printer.empty() ? request.printer
                                                          : DefaultPrinter();
    std::cout << "printed " << images.size() << (images.size() == 1 ? " page" : " pages");
    if (request.copies > 1) std::cout << " x " << request.copies << " copies";
    std::cout << " to " << target << "\n";
    return kExitSuccess;
}

int RunPrinters(const std::vector<std::string>& args) {
    if (!args.empty()) {
        if (args.front() == "--help" || args.front() == "-h") {
            std::cout << kPrintersHelp;
            return kExitSuccess;
        }
        throw UsageError("printers takes no arguments");
    }
    const DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    DWORD needed = 0, count = 0;
    EnumPrintersA(flags, nullptr, 1, nullptr, 0, &needed, &count);
    std::vector<BYTE> buffer(needed);
    count = 0;
    if (needed != 0 && !EnumPrintersA(flags, nullptr, 1, buffer.data(), needed, &needed, &count))
        throw OperationFailed("cannot list the printers");
    const std::string defaultName = DefaultPrinter();
    const auto* printers = reinterpret_cast<const PRINTER_INFO_1A*>(buffer.data());
    if (count == 0) std::cout << "no printers installed\n";
    for (DWORD i = 0; i < count; ++i) {
        const std::string name = printers[i].pName ? printers[i].pName : "";
        std::cout << name << (name == defaultName ? "  (default)" : "") << "\n";
    }
    return kExitSuccess;
}

}  // namespace vexora_tool

// info.cpp - `vexora info FILE...`: what the library reads from each file's header. Only
// regular files are opened (a device or FIFO would never end); a colour fax set's listing is
// bounded, since a set may claim billions of pages.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <span>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "arguments.hpp"
#include "commands.hpp"
#include "metafile_records.hpp"

namespace vexora_tool {
namespace {

const char* CompressionName(DWORD compression) {
    switch (compression) {
    case 0: return "none (BI_RGB)";
    case 1: return "run-length, 8 bits (BI_RLE8)";
    case 2: return "run-length, 4 bits (BI_RLE4)";
    case 3: return "bit fields (BI_BITFIELDS)";
    default: return "unknown";
    }
}

// The first bytes of the file, to tell the header's kind as stored (the library widens core
// headers, so its own header no longer shows it).
std::string HeaderKind(const std::string& path, bool& hasFileHeader) {
    std::ifstream in(path, std::ios::binary);
    unsigned char bytes[18] = {};
    in.read(reinterpret_cast<char*>(bytes), sizeof bytes);
    hasFileHeader = bytes[0] == 'B' && bytes[1] == 'M';
    const unsigned char* h = bytes + (hasFileHeader ? 14 : 0);
    const unsigned size = h[0] | h[1] << 8 | h[2] << 16 | unsigned(h[3]) << 24;
    if (size == 12) return "BITMAPCOREHEADER (12 bytes)";
    if (size == 40) return "BITMAPINFOHEADER (40 bytes)";
    return std::to_string(size) + "-byte header";
}

// The file of the format module that reads `format`, or null for the library's own formats.
const char* ReadingModule(int format) {
    switch (format) {
    case FMT_TIFF: case FMT_CALS: return "VXTIFR.DLL";
    case FMT_PCX: case FMT_DCX: return "VXPCXR.DLL";
    case FMT_GIF: return "VXGIFR.DLL";
    case FMT_TGA: return "VXTGAR.DLL";
    case FMT_JPEG: return "VXJPGR.DLL";
    case FMT_PNG: return "VXPNGR.DLL";
    default: return nullptr;
    }
}

// A set may claim any number of pages (2^31 - 1 is a valid TotalPages), and each page is a
// load of its planes: the listing stops after this many, from the page asked for.
constexpr long long kFaxPagesListed = 50;

// A colour fax set, page by page as the library loads them, from page `from`.
bool DescribeFaxSet(const std::string& path, int from) {
    const std::string full = FullPath(path);
    const int pages = GetNumberOfImagesInFaxFile(full.c_str());
    std::printf("%s\n  format       colour fax set, %d page%s\n", path.c_str(), pages, pages == 1 ? "" : "s");
    const long long last = std::min(FaxPageCount(full), from + kFaxPagesListed - 1);
    bool allRead = true;
    for (long long page = from; page <= last; ++page) {
        if (const std::string problem = FaxPageProblem(full, static_cast<int>(page)); !problem.empty()) {
            std::printf("  page %-7lld cannot be loaded: %s\n", page, problem.c_str());
            allRead = false;
            continue;
        }
        SetImgError(IMGERR_SUCCESS);
        int status = 0;
        Dib dib(LoadColorFaxPage(full.c_str(), static_cast<int>(page), &status));
        if (!dib) {
            std::printf("  page %-7lld cannot be loaded: %s\n", page, LibraryErrorText().c_str());
            allRead = false;
            continue;
        }
        const BITMAPINFOHEADER h = HeaderOf(dib);
        std::printf("  page %-7lld %ld x %ld pixels, %u bits per pixel\n", page, static_cast<long>(h.biWidth),
                    static_cast<long>(h.biHeight), h.biBitCount);
    }
    if (const long long rest = FaxPageCount(full) - std::max(last, from - 1LL); rest > 0)
        std::printf("  ...          %lld more page%s not listed (--page N lists from page N)\n", rest, rest == 1 ? "" : "s");
    return allRead;
}

std::vector<unsigned char> FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint32_t U16(const std::vector<unsigned char>& b, size_t at) {
    return at + 2 <= b.size() ? uint32_t(b[at] | b[at + 1] << 8) : 0;
}
uint32_t U32(const std::vector<unsigned char>& b, size_t at) {
    return at + 4 <= b.size() ? U16(b, at) | U16(b, at + 2) << 16 : 0;
}
long I32(const std::vector<unsigned char>& b, size_t at) { return static_cast<int32_t>(U32(b, at)); }
long I16(const std::vector<unsigned char>& b, size_t at) { return static_cast<int16_t>(U16(b, at)); }

const char* ClipboardFormatName(uint32_t format) {
    switch (format) {
    case 1: return "CF_TEXT";
    case 2: return "CF_BITMAP";
    case 3: return "CF_METAFILEPICT";
    case 8: return "CF_DIB";
    default: return nullptr;
    }
}

// A clipboard file's directory, entry by entry, with what the entries the library reads hold.
bool DescribeClipboard(const std::string& path) {
    const auto b = FileBytes(path);
    const uint32_t count = U16(b, 2);
    std::printf("%s\n  format       clipboard file, %u entr%s\n", path.c_str(), count, count == 1 ? "y" : "ies");
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = 4 + size_t{89} * i;
        if (at + 89 > b.size()) {
            std::printf("  entry %-6u the directory ends with the file\n", i + 1);
            return false;
        }
        const uint32_t format = U16(b, at), length = U32(b, at + 2), offset = U32(b, at + 6);
        std::string name(reinterpret_cast<const char*>(b.data() + at + 10), 79);
        name.resize(std::strlen(name.c_str()));
        const char* known = ClipboardFormatName(format);
        std::printf("  entry %-6u %s%s%s, %lu bytes at offset %lu", i + 1, known ? known : ("format " + std::to_string(format)).c_str(),
                    name.empty() ? "" : " \"", name.empty() ? "" : (name + "\"").c_str(), static_cast<unsigned long>(length),
                    static_cast<unsigned long>(offset));
        if (uint64_t{offset} + length > b.size()) std::printf(" (past the end of the file)");
        else if (format == 8 && length >= 40)
            std::printf(": %ld x %ld pixels, %u bits per pixel", I32(b, offset + 4), std::labs(I32(b, offset + 8)), U16(b, offset + 14));
        else if (format == 3 && length >= 16)
            std::printf(": mapping mode %ld, extents %ld x %ld", I32(b, offset), I32(b, offset + 4), I32(b, offset + 8));
        std::printf("\n");
    }
    return true;
}

// A metafile: its kind, bounds, units and records.
bool DescribeMetafile(const std::string& path, int format) {
    const auto b = FileBytes(path);
    std::printf("%s\n", path.c_str());
    if (format == FMT_EMF) {
        std::printf("  format       enhanced metafile, %lu records, %lu bytes\n", static_cast<unsigned long>(U32(b, 52)),
                    static_cast<unsigned long>(U32(b, 48)));
        std::printf("  bounds       (%ld, %ld) - (%ld, %ld) device pixels\n", I32(b, 8), I32(b, 12), I32(b, 16), I32(b, 20));
        std::printf("  frame        (%ld, %ld) - (%ld, %ld) hundredths of a millimetre\n", I32(b, 24), I32(b, 28), I32(b, 32), I32(b, 36));
        std::printf("  reference    %ld x %ld pixels, %ld x %ld mm\n", I32(b, 72), I32(b, 76), I32(b, 80), I32(b, 84));
        std::fputs(DescribeEnhancedRecords(b).c_str(), stdout);
        return true;
    }
    const bool placeable = U32(b, 0) == 0x9AC6CDD7;
    const size_t start = placeable ? 22 : 0;
    std::printf("  format       Windows metafile%s, version 0x%03X, %lu words\n", placeable ? " with a placeable header" : "",
                U16(b, start + 4), static_cast<unsigned long>(U32(b, start + 6)));
    if (placeable)
        std::printf("  bounds       (%ld, %ld) - (%ld, %ld) at %u units per inch\n", I16(b, 6), I16(b, 8), I16(b, 10), I16(b, 12), U16(b, 14));
    std::fputs(DescribeWindowsRecords(std::vector<unsigned char>(b.begin() + std::min(start, b.size()), b.end())).c_str(), stdout);
    return true;
}

// A file a format module reads: the module, then the image it gives for `page`.
bool DescribeModuleImage(const std::string& path, int format, int page) {
    const char* module = ReadingModule(format);
    std::printf("%s\n  format       %s\n", path.c_str(), FormatName(format).c_str());
    const ModuleSearch search = FindFormatModule(module);
    if (!search.found) {
        std::printf("  module       %s is not installed: looked for %s\n", module, search.where.c_str());
        return false;
    }
    std::printf("  module       %s (%s)\n", module, search.path.c_str());
    SetImgError(IMGERR_SUCCESS);
    int status = 0;
    Dib dib(LoadImageIntoDIB(FullPath(path).c_str(), page, &status));
    if (!dib) {
        std::printf("  page %-7d cannot be loaded: %s\n", page, LibraryErrorText().c_str());
        return false;
    }
    const BITMAPINFOHEADER h = HeaderOf(dib);
    if (page != 1) std::printf("  page         %d\n", page);
    std::printf("  size         %ld x %ld pixels\n", static_cast<long>(h.biWidth), static_cast<long>(h.biHeight));
    std::printf("  depth        %u bits per pixel%s\n", h.biBitCount,
                h.biBitCount <= 8 ? (", " + std::to_string(h.biClrUsed ? h.biClrUsed : 1u << h.biBitCount) +
                                     " colours in the table").c_str() : "");
    if (h.biXPelsPerMeter > 0 || h.biYPelsPerMeter > 0)
        std::printf("  resolution   %ld x %ld dots per inch\n", DotsPerInch(h.biXPelsPerMeter), DotsPerInch(h.biYPelsPerMeter));
    else
        std::printf("  resolution   not given\n");
    return true;
}

// Prints one file; false when the library could not read it.
bool Describe(const std::string& path, int page) {
    try {
        CheckInputFile(path, path);
    } catch (const OperationFailed& e) {
        const std::string message = e.what();
        std::cerr << "vexora: " << path << ": " << message.substr(message.find("': ") + 3) << "\n";
        return false;
    }
    SetImgError(IMGERR_SUCCESS);
    const HFILE file = _lopen(path.c_str(), OF_READ);
    if (file == HFILE_ERROR) {
        SetImgError(IMGERR_OPENFILE);
        std::cerr << "vexora: " << path << ": " << LibraryErrorText() << "\n";
        return false;
    }
    const int format = GetImageFormat(FullPath(path).c_str());
    if (format != FMT_BMP && format != FMT_UNKNOWN) {
        _lclose(file);
        if (format == FMT_COLORFAX) return DescribeFaxSet(path, page);
        if (format == FMT_CLP) return DescribeClipboard(path);
        if (format == FMT_WMF || format == FMT_EMF) return DescribeMetafile(path, format);
        return DescribeModuleImage(path, format, page);
    }
    Dib info(ReadDIBInfo(file));
    const DWORD fileBytes = FileLength(file);
    const LONG pixelOffset = _llseek(file, 0, FILE_CURRENT);
    _lclose(file);
    if (!info) {
        std::cerr << "vexora: " << path << ": "
                  << (format == FMT_UNKNOWN ? "not an image file the library recognises" : LibraryErrorText()) << "\n";
        return false;
    }
    bool hasFileHeader = false;
    const std::string kind = HeaderKind(path, hasFileHeader);
    const BITMAPINFOHEADER h = HeaderOf(info);
    const long rows = h.biHeight < 0 ? -static_cast<long>(h.biHeight) : h.biHeight;

    std::printf("%s\n", path.c_str());
    std::printf("  format       Windows bitmap%s\n", hasFileHeader ? "" : " (bare packed DIB, no file header)");
    std::printf("  header       %s\n", kind.c_str());
    std::printf("  size         %ld x %ld pixels%s\n", static_cast<long>(h.biWidth), rows,
                h.biHeight < 0 ? " (rows stored top-down)" : "");
    std::printf("  depth        %u bits per pixel, %u plane%s\n", h.biBitCount, h.biPlanes, h.biPlanes == 1 ? "" : "s");
    if (h.biClrUsed > 0)
        std::printf("  colours      %lu in the colour table\n", static_cast<unsigned long>(h.biClrUsed));
    else
        std::printf("  colours      no colour table\n");
    std::printf("  compression  %s\n", CompressionName(h.biCompression));
    if (h.biXPelsPerMeter > 0 || h.biYPelsPerMeter > 0)
        std::printf("  resolution   %ld x %ld dots per inch\n", DotsPerInch(h.biXPelsPerMeter),
                    DotsPerInch(h.biYPelsPerMeter));
    else
        std::printf("  resolution   not given\n");
    std::printf("  pixel data   %lu bytes at offset %ld of %lu\n", static_cast<unsigned long>(h.biSizeImage),
                static_cast<long>(pixelOffset), static_cast<unsigned long>(fileBytes));
    return true;
}

}  // namespace

int RunInfo(const std::vector<std::string>& args) {
    std::vector<std::string> files;
    int page = 1;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << kInfoHelp;
            return kExitSuccess;
        }
        if (arg == "--page") {
            if (i + 1 >= args.size()) throw UsageError("info: --page needs N");
            page = static_cast<int>(ParseNumber(args[++i], "--page", 1, 65535));
            continue;
        }
        if (arg.size() > 1 && arg[0] == '-') throw UsageError("info: unknown option '" + arg + "'");
        files.push_back(arg);
    }
    if (files.empty()) throw UsageError("info: name at least one file");
    bool allRead = true;
    for (const auto& file : files) allRead = Describe(file, page) && allRead;
    return allRead ? kExitSuccess : kExitFailed;
}

}  // namespace vexora_tool

// info.cpp - `vexora info FILE...`: what the library reads from each file's header.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "commands.hpp"

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

// A colour fax set, page by page as the library loads them.
bool DescribeFaxSet(const std::string& path) {
    const std::string full = FullPath(path);
    const int pages = GetNumberOfImagesInFaxFile(full.c_str());
    std::printf("%s\n  format       colour fax set, %d page%s\n", path.c_str(), pages, pages == 1 ? "" : "s");
    bool allRead = true;
    for (int page = 1; page <= pages; ++page) {
        SetImgError(IMGERR_SUCCESS);
        int status = 0;
        Dib dib(LoadColorFaxPage(full.c_str(), page, &status));
        if (!dib) {
            std::printf("  page %-7d cannot be loaded: %s\n", page,
                        ImgError() == IMGERR_SUCCESS ? "outside the set's pages" : LibraryErrorText().c_str());
            allRead = false;
            continue;
        }
        const BITMAPINFOHEADER h = HeaderOf(dib);
        std::printf("  page %-7d %ld x %ld pixels, %u bits per pixel\n", page, static_cast<long>(h.biWidth),
                    static_cast<long>(h.biHeight), h.biBitCount);
    }
    return allRead;
}

// Prints one file; false when the library could not read it.
bool Describe(const std::string& path) {
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
        if (format == FMT_COLORFAX) return DescribeFaxSet(path);
        const char* module = ReadingModule(format);
        std::printf("%s\n  format       %s%s%s\n", path.c_str(), FormatName(format).c_str(),
                    module ? ", read by the format module " : "", module ? module : "");
        return true;
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
    for (const auto& arg : args) {
        if (arg == "--help" || arg == "-h") {
            std::cout << kInfoHelp;
            return kExitSuccess;
        }
        if (arg.size() > 1 && arg[0] == '-') throw UsageError("info: unknown option '" + arg + "'");
        files.push_back(arg);
    }
    if (files.empty()) throw UsageError("info: name at least one file");
    bool allRead = true;
    for (const auto& file : files) allRead = Describe(file) && allRead;
    return allRead ? kExitSuccess : kExitFailed;
}

}  // namespace vexora_tool

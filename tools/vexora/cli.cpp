#include "cli.hpp"

#include "commands.hpp"
#include "output_formats.hpp"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace vexora_tool {
namespace fs = std::filesystem;

BITMAPINFOHEADER HeaderOf(const Dib& dib) {
    BITMAPINFOHEADER header{};
    if (!dib) return header;
    const void* p = GlobalLock(dib.get());
    if (p != nullptr) {
        if (GlobalSize(dib.get()) >= sizeof header) std::memcpy(&header, p, sizeof header);
        GlobalUnlock(dib.get());
    }
    return header;
}

std::string LibraryErrorText() {
    char text[64] = {};
    if (ImgError() == IMGERR_SUCCESS) return "the library failed without giving a reason";
    return ImgErrorString(text, -1);
}

Dib LoadBitmapFile(const std::string& path) {
    SetImgError(IMGERR_SUCCESS);
    Dib dib(LoadDIBFromFile(path.c_str()));
    if (!dib) throw OperationFailed("cannot load '" + path + "': " + LibraryErrorText());
    return dib;
}

std::string FormatName(int format) {
    switch (format) {
    case FMT_TIFF: return "TIFF";
    case FMT_PCX: return "PCX";
    case FMT_DCX: return "DCX (multi-page PCX)";
    case FMT_GIF: return "GIF";
    case FMT_TGA: return "TGA (by its name)";
    case FMT_BMP: return "Windows bitmap";
    case FMT_WMF: return "Windows metafile";
    case FMT_CLP: return "clipboard file";
    case FMT_COLORFAX: return "colour fax set";
    case FMT_TEXT: return "plain text";
    case FMT_CALS: return "CALS raster";
    case FMT_JPEG: return "JPEG";
    case FMT_PNG: return "PNG";
    case FMT_EMF: return "enhanced metafile";
    default: return "unknown";
    }
}

std::string FullPath(const std::string& path) {
    std::error_code ec;
    const fs::path full = fs::absolute(path, ec);
    return ec ? path : full.string();
}

std::string Extension(const std::string& path) {
    std::string ext = fs::path(path).extension().string();
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

// A text file rendered by LoadASCIIFile: the load dispatch refuses text by design.
Dib LoadTextFile(const std::string& givenPath, const std::string& path) {
    SetImgError(IMGERR_SUCCESS);
    HBITMAP bitmap = LoadASCIIFile(path.c_str(), TRUE);
    if (bitmap == nullptr) throw OperationFailed("cannot load '" + givenPath + "' (plain text): " + LibraryErrorText());
    Dib dib(ConvertBitmapToDIB(bitmap, nullptr));
    DeleteObject(bitmap);
    if (!dib) throw OperationFailed("cannot load '" + givenPath + "' (plain text): " + LibraryErrorText());
    return dib;
}

Dib LoadImageFile(const std::string& givenPath, int page) {
    if (givenPath == kStandardStream) {
        const StandardInputFile input;
        try {
            return LoadImageFile(input.path(), page);
        } catch (const OperationFailed& e) {
            // The messages name the temporary copy; the user gave standard input.
            std::string message = e.what();
            for (size_t at; (at = message.find("'" + input.path() + "'")) != std::string::npos;)
                message.replace(at, input.path().size() + 2, "standard input");
            throw OperationFailed(message);
        }
    }
    CheckInputFile(givenPath, givenPath);
    const std::string path = FullPath(givenPath);
    const int format = GetImageFormat(path.c_str());
    Dib dib;
    if (format == FMT_TEXT || (format == FMT_UNKNOWN && Extension(givenPath) == ".txt")) {
        dib = LoadTextFile(givenPath, path);
    } else if (format == FMT_BMP || format == FMT_UNKNOWN) {
        dib = LoadBmpInput(givenPath, path);
    } else if ((format == FMT_WMF || format == FMT_PCX) && Extension(givenPath) == ".tga") {
        SetImgError(IMGERR_SUCCESS);
        int status = 0;
        dib = Dib(LoadTgaThroughModule(path, &status));
        if (!dib) throw OperationFailed("cannot load '" + givenPath + "' (TGA): " + LibraryErrorText());
    } else {
        if (format == FMT_COLORFAX)
            if (const std::string problem = FaxPageProblem(path, page); !problem.empty())
                throw OperationFailed("cannot load '" + givenPath + "': " + problem);
        SetImgError(IMGERR_SUCCESS);
        int status = 0;
        dib = Dib(LoadImageIntoDIB(path.c_str(), page, &status));
        if (!dib)
            throw OperationFailed("cannot load '" + givenPath + "' (" + FormatName(format) + "): " + LibraryErrorText());
    }
    const DWORD compression = HeaderOf(dib).biCompression;
    if (compression == BI_RLE8 || compression == BI_RLE4) {
        SetImgError(IMGERR_SUCCESS);
        Dib expanded(ExpandCompressedDIB(dib.get()));
        if (!expanded) throw OperationFailed("cannot expand '" + givenPath + "': " + LibraryErrorText());
        dib = std::move(expanded);
    }
    return dib;
}

bool SameFile(const std::string& a, const std::string& b) {
    std::error_code ec;
    return !a.empty() && !b.empty() && fs::exists(a, ec) && fs::exists(b, ec) &&
           fs::equivalent(a, b, ec);
}

void SaveImageFile(const Dib& dib, const std::string& path, const std::string& input, const WriteChoices& choices) {
    if (SameFile(path, input)) throw UsageError("the output '" + path + "' is the input file; choose another name");
    const OutputFormat& format = ChooseOutputFormat(path, choices);
    if (format.code == FMT_CALS && HeaderOf(dib).biBitCount != 1)
        throw OperationFailed("cannot write '" + path + "' (cals): a CALS raster holds a 1-bit image; make one first with "
                              "--halftone or --dither fs:1");
    WriteOutputFile(path, [&](const std::string& temporary) {
        SetImgError(IMGERR_SUCCESS);
        if (!WriteInFormat(dib, temporary, format, choices))
            throw OperationFailed("cannot write '" + path + "' (" + std::string(format.name) + "): " + LibraryErrorText());
    });
}

void SaveBitmapFile(const Dib& dib, const std::string& path, const std::string& input) {
    SaveImageFile(dib, path, input, WriteChoices{});
}

long DotsPerInch(LONG pelsPerMeter) {
    return static_cast<long>(pelsPerMeter * 0.0254 + (pelsPerMeter >= 0 ? 0.5 : -0.5));
}

}  // namespace vexora_tool

// output_formats.cpp - choosing and calling the writer of `vexora convert`'s output.
//
// The library writes TIFF, PCX, DCX, GIF, TGA, CALS and JPEG through its format modules
// (SaveDIBInImageFormat), BMP itself, and metafiles and clipboard files through the device
// bridge. It has no PNG writer, so the tool writes PNG itself through libpng. Colour fax sets
// and text are read, never written.
#include "output_formats.hpp"

#include <array>
#include <cctype>
#include <filesystem>

namespace vexora_tool {

namespace {

constexpr std::array kFormats = {
    OutputFormat{"bmp", ".bmp .dib", FMT_BMP, "Windows bitmap"},
    OutputFormat{"png", ".png", 0, "PNG (written by the tool through libpng)"},
    OutputFormat{"jpeg", ".jpg .jpeg .jpe .jfif", FMT_JPEG, "JPEG, quality 75"},
    OutputFormat{"tiff", ".tif .tiff", FMT_TIFF, "TIFF (--compression none|g4|lzw|packbits|deflate|jpeg)"},
    OutputFormat{"gif", ".gif", FMT_GIF, "GIF (--interlace; 24-bit images reduced to 256 colours)"},
    OutputFormat{"pcx", ".pcx", FMT_PCX, "PCX"},
    OutputFormat{"dcx", ".dcx", FMT_DCX, "DCX, multi-page PCX (a new file of one page)"},
    OutputFormat{"tga", ".tga", FMT_TGA, "TGA (--compression none|rle)"},
    OutputFormat{"cals", ".cal .cals", FMT_CALS, "CALS type 1 raster (1-bit images)"},
    OutputFormat{"wmf", ".wmf", FMT_WMF, "Windows metafile holding the bitmap"},
    OutputFormat{"emf", ".emf", FMT_EMF, "enhanced metafile holding the bitmap"},
    OutputFormat{"clp", ".clp", FMT_CLP, "clipboard file"},
};

// TIFF compression values by name, as the TIFF writer takes them.
struct NamedValue {
    std::string_view name;
    int value;
};
constexpr std::array kTiffCompressions = {NamedValue{"none", 1}, NamedValue{"g4", 4}, NamedValue{"lzw", 5},
                                          NamedValue{"packbits", 32773}, NamedValue{"deflate", 8},
                                          NamedValue{"jpeg", 7}};
constexpr std::array kTgaCompressions = {NamedValue{"none", 0}, NamedValue{"rle", 1}};

std::string Lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool HasExtension(const OutputFormat& format, const std::string& extension) {
    std::string_view list = format.extensions;
    while (!list.empty()) {
        const size_t space = list.find(' ');
        if (list.substr(0, space) == extension) return true;
        list = space == std::string_view::npos ? std::string_view() : list.substr(space + 1);
    }
    return false;
}

template <size_t N>
int ValueNamed(const std::array<NamedValue, N>& values, const std::string& name, std::string_view format) {
    for (const NamedValue& v : values)
        if (v.name == name) return v.value;
    std::string known;
    for (const NamedValue& v : values) known += (known.empty() ? "" : ", ") + std::string(v.name);
    throw UsageError("convert: " + std::string(format) + " has no compression '" + name + "' (it has " + known + ")");
}

}  // namespace

std::string WritableFormatsList() {
    std::string list;
    for (const OutputFormat& f : kFormats) {
        std::string line = "  " + std::string(f.name);
        line.resize(8, ' ');
        line += std::string(f.extensions);
        line.resize(32, ' ');
        list += line + std::string(f.description) + "\n";
    }
    return list;
}

const OutputFormat& ChooseOutputFormat(const std::string& path, const WriteChoices& choices) {
    const OutputFormat* chosen = nullptr;
    if (!choices.format.empty()) {
        const std::string name = Lower(choices.format);
        for (const OutputFormat& f : kFormats)
            if (f.name == name || HasExtension(f, "." + name)) chosen = &f;
        if (chosen == nullptr) {
            const bool readOnly = name == "fax" || name == "colorfax" || name == "txt" || name == "text";
            throw UsageError("convert: " + std::string(readOnly ? "the library reads '" + name + "' but cannot write it"
                                                                 : "unknown format '" + name + "'") +
                             "; the formats that can be written:\n" + WritableFormatsList());
        }
    } else {
        const std::string extension = Lower(std::filesystem::path(path).extension().string());
        for (const OutputFormat& f : kFormats)
            if (HasExtension(f, extension)) chosen = &f;
        if (chosen == nullptr)
            throw UsageError("convert: cannot tell a format from the name '" + path +
                             "'; give it one of these extensions, or --format NAME:\n" + WritableFormatsList());
    }
    if (!choices.compression.empty()) {
        if (chosen->code == FMT_TIFF) ValueNamed(kTiffCompressions, Lower(choices.compression), "TIFF");
        else if (chosen->code == FMT_TGA) ValueNamed(kTgaCompressions, Lower(choices.compression), "TGA");
        else throw UsageError("convert: --compression applies to TIFF and TGA output only");
    }
    if (choices.interlace && chosen->code != FMT_GIF) throw UsageError("convert: --interlace applies to GIF output only");
    return *chosen;
}

bool WriteInFormat(const Dib& dib, const std::string& path, const OutputFormat& format, const WriteChoices& choices) {
    const std::string compression = Lower(choices.compression);
    switch (format.code) {
    case 0: WritePngFile(dib, path); return true;
    case FMT_BMP: return SaveDIB(path.c_str(), dib.get()) != 0;
    case FMT_TIFF: {
        const int value = compression.empty() ? 0 : ValueNamed(kTiffCompressions, compression, "TIFF");
        return SaveDIBInImageFormat(path.c_str(), dib.get(), FMT_TIFF, 0, value) != 0;
    }
    case FMT_TGA: {
        const int runLength = compression.empty() ? 0 : ValueNamed(kTgaCompressions, compression, "TGA");
        return SaveDIBInImageFormat(path.c_str(), dib.get(), FMT_TGA, 0, runLength) != 0;
    }
    case FMT_GIF: return SaveDIBInImageFormat(path.c_str(), dib.get(), FMT_GIF, choices.interlace ? 1 : 0, 0) != 0;
    default: return SaveDIBInImageFormat(path.c_str(), dib.get(), format.code, 0, 0) != 0;
    }
}

}  // namespace vexora_tool

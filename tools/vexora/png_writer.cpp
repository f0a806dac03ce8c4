// png_writer.cpp - WritePngFile: the tool's own PNG writer, since the library has none.
//
// 1, 4 and 8-bit DIBs become palette images of the same bit depth, or gray images when the
// colour table is the gray ramp of its size (0 black to the last entry white); 24-bit DIBs
// become RGB. The DIB's resolution becomes a pHYs chunk in pixels per metre. Rows go to libpng
// straight from the DIB, bottom row last, blue-green-red swapped by libpng.
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "output_formats.hpp"

namespace vexora_tool {

namespace {

// What libpng is given: everything is prepared before the setjmp frame, which holds only plain
// data, so that a longjmp out of libpng skips no destructor.
struct PngPicture {
    png_uint_32 width, height;
    int bitDepth, colourType;
    const png_color* palette;
    int paletteEntries;
    bool bgr;
    png_uint_32 xPelsPerMeter, yPelsPerMeter;
    png_bytep* rows;  // top row first
};

struct PngFailure {
    char message[200];
};

void OnPngError(png_structp png, png_const_charp message) {
    auto* failure = static_cast<PngFailure*>(png_get_error_ptr(png));
    std::snprintf(failure->message, sizeof failure->message, "%s", message);
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

bool EncodePng(std::FILE* file, const PngPicture& picture, PngFailure& failure) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure, OnPngError, OnPngWarning);
    if (png == nullptr) {
        std::snprintf(failure.message, sizeof failure.message, "Not enough memory.");
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, picture.width, picture.height, picture.bitDepth, picture.colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (picture.paletteEntries > 0) png_set_PLTE(png, info, picture.palette, picture.paletteEntries);
    if (picture.xPelsPerMeter > 0 && picture.yPelsPerMeter > 0)
        png_set_pHYs(png, info, picture.xPelsPerMeter, picture.yPelsPerMeter, PNG_RESOLUTION_METER);
    png_write_info(png, info);
    if (picture.bgr) png_set_bgr(png);
    png_write_image(png, picture.rows);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

bool GrayRamp(const RGBQUAD* table, int entries) {
    for (int i = 0; i < entries; ++i) {
        const int level = i * 255 / (entries - 1);
        if (table[i].rgbRed != level || table[i].rgbGreen != level || table[i].rgbBlue != level) return false;
    }
    return true;
}

struct Unlock {
    void operator()(void* block) const { GlobalUnlock(block); }
};

}  // namespace

void WritePngFile(const Dib& dib, const std::string& path) {
    const BITMAPINFOHEADER h = HeaderOf(dib);
    const int bits = h.biBitCount;
    if (h.biSize != sizeof h || h.biCompression != BI_RGB || h.biWidth <= 0 || h.biHeight <= 0 ||
        (bits != 1 && bits != 4 && bits != 8 && bits != 24))
        throw OperationFailed("cannot write '" + path + "' as PNG: the image is not an uncompressed 1, 4, 8 or 24-bit bitmap");
    const int tableEntries = bits == 24 ? 0 : static_cast<int>(h.biClrUsed ? std::min<DWORD>(h.biClrUsed, 1u << bits) : 1u << bits);
    const size_t tableBytes = bits == 24 ? h.biClrUsed * 4 : (h.biClrUsed ? h.biClrUsed : 1u << bits) * 4;
    const size_t stride = (size_t(h.biWidth) * bits + 31) / 32 * 4;
    if (GlobalSize(dib.get()) < sizeof h + tableBytes + stride * size_t(h.biHeight))
        throw OperationFailed("cannot write '" + path + "' as PNG: the image's block is shorter than its header says");
    std::unique_ptr<void, Unlock> locked(GlobalLock(dib.get()));
    const auto* bytes = static_cast<uint8_t*>(locked.get());
    const auto* table = reinterpret_cast<const RGBQUAD*>(bytes + sizeof h);

    PngPicture picture{};
    picture.width = static_cast<png_uint_32>(h.biWidth);
    picture.height = static_cast<png_uint_32>(h.biHeight);
    picture.bitDepth = bits == 24 ? 8 : bits;
    std::vector<png_color> palette;
    if (bits == 24) {
        picture.colourType = PNG_COLOR_TYPE_RGB;
        picture.bgr = true;
    } else if (tableEntries == (1 << bits) && GrayRamp(table, tableEntries)) {
        picture.colourType = PNG_COLOR_TYPE_GRAY;
    } else {
        picture.colourType = PNG_COLOR_TYPE_PALETTE;
        for (int i = 0; i < tableEntries; ++i) palette.push_back({table[i].rgbRed, table[i].rgbGreen, table[i].rgbBlue});
        // Indices past a short table are legal in a DIB; PNG wants an entry for each, so they
        // show as black.
        palette.resize(size_t(1) << bits, png_color{0, 0, 0});
        picture.palette = palette.data();
        picture.paletteEntries = static_cast<int>(palette.size());
    }
    picture.xPelsPerMeter = h.biXPelsPerMeter > 0 ? static_cast<png_uint_32>(h.biXPelsPerMeter) : 0;
    picture.yPelsPerMeter = h.biYPelsPerMeter > 0 ? static_cast<png_uint_32>(h.biYPelsPerMeter) : 0;
    std::vector<png_bytep> rows(picture.height);
    auto* pixels = const_cast<uint8_t*>(bytes + sizeof h + tableBytes);
    for (png_uint_32 y = 0; y < picture.height; ++y) rows[y] = pixels + stride * (picture.height - 1 - y);
    picture.rows = rows.data();

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) throw OperationFailed("cannot write '" + path + "': " + std::strerror(errno));
    PngFailure failure{};
    if (!EncodePng(file.get(), picture, failure))
        throw OperationFailed("cannot write '" + path + "' as PNG: " + failure.message);
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()))
        throw OperationFailed("cannot write '" + path + "': " + std::strerror(errno));
}

}  // namespace vexora_tool

// vxpngr.cpp - VXPNGR: LoadPNGIntoDIB, a PNG file as the smallest DIB that holds it, on libpng.
//
// The file is read whole and handed to libpng from memory. What each PNG becomes:
//   palette 1, 4, 8 bits    a DIB of the same depth and indices, the full table of its depth
//                           (entries past the file's palette black)
//   palette 2 bits          a 4-bit DIB: the rows are decoded 2-bit into the front half of each
//                           DIB row and widened in place from the end
//   gray 1 bit              a 1-bit DIB with the black and white table
//   gray 2, 4, 8, 16 bits   an 8-bit DIB with the gray ramp; libpng widens 2 and 4 bits as PNG
//                           defines (v * 255 / (2^n - 1): v * 85, v * 17) and reduces 16 bits
//                           rounded (png_set_scale_16)
//   RGB 8, 16 bits          a 24-bit DIB, decoded straight into its rows in BGR order
//   alpha of any kind       composited on white with the loaders' rounding: gray+alpha and RGBA
//                           (and 16-bit gray or RGB with tRNS, which libpng turns into an alpha
//                           channel) through one scratch row (the whole image when interlaced),
//                           gray up to 8 bits with tRNS by a table on the decoded value, a
//                           palette's tRNS on its entries (the image stays paletted)
// Interlaced files go through libpng's pass handling into the same rows.
//
// Codec errors reach a setjmp in small functions (ReadHeader, DecodeStraight, DecodeThrough)
// that hold no C++ objects, so a longjmp never skips a destructor; everything allocated is
// owned outside them. libpng's defaults for damaged chunks are kept: a CRC error in a critical
// chunk fails the file (VXSTATUS_CORRUPT), an ancillary chunk with a bad CRC is dropped with a
// warning, and libpng's "benign" errors (a palette index past the palette, extra compressed
// data) are warnings. A file that ends before IEND fails (VXSTATUS_TRUNCATED). Gamma, colour
// profiles and the other colour chunks are ignored: the samples are taken as they are stored.
#include <png.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "module_support.hpp"

namespace {

// What libpng reads from and what its callbacks record.
struct PngInput {
    png_structp png = nullptr;
    png_infop info = nullptr;
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t position = 0;
    int failure = VXSTATUS_CORRUPT;  // the status of a png_error: corrupt unless a callback said more
};

void ReadFromMemory(png_structp png, png_bytep out, size_t count) {
    auto* in = static_cast<PngInput*>(png_get_io_ptr(png));
    if (count > in->size - in->position) {
        in->failure = VXSTATUS_TRUNCATED;
        png_error(png, "file ends early");
    }
    std::memcpy(out, in->data + in->position, count);
    in->position += count;
}

[[noreturn]] void OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnWarning(png_structp, png_const_charp) {}

png_voidp Allocate(png_structp png, png_alloc_size_t bytes) {
    void* p = std::malloc(bytes);
    if (p == nullptr) static_cast<PngInput*>(png_get_error_ptr(png))->failure = VXSTATUS_NOMEMORY;
    return p;
}
void Release(png_structp, png_voidp p) { std::free(p); }

// The header and the chunks before the image data, with the transformations `setUp` asks for
// applied once they are known.
struct Header {
    png_uint_32 width = 0, height = 0;
    int bitDepth = 0, colourType = 0, interlace = 0;
    bool transparency = false;
};

bool ReadHeader(PngInput& in, Header& header) {
    if (setjmp(png_jmpbuf(in.png))) return false;
    png_read_info(in.png, in.info);
    png_get_IHDR(in.png, in.info, &header.width, &header.height, &header.bitDepth, &header.colourType,
                 &header.interlace, nullptr, nullptr);
    header.transparency = png_get_valid(in.png, in.info, PNG_INFO_tRNS) != 0;
    return true;
}

// Applies the transformations chosen and updates the row layout libpng reports.
bool StartImage(PngInput& in, void (*setUp)(png_structp, const Header&), const Header& header) {
    if (setjmp(png_jmpbuf(in.png))) return false;
    setUp(in.png, header);
    png_set_interlace_handling(in.png);
    png_read_update_info(in.png, in.info);
    return true;
}

// Every row decoded straight to where it belongs, then the chunks up to IEND.
bool DecodeStraight(PngInput& in, png_bytepp rows) {
    if (setjmp(png_jmpbuf(in.png))) return false;
    png_read_image(in.png, rows);
    png_read_end(in.png, nullptr);
    return true;
}

// A row turned into the DIB's: the decoded row, the DIB row, the width and a table.
using RowConverter = void (*)(const uint8_t* decoded, uint8_t* out, int width, const uint8_t* table);

// Rows decoded into scratch and converted into the DIB: one scratch row reused, or with
// interlacing (whose later passes fill in the earlier ones) a scratch row per image row.
bool DecodeThrough(PngInput& in, png_bytepp scratchRows, bool wholeImage, png_bytepp dibRows, int width, int height,
                   RowConverter convert, const uint8_t* table) {
    if (setjmp(png_jmpbuf(in.png))) return false;
    if (wholeImage) {
        png_read_image(in.png, scratchRows);
        for (int y = 0; y < height; ++y) convert(scratchRows[y], dibRows[y], width, table);
    } else {
        for (int y = 0; y < height; ++y) {
            png_read_row(in.png, scratchRows[0], nullptr);
            convert(scratchRows[0], dibRows[y], width, table);
        }
    }
    png_read_end(in.png, nullptr);
    return true;
}

// ---- Row kernels ---------------------------------------------------------------------------

inline uint8_t OnWhite(unsigned c, unsigned a) { return static_cast<uint8_t>((c * a + 255 * (255 - a) + 127) / 255); }

void GrayAlphaOnWhite(const uint8_t* in, uint8_t* out, int width, const uint8_t*) {
    for (int x = 0; x < width; ++x, in += 2) out[x] = OnWhite(in[0], in[1]);
}

void RgbaOnWhite(const uint8_t* in, uint8_t* out, int width, const uint8_t*) {
    for (int x = 0; x < width; ++x, in += 4, out += 3) {
        out[0] = OnWhite(in[2], in[3]);
        out[1] = OnWhite(in[1], in[3]);
        out[2] = OnWhite(in[0], in[3]);
    }
}

void ThroughTable(const uint8_t* in, uint8_t* out, int width, const uint8_t* table) {
    for (int x = 0; x < width; ++x) out[x] = table[in[x]];
}

// 2-bit indices in the front half of a row widened to 4-bit ones, from the end so that nothing
// is overwritten before it is read.
void WidenTwoBitRow(uint8_t* row, int width) {
    for (int x = width - 1; x >= 0; --x) {
        const unsigned index = (row[x >> 2] >> (6 - 2 * (x & 3))) & 3;
        uint8_t& out = row[x >> 1];
        out = (x & 1) ? static_cast<uint8_t>((out & 0xF0) | index) : static_cast<uint8_t>((out & 0x0F) | index << 4);
    }
}

// ---- Transformations -----------------------------------------------------------------------

void KeepSamples(png_structp, const Header&) {}
void SetUpGray(png_structp png, const Header& header) {
    if (header.bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (header.bitDepth == 16) png_set_scale_16(png);
}
void SetUpColour(png_structp png, const Header& header) {
    if (header.bitDepth == 16) png_set_scale_16(png);
    png_set_bgr(png);
}
void SetUpWithAlpha(png_structp png, const Header& header) {
    png_set_tRNS_to_alpha(png);
    if (header.bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (header.bitDepth == 16) png_set_scale_16(png);
}

// ---- The loader ----------------------------------------------------------------------------

struct PngReadStruct {
    PngInput in;
    ~PngReadStruct() {
        if (in.png != nullptr) png_destroy_read_struct(&in.png, in.info ? &in.info : nullptr, nullptr);
    }
};

HDIB Fail(int* status, const PngInput& in) { return vxmod::FailLoad(status, in.failure); }

// The palette (or the two gray levels of a 1-bit image) with transparent entries on white.
void SetTable(vxmod::NewDib& dib, PngInput& in, const Header& header) {
    png_bytep alpha = nullptr;
    int alphaCount = 0;
    png_color_16p transparentGray = nullptr;
    if (header.transparency) png_get_tRNS(in.png, in.info, &alpha, &alphaCount, &transparentGray);
    if (header.colourType == PNG_COLOR_TYPE_GRAY) {
        for (int level = 0; level < 2; ++level) {
            const bool clear = transparentGray != nullptr && transparentGray->gray == level;
            const uint8_t value = clear || level == 1 ? 255 : 0;
            dib.setPalette(level, value, value, value);
        }
        return;
    }
    png_colorp entries = nullptr;
    int count = 0;
    png_get_PLTE(in.png, in.info, &entries, &count);
    for (int i = 0; i < count && i < 256; ++i) {
        const unsigned a = i < alphaCount ? alpha[i] : 255;
        dib.setPalette(i, OnWhite(entries[i].red, a), OnWhite(entries[i].green, a), OnWhite(entries[i].blue, a));
    }
}

void SetResolution(vxmod::NewDib& dib, PngInput& in) {
    png_uint_32 x = 0, y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (!png_get_pHYs(in.png, in.info, &x, &y, &unit) || unit != PNG_RESOLUTION_METER) return;
    const auto pels = [](png_uint_32 v) { return v > 0x7FFFFFFF ? 0 : static_cast<int32_t>(v); };
    dib.setResolution(pels(x), pels(y));
}

HDIB LoadPng(LPCSTR fileName, int* status) {
    int readStatus = VXSTATUS_OK;
    const auto file = vxmod::ReadWholeFile(fileName, &readStatus);
    if (!file) return vxmod::FailLoad(status, readStatus);
    if (file->size() < 8 || png_sig_cmp(file->data(), 0, 8) != 0) return vxmod::FailLoad(status, VXSTATUS_NOTFORMAT);

    PngReadStruct read;
    PngInput& in = read.in;
    in.data = file->data();
    in.size = file->size();
    in.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &in, OnError, OnWarning, &in, Allocate, Release);
    if (in.png == nullptr || (in.info = png_create_info_struct(in.png)) == nullptr)
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    png_set_read_fn(in.png, &in, ReadFromMemory);

    Header header;
    if (!ReadHeader(in, header)) return Fail(status, in);
    if (!vxmod::WithinPixelLimit(header.width, header.height)) return vxmod::FailLoad(status, VXSTATUS_TOOLARGE);

    // The DIB's depth, the transformations, and how rows reach the DIB.
    const int type = header.colourType;
    const bool alphaChannel = (type & PNG_COLOR_MASK_ALPHA) != 0;
    const bool paletted = type == PNG_COLOR_TYPE_PALETTE;
    const bool grayWithKey = type == PNG_COLOR_TYPE_GRAY && header.transparency && header.bitDepth <= 8;
    const bool composite = alphaChannel || (header.transparency && !paletted && header.bitDepth == 16) ||
                           (type == PNG_COLOR_TYPE_RGB && header.transparency);
    int bits = 24, colours = 0;
    void (*setUp)(png_structp, const Header&) = SetUpColour;
    if (paletted) {
        bits = header.bitDepth == 2 ? 4 : header.bitDepth;
        colours = 1 << bits;
        setUp = KeepSamples;
    } else if (type == PNG_COLOR_TYPE_GRAY && header.bitDepth == 1) {
        bits = 1;
        colours = 2;
        setUp = KeepSamples;
    } else if ((type & PNG_COLOR_MASK_COLOR) == 0) {
        bits = 8;
        colours = 256;
        setUp = composite ? SetUpWithAlpha : SetUpGray;
    } else if (composite) {
        setUp = SetUpWithAlpha;
    }
    if (!StartImage(in, setUp, header)) return Fail(status, in);

    int makeStatus = VXSTATUS_NOMEMORY;
    auto dib = vxmod::NewDib::Create(header.width, header.height, bits, colours, &makeStatus);
    if (!dib) return vxmod::FailLoad(status, makeStatus);
    const int width = dib->width(), height = dib->height();
    if (paletted || bits == 1)
        SetTable(*dib, in, header);
    else if (bits == 8)
        dib->setGrayPalette();
    SetResolution(*dib, in);

    try {
        std::vector<png_bytep> dibRows(height);
        for (int y = 0; y < height; ++y) dibRows[y] = dib->row(y);
        if (composite) {
            const size_t decodedBytes = png_get_rowbytes(in.png, in.info);
            const bool wholeImage = header.interlace != PNG_INTERLACE_NONE;
            const size_t scratchRows = wholeImage ? static_cast<size_t>(height) : 1;
            std::unique_ptr<uint8_t[]> scratch(new uint8_t[decodedBytes * scratchRows]);
            std::vector<png_bytep> rows(scratchRows);
            for (size_t y = 0; y < scratchRows; ++y) rows[y] = scratch.get() + y * decodedBytes;
            const RowConverter convert = bits == 8 ? GrayAlphaOnWhite : RgbaOnWhite;
            if (!DecodeThrough(in, rows.data(), wholeImage, dibRows.data(), width, height, convert, nullptr))
                return Fail(status, in);
        } else {
            if (!DecodeStraight(in, dibRows.data())) return Fail(status, in);
            if (paletted && header.bitDepth == 2)
                for (int y = 0; y < height; ++y) WidenTwoBitRow(dibRows[y], width);
            if (grayWithKey) {
                // The transparent gray value, widened as the samples were, shows white.
                png_color_16p key = nullptr;
                png_get_tRNS(in.png, in.info, nullptr, nullptr, &key);
                uint8_t table[256];
                for (int v = 0; v < 256; ++v) table[v] = static_cast<uint8_t>(v);
                const unsigned maximum = (1u << header.bitDepth) - 1;
                if (key->gray <= maximum) table[key->gray * 255 / maximum] = 255;
                for (int y = 0; y < height && bits == 8; ++y) ThroughTable(dibRows[y], dibRows[y], width, table);
            }
        }
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
    vxmod::ReportLoaded(status);
    return dib->release();
}

}  // namespace

HDIB VXMODULECALL LoadPNGIntoDIB(LPCSTR fileName, int* status) {
    try {
        return LoadPng(fileName, status);
    } catch (...) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}

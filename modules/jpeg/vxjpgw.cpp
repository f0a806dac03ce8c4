// vxjpgw.cpp - VXJPGW: SaveDIBInJPEGFile, a DIB as a baseline JFIF file, on libjpeg-turbo.
//
// The settings are cjpeg's defaults at the quality asked for, so a file written here is the
// file cjpeg writes from the same pixels: quality 1 to 100 (a quality outside is clamped to
// that range) scaled into the standard tables, YCbCr with 2 x 2 chroma subsampling (4:2:0),
// the accurate integer DCT, the standard Huffman tables (not optimised: the library's default,
// and one pass over the image), no restart markers.
//   24 bits                           colour, compressed straight from the DIB's rows (BGR)
//   1, 4, 8 bits, every entry gray    a gray JPEG: 8-bit rows with the gray ramp straight from
//                                     the DIB, others through the table a row at a time
//   1, 4, 8 bits, other tables        colour, each row expanded through the table
// Indices past the colour table are black. The DIB's resolution becomes the JFIF density in
// dots per inch, rounded (2835 pels per metre is 72 dpi, and 72 dpi reads back as 2835), when
// both are positive and fit the field; otherwise the density is the 1:1 aspect ratio.
//
// Codec errors reach a setjmp in a function that holds no C++ objects; the output file is
// removed when anything fails.
// windows.h (through the module support) before jpeglib.h, so that jpeglib.h takes Windows'
// boolean and INT32 instead of declaring its own.
#include "module_support.hpp"

#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr size_t kBufferBytes = 65536;

struct Compressor {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr destination{};
    std::jmp_buf jump;
    int failure = IMGERR_PARAMETER;
    vxmod::OutputFile* file = nullptr;
    std::unique_ptr<JOCTET[]> buffer{new JOCTET[kBufferBytes]};
    ~Compressor() { jpeg_destroy_compress(&codec); }
};

Compressor& Of(j_compress_ptr codec) { return *static_cast<Compressor*>(codec->client_data); }

[[noreturn]] void OnError(j_common_ptr codec) {
    auto& c = *static_cast<Compressor*>(codec->client_data);
    const int code = codec->err->msg_code;
    // Writing failed, memory ran out, or the image is one JPEG cannot hold (over 65500 a side).
    c.failure = code == JERR_FILE_WRITE ? IMGERR_IO : code == JERR_OUT_OF_MEMORY ? IMGERR_NOMEMORY : IMGERR_PARAMETER;
    std::longjmp(c.jump, 1);
}
void OnMessage(j_common_ptr, int) {}

void StartOutput(j_compress_ptr codec) {
    codec->dest->next_output_byte = Of(codec).buffer.get();
    codec->dest->free_in_buffer = kBufferBytes;
}
boolean FlushFull(j_compress_ptr codec) {
    Compressor& c = Of(codec);
    if (!c.file->write(c.buffer.get(), kBufferBytes)) ERREXIT(codec, JERR_FILE_WRITE);
    StartOutput(codec);
    return TRUE;
}
void FlushRest(j_compress_ptr codec) {
    Compressor& c = Of(codec);
    if (!c.file->write(c.buffer.get(), kBufferBytes - codec->dest->free_in_buffer)) ERREXIT(codec, JERR_FILE_WRITE);
}

// A row of the DIB in the form the codec takes (`row` itself when it already is).
using RowSource = JSAMPROW (*)(const vxmod::DibSource& dib, int y, const uint8_t* table, JSAMPROW scratch);

template <int Bits>
unsigned IndexAt(const uint8_t* row, int x) {
    if constexpr (Bits == 8) return row[x];
    else if constexpr (Bits == 4) return (row[x >> 1] >> ((~x & 1) * 4)) & 15;
    else return (row[x >> 3] >> (7 - (x & 7))) & 1;
}

JSAMPROW Straight(const vxmod::DibSource& dib, int y, const uint8_t*, JSAMPROW) {
    return const_cast<JSAMPROW>(dib.row(y));
}

// Through the table: one gray level (Channels 1) or blue, green, red (Channels 3) an index.
template <int Bits, int Channels>
JSAMPROW Expanded(const vxmod::DibSource& dib, int y, const uint8_t* table, JSAMPROW scratch) {
    const uint8_t* row = dib.row(y);
    JSAMPROW out = scratch;
    for (int x = 0; x < dib.width(); ++x, out += Channels) {
        const uint8_t* entry = table + IndexAt<Bits>(row, x) * 4;
        for (int c = 0; c < Channels; ++c) out[c] = entry[c];
    }
    return scratch;
}

template <int Channels>
RowSource ExpandedOf(int bits) {
    return bits == 1 ? Expanded<1, Channels> : bits == 4 ? Expanded<4, Channels> : Expanded<8, Channels>;
}

bool Compress(Compressor& c, const vxmod::DibSource& dib, RowSource source, const uint8_t* table, JSAMPROW scratch) {
    if (setjmp(c.jump)) return false;
    jpeg_start_compress(&c.codec, TRUE);
    while (c.codec.next_scanline < c.codec.image_height) {
        JSAMPROW row = source(dib, static_cast<int>(c.codec.next_scanline), table, scratch);
        jpeg_write_scanlines(&c.codec, &row, 1);
    }
    jpeg_finish_compress(&c.codec);
    return true;
}

bool SetUp(Compressor& c, const vxmod::DibSource& dib, bool gray, int quality) {
    if (setjmp(c.jump)) return false;
    jpeg_create_compress(&c.codec);
    c.codec.client_data = &c;
    c.codec.dest = &c.destination;
    c.destination.init_destination = StartOutput;
    c.destination.empty_output_buffer = FlushFull;
    c.destination.term_destination = FlushRest;
    c.codec.image_width = static_cast<JDIMENSION>(dib.width());
    c.codec.image_height = static_cast<JDIMENSION>(dib.height());
    c.codec.input_components = gray ? 1 : 3;
    c.codec.in_color_space = gray ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&c.codec);
    jpeg_set_quality(&c.codec, quality, TRUE);
    c.codec.dct_method = JDCT_ISLOW;
    const double xDpi = std::round(dib.xPelsPerMeter() * 0.0254), yDpi = std::round(dib.yPelsPerMeter() * 0.0254);
    if (xDpi >= 1 && yDpi >= 1 && xDpi <= 65535 && yDpi <= 65535) {
        c.codec.density_unit = 1;
        c.codec.X_density = static_cast<UINT16>(xDpi);
        c.codec.Y_density = static_cast<UINT16>(yDpi);
    }
    return true;
}

int SaveJpeg(LPCSTR fileName, HDIB handle, int quality) {
    const auto dib = vxmod::DibSource::Open(handle);
    if (!dib) return 0;
    auto file = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
    if (!file) return 0;

    // The table as 4 bytes an index (blue, green, red, 0), black past the DIB's own entries.
    uint8_t table[256 * 4] = {};
    bool gray = dib->bits() != 24;
    for (int i = 0; i < dib->colours() && i < 256; ++i) {
        const RGBQUAD& q = dib->palette()[i];
        table[i * 4] = q.rgbBlue;
        table[i * 4 + 1] = q.rgbGreen;
        table[i * 4 + 2] = q.rgbRed;
        gray = gray && q.rgbRed == q.rgbGreen && q.rgbGreen == q.rgbBlue;
    }
    RowSource source = Straight;
    if (dib->bits() != 24)
        source = gray ? (dib->bits() == 8 && dib->colours() == 256 && dib->grayPalette() ? Straight : ExpandedOf<1>(dib->bits()))
                      : ExpandedOf<3>(dib->bits());

    Compressor c;
    c.file = &*file;
    c.codec.err = jpeg_std_error(&c.errors);
    c.errors.error_exit = OnError;
    c.errors.emit_message = OnMessage;
    c.codec.client_data = &c;
    std::unique_ptr<JSAMPLE[]> scratch(source == Straight ? nullptr : new JSAMPLE[size_t(dib->width()) * 3]);
    if (!SetUp(c, *dib, gray, std::clamp(quality, 1, 100)) || !Compress(c, *dib, source, table, scratch.get()))
        return vxmod::FailSave(c.failure);
    return file->commit() ? 1 : 0;
}

}  // namespace

int VXMODULECALL SaveDIBInJPEGFile(LPCSTR fileName, HDIB dib, int quality) {
    try {
        return SaveJpeg(fileName, dib, quality);
    } catch (...) {
        return vxmod::FailSave(IMGERR_NOMEMORY);
    }
}

// vxjpgr.cpp - VXJPGR: LoadJPEGIntoDIB, a JPEG file as a DIB, on libjpeg-turbo's jpeglib.
//
// The file is read whole and decoded from memory with libjpeg's default settings (the accurate
// integer DCT, fancy upsampling), which are also djpeg's, so the pixels are djpeg's:
//   gray                     an 8-bit DIB with the gray ramp, decoded straight into its rows
//   YCbCr, RGB               a 24-bit DIB, decoded straight into its rows as BGR (JCS_EXT_BGR)
//   CMYK, YCCK               a 24-bit DIB: libjpeg gives CMYK (YCCK converted), one scratch row
//                            turns it into RGB. CMYK JPEG files store the inks inverted, as
//                            Adobe's writers began it (255 is no ink), so on the stored values
//                            R = (C * K + 127) / 255, G = (M * K + 127) / 255,
//                            B = (Y * K + 127) / 255: round(C * K / 255), djpeg's conversion
// Baseline, progressive and arithmetic-coded files are read. Other colour spaces fail
// (VXSTATUS_UNSUPPORTED).
//
// Resolution: the JFIF density when its unit is dots per inch (1) or per centimetre (2);
// otherwise (no JFIF segment, or an aspect ratio only) the EXIF XResolution, YResolution and
// ResolutionUnit of the first image directory, read with every offset checked against the
// segment; otherwise 0.
//
// Failures: libjpeg's errors (and its warning that the data ended early, after which it would
// make up the rest of the image) reach a setjmp in small functions that hold no C++ objects,
// so no destructor is skipped. The loader has no status word: the module error code tells
// IMGERR_IO for a file that ends early, IMGERR_FILEFORMAT for data the codec rejects,
// IMGERR_DIBSIZE over the pixel limit, IMGERR_NOMEMORY. Libjpeg's other warnings (bytes
// skipped before a marker, a restart marker out of place) are recovered from as djpeg does.
// windows.h (through the module support) before jpeglib.h, so that jpeglib.h takes Windows'
// boolean and INT32 instead of declaring its own.
#include "module_support.hpp"

#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace {

struct ErrorTrap {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    int failure = VXSTATUS_CORRUPT;
};

int StatusOfError(int code) {
    switch (code) {
        case JERR_NO_SOI: return VXSTATUS_NOTFORMAT;
        case JERR_OUT_OF_MEMORY: return VXSTATUS_NOMEMORY;
        case JERR_INPUT_EOF: return VXSTATUS_TRUNCATED;
        case JERR_BAD_PRECISION:
        case JERR_CONVERSION_NOTIMPL: return VXSTATUS_UNSUPPORTED;
        default: return VXSTATUS_CORRUPT;
    }
}

[[noreturn]] void OnError(j_common_ptr codec) {
    auto* trap = reinterpret_cast<ErrorTrap*>(codec->err);
    trap->failure = StatusOfError(codec->err->msg_code);
    std::longjmp(trap->jump, 1);
}

// Warnings are silent; the end of the data in mid-image is a failure, not a grey remainder.
void OnMessage(j_common_ptr codec, int level) {
    if (level < 0 && codec->err->msg_code == JWRN_JPEG_EOF) {
        auto* trap = reinterpret_cast<ErrorTrap*>(codec->err);
        trap->failure = VXSTATUS_TRUNCATED;
        std::longjmp(trap->jump, 1);
    }
}

// A progressive file may hold any number of scans, each a pass over the whole image: a small
// file of thousands of empty scans would keep the decoder busy for minutes. Real files have
// at most a few dozen; more than kMaxScans fails the file (VXSTATUS_CORRUPT).
constexpr int kMaxScans = 500;

void LimitScans(j_common_ptr codec) {
    if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMaxScans) {
        auto* trap = reinterpret_cast<ErrorTrap*>(codec->err);
        trap->failure = VXSTATUS_CORRUPT;
        std::longjmp(trap->jump, 1);
    }
}

struct Decompressor {
    jpeg_decompress_struct codec{};
    ErrorTrap trap;
    jpeg_progress_mgr progress{};
    Decompressor() {
        progress.progress_monitor = LimitScans;
        codec.err = jpeg_std_error(&trap.manager);
        trap.manager.error_exit = OnError;
        trap.manager.emit_message = OnMessage;
    }
    ~Decompressor() { jpeg_destroy_decompress(&codec); }
};

bool ReadHeader(Decompressor& d, const uint8_t* data, size_t size) {
    if (setjmp(d.trap.jump)) return false;
    jpeg_create_decompress(&d.codec);
    d.codec.progress = &d.progress;
    jpeg_mem_src(&d.codec, data, static_cast<unsigned long>(size));
    jpeg_save_markers(&d.codec, JPEG_APP0 + 1, 0xFFFF);
    jpeg_read_header(&d.codec, TRUE);
    return true;
}

// Chooses the output and computes its size.
bool ChooseOutput(Decompressor& d, J_COLOR_SPACE output) {
    if (setjmp(d.trap.jump)) return false;
    d.codec.out_color_space = output;
    d.codec.dct_method = JDCT_ISLOW;
    d.codec.do_fancy_upsampling = TRUE;
    jpeg_calc_output_dimensions(&d.codec);
    return true;
}

// A CMYK row (4 bytes a pixel, inks inverted) into a BGR one.
void CmykToBgr(const uint8_t* in, uint8_t* out, JDIMENSION width) {
    for (JDIMENSION x = 0; x < width; ++x, in += 4, out += 3) {
        const unsigned k = in[3];
        out[0] = static_cast<uint8_t>((in[2] * k + 127) / 255);
        out[1] = static_cast<uint8_t>((in[1] * k + 127) / 255);
        out[2] = static_cast<uint8_t>((in[0] * k + 127) / 255);
    }
}

// Every scanline into its DIB row, or through `scratch` (CMYK) when there is one.
bool Decode(Decompressor& d, JSAMPARRAY rows, JSAMPROW scratch) {
    if (setjmp(d.trap.jump)) return false;
    jpeg_start_decompress(&d.codec);
    while (d.codec.output_scanline < d.codec.output_height) {
        const JDIMENSION y = d.codec.output_scanline;
        if (scratch == nullptr) {
            jpeg_read_scanlines(&d.codec, rows + y, d.codec.output_height - y);
        } else if (jpeg_read_scanlines(&d.codec, &scratch, 1) == 1) {
            CmykToBgr(scratch, rows[y], d.codec.output_width);
        }
    }
    jpeg_finish_decompress(&d.codec);
    return true;
}

// ---- Resolution ----------------------------------------------------------------------------

// The first image directory's resolution in an EXIF segment ("Exif\0\0" and a TIFF structure),
// every read bounded by the segment.
struct ExifReader {
    const uint8_t* tiff;
    size_t size;
    bool little;
    bool has(size_t at, size_t bytes) const { return at <= size && bytes <= size - at; }
    uint32_t u16(size_t at) const {
        return little ? tiff[at] | tiff[at + 1] << 8 : tiff[at] << 8 | tiff[at + 1];
    }
    uint32_t u32(size_t at) const {
        return little ? u16(at) | u16(at + 2) << 16 : u16(at) << 16 | u16(at + 2);
    }
    // A RATIONAL value of count 1 at the directory entry `entry`; 0 when it is not one.
    double rational(size_t entry) const {
        if (u16(entry + 2) != 5 || u32(entry + 4) != 1) return 0;
        const size_t at = u32(entry + 8);
        if (!has(at, 8) || u32(at + 4) == 0) return 0;
        return static_cast<double>(u32(at)) / u32(at + 4);
    }
};

bool ExifResolution(const jpeg_saved_marker_ptr marker, int32_t& x, int32_t& y) {
    if (marker->data_length < 14 || std::memcmp(marker->data, "Exif\0\0", 6) != 0) return false;
    const ExifReader exif{marker->data + 6, marker->data_length - 6, marker->data[6] == 'I'};
    if (std::memcmp(exif.tiff, "II*\0", 4) != 0 && std::memcmp(exif.tiff, "MM\0*", 4) != 0) return false;
    const size_t directory = exif.u32(4);
    if (!exif.has(directory, 2)) return false;
    const size_t count = exif.u16(directory);
    double xResolution = 0, yResolution = 0;
    unsigned unit = 2;  // inches unless the file says otherwise
    for (size_t i = 0; i < count && exif.has(directory + 2 + i * 12, 12); ++i) {
        const size_t entry = directory + 2 + i * 12;
        switch (exif.u16(entry)) {
            case 0x011A: xResolution = exif.rational(entry); break;
            case 0x011B: yResolution = exif.rational(entry); break;
            case 0x0128:
                if (exif.u16(entry + 2) == 3) unit = exif.u16(entry + 8);
                break;
            default: break;
        }
    }
    if (unit == 2) {
        x = vxmod::PelsPerMeterFromInch(xResolution);
        y = vxmod::PelsPerMeterFromInch(yResolution);
    } else if (unit == 3) {
        x = vxmod::PelsPerMeterFromCentimetre(xResolution);
        y = vxmod::PelsPerMeterFromCentimetre(yResolution);
    } else {
        return false;
    }
    return true;
}

void SetResolution(vxmod::NewDib& dib, const jpeg_decompress_struct& codec) {
    int32_t x = 0, y = 0;
    if (codec.saw_JFIF_marker && codec.density_unit == 1) {
        x = vxmod::PelsPerMeterFromInch(codec.X_density);
        y = vxmod::PelsPerMeterFromInch(codec.Y_density);
    } else if (codec.saw_JFIF_marker && codec.density_unit == 2) {
        x = vxmod::PelsPerMeterFromCentimetre(codec.X_density);
        y = vxmod::PelsPerMeterFromCentimetre(codec.Y_density);
    } else {
        for (jpeg_saved_marker_ptr m = codec.marker_list; m != nullptr; m = m->next)
            if (m->marker == JPEG_APP0 + 1 && ExifResolution(m, x, y)) break;
    }
    dib.setResolution(x, y);
}

// ---- The loader ----------------------------------------------------------------------------

HDIB LoadJpeg(LPCSTR fileName) {
    int status = VXSTATUS_OK;
    const auto file = vxmod::ReadWholeFile(fileName, &status);
    if (!file) return vxmod::FailLoad(nullptr, status);
    if (file->size() < 2 || (*file)[0] != 0xFF || (*file)[1] != 0xD8) return vxmod::FailLoad(nullptr, VXSTATUS_NOTFORMAT);

    Decompressor d;
    if (!ReadHeader(d, file->data(), file->size())) return vxmod::FailLoad(nullptr, d.trap.failure);
    J_COLOR_SPACE output = JCS_EXT_BGR;
    switch (d.codec.jpeg_color_space) {
        case JCS_GRAYSCALE: output = JCS_GRAYSCALE; break;
        case JCS_YCbCr:
        case JCS_RGB: break;
        case JCS_CMYK:
        case JCS_YCCK: output = JCS_CMYK; break;
        default: return vxmod::FailLoad(nullptr, VXSTATUS_UNSUPPORTED);
    }
    if (!ChooseOutput(d, output)) return vxmod::FailLoad(nullptr, d.trap.failure);
    if (!vxmod::WithinPixelLimit(d.codec.output_width, d.codec.output_height))
        return vxmod::FailLoad(nullptr, VXSTATUS_TOOLARGE);

    const bool gray = output == JCS_GRAYSCALE;
    auto dib = vxmod::NewDib::Create(d.codec.output_width, d.codec.output_height, gray ? 8 : 24, gray ? 256 : 0, &status);
    if (!dib) return vxmod::FailLoad(nullptr, status);
    if (gray) dib->setGrayPalette();
    SetResolution(*dib, d.codec);
    try {
        std::vector<JSAMPROW> rows(dib->height());
        for (int y = 0; y < dib->height(); ++y) rows[y] = dib->row(y);
        std::unique_ptr<JSAMPLE[]> scratch;
        if (output == JCS_CMYK) scratch.reset(new JSAMPLE[size_t{d.codec.output_width} * 4]);
        if (!Decode(d, rows.data(), scratch.get())) return vxmod::FailLoad(nullptr, d.trap.failure);
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(nullptr, VXSTATUS_NOMEMORY);
    }
    return dib->release();
}

}  // namespace

HDIB VXMODULECALL LoadJPEGIntoDIB(LPCSTR fileName) {
    try {
        return LoadJpeg(fileName);
    } catch (...) {
        return vxmod::FailLoad(nullptr, VXSTATUS_NOMEMORY);
    }
}

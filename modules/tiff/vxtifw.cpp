// vxtifw.cpp - the VXTIFW module: SaveDIBInTiffFormat (a DIB as a TIFF file, or as a page
// appended to one) and SAVEDIBINCALSFORMAT (a 1-bit DIB as a CALS type 1 raster), both encoded
// by libtiff.
//
// A DIB is written as what its colour table says it is: a 1-bit DIB whose table is black and
// white as a bilevel image (0 white when entry 0 is white, else 0 black), a 4- or 8-bit DIB
// whose table is the full gray ramp as gray samples, other 1-, 4- and 8-bit DIBs as palette
// images (the colour map padded with black to the depth's full size), 24-bit DIBs as RGB. The
// rows are written in the DIB's order of appearance, top row first (orientation 1), one
// sample plane, and the resolution in dots per inch when the DIB has one.
//
// Each file is composed in memory and written out only when it is whole, so a failed encoding
// leaves nothing behind. An appended page is added by libtiff's append mode to the existing
// file's bytes: the old directories stay where they are, the last one is linked to the new
// one, and the file is rewritten in place.
//
// A CALS raster is the single strip of a Group 4 TIFF encoded here, taken out of the TIFF and
// put behind the 2048-byte header of text records.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "module_support.hpp"
#include "tiff_memory.hpp"

namespace {

using vxmod::DibSource;
using vxmod::FailSave;
using vxtiff::MemoryTiff;

constexpr int kDefaultCompression = 0;

// How a DIB goes into the file.
struct Encoding {
    uint16_t compression = COMPRESSION_NONE;
    uint16_t photometric = PHOTOMETRIC_RGB;
    bool predictor = false;  // horizontal differencing before LZW or Deflate
};

bool IsBlack(const RGBQUAD& c) { return c.rgbRed == 0 && c.rgbGreen == 0 && c.rgbBlue == 0; }
bool IsWhite(const RGBQUAD& c) { return c.rgbRed == 255 && c.rgbGreen == 255 && c.rgbBlue == 255; }

uint16_t PhotometricOf(const DibSource& dib) {
    if (dib.bits() == 24) return PHOTOMETRIC_RGB;
    const RGBQUAD* table = dib.palette();
    if (dib.bits() == 1 && dib.colours() >= 2) {
        if (IsWhite(table[0]) && IsBlack(table[1])) return PHOTOMETRIC_MINISWHITE;
        if (IsBlack(table[0]) && IsWhite(table[1])) return PHOTOMETRIC_MINISBLACK;
    }
    if (dib.bits() > 1 && dib.colours() == 1 << dib.bits() && dib.grayPalette()) return PHOTOMETRIC_MINISBLACK;
    return PHOTOMETRIC_PALETTE;
}

// The encoding of `dib` with `compression`; empty (IMGERR_PARAMETER set) for a compression
// this writer does not know or one that cannot hold the DIB.
std::optional<Encoding> ChooseEncoding(const DibSource& dib, int compression) {
    Encoding e;
    e.photometric = PhotometricOf(dib);
    const bool bilevel = dib.bits() == 1 && e.photometric != PHOTOMETRIC_PALETTE;
    const bool continuous = dib.bits() == 24 || (dib.bits() == 8 && e.photometric == PHOTOMETRIC_MINISBLACK);
    if (compression == kDefaultCompression) compression = bilevel ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW;
    switch (compression) {
        case COMPRESSION_NONE:
        case COMPRESSION_PACKBITS: break;
        case COMPRESSION_LZW:
        case COMPRESSION_ADOBE_DEFLATE: e.predictor = continuous; break;
        case COMPRESSION_CCITTFAX4:
            if (!bilevel) return FailSave(IMGERR_PARAMETER), std::nullopt;
            break;
        case COMPRESSION_JPEG:
            if (!continuous) return FailSave(IMGERR_PARAMETER), std::nullopt;
            if (dib.bits() == 24) e.photometric = PHOTOMETRIC_YCBCR;
            break;
        default: return FailSave(IMGERR_PARAMETER), std::nullopt;
    }
    e.compression = static_cast<uint16_t>(compression);
    return e;
}

// Dots per inch from pels per metre, to the hundredth.
float DotsPerInch(int32_t pelsPerMeter) { return static_cast<float>(std::round(pelsPerMeter * 2.54) / 100.0); }

// The directory's fields and every row; false when libtiff refused either.
bool EncodePage(TIFF* tif, const DibSource& dib, const Encoding& e) {
    const uint16_t samples = dib.bits() == 24 ? 3 : 1;
    const uint16_t bits = dib.bits() == 24 ? 8 : static_cast<uint16_t>(dib.bits());
    bool ok = TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(dib.width())) &&
              TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(dib.height())) &&
              TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits) && TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples) &&
              TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
              TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
              TIFFSetField(tif, TIFFTAG_COMPRESSION, e.compression) &&
              TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, e.photometric);
    if (!ok) return false;
    if (e.predictor) TIFFSetField(tif, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (e.compression == COMPRESSION_JPEG) {
        TIFFSetField(tif, TIFFTAG_JPEGQUALITY, 75);
        if (e.photometric == PHOTOMETRIC_YCBCR) TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    if (e.photometric == PHOTOMETRIC_PALETTE) {
        const size_t size = size_t(1) << bits;
        std::vector<uint16_t> red(size), green(size), blue(size);
        for (int i = 0; i < dib.colours() && size_t(i) < size; ++i) {
            red[i] = static_cast<uint16_t>(dib.palette()[i].rgbRed * 257);
            green[i] = static_cast<uint16_t>(dib.palette()[i].rgbGreen * 257);
            blue[i] = static_cast<uint16_t>(dib.palette()[i].rgbBlue * 257);
        }
        TIFFSetField(tif, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
    }
    if (dib.xPelsPerMeter() > 0 || dib.yPelsPerMeter() > 0) {
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, DotsPerInch(dib.xPelsPerMeter()));
        TIFFSetField(tif, TIFFTAG_YRESOLUTION, DotsPerInch(dib.yPelsPerMeter()));
        TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    }
    const uint32_t rowsPerStrip = e.compression == COMPRESSION_CCITTFAX4 ? static_cast<uint32_t>(dib.height())
                                                                        : TIFFDefaultStripSize(tif, 0);
    if (!TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rowsPerStrip)) return false;

    const size_t rowBytes = (size_t(dib.width()) * bits * samples + 7) / 8;
    std::vector<uint8_t> row(rowBytes);
    for (int y = 0; y < dib.height(); ++y) {
        const uint8_t* from = dib.row(y);
        if (samples == 3) {
            for (size_t x = 0; x < rowBytes; x += 3) row[x] = from[x + 2], row[x + 1] = from[x + 1], row[x + 2] = from[x];
        } else {
            std::memcpy(row.data(), from, rowBytes);
        }
        if (TIFFWriteScanline(tif, row.data(), static_cast<uint32_t>(y), 0) < 0) return false;
    }
    return TIFFWriteDirectory(tif) != 0;
}

int SaveTiff(LPCSTR fileName, HDIB dibHandle, int compression, int mode) {
    if (mode != 1 && mode != 2) return FailSave(IMGERR_PARAMETER);
    if (fileName == nullptr) return FailSave(IMGERR_PARAMETER);
    const auto dib = DibSource::Open(dibHandle);
    if (!dib) return 0;
    const auto encoding = ChooseEncoding(*dib, compression);
    if (!encoding) return 0;

    // An existing file (of any length but 0) gets the page appended; otherwise the file is new.
    std::vector<uint8_t> bytes;
    if (mode == 2) {
        int status = VXSTATUS_OK;
        if (auto existing = vxmod::ReadWholeFile(fileName, &status)) bytes = std::move(*existing);
        else if (status != VXSTATUS_OPENFILE) return FailSave(status == VXSTATUS_NOMEMORY ? IMGERR_NOMEMORY : IMGERR_IO);
    }
    const bool appending = !bytes.empty();
    MemoryTiff tiff(bytes);
    if (!tiff.open(appending ? "a" : "w")) return FailSave(appending ? IMGERR_FILEFORMAT : IMGERR_NOMEMORY);
    const bool encoded = EncodePage(tiff.get(), *dib, *encoding);
    if (!tiff.close() || !encoded)
        return FailSave(tiff.diagnostics().writeFailed ? IMGERR_NOMEMORY : IMGERR_IO);

    auto out = vxmod::OutputFile::Open(fileName, appending ? vxmod::OutputFile::Mode::Update : vxmod::OutputFile::Mode::Create);
    if (!out) return 0;
    return out->write(bytes.data(), bytes.size()) && out->commit() ? 1 : 0;
}

// ---- CALS ----------------------------------------------------------------------------------

int Luminance(const RGBQUAD& c) { return c.rgbRed * 299 + c.rgbGreen * 587 + c.rgbBlue * 114; }

// The Group 4 coding of the DIB's rows, 0 white: the single strip of a TIFF made in memory.
std::optional<std::vector<uint8_t>> GroupFourRaster(const DibSource& dib) {
    // Index 0 is white in the raster; a DIB whose entry 0 is the darker one is inverted.
    const int second = dib.colours() >= 2 ? Luminance(dib.palette()[1]) : 0;
    const uint8_t flip = Luminance(dib.palette()[0]) < second ? 0xFF : 0x00;
    const size_t rowBytes = (size_t(dib.width()) + 7) / 8;
    std::vector<uint8_t> rows(rowBytes * size_t(dib.height()));
    for (int y = 0; y < dib.height(); ++y) {
        const uint8_t* from = dib.row(y);
        uint8_t* to = rows.data() + rowBytes * size_t(y);
        for (size_t i = 0; i < rowBytes; ++i) to[i] = from[i] ^ flip;
    }
    std::vector<uint8_t> bytes;
    MemoryTiff tiff(bytes);
    if (!tiff.open("w")) return std::nullopt;
    TIFF* tif = tiff.get();
    const auto width = static_cast<uint32_t>(dib.width()), height = static_cast<uint32_t>(dib.height());
    if (!TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, width) || !TIFFSetField(tif, TIFFTAG_IMAGELENGTH, height) ||
        !TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1) || !TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1) ||
        !TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4) ||
        !TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE) ||
        !TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, height) ||
        TIFFWriteEncodedStrip(tif, 0, rows.data(), static_cast<tmsize_t>(rows.size())) < 0)
        return std::nullopt;
    uint64_t* offsets = nullptr;
    uint64_t* counts = nullptr;
    if (!TIFFGetField(tif, TIFFTAG_STRIPOFFSETS, &offsets) || !TIFFGetField(tif, TIFFTAG_STRIPBYTECOUNTS, &counts))
        return std::nullopt;
    const uint64_t at = offsets[0], count = counts[0];
    if (at > bytes.size() || count > bytes.size() - at) return std::nullopt;
    return std::vector<uint8_t>(bytes.begin() + std::ptrdiff_t(at), bytes.begin() + std::ptrdiff_t(at + count));
}

// The 2048-byte header: sixteen records of 128 bytes, padded with spaces.
std::string CalsHeader(const DibSource& dib) {
    const long dpi = std::lround(dib.xPelsPerMeter() * 0.0254);
    char text[16][64];
    int n = 0;
    for (const char* record : {"srcdocid: NONE", "dstdocid: NONE", "txtfilid: NONE", "figid: NONE", "srcgph: NONE",
                               "docls: NONE", "rtype: 1", "rorient: 000,270"})
        std::snprintf(text[n++], sizeof text[0], "%s", record);
    std::snprintf(text[n++], sizeof text[0], "rpelcnt: %06d,%06d", dib.width(), dib.height());
    std::snprintf(text[n++], sizeof text[0], "rdensty: %04ld", dpi > 0 && dpi <= 9999 ? dpi : 200);
    std::snprintf(text[n++], sizeof text[0], "notes: NONE");
    std::string header(2048, ' ');
    for (int i = 0; i < n; ++i) header.replace(size_t(i) * 128, std::strlen(text[i]), text[i]);
    return header;
}

int SaveCals(LPCSTR fileName, HDIB dibHandle) {
    if (fileName == nullptr) return FailSave(IMGERR_PARAMETER);
    const auto dib = DibSource::Open(dibHandle);
    if (!dib) return 0;
    if (dib->bits() != 1) return FailSave(IMGERR_BITCOUNT);
    const auto raster = GroupFourRaster(*dib);
    if (!raster) return FailSave(IMGERR_IO);
    const std::string header = CalsHeader(*dib);
    auto out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
    if (!out) return 0;
    return out->write(header.data(), header.size()) && out->write(raster->data(), raster->size()) && out->commit() ? 1 : 0;
}

}  // namespace

int VXMODULECALL SaveDIBInTiffFormat(LPCSTR fileName, HDIB dib, int compression, int mode) {
    try {
        return SaveTiff(fileName, dib, compression, mode);
    } catch (const std::bad_alloc&) {
        return FailSave(IMGERR_NOMEMORY);
    }
}

int VXMODULECALL SAVEDIBINCALSFORMAT(LPCSTR fileName, HDIB dib, int, int, int) {
    try {
        return SaveCals(fileName, dib);
    } catch (const std::bad_alloc&) {
        return FailSave(IMGERR_NOMEMORY);
    }
}

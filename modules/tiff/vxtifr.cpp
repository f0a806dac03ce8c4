// vxtifr.cpp - the VXTIFR module: LoadTiffIntoDIB (a page of a TIFF file) and LoadCALSIntoDIB
// (a CALS type 1 raster), both decoded by libtiff from the file's bytes in memory.
//
// A page is read in three steps. The directory is classified once into what the DIB will be:
// bilevel (1-bit, the table keeping the file's white and black), palette (1, 2, 4 or 8 bits;
// 2-bit indices widen to 4 bits), gray (2 to 16 bits, with or without alpha, to 8-bit gray),
// RGB or CMYK (8 or 16 bits, with or without alpha, to 24 bits). The pixel data then comes in
// bands, a strip or a row of tiles at a time, each plane of a separated image into its own
// part of the band, and each row goes through the one row kernel chosen for that class (no
// per-pixel decisions). Last, the orientation tag is applied by turning or mirroring the
// finished DIB, so that the DIB shows the image the way the tag says it is to be seen.
//
// What libtiff can decode but none of the classes describe (YCbCr without JPEG, CIELab,
// old-style JPEG, samples of other widths) goes through libtiff's RGBA reader instead, read in
// the file's own row order (the orientation is applied by the same last step) and always
// giving a 24-bit DIB; that reader hands out alpha premultiplied, so white is added as
// 255 - alpha. JPEG-compressed YCbCr is decoded to RGB by the JPEG codec itself.
//
// A CALS type 1 file is a 2048-byte header of 128-byte text records and a Group 4 raster. The
// raster is wrapped in a small TIFF made up here (a header and one directory whose single
// strip is the raster) and decoded by the same code; the record "rorient" (the direction of
// the pels in a line and of the lines, in degrees) becomes the equivalent TIFF orientation.
#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "module_support.hpp"
#include "tiff_memory.hpp"

namespace {

using vxmod::NewDib;
using vxtiff::MemoryTiff;

// A decoded page: the DIB, its colour table length and the orientation still to apply.
struct Page {
    NewDib dib;
    int bits = 24, colours = 0;
    int orientation = ORIENTATION_TOPLEFT;
};

// ---- Classification ------------------------------------------------------------------------

enum class Model { Bilevel, Palette, Gray, Rgb, Cmyk, Rgba };
enum class AlphaKind { None, Straight, Premultiplied };

struct Directory {
    uint32_t width = 0, height = 0;
    uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISWHITE, planar = PLANARCONFIG_CONTIG;
    uint16_t compression = COMPRESSION_NONE, orientation = ORIENTATION_TOPLEFT;
    Model model = Model::Rgba;
    AlphaKind alpha = AlphaKind::None;
    int alphaSample = 0;
    bool inverted = false;  // gray with 0 as white
};

// More samples per pixel than any colour model here uses with its extra samples.
constexpr uint16_t kMostSamples = 64;

bool IsAlpha(uint16_t extra) { return extra == EXTRASAMPLE_ASSOCALPHA || extra == EXTRASAMPLE_UNASSALPHA; }

// Fills `d` from the current directory; false with `status` when the page cannot be read.
bool Classify(TIFF* tif, Directory& d, int* status) {
    uint16_t sampleFormat = SAMPLEFORMAT_UINT, inkSet = INKSET_CMYK;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &d.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &d.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &d.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &d.samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &d.planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &d.compression);
    TIFFGetFieldDefaulted(tif, TIFFTAG_ORIENTATION, &d.orientation);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &sampleFormat);
    TIFFGetFieldDefaulted(tif, TIFFTAG_INKSET, &inkSet);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &d.photometric))
        d.photometric = d.samples >= 3 ? PHOTOMETRIC_RGB : d.bits == 1 ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
    if (d.orientation < ORIENTATION_TOPLEFT || d.orientation > ORIENTATION_LEFTBOT) d.orientation = ORIENTATION_TOPLEFT;

    if (!vxmod::WithinPixelLimit(d.width, d.height)) {
        *status = d.width == 0 || d.height == 0 ? VXSTATUS_CORRUPT : VXSTATUS_TOOLARGE;
        return false;
    }
    if (!TIFFIsCODECConfigured(d.compression) || (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID) ||
        d.samples == 0 || d.samples > kMostSamples || d.bits == 0) {
        *status = VXSTATUS_UNSUPPORTED;
        return false;
    }
    uint16_t extraCount = 0;
    uint16_t* extraTypes = nullptr;
    if (TIFFGetField(tif, TIFFTAG_EXTRASAMPLES, &extraCount, &extraTypes) && extraCount > 0 && extraCount <= d.samples &&
        IsAlpha(extraTypes[0])) {
        d.alphaSample = d.samples - extraCount;
        d.alpha = extraTypes[0] == EXTRASAMPLE_ASSOCALPHA ? AlphaKind::Premultiplied : AlphaKind::Straight;
    }
    if (d.compression == COMPRESSION_JPEG && d.photometric == PHOTOMETRIC_YCBCR && d.planar == PLANARCONFIG_CONTIG) {
        // The JPEG codec converts to RGB itself (and undoes the chroma subsampling).
        TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        d.photometric = PHOTOMETRIC_RGB;
    }
    const bool wideSamples = d.bits == 8 || d.bits == 16;
    // Samples past the colour ones are alpha (when the first extra one says so) or ignored.
    const int colourSamples = d.photometric == PHOTOMETRIC_RGB ? 3 : d.photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
    if (d.alphaSample < colourSamples) d.alpha = AlphaKind::None;
    switch (d.photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            d.inverted = d.photometric == PHOTOMETRIC_MINISWHITE;
            if (d.samples == 1 && d.bits == 1) d.model = Model::Bilevel;
            else if (d.samples == 1 && (d.bits == 2 || d.bits == 4)) d.model = Model::Gray;
            else if (wideSamples) d.model = Model::Gray;
            break;
        case PHOTOMETRIC_PALETTE:
            if (d.samples == 1 && (d.bits == 1 || d.bits == 2 || d.bits == 4 || d.bits == 8)) d.model = Model::Palette;
            break;
        case PHOTOMETRIC_RGB:
            if (d.samples >= 3 && wideSamples) d.model = Model::Rgb;
            break;
        case PHOTOMETRIC_SEPARATED:
            if (inkSet == INKSET_CMYK && d.samples >= 4 && wideSamples) d.model = Model::Cmyk;
            break;
        default: break;
    }
    if (d.model != Model::Gray && d.model != Model::Rgb && d.model != Model::Cmyk) d.alpha = AlphaKind::None;
    if (d.model == Model::Rgba) {
        char reason[1024];
        if (!TIFFRGBAImageOK(tif, reason)) {
            *status = VXSTATUS_UNSUPPORTED;
            return false;
        }
    }
    return true;
}

// ---- Bands of rows -------------------------------------------------------------------------

// The largest band decoded at once: every strip of a page within the pixel limit fits.
constexpr uint64_t kMostBandBytes = sizeof(size_t) > 4 ? uint64_t(1) << 32 : uint64_t(1) << 30;

// The stored rows of a page, top-down in the file's order, each with every sample of a pixel
// together. Rows are asked for in order; a band (a strip, or a row of tiles) is decoded when
// its first row is asked for.
class RowSource {
public:
    // False with `status` when the layout cannot be read.
    bool init(TIFF* tif, const Directory& d, int* status) {
        tif_ = tif;
        d_ = &d;
        tiled_ = TIFFIsTiled(tif) != 0;
        planes_ = d.planar == PLANARCONFIG_SEPARATE ? d.samples : 1;
        const uint64_t planeBits = uint64_t(d.bits) * (planes_ == 1 ? d.samples : 1);
        rowBytes_ = planes_ == 1 ? static_cast<uint64_t>(TIFFScanlineSize64(tif)) : (uint64_t(d.width) * d.bits + 7) / 8;
        if (tiled_) {
            uint32_t tileWidth = 0, tileHeight = 0;
            TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
            TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileHeight);
            if (tileWidth == 0 || tileHeight == 0 || tileWidth * planeBits % 8 != 0 || tileWidth > (1u << 24) ||
                tileHeight > (1u << 24)) {
                *status = VXSTATUS_UNSUPPORTED;
                return false;
            }
            tileWidth_ = tileWidth;
            bandHeight_ = std::min(tileHeight, d.height);
            tileRowBytes_ = planes_ == 1 ? static_cast<uint64_t>(TIFFTileRowSize64(tif)) : (uint64_t(tileWidth) * d.bits + 7) / 8;
            tileBytes_ = tileRowBytes_ * tileHeight;
            tileStep_ = tileWidth * planeBits / 8;
        } else {
            uint32_t rowsPerStrip = d.height;
            TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
            bandHeight_ = std::clamp<uint32_t>(rowsPerStrip, 1, d.height);
        }
        const uint64_t pixelRowBytes = (uint64_t(d.width) * d.bits * d.samples + 7) / 8;
        if (rowBytes_ == 0 || (planes_ == 1 && rowBytes_ < pixelRowBytes) || tileBytes_ > (uint64_t(1) << 31) ||
            rowBytes_ * bandHeight_ * planes_ > kMostBandBytes) {
            *status = VXSTATUS_CORRUPT;
            return false;
        }
        band_.resize(static_cast<size_t>(rowBytes_ * bandHeight_ * planes_));
        tile_.resize(static_cast<size_t>(tileBytes_));
        if (planes_ > 1) row_.resize(static_cast<size_t>(pixelRowBytes));
        return true;
    }

    // Row `y`, or null when its band cannot be decoded.
    const uint8_t* row(uint32_t y) {
        const uint32_t index = y / bandHeight_;
        if (index != loadedBand_) {
            if (!load(index)) return nullptr;
            loadedBand_ = index;
        }
        const uint64_t inBand = y - uint64_t(index) * bandHeight_;
        if (planes_ == 1) return band_.data() + inBand * rowBytes_;
        // Separate planes of 8- or 16-bit samples: interleave them.
        const size_t sampleBytes = d_->bits / 8;
        for (int plane = 0; plane < planes_; ++plane) {
            const uint8_t* from = band_.data() + (uint64_t(plane) * bandHeight_ + inBand) * rowBytes_;
            uint8_t* to = row_.data() + plane * sampleBytes;
            for (uint32_t x = 0; x < d_->width; ++x, from += sampleBytes, to += sampleBytes * planes_)
                std::memcpy(to, from, sampleBytes);
        }
        return row_.data();
    }

private:
    bool load(uint32_t index) {
        const uint32_t first = index * bandHeight_;
        const uint32_t rows = std::min(bandHeight_, d_->height - first);
        for (int plane = 0; plane < planes_; ++plane) {
            uint8_t* to = band_.data() + uint64_t(plane) * bandHeight_ * rowBytes_;
            if (!tiled_) {
                const uint32_t strip = TIFFComputeStrip(tif_, first, static_cast<uint16_t>(plane));
                const tmsize_t want = static_cast<tmsize_t>(rows * rowBytes_);
                if (TIFFReadEncodedStrip(tif_, strip, to, want) < want) return false;
                continue;
            }
            for (uint32_t x = 0; x < d_->width; x += tileWidth_) {
                const uint32_t tile = TIFFComputeTile(tif_, x, first, 0, static_cast<uint16_t>(plane));
                if (TIFFReadEncodedTile(tif_, tile, tile_.data(), static_cast<tmsize_t>(tileBytes_)) <
                    static_cast<tmsize_t>(tileBytes_))
                    return false;
                const uint64_t at = uint64_t(x / tileWidth_) * tileStep_;
                const uint64_t count = std::min<uint64_t>(tileRowBytes_, rowBytes_ - at);
                for (uint32_t r = 0; r < rows; ++r)
                    std::memcpy(to + r * rowBytes_ + at, tile_.data() + r * tileRowBytes_, static_cast<size_t>(count));
            }
        }
        return true;
    }

    TIFF* tif_ = nullptr;
    const Directory* d_ = nullptr;
    bool tiled_ = false;
    int planes_ = 1;
    uint64_t rowBytes_ = 0, tileRowBytes_ = 0, tileBytes_ = 0, tileStep_ = 0;
    uint32_t bandHeight_ = 1, tileWidth_ = 0, loadedBand_ = UINT32_MAX;
    std::vector<uint8_t> band_, tile_, row_;
};

// ---- Row kernels ---------------------------------------------------------------------------

struct RowFormat {
    uint32_t width = 0;
    int samples = 1, alphaSample = 0;
};
using RowKernel = void (*)(const uint8_t* from, uint8_t* to, const RowFormat& f);

template <typename S>
S Sample(const uint8_t* row, size_t index) {
    S value;
    std::memcpy(&value, row + index * sizeof(S), sizeof(S));
    return value;
}
uint8_t To8(uint8_t v) { return v; }
uint8_t To8(uint16_t v) { return static_cast<uint8_t>((v * 255u + 32767u) / 65535u); }

template <AlphaKind A>
uint8_t OnWhite(uint8_t c, uint8_t a) {
    if constexpr (A == AlphaKind::Straight) return static_cast<uint8_t>((c * a + 255 * (255 - a) + 127) / 255);
    else if constexpr (A == AlphaKind::Premultiplied) return static_cast<uint8_t>(std::min(255, c + 255 - a));
    else return c;
}

// Packed indices as stored; the bits past the last pixel are cleared, whatever the file had.
void CopyRow(const uint8_t* from, uint8_t* to, const RowFormat& f) {
    const size_t bits = size_t(f.width) * f.samples;  // `samples` holds the bits per pixel here
    std::memcpy(to, from, (bits + 7) / 8);
    if (bits % 8 != 0) to[bits / 8] &= static_cast<uint8_t>(0xFF << (8 - bits % 8));
}

// 2-bit indices to 4-bit ones.
void WidenTwoBitRow(const uint8_t* from, uint8_t* to, const RowFormat& f) {
    for (uint32_t x = 0; x < f.width; x += 2) {
        const uint8_t byte = from[x / 4];
        const int shift = 6 - 2 * (x % 4);
        to[x / 2] = static_cast<uint8_t>((byte >> shift & 3) << 4 | (byte >> (shift - 2) & 3));
    }
}

template <int Bits, bool Inverted>
void PackedGrayRow(const uint8_t* from, uint8_t* to, const RowFormat& f) {
    constexpr int mask = (1 << Bits) - 1, step = 255 / mask, perByte = 8 / Bits;
    for (uint32_t x = 0; x < f.width; ++x) {
        const int level = (from[x / perByte] >> (8 - Bits * (int(x % perByte) + 1)) & mask) * step;
        to[x] = static_cast<uint8_t>(Inverted ? 255 - level : level);
    }
}

template <Model M, typename S, AlphaKind A, bool Inverted>
void SampleRow(const uint8_t* from, uint8_t* to, const RowFormat& f) {
    for (uint32_t x = 0; x < f.width; ++x) {
        const size_t at = size_t(x) * f.samples;
        const uint8_t a = A == AlphaKind::None ? 255 : To8(Sample<S>(from, at + f.alphaSample));
        if constexpr (M == Model::Gray) {
            const uint8_t level = To8(Sample<S>(from, at));
            to[x] = OnWhite<A>(Inverted ? static_cast<uint8_t>(255 - level) : level, a);
        } else if constexpr (M == Model::Rgb) {
            to[3 * x + 2] = OnWhite<A>(To8(Sample<S>(from, at)), a);
            to[3 * x + 1] = OnWhite<A>(To8(Sample<S>(from, at + 1)), a);
            to[3 * x] = OnWhite<A>(To8(Sample<S>(from, at + 2)), a);
        } else {
            const int white = 255 - To8(Sample<S>(from, at + 3));
            auto ink = [&](size_t i) { return static_cast<uint8_t>(((255 - To8(Sample<S>(from, at + i))) * white + 127) / 255); };
            to[3 * x + 2] = OnWhite<A>(ink(0), a);
            to[3 * x + 1] = OnWhite<A>(ink(1), a);
            to[3 * x] = OnWhite<A>(ink(2), a);
        }
    }
}

template <Model M, typename S>
RowKernel SampleKernel(AlphaKind alpha, bool inverted) {
    if (inverted) {
        if constexpr (M == Model::Gray) {
            if (alpha == AlphaKind::Straight) return &SampleRow<M, S, AlphaKind::Straight, true>;
            if (alpha == AlphaKind::Premultiplied) return &SampleRow<M, S, AlphaKind::Premultiplied, true>;
            return &SampleRow<M, S, AlphaKind::None, true>;
        }
    }
    if (alpha == AlphaKind::Straight) return &SampleRow<M, S, AlphaKind::Straight, false>;
    if (alpha == AlphaKind::Premultiplied) return &SampleRow<M, S, AlphaKind::Premultiplied, false>;
    return &SampleRow<M, S, AlphaKind::None, false>;
}

template <Model M>
RowKernel WideKernel(const Directory& d) {
    return d.bits == 16 ? SampleKernel<M, uint16_t>(d.alpha, d.inverted) : SampleKernel<M, uint8_t>(d.alpha, d.inverted);
}

RowKernel KernelFor(const Directory& d) {
    switch (d.model) {
        case Model::Bilevel: return &CopyRow;
        case Model::Palette: return d.bits == 2 ? &WidenTwoBitRow : &CopyRow;
        case Model::Gray:
            if (d.bits == 2) return d.inverted ? &PackedGrayRow<2, true> : &PackedGrayRow<2, false>;
            if (d.bits == 4) return d.inverted ? &PackedGrayRow<4, true> : &PackedGrayRow<4, false>;
            return WideKernel<Model::Gray>(d);
        case Model::Rgb: return WideKernel<Model::Rgb>(d);
        case Model::Cmyk: return WideKernel<Model::Cmyk>(d);
        case Model::Rgba: break;
    }
    return nullptr;
}

// ---- Pages ---------------------------------------------------------------------------------

// The DIB a classified page becomes, with its colour table.
std::optional<Page> MakePage(TIFF* tif, const Directory& d, int* status) {
    int bits = 24, colours = 0;
    if (d.model == Model::Bilevel) bits = 1, colours = 2;
    else if (d.model == Model::Palette) bits = d.bits == 2 ? 4 : d.bits, colours = 1 << d.bits;
    else if (d.model == Model::Gray) bits = 8, colours = 256;
    auto dib = NewDib::Create(d.width, d.height, bits, colours, status);
    if (!dib) return std::nullopt;
    if (d.model == Model::Bilevel) {
        const uint8_t first = d.inverted ? 255 : 0;
        dib->setPalette(0, first, first, first);
        dib->setPalette(1, 255 - first, 255 - first, 255 - first);
    } else if (d.model == Model::Gray) {
        dib->setGrayPalette();
    } else if (d.model == Model::Palette) {
        uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &red, &green, &blue)) {
            *status = VXSTATUS_CORRUPT;
            return std::nullopt;
        }
        // Some writers store 8-bit values in the 16-bit map; a map with no value over 255 is read so.
        bool eightBit = true;
        for (int i = 0; i < colours; ++i) eightBit = eightBit && red[i] < 256 && green[i] < 256 && blue[i] < 256;
        auto level = [&](uint16_t v) { return eightBit ? static_cast<uint8_t>(v) : To8(v); };
        for (int i = 0; i < colours; ++i) dib->setPalette(i, level(red[i]), level(green[i]), level(blue[i]));
    }
    return Page{std::move(*dib), bits, colours, d.orientation};
}

bool ReadThroughKernels(TIFF* tif, const Directory& d, Page& page, int* status) {
    RowSource rows;
    if (!rows.init(tif, d, status)) return false;
    const RowKernel kernel = KernelFor(d);
    RowFormat format{d.width, d.samples, d.alphaSample};
    if (kernel == &CopyRow) format.samples = d.bits;
    for (uint32_t y = 0; y < d.height; ++y) {
        const uint8_t* from = rows.row(y);
        if (from == nullptr) {
            *status = VXSTATUS_CORRUPT;
            return false;
        }
        kernel(from, page.dib.row(static_cast<int>(y)), format);
    }
    return true;
}

// libtiff's RGBA reader, in the file's row order: the orientation tag is set aside for it and
// applied afterwards like every other page's.
bool ReadThroughRgba(TIFF* tif, const Directory& d, Page& page, int* status) {
    std::vector<uint32_t> raster(size_t(d.width) * d.height);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (!TIFFReadRGBAImageOriented(tif, d.width, d.height, raster.data(), ORIENTATION_TOPLEFT, 1)) {
        *status = VXSTATUS_CORRUPT;
        return false;
    }
    for (uint32_t y = 0; y < d.height; ++y) {
        const uint32_t* from = raster.data() + size_t(y) * d.width;
        uint8_t* to = page.dib.row(static_cast<int>(y));
        for (uint32_t x = 0; x < d.width; ++x) {
            const uint32_t p = from[x];
            const auto a = static_cast<uint8_t>(TIFFGetA(p));
            to[3 * x] = OnWhite<AlphaKind::Premultiplied>(static_cast<uint8_t>(TIFFGetB(p)), a);
            to[3 * x + 1] = OnWhite<AlphaKind::Premultiplied>(static_cast<uint8_t>(TIFFGetG(p)), a);
            to[3 * x + 2] = OnWhite<AlphaKind::Premultiplied>(static_cast<uint8_t>(TIFFGetR(p)), a);
        }
    }
    return true;
}

// The resolution tags in pels per metre, x then y (0 without them or with unit "none").
std::pair<int32_t, int32_t> Resolution(TIFF* tif) {
    float x = 0, y = 0;
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (!TIFFGetField(tif, TIFFTAG_XRESOLUTION, &x) || !TIFFGetField(tif, TIFFTAG_YRESOLUTION, &y)) return {0, 0};
    if (unit == RESUNIT_INCH) return {vxmod::PelsPerMeterFromInch(x), vxmod::PelsPerMeterFromInch(y)};
    if (unit == RESUNIT_CENTIMETER) return {vxmod::PelsPerMeterFromCentimetre(x), vxmod::PelsPerMeterFromCentimetre(y)};
    return {0, 0};
}

// ---- Orientation ---------------------------------------------------------------------------

template <int Bits>
struct PixelAccess {
    static uint32_t get(const uint8_t* row, uint32_t x) {
        if constexpr (Bits == 24) return uint32_t(row[3 * x]) | uint32_t(row[3 * x + 1]) << 8 | uint32_t(row[3 * x + 2]) << 16;
        else if constexpr (Bits == 8) return row[x];
        else {
            constexpr uint32_t perByte = 8 / Bits, mask = (1u << Bits) - 1;
            return row[x / perByte] >> (8 - Bits * (x % perByte + 1)) & mask;
        }
    }
    static void set(uint8_t* row, uint32_t x, uint32_t v) {
        if constexpr (Bits == 24) {
            row[3 * x] = static_cast<uint8_t>(v), row[3 * x + 1] = static_cast<uint8_t>(v >> 8);
            row[3 * x + 2] = static_cast<uint8_t>(v >> 16);
        } else if constexpr (Bits == 8) {
            row[x] = static_cast<uint8_t>(v);
        } else {
            constexpr uint32_t perByte = 8 / Bits;
            row[x / perByte] |= static_cast<uint8_t>(v << (8 - Bits * (x % perByte + 1)));
        }
    }
};

// Where the pixel seen at (x, y) is stored: stored x = ax * x + bx * y + cx, and likewise for
// the stored y, one entry per orientation value 1 to 8.
struct StoredFrom {
    int ax, bx, cxW, cxH, ay, by, cyW, cyH;  // c = cW * (seen width - 1) + cH * (seen height - 1)
};
constexpr StoredFrom kStoredFrom[9] = {
    {1, 0, 0, 0, 0, 1, 0, 0},    // (unused)
    {1, 0, 0, 0, 0, 1, 0, 0},    // 1 top left: as stored
    {-1, 0, 1, 0, 0, 1, 0, 0},   // 2 top right: mirrored left to right
    {-1, 0, 1, 0, 0, -1, 0, 1},  // 3 bottom right: turned half way
    {1, 0, 0, 0, 0, -1, 0, 1},   // 4 bottom left: mirrored top to bottom
    {0, 1, 0, 0, 1, 0, 0, 0},    // 5 left top: stored rows are the columns from the left
    {0, 1, 0, 0, -1, 0, 1, 0},   // 6 right top: stored rows are the columns from the right
    {0, -1, 0, 1, -1, 0, 1, 0},  // 7 right bottom
    {0, -1, 0, 1, 1, 0, 0, 0},   // 8 left bottom
};

template <int Bits>
void Reorient(NewDib& stored, NewDib& seen, int orientation) {
    const StoredFrom& m = kStoredFrom[orientation];
    const int lastX = seen.width() - 1, lastY = seen.height() - 1;
    for (int y = 0; y < seen.height(); ++y) {
        uint8_t* to = seen.row(y);
        for (int x = 0; x < seen.width(); ++x) {
            const int sx = m.ax * x + m.bx * y + m.cxW * lastX + m.cxH * lastY;
            const int sy = m.ay * x + m.by * y + m.cyW * lastX + m.cyH * lastY;
            PixelAccess<Bits>::set(to, static_cast<uint32_t>(x),
                                   PixelAccess<Bits>::get(stored.row(sy), static_cast<uint32_t>(sx)));
        }
    }
}

// The page as it is to be seen; a new DIB unless it is stored that way.
std::optional<Page> Oriented(Page page, std::pair<int32_t, int32_t> pels, int* status) {
    if (page.orientation == ORIENTATION_TOPLEFT) {
        page.dib.setResolution(pels.first, pels.second);
        return page;
    }
    const bool turned = page.orientation >= ORIENTATION_LEFTTOP;
    const int width = turned ? page.dib.height() : page.dib.width();
    const int height = turned ? page.dib.width() : page.dib.height();
    const int bits = page.bits;
    auto seen = NewDib::Create(width, height, bits, page.colours, status);
    if (!seen) return std::nullopt;
    std::memcpy(seen->palette(), page.dib.palette(), size_t(page.colours) * 4);
    if (turned) std::swap(pels.first, pels.second);
    seen->setResolution(pels.first, pels.second);
    switch (bits) {
        case 1: Reorient<1>(page.dib, *seen, page.orientation); break;
        case 4: Reorient<4>(page.dib, *seen, page.orientation); break;
        case 8: Reorient<8>(page.dib, *seen, page.orientation); break;
        default: Reorient<24>(page.dib, *seen, page.orientation); break;
    }
    return Page{std::move(*seen), page.bits, page.colours, ORIENTATION_TOPLEFT};
}

// ---- Files ---------------------------------------------------------------------------------

bool KnownByteOrder(const std::vector<uint8_t>& bytes) {
    static constexpr uint8_t kLittle[4] = {'I', 'I', 42, 0}, kBig[4] = {'M', 'M', 0, 42};
    static constexpr uint8_t kLittleBig[4] = {'I', 'I', 43, 0}, kBigBig[4] = {'M', 'M', 0, 43};
    const size_t n = std::min<size_t>(bytes.size(), 4);
    for (const uint8_t* magic : {kLittle, kBig, kLittleBig, kBigBig})
        if (std::memcmp(bytes.data(), magic, n) == 0) return true;
    return false;
}

// Page `page` (from 1) of the TIFF in `bytes`, as it is to be seen.
std::optional<Page> DecodeTiff(std::vector<uint8_t>& bytes, int page, int* status) {
    if (bytes.empty() || !KnownByteOrder(bytes)) {
        *status = bytes.empty() ? VXSTATUS_TRUNCATED : VXSTATUS_NOTFORMAT;
        return std::nullopt;
    }
    MemoryTiff tiff(bytes);
    auto failed = [&](int why) {
        *status = tiff.diagnostics().shortRead || tiff.diagnostics().prematureEnd ? VXSTATUS_TRUNCATED : why;
        return std::nullopt;
    };
    if (!tiff.open("rm")) return failed(VXSTATUS_CORRUPT);
    TIFF* tif = tiff.get();
    if (page > 1) {
        if (static_cast<tdir_t>(page) > TIFFNumberOfDirectories(tif)) {
            *status = VXSTATUS_NOPAGE;
            return std::nullopt;
        }
        if (!TIFFSetDirectory(tif, static_cast<tdir_t>(page - 1))) return failed(VXSTATUS_CORRUPT);
    }
    Directory d;
    if (!Classify(tif, d, status)) return std::nullopt;
    auto made = MakePage(tif, d, status);
    if (!made) return std::nullopt;
    int why = VXSTATUS_CORRUPT;
    const bool read = d.model == Model::Rgba ? ReadThroughRgba(tif, d, *made, &why) : ReadThroughKernels(tif, d, *made, &why);
    if (!read || tiff.diagnostics().shortRead || tiff.diagnostics().prematureEnd) return failed(why);
    return Oriented(std::move(*made), Resolution(tif), status);
}

// ---- CALS ----------------------------------------------------------------------------------

constexpr size_t kCalsHeaderBytes = 2048, kCalsRecordBytes = 128;

// The records of a CALS header that matter here, as written (trimmed), empty when absent.
struct CalsRecords {
    std::string rtype, rorient, rpelcnt, rdensty;
};

std::string Trimmed(const uint8_t* from, const uint8_t* to) {
    while (from < to && (*from == ' ' || *from == 0 || *from == '\r' || *from == '\n' || *from == '\t')) ++from;
    while (to > from && (to[-1] == ' ' || to[-1] == 0 || to[-1] == '\r' || to[-1] == '\n' || to[-1] == '\t')) --to;
    return std::string(from, to);
}

CalsRecords ParseCalsHeader(const uint8_t* header) {
    CalsRecords records;
    for (size_t at = 0; at < kCalsHeaderBytes; at += kCalsRecordBytes) {
        const uint8_t* record = header + at;
        const auto* colon = static_cast<const uint8_t*>(std::memchr(record, ':', kCalsRecordBytes));
        if (colon == nullptr) continue;
        std::string name = Trimmed(record, colon);
        for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        std::string value = Trimmed(colon + 1, record + kCalsRecordBytes);
        if (name == "rtype") records.rtype = value;
        else if (name == "rorient") records.rorient = value;
        else if (name == "rpelcnt") records.rpelcnt = value;
        else if (name == "rdensty") records.rdensty = value;
    }
    return records;
}

// "a,b" as two decimal numbers of up to 9 digits, or "a" alone when `pair` is false.
bool ParseNumbers(const std::string& text, bool pair, uint32_t& first, uint32_t& second) {
    uint32_t* target = &first;
    int digits = 0;
    first = second = 0;
    for (char c : text) {
        if (c >= '0' && c <= '9' && digits < 9) {
            *target = *target * 10 + static_cast<uint32_t>(c - '0');
            ++digits;
        } else if (c == ',' && pair && target == &first && digits > 0) {
            target = &second;
            digits = 0;
        } else if (c != ' ') {
            return false;
        }
    }
    return digits > 0 && (target == &second) == pair;
}

// The TIFF orientation of a CALS pel path and line progression (degrees anticlockwise from
// the direction of reading), 0 for a pair that is neither a turn nor a mirror image.
int OrientationOfCals(uint32_t pelPath, uint32_t lineProgression) {
    struct Entry { uint32_t pel, line; int orientation; };
    static constexpr Entry kTable[] = {
        {0, 270, ORIENTATION_TOPLEFT},   {90, 0, ORIENTATION_LEFTBOT},    {180, 90, ORIENTATION_BOTRIGHT},
        {270, 180, ORIENTATION_RIGHTTOP}, {0, 90, ORIENTATION_BOTLEFT},    {90, 180, ORIENTATION_RIGHTBOT},
        {180, 270, ORIENTATION_TOPRIGHT}, {270, 0, ORIENTATION_LEFTTOP},
    };
    for (const Entry& e : kTable)
        if (e.pel == pelPath && e.line == lineProgression) return e.orientation;
    return 0;
}

// A TIFF of one directory whose single strip is the raster: Group 4, 0 white.
std::vector<uint8_t> WrapCalsRaster(uint32_t width, uint32_t height, int orientation, uint32_t dpi,
                                    const uint8_t* raster, uint32_t rasterBytes) {
    struct Entry { uint16_t tag, type; uint32_t value; };
    constexpr uint16_t kShort = 3, kLong = 4, kRational = 5;
    const uint32_t entries = dpi > 0 ? 13 : 10;
    const uint32_t rationals = 8 + 2 + entries * 12 + 4;
    const uint32_t stripAt = rationals + (dpi > 0 ? 16 : 0);
    std::vector<Entry> directory = {
        {256, kLong, width}, {257, kLong, height}, {258, kShort, 1}, {259, kShort, COMPRESSION_CCITTFAX4},
        {262, kShort, PHOTOMETRIC_MINISWHITE}, {273, kLong, stripAt}, {274, kShort, static_cast<uint32_t>(orientation)},
        {277, kShort, 1}, {278, kLong, height}, {279, kLong, rasterBytes},
    };
    if (dpi > 0) directory.insert(directory.end(), {{282, kRational, rationals}, {283, kRational, rationals + 8}, {296, kShort, RESUNIT_INCH}});
    std::vector<uint8_t> tiff(stripAt + size_t(rasterBytes));
    auto put16 = [&](size_t at, uint32_t v) { tiff[at] = uint8_t(v), tiff[at + 1] = uint8_t(v >> 8); };
    auto put32 = [&](size_t at, uint32_t v) { put16(at, v & 0xFFFF), put16(at + 2, v >> 16); };
    tiff[0] = tiff[1] = 'I';
    put16(2, 42);
    put32(4, 8);
    put16(8, entries);
    for (uint32_t i = 0; i < entries; ++i) {
        const size_t at = 10 + size_t(i) * 12;
        put16(at, directory[i].tag);
        put16(at + 2, directory[i].type);
        put32(at + 4, 1);
        if (directory[i].type == kShort) put16(at + 8, directory[i].value);
        else put32(at + 8, directory[i].value);
    }
    if (dpi > 0)
        for (uint32_t at : {rationals, rationals + 8}) put32(at, dpi), put32(at + 4, 1);
    if (rasterBytes > 0) std::memcpy(tiff.data() + stripAt, raster, rasterBytes);
    return tiff;
}

std::optional<Page> DecodeCals(const std::vector<uint8_t>& bytes, int* status) {
    static constexpr char kMark[] = "srcdocid:";
    const size_t headerBytes = std::min(bytes.size(), kCalsHeaderBytes);
    const bool marked = std::search(bytes.begin(), bytes.begin() + std::ptrdiff_t(headerBytes), kMark, kMark + 9) !=
                        bytes.begin() + std::ptrdiff_t(headerBytes);
    if (!marked || bytes.size() <= kCalsHeaderBytes) {
        *status = marked ? VXSTATUS_TRUNCATED : VXSTATUS_NOTFORMAT;
        return std::nullopt;
    }
    const CalsRecords records = ParseCalsHeader(bytes.data());
    uint32_t type = 1, unused = 0, pelPath = 0, lineProgression = 270, width = 0, height = 0, dpi = 0;
    if (!records.rtype.empty() && (!ParseNumbers(records.rtype, false, type, unused) || type != 1)) {
        *status = VXSTATUS_UNSUPPORTED;
        return std::nullopt;
    }
    if (!records.rorient.empty() && !ParseNumbers(records.rorient, true, pelPath, lineProgression)) {
        *status = VXSTATUS_CORRUPT;
        return std::nullopt;
    }
    const int orientation = OrientationOfCals(pelPath, lineProgression);
    if (orientation == 0) {
        *status = VXSTATUS_UNSUPPORTED;
        return std::nullopt;
    }
    if (!ParseNumbers(records.rpelcnt, true, width, height)) {
        *status = VXSTATUS_CORRUPT;
        return std::nullopt;
    }
    if (!vxmod::WithinPixelLimit(width, height)) {
        *status = width == 0 || height == 0 ? VXSTATUS_CORRUPT : VXSTATUS_TOOLARGE;
        return std::nullopt;
    }
    if (!records.rdensty.empty() && !ParseNumbers(records.rdensty, false, dpi, unused)) dpi = 0;
    const size_t rasterBytes = bytes.size() - kCalsHeaderBytes;
    if (rasterBytes > UINT32_MAX - 4096) {
        *status = VXSTATUS_CORRUPT;
        return std::nullopt;
    }
    std::vector<uint8_t> tiff = WrapCalsRaster(width, height, orientation, dpi, bytes.data() + kCalsHeaderBytes,
                                               static_cast<uint32_t>(rasterBytes));
    return DecodeTiff(tiff, 1, status);
}

}  // namespace

HDIB VXMODULECALL LoadTiffIntoDIB(LPCSTR fileName, int page, int* status) {
    try {
        int why = VXSTATUS_OK;
        auto bytes = vxmod::ReadWholeFile(fileName, &why);
        if (!bytes) return vxmod::FailLoad(status, why);
        auto decoded = DecodeTiff(*bytes, std::max(page, 1), &why);
        if (!decoded) return vxmod::FailLoad(status, why);
        vxmod::ReportLoaded(status);
        return decoded->dib.release();
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}

HDIB VXMODULECALL LoadCALSIntoDIB(LPCSTR fileName, int* status) {
    try {
        int why = VXSTATUS_OK;
        auto bytes = vxmod::ReadWholeFile(fileName, &why);
        if (!bytes) return vxmod::FailLoad(status, why);
        auto decoded = DecodeCals(*bytes, &why);
        if (!decoded) return vxmod::FailLoad(status, why);
        vxmod::ReportLoaded(status);
        return decoded->dib.release();
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}

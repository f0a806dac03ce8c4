// vxpcxr.cpp - the PCX and DCX reader (module VXPCXR): LoadPCXIntoDIB and LoadDCXIntoDIB.
//
// The header's bits per pixel and plane count pick one of a few layouts, each with a scan-line
// converter of its own, chosen once per image: 1 bit x 1 plane becomes a 1-bit DIB; 1 bit x 2
// to 4 planes and 2 or 4 bits x 1 plane become a 4-bit DIB (the planes' bits combined into
// nibbles through a table); 8 bits x 1 plane an 8-bit DIB; 8 bits x 3 planes (red, green,
// blue) a 24-bit DIB, and 8 bits x 4 planes the same with the fourth plane as alpha,
// composited on white. The colour tables: the 256-colour trailer for 8 bits (a gray ramp when
// the file has none), the header's 16-entry EGA palette for the others. Version 3 files carry
// no palette (the standard EGA colours then, or black and white for 1 bit), and neither do
// 1-bit files whose two first entries are equal, as many writers leave them zeroed.
//
// Scan lines are decoded as one stream, so a run that a broken writer let cross the end of a
// line continues into the next one, as most readers take it. The bytes a file needs for its
// size are checked before the DIB is allocated: a run byte pair expands to at most 63 bytes, so
// a file cannot claim more than 31.5 times its length; anything claiming more ends early by
// construction and is refused as truncated without touching memory. A file that ends inside
// its scan lines fails as a whole.
//
// A DCX file's page n is at the n-th offset of its table; the page's bytes run to the next
// larger offset of the table, or the end of the file. Offsets into the table or past the end
// of the file are refused.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>

#include "dib_layout.hpp"
#include "module_support.hpp"
#include "pcx_format.hpp"

namespace {

using namespace vxmod::pcx;
using vx::LoadU16;
using vx::LoadU32;

// Decodes the scan-line stream: run-length coded or stored, across line ends.
class ScanStream {
public:
    ScanStream(std::span<const uint8_t> data, bool runLength)
        : at_(data.data()), end_(at_ + data.size()), runLength_(runLength) {}

    // Fills `out` with the next `count` bytes; false when the data ends first.
    bool read(uint8_t* out, size_t count) {
        if (!runLength_) {
            if (size_t(end_ - at_) < count) return false;
            std::memcpy(out, at_, count);
            at_ += count;
            return true;
        }
        while (count > 0) {
            if (pending_ > 0) {
                const size_t take = std::min<size_t>(pending_, count);
                std::memset(out, value_, take);
                out += take;
                count -= take;
                pending_ -= static_cast<unsigned>(take);
                continue;
            }
            if (at_ == end_) return false;
            const uint8_t byte = *at_++;
            if ((byte & kRunFlag) != kRunFlag) {
                *out++ = byte;
                --count;
                continue;
            }
            if (at_ == end_) return false;
            pending_ = byte & kLongestRun;
            value_ = *at_++;
        }
        return true;
    }

private:
    const uint8_t* at_;
    const uint8_t* end_;
    bool runLength_;
    unsigned pending_ = 0;
    uint8_t value_ = 0;
};

// One scan line (planes of bytesPerLine bytes each, one after the other) into a DIB row.
using RowConverter = void (*)(const uint8_t* scan, size_t bytesPerLine, uint8_t* row, int width);

template <int Bits>
void CopyPacked(const uint8_t* scan, size_t, uint8_t* row, int width) {
    std::memcpy(row, scan, (size_t(width) * Bits + 7) / 8);
}

// Eight pixels' bits of one plane spread to the low bit of eight nibbles, first pixel highest.
constexpr std::array<uint32_t, 256> kSpreadBits = [] {
    std::array<uint32_t, 256> table{};
    for (unsigned b = 0; b < 256; ++b)
        for (unsigned bit = 0; bit < 8; ++bit)
            if (b & (0x80u >> bit)) table[b] |= 1u << (28 - 4 * bit);
    return table;
}();

template <int Planes>
void CombineBitPlanes(const uint8_t* scan, size_t bytesPerLine, uint8_t* row, int width) {
    const size_t bytes = (size_t(width) + 7) / 8;
    for (size_t i = 0; i < bytes; ++i) {
        uint32_t nibbles = 0;
        for (int p = 0; p < Planes; ++p) nibbles |= kSpreadBits[scan[p * bytesPerLine + i]] << p;
        row[4 * i] = uint8_t(nibbles >> 24);
        row[4 * i + 1] = uint8_t(nibbles >> 16);
        row[4 * i + 2] = uint8_t(nibbles >> 8);
        row[4 * i + 3] = uint8_t(nibbles);
    }
}

// Four 2-bit pixels to two bytes of nibbles.
constexpr std::array<uint16_t, 256> kTwoBitsToNibbles = [] {
    std::array<uint16_t, 256> table{};
    for (unsigned b = 0; b < 256; ++b)
        table[b] = uint16_t((b >> 6 & 3) << 12 | (b >> 4 & 3) << 8 | (b >> 2 & 3) << 4 | (b & 3));
    return table;
}();

void WidenTwoBits(const uint8_t* scan, size_t, uint8_t* row, int width) {
    const size_t bytes = (size_t(width) + 3) / 4;
    for (size_t i = 0; i < bytes; ++i) {
        row[2 * i] = uint8_t(kTwoBitsToNibbles[scan[i]] >> 8);
        row[2 * i + 1] = uint8_t(kTwoBitsToNibbles[scan[i]]);
    }
}

void InterleaveRgb(const uint8_t* scan, size_t bytesPerLine, uint8_t* row, int width) {
    const uint8_t *red = scan, *green = scan + bytesPerLine, *blue = scan + 2 * bytesPerLine;
    for (int x = 0; x < width; ++x) {
        row[3 * x] = blue[x];
        row[3 * x + 1] = green[x];
        row[3 * x + 2] = red[x];
    }
}

uint8_t OnWhite(unsigned c, unsigned a) { return uint8_t((c * a + 255 * (255 - a) + 127) / 255); }

void InterleaveRgbOnWhite(const uint8_t* scan, size_t bytesPerLine, uint8_t* row, int width) {
    const uint8_t *red = scan, *green = scan + bytesPerLine, *blue = scan + 2 * bytesPerLine,
                  *alpha = scan + 3 * bytesPerLine;
    for (int x = 0; x < width; ++x) {
        row[3 * x] = OnWhite(blue[x], alpha[x]);
        row[3 * x + 1] = OnWhite(green[x], alpha[x]);
        row[3 * x + 2] = OnWhite(red[x], alpha[x]);
    }
}

// Zeroes the bits of a row past its last pixel, which the converters may have filled from the
// scan line's padding.
void ClearPadding(uint8_t* row, int width, int bits, size_t stride) {
    const size_t usedBits = size_t(width) * bits;
    const size_t full = usedBits / 8;
    if (usedBits % 8 != 0) row[full] &= uint8_t(0xFF00u >> (usedBits % 8));
    const size_t used = (usedBits + 7) / 8;
    std::memset(row + used, 0, stride - used);
}

struct Layout {
    int dibBits;
    RowConverter convert;
};

// The layout of a bits-per-pixel x planes combination; convert is null for the ones not read.
Layout LayoutOf(int bitsPerPixel, int planes) {
    if (bitsPerPixel > 8 || planes > 4) return {0, nullptr};
    switch (bitsPerPixel << 4 | planes) {
        case 0x11: return {1, CopyPacked<1>};
        case 0x12: return {4, CombineBitPlanes<2>};
        case 0x13: return {4, CombineBitPlanes<3>};
        case 0x14: return {4, CombineBitPlanes<4>};
        case 0x21: return {4, WidenTwoBits};
        case 0x41: return {4, CopyPacked<4>};
        case 0x81: return {8, CopyPacked<8>};
        case 0x83: return {24, InterleaveRgb};
        case 0x84: return {24, InterleaveRgbOnWhite};
        default: return {0, nullptr};
    }
}

// Whether an 8-bit image ends in the 256-colour palette.
bool HasPaletteTrailer(std::span<const uint8_t> image) {
    return image.size() >= kHeaderBytes + kTrailerBytes && image[image.size() - kTrailerBytes] == kPaletteMarker;
}

void SetColourTable(vxmod::NewDib& dib, std::span<const uint8_t> image, int colours, int version) {
    const uint8_t* header = image.data();
    if (colours == 256) {
        if (!HasPaletteTrailer(image)) return dib.setGrayPalette();
        const uint8_t* entry = image.data() + image.size() - 768;
        for (int i = 0; i < 256; ++i, entry += 3) dib.setPalette(i, entry[0], entry[1], entry[2]);
        return;
    }
    const uint8_t* ega = header + kEgaPalette;
    if (version == kVersionWithoutPalette) ega = kDefaultEgaPalette;
    if (colours == 2 && (version == kVersionWithoutPalette || std::memcmp(ega, ega + 3, 3) == 0)) {
        dib.setPalette(0, 0, 0, 0);
        dib.setPalette(1, 255, 255, 255);
        return;
    }
    for (int i = 0; i < colours; ++i) dib.setPalette(i, ega[3 * i], ega[3 * i + 1], ega[3 * i + 2]);
}

// A PCX image held in `image` (the page's bytes, from its header to its end).
HDIB DecodePcx(std::span<const uint8_t> image, int* status) {
    if (image.empty() || image[0] != kManufacturer) return vxmod::FailLoad(status, VXSTATUS_NOTFORMAT);
    if (image.size() < kHeaderBytes) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
    const uint8_t* header = image.data();
    const int version = header[kVersion], encoding = header[kEncoding];
    const int bitsPerPixel = header[kBitsPerPixel], planes = header[kPlanes];
    const size_t bytesPerLine = LoadU16(header + kBytesPerLine);
    const int64_t width = int64_t(LoadU16(header + kXMax)) - LoadU16(header + kXMin) + 1;
    const int64_t height = int64_t(LoadU16(header + kYMax)) - LoadU16(header + kYMin) + 1;
    const Layout layout = LayoutOf(bitsPerPixel, planes);
    if (encoding > kEncodingRunLength || version > kVersionCurrent || version == 1 || width <= 0 || height <= 0)
        return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
    if (layout.convert == nullptr) return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED);
    if (bytesPerLine * 8 < uint64_t(width) * bitsPerPixel) return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
    if (!vxmod::WithinPixelLimit(width, height)) return vxmod::FailLoad(status, VXSTATUS_TOOLARGE);

    const int colours = layout.dibBits == 24 ? 0 : 1 << (bitsPerPixel * planes);
    std::span<const uint8_t> data = image.subspan(kHeaderBytes);
    if (colours == 256 && HasPaletteTrailer(image)) data = data.first(data.size() - kTrailerBytes);
    const size_t scanBytes = bytesPerLine * planes;
    const uint64_t needed = uint64_t(scanBytes) * uint64_t(height);
    const uint64_t mostHeld = encoding == kEncodingRunLength ? uint64_t(data.size()) * kLongestRun / 2 : data.size();
    if (needed > mostHeld) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);

    int failure = 0;
    auto dib = vxmod::NewDib::Create(width, height, layout.dibBits, colours, &failure);
    if (!dib) return vxmod::FailLoad(status, failure);
    std::vector<uint8_t> scan(scanBytes);
    ScanStream stream(data, encoding == kEncodingRunLength);
    for (int y = 0; y < dib->height(); ++y) {
        if (!stream.read(scan.data(), scanBytes)) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
        uint8_t* row = dib->row(y);
        layout.convert(scan.data(), bytesPerLine, row, dib->width());
        if (layout.dibBits < 8) ClearPadding(row, dib->width(), layout.dibBits, dib->stride());
    }
    if (colours > 0) SetColourTable(*dib, image, colours, version);
    dib->setResolution(vxmod::PelsPerMeterFromInch(LoadU16(header + kHorizontalDpi)),
                       vxmod::PelsPerMeterFromInch(LoadU16(header + kVerticalDpi)));
    vxmod::ReportLoaded(status);
    return dib->release();
}

// The page of a DCX file, checked against the file and its table, then decoded.
HDIB DecodeDcxPage(std::span<const uint8_t> file, int page, int* status) {
    if (file.size() < 4 || LoadU32(file.data()) != kDcxSignature) return vxmod::FailLoad(status, VXSTATUS_NOTFORMAT);
    std::vector<uint32_t> offsets;
    for (size_t slot = 0; slot < kDcxMaxPages; ++slot) {
        const size_t at = 4 + 4 * slot;
        if (at + 4 > file.size()) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
        const uint32_t offset = LoadU32(file.data() + at);
        if (offset == 0) break;
        offsets.push_back(offset);
    }
    const size_t index = page <= 0 ? 0 : size_t(page) - 1;
    if (index >= offsets.size()) return vxmod::FailLoad(status, VXSTATUS_NOPAGE);
    const size_t tableEnd = 4 + 4 * (offsets.size() + 1);
    const uint64_t start = offsets[index];
    if (start < std::min(tableEnd, file.size())) return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
    if (start >= file.size()) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
    uint64_t end = file.size();
    for (uint32_t offset : offsets)
        if (offset > start && offset < end) end = offset;
    return DecodePcx(file.subspan(size_t(start), size_t(end - start)), status);
}

template <typename Decode>
HDIB LoadFile(LPCSTR fileName, int* status, Decode decode) {
    try {
        int failure = 0;
        const auto bytes = vxmod::ReadWholeFile(fileName, &failure);
        if (!bytes) return vxmod::FailLoad(status, failure);
        return decode(std::span<const uint8_t>(*bytes));
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}

}  // namespace

HDIB VXMODULECALL LoadPCXIntoDIB(LPCSTR fileName, int* status) {
    return LoadFile(fileName, status, [&](std::span<const uint8_t> file) { return DecodePcx(file, status); });
}

HDIB VXMODULECALL LoadDCXIntoDIB(LPCSTR fileName, int page, int* status) {
    return LoadFile(fileName, status, [&](std::span<const uint8_t> file) { return DecodeDcxPage(file, page, status); });
}

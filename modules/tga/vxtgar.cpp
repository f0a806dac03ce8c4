// vxtgar.cpp - the TGA reader (module VXTGAR): LoadTGAIntoDIB.
//
// Colour-mapped images (types 1 and 9, 8-bit indices) become 8-bit DIBs whose table is the
// map, placed from its first-entry index on, as far as the map reaches (at most 256 entries):
// entries below the first are black, and an index past the table refuses the file as corrupt.
// True-colour images (types 2
// and 10) of 15 or 16 bits (5-5-5, each level scaled to v * 255 / 31 rounded), 24 and 32 bits
// become 24-bit DIBs; gray images (types 3 and 11) of 8 bits, or 16 bits of gray and alpha,
// become 8-bit DIBs with the gray table.
//
// Alpha: a TGA 2.0 file names in its extension area whether its alpha is meaningful
// (attribute type 3, or 4 for premultiplied colours); without an extension area, the
// descriptor's count of alpha bits decides. Meaningful alpha (the fourth byte of 32-bit pixels
// and map entries, the attribute bit of 16-bit pixels, the second byte of 16-bit gray) is
// composited on white; any other is ignored.
//
// Rows are decoded one at a time into the file's own pixel format, turned around when the
// descriptor says right-to-left, and converted into the DIB row the descriptor's top-down bit
// places them in. Run-length packets may cross row ends (as the first version of the format
// allowed): the decoder carries a packet over into the next row. A packet of at most 1 + 4
// bytes gives at most 128 pixels, so before anything is allocated the file is checked to be
// long enough for the size it claims; a file that ends inside its pixels fails as a whole.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <vector>

#include "dib_layout.hpp"
#include "module_support.hpp"
#include "tga_format.hpp"

namespace {

using namespace vxmod::tga;
using vx::LoadU16;
using vx::LoadU32;

enum class Alpha { Ignored, Straight, Premultiplied };

// One 8-bit level of a 5-bit one.
constexpr std::array<uint8_t, 32> kFiveBitLevels = [] {
    std::array<uint8_t, 32> table{};
    for (unsigned v = 0; v < 32; ++v) table[v] = uint8_t((v * 255 + 15) / 31);
    return table;
}();

template <Alpha Mode>
uint8_t OnWhite(unsigned c, unsigned a) {
    if constexpr (Mode == Alpha::Straight) return uint8_t((c * a + 255 * (255 - a) + 127) / 255);
    if constexpr (Mode == Alpha::Premultiplied) return uint8_t(std::min(255u, c + 255 - a));
    return uint8_t(c);
}

// One row of pixels in the file's format into a DIB row.
using RowConverter = void (*)(const uint8_t* pixels, uint8_t* row, int width);

template <int Bytes>
void CopyPixels(const uint8_t* pixels, uint8_t* row, int width) {
    std::memcpy(row, pixels, size_t(width) * Bytes);
}

template <Alpha Mode>
void GrayWithAlpha(const uint8_t* pixels, uint8_t* row, int width) {
    for (int x = 0; x < width; ++x) row[x] = OnWhite<Mode>(pixels[2 * x], pixels[2 * x + 1]);
}

// 5-5-5 pixels; with alpha the attribute bit is a fully opaque or fully transparent pixel.
template <bool AttributeAlpha>
void WidenFiveBits(const uint8_t* pixels, uint8_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        const unsigned v = LoadU16(pixels + 2 * x);
        const bool clear = AttributeAlpha && (v & 0x8000) == 0;
        row[3 * x] = clear ? 255 : kFiveBitLevels[v & 31];
        row[3 * x + 1] = clear ? 255 : kFiveBitLevels[v >> 5 & 31];
        row[3 * x + 2] = clear ? 255 : kFiveBitLevels[v >> 10 & 31];
    }
}

template <Alpha Mode>
void BgraToBgr(const uint8_t* pixels, uint8_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        const uint8_t* p = pixels + 4 * x;
        row[3 * x] = OnWhite<Mode>(p[0], p[3]);
        row[3 * x + 1] = OnWhite<Mode>(p[1], p[3]);
        row[3 * x + 2] = OnWhite<Mode>(p[2], p[3]);
    }
}

template <template <Alpha> typename Converter>
struct ByAlpha {
    static RowConverter Of(Alpha alpha) {
        switch (alpha) {
            case Alpha::Straight: return Converter<Alpha::Straight>::convert;
            case Alpha::Premultiplied: return Converter<Alpha::Premultiplied>::convert;
            default: return Converter<Alpha::Ignored>::convert;
        }
    }
};
template <Alpha Mode>
struct GrayAlphaConverter {
    static void convert(const uint8_t* p, uint8_t* r, int w) { GrayWithAlpha<Mode>(p, r, w); }
};
template <Alpha Mode>
struct BgraConverter {
    static void convert(const uint8_t* p, uint8_t* r, int w) { BgraToBgr<Mode>(p, r, w); }
};

// Reads rows of pixels of `Bytes` bytes, stored or in packets that may cross rows.
template <int Bytes>
class PixelStream {
public:
    PixelStream(std::span<const uint8_t> data, bool runLength)
        : at_(data.data()), end_(at_ + data.size()), runLength_(runLength) {}

    bool read(uint8_t* out, size_t count) {
        if (!runLength_) return take(out, count);
        while (count > 0) {
            if (left_ == 0) {
                if (at_ == end_) return false;
                const uint8_t packet = *at_++;
                left_ = (packet & ~kRunPacket) + 1u;
                repeat_ = (packet & kRunPacket) != 0;
                if (repeat_ && !take(value_, 1)) return false;
            }
            const size_t n = std::min<size_t>(left_, count);
            if (repeat_) {
                for (size_t i = 0; i < n; ++i) std::memcpy(out + i * Bytes, value_, Bytes);
            } else if (!take(out, n)) {
                return false;
            }
            out += n * Bytes;
            count -= n;
            left_ -= unsigned(n);
        }
        return true;
    }

private:
    bool take(uint8_t* out, size_t pixels) {
        const size_t bytes = pixels * Bytes;
        if (size_t(end_ - at_) < bytes) return false;
        std::memcpy(out, at_, bytes);
        at_ += bytes;
        return true;
    }

    const uint8_t* at_;
    const uint8_t* end_;
    bool runLength_;
    unsigned left_ = 0;
    bool repeat_ = false;
    uint8_t value_[Bytes] = {};
};

template <int Bytes>
void ReverseRow(uint8_t* pixels, int width) {
    for (int a = 0, b = width - 1; a < b; ++a, --b)
        std::swap_ranges(pixels + a * Bytes, pixels + (a + 1) * Bytes, pixels + b * Bytes);
}

struct Geometry {
    bool runLength, topDown, rightToLeft;
};

template <int Bytes>
bool DecodeRows(std::span<const uint8_t> data, const Geometry& geometry, RowConverter convert, vxmod::NewDib& dib) {
    PixelStream<Bytes> stream(data, geometry.runLength);
    std::vector<uint8_t> pixels(size_t(dib.width()) * Bytes);
    for (int i = 0; i < dib.height(); ++i) {
        if (!stream.read(pixels.data(), size_t(dib.width()))) return false;
        if (geometry.rightToLeft) ReverseRow<Bytes>(pixels.data(), dib.width());
        convert(pixels.data(), dib.row(geometry.topDown ? i : dib.height() - 1 - i), dib.width());
    }
    return true;
}

using RowsDecoder = bool (*)(std::span<const uint8_t>, const Geometry&, RowConverter, vxmod::NewDib&);

// How the file's pixels become the DIB's.
struct Format {
    int pixelBytes = 0;
    int dibBits = 0;
    RowConverter convert = nullptr;
    RowsDecoder decode = nullptr;
};

// The extension area's judgement of the alpha channel, when the file has a TGA 2.0 footer
// that points at one; empty otherwise.
std::optional<Alpha> FooterAlpha(std::span<const uint8_t> file) {
    static constexpr char kSignature[] = "TRUEVISION-XFILE.";  // with its 0, 18 bytes
    constexpr size_t kFooterBytes = 26, kExtensionBytes = 495, kAttributeType = 494;
    if (file.size() < kHeaderBytes + kFooterBytes) return std::nullopt;
    const uint8_t* footer = file.data() + file.size() - kFooterBytes;
    if (std::memcmp(footer + 8, kSignature, sizeof kSignature) != 0) return std::nullopt;
    const uint64_t extension = LoadU32(footer);
    if (extension < kHeaderBytes || extension + kExtensionBytes > file.size() - kFooterBytes ||
        LoadU16(file.data() + extension) != kExtensionBytes)
        return std::nullopt;
    switch (file[extension + kAttributeType]) {
        case 3: return Alpha::Straight;
        case 4: return Alpha::Premultiplied;
        default: return Alpha::Ignored;
    }
}

// Fills the 8-bit DIB's table from the colour map, as far as the map reaches.
void SetMapTable(vxmod::NewDib& dib, const uint8_t* map, unsigned first, unsigned length, int entryBits, Alpha alpha) {
    const RowConverter convert = entryBits <= 16   ? WidenFiveBits<false>
                                 : entryBits == 24 ? CopyPixels<3>
                                                   : ByAlpha<BgraConverter>::Of(alpha);
    const unsigned reach = std::min(256u, first + length);
    for (unsigned i = first; i < reach; ++i) {
        uint8_t bgr[3];
        convert(map + (i - first) * ((entryBits + 7) / 8), bgr, 1);
        dib.setPalette(int(i), bgr[2], bgr[1], bgr[0]);
    }
}

HDIB DecodeTga(std::span<const uint8_t> file, int* status) {
    if (file.size() < kHeaderBytes)
        return vxmod::FailLoad(status, file.empty() ? VXSTATUS_NOTFORMAT : VXSTATUS_TRUNCATED);
    const uint8_t* header = file.data();
    const int mapType = header[kColourMapType], imageType = header[kImageType];
    const int baseType = imageType & ~kTypeRunLength;
    const int pixelBits = header[kPixelBits], mapEntryBits = header[kMapEntryBits];
    const unsigned mapFirst = LoadU16(header + kMapFirst), mapLength = LoadU16(header + kMapLength);
    const int width = LoadU16(header + kWidth), height = LoadU16(header + kHeight);
    const uint8_t descriptor = header[kDescriptor];
    if (imageType == 32 || imageType == 33) return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED);
    if (mapType > 1 || baseType < kTypeMapped || baseType > kTypeGray || (imageType & 0xF4) != 0 ||
        (baseType == kTypeMapped && mapType != 1))
        return vxmod::FailLoad(status, VXSTATUS_NOTFORMAT);
    if (mapType == 1 && mapEntryBits != 15 && mapEntryBits != 16 && mapEntryBits != 24 && mapEntryBits != 32)
        return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
    if (width == 0 || height == 0) return vxmod::FailLoad(status, VXSTATUS_CORRUPT);

    const int alphaBits = descriptor & kAlphaBitsMask;
    const Alpha alpha = FooterAlpha(file).value_or(alphaBits > 0 ? Alpha::Straight : Alpha::Ignored);
    Format format;
    if (baseType == kTypeMapped && pixelBits == 8)
        format = {1, 8, CopyPixels<1>, DecodeRows<1>};
    else if (baseType == kTypeGray && pixelBits == 8)
        format = {1, 8, CopyPixels<1>, DecodeRows<1>};
    else if (baseType == kTypeGray && pixelBits == 16)
        format = {2, 8, ByAlpha<GrayAlphaConverter>::Of(alpha), DecodeRows<2>};
    else if (baseType == kTypeTrueColour && (pixelBits == 15 || pixelBits == 16))
        format = {2, 24, pixelBits == 16 && alpha != Alpha::Ignored ? WidenFiveBits<true> : WidenFiveBits<false>,
                  DecodeRows<2>};
    else if (baseType == kTypeTrueColour && pixelBits == 24)
        format = {3, 24, CopyPixels<3>, DecodeRows<3>};
    else if (baseType == kTypeTrueColour && pixelBits == 32)
        format = {4, 24, ByAlpha<BgraConverter>::Of(alpha), DecodeRows<4>};
    else
        return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED);

    const size_t mapAt = kHeaderBytes + header[kIdLength];
    const size_t mapBytes = mapType == 1 ? size_t(mapLength) * ((mapEntryBits + 7) / 8) : 0;
    if (file.size() < mapAt + mapBytes) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
    if (baseType == kTypeMapped && (mapLength == 0 || mapFirst >= 256))
        return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
    if (!vxmod::WithinPixelLimit(width, height)) return vxmod::FailLoad(status, VXSTATUS_TOOLARGE);
    const std::span<const uint8_t> data = file.subspan(mapAt + mapBytes);
    const bool runLength = (imageType & kTypeRunLength) != 0;
    const uint64_t pixelCount = uint64_t(width) * uint64_t(height);
    const uint64_t leastBytes = runLength ? (pixelCount + kLongestPacket - 1) / kLongestPacket * (1 + format.pixelBytes)
                                          : pixelCount * format.pixelBytes;
    if (data.size() < leastBytes) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);

    int colours = format.dibBits == 8 ? 256 : 0;
    if (baseType == kTypeMapped) colours = int(std::min(256u, mapFirst + mapLength));
    int failure = 0;
    auto dib = vxmod::NewDib::Create(width, height, format.dibBits, colours, &failure);
    if (!dib) return vxmod::FailLoad(status, failure);
    const Geometry geometry{runLength, (descriptor & kTopDown) != 0, (descriptor & kRightToLeft) != 0};
    if (!format.decode(data, geometry, format.convert, *dib)) return vxmod::FailLoad(status, VXSTATUS_TRUNCATED);
    if (baseType == kTypeMapped) {
        SetMapTable(*dib, file.data() + mapAt, mapFirst, mapLength, mapEntryBits, alpha);
        for (int y = 0; y < dib->height(); ++y) {
            const uint8_t* row = dib->row(y);
            if (*std::max_element(row, row + dib->width()) >= colours) return vxmod::FailLoad(status, VXSTATUS_CORRUPT);
        }
    } else if (colours > 0) {
        dib->setGrayPalette();
    }
    vxmod::ReportLoaded(status);
    return dib->release();
}

}  // namespace

HDIB VXMODULECALL LoadTGAIntoDIB(LPCSTR fileName, int* status) {
    try {
        int failure = 0;
        const auto bytes = vxmod::ReadWholeFile(fileName, &failure);
        if (!bytes) return vxmod::FailLoad(status, failure);
        return DecodeTga(std::span<const uint8_t>(*bytes), status);
    } catch (const std::bad_alloc&) {
        return vxmod::FailLoad(status, VXSTATUS_NOMEMORY);
    }
}

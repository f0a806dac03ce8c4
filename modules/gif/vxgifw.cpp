// vxgifw.cpp - the GIF writer of module VXGIFW: SaveDIBInGIFFormat.
//
// One image on a screen of its own size, with a global colour table and no local one, written
// by giflib's encoder. GIF87a, unless a transparent index asks for a graphic control extension
// and so for GIF89a. Option bit 0 interlaces the rows (giflib takes them in the order they are
// stored, so they are handed over in the four passes).
//
// The colour table: a 1-, 4- or 8-bit DIB writes its own table padded with black to 2, 16 or
// 256 entries, so every index a pixel can hold is in the table and the LZW code size follows
// the depth. A 24-bit DIB with at most 256 colours writes exactly those colours, in the order
// they first appear (rows top-down), in the smallest power-of-two table that holds them. Above
// 256 colours it is reduced to 256 by giflib's GifQuantizeBuffer: a median cut over colours
// cut to 5 bits per sample, no dithering. The cut loses the low 3 bits (white would become
// 248, 248, 248), so each entry is then replaced by the rounded mean of the 8-bit colours of
// the pixels mapped to it: the mapping is the quantiser's, the colours are the image's own.
#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include <gif_lib.h>

#include "module_support.hpp"

namespace {

using vxmod::DibSource;
using vxmod::FailSave;

// The image as GIF wants it: one index per pixel, rows top-down, and a power-of-two table.
struct IndexedImage {
    int width = 0, height = 0;
    std::vector<GifPixelType> indices;
    std::vector<GifColorType> table;

    GifPixelType* row(int y) { return indices.data() + size_t(y) * size_t(width); }
};

size_t PowerOfTwoAtLeast(size_t count) {
    size_t size = 2;
    while (size < count) size *= 2;
    return size;
}

template <int Bits>
void UnpackRow(GifPixelType* out, const uint8_t* row, int width) {
    constexpr int kPerByte = 8 / Bits, kMask = (1 << Bits) - 1;
    for (int x = 0; x < width; ++x) {
        if constexpr (Bits == 8)
            out[x] = row[x];
        else
            out[x] = static_cast<GifPixelType>(row[x / kPerByte] >> (8 - Bits * (x % kPerByte + 1)) & kMask);
    }
}

void FromPaletted(const DibSource& source, IndexedImage& image) {
    const int colours = std::min(source.colours(), 1 << source.bits());
    image.table.assign(size_t(1) << source.bits(), GifColorType{0, 0, 0});
    for (int i = 0; i < colours; ++i) {
        const RGBQUAD& entry = source.palette()[i];
        image.table[size_t(i)] = {entry.rgbRed, entry.rgbGreen, entry.rgbBlue};
    }
    auto unpack = source.bits() == 1 ? UnpackRow<1> : source.bits() == 4 ? UnpackRow<4> : UnpackRow<8>;
    for (int y = 0; y < image.height; ++y) unpack(image.row(y), source.row(y), image.width);
}

uint32_t ColourAt(const uint8_t* bgr) { return uint32_t(bgr[2]) << 16 | uint32_t(bgr[1]) << 8 | bgr[0]; }

// The colours of a 24-bit image when there are at most 256 of them, each pixel given its
// entry; false as soon as a 257th colour turns up.
bool FromFewColours(const DibSource& source, IndexedImage& image) {
    // Open addressing over four times the most colours kept; all ones is no 24-bit colour.
    constexpr size_t kSlots = 1024;
    constexpr uint32_t kEmpty = 0xFFFFFFFFu;
    std::array<uint32_t, kSlots> keys;
    std::array<GifPixelType, kSlots> entryOf{};
    keys.fill(kEmpty);
    for (int y = 0; y < image.height; ++y) {
        const uint8_t* pixel = source.row(y);
        GifPixelType* out = image.row(y);
        for (int x = 0; x < image.width; ++x, pixel += 3) {
            const uint32_t colour = ColourAt(pixel);
            size_t slot = (colour * 2654435761u) >> 22;
            while (keys[slot] != kEmpty && keys[slot] != colour) slot = (slot + 1) % kSlots;
            if (keys[slot] == kEmpty) {
                if (image.table.size() == 256) return false;
                keys[slot] = colour;
                entryOf[slot] = static_cast<GifPixelType>(image.table.size());
                image.table.push_back({pixel[2], pixel[1], pixel[0]});
            }
            out[x] = entryOf[slot];
        }
    }
    image.table.resize(PowerOfTwoAtLeast(image.table.size()), GifColorType{0, 0, 0});
    return true;
}

// Median cut to 256 entries, then each entry set to the mean colour of its pixels.
bool FromQuantised(const DibSource& source, IndexedImage& image) {
    const size_t count = image.indices.size();
    std::vector<GifByteType> red(count), green(count), blue(count);
    for (int y = 0; y < image.height; ++y) {
        const uint8_t* pixel = source.row(y);
        const size_t at = size_t(y) * size_t(image.width);
        for (int x = 0; x < image.width; ++x, pixel += 3) {
            red[at + size_t(x)] = pixel[2];
            green[at + size_t(x)] = pixel[1];
            blue[at + size_t(x)] = pixel[0];
        }
    }
    int entries = 256;
    image.table.assign(256, GifColorType{0, 0, 0});
    if (GifQuantizeBuffer(unsigned(image.width), unsigned(image.height), &entries, red.data(), green.data(),
                          blue.data(), image.indices.data(), image.table.data()) == GIF_ERROR)
        return false;
    std::array<std::array<uint64_t, 3>, 256> sums{};
    std::array<uint64_t, 256> pixels{};
    for (size_t i = 0; i < count; ++i) {
        auto& sum = sums[image.indices[i]];
        sum[0] += red[i];
        sum[1] += green[i];
        sum[2] += blue[i];
        ++pixels[image.indices[i]];
    }
    for (size_t i = 0; i < 256; ++i) {
        if (pixels[i] == 0) continue;
        const uint64_t n = pixels[i];
        image.table[i] = {GifByteType((sums[i][0] + n / 2) / n), GifByteType((sums[i][1] + n / 2) / n),
                          GifByteType((sums[i][2] + n / 2) / n)};
    }
    image.table.resize(PowerOfTwoAtLeast(size_t(entries)));
    return true;
}

// ---- Encoding --------------------------------------------------------------------------------

int WriteToFile(GifFileType* gif, const GifByteType* bytes, int count) {
    auto* out = static_cast<vxmod::OutputFile*>(gif->UserData);
    return count > 0 && out->write(bytes, size_t(count)) ? count : 0;
}

struct EncoderCloser {
    void operator()(GifFileType* gif) const { EGifCloseFile(gif, nullptr); }
};
struct MapFreer {
    void operator()(ColorMapObject* map) const { GifFreeMapObject(map); }
};

int ErrorOfEncoder(int gifError) { return gifError == E_GIF_ERR_NOT_ENOUGH_MEM ? IMGERR_NOMEMORY : IMGERR_IO; }

int Encode(LPCSTR fileName, IndexedImage& image, bool interlaced, int transparentIndex) {
    std::optional<vxmod::OutputFile> out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
    if (!out) return 0;
    std::unique_ptr<ColorMapObject, MapFreer> map(GifMakeMapObject(int(image.table.size()), image.table.data()));
    int error = E_GIF_SUCCEEDED;
    std::unique_ptr<GifFileType, EncoderCloser> gif(EGifOpen(&*out, WriteToFile, &error));
    if (!map || !gif) return FailSave(IMGERR_NOMEMORY);
    EGifSetGifVersion(gif.get(), transparentIndex >= 0);
    if (EGifPutScreenDesc(gif.get(), image.width, image.height, 8, 0, map.get()) == GIF_ERROR)
        return FailSave(ErrorOfEncoder(gif->Error));
    if (transparentIndex >= 0) {
        const GraphicsControlBlock control{DISPOSAL_UNSPECIFIED, false, 0, transparentIndex};
        GifByteType extension[4];
        const auto length = int(EGifGCBToExtension(&control, extension));
        if (EGifPutExtension(gif.get(), GRAPHICS_EXT_FUNC_CODE, length, extension) == GIF_ERROR)
            return FailSave(ErrorOfEncoder(gif->Error));
    }
    if (EGifPutImageDesc(gif.get(), 0, 0, image.width, image.height, interlaced, nullptr) == GIF_ERROR)
        return FailSave(ErrorOfEncoder(gif->Error));
    static constexpr int kPassStart[] = {0, 4, 2, 1}, kPassStep[] = {8, 8, 4, 2};
    for (int pass = 0; pass < (interlaced ? 4 : 1); ++pass)
        for (int y = interlaced ? kPassStart[pass] : 0; y < image.height; y += interlaced ? kPassStep[pass] : 1)
            if (EGifPutLine(gif.get(), image.row(y), image.width) == GIF_ERROR)
                return FailSave(ErrorOfEncoder(gif->Error));
    if (EGifCloseFile(gif.release(), &error) == GIF_ERROR) return FailSave(ErrorOfEncoder(error));
    return out->commit() ? 1 : 0;
}

int Save(LPCSTR fileName, HDIB dib, int option, int* param) {
    const std::optional<DibSource> source = DibSource::Open(dib);
    if (!source) return 0;
    const int transparent = param != nullptr ? *param : 0;
    if (fileName == nullptr || (option & ~1) != 0 || transparent < 0 || transparent > 256)
        return FailSave(IMGERR_PARAMETER);
    // A GIF's sides are 16-bit.
    if (source->width() > VXMOD_MAX_SIDE || source->height() > VXMOD_MAX_SIDE) return FailSave(IMGERR_DIBSIZE);
    IndexedImage image{source->width(), source->height(), {}, {}};
    image.indices.resize(size_t(image.width) * size_t(image.height));
    if (source->bits() != 24)
        FromPaletted(*source, image);
    else if (!FromFewColours(*source, image) && !FromQuantised(*source, image))
        return FailSave(IMGERR_NOMEMORY);
    if (transparent > int(image.table.size())) return FailSave(IMGERR_PARAMETER);
    if (Encode(fileName, image, (option & 1) != 0, transparent - 1) == 0) return 0;
    if (param != nullptr) *param = int(image.table.size());
    return 1;
}

}  // namespace

int VXMODULECALL SaveDIBInGIFFormat(LPCSTR fileName, HDIB dib, int option, int* param) {
    try {
        return Save(fileName, dib, option, param);
    } catch (...) {
        return FailSave(IMGERR_NOMEMORY);
    }
}

// vxtgaw.cpp - the TGA writer (module VXTGAW): SaveDIBInTGAFormat.
//
// 24-bit DIBs are written as true colour (type 2, or 10 run-length coded) of 24 bits; 8-bit
// DIBs whose table is the 256-level gray ramp as gray (type 3 or 11); other 8-bit DIBs and 1-
// and 4-bit ones, expanded to one index a byte, as colour-mapped (type 1 or 9) with a map of
// the table's entries in 24 bits. Packets never cross a row: a run of two or more equal pixels
// is a repeat packet, anything else goes into stored packets. The file has no identification
// field and no TGA 2.0 footer, as most writers leave them out.
#include <algorithm>
#include <new>
#include <vector>

#include "dib_layout.hpp"
#include "module_support.hpp"
#include "tga_format.hpp"

namespace {

using namespace vxmod::tga;
using ByteVector = std::vector<uint8_t>;

// A DIB row as the file's pixels: indices a byte each, or the 24-bit row as it is.
using RowReader = void (*)(const uint8_t* row, int width, uint8_t* pixels);

template <int Bits>
void ExpandIndices(const uint8_t* row, int width, uint8_t* pixels) {
    constexpr int perByte = 8 / Bits;
    constexpr unsigned mask = (1u << Bits) - 1;
    for (int x = 0; x < width; ++x)
        pixels[x] = uint8_t(row[x / perByte] >> (8 - Bits * (x % perByte + 1)) & mask);
}

template <int PixelBytes>
void CopyRow(const uint8_t* row, int width, uint8_t* pixels) {
    std::copy(row, row + size_t(width) * PixelBytes, pixels);
}

// Whether pixels x and x + 1 are equal.
template <int PixelBytes>
bool RepeatsAt(const uint8_t* pixels, int x) {
    return std::equal(pixels + x * PixelBytes, pixels + (x + 1) * PixelBytes, pixels + (x + 1) * PixelBytes);
}

// Packets for one row of `width` pixels.
template <int PixelBytes>
void AppendPackets(const uint8_t* pixels, int width, ByteVector& out) {
    int x = 0;
    while (x < width) {
        int run = 1;
        while (x + run < width && run < int(kLongestPacket) && RepeatsAt<PixelBytes>(pixels, x + run - 1)) ++run;
        if (run >= 2) {
            out.push_back(uint8_t(kRunPacket | (run - 1)));
            out.insert(out.end(), pixels + x * PixelBytes, pixels + (x + 1) * PixelBytes);
            x += run;
            continue;
        }
        // Stored pixels up to the start of the next run.
        int stored = 1;
        while (x + stored < width && stored < int(kLongestPacket) &&
               !(x + stored + 1 < width && RepeatsAt<PixelBytes>(pixels, x + stored)))
            ++stored;
        out.push_back(uint8_t(stored - 1));
        out.insert(out.end(), pixels + x * PixelBytes, pixels + (x + stored) * PixelBytes);
        x += stored;
    }
}

template <int PixelBytes>
void AppendStored(const uint8_t* pixels, int width, ByteVector& out) {
    out.insert(out.end(), pixels, pixels + size_t(width) * PixelBytes);
}

using RowWriter = void (*)(const uint8_t* pixels, int width, ByteVector& out);

ByteVector EncodeTga(const vxmod::DibSource& dib, bool runLength, bool topDown) {
    const bool gray = dib.bits() == 8 && dib.colours() == 256 && dib.grayPalette();
    const bool mapped = dib.bits() <= 8 && !gray;
    const int pixelBytes = dib.bits() == 24 ? 3 : 1;
    RowReader read = CopyRow<1>;
    if (dib.bits() == 1) read = ExpandIndices<1>;
    if (dib.bits() == 4) read = ExpandIndices<4>;
    if (dib.bits() == 24) read = CopyRow<3>;
    RowWriter write = pixelBytes == 3 ? (runLength ? AppendPackets<3> : AppendStored<3>)
                                      : (runLength ? AppendPackets<1> : AppendStored<1>);

    ByteVector out(kHeaderBytes, 0);
    const uint8_t type = mapped ? kTypeMapped : gray ? kTypeGray : kTypeTrueColour;
    out[kImageType] = uint8_t(type | (runLength ? kTypeRunLength : 0));
    vx::StoreU16(&out[kWidth], uint16_t(dib.width()));
    vx::StoreU16(&out[kHeight], uint16_t(dib.height()));
    out[kPixelBits] = uint8_t(pixelBytes * 8);
    out[kDescriptor] = topDown ? kTopDown : 0;
    if (mapped) {
        out[kColourMapType] = 1;
        vx::StoreU16(&out[kMapLength], uint16_t(dib.colours()));
        out[kMapEntryBits] = 24;
        for (int i = 0; i < dib.colours(); ++i) {
            const RGBQUAD& c = dib.palette()[i];
            out.insert(out.end(), {c.rgbBlue, c.rgbGreen, c.rgbRed});
        }
    }
    std::vector<uint8_t> pixels(size_t(dib.width()) * pixelBytes);
    for (int i = 0; i < dib.height(); ++i) {
        read(dib.row(topDown ? i : dib.height() - 1 - i), dib.width(), pixels.data());
        write(pixels.data(), dib.width(), out);
    }
    return out;
}

}  // namespace

int VXMODULECALL SaveDIBInTGAFormat(LPCSTR fileName, HDIB dib, int runLength, int mode) {
    try {
        const auto source = vxmod::DibSource::Open(dib);
        if (!source) return 0;
        if ((runLength != 0 && runLength != 1) || (mode != 0 && mode != 1)) return vxmod::FailSave(IMGERR_PARAMETER);
        if (source->width() > 0xFFFF || source->height() > 0xFFFF) return vxmod::FailSave(IMGERR_DIBSIZE);
        const ByteVector bytes = EncodeTga(*source, runLength == 1, mode == 0);
        auto out = vxmod::OutputFile::Open(fileName, vxmod::OutputFile::Mode::Create);
        if (!out) return 0;
        if (!out->write(bytes.data(), bytes.size()) || !out->commit()) return vxmod::FailSave(IMGERR_IO);
        return 1;
    } catch (const std::bad_alloc&) {
        return vxmod::FailSave(IMGERR_NOMEMORY);
    }
}

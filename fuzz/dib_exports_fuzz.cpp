// dib_exports_fuzz.cpp - fuzz target for every export that takes a DIB block: the quarter and
// half turns, flips, rotation by any angle, skew, both scalers, crop-and-scale, the resampler,
// histogram and tone table, gray conversions, convolutions, depth expansion, brightness and contrast, the
// four dithers, halftone, run-length compression and expansion, the colour-table inversions
// and the palette made from a DIB.
//
// Input: six parameter bytes, then the DIB block itself (header, colour table, pixels), as
// hostile as the input makes it: any size, depth, compression, colour count, header size or
// row count, cut off anywhere. Each export gets its own copy of the block in a movable block
// of exactly the input's size, so that AddressSanitizer reports any read or write past it,
// and its arguments from the parameter bytes (reduced to ranges that keep results small).
// One property is checked besides the absence of faults: an export that makes a new DIB
// leaves its source byte for byte as it was.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vexora.h"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;
using vexora_fuzz::Contents;

constexpr size_t kParameterBytes = 6;
// Blocks this small come from the heap in the sanitizer build, fenced on both sides.
constexpr size_t kLargestBlock = size_t{64} << 10;

// The parameter bytes as three 16-bit values; each export takes what it needs from them.
struct Parameters {
    uint16_t a, b, c;
    int low(uint16_t v) const { return v & 0xFF; }
    int high(uint16_t v) const { return v >> 8; }
    int signedIn(uint16_t v, int range) const { return int(v % (2 * range + 1)) - range; }
};

// The header's width and height as the 16-bit readers see them, 0 when the block is too
// short to hold them.
std::array<uint32_t, 2> Sides16(const std::vector<uint8_t>& dib) {
    if (dib.size() < 12) return {0, 0};
    return {uint32_t(dib[4] | dib[5] << 8), uint32_t(dib[8] | dib[9] << 8)};
}

// Whether the header describes a picture of billions of empty rows (or columns): a width of
// no pixels (0 or negative, or 0 in its low 16 bits) against a height past 16 bits, or the
// other way round. Such a picture passes every size check, as it has no bytes, and only costs
// a loop over its other side; it is skipped.
bool EmptyButLong(const std::vector<uint8_t>& dib) {
    if (dib.size() < 12) return false;
    int32_t w, h;
    std::memcpy(&w, dib.data() + 4, 4);
    std::memcpy(&h, dib.data() + 8, 4);
    const auto aw = uint64_t(std::abs(int64_t{w})), ah = uint64_t(std::abs(int64_t{h}));
    const bool noColumns = w <= 0 || (aw & 0xFFFF) == 0, noRows = h == 0 || (ah & 0xFFFF) == 0;
    return (noColumns && ah > 0xFFFF) || (noRows && aw > 0xFFFF);
}

// Whether the header claims a picture of more than 2^24 pixels by its 16-bit sides. Some
// exports work in 16-bit arithmetic and make a result as large as the claim from a source of
// no bytes (a bit count whose rows need none): hundreds of megabytes and seconds for one
// 85-byte input, all of it documented behaviour. The work per input is capped by skipping such
// claims; the 32-bit readers refuse them at their first size check anyway.
bool ClaimsHugeArea(const std::vector<uint8_t>& dib) {
    const auto [w, h] = Sides16(dib);
    const auto side = [](uint32_t v) { return uint64_t(std::abs(int(int16_t(v)))); };
    return side(w) * side(h) > (uint64_t{1} << 24);
}

// A kernel of n*n weights and a divisor, inside the weight limits the filters accept most
// of the time and outside them when the parameters say so.
template <typename Entry>
std::array<Entry, 50> Kernel(const Parameters& p) {
    std::array<Entry, 50> k{};
    for (size_t i = 0; i < k.size(); ++i) k[i] = Entry(((p.c >> (i % 16)) & 1) ? 1 : -1);
    k[24] = Entry(p.signedIn(p.c, 130));
    k[49] = Entry(p.high(p.c) % 9);  // a divisor, 0 included; n*n < 49 puts it mid-kernel
    return k;
}

enum Source : bool { kKeepsSource = true, kChangesSource = false };

struct Export {
    Source source;
    HGLOBAL (*run)(HDIB dib, const Parameters& p, const std::vector<uint8_t>& bytes);
};

HGLOBAL Histogram(HDIB dib, const Parameters& p) {
    DWORD error = 0;
    HGLOBAL hist = ComputeHistogram(nullptr, TABLE_CREATE, nullptr, nullptr, &error);
    int origin[2] = {p.signedIn(p.a, 300), p.signedIn(p.b, 300)};
    ComputeHistogram(dib, TABLE_COMPUTE, hist, origin, &error);
    return hist;
}

HGLOBAL ThroughLut(HDIB dib, const Parameters& p, BOOL newDib) {
    DWORD error = 0;
    HGLOBAL lut = ComputeLUT(nullptr, TABLE_CREATE, nullptr, 0, 0, &error);
    ComputeLUT(nullptr, TABLE_COMPUTE, lut, p.signedIn(p.a, 255), p.signedIn(p.b, 255), &error);
    HDIB out = ApplyLUT(dib, lut, newDib, &error);
    GlobalFree(lut);
    return out == dib ? nullptr : out;
}

HGLOBAL Convolved(HDIB dib, const Parameters& p, BOOL newDib) {
    const auto kernel = Kernel<int>(p);
    DWORD error = 0;
    HDIB out = Convolve(dib, newDib, 1 + p.low(p.a) % 6, 3 + p.low(p.b) % 5, nullptr, kernel.data(), &error);
    return out == dib ? nullptr : out;
}

HGLOBAL ColourConvolved(HDIB dib, const Parameters& p, BOOL newDib) {
    const auto kernel = Kernel<short>(p);
    DWORD error = 0;
    HDIB out = ColorConvolution(dib, newDib, p.high(p.a) & 1, short(1 + p.low(p.a) % 6), 3 + p.low(p.b) % 5,
                                nullptr, kernel.data(), &error);
    return out == dib ? nullptr : out;
}

constexpr int kDepths[4] = {1, 4, 8, 2};

const Export kExports[] = {
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return RotateDIB90(d); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return RotateDIB270(d); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return RotateDIB180(d); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return FlipDIBVertical(d); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return FlipDIBHorizontal(d); }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto& bytes) -> HGLOBAL {
         // The enlarged canvas grows with the square of the longer side: a thin 1-bit image of
         // a few bytes could ask for hundreds of megabytes.
         const auto [w, h] = Sides16(bytes);
         if (uint64_t{w} * w + uint64_t{h} * h > uint64_t{2048} * 2048) return nullptr;
         DWORD status = 0;
         int corners[8];
         return RotateDIB(d, p.signedIn(p.a, 720), p.b & 1, &status, corners);
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         DWORD error = 0;
         int corners[8];
         return SkewDIB(d, p.b & 1, p.signedIn(p.a, 300), &error, corners);
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return ScaleDIB(d, p.high(p.c) & 1, p.low(p.a) | (p.a & 0x8000 ? 0x10000 : 0), p.low(p.b));
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return ScaleGrayDIB(d, p.low(p.a) - 2, p.high(p.a), p.low(p.b), p.high(p.b), p.c & 3, (p.c >> 2) & 3,
                             (p.c >> 4) & 3);
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return VexoraCropScaleDIB(d, p.low(p.a) - 2, p.high(p.a), p.low(p.b), p.high(p.b), p.low(p.c), p.high(p.c));
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return VexoraResampleDIB(d, p.low(p.c) - 1, p.high(p.c) - 1);
     }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) { return Histogram(d, p); }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) { return ThroughLut(d, p, TRUE); }},
    {kChangesSource, [](HDIB d, const Parameters& p, const auto&) { return ThroughLut(d, p, FALSE); }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return ConvColorDIBtoGrayscale(d, p.low(p.a) % 4, p.b & 1);
     }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL { return ConvMonoDIBtoGrayscale(d, p.low(p.a) % 4); }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) { return Convolved(d, p, TRUE); }},
    {kChangesSource, [](HDIB d, const Parameters& p, const auto&) { return Convolved(d, p, FALSE); }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) { return ColourConvolved(d, p, TRUE); }},
    {kChangesSource, [](HDIB d, const Parameters& p, const auto&) { return ColourConvolved(d, p, FALSE); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return Convert8to24(d); }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         return ColorBrightnessContrast(d, p.signedIn(p.a, 110), p.signedIn(p.b, 110));
     }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL { return DitherFS4(d, kDepths[p.a % 4]); }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL { return DitherJJN(d, kDepths[p.b % 4]); }},
    {kKeepsSource, [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL { return DitherSmooth(d, kDepths[p.c % 4]); }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL { return DitherSharp(d, kDepths[(p.a >> 8) % 4]); }},
    {kKeepsSource,
     [](HDIB d, const Parameters& p, const auto&) -> HGLOBAL {
         WORD error = 0;
         return Halftone(d, WORD(p.low(p.c) % 4), p.signedIn(p.b, 300), &error);
     }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return CompressDIB(d); }},
    {kKeepsSource, [](HDIB d, const Parameters&, const auto&) -> HGLOBAL { return ExpandCompressedDIB(d); }},
    {kChangesSource,
     [](HDIB d, const Parameters&, const auto&) -> HGLOBAL {
         InvertMonoDIB(d);
         InvertDIBPalette(d);
         return nullptr;
     }},
    {kKeepsSource,
     [](HDIB d, const Parameters&, const auto&) -> HGLOBAL {
         if (HPALETTE palette = CreateDIBPalette(d)) DeleteObject(palette);
         return nullptr;
     }},
};

HDIB BlockOf(const std::vector<uint8_t>& bytes) {
    HDIB block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    Check(block != nullptr);
    std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
    GlobalUnlock(block);
    return block;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size <= kParameterBytes || size - kParameterBytes > kLargestBlock) return 0;
    const Parameters p{uint16_t(data[0] | data[1] << 8), uint16_t(data[2] | data[3] << 8),
                       uint16_t(data[4] | data[5] << 8)};
    const std::vector<uint8_t> dib(data + kParameterBytes, data + size);
    if (EmptyButLong(dib) || ClaimsHugeArea(dib)) return 0;
    for (const Export& e : kExports) {
        HDIB source = BlockOf(dib);
        HGLOBAL result = e.run(source, p, dib);
        if (e.source == kKeepsSource) Check(Contents(source) == dib);
        GlobalFree(result);
        GlobalFree(source);  // some exports return with the source still locked; it goes all the same
    }
    return 0;
}

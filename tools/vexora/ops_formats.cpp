// ops_formats.cpp - the file-format options of `vexora convert`: run-length encoding of the
// output. (Run-length encoded inputs are expanded as they are loaded.)
//
// The library's encoder (CompressDIB) keeps its classic stream: with one pixel left at a row's
// end it emits two, the second taken from past the row, and at 4 bits it works on pixel pairs,
// so a row of odd width gets a pixel too many. Readers that hold a stream to its row refuse
// such a file, and the library's own expansion wraps the extra pixel onto the row's first
// column. So the tool keeps the library's stream only when every code stays inside its row and
// the expansion gives back the source pixels; otherwise it writes a stream of its own, made of
// encoded runs and absolute groups that never pass a row's end, checks that one the same way,
// and as a last resort saves the image uncompressed with a note.
#include <cstdint>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

// Where pixel data starts in the library's run-length layout: header and a full colour table.
constexpr size_t PixelOffset(WORD depth) { return 40 + (size_t{4} << depth); }

DWORD Stride(LONG width, WORD depth) { return ((static_cast<DWORD>(width) * depth + 31) / 32) * 4; }

// The pixel values of a stored row.
template <int Bits>
uint8_t PixelAt(const uint8_t* row, long x) {
    if constexpr (Bits == 8) return row[x];
    else return static_cast<uint8_t>(x % 2 ? row[x / 2] & 0x0F : row[x / 2] >> 4);
}

// Whether a run-length stream for a width x height image stays inside its rows: every run and
// absolute group ends at or before the row's end, each row is filled and closed with
// end-of-line (the last one may close with end-of-bitmap instead), no delta codes, and
// end-of-bitmap comes after the last row.
bool StaysInsideRows(const uint8_t* stream, size_t length, long width, long height, WORD depth) {
    size_t at = 0;
    long x = 0, y = 0;
    while (at + 2 <= length) {
        const uint8_t count = stream[at], code = stream[at + 1];
        at += 2;
        if (count > 0) {
            if (x + count > width) return false;
            x += count;
        } else if (code == 0) {
            if (x != width || ++y > height) return false;
            x = 0;
        } else if (code == 1) {
            return (x == width && y + 1 == height) || (x == 0 && y == height);
        } else if (code == 2) {
            return false;
        } else {
            if (x + code > width) return false;
            x += code;
            const size_t bytes = depth == 8 ? code : (code + 1u) / 2;
            at += bytes + bytes % 2;
        }
    }
    return false;
}

// Whether `compressed` decodes (through ExpandCompressedDIB) to the rows of `source`, each
// row's pixels compared (padding aside).
template <int Bits>
bool ExpandsTo(const Dib& compressed, const uint8_t* sourceRows, long width, long height) {
    Dib expanded(ExpandCompressedDIB(compressed.get()));
    if (!expanded) return false;
    const auto* rows = static_cast<const uint8_t*>(GlobalLock(expanded.get())) + PixelOffset(Bits);
    const DWORD stride = Stride(width, Bits);
    bool same = true;
    for (long y = 0; y < height && same; ++y)
        for (long x = 0; x < width && same; ++x)
            same = PixelAt<Bits>(rows + y * stride, x) == PixelAt<Bits>(sourceRows + y * stride, x);
    GlobalUnlock(expanded.get());
    return same;
}

// The tool's own stream: runs of three or more equal pixels (up to 255) as encoded runs,
// stretches without such runs as absolute groups of 3 to 255 pixels (at 4 bits an even number,
// 4 to 254), and the pixels that fit neither as encoded runs of one pixel. Rows end in
// end-of-line, and end-of-bitmap follows the last, as in the library's stream.
template <int Bits>
std::vector<uint8_t> EncodeInsideRows(const uint8_t* rows, long width, long height) {
    std::vector<uint8_t> out;
    const DWORD stride = Stride(width, Bits);
    const auto single = [](uint8_t v) { return Bits == 8 ? v : static_cast<uint8_t>(v << 4 | v); };
    for (long y = 0; y < height; ++y) {
        const uint8_t* row = rows + y * stride;
        const auto runAt = [&](long x) {
            long k = 1;
            while (x + k < width && k < 255 && PixelAt<Bits>(row, x + k) == PixelAt<Bits>(row, x)) ++k;
            return k;
        };
        long x = 0;
        while (x < width) {
            const long run = runAt(x);
            if (run >= 3) {
                out.insert(out.end(), {static_cast<uint8_t>(run), single(PixelAt<Bits>(row, x))});
                x += run;
                continue;
            }
            long end = x;
            while (end < width && end - x < 255 && runAt(end) < 3) ++end;
            // Some readers take an odd 4-bit group's last byte for padding: those stay even.
            if (Bits == 4 && end - x > 4) end -= (end - x) % 2;
            if (end - x < 3 || (Bits == 4 && end - x == 3)) {
                for (; x < end; ++x) out.insert(out.end(), {1, single(PixelAt<Bits>(row, x))});
                continue;
            }
            out.insert(out.end(), {0, static_cast<uint8_t>(end - x)});
            const size_t start = out.size();
            for (long i = x; i < end; i += 1 + (Bits == 4))
                out.push_back(Bits == 8 ? row[i]
                                        : static_cast<uint8_t>(PixelAt<4>(row, i) << 4 | (i + 1 < end ? PixelAt<4>(row, i + 1) : 0)));
            if ((out.size() - start) % 2) out.push_back(0);
            x = end;
        }
        out.insert(out.end(), {0, 0});
    }
    out.insert(out.end(), {0, 1});
    return out;
}

// The source's header and colour table with `stream` as its pixels. The table is written in
// full (the entries beyond the source's stay black) and counted in biClrUsed, so that the pixel
// data sits where both the library's expansion and a file's bfOffBits put it.
Dib WithStream(const Dib& source, WORD depth, const std::vector<uint8_t>& stream) {
    const size_t offset = PixelOffset(depth);
    Dib dib(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, offset + stream.size()));
    if (!dib) throw OperationFailed("--rle: Not enough memory.");
    auto* bytes = static_cast<uint8_t*>(GlobalLock(dib.get()));
    const auto* from = static_cast<const uint8_t*>(GlobalLock(source.get()));
    BITMAPINFOHEADER h;
    std::memcpy(&h, from, sizeof h);
    std::memcpy(bytes + 40, from + 40, 4 * size_t{h.biClrUsed ? h.biClrUsed : 1u << depth});
    GlobalUnlock(source.get());
    h.biClrUsed = 1u << depth;
    h.biCompression = depth == 8 ? 1 : 2;
    h.biSizeImage = static_cast<DWORD>(stream.size());
    std::memcpy(bytes, &h, sizeof h);
    std::memcpy(bytes + offset, stream.data(), stream.size());
    GlobalUnlock(dib.get());
    return dib;
}

// Whether an encoded DIB is one every reader takes back to the source's pixels.
template <int Bits>
bool ReadsBackExactly(const Dib& compressed, const uint8_t* sourceRows, long width, long height) {
    const BITMAPINFOHEADER h = HeaderOf(compressed);
    if (h.biClrUsed != 0 && h.biClrUsed != 1u << Bits) return false;  // the stream would sit elsewhere in a file
    if (GlobalSize(compressed.get()) < PixelOffset(Bits) + h.biSizeImage) return false;
    const auto* stream = static_cast<const uint8_t*>(GlobalLock(compressed.get())) + PixelOffset(Bits);
    const bool inside = StaysInsideRows(stream, h.biSizeImage, width, height, Bits);
    GlobalUnlock(compressed.get());
    return inside && ExpandsTo<Bits>(compressed, sourceRows, width, height);
}

template <int Bits>
void Encode(Dib* image, const BITMAPINFOHEADER& h) {
    SetImgError(IMGERR_SUCCESS);
    Dib library(CompressDIB(image->get()));
    if (!library) throw OperationFailed("--rle: " + LibraryErrorText());
    const size_t entries = h.biClrUsed ? h.biClrUsed : 1u << Bits;
    if (entries > 1u << Bits || GlobalSize(image->get()) < 40 + 4 * entries + size_t{Stride(h.biWidth, Bits)} * h.biHeight)
        throw OperationFailed("--rle: the image is shorter than its header says");
    const auto* rows = static_cast<const uint8_t*>(GlobalLock(image->get())) + 40 + 4 * entries;
    Dib chosen;
    if (ReadsBackExactly<Bits>(library, rows, h.biWidth, h.biHeight)) {
        chosen = std::move(library);
    } else {
        Dib own = WithStream(*image, Bits, EncodeInsideRows<Bits>(rows, h.biWidth, h.biHeight));
        if (ReadsBackExactly<Bits>(own, rows, h.biWidth, h.biHeight)) {
            std::cout << "note: --rle: the library's stream would not read back exactly; the tool wrote its own\n";
            chosen = std::move(own);
        }
    }
    GlobalUnlock(image->get());
    if (!chosen) {
        std::cout << "note: --rle: no run-length stream reads back exactly; the image is saved uncompressed\n";
        return;
    }
    *image = std::move(chosen);
}

void RunLength(Dib* image, const std::string&) {
    if (image == nullptr) return;
    const BITMAPINFOHEADER h = HeaderOf(*image);
    if (h.biBitCount != 8 && h.biBitCount != 4)
        throw OperationFailed("--rle needs a 4- or 8-bit image (this one has " + std::to_string(h.biBitCount) +
                              " bits per pixel)");
    if (h.biCompression != 0 || h.biSize != 40 || h.biWidth < 1 || h.biHeight < 1)
        throw OperationFailed("--rle needs an uncompressed bottom-up image with a 40-byte header");
    h.biBitCount == 8 ? Encode<8>(image, h) : Encode<4>(image, h);
}

}  // namespace

std::vector<Operation> FormatOperations() {
    return {
        {"rle", "",
         "save the 4- or 8-bit result run-length encoded (BI_RLE4 / BI_RLE8); give it last. The library's stream is "
         "kept when it reads back exactly; where it would pass a row's end, the tool writes its own",
         RunLength},
    };
}

}  // namespace vexora_tool

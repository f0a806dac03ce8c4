// dib_builder.hpp - the DIB builder every test uses: packed DIBs with seeded table and pixel
// bytes (padding included) and every header field under the test's control, the row stride,
// BMP file images, blocks, bounds-checked fields, and a temporary directory that removes itself.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "vexora.h"

namespace vxtest {

using Bytes = std::vector<uint8_t>;

struct FreeBlock {
    void operator()(void* block) const { GlobalFree(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;  // frees a block however the test ends

constexpr uint32_t kAsBuilt = 0xFFFFFFFF;

struct DibShape {
    int32_t width = 8;
    int32_t height = 4;
    uint16_t bitCount = 8;
    uint32_t clrUsed = 0;     // stored as given; the table has clrUsed or 2^bitCount entries
    bool coreHeader = false;  // a 12-byte header with 3-byte entries
    uint32_t seed = 1;        // table and pixel bytes are a function of the seed
    int64_t entries = -1;     // table entries when not as above
    int64_t rows = -1;        // rows when not |height|
    uint16_t planes = 1;      // a row holds width x planes x bitCount bits
    uint32_t sizeImage = kAsBuilt;  // biSizeImage: the rows' bytes unless set
};

// Bytes of a row of `width` pixels of `bits` bits, to the next 4-byte boundary.
inline uint32_t Stride(int64_t width, int64_t bits) { return uint32_t((width * bits + 31) / 32 * 4); }

Bytes PackedDib(const DibShape& shape);     // header (resolution 3780 x 2835), table (reserved bytes 0), rows
uint32_t PixelOffset(const DibShape& shape);  // header and table bytes
HDIB BlockFrom(const Bytes& bytes);       // a movable block holding exactly `bytes`
HDIB MakeDib(const DibShape& shape, uint32_t slack = 0);  // PackedDib, then slack bytes of 0xEE
Bytes BlockBytes(HDIB block);             // all GlobalSize bytes
Bytes BmpFile(const Bytes& packedDib, uint32_t offBits);  // "BM" header in front
Bytes PlainBmp(const DibShape& shape);      // BmpFile with bfOffBits at the pixels

// Bounds-checked little-endian fields: a wrong offset in a test throws instead of scribbling.
inline void PutU16(Bytes& b, size_t at, uint16_t v) { std::memcpy(&b.at(at + 1) - 1, &v, 2); }
inline void PutU32(Bytes& b, size_t at, uint32_t v) { std::memcpy(&b.at(at + 3) - 3, &v, 4); }
inline uint16_t GetU16(const Bytes& b, size_t at) { return uint16_t(b.at(at) | b.at(at + 1) << 8); }
inline uint32_t GetU32(const Bytes& b, size_t at) {
    uint32_t v;
    std::memcpy(&v, &b.at(at + 3) - 3, 4);
    return v;
}
// Shorthands: a seeded DIB with clrUsed, rows and entries as DibShape takes them; bytes with
// one 32-bit field replaced; bytes cut to a size.
inline Bytes SeededDib(int32_t w, int32_t h, uint16_t bits, uint32_t seed = 1, uint32_t used = 0, int64_t rows = -1,
                       int64_t entries = -1) {
    return PackedDib({w, h, bits, used, false, seed, entries, rows});
}
inline Bytes With(Bytes b, size_t at, uint32_t v) { return PutU32(b, at, v), b; }
inline Bytes Cut(Bytes b, size_t size) { return b.resize(size), b; }

// For the models: the table entries read after a 40-byte header (biClrUsed, else 2, 16 or 256
// by depth), and a result block with the source's header and `pixels - 40` bytes of table,
// then `height` rows of `stride` bytes and `extra` zero bytes; width, height and biSizeImage set.
inline uint32_t Colours(const Bytes& dib) {
    const uint32_t used = GetU32(dib, 32), bits = GetU16(dib, 14);
    return used ? used : bits == 1 || bits == 4 || bits == 8 ? 1u << bits : 0;
}
inline Bytes ResultFrame(const Bytes& src, size_t pixels, int64_t width, int64_t height, uint64_t stride,
                         size_t extra = 0) {
    Bytes out(pixels + stride * uint64_t(height) + extra, 0);
    std::copy(src.begin(), src.begin() + int64_t(pixels), out.begin());
    PutU32(out, 4, uint32_t(width));
    PutU32(out, 8, uint32_t(height));
    PutU32(out, 20, uint32_t(stride * uint64_t(height)));
    return out;
}

Bytes ReadFileBytes(const std::filesystem::path& path);

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string path(const std::string& name) const;
    std::string write(const std::string& name, const Bytes& bytes) const;  // returns the path

private:
    std::filesystem::path dir_;
};

}  // namespace vxtest

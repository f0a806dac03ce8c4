// dib_layout.hpp - all size arithmetic of a packed DIB, in one audited place.
//
// Provides: the header sizes and field offsets, little-endian field access, the row stride
// (32-bit as the library computes it, 64-bit for deciding what a block must hold, or checked
// against the 32-bit arithmetic wrapping), colour counts and colour-table sizes, the block
// limit kMaxBlockBytes, WriteInfoHeader for the header of a new DIB, InspectDib, and
// TruncToInt32, the double-to-integer conversion the library's arithmetic relies on, with
// VX_EXACT_DOUBLES, which keeps such arithmetic bit-exact on 32-bit x86.
//
// A packed DIB is a header (40 bytes, or a 12-byte core header), a colour table and the pixel
// rows. The library's historic arithmetic is 32-bit and unsigned (stride, colour count,
// colour-table size); the helpers that reproduce it keep that width on purpose, because
// header fields written by the library depend on it. Everything that decides whether a block
// may be read or written is computed in 64 bits, so that no header, however hostile, can make
// an operation step outside its block: InspectDib answers "does this block hold what its
// header says?" before any pixel is touched.
//
// This header sits below the core and the platform backends and depends on neither: the
// operations and the software GDI of the POSIX backend share it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace vx {

inline constexpr uint32_t kInfoHeaderSize = 40;
inline constexpr uint32_t kCoreHeaderSize = 12;
inline constexpr uint32_t kFileHeaderSize = 14;
inline constexpr uint16_t kBmpSignature = 0x4D42;  // "BM"

// The largest memory block an operation makes or grows: blocks are addressed by 32-bit sizes,
// so a result, a working buffer or a file image beyond this is refused as out of memory.
inline constexpr uint64_t kMaxBlockBytes = UINT32_MAX;

// Little-endian field access on unaligned bytes.
inline uint16_t LoadU16(const void* at) {
    uint16_t v;
    std::memcpy(&v, at, sizeof v);
    return v;
}
inline uint32_t LoadU32(const void* at) {
    uint32_t v;
    std::memcpy(&v, at, sizeof v);
    return v;
}
inline int32_t LoadI32(const void* at) {
    int32_t v;
    std::memcpy(&v, at, sizeof v);
    return v;
}
inline void StoreU16(void* at, uint16_t v) { std::memcpy(at, &v, sizeof v); }
inline void StoreU32(void* at, uint32_t v) { std::memcpy(at, &v, sizeof v); }
inline void StoreI32(void* at, int32_t v) { std::memcpy(at, &v, sizeof v); }

// Offsets of the BITMAPINFOHEADER fields.
namespace bih {
inline constexpr size_t kSize = 0, kWidth = 4, kHeight = 8, kPlanes = 12, kBitCount = 14,
                        kCompression = 16, kSizeImage = 20, kXPels = 24, kYPels = 28,
                        kClrUsed = 32, kClrImportant = 36;
}
// Offsets of the BITMAPCOREHEADER fields.
namespace bch {
inline constexpr size_t kWidth = 4, kHeight = 6, kPlanes = 8, kBitCount = 10;
}

// Row stride in the library's unsigned 32-bit arithmetic.
constexpr uint32_t RowStride(uint32_t width, uint32_t bitCount) {
    return ((width * bitCount + 31) / 32) * 4;
}

// Row stride without wrap-around, for deciding what a block must hold.
constexpr uint64_t RowStride64(uint64_t width, uint64_t bitCount) {
    return ((width * bitCount + 31) / 32) * 4;
}

// The stride in the library's 32-bit arithmetic, or nothing when that arithmetic would wrap
// (no block can hold such rows).
inline std::optional<uint64_t> Stride32(uint64_t width, uint64_t bitCount) {
    if (width * bitCount + 31 > UINT32_MAX) return std::nullopt;
    return RowStride64(width, bitCount);
}

// Colour count by depth alone: 2, 16, 256 for 1, 4, 8 bits, 0 for anything else.
constexpr uint32_t ColorCountForDepth(uint32_t bitCount) {
    return bitCount == 1 ? 2u : bitCount == 4 ? 16u : bitCount == 8 ? 256u : 0u;
}

// Colour count of a readable header (40 bytes, or 12 when its first word says 12):
// biClrUsed counts only for a header whose size is exactly 40.
inline uint32_t DibColorCount(const uint8_t* header) {
    const uint32_t size = LoadU32(header + bih::kSize);
    if (size == kInfoHeaderSize) {
        const uint32_t used = LoadU32(header + bih::kClrUsed);
        if (used != 0) return used;
        return ColorCountForDepth(LoadU16(header + bih::kBitCount));
    }
    // A core header's bit count sits at offset 10. Any other header size that is not exactly 40
    // is read the same way (in the longer layouts that word is the high half of biHeight), as
    // the library always has: such headers count as having no colour table.
    return ColorCountForDepth(LoadU16(header + bch::kBitCount));
}

// Colour-table bytes: 4-byte entries after a 40-byte header, 3-byte entries otherwise.
inline uint32_t DibPaletteBytes(const uint8_t* header) {
    const uint32_t entryBytes = LoadU32(header) == kInfoHeaderSize ? 4u : 3u;
    return DibColorCount(header) * entryBytes;
}

// The fields of a new DIB's info header: those a caller leaves out are 0 (compression BI_RGB),
// except planes, which is 1.
struct InfoHeader {
    int32_t width = 0;
    int32_t height = 0;
    uint16_t planes = 1;
    uint16_t bitCount = 0;
    uint32_t compression = 0;
    uint32_t sizeImage = 0;
    int32_t xPels = 0;
    int32_t yPels = 0;
    uint32_t clrUsed = 0;
    uint32_t clrImportant = 0;
};

// The fields of the info header stored at `at` (40 bytes).
inline InfoHeader ReadInfoHeader(const uint8_t* at) {
    return {.width = LoadI32(at + bih::kWidth),
            .height = LoadI32(at + bih::kHeight),
            .planes = LoadU16(at + bih::kPlanes),
            .bitCount = LoadU16(at + bih::kBitCount),
            .compression = LoadU32(at + bih::kCompression),
            .sizeImage = LoadU32(at + bih::kSizeImage),
            .xPels = LoadI32(at + bih::kXPels),
            .yPels = LoadI32(at + bih::kYPels),
            .clrUsed = LoadU32(at + bih::kClrUsed),
            .clrImportant = LoadU32(at + bih::kClrImportant)};
}

// Writes all 40 bytes of an info header at `at`.
inline void WriteInfoHeader(uint8_t* at, const InfoHeader& h) {
    StoreU32(at + bih::kSize, kInfoHeaderSize);
    StoreI32(at + bih::kWidth, h.width);
    StoreI32(at + bih::kHeight, h.height);
    StoreU16(at + bih::kPlanes, h.planes);
    StoreU16(at + bih::kBitCount, h.bitCount);
    StoreU32(at + bih::kCompression, h.compression);
    StoreU32(at + bih::kSizeImage, h.sizeImage);
    StoreI32(at + bih::kXPels, h.xPels);
    StoreI32(at + bih::kYPels, h.yPels);
    StoreU32(at + bih::kClrUsed, h.clrUsed);
    StoreU32(at + bih::kClrImportant, h.clrImportant);
}

// What a block holding one packed DIB contains, according to its header, and whether the
// block is large enough for it. All sizes are 64-bit and cannot wrap.
struct DibLayout {
    uint32_t headerSize = 0;   // biSize as stored
    bool coreHeader = false;   // biSize == 12
    int64_t width = 0;
    int64_t height = 0;        // signed, as stored
    uint64_t rows = 0;         // |height|
    uint32_t planes = 0;
    uint32_t bitCount = 0;
    uint32_t compression = 0;
    uint32_t sizeImage = 0;
    uint32_t colorCount = 0;
    uint64_t paletteBytes = 0;
    uint64_t pixelOffset = 0;  // headerSize + paletteBytes
    uint64_t stride = 0;       // bytes per row (0 for a negative width)
    uint64_t imageBytes = 0;   // stride * rows, or biSizeImage for compressed DIBs
    uint64_t blockBytes = 0;   // the size of the block inspected

    bool compressed() const { return compression != 0; }
    // Bytes the header says the block holds: header, colour table and pixels.
    uint64_t requiredBytes() const { return pixelOffset + imageBytes; }
    bool holdsHeaderAndTable() const { return pixelOffset <= blockBytes; }
    bool holdsPixels() const { return requiredBytes() <= blockBytes; }
};

// Reads the header at the start of a block of blockBytes bytes. Empty when the block is too
// small to hold the header itself (fewer than 4 bytes, or fewer than the header's fields).
inline std::optional<DibLayout> InspectDib(const uint8_t* block, uint64_t blockBytes) {
    if (block == nullptr || blockBytes < 4) return std::nullopt;
    DibLayout d;
    d.blockBytes = blockBytes;
    d.headerSize = LoadU32(block + bih::kSize);
    d.coreHeader = d.headerSize == kCoreHeaderSize;
    if (d.coreHeader) {
        if (blockBytes < kCoreHeaderSize) return std::nullopt;
        d.width = LoadU16(block + bch::kWidth);
        d.height = LoadU16(block + bch::kHeight);
        d.planes = LoadU16(block + bch::kPlanes);
        d.bitCount = LoadU16(block + bch::kBitCount);
    } else {
        if (blockBytes < kInfoHeaderSize || blockBytes < d.headerSize) return std::nullopt;
        d.width = LoadI32(block + bih::kWidth);
        d.height = LoadI32(block + bih::kHeight);
        d.planes = LoadU16(block + bih::kPlanes);
        d.bitCount = LoadU16(block + bih::kBitCount);
        d.compression = LoadU32(block + bih::kCompression);
        d.sizeImage = LoadU32(block + bih::kSizeImage);
    }
    d.rows = static_cast<uint64_t>(d.height < 0 ? -d.height : d.height);
    d.colorCount = DibColorCount(block);
    d.paletteBytes = uint64_t{d.colorCount} * (d.headerSize == kInfoHeaderSize ? 4u : 3u);
    d.pixelOffset = uint64_t{d.headerSize} + d.paletteBytes;
    d.stride = d.width > 0 ? RowStride64(static_cast<uint64_t>(d.width), d.bitCount) : 0;
    d.imageBytes = d.compressed() ? d.sizeImage : d.stride * d.rows;
    return d;
}

// Double arithmetic the library's bytes depend on is compiled for SSE2 on 32-bit x86, whose
// x87 unit would otherwise keep extended precision between operations; every other target
// already rounds each operation to double.
#if defined(__GNUC__) && defined(__i386__) && !defined(__SSE2_MATH__)
#define VX_EXACT_DOUBLES __attribute__((target("sse2,fpmath=sse")))
#else
#define VX_EXACT_DOUBLES
#endif

// Conversion toward zero as the x86 instruction does it: values outside the 32-bit range (and
// NaN) give INT32_MIN instead of undefined behaviour. Always inlined, so that it compiles into
// each caller exactly as if written there.
VX_EXACT_DOUBLES [[gnu::always_inline]] inline int32_t TruncToInt32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(v);
}

}  // namespace vx

// crop_scale.cpp - nearest-neighbour crop-and-scale, one member per depth (see crop_scale.hpp
// for the arguments and the result block), and the export VexoraCropScaleDIB, which runs the
// member of an HDIB's depth for callers outside the library.
//
// Method. The source column of every output column is worked out once per call into a table
// (exact 64-bit arithmetic of floor((8 x w + 4 W') / (8 W')), which is floor(x w / W' + 1/2)),
// and the table is cut at the first column that falls outside the image: the mapping never
// decreases, so everything from there on stays zero. Rows go from the top of the picture down;
// the source row of each is computed the same way, and the first one outside the image ends
// the picture. A row that maps to the same source row as the one before is not resampled: the
// previous output row is copied whole.
//
// Sample steps. 8- and 24-bit rows gather bytes through the column table; 4-bit rows gather
// nibbles and assemble each output byte in a register; 1-bit rows assemble eight bits at a
// time. When the rectangle and the output are equally wide the mapping is the identity plus
// x0, and a row becomes a straight copy (for 1 and 4 bits when x0 falls on a byte boundary;
// the bits past the last pixel of the row's last byte are then masked off, since the block
// around them is zero). Every path writes the same bytes as sampling pixel by pixel.
//
// Quirks kept: the result is one row and 16 bytes larger than its pixels need, and
// biSizeImage is the source's; a rounding that reaches one past the rectangle samples the
// image there (or leaves zero past the image), so scaling a whole image up by 3 leaves its last
// output row and column zero.
#include "geometry/crop_scale.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "pixels.hpp"

namespace vx::geometry {
namespace {

constexpr uint64_t kSpareBytes = 16;  // after the spare row

// floor((8 i n + 4 out) / (8 out)): the nearest sample of output index i, n source pixels over
// `out` output pixels. Numerator and denominator are divided by 4 first (the quotient is the
// same), so that i and n up to 2^31 cannot wrap.
inline uint64_t NearestIndex(uint64_t i, uint64_t n, uint64_t out) {
    return (2 * i * n + out) / (2 * out);
}

// `wide` (24 bits only): how many leading output pixels may move as four bytes, their source
// pixel lying at least one byte before the end of the source row.
template <unsigned Bits>
void GatherRow(const uint8_t* src, const uint32_t* sx, uint32_t n, uint32_t wide, uint8_t* dst) {
    if constexpr (Bits == 8) {
        for (uint32_t x = 0; x < n; ++x) dst[x] = src[sx[x]];
    } else if constexpr (Bits == 24) {
        // A four-byte move carries one byte too many, which the next pixel's move overwrites;
        // the last pixel, and any whose source ends its row, move byte by byte.
        uint32_t x = 0;
        for (const uint32_t end = std::min(wide, n - 1); x < end; ++x) {
            uint32_t pixel;
            std::memcpy(&pixel, src + uint64_t{sx[x]} * 3, 4);
            std::memcpy(dst, &pixel, 4);
            dst += 3;
        }
        for (; x < n; ++x) {
            const uint8_t* p = src + uint64_t{sx[x]} * 3;
            dst[0] = p[0];
            dst[1] = p[1];
            dst[2] = p[2];
            dst += 3;
        }
    } else if constexpr (Bits == 4) {
        for (uint32_t x = 0; x < n; x += 2) {
            const uint32_t a = sx[x];
            uint8_t byte = static_cast<uint8_t>((a & 1) ? src[a >> 1] << 4 : src[a >> 1] & 0xF0);
            if (x + 1 < n) {
                const uint32_t b = sx[x + 1];
                byte |= static_cast<uint8_t>((b & 1) ? src[b >> 1] & 0x0F : src[b >> 1] >> 4);
            }
            dst[x >> 1] = byte;
        }
    } else {
        for (uint32_t x = 0; x < n; x += 8) {
            const uint32_t end = std::min(n, x + 8);
            uint32_t byte = 0;
            for (uint32_t k = x; k < end; ++k) {
                const uint32_t s = sx[k];
                byte |= ((uint32_t{src[s >> 3]} << (s & 7)) & 0x80u) >> (k & 7);
            }
            dst[x >> 3] = static_cast<uint8_t>(byte);
        }
    }
}

// The identity mapping from x0: n pixels of the row from pixel x0 on. Returns false when this
// depth and alignment have no straight copy (the caller gathers instead).
template <unsigned Bits>
bool CopyRow(const uint8_t* src, uint64_t x0, uint32_t n, uint8_t* dst) {
    if constexpr (Bits == 8) {
        std::memcpy(dst, src + x0, n);
    } else if constexpr (Bits == 24) {
        std::memcpy(dst, src + x0 * 3, uint64_t{n} * 3);
    } else if constexpr (Bits == 4) {
        if (x0 & 1) return false;
        std::memcpy(dst, src + x0 / 2, (uint64_t{n} + 1) / 2);
        if (n & 1) dst[n / 2] &= 0xF0;
    } else {
        if (x0 & 7) return false;
        std::memcpy(dst, src + x0 / 8, (uint64_t{n} + 7) / 8);
        if (n & 7) dst[n / 8] &= static_cast<uint8_t>(0xFF00u >> (n & 7));
    }
    return true;
}

template <unsigned Bits>
HDIB CropScale(const LockedDib& source, int x0, int y0, int width, int height, int outWidth,
               int outHeight) {
    if (width < 1 || height < 1 || outWidth < 1 || outHeight < 1) return nullptr;
    const uint8_t* header = source.header;
    if (header == nullptr || source.headerBytes < kInfoHeaderSize) return nullptr;
    if (LoadU32(header + bih::kSize) < kInfoHeaderSize) return nullptr;
    if (LoadU16(header + bih::kBitCount) != Bits) return nullptr;
    const int64_t imageWidth = LoadI32(header + bih::kWidth);
    const int64_t imageHeight = LoadI32(header + bih::kHeight);
    if (imageWidth < 1 || imageHeight < 1) return nullptr;
    if (x0 < 0 || y0 < 0 || x0 >= imageWidth || y0 >= imageHeight) return nullptr;
    const uint64_t headerAndTable = kInfoHeaderSize + uint64_t{DibPaletteBytes(header)};
    if (headerAndTable > source.headerBytes) return nullptr;
    const uint64_t stride = RowStride64(static_cast<uint64_t>(imageWidth), Bits);
    const auto rows = static_cast<uint64_t>(imageHeight);
    if (source.bits == nullptr || stride > source.bitsBytes / rows) return nullptr;

    const auto outW = static_cast<uint32_t>(outWidth);
    const auto outH = static_cast<uint32_t>(outHeight);
    const uint64_t outStride = RowStride64(outW, Bits);
    auto result = AllocateDibLike(header, headerAndTable, (uint64_t{outH} + 1) * outStride,
                                  kSpareBytes);
    if (!result) return nullptr;
    uint8_t* out = result->data();
    StoreI32(out + bih::kWidth, outWidth);
    StoreI32(out + bih::kHeight, outHeight);

    // Source column of every output column, up to the first one outside the image.
    std::vector<uint32_t> columns;
    columns.reserve(std::min<uint64_t>(outW, uint64_t(imageWidth)));
    for (uint32_t x = 0; x < outW; ++x) {
        const uint64_t sx = uint64_t(x0) + NearestIndex(x, uint64_t(width), outW);
        if (sx >= uint64_t(imageWidth)) break;
        columns.push_back(static_cast<uint32_t>(sx));
    }
    const auto n = static_cast<uint32_t>(columns.size());
    const bool identity = uint32_t(width) == outW;
    uint32_t wide = 0;
    while (wide < n && uint64_t{columns[wide]} * 3 + 4 <= stride) ++wide;

    uint8_t* pixels = out + headerAndTable;
    const uint8_t* previous = nullptr;
    uint64_t previousRow = UINT64_MAX;
    for (uint32_t j = 0; j < outH; ++j) {
        const uint64_t sy = uint64_t(y0) + NearestIndex(j, uint64_t(height), outH);
        if (sy >= rows) break;
        uint8_t* dst = pixels + uint64_t{outH - 1 - j} * outStride;
        if (sy == previousRow) {
            std::memcpy(dst, previous, outStride);
        } else {
            const uint8_t* src = source.bits + (rows - 1 - sy) * stride;
            if (!identity || !CopyRow<Bits>(src, uint64_t(x0), n, dst))
                GatherRow<Bits>(src, columns.data(), n, wide, dst);
        }
        previous = dst;
        previousRow = sy;
    }
    return result->release();
}

}  // namespace

std::optional<LockedDib> ViewPackedDib(const uint8_t* block, uint64_t blockBytes) {
    if (block == nullptr || blockBytes < kInfoHeaderSize) return std::nullopt;
    const uint64_t pixelOffset = uint64_t{LoadU32(block + bih::kSize)} + DibPaletteBytes(block);
    if (pixelOffset > blockBytes) return std::nullopt;
    return LockedDib{block, blockBytes, block + pixelOffset, blockBytes - pixelOffset};
}

HDIB CropScale1(const LockedDib& s, int x0, int y0, int w, int h, int outW, int outH) {
    return RunExport(Silent{}, [&]() -> Outcome<HDIB> { return CropScale<1>(s, x0, y0, w, h, outW, outH); });
}
HDIB CropScale4(const LockedDib& s, int x0, int y0, int w, int h, int outW, int outH) {
    return RunExport(Silent{}, [&]() -> Outcome<HDIB> { return CropScale<4>(s, x0, y0, w, h, outW, outH); });
}
HDIB CropScale8(const LockedDib& s, int x0, int y0, int w, int h, int outW, int outH) {
    return RunExport(Silent{}, [&]() -> Outcome<HDIB> { return CropScale<8>(s, x0, y0, w, h, outW, outH); });
}
HDIB CropScale24(const LockedDib& s, int x0, int y0, int w, int h, int outW, int outH) {
    return RunExport(Silent{}, [&]() -> Outcome<HDIB> { return CropScale<24>(s, x0, y0, w, h, outW, outH); });
}

HDIB CropScaleDib(const LockedDib& s, int x0, int y0, int w, int h, int outW, int outH) {
    if (s.header == nullptr || s.headerBytes < kInfoHeaderSize) return nullptr;
    HDIB result = nullptr;
    DispatchDepth(LoadU16(s.header + bih::kBitCount), [&](auto bits) {
        result = RunExport(Silent{}, [&]() -> Outcome<HDIB> {
            return CropScale<decltype(bits)::value>(s, x0, y0, w, h, outW, outH);
        });
    });
    return result;
}

}  // namespace vx::geometry

// VexoraCropScaleDIB: the dispatching member over a whole packed DIB, for callers outside the
// library (the vexora tool's --crop-scale). It locks the block, views it as header, colour
// table and rows, and hands the view to CropScaleDib; its result block is that member's,
// spare row included. Like the members it sets no module error code.
extern "C" VXAPI HDIB VXCALL VexoraCropScaleDIB(HDIB dib, int x, int y, int width, int height,
                                                int outWidth, int outHeight) {
    using namespace vx;
    return RunExport(Silent{}, [&]() -> Outcome<HDIB> {
        const BlockLock block(dib);
        if (!block) return Fail();
        const auto view = geometry::ViewPackedDib(block.data(), block.size());
        if (!view) return Fail();
        return geometry::CropScaleDib(*view, x, y, width, height, outWidth, outHeight);
    });
}

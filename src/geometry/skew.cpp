// skew.cpp - SkewDIB: a DIB sheared by a whole number of pixels, horizontally or vertically.
//
// Method. A horizontal shear moves each row sideways by an amount that grows linearly from
// one edge to the other, so the result is |d| pixels wider; a vertical shear moves each column
// up, so the result is |d| pixels taller. Pixels are moved whole (bits at 1 bit, nibbles at
// 4 bits), nothing is interpolated, and everything the moved picture does not cover stays
// zero (colour index 0, or black). Other depths pass the checks and give a blank image.
//
// Horizontal: row y (counted in memory order, bottom row first) moves by t = b*|d|*y / H bits
// for d > 0 and by b*|d|*(H - y) / H bits otherwise. At 8 and 24 bits t is rounded up to whole
// bytes, at 24 bits the byte shift is then rounded down to whole pixels, and at 4 bits the
// bit remainder is cut to 0 or 4. The row's used bytes, (b*W + 7) / 8, are copied whole, so
// the padding bits of a row's last byte travel with it; with a bit remainder k each byte is
// split across two result bytes, the first ORed in and the second stored, and the byte after
// the last one is stored too. When a row's bytes fill the result stride that byte is the
// first byte of the next row up (rows are written bottom to top, so the next row may OR over
// it or cover it); past the last row it is outside the block and dropped.
//
// Vertical: column x moves up by |d|*x / W rows for d > 0 and by |d|*(W - x) / W otherwise,
// ORed in pixel by pixel at its own bit position. Columns sharing a shift form runs; each
// run is copied as one masked range per source row, which gives the same bytes as the pixel
// by pixel move (the moves never overlap) without a division or a mask per pixel.
//
// Quirks kept: the module error code is cleared at entry and a failure writes the same code to
// the module code and the caller's cell (the two channels Both reports to), while success
// leaves the cell alone; the corner
// record is filled before the result is allocated and, for the vertical shear, moves the two y
// values of one edge together, which is how callers have always read it; on success the
// source keeps the lock taken on it, every failure unlocks it.
//
// Sizes: shifts, strides and block sizes are computed in 64 bits, so no offset or size can
// wrap around and place a row outside its block.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "pixels.hpp"

namespace vx::geometry {
namespace {

// A source row placed B bytes and k bits into its result row: n bytes from `src` go to
// `dst`, whose pixel area ends at `end`.
void PlaceRow(const uint8_t* src, uint64_t n, uint8_t* dst, unsigned k, const uint8_t* end) {
    if (k == 0) {
        std::memcpy(dst, src, n);
        return;
    }
    const unsigned back = 8 - k;
    dst[0] |= static_cast<uint8_t>(src[0] >> k);
    for (uint64_t i = 1; i < n; ++i)
        dst[i] = static_cast<uint8_t>(src[i - 1] << back | src[i] >> k);
    if (dst + n < end) dst[n] = static_cast<uint8_t>(src[n - 1] << back);
}

template <unsigned Bits>
void ShearRows(const uint8_t* src, uint64_t srcStride, uint64_t w, uint64_t h, uint64_t shear,
               bool positive, uint8_t* out, uint64_t outStride) {
    const uint64_t used = (Bits * w + 7) / 8;
    const uint8_t* end = out + outStride * h;
    for (uint64_t y = 0; y < h; ++y, src += srcStride, out += outStride) {
        uint64_t t = Bits * shear * (positive ? y : h - y) / h;
        if constexpr (Bits == 8 || Bits == 24) t = (t + 7) & ~uint64_t{7};
        uint64_t byteShift = t >> 3;
        unsigned bitShift = static_cast<unsigned>(t & 7);
        if constexpr (Bits == 24) byteShift -= byteShift % 3;
        if constexpr (Bits == 4) bitShift = bitShift < 4 ? 0 : 4;
        PlaceRow(src, used, out + byteShift, bitShift, end);
    }
}

// n bytes copied with fixed-size moves: the runs of a shear are mostly a few bytes long, where
// a call to memcpy costs more than the copy. The last move may overlap the one before it.
inline void CopyShort(uint8_t* dst, const uint8_t* src, uint64_t n) {
    if (n >= 8) {
        uint64_t i = 0;
        for (; i + 8 < n; i += 8) std::memcpy(dst + i, src + i, 8);
        std::memcpy(dst + n - 8, src + n - 8, 8);
    } else if (n >= 4) {
        std::memcpy(dst, src, 4);
        std::memcpy(dst + n - 4, src + n - 4, 4);
    } else {
        for (uint64_t i = 0; i < n; ++i) dst[i] = src[i];
    }
}

// Pixels [x0, x1) of one row ORed into another row at the same position.
template <unsigned Bits>
void CopyColumns(const uint8_t* src, uint8_t* dst, uint64_t x0, uint64_t x1) {
    if constexpr (Bits == 8 || Bits == 24) {
        constexpr uint64_t kBytes = Bits / 8;
        CopyShort(dst + x0 * kBytes, src + x0 * kBytes, (x1 - x0) * kBytes);
    } else {
        const uint64_t first = x0 * Bits, last = x1 * Bits - 1;  // bit positions
        const uint64_t b0 = first >> 3, b1 = last >> 3;
        const auto head = static_cast<uint8_t>(0xFFu >> (first & 7));
        const auto tail = static_cast<uint8_t>(0xFFu << (7 - (last & 7)));
        if (b0 == b1) {
            dst[b0] |= src[b0] & head & tail;
            return;
        }
        dst[b0] |= src[b0] & head;
        if (b1 > b0 + 1) CopyShort(dst + b0 + 1, src + b0 + 1, b1 - b0 - 1);  // whole bytes of this run
        dst[b1] |= src[b1] & tail;
    }
}

// Columns that move by the same number of rows.
struct ColumnRun {
    uint64_t x0, x1;
    uint64_t offset;  // the shift in bytes of the result: rows * result stride
};

template <unsigned Bits>
void ShearColumns(const uint8_t* src, uint64_t srcStride, uint64_t w, uint64_t h, uint64_t shear,
                  bool positive, uint8_t* out, uint64_t outStride) {
    std::vector<ColumnRun> runs;
    for (uint64_t x = 0; x < w; ++x) {
        const uint64_t s = shear * (positive ? x : w - x) / w;
        const uint64_t offset = s * outStride;
        if (!runs.empty() && runs.back().offset == offset) runs.back().x1 = x + 1;
        else runs.push_back(ColumnRun{x, x + 1, offset});
    }
    // Runs are copied a strip at a time, all rows of a strip before the next. A strip holds at
    // most kStripRuns runs and about kStripBytes source bytes, so that the result rows one
    // source row scatters into stay few: their lines stay cached and their pages stay in the
    // address translation cache.
    constexpr uint64_t kStripBytes = 512;
    constexpr size_t kStripRuns = 32;
    for (size_t first = 0; first < runs.size();) {
        size_t last = first + 1;
        while (last < runs.size() && last - first < kStripRuns &&
               (runs[last].x1 - runs[first].x0) * Bits <= kStripBytes * 8)
            ++last;
        const uint8_t* from = src;
        uint8_t* to = out;
        for (uint64_t r = 0; r < h; ++r, from += srcStride, to += outStride)
            for (size_t i = first; i < last; ++i) CopyColumns<Bits>(from, to + runs[i].offset, runs[i].x0, runs[i].x1);
        first = last;
    }
}

// The corner record: 0,0, W,0, W,H, 0,H, then the edge the shear moves. Values are 32-bit
// and wrap as they always have for offsets near the ends of the range.
void FillCorners(int* corners, bool horizontal, int64_t w, int64_t h, int64_t d) {
    int64_t c[8] = {0, 0, w, 0, w, h, 0, h};
    if (horizontal) {
        if (d > 0) c[0] = d, c[2] = w + d;
        else c[6] = -d, c[4] = w - d;
    } else {
        if (d > 0) c[1] = d, c[3] = d;
        else c[7] = h - d, c[5] = h - d;
    }
    for (int i = 0; i < 8; ++i) corners[i] = static_cast<int32_t>(c[i]);
}

Outcome<HDIB> Skew(HDIB dib, int direction, int offset, int* corners) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(IMGERR_LOCKMEMORY);
    const uint8_t* src = source.data();
    if (source.size() < kInfoHeaderSize || LoadU32(src + bih::kSize) != kInfoHeaderSize)
        return Fail(IMGERR_PARAMETER);
    if (LoadU32(src + bih::kCompression) != 0) return Fail(IMGERR_COMPRESSED);
    const int64_t w = LoadI32(src + bih::kWidth), h = LoadI32(src + bih::kHeight);
    if (w == 0 || h == 0) return Fail(IMGERR_DIBSIZE);
    // Rows stored top-down (or a negative width) have no defined shear: refused as a size.
    if (w < 0 || h < 0) return Fail(IMGERR_DIBSIZE);
    const uint32_t bits = LoadU16(src + bih::kBitCount);
    const uint64_t headerAndTable = kInfoHeaderSize + uint64_t{DibColorCount(src)} * 4;
    const uint64_t stride = RowStride64(static_cast<uint64_t>(w), bits);
    if (headerAndTable + stride * static_cast<uint64_t>(h) > source.size())
        return Fail(IMGERR_DIBSIZE);

    const bool horizontal = direction != 0;
    const int64_t d = offset;
    const uint64_t shear = static_cast<uint64_t>(std::llabs(d));
    if (corners != nullptr) FillCorners(corners, horizontal, w, h, d);

    const uint64_t outW = static_cast<uint64_t>(w) + (horizontal ? shear : 0);
    const uint64_t outH = static_cast<uint64_t>(h) + (horizontal ? 0 : shear);
    if (outW > INT32_MAX || outH > INT32_MAX) return Fail(IMGERR_NOMEMORY);
    const uint64_t outStride = RowStride64(outW, bits);
    const uint64_t imageBytes = outStride * outH;
    if (imageBytes > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);
    OwnedBlock block = OwnedBlock::Allocate(headerAndTable + imageBytes);
    if (!block) return Fail(IMGERR_NOMEMORY);
    BlockLock result(block.get());
    if (!result) return Fail(IMGERR_LOCKMEMORY);

    uint8_t* out = result.data();
    std::memcpy(out, src, headerAndTable);
    StoreI32(out + bih::kWidth, static_cast<int32_t>(outW));
    StoreI32(out + bih::kHeight, static_cast<int32_t>(outH));
    StoreU32(out + bih::kSizeImage, static_cast<uint32_t>(imageBytes));
    const uint8_t* pixels = src + headerAndTable;
    DispatchDepth(bits, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        const auto uw = static_cast<uint64_t>(w), uh = static_cast<uint64_t>(h);
        if (horizontal)
            ShearRows<kBits>(pixels, stride, uw, uh, shear, d > 0, out + headerAndTable, outStride);
        else
            ShearColumns<kBits>(pixels, stride, uw, uh, shear, d > 0, out + headerAndTable, outStride);
    });

    result.unlock();
    source.keepLocked();
    return block.release();
}

}  // namespace
}  // namespace vx::geometry

extern "C" VXAPI HDIB VXCALL SkewDIB(HDIB dib, int direction, int offset, DWORD* error, int* corners) {
    const vx::Both channel{vx::ModuleCode{.clearedOnEntry = true}, vx::CallerWord32{.cell = error}};
    return vx::RunExport(channel, [&] { return vx::geometry::Skew(dib, direction, offset, corners); });
}

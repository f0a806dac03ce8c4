// depth.cpp - Convert8to24: a paletted image expanded to 24 bits through its colour table.
//
// Each source byte is a colour-table index and becomes the blue, green and red of that entry.
// The result has the source's 40-byte header with biPlanes 1, biBitCount 24, biSizeImage set,
// biClrUsed and biClrImportant 0, and no colour table; its rows are padded with zeros.
//
// The conversion works in the 16-bit arithmetic it was designed in, and callers depend on what
// follows from that:
//   - biWidth, biHeight and biClrUsed are read as their low halves, signed; a colour count
//     whose low half is 0 means 256. The source pixels follow a table of that many entries;
//     the result keeps biWidth and biHeight as they were stored.
//   - Both row strides are kept to 16 bits, and the byte offset of a pixel within a result row
//     is a signed 16-bit value: in a row longer than 32767 bytes the later pixels land before
//     the row's start, over earlier rows (or, from the first row, over the header). Wide
//     images are written pixel by pixel with exactly those offsets; writes that would leave
//     the block are dropped.
//   - The colour table is indexed without a bound: with fewer than 256 entries, larger indices
//     read whatever follows the table (the pixels, and zeros past the end of the block).
//   - Any depth other than 1, 4 and 24 is read as one byte per pixel with its own stride; a
//     24-bit source is refused with code 31, a value outside the message table, so that it
//     stays distinct from the other refusals.
//   - On success the source stays locked; every failure unlocks it.
//
// Speed: the table is copied once into 256 four-byte entries (the fourth byte 0); each pixel
// is one load and one four-byte store, the next pixel overwriting the extra byte.
#include <cstdint>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "platform/platform.hpp"
#include "tone/checked_source.hpp"

namespace vx::tone {
namespace {

// The refusal of a 24-bit source: a code beyond the message table.
constexpr int kAlreadyTrueColour = 31;

// The largest width whose pixel offsets all fit a signed 16-bit value: 3 x (w - 1) <= 32767.
constexpr int32_t kWidestUnwrapped = 10923;

struct Expansion {
    uint64_t srcPixels, srcStride;  // 16-bit stride
    uint64_t outStride;             // 16-bit stride
    int32_t width, height;
};

void ExpandRows(const Expansion& e, const uint8_t* src, uint64_t srcBytes, uint8_t* out, uint64_t outBytes,
                const uint32_t (&colours)[256]) {
    const auto w = static_cast<uint64_t>(e.width), h = static_cast<uint64_t>(e.height);
    const bool readsInside = e.srcPixels + (h - 1) * e.srcStride + w <= srcBytes;
    if (e.width <= kWidestUnwrapped && readsInside) {
        for (uint64_t y = 0; y < h; ++y) {
            const uint8_t* s = src + e.srcPixels + y * e.srcStride;
            uint8_t* d = out + kInfoHeaderSize + y * e.outStride;
            for (uint64_t x = 0; x + 1 < w; ++x) std::memcpy(d + 3 * x, &colours[s[x]], 4);
            std::memcpy(d + 3 * (w - 1), &colours[s[w - 1]], 3);
        }
        return;
    }
    // Wide rows, or rows that run past the source block: every offset as the 16-bit
    // arithmetic gives it, every access checked.
    for (uint64_t y = 0; y < h; ++y) {
        const uint64_t in = e.srcPixels + y * e.srcStride;
        const auto row = static_cast<int64_t>(kInfoHeaderSize + y * e.outStride);
        for (uint64_t x = 0; x < w; ++x) {
            const uint8_t index = in + x < srcBytes ? src[in + x] : 0;
            const int64_t at = row + static_cast<int16_t>(3 * x);
            uint8_t bgr[4];
            std::memcpy(bgr, &colours[index], 4);
            for (int k = 0; k < 3; ++k)
                if (at + k >= 0 && static_cast<uint64_t>(at + k) < outBytes) out[at + k] = bgr[k];
        }
    }
}

Outcome<HDIB> Convert(HDIB dib) {
    CheckedSource checked(dib);
    const SourceHeader& h = checked.header();
    const auto width = static_cast<int16_t>(h.width);
    const auto height = static_cast<int16_t>(h.height);
    const auto usedLow = static_cast<int16_t>(h.clrUsed);
    const int32_t colors = usedLow == 0 ? 256 : usedLow;
    checked.require(h.compression == 0, IMGERR_COMPRESSED)
        .require(h.bitCount != 1 && h.bitCount != 4, IMGERR_BITCOUNT)
        .require(h.bitCount != 24, kAlreadyTrueColour)
        .require(width != 0 && height != 0, IMGERR_DIBSIZE)
        .require(width > 0 && height > 0 && colors > 0, IMGERR_DIBSIZE);

    Expansion e{};
    e.width = width > 0 ? width : 0;
    e.height = height > 0 ? height : 0;
    e.srcPixels = kInfoHeaderSize + 4 * static_cast<uint64_t>(colors > 0 ? colors : 0);
    e.srcStride = RowStride(static_cast<uint32_t>(e.width), h.bitCount) & 0xFFFF;
    e.outStride = RowStride(static_cast<uint32_t>(e.width), 24) & 0xFFFF;
    checked.require(e.srcPixels + e.srcStride * static_cast<uint64_t>(e.height) <= checked.size(), IMGERR_DIBSIZE);
    if (checked.refused()) return checked.refusal();

    const uint64_t sizeImage = static_cast<uint64_t>(e.height) * e.outStride;
    std::optional<NewDib> result = checked.allocate(kInfoHeaderSize + sizeImage, true);
    if (!result) return checked.refusal();

    uint8_t* out = result->data();
    std::memcpy(out, checked.data(), kInfoHeaderSize);
    StoreU16(out + bih::kPlanes, 1);
    StoreU16(out + bih::kBitCount, 24);
    StoreU32(out + bih::kSizeImage, static_cast<uint32_t>(sizeImage));
    StoreU32(out + bih::kClrUsed, 0);
    StoreU32(out + bih::kClrImportant, 0);

    uint8_t table[256 * 4];
    checked.readZeroExtended(kInfoHeaderSize, sizeof table, table);
    uint32_t colours[256];
    for (int i = 0; i < 256; ++i) {
        const uint8_t bgr0[4] = {table[4 * i], table[4 * i + 1], table[4 * i + 2], 0};
        std::memcpy(&colours[i], bgr0, 4);
    }
    {
        platform::WaitCursor wait;
        ExpandRows(e, checked.data(), checked.size(), out, result->lock.size(), colours);
    }
    return checked.succeed(*result, SourceLockOnSuccess::Kept);
}

}  // namespace
}  // namespace vx::tone

extern "C" VXAPI HDIB VXCALL Convert8to24(HDIB dib) {
    return vx::RunExport(vx::tone::kToneChannel, [&] { return vx::tone::Convert(dib); });
}

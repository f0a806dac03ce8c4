// rle.cpp - CompressDIB and ExpandCompressedDIB: run-length encoding of 8-bit (RLE8) and 4-bit
// (RLE4) DIBs, and decoding of such DIBs back into plain rows.
//
// The stream is a sequence of two-byte codes: (n, v) with n > 0 is a run of n pixels of value v
// (for RLE4 v holds two pixels that alternate, high nibble first); (0, 0) ends a row, (0, 1)
// ends the bitmap, (0, 2, dx, dy) moves right and up, and (0, n) with n >= 3 is followed by n
// literal pixels padded to an even number of bytes.
//
// Layout. Both directions put the pixels (plain or encoded) at the fixed offset 40 + 4 * 2^bits
// (1064 for 8 bits, 104 for 4 bits) and copy that many bytes of header and colour table,
// whatever biSize and biClrUsed say. A DIB with a short colour table is therefore read at the
// fixed offset all the same, and applications rely on the full-length table in the results.
//
// The encoder makes the library's own choices, which decide the bytes: a run wherever two
// neighbours are equal (up to 250 pixels for RLE8, 125 pixel pairs for RLE4), one or two single
// pixels when a run starts one or two pixels further on, and otherwise a literal group that
// stops where the next run begins; odd literal groups are padded with 0xFF, not 0. RLE4 works
// on whole bytes: it compares pixel pairs, so runs and literal groups always cover an even
// number of pixels, and a row of odd width ends with a run whose second pixel is the padding
// nibble. No delta codes are produced. Quirks kept because they are in the bytes:
//   - At a row's end the encoders look past the last pixel. RLE8 emits two pixels when one is
//     left, the second being the byte after the row: padding, the first pixel of the next row,
//     or, past the end of the source block, 0. Comparisons near the end read up to one byte
//     (RLE8) or two bytes (RLE4) past the row in the same way.
//   - When three RLE4 pixels are left and neither of the first two bytes starts a run, four
//     pixels are written (two single pairs, or a literal group of two bytes). The historic
//     loop then counted below zero and ran on past the row; here the row ends after those
//     codes, which is the only place the output departs from that loop.
//
// The historic scratch block, (height + 1) * stride * 2 + 2 bytes, is not always large enough:
// a row of width 0 still needs its end-of-line code, and an 8-bit row whose width is a multiple
// of 4 can cost two bytes per pixel plus its end-of-line code. The stream is built in working
// memory sized for the longest stream the rows can give (MaxRle8RowBytes / MaxRle4RowBytes
// plus the end-of-line code per row, plus the end-of-bitmap code), then copied into the result.
//
// The decoder never reads or writes outside its blocks, whatever the stream says:
//   - RLE8 runs and literal groups are cut at the row's end; x returns to 0 on the same row
//     when it reaches the width exactly (the row is not advanced), so a following end-of-line
//     moves up as usual, and further codes overwrite the row from its start (streams that code
//     a row's padding as pixels apart from its last run, as some writers do, put those pixels
//     at the row's start). A run or group that starts right of the row's end (after a delta)
//     writes nothing and also brings x back to 0: the cut count W - x is negative, and adding
//     it lands on W.
//   - RLE4 writes each pixel only while x < W; x stays at W (no wrap), or where a delta left it.
//   - y only grows (end-of-line and deltas move up), so once it reaches the height nothing can
//     be written any more and decoding stops there.
//   - The input ends at the end of the source block (biSizeImage is not consulted): a stream
//     without an end-of-bitmap code stops there with what it decoded. A code or literal group
//     cut by the end of the block reads its missing bytes as 0.
// Every code advances the input, so decoding always terminates.
//
// Speed: the encoders measure runs and find where a literal group ends eight bytes at a time
// (a word against the pixel repeated, a word against itself shifted by one byte), reading no
// further than the byte-at-a-time steps would. The decoder fills runs and copies literal groups
// with memset and memcpy; at 4 bits it writes whole bytes, their nibbles swapped when a run or
// group starts on an odd column, and changes single nibbles only at the ends.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "formats/rle_codec.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::formats {

static_assert(std::endian::native == std::endian::little, "the word scans assume little-endian loads");

namespace {

constexpr uint64_t kOnes = 0x0101010101010101u;
constexpr uint64_t kHighBits = 0x8080808080808080u;

inline uint64_t Load64(const uint8_t* p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// The number of bytes equal to p[0] from p[0] on, at most `limit` (>= 1). Reads p[0 .. limit - 1].
inline uint32_t RunLength(const uint8_t* p, uint32_t limit) {
    const uint8_t v = p[0];
    const uint64_t pattern = kOnes * v;
    uint32_t k = 1;
    while (k + 8 <= limit) {
        const uint64_t diff = Load64(p + k) ^ pattern;
        if (diff != 0) return k + static_cast<uint32_t>(std::countr_zero(diff)) / 8;
        k += 8;
    }
    while (k < limit && p[k] == v) ++k;
    return k;
}

// The first j in [from, limit) with p[j] == p[j + 1], or `limit` when there is none. Reads
// p[from .. limit], as comparing up to the last candidate does.
inline uint32_t FirstEqualPair(const uint8_t* p, uint32_t from, uint32_t limit) {
    uint32_t j = from;
    while (j + 8 <= limit) {
        // A zero byte of x marks an equal pair; the lowest marked byte is exact.
        const uint64_t x = Load64(p + j) ^ Load64(p + j + 1);
        const uint64_t zero = (x - kOnes) & ~x & kHighBits;
        if (zero != 0) return j + static_cast<uint32_t>(std::countr_zero(zero)) / 8;
        j += 8;
    }
    for (; j < limit; ++j)
        if (p[j] == p[j + 1]) return j;
    return limit;
}

inline uint8_t* PutCode(uint8_t* o, uint32_t count, uint8_t value) {
    o[0] = static_cast<uint8_t>(count);
    o[1] = value;
    return o + 2;
}

inline uint8_t* PutLiteral(uint8_t* o, uint32_t count, const uint8_t* bytes, uint32_t byteCount) {
    o[0] = 0;
    o[1] = static_cast<uint8_t>(count);
    std::memcpy(o + 2, bytes, byteCount);
    o += 2 + byteCount;
    if (byteCount & 1) *o++ = 0xFF;
    return o;
}

}  // namespace

size_t EncodeRle8Row(const uint8_t* p, uint32_t width, uint8_t* out) {
    uint8_t* o = out;
    uint32_t left = width;
    while (left != 0) {
        if (left < 3) {
            // One or two pixels left: two are emitted either way.
            if (p[0] == p[1]) {
                o = PutCode(o, 2, p[0]);
            } else {
                o = PutCode(o, 1, p[0]);
                o = PutCode(o, 1, p[1]);
            }
            break;
        }
        const uint32_t limit = std::min(left, 250u);
        uint32_t taken;
        if (p[0] == p[1]) {
            taken = RunLength(p, limit);
            o = PutCode(o, taken, p[0]);
        } else if (p[1] == p[2]) {
            taken = 1;
            o = PutCode(o, 1, p[0]);
        } else if (p[2] == p[3]) {
            taken = 2;
            o = PutCode(o, 1, p[0]);
            o = PutCode(o, 1, p[1]);
        } else {
            taken = FirstEqualPair(p, 2, limit);  // p[2] != p[3], so at least 3
            o = PutLiteral(o, taken, p, taken);
        }
        p += taken;
        left -= taken;
    }
    return static_cast<size_t>(o - out);
}

size_t EncodeRle4Row(const uint8_t* p, uint32_t width, uint8_t* out) {
    uint8_t* o = out;
    uint32_t left = width;  // pixels; p moves by whole bytes (pixel pairs)
    while (left != 0) {
        if (left < 3) {
            o = PutCode(o, left, p[0]);
            break;
        }
        const uint32_t limit = (left & ~1u) > 250 ? 125 : left / 2;  // bytes
        uint32_t taken;
        if (p[0] == p[1]) {
            taken = RunLength(p, limit);
            o = PutCode(o, 2 * taken, p[0]);
        } else if (p[1] == p[2]) {
            taken = 1;
            o = PutCode(o, 2, p[0]);
        } else if (p[2] == p[3]) {
            taken = 2;
            o = PutCode(o, 2, p[0]);
            o = PutCode(o, 2, p[1]);
        } else {
            taken = limit > 2 ? FirstEqualPair(p, 2, limit) : 2;
            o = PutLiteral(o, 2 * taken, p, taken);
        }
        if (2 * taken > left) break;  // three pixels were left and four were written
        p += taken;
        left -= 2 * taken;
    }
    return static_cast<size_t>(o - out);
}

namespace {

// The input of a decoder: bytes past its end read as 0.
struct Input {
    const uint8_t* data;
    uint64_t size;
    uint8_t at(uint64_t i) const { return i < size ? data[i] : 0; }
    // The `count` bytes from `from`, in place when the input holds them all, otherwise copied
    // into `spare` (room for 255 bytes) with the missing ones 0.
    const uint8_t* bytes(uint64_t from, uint32_t count, uint8_t* spare) const {
        if (from <= size && count <= size - from) return data + from;
        const uint64_t have = from < size ? size - from : 0;
        std::memset(spare, 0, count);
        if (have != 0) std::memcpy(spare, data + from, static_cast<size_t>(have));
        return spare;
    }
};

// Changes only the nibble of 4-bit pixel x.
inline void SetNibble(uint8_t* row, int64_t x, uint8_t value) {
    uint8_t& b = row[x >> 1];
    b = (x & 1) ? static_cast<uint8_t>((b & 0xF0) | (value & 0x0F))
                : static_cast<uint8_t>((b & 0x0F) | (value << 4));
}

inline uint8_t SwapNibbles(uint8_t v) { return static_cast<uint8_t>(v << 4 | v >> 4); }

// n >= 1 pixels from column x alternating high and low nibble of v, high first.
void WriteRun4(uint8_t* row, int64_t x, uint8_t v, int64_t n) {
    uint8_t pair = v;
    if (x & 1) {
        SetNibble(row, x, static_cast<uint8_t>(v >> 4));
        ++x;
        --n;
        pair = SwapNibbles(v);  // the pixels that follow pair up as low, high
    }
    std::memset(row + (x >> 1), pair, static_cast<size_t>(n >> 1));
    if (n & 1) SetNibble(row, x + n - 1, static_cast<uint8_t>(pair >> 4));
}

// n >= 1 pixels from column x taken from the nibbles of `src`, high nibble first.
void WriteLiteral4(uint8_t* row, int64_t x, const uint8_t* src, int64_t n) {
    if ((x & 1) == 0) {
        std::memcpy(row + (x >> 1), src, static_cast<size_t>(n >> 1));
        if (n & 1) SetNibble(row, x + n - 1, static_cast<uint8_t>(src[n >> 1] >> 4));
        return;
    }
    SetNibble(row, x, static_cast<uint8_t>(src[0] >> 4));
    uint8_t* d = row + ((x + 1) >> 1);
    int64_t i = 1;  // pixel i is the low nibble of src[i / 2] for odd i, the high one for even i
    for (; i + 1 < n; i += 2) *d++ = static_cast<uint8_t>(src[i >> 1] << 4 | src[(i >> 1) + 1] >> 4);
    if (i < n) SetNibble(row, x + i, static_cast<uint8_t>(src[i >> 1] & 0x0F));
}

// The decoding loop shared by both depths: codes are read and escapes handled here; the depth
// decides how runs and literal groups are written and how x moves.
template <unsigned Bits>
void Decode(const uint8_t* stream, uint64_t size, const RleTarget& t) {
    const Input in{stream, size};
    uint8_t spare[256];
    const int64_t w = t.width;
    int64_t x = 0, y = 0;
    uint64_t pos = 0;
    while (pos < size && y < t.height) {
        const uint8_t first = in.at(pos), second = in.at(pos + 1);
        pos += 2;
        uint8_t* row = t.base + static_cast<uint64_t>(y) * t.stride;
        if (first != 0) {
            if constexpr (Bits == 8) {
                const int64_t n = std::min<int64_t>(first, w - x);
                if (n > 0) std::memset(row + x, second, static_cast<size_t>(n));
                x += n;
                if (x == w) x = 0;
            } else if (x < w) {
                const int64_t n = std::min<int64_t>(first, w - x);
                WriteRun4(row, x, second, n);
                x += n;
            }
            continue;
        }
        switch (second) {
        case 0:
            ++y;
            x = 0;
            break;
        case 1: return;
        case 2:
            x += in.at(pos);
            y += in.at(pos + 1);
            pos += 2;
            break;
        default: {
            const uint32_t dataBytes = Bits == 8 ? second : (second + 1u) / 2;
            const uint8_t* data = in.bytes(pos, dataBytes, spare);
            pos += (dataBytes + 1) & ~1u;
            if constexpr (Bits == 8) {
                const int64_t n = std::min<int64_t>(second, w - x);
                if (n > 0) std::memcpy(row + x, data, static_cast<size_t>(n));
                x += n;
                if (x == w) x = 0;
            } else if (x < w) {
                const int64_t n = std::min<int64_t>(second, w - x);
                WriteLiteral4(row, x, data, n);
                x += n;
            }
        }
        }
    }
}

}  // namespace

void DecodeRle8(const uint8_t* stream, uint64_t size, const RleTarget& target) { Decode<8>(stream, size, target); }
void DecodeRle4(const uint8_t* stream, uint64_t size, const RleTarget& target) { Decode<4>(stream, size, target); }

namespace {

constexpr uint32_t kBiRgb = 0, kBiRle8 = 1, kBiRle4 = 2;

// Header and full colour table, at the front of both the source and the result.
constexpr uint64_t FixedPixelOffset(uint32_t bits) { return kInfoHeaderSize + (uint64_t{4} << bits); }

Outcome<HDIB> Compress(HDIB dib) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source || source.size() < kInfoHeaderSize) return Fail(IMGERR_PARAMETER);
    const uint8_t* s = source.data();
    if (LoadU32(s + bih::kCompression) != kBiRgb) return Fail(IMGERR_PARAMETER);
    const uint32_t bits = LoadU16(s + bih::kBitCount);
    if (bits != 8 && bits != 4) return Fail(IMGERR_PARAMETER);

    const int64_t width = LoadI32(s + bih::kWidth), height = LoadI32(s + bih::kHeight);
    if (width < 0 || height < 0) return Fail(IMGERR_PARAMETER);
    const auto stride = Stride32(static_cast<uint64_t>(width), bits);
    const uint64_t offset = FixedPixelOffset(bits);
    if (!stride || offset + *stride * static_cast<uint64_t>(height) > source.size())
        return Fail(IMGERR_PARAMETER);

    // Working memory for the longest stream these rows can give; a stream that might not fit a
    // block cannot be returned.
    const uint64_t rowCodes = bits == 8 ? MaxRle8RowBytes(static_cast<uint64_t>(width))
                                        : MaxRle4RowBytes(static_cast<uint64_t>(width));
    const uint64_t longest = static_cast<uint64_t>(height) * (rowCodes + 2) + 2;
    if (offset + longest > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);
    std::unique_ptr<uint8_t[]> scratch(new (std::nothrow) uint8_t[static_cast<size_t>(longest)]);
    if (!scratch) return Fail(IMGERR_NOMEMORY);

    // A row whose look past its end would leave the block (the last row, when the block ends
    // there) is encoded from a copy followed by zeros.
    const uint64_t rowBytes = (static_cast<uint64_t>(width) * bits + 7) / 8;
    const uint64_t readsPast = bits == 8 ? kRle8ReadsPastRow : kRle4ReadsPastRow;
    uint8_t* o = scratch.get();
    for (uint64_t y = 0; y < static_cast<uint64_t>(height); ++y) {
        const uint64_t at = offset + y * *stride;
        const uint8_t* row = s + at;
        std::unique_ptr<uint8_t[]> extended;
        if (width != 0 && at + rowBytes + readsPast > source.size()) {
            extended.reset(new uint8_t[static_cast<size_t>(rowBytes + readsPast)]());
            std::memcpy(extended.get(), row, static_cast<size_t>(source.size() - at));
            row = extended.get();
        }
        o += bits == 8 ? EncodeRle8Row(row, static_cast<uint32_t>(width), o)
                       : EncodeRle4Row(row, static_cast<uint32_t>(width), o);
        o = PutCode(o, 0, 0);
    }
    o = PutCode(o, 0, 1);
    const auto length = static_cast<uint64_t>(o - scratch.get());

    auto result = AllocateDibLike(s, offset, length);
    if (!result) return Fail(IMGERR_NOMEMORY);
    uint8_t* r = result->data();
    StoreU32(r + bih::kCompression, bits == 8 ? kBiRle8 : kBiRle4);
    StoreU32(r + bih::kSizeImage, static_cast<uint32_t>(length));
    std::memcpy(r + offset, scratch.get(), static_cast<size_t>(length));
    return result->release();
}

Outcome<HDIB> Expand(HDIB dib) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source || source.size() < kInfoHeaderSize) return Fail(IMGERR_PARAMETER);
    const uint8_t* s = source.data();
    const uint32_t compression = LoadU32(s + bih::kCompression);
    const uint32_t bits = LoadU16(s + bih::kBitCount);
    if (compression == kBiRgb) return Fail(IMGERR_PARAMETER);
    if (compression == kBiRle8 && bits != 8) return Fail(IMGERR_PARAMETER);
    if (compression == kBiRle4 && bits != 4) return Fail(IMGERR_PARAMETER);
    if (compression != kBiRle8 && compression != kBiRle4) return Fail(IMGERR_PARAMETER);
    if (LoadU32(s + bih::kSizeImage) == 0) return Fail(IMGERR_PARAMETER);

    const uint64_t offset = FixedPixelOffset(bits);
    const int64_t width = LoadI32(s + bih::kWidth), height = LoadI32(s + bih::kHeight);
    if (source.size() < offset || width < 0 || height < 0) return Fail(IMGERR_PARAMETER);

    const auto stride = Stride32(static_cast<uint64_t>(width), bits);
    if (!stride) return Fail(IMGERR_NOMEMORY);
    const uint64_t imageBytes = *stride * static_cast<uint64_t>(height);
    if (offset + imageBytes > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);
    auto result = AllocateDibLike(s, offset, imageBytes);
    if (!result) return Fail(IMGERR_NOMEMORY);
    uint8_t* r = result->data();
    StoreU32(r + bih::kCompression, kBiRgb);
    StoreU32(r + bih::kSizeImage, static_cast<uint32_t>(imageBytes));

    const RleTarget target{r + offset, *stride, width, height};
    if (bits == 8) DecodeRle8(s + offset, source.size() - offset, target);
    else DecodeRle4(s + offset, source.size() - offset, target);
    return result->release();
}

}  // namespace
}  // namespace vx::formats

extern "C" {

// Both clear the module code on entry; a refusal leaves its code there.
VXAPI HDIB VXCALL CompressDIB(HDIB dib) {
    return vx::RunExport(vx::ModuleCode{.clearedOnEntry = true}, [&] { return vx::formats::Compress(dib); });
}

VXAPI HDIB VXCALL ExpandCompressedDIB(HDIB dib) {
    return vx::RunExport(vx::ModuleCode{.clearedOnEntry = true}, [&] { return vx::formats::Expand(dib); });
}

}  // extern "C"

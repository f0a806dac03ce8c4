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
// Speed. The RLE8 encoder first marks, for a whole row, where a pixel equals the next one (32
// pixels per AVX2 compare, 16 per SSE2 one, 8 per word in portable code); each code's length
// is then a count of trailing ones or zeros in the marks from its first pixel, and its bytes
// are written with masks rather than branches (the kind of code is random in photographs) and
// whole 32-byte copies into working memory that has room past the stream. The RLE4 encoder
// measures runs and literal groups eight bytes at a time. The RLE8 decoder writes most codes
// as 32-byte stores chosen by mask, and zeroes only the bytes the stream leaves alone, so its
// result is not zero-filled first; the RLE4 decoder fills runs and copies literal groups with
// memset and memcpy, writes whole bytes (nibbles swapped when a code starts on an odd column)
// and changes single nibbles only at the ends.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "formats/rle_codec.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "simd.hpp"

#if defined(VX_SIMD_SSE2)
#include <immintrin.h>
#endif

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

namespace {

// Bit i set when p[i] == p[i + 1], for i below `count`, in words of 64 bits, bit 0 first. Bits
// from `count` to the end of the last word are unspecified. Reads p[0 .. count rounded up to 32].
void MarkEqualNeighboursPortable(const uint8_t* p, uint32_t count, uint64_t* bits) {
    for (uint32_t i = 0; i < count; i += 8) {
        // An exact zero-byte test (no borrow between bytes), the marks gathered by a multiply.
        const uint64_t x = Load64(p + i) ^ Load64(p + i + 1);
        const uint64_t low7 = 0x7F7F7F7F7F7F7F7Fu;
        const uint64_t zero = ~(((x & low7) + low7) | x | low7);  // 0x80 in each zero byte
        const uint64_t gathered = ((zero >> 7) * 0x0102040810204080u) >> 56;
        reinterpret_cast<uint8_t*>(bits)[i / 8] = static_cast<uint8_t>(gathered);
    }
}

#if defined(VX_SIMD_SSE2)
void MarkEqualNeighboursSse2(const uint8_t* p, uint32_t count, uint64_t* bits) {
    auto* marks = reinterpret_cast<uint8_t*>(bits);
    for (uint32_t i = 0; i < count; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + 1));
        const auto mask = static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
        std::memcpy(marks + i / 8, &mask, sizeof mask);
    }
}
#endif

#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
VX_TARGET_AVX2 void MarkEqualNeighboursAvx2(const uint8_t* p, uint32_t count, uint64_t* bits) {
    auto* marks = reinterpret_cast<uint8_t*>(bits);
    for (uint32_t i = 0; i < count; i += 32) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i + 1));
        const auto mask = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(a, b)));
        std::memcpy(marks + i / 8, &mask, sizeof mask);
    }
}
#endif

// The 64 marks from bit i on. The word after the last one holding a mark must exist. (The
// second word is shifted in two steps so that a shift of 64 gives 0, without a branch.)
inline uint64_t MarksFrom(const uint64_t* bits, uint32_t i) {
    const uint32_t word = i / 64, shift = i % 64;
    return bits[word] >> shift | (bits[word + 1] << 1) << (63 - shift);
}

// The first i in [from, limit) whose mark is `set`, or `limit`.
inline uint32_t FirstMark(const uint64_t* bits, uint32_t from, uint32_t limit, bool set) {
    for (uint32_t i = from; i < limit; i += 64) {
        const uint64_t marks = set ? MarksFrom(bits, i) : ~MarksFrom(bits, i);
        if (marks != 0) return std::min(limit, i + static_cast<uint32_t>(std::countr_zero(marks)));
    }
    return limit;
}

// The pixels the code at pixel i takes, found from its marks (at least 3 pixels are left): a
// run covers the pixel and every following one whose left neighbour is equal, at most `limit`;
// one or two single pixels come before a run that starts one or two pixels on; otherwise a
// literal group ends before the next equal pair, at least 3 pixels (as mark 2 is clear) and
// at most `limit`.
inline uint32_t CodePixels(const uint64_t* equal, uint32_t i, uint32_t limit) {
    const uint64_t marks = MarksFrom(equal, i);
    if (marks & 1) return std::min(FirstMark(equal, i, i + limit, false) - i + 1, limit);
    if (marks & 2) return 1;
    if (marks & 4) return 2;
    return FirstMark(equal, i + 3, i + limit, true) - i;
}

// Writes the code that takes `taken` pixels from p[0] given the code's first three marks
// (`kind`), with masks and small tables rather than branches: in a photograph the kinds of
// code follow each other at random, and a mispredicted branch per code would cost more than
// the work. Returns the bytes written; writes up to 34 bytes past them (rarely, a literal group
// longer than 32 pixels is copied by a loop).
inline uint32_t PutCodeOfKind(uint8_t* o, const uint8_t* p, uint32_t kind, uint32_t taken) {
    const uint32_t runMask = 0u - (kind & 1), literalMask = 0u - (kind == 0);
    const uint32_t pairMask = 0u - (kind == 4), singleMask = ~runMask & ~literalMask;
    const uint32_t pixel = p[0];
    // The pixels go out first: for a literal group they are its bytes, and for a pair of single
    // pixels byte 3 is the second pixel already.
    std::memcpy(o + 2, p, 32);
    if (taken > 32) [[unlikely]]
        for (uint32_t c = 32; c < taken; c += 16) std::memcpy(o + 2 + c, p + c, 16);
    o[0] = static_cast<uint8_t>((taken & runMask) | (1 & singleMask));
    o[1] = static_cast<uint8_t>((taken & literalMask) | (pixel & ~literalMask));
    o[2] = static_cast<uint8_t>(pixel ^ ((pixel ^ 1) & pairMask));
    const uint32_t length = ((2 + taken + (taken & 1)) & literalMask) | (2 & runMask) | ((2 * taken) & singleMask);
    o[((2 + taken) & literalMask) | (length & ~literalMask)] = 0xFF;  // padding, or a byte the next code overwrites
    return length;
}

// A row being encoded. Codes are taken two ways: step() while at least kFastRoom pixels are
// left, where neither the row's end nor the 250-pixel cap can cut a code that the marks'
// window sees whole, and finish() for the rest of the row.
class Rle8RowCoder {
public:
    Rle8RowCoder(const uint8_t* row, uint32_t width, const uint64_t* equal, uint8_t* out)
        : p_(row), equal_(equal), width_(width), o_(out) {}

    static constexpr uint32_t kFastRoom = 64;
    bool roomy() const { return width_ - i_ >= kFastRoom; }

    void step() {
        // 57 marks or more from pixel i: one unaligned load at its byte, shifted by its bit.
        uint64_t window;
        std::memcpy(&window, reinterpret_cast<const uint8_t*>(equal_) + i_ / 8, sizeof window);
        const uint64_t marks = window >> (i_ % 8);
        // A run takes its count of set marks plus one; the other kinds take the count of clear
        // marks before the first set one (1 or 2 single pixels, or the literal group's length).
        const auto odd = static_cast<uint32_t>(marks & 1);
        auto taken = static_cast<uint32_t>(std::countr_zero(marks ^ (0 - uint64_t{odd}))) + odd;
        if (taken >= 57) [[unlikely]]  // the code may reach past the window
            taken = CodePixels(equal_, i_, std::min(width_ - i_, 250u));
        o_ += PutCodeOfKind(o_, p_ + i_, static_cast<uint32_t>(marks & 7), taken);
        i_ += taken;
    }

    // The rest of the row; returns the end of its codes.
    uint8_t* finish() {
        while (i_ != width_) {
            const uint32_t left = width_ - i_;
            if (left < 3) {
                // One or two pixels left: two are emitted either way.
                if (p_[i_] == p_[i_ + 1]) {
                    o_ = PutCode(o_, 2, p_[i_]);
                } else {
                    o_ = PutCode(o_, 1, p_[i_]);
                    o_ = PutCode(o_, 1, p_[i_ + 1]);
                }
                break;
            }
            const uint32_t taken = CodePixels(equal_, i_, std::min(left, 250u));
            o_ += PutCodeOfKind(o_, p_ + i_, static_cast<uint32_t>(MarksFrom(equal_, i_) & 7), taken);
            i_ += taken;
        }
        return o_;
    }

private:
    const uint8_t* p_;
    const uint64_t* equal_;
    uint32_t width_, i_ = 0;
    uint8_t* o_;
};

}  // namespace

uint32_t Rle8MarkWords(uint32_t width) { return width / 64 + 2; }

void MarkEqualNeighbours(const uint8_t* row, uint32_t width, uint64_t* marks, SimdLevel level) {
#if defined(VX_SIMD_TARGETS) && defined(VX_SIMD_SSE2)
    if (level >= SimdLevel::kAvx2) return MarkEqualNeighboursAvx2(row, width, marks);
#endif
#if defined(VX_SIMD_SSE2)
    if (level >= SimdLevel::kSse2) return MarkEqualNeighboursSse2(row, width, marks);
#endif
    (void)level;
    MarkEqualNeighboursPortable(row, width, marks);
}

size_t EncodeRle8Marked(const uint8_t* row, uint32_t width, const uint64_t* marks, uint8_t* out) {
    Rle8RowCoder coder(row, width, marks, out);
    while (coder.roomy()) coder.step();
    return static_cast<size_t>(coder.finish() - out);
}

std::pair<size_t, size_t> EncodeRle8MarkedPair(uint32_t width, const Rle8Row& first, const Rle8Row& second) {
    // Each code depends on where the one before it ended, through a load, a shift and a bit
    // count: a chain the processor cannot shorten, but it runs the chains of two rows at once.
    Rle8RowCoder a(first.pixels, width, first.marks, first.out), b(second.pixels, width, second.marks, second.out);
    while (a.roomy() && b.roomy()) {
        a.step();
        b.step();
    }
    while (a.roomy()) a.step();
    while (b.roomy()) b.step();
    const auto firstLength = static_cast<size_t>(a.finish() - first.out);
    return {firstLength, static_cast<size_t>(b.finish() - second.out)};
}

size_t EncodeRle8Row(const uint8_t* row, uint32_t width, uint8_t* out) {
    if (width == 0) return 0;
    std::vector<uint8_t> padded(width + kRle8RowSlack, 0), codes(MaxRle8RowBytes(width) + kRle8RowSlack);
    std::memcpy(padded.data(), row, width + kRle8ReadsPastRow);
    std::vector<uint64_t> marks(Rle8MarkWords(width), 0);
    MarkEqualNeighbours(padded.data(), width, marks.data(), ActiveSimdLevel());
    const size_t length = EncodeRle8Marked(padded.data(), width, marks.data(), codes.data());
    std::memcpy(out, codes.data(), length);
    return length;
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

// The 4-bit decoding loop: each pixel is written only while x < W, and x stops at W.
void Decode4(const uint8_t* stream, uint64_t size, const RleTarget& t) {
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
            if (x < w) {
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
            const uint32_t dataBytes = (second + 1u) / 2;
            const uint8_t* data = in.bytes(pos, dataBytes, spare);
            pos += (dataBytes + 1) & ~1u;
            if (x < w) {
                const int64_t n = std::min<int64_t>(second, w - x);
                WriteLiteral4(row, x, data, n);
                x += n;
            }
        }
        }
    }
}

// The 8-bit decoder. It writes every byte of the rows, the stream's pixels or zero, so that
// its target needs no zero fill: bytes [0, front) of row y are final, rows below y are final,
// and the rest is filled in when the decoder leaves a row (or skips over bytes of one).
//
// Most codes take a fast path: a run or literal group that starts at the row's frontier and
// ends before the row does, with room in the input for the longest code and in the rows for
// whole 32-byte stores. It writes 32 bytes at a time, runs and literal groups alike (chosen
// by a mask, not a branch: in a photograph they follow each other at random), the bytes past
// the code's end lying beyond the frontier, where the next code or the fill overwrites them.
class Rle8Decoder {
public:
    Rle8Decoder(const uint8_t* stream, uint64_t size, const RleTarget& t)
        : in_{stream, size}, t_(t), end_(t.base + t.stride * static_cast<uint64_t>(t.height)) {}

    void run() {
        const int64_t w = t_.width;
        // The longest code (a literal group of 255 bytes, padded) and the stores past it.
        constexpr uint64_t kLongestCode = 2 + 256;
        const int64_t lastStore = (end_ - t_.base) - 256;  // the last offset whose 256 bytes fit
        const uint8_t* s = in_.data;
        while (y_ < t_.height) {
            if (pos_ + kLongestCode <= in_.size) {
                const uint32_t first = s[pos_], second = s[pos_ + 1];
                const uint32_t n = first != 0 ? first : second;
                uint8_t* at = row_ + x_;
                if ((first != 0 || second >= 3) && x_ == front_ && x_ + n < static_cast<uint64_t>(w) &&
                    at - t_.base <= lastStore) {
                    const uint64_t runMask = 0 - uint64_t{first != 0};
                    const uint64_t pattern = (kOnes * second) & runMask;
                    const uint8_t* bytes = s + pos_ + 2;
                    for (uint32_t c = 0; c < n; c += 32)
                        for (uint32_t k = 0; k < 32; k += 8) {
                            const uint64_t v = (Load64(bytes + c + k) & ~runMask) | pattern;
                            std::memcpy(at + c + k, &v, 8);
                        }
                    x_ += n;
                    front_ = x_;
                    pos_ += 2 + (((n + 1) & ~1u) & ~runMask);
                    continue;
                }
            } else if (pos_ >= in_.size) {
                break;
            }
            if (!code()) break;
        }
        leaveRow(t_.height);
    }

private:
    // One code the exact way; false at the end of the bitmap.
    bool code() {
        const int64_t w = t_.width;
        const uint8_t first = in_.at(pos_), second = in_.at(pos_ + 1);
        pos_ += 2;
        if (first != 0) {
            const int64_t n = std::min<int64_t>(first, w - static_cast<int64_t>(x_));
            if (n > 0) std::memset(written(n), second, static_cast<size_t>(n));
            advance(n);
            return true;
        }
        switch (second) {
        case 0:
            leaveRow(y_ + 1);
            x_ = 0;
            return true;
        case 1: return false;
        case 2:
            x_ += in_.at(pos_);
            if (const uint8_t up = in_.at(pos_ + 1); up != 0) leaveRow(y_ + up);
            pos_ += 2;
            return true;
        default: {
            uint8_t spare[256];
            const uint8_t* data = in_.bytes(pos_, second, spare);
            pos_ += (second + 1u) & ~1u;
            const int64_t n = std::min<int64_t>(second, w - static_cast<int64_t>(x_));
            if (n > 0) std::memcpy(written(n), data, static_cast<size_t>(n));
            advance(n);
            return true;
        }
        }
    }

    // Where n > 0 bytes from x are about to be written: bytes skipped before x are zeroed.
    uint8_t* written(int64_t n) {
        if (x_ > front_) std::memset(row_ + front_, 0, x_ - front_);
        front_ = std::max<uint64_t>(front_, x_ + static_cast<uint64_t>(n));
        return row_ + x_;
    }

    // x moves by the count written (negative right of the row) and wraps to 0 at the width.
    void advance(int64_t n) {
        x_ = static_cast<uint64_t>(static_cast<int64_t>(x_) + n);
        if (x_ == static_cast<uint64_t>(t_.width)) x_ = 0;
    }

    // Finishes the current row and every row below `to` (at most the height) with zeros.
    void leaveRow(int64_t to) {
        const int64_t last = std::min(to, t_.height);
        if (y_ < last) {
            std::memset(row_ + front_, 0, t_.stride - front_);
            std::memset(row_ + t_.stride, 0, t_.stride * static_cast<uint64_t>(last - y_ - 1));
        }
        y_ = to;
        front_ = 0;
        row_ = t_.base + t_.stride * static_cast<uint64_t>(std::min(to, t_.height));
    }

    Input in_;
    RleTarget t_;
    uint8_t* end_;
    uint8_t* row_ = t_.base;
    uint64_t pos_ = 0, x_ = 0, front_ = 0;
    int64_t y_ = 0;
};

}  // namespace

void DecodeRle8(const uint8_t* stream, uint64_t size, const RleTarget& target) {
    Rle8Decoder(stream, size, target).run();
}
void DecodeRle4(const uint8_t* stream, uint64_t size, const RleTarget& target) { Decode4(stream, size, target); }

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

    // Working memory for the longest stream these rows can give, and the room the fast 8-bit
    // steps write past their codes; a stream that might not fit a block cannot be returned.
    // It comes from the movable-block allocator, which keeps large blocks for reuse.
    const uint64_t rowCodes = bits == 8 ? MaxRle8RowBytes(static_cast<uint64_t>(width))
                                        : MaxRle4RowBytes(static_cast<uint64_t>(width));
    const uint64_t longest = static_cast<uint64_t>(height) * (rowCodes + 2) + 2;
    if (offset + longest > kMaxBlockBytes) return Fail(IMGERR_NOMEMORY);
    OwnedBlock scratchBlock = OwnedBlock::Allocate(longest + kRle8RowSlack, GMEM_MOVEABLE);
    BlockLock scratch(scratchBlock.get());
    if (!scratch) return Fail(IMGERR_NOMEMORY);

    const uint64_t rowBytes = (static_cast<uint64_t>(width) * bits + 7) / 8;
    const uint64_t readsPast = bits == 8 ? kRle8RowSlack : kRle4ReadsPastRow;
    const SimdLevel level = ActiveSimdLevel();
    const uint32_t w = static_cast<uint32_t>(width);
    std::vector<uint64_t> marks(bits == 8 ? 2 * size_t{Rle8MarkWords(w)} : 0);
    std::vector<uint8_t> extended, pairCodes(bits == 8 ? static_cast<size_t>(MaxRle8RowBytes(w) + kRle8RowSlack) : 0);
    // The pixels of row y, from a copy followed by zeros when reads past the row would leave
    // the block (the last rows, when the block ends there).
    auto rowAt = [&](uint64_t y) {
        const uint64_t at = offset + y * *stride;
        if (width == 0 || at + rowBytes + readsPast <= source.size()) return s + at;
        extended.assign(static_cast<size_t>(rowBytes + readsPast), 0);
        std::memcpy(extended.data(), s + at, static_cast<size_t>(std::min(source.size() - at, rowBytes + readsPast)));
        return static_cast<const uint8_t*>(extended.data());
    };
    uint8_t* o = scratch.data();
    uint64_t y = 0;
    if (bits == 8 && width != 0) {
        // Rows in pairs while neither needs the copy: the second row's codes are made aside
        // and moved after the first row's end-of-line code.
        uint64_t* const firstMarks = marks.data() + Rle8MarkWords(w);
        for (; y + 1 < static_cast<uint64_t>(height) && offset + (y + 1) * *stride + rowBytes + readsPast <= source.size(); y += 2) {
            const Rle8Row first{s + offset + y * *stride, firstMarks, o};
            const Rle8Row second{first.pixels + *stride, marks.data(), pairCodes.data()};
            MarkEqualNeighbours(first.pixels, w, firstMarks, level);
            MarkEqualNeighbours(second.pixels, w, marks.data(), level);
            const auto [firstLength, secondLength] = EncodeRle8MarkedPair(w, first, second);
            o = PutCode(o + firstLength, 0, 0);
            std::memcpy(o, pairCodes.data(), secondLength);
            o = PutCode(o + secondLength, 0, 0);
        }
    }
    for (; y < static_cast<uint64_t>(height); ++y) {
        const uint8_t* row = rowAt(y);
        if (bits == 8) {
            MarkEqualNeighbours(row, w, marks.data(), level);
            o += EncodeRle8Marked(row, w, marks.data(), o);
        } else {
            o += EncodeRle4Row(row, w, o);
        }
        o = PutCode(o, 0, 0);
    }
    o = PutCode(o, 0, 1);
    const auto length = static_cast<uint64_t>(o - scratch.data());

    auto result = AllocateDibLike(s, offset, length, 0, false, BlockFill::kWrittenWhole);
    if (!result) return Fail(IMGERR_NOMEMORY);
    uint8_t* r = result->data();
    StoreU32(r + bih::kCompression, bits == 8 ? kBiRle8 : kBiRle4);
    StoreU32(r + bih::kSizeImage, static_cast<uint32_t>(length));
    std::memcpy(r + offset, scratch.data(), static_cast<size_t>(length));
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
    // The 8-bit decoder writes every byte of the rows.
    auto result = AllocateDibLike(s, offset, imageBytes, 0, false, bits == 8 ? BlockFill::kWrittenWhole : BlockFill::kZero);
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

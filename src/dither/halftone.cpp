// halftone.cpp - Halftone: a 4-, 8- or 24-bit DIB made black and white (1 bit) by a fixed
// threshold (mode 0), Jarvis-Judice-Ninke error diffusion (mode 1) or an ordered 16 x 16
// screen (mode 2), after a brightness offset is added to every luminance.
//
// The image model. The operation works on whole-image planes of L x height entries, where L
// is the source row stride in bytes, doubled for 4-bit sources. Every entry gets the level
// (30 red + 59 green + 11 blue) / 100 + brightness, clamped to 0..255, and output row y is
// made from the `width` entries that start at y x L. Only those entries can reach the result,
// so the planes are never built: each output row asks for its `width` levels and they are
// taken straight from the source.
//   - 4 and 8 bits: the planes are the pixels expanded through the colour table as one
//     stream. L counts the pixels of a padded row, so plane row y is source row y, and a
//     16- or 256-entry table maps each colour index to its final level.
//   - 24 bits: the planes were loaded with P8 entries from each source row (P8 = the width
//     rounded up to a multiple of 4), packed at stride P8, but are read back at stride L,
//     the 24-bit row stride, about 3 x P8. Plane row y therefore starts at entry (y L) mod P8
//     of source row (y L) div P8 and runs on into the next source row where it crosses a
//     multiple of P8: about the lower third of the result is made from every third source
//     row, each output row shifted along by (y L) mod P8, and the rest comes from the
//     zero-filled part of the planes (the level of black plus the brightness). Slots past
//     the width hold whatever the source row has there: padding bytes, or the first bytes of
//     the row above; bytes past the block read 0.
// Levels are exact: the division by 100 is a multiply-high checked at compile time over all
// weighted sums, and the offset is added in 32-bit wrapping arithmetic, as it always was.
//
// Modes 0 and 2 compare each level with a row of 16 thresholds: 128 everywhere for the fixed
// threshold (white from 129 up), screen row y mod 16 for the ordered dither (white where the
// level is greater), packing eight pixels into each byte, most significant bit first. Where
// AVX2 is allowed, 32 levels are compared and packed a step, 8-bit levels are looked up 32 a
// step and 24-bit ones computed in vector lanes; the fixed threshold of an 8-bit source skips
// the levels: a table per call says which indices are white, and each row is packed from its
// indices (byte_map.hpp).
//
// Mode 1 keeps three rows of 32-bit error (current, next, after-next). For each pixel, left
// to right, v = current[x] + level; v > 128 gives white and e = v - 255, otherwise black and
// e = v. When e is not 0, each share (e x weight) / 48, truncated toward zero, goes out:
// current x+1, x+2 (7, 5) and next x-2 ... x+2 (3 5 7 5 3) are added to, after-next x-2 ...
// x+2 (1 3 5 3 1) is stored into. A pixel whose error is 0 writes nothing, so after-next
// keeps what earlier rows left there. Then current <- next and next <- after-next, and the
// after-next row is not cleared. Only the first `width` entries of a row ever reach a pixel:
// shares that land outside them are never read back, so each row is width + 4 entries (two
// spare at each end) and the move rotates the rows with one copy.
//
// Checks (CheckHalftone, before the work of RenderHalftone), in order; the code goes to the
// caller's 16-bit cell (a CallerCell16, not cleared on entry), never to the module code:
//   null handle: 8; mode above 2: 8; source not lockable: 1; biBitCount not 4, 8 or 24: 8,
//   and the source keeps the lock taken on it (as it always has); negative width or height:
//   8; planes of 0 entries (width or height 0: a block of 0 bytes cannot be locked) or of 2^32
//   bytes or more: 1; a block shorter than biSize + colour table + stride x height: 8;
//   error rows (16 L + 420 bytes) or result of 2^32 bytes or more, or no memory: 1.
// Header bytes past the end of a short block read as 0. biCompression is not read. Widths of
// 32768 and more are handled like any other: all row and size arithmetic is 64-bit. Every
// failure after the depth check unlocks the source. A null cell pointer reports nothing.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "simd.hpp"
#include "tone/byte_map.hpp"

#if defined(VX_SIMD_TARGETS)
#include <immintrin.h>
#endif

namespace vx::dither {
namespace {

using ScreenRow = std::array<uint8_t, 16>;
using Screen = std::array<ScreenRow, 16>;

// The 4 x 4 seed doubled twice: new[r][c] = 4 old[r mod h][c mod h] + k, k = 0, 2, 3, 1 in
// the top-left, top-right, bottom-left and bottom-right quadrants.
constexpr Screen BuildScreen() {
    uint8_t m[16][16] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (int h = 4; h < 16; h *= 2) {
        uint8_t doubled[16][16] = {};
        for (int r = 0; r < 2 * h; ++r)
            for (int c = 0; c < 2 * h; ++c) {
                const int k = r < h ? (c < h ? 0 : 2) : (c < h ? 3 : 1);
                doubled[r][c] = static_cast<uint8_t>(4 * m[r % h][c % h] + k);
            }
        for (int r = 0; r < 16; ++r)
            for (int c = 0; c < 16; ++c) m[r][c] = doubled[r][c];
    }
    Screen s{};
    for (int r = 0; r < 16; ++r)
        for (int c = 0; c < 16; ++c) s[r][c] = m[r][c];
    return s;
}
constexpr Screen kScreen = BuildScreen();
constexpr ScreenRow kFixedThreshold = {128, 128, 128, 128, 128, 128, 128, 128,
                                       128, 128, 128, 128, 128, 128, 128, 128};

// (30 r + 59 g + 11 b) / 100 as a multiply-high; exact for every sum up to 25500.
constexpr uint32_t WeightedQuotient(uint32_t red, uint32_t green, uint32_t blue) {
    return (30 * red + 59 * green + 11 * blue) * 5243 >> 19;
}
constexpr bool WeightedQuotientIsExact() {
    for (uint32_t s = 0; s <= 25500; ++s)
        if ((s * 5243 >> 19) != s / 100) return false;
    return true;
}
static_assert(WeightedQuotientIsExact());

// Final level of each quotient: plus the brightness (32-bit, wrapping), clamped to 0..255.
using Levels = std::array<uint8_t, 256>;
Levels MakeLevels(int32_t brightness) {
    Levels levels{};
    for (uint32_t q = 0; q < 256; ++q) {
        const auto v = static_cast<int32_t>(q + static_cast<uint32_t>(brightness));
        levels[q] = static_cast<uint8_t>(std::clamp(v, 0, 255));
    }
    return levels;
}

// A source that passed the checks: its colour table may be short (entries past the block
// read as 0), but every row of its image lies inside the block.
struct Source {
    const uint8_t* block = nullptr;
    uint64_t size = 0;
    uint64_t tableOffset = 0;  // biSize
    uint64_t pixelOffset = 0;  // biSize + colour table
    uint64_t width = 0, height = 0;
    uint64_t stride = 0;     // source row stride in bytes
    uint64_t rowLength = 0;  // L: the stride, doubled for 4-bit sources

    uint8_t at(uint64_t offset) const { return offset < size ? block[offset] : 0; }
    const uint8_t* row(uint64_t y) const { return block + pixelOffset + y * stride; }
    // Final levels of the first `count` colour-table entries.
    template <size_t N>
    std::array<uint8_t, N> tableLevels(const Levels& levels) const {
        std::array<uint8_t, N> t{};
        for (uint64_t i = 0; i < N; ++i) {
            const uint64_t e = tableOffset + 4 * i;
            t[i] = levels[WeightedQuotient(at(e + 2), at(e + 1), at(e))];
        }
        return t;
    }
};

// The levels of plane row y, `width` entries, for each source depth.
template <unsigned Bits>
class PlaneRows;

template <>
class PlaneRows<8> {
public:
    PlaneRows(const Source& s, const Levels& levels)
        : s_(s), byIndex_(s.tableLevels<256>(levels)), map_(byIndex_.data()) {}
    void row(uint64_t y, uint8_t* out) const { map_.map(s_.row(y), out, s_.width); }
    // The fixed threshold, straight from the indices: index i is white where its level is above it.
    void whiteRow(uint64_t y, const tone::IndexBits& white, uint8_t* out) const {
        white.pack(s_.row(y), s_.width, out);
    }
    tone::IndexBits whiteIndices() const {
        uint8_t white[256];
        for (unsigned i = 0; i < 256; ++i) white[i] = byIndex_[i] > kFixedThreshold[0] ? 1 : 0;
        return tone::IndexBits(white);
    }

private:
    const Source& s_;
    std::array<uint8_t, 256> byIndex_;
    tone::ByteMap map_;
};

template <>
class PlaneRows<4> {
public:
    PlaneRows(const Source& s, const Levels& levels) : s_(s) {
        const auto byIndex = s.tableLevels<16>(levels);
        for (unsigned b = 0; b < 256; ++b) byByte_[b] = {byIndex[b >> 4], byIndex[b & 15]};
    }
    void row(uint64_t y, uint8_t* out) const {
        const uint8_t* p = s_.row(y);
        const uint64_t pairs = s_.width / 2;
        for (uint64_t i = 0; i < pairs; ++i) std::memcpy(out + 2 * i, byByte_[p[i]].data(), 2);
        if (s_.width & 1) out[s_.width - 1] = byByte_[p[pairs]][0];
    }

private:
    const Source& s_;
    std::array<std::array<uint8_t, 2>, 256> byByte_{};
};

// Final levels of n blue-green-red pixels: the level table's values, computed in 32-bit lanes
// (the brightness added with wrapping, then clamped) so that the loop vectorises.
[[gnu::always_inline]] inline void LevelsOfPixels(const uint8_t* __restrict p, uint64_t n, uint8_t* __restrict out,
                                                  int32_t brightness) {
    for (uint64_t k = 0; k < n; ++k) {
        const auto v = static_cast<int32_t>(WeightedQuotient(p[3 * k + 2], p[3 * k + 1], p[3 * k]) +
                                            static_cast<uint32_t>(brightness));
        out[k] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
    }
}
using PixelLevels = void (*)(const uint8_t*, uint64_t, uint8_t*, int32_t);
void PortablePixelLevels(const uint8_t* p, uint64_t n, uint8_t* out, int32_t b) { LevelsOfPixels(p, n, out, b); }
#if defined(VX_SIMD_TARGETS)
VX_TARGET_AVX2 void PixelLevelsAvx2(const uint8_t* p, uint64_t n, uint8_t* out, int32_t b) {
    LevelsOfPixels(p, n, out, b);
}
#endif
PixelLevels FastestPixelLevels() {
#if defined(VX_SIMD_TARGETS)
    if (SimdAllows(SimdLevel::kAvx2)) return PixelLevelsAvx2;
#endif
    return PortablePixelLevels;
}

template <>
class PlaneRows<24> {
public:
    PlaneRows(const Source& s, const Levels& levels, int32_t brightness)
        : s_(s), levels_(levels), brightness_(brightness), slots_(RowStride64(s.width, 8)),
          loaded_(s.height * slots_), pixels_(FastestPixelLevels()) {}

    void row(uint64_t y, uint8_t* out) const {
        uint64_t x = 0, entry = y * s_.rowLength;
        while (x < s_.width) {
            if (entry >= loaded_) {
                std::memset(out + x, levels_[0], s_.width - x);
                return;
            }
            const uint64_t r = entry / slots_, c = entry % slots_;
            const uint64_t n = std::min(s_.width - x, slots_ - c);
            convert(s_.pixelOffset + r * s_.stride + 3 * c, n, out + x);
            x += n;
            entry += n;
        }
    }

private:
    // Levels of n blue-green-red pixels from `offset`; bytes past the block read as 0.
    void convert(uint64_t offset, uint64_t n, uint8_t* out) const {
        const uint64_t inside = offset < s_.size ? std::min(n, (s_.size - offset) / 3) : 0;
        if (inside != 0) pixels_(s_.block + offset, inside, out, brightness_);
        for (uint64_t k = inside; k < n; ++k) {
            const uint64_t o = offset + 3 * k;
            out[k] = levels_[WeightedQuotient(s_.at(o + 2), s_.at(o + 1), s_.at(o))];
        }
    }

    const Source& s_;
    const Levels& levels_;
    int32_t brightness_;
    uint64_t slots_;   // P8
    uint64_t loaded_;  // plane entries that hold source pixels
    PixelLevels pixels_;
};

// Eight 0/1 bytes, first at the lowest address, packed into one byte, first in the top bit:
// the multiplier moves byte k's bit to bit 63 - k, and no two partial products overlap.
inline uint8_t PackFlags(const uint8_t* flags) {
    static_assert(std::endian::native == std::endian::little);
    uint64_t v;
    std::memcpy(&v, flags, 8);
    return static_cast<uint8_t>(v * 0x8040201008040201u >> 56);
}

// One output row for modes 0 and 2: bit x is set where level[x] > thresholds[x mod 16].
// Sixteen comparisons against the whole threshold row at a time, then two packed bytes.
void PackAbove(const uint8_t* level, uint64_t width, const ScreenRow& thresholds, uint8_t* out) {
    uint64_t x = 0;
    uint8_t flags[16];
    for (; x + 16 <= width; x += 16, out += 2) {
        for (unsigned k = 0; k < 16; ++k) flags[k] = level[x + k] > thresholds[k] ? 1 : 0;
        out[0] = PackFlags(flags);
        out[1] = PackFlags(flags + 8);
    }
    if (x < width) {
        std::memset(flags, 0, sizeof flags);
        for (unsigned k = 0; x + k < width; ++k) flags[k] = level[x + k] > thresholds[k] ? 1 : 0;
        out[0] = PackFlags(flags);
        if (x + 8 < width) out[1] = PackFlags(flags + 8);
    }
}

#if defined(VX_SIMD_TARGETS)
// PackAbove, 32 levels at a time: an unsigned comparison as a signed one of both sides less
// 128, each group of eight flags reversed so that a byte mask puts the first in the top bit.
VX_TARGET_AVX2 void PackAboveAvx2(const uint8_t* level, uint64_t width, const ScreenRow& thresholds, uint8_t* out) {
    const __m256i bias = _mm256_set1_epi8(-128);
    const __m256i limit = _mm256_xor_si256(
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(thresholds.data()))), bias);
    const __m256i reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3,
                                             2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    uint64_t x = 0;
    for (; x + 32 <= width; x += 32, out += 4) {
        const __m256i v = _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(level + x)), bias);
        const auto bits =
            static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(_mm256_cmpgt_epi8(v, limit), reverse)));
        std::memcpy(out, &bits, 4);
    }
    if (x < width) PackAbove(level + x, width - x, thresholds, out);  // x is a multiple of 16
}
#endif

using RowPacker = void (*)(const uint8_t*, uint64_t, const ScreenRow&, uint8_t*);
RowPacker FastestPacker() {
#if defined(VX_SIMD_TARGETS)
    if (SimdAllows(SimdLevel::kAvx2)) return PackAboveAvx2;
#endif
    return PackAbove;
}

// p / 48, truncated toward zero, as a multiply-high (the compiler's own sequence for a
// constant divisor, which it does not always choose inside the diffusion loop).
constexpr int32_t Div48(int32_t p) {
    return static_cast<int32_t>((int64_t{p} * 715827883) >> 35) - (p >> 31);
}
constexpr bool Div48IsExact() {
    for (int32_t p = -30000; p <= 30000; ++p)
        if (Div48(p) != p / 48) return false;
    return Div48(INT32_MAX) == INT32_MAX / 48 && Div48(INT32_MIN + 1) == (INT32_MIN + 1) / 48;
}
static_assert(Div48IsExact());

// The three error rows of mode 1, each width + 4 entries with two spare at each end.
class ErrorRows {
public:
    explicit ErrorRows(uint64_t width) : span_(width + 4), store_(3 * span_, 0) {
        current_ = store_.data() + 2;
        next_ = current_ + span_;
        afterNext_ = next_ + span_;
    }

    // Quantises one row of levels into `out`, spreading the error. The values of the current
    // row at x and x + 1 are carried in registers, so that each pixel waits only on the
    // arithmetic of the one before it, not on a store and reload.
    void diffuse(const uint8_t* level, uint64_t width, uint8_t* out) {
        const int32_t* const cur = current_;
        // Both rows are addressed from their first spare entry, x - 2, so that no index wraps.
        int32_t* const nxt = next_ - 2;
        int32_t* const aft = afterNext_ - 2;
        int32_t here = cur[0], ahead = cur[1];
        unsigned bits = 0;
        for (uint64_t x = 0; x < width; ++x) {
            const int32_t v = here + level[x];
            const int32_t white = (128 - v) >> 31;  // -1 where v > 128: no branch to mispredict
            const int32_t e = v - (white & 255);
            bits = bits << 1 | static_cast<unsigned>(white & 1);
            int32_t e5 = 0, e7 = 0;
            if (e != 0) {
                const int32_t e1 = Div48(e), e3 = Div48(e * 3);
                e5 = Div48(e * 5);
                e7 = Div48(e * 7);
                nxt[x] += e3;
                nxt[x + 1] += e5;
                nxt[x + 2] += e7;
                nxt[x + 3] += e5;
                nxt[x + 4] += e3;
                aft[x] = e1;
                aft[x + 1] = e3;
                aft[x + 2] = e5;
                aft[x + 3] = e3;
                aft[x + 4] = e1;
            }
            here = ahead + e7;
            ahead = cur[x + 2] + e5;
            if ((x & 7) == 7) *out++ = static_cast<uint8_t>(bits);
        }
        if (width & 7) *out = static_cast<uint8_t>(bits << (8 - (width & 7)));
        // current <- next, next <- after-next, after-next kept.
        std::swap(current_, next_);
        std::memcpy(next_ - 2, afterNext_ - 2, span_ * sizeof(int32_t));
    }

private:
    uint64_t span_;
    std::vector<int32_t> store_;
    int32_t* current_;
    int32_t* next_;
    int32_t* afterNext_;
};

template <unsigned Bits>
PlaneRows<Bits> MakeRows(const Source& s, const Levels& levels, int32_t brightness) {
    if constexpr (Bits == 24) return PlaneRows<24>(s, levels, brightness);
    else return PlaneRows<Bits>(s, levels);
}

template <unsigned Bits>
void Render(const Source& s, int32_t brightness, WORD mode, uint8_t* out, uint64_t outStride) {
    const Levels levels = MakeLevels(brightness);
    const PlaneRows<Bits> rows = MakeRows<Bits>(s, levels, brightness);
    if constexpr (Bits == 8) {
        if (mode == 0) {
            const tone::IndexBits white = rows.whiteIndices();
            for (uint64_t y = 0; y < s.height; ++y, out += outStride) rows.whiteRow(y, white, out);
            return;
        }
    }
    std::vector<uint8_t> level(s.width);
    if (mode == 1) {
        ErrorRows error(s.width);
        for (uint64_t y = 0; y < s.height; ++y, out += outStride) {
            rows.row(y, level.data());
            error.diffuse(level.data(), s.width, out);
        }
        return;
    }
    const RowPacker pack = FastestPacker();
    for (uint64_t y = 0; y < s.height; ++y, out += outStride) {
        rows.row(y, level.data());
        pack(level.data(), s.width, mode == 0 ? kFixedThreshold : kScreen[y & 15], out);
    }
}

constexpr uint64_t kResultHeaderAndTable = 48;

// A source that passed the checks of Halftone, and the size of its result.
struct HalftonePlan {
    Source source;
    uint32_t bits = 0;
    uint8_t header[kInfoHeaderSize] = {};  // the source header; bytes past a short block read 0
    uint64_t outStride = 0;
    uint64_t resultBytes = 0;
};

// The check of Halftone on its locked source, in the family's order: the depth (whose refusal
// leaves the source locked), the signs of the size, the size of the planes, a block that holds
// the rows, and the sizes of the error rows and the result.
Outcome<HalftonePlan> CheckHalftone(BlockLock& lock, WORD mode) {
    HalftonePlan plan;
    uint8_t* header = plan.header;
    std::memcpy(header, lock.data(), std::min<size_t>(lock.size(), kInfoHeaderSize));
    plan.bits = LoadU16(header + bih::kBitCount);
    if (plan.bits != 4 && plan.bits != 8 && plan.bits != 24) {
        lock.keepLocked();
        return Fail(IMGERR_PARAMETER);
    }
    const int64_t width = LoadI32(header + bih::kWidth), height = LoadI32(header + bih::kHeight);
    if (width < 0 || height < 0) return Fail(IMGERR_PARAMETER);

    Source& s = plan.source;
    s.block = lock.data();
    s.size = lock.size();
    s.width = static_cast<uint64_t>(width);
    s.height = static_cast<uint64_t>(height);
    s.stride = RowStride64(s.width, plan.bits);
    s.rowLength = plan.bits == 4 ? 2 * s.stride : s.stride;
    // The planes: a block of 0 bytes cannot be locked, one of 2^32 bytes cannot be had.
    if (s.rowLength == 0 || s.height == 0 || s.rowLength > kMaxBlockBytes / s.height)
        return Fail(IMGERR_NOMEMORY);
    s.tableOffset = LoadU32(header + bih::kSize);
    s.pixelOffset = s.tableOffset + DibPaletteBytes(header);
    if (s.pixelOffset + s.stride * s.height > s.size) return Fail(IMGERR_PARAMETER);

    plan.outStride = RowStride64(s.width, 1);
    plan.resultBytes = kResultHeaderAndTable + plan.outStride * s.height;
    if ((mode == 1 && 16 * s.rowLength + 420 > kMaxBlockBytes) || plan.resultBytes > kMaxBlockBytes)
        return Fail(IMGERR_NOMEMORY);
    return plan;
}

// The work of Halftone: the result's header, its black and white table and its rows, every
// byte of the block (row padding as 0). Cannot fail.
void RenderHalftone(const HalftonePlan& plan, WORD mode, int32_t brightness, uint8_t* o) {
    const Source& s = plan.source;
    WriteInfoHeader(o, {.width = LoadI32(plan.header + bih::kWidth),
                        .height = LoadI32(plan.header + bih::kHeight),
                        .bitCount = 1,
                        .sizeImage = static_cast<uint32_t>(plan.outStride * s.height),
                        .xPels = LoadI32(plan.header + bih::kXPels),
                        .yPels = LoadI32(plan.header + bih::kYPels),
                        .clrUsed = 2});
    const uint8_t table[8] = {0, 0, 0, 0, 255, 255, 255, 0};  // black, white
    std::memcpy(o + kInfoHeaderSize, table, sizeof table);

    uint8_t* pixels = o + kResultHeaderAndTable;
    switch (plan.bits) {
    case 4: Render<4>(s, brightness, mode, pixels, plan.outStride); break;
    case 8: Render<8>(s, brightness, mode, pixels, plan.outStride); break;
    default: Render<24>(s, brightness, mode, pixels, plan.outStride); break;
    }
    const uint64_t used = (s.width + 7) / 8;  // the bytes each row's pixels fill
    if (plan.outStride > used)
        for (uint64_t y = 0; y < s.height; ++y)
            std::memset(pixels + y * plan.outStride + used, 0, plan.outStride - used);
}

Outcome<HDIB> Halftone(HDIB dib, WORD mode, int32_t brightness) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    if (mode > 2) return Fail(IMGERR_PARAMETER);
    BlockLock lock(dib);
    if (!lock) return Fail(IMGERR_NOMEMORY);
    const auto plan = CheckHalftone(lock, mode);
    if (!plan) return plan.refusal();

    OwnedBlock result = OwnedBlock::Allocate(plan->resultBytes, GMEM_MOVEABLE);  // written whole
    if (!result) return Fail(IMGERR_NOMEMORY);
    BlockLock out(result.get());
    if (!out) return Fail(IMGERR_NOMEMORY);
    RenderHalftone(*plan, mode, brightness, out.data());
    out.unlock();
    return result.release();
}

}  // namespace
}  // namespace vx::dither

extern "C" VXAPI HDIB VXCALL Halftone(HDIB dib, WORD mode, int brightness, WORD* error) {
    return vx::RunExport(vx::CallerCell16{.cell = error},
                         [&] { return vx::dither::Halftone(dib, mode, brightness); });
}

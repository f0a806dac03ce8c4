// pixel_formats.hpp - pixel formats and row conversion of the Linux GDI subset: PixelFormat
// (a depth with its colour table or its channel masks), DecodeChannels/EncodeChannels (one
// pixel of a direct format to and from a COLORREF), NearestEntry (the table entry a colour
// maps to), and RowConverter, which converts runs of pixels from any format (1, 4, 8, 16, 24
// or 32 bits) to any other.
//
// A conversion is chosen once per pair of formats and then runs on whole runs of pixels: a
// paletted source goes through a map from each of its indices to the destination's pixel
// value, made once; a direct source is decoded to colours and encoded again, 5-5-5, 5-6-5 and
// 8-8-8 layouts by their own template instances, other channel masks by shifts computed once;
// a paletted destination takes the nearest entry of its table, remembered in a small cache
// (an index whose entry both tables share is kept). Direct colours are matched to an 8-bit
// table at 5 bits a channel, (c & ~7) + 4, as Windows does; 1 and 4-bit tables and paletted
// sources are matched exactly.
// Runs are cut into chunks of a few dozen pixels that pass through a buffer on the stack:
// fetch (per source depth), map (per kind of conversion), store (per destination depth), so
// no pixel meets a switch or an indirect call. 24 to 32 bits, 32 to 24 bits and equal formats
// have direct loops of their own, which run at memory speed (24 and 32 bits in SSSE3 shuffles
// where the processor has them and VEXORA_SIMD allows, giving the bytes of the word loops).
//
// Channels of a direct format widen as Windows widens them: a field of n bits is shifted to
// the top of a byte and its high bits repeat below (5 bits v become v << 3 | v >> 2), and
// narrow by truncation. The nearest entry is the least sum of squared differences, the
// lowest index winning a tie, as GetNearestPaletteIndex answers.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "simd.hpp"
#include "vexora_win32.h"

#if defined(VX_SIMD_SSE2) && defined(VX_SIMD_TARGETS)
#include <immintrin.h>
#endif

namespace vx::posix::gdi {

// A layout of pixels. Paletted formats (1, 4, 8 bits) name their table; direct ones (16, 24,
// 32 bits) their channel masks, zero masks meaning 5-5-5 for 16 bits and 8-8-8 otherwise.
struct PixelFormat {
    int bitsPerPixel = 32;
    const RGBQUAD* colours = nullptr;
    int colourCount = 0;
    uint32_t redMask = 0;
    uint32_t greenMask = 0;
    uint32_t blueMask = 0;

    bool paletted() const { return bitsPerPixel <= 8; }
};

namespace pixel_detail {

// One channel of a direct format: where it sits and how wide it is.
struct Field {
    int shift = 0;
    int length = 0;
    static Field Of(uint32_t mask) {
        if (mask == 0) return {};
        return {std::countr_zero(mask), std::popcount(mask)};
    }
    // The 8-bit value of the field of `pixel`, high bits repeated below.
    uint32_t get(uint32_t pixel) const {
        if (length == 0) return 0;
        uint32_t v = (pixel >> shift) & ((length >= 32 ? 0xFFFFFFFFu : (1u << length) - 1));
        if (length >= 8) return v >> (length - 8);
        v <<= 8 - length;
        for (int filled = length; filled < 8; filled += length) v |= v >> length;
        return v & 0xFF;
    }
    // The field of an 8-bit value, truncated.
    uint32_t put(uint32_t value) const {
        if (length == 0) return 0;
        return length >= 8 ? (value << (length - 8)) << shift : (value >> (8 - length)) << shift;
    }
};

}  // namespace pixel_detail

// The masks of a direct format (its defaults filled in).
struct ChannelMasks {
    uint32_t red, green, blue;
    static ChannelMasks Of(const PixelFormat& format) {
        if (format.redMask | format.greenMask | format.blueMask)
            return {format.redMask, format.greenMask, format.blueMask};
        if (format.bitsPerPixel == 16) return {0x7C00, 0x03E0, 0x001F};
        return {0xFF0000, 0x00FF00, 0x0000FF};
    }
};

// A pixel value of a direct format as a COLORREF, and back.
inline COLORREF DecodeChannels(const ChannelMasks& masks, uint32_t pixel) {
    using pixel_detail::Field;
    return RGB(Field::Of(masks.red).get(pixel), Field::Of(masks.green).get(pixel), Field::Of(masks.blue).get(pixel));
}
inline uint32_t EncodeChannels(const ChannelMasks& masks, COLORREF colour) {
    using pixel_detail::Field;
    return Field::Of(masks.red).put(GetRValue(colour)) | Field::Of(masks.green).put(GetGValue(colour)) |
           Field::Of(masks.blue).put(GetBValue(colour));
}

// The entry of `colours` nearest to `colour` (0 for an empty table).
inline uint32_t NearestEntry(const RGBQUAD* colours, int count, COLORREF colour) {
    const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
    uint32_t best = 0, bestDistance = UINT32_MAX;
    for (int i = 0; i < count; ++i) {
        const int dr = colours[i].rgbRed - r, dg = colours[i].rgbGreen - g, db = colours[i].rgbBlue - b;
        const auto distance = static_cast<uint32_t>(dr * dr + dg * dg + db * db);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = static_cast<uint32_t>(i);
            if (distance == 0) break;
        }
    }
    return best;
}

// Converts runs of pixels of one format to another. Holds its formats' tables by pointer:
// they must outlive it. Not thread-safe (its colour cache changes as it runs).
class RowConverter {
public:
    RowConverter(const PixelFormat& from, const PixelFormat& to) : from_(from), to_(to) { choose(); }

    // Converts `count` pixels from pixel `sourceX` of the row at `source` to pixel `destX` of
    // the row at `dest`. Bits of `dest` outside those pixels are kept.
    void operator()(const uint8_t* source, int sourceX, uint8_t* dest, int destX, int count) {
        run_(*this, source, sourceX, dest, destX, count);
    }

    // The destination pixel value of a colour (paletted destinations: the nearest entry).
    uint32_t encode(COLORREF colour) {
        if (!to_.paletted()) return EncodeChannels(toMasks_, colour);
        const uint32_t key = colour & 0xFFFFFF;
        CacheSlot& slot = cache_[(key * 2654435761u) >> (32 - kCacheBits)];
        if (slot.key != key + 1) slot = {key + 1, NearestEntry(to_.colours, to_.colourCount, colour)};
        return slot.value;
    }

private:
    static constexpr int kChunk = 64;
    static constexpr int kCacheBits = 10;
    struct CacheSlot {
        uint32_t key = 0;  // colour + 1; 0 when empty
        uint32_t value = 0;
    };
    using Run = void (*)(RowConverter&, const uint8_t*, int, uint8_t*, int, int);
    using Fetch = void (*)(const uint8_t*, int, int, uint32_t*);
    using Store = void (*)(const uint32_t*, uint8_t*, int, int);
    using Map = void (*)(RowConverter&, uint32_t*, int);

    // Raw pixel values of a row, and stores of them.
    template <int Bits>
    static void FetchPixels(const uint8_t* row, int x, int count, uint32_t* out) {
        if constexpr (Bits == 1) {
            for (int i = 0; i < count; ++i, ++x) out[i] = (row[x >> 3] >> (7 - (x & 7))) & 1;
        } else if constexpr (Bits == 4) {
            for (int i = 0; i < count; ++i, ++x) out[i] = (row[x >> 1] >> ((x & 1) ? 0 : 4)) & 15;
        } else if constexpr (Bits == 8) {
            row += x;
            for (int i = 0; i < count; ++i) out[i] = row[i];
        } else if constexpr (Bits == 16) {
            row += 2 * static_cast<ptrdiff_t>(x);
            for (int i = 0; i < count; ++i) out[i] = row[2 * i] | uint32_t{row[2 * i + 1]} << 8;
        } else if constexpr (Bits == 24) {
            row += 3 * static_cast<ptrdiff_t>(x);
            for (int i = 0; i < count; ++i)
                out[i] = row[3 * i] | uint32_t{row[3 * i + 1]} << 8 | uint32_t{row[3 * i + 2]} << 16;
        } else {
            std::memcpy(out, row + 4 * static_cast<ptrdiff_t>(x), 4 * static_cast<size_t>(count));
        }
    }
    template <int Bits>
    static void StorePixels(const uint32_t* in, uint8_t* row, int x, int count) {
        if constexpr (Bits == 1) {
            for (int i = 0; i < count; ++i, ++x) {
                const auto bit = static_cast<uint8_t>(0x80 >> (x & 7));
                row[x >> 3] = static_cast<uint8_t>(in[i] & 1 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
            }
        } else if constexpr (Bits == 4) {
            for (int i = 0; i < count; ++i, ++x) {
                uint8_t& byte = row[x >> 1];
                byte = static_cast<uint8_t>((x & 1) ? (byte & 0xF0) | (in[i] & 15) : (byte & 0x0F) | (in[i] & 15) << 4);
            }
        } else if constexpr (Bits == 8) {
            row += x;
            for (int i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(in[i]);
        } else if constexpr (Bits == 16) {
            row += 2 * static_cast<ptrdiff_t>(x);
            for (int i = 0; i < count; ++i) {
                row[2 * i] = static_cast<uint8_t>(in[i]);
                row[2 * i + 1] = static_cast<uint8_t>(in[i] >> 8);
            }
        } else if constexpr (Bits == 24) {
            row += 3 * static_cast<ptrdiff_t>(x);
            for (int i = 0; i < count; ++i) {
                row[3 * i] = static_cast<uint8_t>(in[i]);
                row[3 * i + 1] = static_cast<uint8_t>(in[i] >> 8);
                row[3 * i + 2] = static_cast<uint8_t>(in[i] >> 16);
            }
        } else {
            std::memcpy(row + 4 * static_cast<ptrdiff_t>(x), in, 4 * static_cast<size_t>(count));
        }
    }

    // Pixel value maps: through the index map, between two direct layouts, direct to a table.
    static void MapIndices(RowConverter& self, uint32_t* values, int count) {
        for (int i = 0; i < count; ++i) values[i] = self.indexMap_[values[i] & 0xFF];
    }
    static void Identity(RowConverter&, uint32_t*, int) {}
    // 5-5-5, 5-6-5 and 8-8-8 read and written with constant shifts; anything else by Field.
    enum class Layout { Rgb555, Rgb565, Rgb888, Other };
    template <Layout L>
    static COLORREF DecodeAs(const RowConverter& self, uint32_t p) {
        if constexpr (L == Layout::Rgb555) {
            const uint32_t r = (p >> 10) & 31, g = (p >> 5) & 31, b = p & 31;
            return RGB(r << 3 | r >> 2, g << 3 | g >> 2, b << 3 | b >> 2);
        } else if constexpr (L == Layout::Rgb565) {
            const uint32_t r = (p >> 11) & 31, g = (p >> 5) & 63, b = p & 31;
            return RGB(r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2);
        } else if constexpr (L == Layout::Rgb888) {
            return RGB(p >> 16, p >> 8, p);
        } else {
            return RGB(self.fromFields_[0].get(p), self.fromFields_[1].get(p), self.fromFields_[2].get(p));
        }
    }
    template <Layout L>
    static uint32_t EncodeAs(const RowConverter& self, COLORREF c) {
        const uint32_t r = GetRValue(c), g = GetGValue(c), b = GetBValue(c);
        if constexpr (L == Layout::Rgb555) {
            return (r >> 3) << 10 | (g >> 3) << 5 | b >> 3;
        } else if constexpr (L == Layout::Rgb565) {
            return (r >> 3) << 11 | (g >> 2) << 5 | b >> 3;
        } else if constexpr (L == Layout::Rgb888) {
            return r << 16 | g << 8 | b;
        } else {
            return self.toFields_[0].put(r) | self.toFields_[1].put(g) | self.toFields_[2].put(b);
        }
    }
    template <Layout From, Layout To>
    static void MapDirect(RowConverter& self, uint32_t* values, int count) {
        for (int i = 0; i < count; ++i) values[i] = EncodeAs<To>(self, DecodeAs<From>(self, values[i]));
    }
    template <Layout From>
    static void MapToTable(RowConverter& self, uint32_t* values, int count) {
        for (int i = 0; i < count; ++i) values[i] = self.encode(DecodeAs<From>(self, values[i]));
    }
    // An 8-bit table is matched at 5 bits a channel, each colour taken at the middle of its
    // step of 8, as Windows matches direct colours to a 256-colour table.
    template <Layout From>
    static void MapToTable8(RowConverter& self, uint32_t* values, int count) {
        for (int i = 0; i < count; ++i) values[i] = self.encode((DecodeAs<From>(self, values[i]) & 0xF8F8F8) + 0x040404);
    }

    // A run through the chunk buffer.
    template <int FromBits, int ToBits>
    static void ChunkedRun(RowConverter& self, const uint8_t* source, int sourceX, uint8_t* dest, int destX,
                           int count) {
        uint32_t buffer[kChunk];
        while (count > 0) {
            const int n = std::min(count, kChunk);
            FetchPixels<FromBits>(source, sourceX, n, buffer);
            self.map_(self, buffer, n);
            StorePixels<ToBits>(buffer, dest, destX, n);
            sourceX += n;
            destX += n;
            count -= n;
        }
    }
    // Whole bytes of equal formats.
    template <int Bits>
    static void CopyRun(RowConverter&, const uint8_t* source, int sourceX, uint8_t* dest, int destX, int count) {
        std::memmove(dest + static_cast<ptrdiff_t>(destX) * (Bits / 8), source + static_cast<ptrdiff_t>(sourceX) * (Bits / 8),
                     static_cast<size_t>(count) * (Bits / 8));
    }
    // 24 and 32 bits four pixels (three and four words) at a time, little-endian words.
    static void Run24To32(RowConverter&, const uint8_t* source, int sourceX, uint8_t* dest, int destX, int count) {
        const uint8_t* s = source + 3 * static_cast<ptrdiff_t>(sourceX);
        uint8_t* d = dest + 4 * static_cast<ptrdiff_t>(destX);
        int i = 0;
        for (; i + 4 <= count; i += 4, s += 12, d += 16) {
            uint32_t w[3];
            std::memcpy(w, s, 12);
            const uint32_t p[4] = {w[0] & 0xFFFFFF, w[0] >> 24 | (w[1] & 0xFFFF) << 8, w[1] >> 16 | (w[2] & 0xFF) << 16,
                                   w[2] >> 8};
            std::memcpy(d, p, 16);
        }
        for (; i < count; ++i, s += 3, d += 4) {
            const uint32_t v = s[0] | uint32_t{s[1]} << 8 | uint32_t{s[2]} << 16;
            std::memcpy(d, &v, 4);
        }
    }
    static void Run32To24(RowConverter&, const uint8_t* source, int sourceX, uint8_t* dest, int destX, int count) {
        const uint8_t* s = source + 4 * static_cast<ptrdiff_t>(sourceX);
        uint8_t* d = dest + 3 * static_cast<ptrdiff_t>(destX);
        int i = 0;
        for (; i + 4 <= count; i += 4, s += 16, d += 12) {
            uint32_t p[4];
            std::memcpy(p, s, 16);
            const uint32_t w[3] = {(p[0] & 0xFFFFFF) | p[1] << 24, (p[1] >> 8 & 0xFFFF) | p[2] << 16,
                                   (p[2] >> 16 & 0xFF) | p[3] << 8};
            std::memcpy(d, w, 12);
        }
        for (; i < count; ++i, s += 4, d += 3) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
        }
    }

#if defined(VX_SIMD_SSE2) && defined(VX_SIMD_TARGETS)
    // Sixteen pixels a step in SSSE3 shuffles: three 16-byte blocks of 24-bit pixels to four of
    // 32-bit ones and back; the rest of a run goes through the word loops above.
    VX_TARGET_SSSE3 static void Run24To32Ssse3(RowConverter& self, const uint8_t* source, int sourceX, uint8_t* dest,
                                               int destX, int count) {
        const uint8_t* s = source + 3 * static_cast<ptrdiff_t>(sourceX);
        uint8_t* d = dest + 4 * static_cast<ptrdiff_t>(destX);
        const __m128i spread = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
        int i = 0;
        for (; i + 16 <= count; i += 16, s += 48, d += 64) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
            const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_shuffle_epi8(a, spread));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), _mm_shuffle_epi8(_mm_alignr_epi8(b, a, 12), spread));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 32), _mm_shuffle_epi8(_mm_alignr_epi8(c, b, 8), spread));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 48), _mm_shuffle_epi8(_mm_srli_si128(c, 4), spread));
        }
        Run24To32(self, source, sourceX + i, dest, destX + i, count - i);
    }
    VX_TARGET_SSSE3 static void Run32To24Ssse3(RowConverter& self, const uint8_t* source, int sourceX, uint8_t* dest,
                                               int destX, int count) {
        const uint8_t* s = source + 4 * static_cast<ptrdiff_t>(sourceX);
        uint8_t* d = dest + 3 * static_cast<ptrdiff_t>(destX);
        const __m128i pack = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        int i = 0;
        for (; i + 16 <= count; i += 16, s += 64, d += 48) {
            const __m128i a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)), pack);
            const __m128i b = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)), pack);
            const __m128i c = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 32)), pack);
            const __m128i e = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 48)), pack);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_or_si128(a, _mm_slli_si128(b, 12)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 32), _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(e, 4)));
        }
        Run32To24(self, source, sourceX + i, dest, destX + i, count - i);
    }
    static constexpr bool kShuffles = true;
#else
    static constexpr bool kShuffles = false;
    static void Run24To32Ssse3(RowConverter&, const uint8_t*, int, uint8_t*, int, int) {}
    static void Run32To24Ssse3(RowConverter&, const uint8_t*, int, uint8_t*, int, int) {}
#endif

    static Layout LayoutOf(const ChannelMasks& m) {
        if (m.red == 0x7C00 && m.green == 0x03E0 && m.blue == 0x001F) return Layout::Rgb555;
        if (m.red == 0xF800 && m.green == 0x07E0 && m.blue == 0x001F) return Layout::Rgb565;
        if (m.red == 0xFF0000 && m.green == 0x00FF00 && m.blue == 0x0000FF) return Layout::Rgb888;
        return Layout::Other;
    }
    template <Layout From>
    Map directMapFrom() const {
        if (to_.paletted()) return to_.bitsPerPixel == 8 ? &MapToTable8<From> : &MapToTable<From>;
        switch (LayoutOf(toMasks_)) {
            case Layout::Rgb555: return &MapDirect<From, Layout::Rgb555>;
            case Layout::Rgb565: return &MapDirect<From, Layout::Rgb565>;
            case Layout::Rgb888: return &MapDirect<From, Layout::Rgb888>;
            default: return &MapDirect<From, Layout::Other>;
        }
    }
    template <int FromBits>
    static Run RunFrom(int toBits) {
        switch (toBits) {
            case 1: return &ChunkedRun<FromBits, 1>;
            case 4: return &ChunkedRun<FromBits, 4>;
            case 8: return &ChunkedRun<FromBits, 8>;
            case 16: return &ChunkedRun<FromBits, 16>;
            case 24: return &ChunkedRun<FromBits, 24>;
            default: return &ChunkedRun<FromBits, 32>;
        }
    }

    void choose() {
        fromMasks_ = ChannelMasks::Of(from_);
        toMasks_ = ChannelMasks::Of(to_);
        fromFields_ = {pixel_detail::Field::Of(fromMasks_.red), pixel_detail::Field::Of(fromMasks_.green),
                       pixel_detail::Field::Of(fromMasks_.blue)};
        toFields_ = {pixel_detail::Field::Of(toMasks_.red), pixel_detail::Field::Of(toMasks_.green),
                     pixel_detail::Field::Of(toMasks_.blue)};
        switch (from_.bitsPerPixel) {
            case 1: run_ = RunFrom<1>(to_.bitsPerPixel); break;
            case 4: run_ = RunFrom<4>(to_.bitsPerPixel); break;
            case 8: run_ = RunFrom<8>(to_.bitsPerPixel); break;
            case 16: run_ = RunFrom<16>(to_.bitsPerPixel); break;
            case 24: run_ = RunFrom<24>(to_.bitsPerPixel); break;
            default: run_ = RunFrom<32>(to_.bitsPerPixel); break;
        }
        if (from_.paletted()) {
            // An index whose entry is the same in both tables stays as it is, so a copy
            // between equal tables keeps every index, repeated colours included.
            auto same = [](const RGBQUAD& a, const RGBQUAD& b) {
                return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
            };
            for (int i = 0; i < 256; ++i) {
                const RGBQUAD q = i < from_.colourCount ? from_.colours[i] : RGBQUAD{0, 0, 0, 0};
                indexMap_[i] = to_.paletted() && i < to_.colourCount && same(to_.colours[i], q)
                                   ? static_cast<uint32_t>(i)
                                   : encode(RGB(q.rgbRed, q.rgbGreen, q.rgbBlue));
            }
            map_ = &MapIndices;
            return;
        }
        const bool sameLayout = !to_.paletted() && fromMasks_.red == toMasks_.red &&
                                fromMasks_.green == toMasks_.green && fromMasks_.blue == toMasks_.blue;
        if (sameLayout && from_.bitsPerPixel == to_.bitsPerPixel) {
            map_ = &Identity;
            run_ = from_.bitsPerPixel == 16 ? &CopyRun<16> : from_.bitsPerPixel == 24 ? &CopyRun<24> : &CopyRun<32>;
            return;
        }
        const Layout from = LayoutOf(fromMasks_);
        if (sameLayout && from == Layout::Rgb888) {
            map_ = &Identity;
            const bool shuffles = kShuffles && SimdAllows(SimdLevel::kSsse3);
            if (from_.bitsPerPixel == 24 && to_.bitsPerPixel == 32) run_ = shuffles ? &Run24To32Ssse3 : &Run24To32;
            if (from_.bitsPerPixel == 32 && to_.bitsPerPixel == 24) run_ = shuffles ? &Run32To24Ssse3 : &Run32To24;
            return;
        }
        switch (from) {
            case Layout::Rgb555: map_ = directMapFrom<Layout::Rgb555>(); break;
            case Layout::Rgb565: map_ = directMapFrom<Layout::Rgb565>(); break;
            case Layout::Rgb888: map_ = directMapFrom<Layout::Rgb888>(); break;
            default: map_ = directMapFrom<Layout::Other>(); break;
        }
    }

    PixelFormat from_, to_;
    ChannelMasks fromMasks_{}, toMasks_{};
    std::array<pixel_detail::Field, 3> fromFields_{}, toFields_{};
    Run run_ = nullptr;
    Map map_ = nullptr;
    std::array<uint32_t, 256> indexMap_{};
    std::array<CacheSlot, 1 << kCacheBits> cache_{};
};

}  // namespace vx::posix::gdi

// raster.cpp - bit transfers of the Linux GDI subset: the engine RunBlit (raster.hpp) with
// TargetOf, SourceOf and SolidPixel, and the calls BitBlt, StretchBlt and PatBlt.
//
// Colour between formats follows Windows (as Wine shows it). A 1-bit device bitmap has no
// colours of its own: read as a source, 0 is the destination DC's text colour and 1 its
// background colour; written from a colour source, a pixel becomes 1 exactly when its colour
// is the source DC's background colour. Every other surface converts through its colours: a
// paletted source through its table, a direct source to the nearest entry of a paletted
// destination; for an 8-bit destination the colour is first reduced to 5 bits a channel and
// taken from the middle of that cell (Wine looks colours up in a 32 x 32 x 32 cache built that
// way; its 1- and 4-bit conversions search the table exactly). Two surfaces of one format
// with the same colours copy raw bits.
//
// The engine works row by row. For each destination row it finds the source row (or rows),
// converts the part it needs into the destination's format in a buffer whose bytes line up
// with the destination row's bytes (same bit offset for 1- and 4-bit pixels), fills the
// pattern likewise, and runs the raster operation over the visible spans (rop.hpp). A plain
// SRCCOPY between surfaces of one format with whole-byte pixels is a memmove per span, and
// the other operations read such a source in place, without a buffer.
//
// Stretching: COLORONCOLOR and the growing axis of every mode take one source pixel per
// destination pixel (stretch.cpp); BLACKONWHITE and WHITEONBLACK AND or OR the raw bits of
// all the pixels a shrinking destination pixel stands for; HALFTONE interpolates bilinearly
// between the four source pixels around x * source / dest (16-bit fractions, each pass
// rounded), as Wine's does, on the source already in the destination's format, mirroring
// by reading the source backwards. A stretch longer than 2^22 pixels on an axis draws
// nothing rather than allocate its tables.
//
// Blits to or from a screen DC: the subset's screen has no pixels, so they succeed and draw
// nothing (a caller that copies the screen gets its bitmap unchanged).
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/pixel_formats.hpp"
#include "platform/posix/gdi/raster.hpp"
#include "platform/posix/gdi/rop.hpp"

namespace vx::posix::gdi {
namespace {

constexpr int kLongestStretch = 1 << 22;

template <int B>
inline uint32_t Get(const uint8_t* row, int x) {
    if constexpr (B == 1) return (row[x >> 3] >> (7 - (x & 7))) & 1;
    if constexpr (B == 4) return (row[x >> 1] >> ((x & 1) ? 0 : 4)) & 15;
    if constexpr (B == 8) return row[x];
    if constexpr (B == 16) return row[2 * x] | uint32_t{row[2 * x + 1]} << 8;
    if constexpr (B == 24) {
        const uint8_t* p = row + 3 * static_cast<ptrdiff_t>(x);
        return p[0] | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16;
    }
    if constexpr (B == 32) {
        uint32_t v;
        std::memcpy(&v, row + 4 * static_cast<ptrdiff_t>(x), 4);
        return v;
    }
}

template <int B>
inline void Put(uint8_t* row, int x, uint32_t v) {
    if constexpr (B == 1) {
        const auto bit = static_cast<uint8_t>(0x80 >> (x & 7));
        row[x >> 3] = static_cast<uint8_t>(v & 1 ? row[x >> 3] | bit : row[x >> 3] & ~bit);
    }
    if constexpr (B == 4) {
        uint8_t& b = row[x >> 1];
        b = static_cast<uint8_t>((x & 1) ? (b & 0xF0) | (v & 15) : (b & 0x0F) | (v & 15) << 4);
    }
    if constexpr (B == 8) row[x] = static_cast<uint8_t>(v);
    if constexpr (B == 16) {
        row[2 * x] = static_cast<uint8_t>(v);
        row[2 * x + 1] = static_cast<uint8_t>(v >> 8);
    }
    if constexpr (B == 24) {
        uint8_t* p = row + 3 * static_cast<ptrdiff_t>(x);
        p[0] = static_cast<uint8_t>(v);
        p[1] = static_cast<uint8_t>(v >> 8);
        p[2] = static_cast<uint8_t>(v >> 16);
    }
    if constexpr (B == 32) std::memcpy(row + 4 * static_cast<ptrdiff_t>(x), &v, 4);
}

// Row-level pixel access chosen once per transfer by depth: each call handles a run of
// pixels, so no pixel meets an indirect call.
struct PixelOps {
    void (*fetch)(const uint8_t* row, int x, int count, uint32_t* out) = nullptr;
    void (*store)(const uint32_t* in, uint8_t* row, int x, int count) = nullptr;
    void (*fill)(uint8_t* row, int x, int count, uint32_t value) = nullptr;
    // Pixel x + i takes pixel (phase + i) mod width of `tile`.
    void (*tile)(uint8_t* row, int x, int count, const uint8_t* tile, int width, int phase) = nullptr;
    // out[i] = the AND (or the OR) of pixels groups[i].low + shift ... groups[i].high + shift.
    void (*reduce)(const uint8_t* row, const Group* groups, int count, int shift, bool andBits, uint32_t* out) = nullptr;
    // out[i] = pixel groups[i].high + shift (one pixel per group).
    void (*pick)(const uint8_t* row, const Group* groups, int count, int shift, uint32_t* out) = nullptr;
};

template <int B>
PixelOps OpsFor() {
    PixelOps ops;
    ops.fetch = [](const uint8_t* row, int x, int count, uint32_t* out) {
        for (int i = 0; i < count; ++i) out[i] = Get<B>(row, x + i);
    };
    ops.store = [](const uint32_t* in, uint8_t* row, int x, int count) {
        for (int i = 0; i < count; ++i) Put<B>(row, x + i, in[i]);
    };
    ops.fill = [](uint8_t* row, int x, int count, uint32_t value) {
        for (int i = 0; i < count; ++i) Put<B>(row, x + i, value);
    };
    ops.tile = [](uint8_t* row, int x, int count, const uint8_t* tile, int width, int phase) {
        for (int i = 0; i < count; ++i) {
            Put<B>(row, x + i, Get<B>(tile, phase));
            if (++phase == width) phase = 0;
        }
    };
    ops.reduce = [](const uint8_t* row, const Group* groups, int count, int shift, bool andBits, uint32_t* out) {
        for (int i = 0; i < count; ++i) {
            uint32_t v = Get<B>(row, groups[i].low + shift);
            for (int c = groups[i].low + 1; c <= groups[i].high; ++c) {
                const uint32_t w = Get<B>(row, c + shift);
                v = andBits ? v & w : v | w;
            }
            out[i] = v;
        }
    };
    ops.pick = [](const uint8_t* row, const Group* groups, int count, int shift, uint32_t* out) {
        for (int i = 0; i < count; ++i) out[i] = Get<B>(row, groups[i].high + shift);
    };
    if constexpr (B == 1) {
        // Whole bytes at a time between the partial bytes at the ends: a fill is a byte of all
        // ones or all zeros, and a tile 8 pixels wide (every brush pattern) is its one byte
        // turned to the phase at the first whole byte.
        ops.fill = [](uint8_t* row, int x, int count, uint32_t value) {
            int i = 0;
            for (; i < count && ((x + i) & 7) != 0; ++i) Put<1>(row, x + i, value);
            const int bytes = (count - i) / 8;
            std::memset(row + ((x + i) >> 3), (value & 1) != 0 ? 0xFF : 0x00, static_cast<size_t>(bytes));
            for (i += 8 * bytes; i < count; ++i) Put<1>(row, x + i, value);
        };
        ops.tile = [](uint8_t* row, int x, int count, const uint8_t* tile, int width, int phase) {
            int i = 0;
            if (width == 8) {
                for (; i < count && ((x + i) & 7) != 0; ++i) Put<1>(row, x + i, Get<1>(tile, (phase + i) & 7));
                const int bytes = (count - i) / 8;
                const int turn = (phase + i) & 7;
                const auto pattern = static_cast<uint8_t>(turn == 0 ? tile[0] : tile[0] << turn | tile[0] >> (8 - turn));
                std::memset(row + ((x + i) >> 3), pattern, static_cast<size_t>(bytes));
                i += 8 * bytes;
                phase = (phase + i) & 7;
            }
            for (; i < count; ++i) {
                Put<1>(row, x + i, Get<1>(tile, phase));
                if (++phase == width) phase = 0;
            }
        };
    }
    return ops;
}

PixelOps OpsFor(int bitsPerPixel) {
    switch (bitsPerPixel) {
        case 1: return OpsFor<1>();
        case 4: return OpsFor<4>();
        case 8: return OpsFor<8>();
        case 16: return OpsFor<16>();
        case 24: return OpsFor<24>();
        default: return OpsFor<32>();
    }
}

PixelFormat FormatOf(const Surface& s) {
    return {s.bitsPerPixel, s.colours, s.colourCount, s.redMask, s.greenMask, s.blueMask};
}

bool SameColours(const Surface& a, const Surface& b) {
    if (a.bitsPerPixel != b.bitsPerPixel) return false;
    if (a.bitsPerPixel > 8) {
        const ChannelMasks ma = ChannelMasks::Of(FormatOf(a)), mb = ChannelMasks::Of(FormatOf(b));
        return ma.red == mb.red && ma.green == mb.green && ma.blue == mb.blue;
    }
    const int entries = 1 << a.bitsPerPixel;
    for (int i = 0; i < entries; ++i) {
        const RGBQUAD qa = i < a.colourCount ? a.colours[i] : RGBQUAD{0, 0, 0, 0};
        const RGBQUAD qb = i < b.colourCount ? b.colours[i] : RGBQUAD{0, 0, 0, 0};
        if (qa.rgbRed != qb.rgbRed || qa.rgbGreen != qb.rgbGreen || qa.rgbBlue != qb.rgbBlue) return false;
    }
    return true;
}

// Colours to pixel values of a target, direct colours to paletted ones through the 5-bit
// cells described above.
class ColourEncoder {
public:
    ColourEncoder(const BlitTarget& target, COLORREF sourceBackground)
        : target_(target), background_(sourceBackground & 0xFFFFFF), masks_(ChannelMasks::Of(FormatOf(target.surface))) {}

    // An exact colour (a table entry of a source, a DC colour).
    uint32_t exact(COLORREF c) const {
        c &= 0xFFFFFF;
        if (target_.monoDevice) return c == background_ ? 1 : 0;
        const Surface& s = target_.surface;
        if (s.bitsPerPixel <= 8) return NearestEntry(s.colours, s.colourCount, c);
        return EncodeChannels(masks_, c);
    }
    // A colour of a direct source (blue, green, red from the low byte up).
    uint32_t direct(uint32_t bgr) {
        const COLORREF c = RGB(bgr >> 16 & 0xFF, bgr >> 8 & 0xFF, bgr & 0xFF);
        if (target_.monoDevice) return c == background_ ? 1 : 0;
        const Surface& s = target_.surface;
        if (s.bitsPerPixel > 8) return EncodeChannels(masks_, c);
        if (s.bitsPerPixel < 8) return NearestEntry(s.colours, s.colourCount, c);
        if (cells_.empty()) cells_.assign(32768, -1);
        const uint32_t key = (bgr >> 19 & 31) << 10 | (bgr >> 11 & 31) << 5 | (bgr >> 3 & 31);
        int16_t& cell = cells_[key];
        if (cell < 0) {
            const COLORREF middle = RGB((GetRValue(c) & 0xF8) | 4, (GetGValue(c) & 0xF8) | 4, (GetBValue(c) & 0xF8) | 4);
            cell = static_cast<int16_t>(NearestEntry(s.colours, s.colourCount, middle));
        }
        return static_cast<uint32_t>(cell);
    }

private:
    const BlitTarget& target_;
    COLORREF background_;
    ChannelMasks masks_;
    std::vector<int16_t> cells_;
};

// Source pixels into the target's format.
class PixelMap {
public:
    PixelMap(const BlitSource& source, const BlitTarget& target)
        : from_(source.surface), encoder_(target, source.background), fromOps_(OpsFor(source.surface.bitsPerPixel)),
          toOps_(OpsFor(target.surface.bitsPerPixel)) {
        const Surface& s = source.surface;
        const Surface& t = target.surface;
        if (source.monoDevice && target.monoDevice) {
            kind_ = Kind::Raw;
        } else if (source.monoDevice) {
            kind_ = Kind::Table;
            table_[0] = encoder_.exact(target.text);
            table_[1] = encoder_.exact(target.background);
        } else if (!target.monoDevice && SameColours(s, t)) {
            kind_ = Kind::Raw;
        } else if (s.bitsPerPixel <= 8) {
            kind_ = Kind::Table;
            for (int i = 0; i < (1 << s.bitsPerPixel); ++i) {
                const RGBQUAD q = i < s.colourCount ? s.colours[i] : RGBQUAD{0, 0, 0, 0};
                table_[static_cast<size_t>(i)] = encoder_.exact(RGB(q.rgbRed, q.rgbGreen, q.rgbBlue));
            }
        } else if (t.bitsPerPixel > 8 && !target.monoDevice) {
            kind_ = Kind::Direct;
            converter_.emplace(FormatOf(s), FormatOf(t));
        } else {
            kind_ = Kind::ToIndex;
            static constexpr PixelFormat kBgr{32, nullptr, 0, 0xFF0000, 0x00FF00, 0x0000FF};
            converter_.emplace(FormatOf(s), kBgr);
        }
    }

    bool raw() const { return kind_ == Kind::Raw; }

    // Converts `count` source pixels from `sourceX` of `row` to pixel `outX` of `out`.
    void operator()(const uint8_t* row, int sourceX, uint8_t* out, int outX, int count) {
        if (kind_ == Kind::Raw && from_.bitsPerPixel >= 8) {
            const int bytes = from_.bitsPerPixel / 8;
            std::memmove(out + static_cast<ptrdiff_t>(outX) * bytes, row + static_cast<ptrdiff_t>(sourceX) * bytes,
                         static_cast<size_t>(count) * bytes);
            return;
        }
        if (kind_ == Kind::Direct) {
            (*converter_)(row, sourceX, out, outX, count);
            return;
        }
        uint32_t chunk[64];
        uint8_t bgr[64 * 4];
        while (count > 0) {
            const int n = std::min(count, 64);
            switch (kind_) {
                case Kind::Raw: fromOps_.fetch(row, sourceX, n, chunk); break;
                case Kind::Table:
                    fromOps_.fetch(row, sourceX, n, chunk);
                    for (int i = 0; i < n; ++i) chunk[i] = table_[chunk[i] & 0xFF];
                    break;
                default:
                    (*converter_)(row, sourceX, bgr, 0, n);
                    for (int i = 0; i < n; ++i) {
                        uint32_t v;
                        std::memcpy(&v, bgr + 4 * i, 4);
                        chunk[i] = encoder_.direct(v);
                    }
                    break;
            }
            toOps_.store(chunk, out, outX, n);
            sourceX += n;
            outX += n;
            count -= n;
        }
    }

private:
    enum class Kind { Raw, Table, Direct, ToIndex };
    const Surface& from_;
    ColourEncoder encoder_;
    PixelOps fromOps_, toOps_;
    Kind kind_ = Kind::Raw;
    uint32_t table_[256] = {};
    std::optional<RowConverter> converter_;
};

// A rectangle edge pair as the pixels it covers: [low, low + length); a negative extent covers
// the pixels from the far edge (exclusive) to the near edge (inclusive), mirrored.
struct Extent {
    int low = 0;
    int length = 0;
    bool mirrored = false;
};
Extent ExtentOf(int from, int to) {
    if (to >= from) return {from, static_cast<int>(std::min<int64_t>(int64_t{to} - from, INT32_MAX)), false};
    return {to + 1, static_cast<int>(std::min<int64_t>(int64_t{from} - to, INT32_MAX)), true};
}

// A row buffer laid out as a destination row's bytes from the byte of pixel `first`.
struct RowLayout {
    int bitsPerPixel;
    int first;  // the first pixel the buffer covers
    int base;   // the pixel at the buffer's first bit
    size_t byteOf(int x) const {
        return static_cast<size_t>((int64_t{x} * bitsPerPixel) / 8 - (int64_t{base} * bitsPerPixel) / 8);
    }
    int pixelOf(int x) const { return x - base; }
};

struct Span {
    size_t firstByte;
    size_t bytes;
    uint8_t firstMask, lastMask;
};
Span SpanOf(int bitsPerPixel, int a, int b) {
    const int64_t startBit = int64_t{a} * bitsPerPixel, endBit = int64_t{b} * bitsPerPixel;
    Span s;
    s.firstByte = static_cast<size_t>(startBit / 8);
    s.bytes = static_cast<size_t>((endBit + 7) / 8 - startBit / 8);
    s.firstMask = static_cast<uint8_t>(0xFF >> (startBit & 7));
    s.lastMask = static_cast<uint8_t>(0xFF << ((8 - (endBit & 7)) & 7));
    return s;
}

// The row loop: `makeSource(y, buffer)` fills the source buffer for destination row y
// (false: the row is not drawn); `direct(y, x)` may instead name source bytes in place.
class RowWriter {
public:
    RowWriter(const BlitTarget& target, const BlitPattern* pattern, uint8_t rop, int left, int right)
        : target_(target), pattern_(pattern), rop_(rop), left_(left), right_(right),
          ops_(OpsFor(target.surface.bitsPerPixel)) {
        const int bpp = target.surface.bitsPerPixel;
        const int alignPixels = bpp >= 8 ? 1 : 8 / bpp;
        layout_ = {bpp, left, left - left % alignPixels};
        const size_t bytes = layout_.byteOf(right) + 8;
        patternRow_.assign(pattern != nullptr ? bytes : 0, 0);
        if (pattern != nullptr && pattern->solid)
            ops_.fill(patternRow_.data(), layout_.pixelOf(left), right - left, pattern->pixel);
    }
    const RowLayout& layout() const { return layout_; }
    size_t bufferBytes() const { return layout_.byteOf(right_) + 8; }

    // Runs the operation on row y, pixels [from, to) of the writer's run; `source` is laid
    // out as layout(), or null.
    void write(int y, const uint8_t* source) { write(y, source, left_, right_); }
    void write(int y, const uint8_t* source, int from, int to) {
        const Surface& s = target_.surface;
        uint8_t* row = s.bits + static_cast<ptrdiff_t>(y) * s.stride;
        const uint8_t* pattern = nullptr;
        if (pattern_ != nullptr) {
            if (!pattern_->solid) fillPattern(y);
            pattern = patternRow_.data();
        }
        for (const RECT& r : target_.visible) {
            if (y < r.top || y >= r.bottom) continue;
            const int a = std::max<int>({r.left, left_, from}), b = std::min<int>({r.right, right_, to});
            if (a >= b) continue;
            const Span span = SpanOf(s.bitsPerPixel, a, b);
            const size_t at = layout_.byteOf(a);
            RopSpan(rop_, row + span.firstByte, source != nullptr ? source + at : nullptr,
                    pattern != nullptr ? pattern + at : nullptr, span.bytes, span.firstMask, span.lastMask);
        }
    }

    // SRCCOPY of same-format whole-byte pixels: `source` is the source row at pixel `left`.
    void copy(int y, const uint8_t* source) {
        const Surface& s = target_.surface;
        const int bytes = s.bitsPerPixel / 8;
        uint8_t* row = s.bits + static_cast<ptrdiff_t>(y) * s.stride;
        for (const RECT& r : target_.visible) {
            if (y < r.top || y >= r.bottom) continue;
            const int a = std::max<int>(r.left, left_), b = std::min<int>(r.right, right_);
            if (a >= b) continue;
            std::memmove(row + static_cast<ptrdiff_t>(a) * bytes, source + static_cast<ptrdiff_t>(a - left_) * bytes,
                         static_cast<size_t>(b - a) * bytes);
        }
    }

private:
    void fillPattern(int y) {
        const BlitPattern& p = *pattern_;
        const int py = y % p.height;
        if (py == patternY_) return;
        patternY_ = py;
        const uint8_t* tileRow = p.tile.data() + static_cast<size_t>(py) * p.stride;
        ops_.tile(patternRow_.data(), layout_.pixelOf(left_), right_ - left_, tileRow, p.width, left_ % p.width);
    }

    const BlitTarget& target_;
    const BlitPattern* pattern_;
    uint8_t rop_;
    int left_, right_;
    PixelOps ops_;
    RowLayout layout_{};
    std::vector<uint8_t> patternRow_;
    int patternY_ = -1;
};

// The rows of the destination [top, bottom) in the order that keeps an overlapping copy
// within one surface correct.
template <typename Body>
void ForRows(int top, int bottom, bool upwards, Body body) {
    if (upwards) {
        for (int y = bottom - 1; y >= top; --y) body(y);
    } else {
        for (int y = top; y < bottom; ++y) body(y);
    }
}

// The source pixels of each destination pixel along one axis, as absolute source
// coordinates clipped to [0, limit): low > high where none is left. When a stretch is
// mirrored and part of its source lies outside the bitmap, Windows (as Wine shows it) keeps
// the drawn run at the end where it would be without the mirror: the run of destination
// pixels that have a source moves to the other end of the destination, in its order.
std::vector<Group> Settle(const std::vector<Group>& groups, const Extent& d, const Extent& s, int limit) {
    const size_t n = groups.size();
    std::vector<Group> settled(n);
    size_t first = n, last = 0;
    for (size_t i = 0; i < n; ++i) {
        const int64_t low = std::max<int64_t>(int64_t{s.low} + groups[i].low, 0);
        const int64_t high = std::min<int64_t>(int64_t{s.low} + groups[i].high, int64_t{limit} - 1);
        settled[i] = low <= high ? Group{static_cast<int>(low), static_cast<int>(high)} : Group{1, 0};
        if (low <= high) {
            first = std::min(first, i);
            last = i + 1;
        }
    }
    if (d.mirrored == s.mirrored || first >= last || (first == 0 && last == n)) return settled;
    std::vector<Group> moved(n, Group{1, 0});
    const size_t at = n - last;
    for (size_t i = first; i < last; ++i) moved[at + (i - first)] = settled[i];
    return moved;
}

void Halftone(const BlitTarget& target, const BlitSource& source, const Extent& dx, const Extent& dy,
              const Extent& sx, const Extent& sy, RowWriter& writer, int left, int right, int top, int bottom) {
    // The source is first converted to the destination's format, as every transfer is; the
    // four neighbours are then interpolated as colours and the result takes the nearest
    // pixel value (the entry of a table, exactly).
    const Surface& ss = source.surface;
    const Surface& ds = target.surface;
    PixelMap map(source, target);
    ColourEncoder encoder(target, source.background);
    const PixelOps ops = OpsFor(ds.bitsPerPixel);
    const ChannelMasks masks = ChannelMasks::Of(FormatOf(ds));
    uint32_t table[256] = {};
    if (ds.bitsPerPixel <= 8)
        for (int i = 0; i < (1 << ds.bitsPerPixel); ++i) {
            const RGBQUAD q = target.monoDevice ? RGBQUAD{static_cast<BYTE>(i ? 255 : 0), static_cast<BYTE>(i ? 255 : 0),
                                                          static_cast<BYTE>(i ? 255 : 0), 0}
                              : i < ds.colourCount ? ds.colours[i]
                                                   : RGBQUAD{0, 0, 0, 0};
            table[i] = uint32_t{q.rgbRed} << 16 | uint32_t{q.rgbGreen} << 8 | q.rgbBlue;
        }
    // A source row in the destination's format, then as colours (red, green, blue from the
    // high byte down).
    std::vector<uint8_t> converted(static_cast<size_t>((int64_t{ss.width} * ds.bitsPerPixel + 7) / 8 + 8));
    const auto decode = [&](std::vector<uint32_t>& colours, int y) {
        map(ss.bits + static_cast<ptrdiff_t>(y) * ss.stride, 0, converted.data(), 0, ss.width);
        ops.fetch(converted.data(), 0, ss.width, colours.data());
        if (ds.bitsPerPixel <= 8) {
            for (uint32_t& v : colours) v = table[v & 0xFF];
        } else {
            for (uint32_t& v : colours) {
                const COLORREF c = DecodeChannels(masks, v);
                v = uint32_t{GetRValue(c)} << 16 | uint32_t{GetGValue(c)} << 8 | GetBValue(c);
            }
        }
    };
    const bool mirrorX = dx.mirrored != sx.mirrored, mirrorY = dy.mirrored != sy.mirrored;
    const auto position = [](int i, int sourceLength, int destLength) {
        return static_cast<int64_t>((static_cast<uint64_t>(i) * static_cast<uint64_t>(sourceLength) << 16) /
                                    static_cast<uint64_t>(destLength));
    };
    const auto sourceAt = [](const Extent& e, bool mirrored, int64_t offset) {
        return mirrored ? e.low + e.length - 1 - static_cast<int>(offset) : e.low + static_cast<int>(offset);
    };
    std::vector<uint32_t> rowA(static_cast<size_t>(ss.width)), rowB(rowA.size());
    int loadedA = -1, loadedB = -1;
    const auto load = [&](std::vector<uint32_t>& colours, int& loaded, int y) {
        if (loaded == y) return;
        decode(colours, y);
        loaded = y;
    };
    std::vector<uint8_t> out(writer.bufferBytes());
    std::vector<uint32_t> values(static_cast<size_t>(right - left));
    const RowLayout layout = writer.layout();
    for (int y = top; y < bottom; ++y) {
        const int64_t py = position(y - dy.low, sy.length, dy.length);
        const int64_t y0 = std::min<int64_t>(py >> 16, sy.length - 1), y1 = std::min<int64_t>(y0 + 1, sy.length - 1);
        const uint32_t fy = static_cast<uint32_t>(py & 0xFFFF);
        const int r0 = sourceAt(sy, mirrorY, y0), r1 = sourceAt(sy, mirrorY, y1);
        if (r0 < 0 || r0 >= ss.height) continue;
        load(rowA, loadedA, r0);
        load(rowB, loadedB, r1 >= 0 && r1 < ss.height ? r1 : r0);
        int first = right, last = left;
        for (int x = left; x < right; ++x) {
            const int64_t px = position(x - dx.low, sx.length, dx.length);
            const int64_t x0 = std::min<int64_t>(px >> 16, sx.length - 1), x1 = std::min<int64_t>(x0 + 1, sx.length - 1);
            const uint32_t fx = static_cast<uint32_t>(px & 0xFFFF);
            const int c0 = sourceAt(sx, mirrorX, x0);
            int c1 = sourceAt(sx, mirrorX, x1);
            if (c0 < 0 || c0 >= ss.width) continue;
            if (c1 < 0 || c1 >= ss.width) c1 = c0;
            first = std::min(first, x);
            last = x + 1;
            const uint32_t a = rowA[static_cast<size_t>(c0)], b = rowA[static_cast<size_t>(c1)];
            const uint32_t c = rowB[static_cast<size_t>(c0)], d = rowB[static_cast<size_t>(c1)];
            uint32_t colour = 0;
            for (int shift = 0; shift < 24; shift += 8) {
                const auto channel = [shift](uint32_t v) { return static_cast<uint64_t>((v >> shift) & 0xFF); };
                const uint64_t t = (channel(a) * (65536 - fx) + channel(b) * fx + 32768) >> 16;
                const uint64_t u = (channel(c) * (65536 - fx) + channel(d) * fx + 32768) >> 16;
                const uint64_t v = (t * (65536 - fy) + u * fy + 32768) >> 16;
                colour |= static_cast<uint32_t>(std::min<uint64_t>(v, 255)) << shift;
            }
            values[static_cast<size_t>(x - left)] = encoder.exact(RGB(colour >> 16, colour >> 8 & 0xFF, colour & 0xFF));
        }
        if (first >= last) continue;
        // The columns with a source form one run; only it is drawn.
        ops.store(values.data() + (first - left), out.data(), layout.pixelOf(first), last - first);
        writer.write(y, out.data(), first, last);
    }
}

}  // namespace

BlitTarget TargetOf(const ObjectTable::Access& objects, const DeviceContext& context) {
    BlitTarget target;
    target.surface = DcSurface(objects, context);
    if (context.kind() == ObjectKind::MemoryDC) {
        const Bitmap* bitmap = objects.find<Bitmap>(context.state.bitmap);
        target.monoDevice = bitmap != nullptr && !bitmap->section && bitmap->bitsPerPixel == 1;
    }
    target.text = ResolveColour(objects, context.state, context.state.textColour);
    target.background = ResolveColour(objects, context.state, context.state.backgroundColour);
    if (target.surface.bits != nullptr) target.visible = VisibleRects(context.state, target.surface);
    return target;
}

BlitSource SourceOf(const ObjectTable::Access& objects, const DeviceContext& context) {
    const BlitTarget view = TargetOf(objects, context);
    return {view.surface, view.monoDevice, view.background};
}

uint32_t SolidPixel(const BlitTarget& target, COLORREF colour) {
    const Surface& s = target.surface;
    colour &= 0xFFFFFF;
    if (s.bitsPerPixel != 1 || s.colours == nullptr || s.colourCount < 2) return ColourPixel(s, colour);
    for (uint32_t i = 0; i < 2; ++i) {
        const RGBQUAD& entry = s.colours[i];
        if (RGB(entry.rgbRed, entry.rgbGreen, entry.rgbBlue) == colour) return i;
    }
    const uint32_t backgroundPixel = ColourPixel(s, target.background);
    return colour == (target.background & 0xFFFFFF) ? backgroundPixel : backgroundPixel ^ 1;
}

void RunBlit(const BlitTarget& target, const BlitSource* source, const BlitPattern* pattern, const BlitGeometry& g) {
    const Surface& ds = target.surface;
    if (ds.bits == nullptr || target.visible.empty()) return;
    const RopUses uses = RopInputs(g.rop);
    if (!uses.source) source = nullptr;
    if (!uses.pattern) pattern = nullptr;
    if (pattern != nullptr && pattern->none) return;
    if (source != nullptr && source->surface.bits == nullptr) return;

    const Extent dx = ExtentOf(g.dest.left, g.dest.right), dy = ExtentOf(g.dest.top, g.dest.bottom);
    if (dx.length == 0 || dy.length == 0) return;
    int left = std::max(dx.low, 0), right = static_cast<int>(std::min<int64_t>(int64_t{dx.low} + dx.length, ds.width));
    int top = std::max(dy.low, 0), bottom = static_cast<int>(std::min<int64_t>(int64_t{dy.low} + dy.length, ds.height));
    if (left >= right || top >= bottom) return;

    if (source == nullptr) {
        RowWriter writer(target, pattern, g.rop, left, right);
        for (int y = top; y < bottom; ++y) writer.write(y, nullptr);
        return;
    }

    const Surface& ss = source->surface;
    const Extent sx = ExtentOf(g.source.left, g.source.right), sy = ExtentOf(g.source.top, g.source.bottom);
    if (sx.length == 0 || sy.length == 0) return;
    const bool plain = dx.length == sx.length && dy.length == sy.length && dx.mirrored == sx.mirrored &&
                       dy.mirrored == sy.mirrored;
    PixelMap map(*source, target);

    if (plain) {
        // Destination pixel x takes source pixel x + shift; keep to the source that exists.
        const int64_t shiftX = int64_t{sx.low} - dx.low, shiftY = int64_t{sy.low} - dy.low;
        left = static_cast<int>(std::max<int64_t>(left, -shiftX));
        right = static_cast<int>(std::min<int64_t>(right, ss.width - shiftX));
        top = static_cast<int>(std::max<int64_t>(top, -shiftY));
        bottom = static_cast<int>(std::min<int64_t>(bottom, ss.height - shiftY));
        if (left >= right || top >= bottom) return;
        RowWriter writer(target, pattern, g.rop, left, right);
        const bool upwards = ss.bits == ds.bits && shiftY < 0;
        const int sourceLeft = static_cast<int>(left + shiftX);
        // A source read in place while the same row is written must not be overtaken by the writes.
        const bool inPlace = map.raw() && ds.bitsPerPixel >= 8 && (ss.bits != ds.bits || g.rop == 0xCC);
        std::vector<uint8_t> buffer(inPlace ? 0 : writer.bufferBytes());
        const RowLayout layout = writer.layout();
        ForRows(top, bottom, upwards, [&](int y) {
            const uint8_t* row = ss.bits + static_cast<ptrdiff_t>(y + shiftY) * ss.stride;
            if (inPlace) {
                const uint8_t* at = row + static_cast<ptrdiff_t>(sourceLeft) * (ds.bitsPerPixel / 8);
                if (g.rop == 0xCC) {
                    writer.copy(y, at);
                } else {
                    // RowWriter indexes from the byte of `layout.base` == left.
                    writer.write(y, at);
                }
                return;
            }
            map(row, sourceLeft, buffer.data(), layout.pixelOf(left), right - left);
            writer.write(y, buffer.data());
        });
        return;
    }

    if (std::max({dx.length, dy.length, sx.length, sy.length}) > kLongestStretch) return;
    RowWriter writer(target, pattern, g.rop, left, right);
    if (g.stretchMode == HALFTONE) {
        Halftone(target, *source, dx, dy, sx, sy, writer, left, right, top, bottom);
        return;
    }
    const bool combine = (g.stretchMode == BLACKONWHITE || g.stretchMode == WHITEONBLACK) &&
                         (dx.length < sx.length || dy.length < sy.length);
    std::vector<Group> columns, rows;
    if (combine) {
        columns = AxisGroups(dx.length, sx.length, dx.mirrored, sx.mirrored);
        rows = AxisGroups(dy.length, sy.length, dy.mirrored, sy.mirrored);
    } else {
        for (int p : AxisPicks(dx.length, sx.length, dx.mirrored, sx.mirrored, false)) columns.push_back({p, p});
        for (int p : AxisPicks(dy.length, sy.length, dy.mirrored, sy.mirrored, true)) rows.push_back({p, p});
    }
    columns = Settle(columns, dx, sx, ss.width);
    rows = Settle(rows, dy, sy, ss.height);
    // The destination columns with a source, and the source columns they read.
    int firstColumn = INT32_MAX, lastColumn = -1;
    int drawLeft = right, drawRight = left;
    for (int x = left; x < right; ++x) {
        const Group& gx = columns[static_cast<size_t>(x - dx.low)];
        if (gx.low > gx.high) continue;
        firstColumn = std::min(firstColumn, gx.low);
        lastColumn = std::max(lastColumn, gx.high);
        drawLeft = std::min(drawLeft, x);
        drawRight = std::max(drawRight, x + 1);
    }
    if (drawLeft >= drawRight) return;
    RowWriter clipped(target, pattern, g.rop, drawLeft, drawRight);
    const RowLayout layout = clipped.layout();
    const PixelOps ops = OpsFor(ds.bitsPerPixel);
    const int64_t span = int64_t{lastColumn} - firstColumn + 1;
    std::vector<uint8_t> converted(static_cast<size_t>((span * ds.bitsPerPixel + 7) / 8 + 8));
    std::vector<uint8_t> out(clipped.bufferBytes());
    const auto count = static_cast<size_t>(drawRight - drawLeft);
    std::vector<uint32_t> accumulated(count), reduced(count);
    // The groups of the drawn columns (one run: the columns with a source are contiguous) as
    // offsets into `converted`.
    std::vector<Group> drawn(count);
    for (size_t i = 0; i < count; ++i) {
        const Group& gx = columns[static_cast<size_t>(drawLeft - dx.low) + i];
        drawn[i] = {gx.low - firstColumn, gx.high - firstColumn};
    }
    const bool andBits = g.stretchMode == BLACKONWHITE;
    int64_t builtFor = INT64_MIN;
    for (int y = top; y < bottom; ++y) {
        const Group& gy = rows[static_cast<size_t>(y - dy.low)];
        const int low = gy.low, high = gy.high;
        if (low > high) continue;
        const int64_t key = int64_t{low} << 32 | static_cast<uint32_t>(high);
        if (key != builtFor) {
            for (int r = low; r <= high; ++r) {
                map(ss.bits + static_cast<ptrdiff_t>(r) * ss.stride, firstColumn, converted.data(), 0,
                    lastColumn - firstColumn + 1);
                uint32_t* target = r == low ? accumulated.data() : reduced.data();
                if (combine) ops.reduce(converted.data(), drawn.data(), static_cast<int>(count), 0, andBits, target);
                else ops.pick(converted.data(), drawn.data(), static_cast<int>(count), 0, target);
                if (r != low)
                    for (size_t i = 0; i < count; ++i)
                        accumulated[i] = andBits ? accumulated[i] & reduced[i] : accumulated[i] | reduced[i];
            }
            ops.store(accumulated.data(), out.data(), layout.pixelOf(drawLeft), static_cast<int>(count));
            builtFor = key;
        }
        clipped.write(y, out.data());
    }
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

namespace {

enum class TransferCall { PatBlt, BitBlt, StretchBlt };

// Hands a transfer to a metafile DC's recorder; the answer when the call ends there (a
// recorder that keeps no state). A Windows metafile holds a blit only with the pixels of its
// source, so BitBlt and StretchBlt fail there without a source that has pixels, whatever
// the raster operation; PatBlt records any operation.
std::optional<BOOL> Recorded(const ObjectTable::Access& objects, const DeviceContext& context, TransferCall call,
                             int x, int y, int width, int height, HDC sourceDc, int sourceX, int sourceY,
                             int sourceWidth, int sourceHeight, DWORD rop) {
    MetaRecorder* recorder = RecorderOf(context);
    if (recorder == nullptr) return std::nullopt;
    if (call == TransferCall::PatBlt) {
        recorder->PatBlt(x, y, width, height, rop);
    } else {
        const DeviceContext* from = objects.find<DeviceContext>(sourceDc);
        const Surface surface = from != nullptr ? DcSurface(objects, *from) : Surface{};
        if (surface.bits == nullptr && !recorder->keepsState()) return FALSE;
        recorder->StretchBlt(x, y, width, height, surface.bits != nullptr ? &surface : nullptr, sourceX, sourceY,
                             sourceWidth, sourceHeight, rop, call == TransferCall::StretchBlt);
    }
    if (!recorder->keepsState()) return TRUE;
    return std::nullopt;
}

// The mode of the destination DC's stretch and its brush, gathered with the source.
BOOL Transfer(TransferCall call, HDC dest, int x, int y, int width, int height, HDC sourceDc, int sourceX,
              int sourceY, int sourceWidth, int sourceHeight, DWORD rop) {
    try {
        const auto code = static_cast<uint8_t>(rop >> 16);
        const RopUses uses = RopInputs(code);
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dest);
        if (context == nullptr) return FALSE;
        if (const auto answer = Recorded(objects, *context, call, x, y, width, height, sourceDc, sourceX, sourceY,
                                         sourceWidth, sourceHeight, rop))
            return *answer;
        if (call == TransferCall::PatBlt && uses.source) return FALSE;
        const DeviceContext* sourceContext = nullptr;
        if (uses.source) {
            sourceContext = objects.find<DeviceContext>(sourceDc);
            if (sourceContext == nullptr) return FALSE;
        }
        const BlitTarget target = TargetOf(objects, *context);
        if (target.surface.bits == nullptr) return TRUE;
        BlitGeometry geometry;
        geometry.dest = ToDeviceRect(context->state, x, y, width, height);
        geometry.stretchMode = context->state.stretchMode;
        geometry.rop = code;
        BlitSource source;
        if (sourceContext != nullptr) {
            source = SourceOf(objects, *sourceContext);
            geometry.source = ToDeviceRect(sourceContext->state, sourceX, sourceY, sourceWidth, sourceHeight);
        }
        BlitPattern pattern;
        if (uses.pattern) pattern = RealizeBrush(objects, *context, target);
        RunBlit(target, sourceContext != nullptr ? &source : nullptr, uses.pattern ? &pattern : nullptr, geometry);
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

}  // namespace

extern "C" {

VXPLATFORMAPI BOOL BitBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                          DWORD rop) {
    return Transfer(TransferCall::BitBlt, dest, x, y, width, height, source, sourceX, sourceY, width, height, rop);
}

VXPLATFORMAPI BOOL StretchBlt(HDC dest, int x, int y, int width, int height, HDC source, int sourceX, int sourceY,
                              int sourceWidth, int sourceHeight, DWORD rop) {
    return Transfer(TransferCall::StretchBlt, dest, x, y, width, height, source, sourceX, sourceY, sourceWidth,
                    sourceHeight, rop);
}

VXPLATFORMAPI BOOL PatBlt(HDC dc, int x, int y, int width, int height, DWORD rop) {
    return Transfer(TransferCall::PatBlt, dc, x, y, width, height, nullptr, 0, 0, 0, 0, rop);
}

}  // extern "C"

// mono_render.cpp - MonoScratchBytes and RenderMono: the three renderings of a 1-bit image as 8-bit gray.
//
// The counted pixels (the 1-bits, or the 0-bits when the caller asks for the complement) are
// rendered in one of three ways:
//   - Expansion: a counted pixel gives 255, any other 0. Each source byte of the row becomes
//     eight output bytes written straight into the output row, so the padding bits of the last
//     byte land in the row's padding, and for widths whose eight-pixel groups pass the row's
//     stride, in the first bytes of the next row up. Rows are written bottom to top, so the
//     next row rewrites those bytes; the last row's overflow lands in the slack the result
//     block carries past its pixels for exactly this.
//   - 3 x 3 and 5 x 5 spreads: every counted pixel adds a fixed weight pattern centred on it
//     (8 31 8 / 31 99 31 / 8 31 8, and a 5 x 5 pattern whose rows are 0 3 7 3 0, 3 16 25 16 3,
//     7 25 39 25 7). Each pattern sums to 255, so no output byte can exceed 255 and byte
//     arithmetic never wraps.
//
// The spreads are defined as a pipeline over a ring of 3 (5) accumulator rows: each source row
// adds its kernel rows into the ring, the newest entry being started afresh, and the entry
// that has just received its last contribution becomes the output row. The output row of
// stored row i is therefore centred on source row i - 1 (i - 2): the picture lags one (two)
// rows towards the bottom, the rows below row 0 count as copies of row 0, and the last one or
// two source rows contribute only as neighbours. The lag is part of the output and is kept.
// Horizontally each row is read as whole nibbles: the bits between the width and the end of
// the last byte take part as stored, column -1 repeats column 3 and column -2 repeats
// column 2 (a copy of the first nibble placed to the left), and the four columns after the
// last byte repeat that byte's low nibble.
//
// Method. The spread is a sum over kernel rows, and each kernel row applied to one source row
// is a horizontal response that depends on that row alone. So each source row is read once:
// its bits, with the border columns around them, give eight output columns per source byte
// through two small tables indexed by the halves of the 10 (12) bits that reach those
// columns; the eight sums travel together as the lanes of a 64-bit word (no lane passes 255,
// so lanes never carry into each other). The responses of the last 3 (5) rows are kept in a
// ring, and an output row is the bytewise sum of 3 (5) response rows, a loop the compiler
// vectorises. This gives the same bytes as the accumulator ring without touching any
// accumulator more than once per output row.
#include "tone/mono_render.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace vx::tone {
namespace {

// One kernel row of radius R as a horizontal response table. Output byte j (columns 8j to
// 8j + 7) is reached by the 8 + 2R columns 8j - R to 8j + 7 + R; their bits, the leftmost
// as the most significant, form an index whose upper and lower halves select two words of
// eight lane sums that add up to the eight outputs.
template <int R>
struct SpreadRow {
    static constexpr int kBits = 8 + 2 * R;
    static constexpr int kHalf = kBits / 2;
    static constexpr unsigned kHalfMask = (1u << kHalf) - 1;
    std::array<uint64_t, 1u << kHalf> upper{};
    std::array<uint64_t, 1u << kHalf> lower{};

    constexpr uint64_t at(unsigned index) const { return upper[index >> kHalf] + lower[index & kHalfMask]; }
};

template <int R>
constexpr SpreadRow<R> MakeSpreadRow(const std::array<unsigned, 2 * R + 1>& weights) {
    SpreadRow<R> table{};
    constexpr int kHalf = SpreadRow<R>::kHalf;
    for (unsigned value = 0; value < (1u << kHalf); ++value) {
        for (int part = 0; part < 2; ++part) {
            uint64_t lanes = 0;
            for (int lane = 0; lane < 8; ++lane) {
                uint64_t sum = 0;
                for (int b = 0; b < kHalf; ++b) {
                    if (((value >> (kHalf - 1 - b)) & 1) == 0) continue;
                    const int dx = part * kHalf + b - R - lane;  // column 8j - R + c against 8j + lane
                    if (dx >= -R && dx <= R) sum += weights[static_cast<size_t>(dx + R)];
                }
                lanes |= sum << (8 * lane);
            }
            (part == 0 ? table.upper : table.lower)[value] = lanes;
        }
    }
    return table;
}

// Kernel rows, outside in: the 3 x 3 pattern is edge, centre, edge; the 5 x 5 pattern is
// outer, inner, centre, inner, outer.
constexpr SpreadRow<1> kSpread3Edge = MakeSpreadRow<1>({8, 31, 8});
constexpr SpreadRow<1> kSpread3Centre = MakeSpreadRow<1>({31, 99, 31});
constexpr SpreadRow<2> kSpread5Outer = MakeSpreadRow<2>({0, 3, 7, 3, 0});
constexpr SpreadRow<2> kSpread5Inner = MakeSpreadRow<2>({3, 16, 25, 16, 3});
constexpr SpreadRow<2> kSpread5Centre = MakeSpreadRow<2>({7, 25, 39, 25, 7});

static_assert(kSpread3Centre.at(0x3FF) == 0xA1A1A1A1A1A1A1A1u, "a full row of the 3 x 3 centre gives 161");
static_assert(kSpread3Edge.at(0x200) == 8, "column 8j - 1 reaches only column 8j");
static_assert(kSpread5Centre.at(0xFFF) == 0x6767676767676767u, "a full row of the 5 x 5 centre gives 103");

// Eight output bytes per source byte for the expansion.
constexpr std::array<uint64_t, 256> MakeExpansion() {
    std::array<uint64_t, 256> table{};
    for (unsigned v = 0; v < 256; ++v)
        for (int lane = 0; lane < 8; ++lane)
            if (v & (0x80u >> lane)) table[v] |= uint64_t{0xFF} << (8 * lane);
    return table;
}
constexpr std::array<uint64_t, 256> kExpansion = MakeExpansion();

// One source row with its border: byte 0 holds columns -8 to -1 (the first nibble twice),
// bytes 1 to B the row's B bytes, byte B + 1 the columns after them (the last nibble, then 0).
class BorderedRow {
public:
    explicit BorderedRow(uint64_t bytes) : bytes_(bytes), buffer_(bytes + 2) {}

    const uint8_t* load(const MonoSource& s, uint64_t row) {
        uint8_t* body = buffer_.data() + 1;
        const uint64_t at = s.pixelOffset + row * s.stride;
        const uint64_t have = at < s.blockBytes ? std::min(bytes_, s.blockBytes - at) : 0;
        if (have != 0) std::memcpy(body, s.block + at, have);
        std::memset(body + have, 0, bytes_ - have);
        if (s.complement)
            for (uint64_t i = 0; i < bytes_; ++i) body[i] = static_cast<uint8_t>(~body[i]);
        const auto first = static_cast<uint8_t>(body[0] >> 4);
        buffer_[0] = static_cast<uint8_t>(first << 4 | first);
        buffer_[bytes_ + 1] = static_cast<uint8_t>(body[bytes_ - 1] << 4);
        return buffer_.data();
    }

private:
    uint64_t bytes_;
    std::vector<uint8_t> buffer_;
};

// The 24 columns 8j - 8 to 8j + 15 of a bordered row, column 8j - 8 as bit 23.
inline unsigned Window(const uint8_t* bordered, uint64_t j) {
    return unsigned{bordered[j]} << 16 | unsigned{bordered[j + 1]} << 8 | bordered[j + 2];
}

inline void StoreLanes(uint8_t* to, uint64_t lanes) { std::memcpy(to, &lanes, sizeof lanes); }

void Expand(const MonoSource& s, const GrayTarget& t) {
    const uint64_t bytes = (s.width + 7) / 8;
    BorderedRow row(bytes);
    for (uint64_t y = 0; y < s.height; ++y) {
        const uint8_t* bits = row.load(s, y) + 1;
        const uint64_t start = t.pixelOffset + y * t.stride;
        const uint64_t room = start < t.blockBytes ? t.blockBytes - start : 0;
        uint8_t* out = t.block + start;
        const uint64_t whole = std::min(bytes, room / 8);
        for (uint64_t j = 0; j < whole; ++j) StoreLanes(out + 8 * j, kExpansion[bits[j]]);
        if (whole < bytes) {  // only past the last row: the part inside the block
            uint8_t lanes[8];
            StoreLanes(lanes, kExpansion[bits[whole]]);
            std::memcpy(out + 8 * whole, lanes, room - 8 * whole);
        }
    }
}

// Output row = the bytewise sum of the response rows given, over `width` bytes.
inline void Sum3(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint64_t width) {
    for (uint64_t x = 0; x < width; ++x) out[x] = static_cast<uint8_t>(a[x] + b[x] + c[x]);
}
inline void Sum5(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, const uint8_t* d,
                 const uint8_t* e, uint64_t width) {
    for (uint64_t x = 0; x < width; ++x) out[x] = static_cast<uint8_t>(a[x] + b[x] + c[x] + d[x] + e[x]);
}

// Ring slot of source row r for rows counted from `now` back: rows below 0 are row 0.
inline uint64_t Slot(uint64_t now, uint64_t back, uint64_t slots) {
    return (now >= back ? now - back : 0) % slots;
}

void Spread3(const MonoSource& s, const GrayTarget& t, uint8_t* scratch) {
    const uint64_t bytes = (s.width + 7) / 8, span = 8 * bytes;
    BorderedRow row(bytes);
    // Slot k: edge response of its row, then centre response.
    const auto edge = [&](uint64_t slot) { return scratch + slot * 2 * span; };
    const auto centre = [&](uint64_t slot) { return scratch + slot * 2 * span + span; };
    for (uint64_t y = 0; y < s.height; ++y) {
        const uint8_t* bits = row.load(s, y);
        uint8_t* e = edge(y % 3);
        uint8_t* c = centre(y % 3);
        for (uint64_t j = 0; j < bytes; ++j) {
            const unsigned index = (Window(bits, j) >> 7) & 0x3FF;  // columns 8j - 1 to 8j + 8
            StoreLanes(e + 8 * j, kSpread3Edge.at(index));
            StoreLanes(c + 8 * j, kSpread3Centre.at(index));
        }
        // Centred on row y - 1: rows y - 2, y - 1, y.
        Sum3(t.block + t.pixelOffset + y * t.stride, edge(Slot(y, 2, 3)), centre(Slot(y, 1, 3)), e, s.width);
    }
}

void Spread5(const MonoSource& s, const GrayTarget& t, uint8_t* scratch) {
    const uint64_t bytes = (s.width + 7) / 8, span = 8 * bytes;
    BorderedRow row(bytes);
    // Slot k: outer, inner and centre responses of its row.
    const auto response = [&](uint64_t slot, int kind) { return scratch + (slot * 3 + kind) * span; };
    for (uint64_t y = 0; y < s.height; ++y) {
        const uint8_t* bits = row.load(s, y);
        uint8_t* outer = response(y % 5, 0);
        uint8_t* inner = response(y % 5, 1);
        uint8_t* centre = response(y % 5, 2);
        for (uint64_t j = 0; j < bytes; ++j) {
            const unsigned index = (Window(bits, j) >> 6) & 0xFFF;  // columns 8j - 2 to 8j + 9
            StoreLanes(outer + 8 * j, kSpread5Outer.at(index));
            StoreLanes(inner + 8 * j, kSpread5Inner.at(index));
            StoreLanes(centre + 8 * j, kSpread5Centre.at(index));
        }
        // Centred on row y - 2: rows y - 4 to y.
        Sum5(t.block + t.pixelOffset + y * t.stride, response(Slot(y, 4, 5), 0), response(Slot(y, 3, 5), 1),
             response(Slot(y, 2, 5), 2), response(Slot(y, 1, 5), 1), outer, s.width);
    }
}

}  // namespace

uint64_t MonoScratchBytes(int mode, uint64_t width) {
    const uint64_t span = 8 * ((width + 7) / 8);
    if (mode == kMonoSpread3) return 3 * 2 * span;
    if (mode == kMonoSpread5) return 5 * 3 * span;
    return 0;
}

void RenderMono(const MonoSource& source, int mode, const GrayTarget& target, uint8_t* scratch) {
    if (source.width == 0 || source.height == 0) return;
    switch (mode) {
    case kMonoSpread3: Spread3(source, target, scratch); break;
    case kMonoSpread5: Spread5(source, target, scratch); break;
    default: Expand(source, target); break;
    }
}

}  // namespace vx::tone

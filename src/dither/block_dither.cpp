// block_dither.cpp - DitherSmooth and DitherSharp: block-redistribution dithers of a 4-, 8- or
// 24-bit DIB to 1 bit (black and white, from the luminance) or 4 bits (eight colours, each
// channel on its own), on the frame of dither_frame.hpp.
//
// A 2 x 2 window slides along each pair of rows (current and next) of 16-bit cells: window x is
// a = current[x], b = current[x+1], c = next[x], d = next[x+1]. Its sum, plus what the previous
// window carried, is handed back in whole units of 255, brightest cell first; the cell ranked
// next takes the remainder and the rest take 0. Cell a's new value is the output: 255 sets the
// bit; anything else is carried into the next window's sum, whole (DitherSmooth) or halved
// (DitherSharp). A negative sum, possible only through 16-bit wrapping, counts as 0 and is
// carried on by itself. Both carries restart at 0 on every row, so intensity is lost at row
// ends and, in DitherSharp, at every halving. The new b and d are the next window's a and c,
// and next becomes the following row's current row.
//
// The ranking is kept exactly, ties included: first is the greatest cell, the lowest index
// winning a tie; last is the smallest, the highest index winning; of the two left, the lower
// index ranks second only if it is strictly greater than the higher. Four equal cells thus rank
// a, c, b, d.
//
// Row flow, per channel: current and next both take source row 0 and are redistributed
// together once (the output row this writes is written again below), and next is copied into
// current. Then for each row y, next takes source row y + 1 (the last row keeps the next row it
// was left with), the pair is redistributed into output row y, and next is copied into
// current. Rows are filled by assignment over all P slots. The last window reaches slot
// `width`: a padding slot of the source row, or, when the width is P, the first spare slot of
// the row, which nothing assigns, so it keeps what the last windows of earlier rows left there.
//
// Cell a of a window is not written back: the copy of next over current replaces it.
#include <algorithm>
#include <array>
#include <cstring>

#include "vexora.h"

#include "dither/dither_frame.hpp"

namespace vx::dither {
namespace {

// Ranking by table. A window's comparison index has bit p set when the later cell of pair p
// (ab, ac, ad, bc, bd, cd) is strictly greater, and bit 6 + p when the earlier one is. For
// every index the table holds the rank position (0 first .. 3 last) of each cell, two bits per
// cell, as the three scans described at the top of this file give them.
constexpr int kPairFirst[6] = {0, 0, 0, 1, 1, 2}, kPairLater[6] = {1, 2, 3, 2, 3, 3};

constexpr std::array<uint8_t, 4096> kRankPositions = [] {
    std::array<uint8_t, 4096> table{};
    for (unsigned index = 0; index < 4096; ++index) {
        const auto greater = [index](int i, int j) {  // cell i strictly greater than cell j
            for (int p = 0; p < 6; ++p) {
                if (kPairFirst[p] == i && kPairLater[p] == j) return (index >> (6 + p) & 1) != 0;
                if (kPairFirst[p] == j && kPairLater[p] == i) return (index >> p & 1) != 0;
            }
            return false;
        };
        int first = 0;
        for (int i = 1; i < 4; ++i)
            if (greater(i, first)) first = i;
        int last = 3;
        for (int i = 0; i < 4; ++i)
            if (!greater(i, last)) last = i;
        int low = -1, high = -1;
        for (int i = 0; i < 4; ++i)
            if (i != first && i != last) (low < 0 ? low : high) = i;
        const int second = greater(low, high) ? low : high, third = low + high - second;
        table[index] = static_cast<uint8_t>(1 << 2 * second | 2 << 2 * third | 3 << 2 * last);
    }
    return table;
}();

inline unsigned ComparisonIndex(int32_t a, int32_t b, int32_t c, int32_t d) {
    const auto bit = [](bool set, int at) { return static_cast<unsigned>(set) << at; };
    // Grouped so that the ORs form a shallow tree rather than one long chain.
    const unsigned later = (bit(b > a, 0) | bit(c > a, 1)) | (bit(d > a, 2) | bit(c > b, 3)) |
                           (bit(d > b, 4) | bit(d > c, 5));
    const unsigned earlier = (bit(a > b, 6) | bit(a > c, 7)) | (bit(a > d, 8) | bit(b > c, 9)) |
                             (bit(b > d, 10) | bit(c > d, 11));
    return later | earlier;
}

// sum / 255 for every sum a window can reach (0 .. 32767), without a multiply.
constexpr uint32_t Units(uint32_t sum) { return (sum + 1 + (sum >> 8)) >> 8; }
constexpr bool UnitsAreExact() {
    for (uint32_t s = 0; s <= 32767; ++s)
        if (Units(s) != s / 255) return false;
    return true;
}
static_assert(UnitsAreExact());

// One channel's walk along a pair of rows: step(x) redistributes window x and gives its bit.
template <bool HalvesRemainder>
class BlockWalker {
public:
    BlockWalker(int16_t* current, int16_t* next) : current_(current), next_(next), a_(current[0]), c_(next[0]) {}
    int step(int32_t x) {
        const int32_t b = current_[x + 1], d = next_[x + 1];
        int32_t sum = static_cast<int16_t>(negative_ + remainder_ + a_ + b + c_ + d);
        negative_ = std::min(sum, 0);
        sum -= negative_;
        // The shares by rank position, a byte each: 255 below `units`, then the remainder, then 0
        // (four units or more: 255 for all, the remainder dropped).
        const auto whole = static_cast<uint32_t>(sum);
        const uint32_t units = Units(whole);
        const uint32_t rest = whole - 255 * units;
        const uint32_t shift = 8 * (units & 3);
        const uint32_t shares = units > 3 ? ~0u : ((1u << shift) - 1) | rest << shift;
        const unsigned positions = kRankPositions[ComparisonIndex(a_, b, c_, d)];
        const auto share = [&](int cell) {
            return static_cast<int32_t>(shares >> ((positions >> (2 * cell) & 3) * 8) & 255);
        };
        const int32_t newA = share(0);
        const int32_t on = (newA + 1) >> 8;  // a share is a byte: 1 for 255 only, without a branch
        remainder_ = newA & (on - 1);
        if constexpr (HalvesRemainder) remainder_ /= 2;
        next_[x] = static_cast<int16_t>(share(2));
        a_ = share(1);
        c_ = share(3);
        return on;
    }
    void finish(int32_t width) {
        current_[width] = static_cast<int16_t>(a_);
        next_[width] = static_cast<int16_t>(c_);
    }

private:
    int16_t* current_;
    int16_t* next_;
    int32_t a_, c_;  // the window's left cells: what the previous window left in b and d
    int32_t negative_ = 0, remainder_ = 0;
};

template <bool HalvesRemainder>
void BlockRows(DitherFrame& f) {
    const int32_t width = f.width(), height = f.height(), padded = f.padded();
    const int channels = f.channels();
    const auto assign = [padded](int16_t* row, const uint8_t* plane) { std::copy_n(plane, padded, row); };
    using Walker = BlockWalker<HalvesRemainder>;
    const auto walker = [&](int c) { return Walker(f.errorRow(2 * c), f.errorRow(2 * c + 1)); };
    // Redistributes every channel's pair of rows into output row y, then copies next into current.
    const auto redistribute = [&](int32_t y) {
        if (channels == 1) {
            uint8_t* out[1] = {f.outputRow(0, y)};
            BitsRow(width, out, walker(0));
        } else {
            uint8_t* out[3] = {f.outputRow(0, y), f.outputRow(1, y), f.outputRow(2, y)};
            BitsRow(width, out, walker(0), walker(1), walker(2));
        }
        for (int c = 0; c < channels; ++c)
            std::memcpy(f.errorRow(2 * c), f.errorRow(2 * c + 1), static_cast<size_t>(padded) * sizeof(int16_t));
    };
    f.loadFirstRow();
    for (int c = 0; c < channels; ++c) {
        assign(f.errorRow(2 * c), f.plane(c));
        assign(f.errorRow(2 * c + 1), f.plane(c));
    }
    redistribute(0);
    if (height > 1) f.loadRow(1);  // (a one-row image never reads its second row)
    for (int32_t y = 0; y < height; ++y) {
        if (y + 1 < height)
            for (int c = 0; c < channels; ++c) assign(f.errorRow(2 * c + 1), f.plane(c));
        redistribute(y);
        if (y + 2 < height) f.loadRow(y + 2);
    }
}

constexpr DitherRules kBlockRules{false, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, true, 2};

}  // namespace
}  // namespace vx::dither

extern "C" VXAPI HDIB VXCALL DitherSmooth(HDIB dib, int depth) {
    using namespace vx::dither;
    return vx::RunExport(kDitherChannel, [&] { return Dither(dib, depth, kBlockRules, BlockRows<false>); });
}

extern "C" VXAPI HDIB VXCALL DitherSharp(HDIB dib, int depth) {
    using namespace vx::dither;
    return vx::RunExport(kDitherChannel, [&] { return Dither(dib, depth, kBlockRules, BlockRows<true>); });
}

// error_diffusion.cpp - DitherFS4 and DitherJJN: error diffusion of a 4-, 8- or 24-bit DIB to
// 1, 4 or 8 bits, Floyd-Steinberg weights (4 neighbours, /16) and Jarvis-Judice-Ninke weights
// (12 neighbours, /48), on the frame of dither_frame.hpp.
//
// Rows are taken in memory order (the bottom row of the picture first) and every row left to
// right. Each channel value is the source value added to the 16-bit error carried into its
// slot; all sums into error slots wrap at 16 bits, and each share is (e x weight) / divisor
// truncated toward zero, computed separately.
//
// The 1-bit quantiser (1-bit output, and once per channel for 4-bit output, whose three 1-bit
// images the frame packs) sets a bit above 128 and leaves e = v - 255 or e = v; an error of 0
// writes nothing anywhere. The 8-bit quantiser gives red and green levels v / 32 clamped to
// 0..7, blue v / 64 clamped to 0..3 (FS) or 0..4 (JJN), errors measured against multiples of
// 32 and 64, and writes its shares whatever the error; a JJN blue level of 4 is ORed into the
// green field of the index.
//
// Where the shares go, kept exactly as the images callers hold were made:
//   - FS: current[x+1] += 7e/16; the next row is stored into, not added to: next[x-1] = 3e/16,
//     next[x] = 5e/16, next[x+1] = e/16, so each slot keeps the share of the last pixel that
//     wrote it. The 8-bit quantiser stores one place further left (x-2, x-1, x). The row move
//     copies channel 0's next row into every channel's current row, so green and blue carry
//     the red channel's vertical error and their own next rows are never read again; here all
//     channels read that one row and only channel 0 keeps a next row. Next rows are never
//     cleared.
//   - JJN: current[x+1] += 7e/48, current[x+2] += 5e/48; next[x-2..x+2] += 3,5,7,5,3 e/48; the
//     after-next row is stored into with 1,3,5,1,3 e/48 (its right half is not the mirror of
//     its left). The row move copies next into current and after-next into next, per channel;
//     after-next is not cleared.
//
// Speed: the rows the current row receives are carried in registers (the current row is read
// only; what a row adds into it is never read after that row), every channel of a pixel is
// done in one pass so that their dependency chains overlap, and the divisions are a shift
// with a sign bias (/16) and a multiply-shift (/48), both exact over every product of a 16-bit
// error and a weight. The 1-bit Floyd-Steinberg walkers, whose time is the serial chain from
// one pixel's carry to the next, look the bit, the carry and the shares up by the pixel's sum
// (FloydBitTable), so that the chain is one load.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "vexora.h"

#include "dither/dither_frame.hpp"

namespace vx::dither {
namespace {

inline int16_t Wrap(int32_t v) { return static_cast<int16_t>(v); }

// p, its origin hidden from the optimiser, which would otherwise fold an address p[i] back
// into one sum of p's terms and i, and put that add back on a serial chain.
template <typename T>
inline const T* Opaque(const T* p) {
#if defined(__GNUC__)
    asm("" : "+r"(p));
#endif
    return p;
}

// 1-bit quantiser: the bit and the error.
struct Threshold {
    static int Code(int32_t v, int32_t& e) {
        const int on = v > 128 ? 1 : 0;
        e = v - 255 * on;
        return on;
    }
};

// What a 1-bit Floyd-Steinberg pixel gives, as a function of its sum s = slot + pixel + carry
// alone (the sum wraps to 16 bits first): its bit, whether its error e is non-zero, and the
// shares 7e/16, 3e/16, 5e/16 and e/16.
struct FloydBit {
    int32_t carry, three, five, one;
    bool on, spreads;
    static FloydBit Of(int32_t sum) {
        int32_t e;
        const bool on = Threshold::Code(Wrap(sum), e) != 0;
        return {Div16(7 * e), Div16(3 * e), Div16(5 * e), Div16(e), on, e != 0};
    }
};

// FloydBit::Of for the sums that pictures reach, looked up. Errors stay within -96..128 (an
// error is at most 12/16 of earlier ones plus the threshold's step), so the slot plus pixel
// stays within -40..295 and the carry within -42..56; the table takes any pair in
// -256..511 and -128..127, and a walker computes the others instead. The look-up cuts the
// serial chain from pixel to pixel to an add and a load, and the arithmetic per pixel to a
// few selects.
class FloydBitTable {
public:
    static constexpr int32_t kLowest = -384, kCount = 1024;
    // The shares below the row and the flags; the carry is kept apart, so that its load is
    // the only one on the serial chain and takes the sum as its index unchanged.
    struct Entry {
        int8_t three, five, one;
        uint8_t flags;  // kOn: the bit; kSpreads: a non-zero error
    };
    static constexpr uint8_t kOn = 1, kSpreads = 0x80;

    static const FloydBitTable& Get() {
        static const FloydBitTable table;
        return table;
    }
    // Whether the table holds slot + pixel + carry.
    static bool Holds(ptrdiff_t slotAndPixel, ptrdiff_t carry) {
        return static_cast<size_t>(slotAndPixel + 256) < 768 && static_cast<size_t>(carry + 128) < 256;
    }
    // For a sum the table holds: its entry.
    // The carries of slotAndPixel + c, indexed by c: the add of the two terms goes into the
    // load's address, which leaves the load alone on the serial chain.
    const int16_t* carries(ptrdiff_t slotAndPixel) const { return carries_ + (slotAndPixel - kLowest); }
    const Entry& operator[](ptrdiff_t sum) const { return entries_[sum - kLowest]; }

private:
    FloydBitTable() {
        for (int32_t i = 0; i < kCount; ++i) {
            const FloydBit b = FloydBit::Of(kLowest + i);
            carries_[i] = static_cast<int16_t>(b.carry);
            entries_[i] = {static_cast<int8_t>(b.three), static_cast<int8_t>(b.five), static_cast<int8_t>(b.one),
                           static_cast<uint8_t>((b.on ? kOn : 0) | (b.spreads ? kSpreads : 0))};
        }
    }
    int16_t carries_[kCount];
    Entry entries_[kCount];
};

// Level v / 2^Shift (truncated; every negative v gives 0) clamped to 0..Top, and the error.
template <int Shift, int Top>
struct Levels {
    static int Code(int32_t v, int32_t& e) {
        const int level = v < 0 ? 0 : std::min(v >> Shift, Top);
        e = v - (level << Shift);
        return level;
    }
};
using RedGreenLevels = Levels<5, 7>;

// ---- Walkers ---------------------------------------------------------------------------
//
// A walker carries one channel along one row. step(x) quantises pixel x and spreads its error;
// the slots of the current row still to receive shares live in registers, and so do the slots
// of later rows that pixel x reaches: each is loaded once when it comes into reach and stored
// once when it leaves. finish(width) stores those still held.

// Floyd-Steinberg. The current row is read only (`above`, shared by every channel). With
// KeepsNext the walker holds next[x-1+Shift .. x+1+Shift] and, for e != 0 or always when
// StoresEveryError, stores 3e/16, 5e/16, e/16 there; without it the error goes right only.
template <typename Quantiser, bool KeepsNext, int Shift = 0, bool StoresEveryError = false>
class FloydWalker {
public:
    FloydWalker(const int16_t* above, const uint8_t* plane, int16_t* next)
        : above_(above), plane_(plane), next_(next + Shift) {
        if constexpr (KeepsNext) m0_ = next_[-1], m1_ = next_[0];
    }
    int step(int32_t x) {
        int32_t e;
        const int code = Quantiser::Code(Wrap(above_[x] + plane_[x] + carry_), e);
        carry_ = Div16(7 * e);
        if constexpr (KeepsNext) {
            int32_t m2 = next_[x + 1];
            if (StoresEveryError || e != 0) m0_ = Div16(3 * e), m1_ = Div16(5 * e), m2 = Div16(e);
            next_[x - 1] = Wrap(m0_);
            m0_ = m1_, m1_ = m2;
        }
        return code;
    }
    void finish(int32_t width) {
        if constexpr (KeepsNext) next_[width - 1] = Wrap(m0_), next_[width] = Wrap(m1_);
    }

private:
    const int16_t* above_;
    const uint8_t* plane_;
    int16_t* next_;
    int32_t carry_ = 0, m0_ = 0, m1_ = 0;
};

// FloydWalker for the 1-bit quantiser, through FloydBitTable.
template <bool KeepsNext>
class FloydBitWalker {
public:
    FloydBitWalker(const int16_t* above, const uint8_t* plane, int16_t* next)
        : above_(above), plane_(plane), next_(next), table_(FloydBitTable::Get()) {
        if constexpr (KeepsNext) m0_ = next_[-1], m1_ = next_[0];
    }
    int step(int32_t x) {
        // In pointer width: the look-up indexes with the sum directly.
        const ptrdiff_t slotAndPixel = above_[x] + plane_[x];
        if (!FloydBitTable::Holds(slotAndPixel, carry_)) [[unlikely]] {
            const FloydBit b = FloydBit::Of(static_cast<int32_t>(slotAndPixel + carry_));
            carry_ = b.carry;
            spread(x, b.spreads, b.three, b.five, b.one);
            return b.on ? 1 : 0;
        }
        const ptrdiff_t sum = slotAndPixel + carry_;
        carry_ = Opaque(table_.carries(slotAndPixel))[carry_];
        const FloydBitTable::Entry& en = table_[sum];
        spread(x, (en.flags & FloydBitTable::kSpreads) != 0, en.three, en.five, en.one);
        return en.flags & FloydBitTable::kOn;
    }
    void finish(int32_t width) {
        if constexpr (KeepsNext) next_[width - 1] = Wrap(m0_), next_[width] = Wrap(m1_);
    }

private:
    void spread(int32_t x, bool spreads, int32_t three, int32_t five, int32_t one) {
        if constexpr (KeepsNext) {
            const int32_t held = next_[x + 1];
            m0_ = spreads ? three : m0_;
            m1_ = spreads ? five : m1_;
            const int32_t m2 = spreads ? one : held;
            next_[x - 1] = Wrap(m0_);
            m0_ = m1_, m1_ = m2;
        }
    }

    const int16_t* above_;
    const uint8_t* plane_;
    int16_t* next_;
    const FloydBitTable& table_;
    ptrdiff_t carry_ = 0;
    int32_t m0_ = 0, m1_ = 0;
};

// Jarvis-Judice-Ninke: next[x-2 .. x+2] added to, after[x-2 .. x+2] stored into (for e != 0,
// or always when StoresEveryError).
template <typename Quantiser, bool StoresEveryError>
class JarvisWalker {
public:
    JarvisWalker(const int16_t* current, const uint8_t* plane, int16_t* next, int16_t* after)
        : current_(current), plane_(plane), next_(next), after_(after) {
        for (int k = 0; k < 4; ++k) n_[k] = next[k - 2], a_[k] = after[k - 2];
    }
    int step(int32_t x) {
        n_[4] = next_[x + 2];
        a_[4] = after_[x + 2];
        int32_t e;
        const int code = Quantiser::Code(Wrap(current_[x] + plane_[x] + carry1_), e);
        const int32_t s1 = Div48(e), s3 = Div16(e), s5 = Div48(5 * e), s7 = Div48(7 * e);  // 3e/48 = e/16
        carry1_ = carry2_ + s7;
        carry2_ = s5;
        n_[0] += s3, n_[1] += s5, n_[2] += s7, n_[3] += s5, n_[4] += s3;
        if (StoresEveryError || e != 0) a_[0] = s1, a_[1] = s3, a_[2] = s5, a_[3] = s1, a_[4] = s3;
        next_[x - 2] = Wrap(n_[0]);
        after_[x - 2] = Wrap(a_[0]);
        for (int k = 0; k < 4; ++k) n_[k] = n_[k + 1], a_[k] = a_[k + 1];
        return code;
    }
    void finish(int32_t width) {
        for (int k = 0; k < 4; ++k) next_[width - 2 + k] = Wrap(n_[k]), after_[width - 2 + k] = Wrap(a_[k]);
    }

private:
    const int16_t* current_;
    const uint8_t* plane_;
    int16_t* next_;
    int16_t* after_;
    int32_t carry1_ = 0, carry2_ = 0;
    int32_t n_[5] = {}, a_[5] = {};
};

// One row through the 8-bit quantiser, one walker per channel.
template <typename Red, typename Green, typename Blue>
void LevelsRow(int32_t width, uint8_t* out, Red red, Green green, Blue blue) {
    for (int32_t x = 0; x < width; ++x) {
        const int r = red.step(x), g = green.step(x), b = blue.step(x);
        out[x] = static_cast<uint8_t>(r << 5 | g << 2 | b);  // a blue 4 sets green's low bit
    }
    red.finish(width), green.finish(width), blue.finish(width);
}

// ---- Row loops ---------------------------------------------------------------------------

void FloydRows(DitherFrame& f) {
    const int32_t width = f.width(), height = f.height();
    const size_t rowBytes = static_cast<size_t>(f.padded()) * sizeof(int16_t);
    // Every channel's current row is a copy of channel 0's next row: one row serves them all.
    int16_t* above = f.errorRow(0);
    int16_t* next = f.errorRow(1);
    const uint8_t *red = f.plane(0), *green = f.plane(1), *blue = f.plane(2);
    using Carrier = FloydBitWalker<false>;
    using LevelCarrier = FloydWalker<RedGreenLevels, false>;
    const auto run = [&](auto row) {
        f.loadFirstRow();
        for (int32_t y = 0; y < height; ++y) {
            row(y);
            std::memcpy(above, next, rowBytes);
            if (y + 1 < height) f.loadRow(y + 1);
        }
    };
    switch (f.outputBits()) {
    case 1:
        run([&](int32_t y) {
            uint8_t* out[1] = {f.outputRow(0, y)};
            BitsRow(width, out, FloydBitWalker<true>(above, red, next));
        });
        break;
    case 4:
        run([&](int32_t y) {
            uint8_t* out[3] = {f.outputRow(0, y), f.outputRow(1, y), f.outputRow(2, y)};
            BitsRow(width, out, FloydBitWalker<true>(above, red, next), Carrier(above, green, nullptr),
                    Carrier(above, blue, nullptr));
        });
        break;
    default:
        run([&](int32_t y) {
            LevelsRow(width, f.outputRow(0, y), FloydWalker<RedGreenLevels, true, -1, true>(above, red, next),
                      LevelCarrier(above, green, nullptr), FloydWalker<Levels<6, 3>, false>(above, blue, nullptr));
        });
    }
}

// Channel c's walker over its current, next and after-next rows.
template <typename Quantiser, bool StoresEveryError>
JarvisWalker<Quantiser, StoresEveryError> Jarvis(DitherFrame& f, int c) {
    return {f.errorRow(3 * c), f.plane(c), f.errorRow(3 * c + 1), f.errorRow(3 * c + 2)};
}

void JarvisRows(DitherFrame& f) {
    const int32_t width = f.width(), height = f.height(), channels = f.channels();
    const size_t rowBytes = static_cast<size_t>(f.padded()) * sizeof(int16_t);
    const auto run = [&](auto row) {
        f.loadFirstRow();
        for (int32_t y = 0; y < height; ++y) {
            row(y);
            for (int c = 0; c < channels; ++c) {
                std::memcpy(f.errorRow(3 * c), f.errorRow(3 * c + 1), rowBytes);
                std::memcpy(f.errorRow(3 * c + 1), f.errorRow(3 * c + 2), rowBytes);
            }
            if (y + 1 < height) f.loadRow(y + 1);
        }
    };
    switch (f.outputBits()) {
    case 1:
        run([&](int32_t y) {
            uint8_t* out[1] = {f.outputRow(0, y)};
            BitsRow(width, out, Jarvis<Threshold, false>(f, 0));
        });
        break;
    case 4:
        run([&](int32_t y) {
            uint8_t* out[3] = {f.outputRow(0, y), f.outputRow(1, y), f.outputRow(2, y)};
            BitsRow(width, out, Jarvis<Threshold, false>(f, 0), Jarvis<Threshold, false>(f, 1),
                    Jarvis<Threshold, false>(f, 2));
        });
        break;
    default:
        run([&](int32_t y) {
            LevelsRow(width, f.outputRow(0, y), Jarvis<RedGreenLevels, true>(f, 0), Jarvis<RedGreenLevels, true>(f, 1),
                      Jarvis<Levels<6, 4>, true>(f, 2));
        });
    }
}

// Null handle and failed lock: the two exports have always answered them differently.
constexpr DitherRules kFloydRules{true, IMGERR_PARAMETER, IMGERR_LOCKMEMORY, false, 2};
constexpr DitherRules kJarvisRules{true, IMGERR_LOCKMEMORY, IMGERR_NOMEMORY, true, 3};

}  // namespace
}  // namespace vx::dither

extern "C" VXAPI HDIB VXCALL DitherFS4(HDIB dib, int depth) {
    using namespace vx::dither;
    return vx::RunExport(kDitherChannel, [&] { return Dither(dib, depth, kFloydRules, FloydRows); });
}

extern "C" VXAPI HDIB VXCALL DitherJJN(HDIB dib, int depth) {
    using namespace vx::dither;
    return vx::RunExport(kDitherChannel, [&] { return Dither(dib, depth, kJarvisRules, JarvisRows); });
}

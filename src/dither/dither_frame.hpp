// dither_frame.hpp - DitherFrame, DitherRules, Dither, kDitherChannel, BitsRow and the shared
// arithmetic (Div16, Div48, Luminance): the frame shared by DitherFS4, DitherJJN, DitherSmooth
// and DitherSharp.
//
// All four reduce a 4-, 8- or 24-bit DIB to a 1-, 4- or 8-bit one with a fixed palette, and all
// four run the same frame around their own row kernels:
//   - the checks, in one order, with the codes and the source lock each export has always
//     left behind (DitherRules holds what differs between the exports);
//   - the padded width P: the width rounded up to a multiple of 8 for 4-bit sources, of 4
//     otherwise. Every working row holds P slots;
//   - three channel planes (red, green, blue) of P bytes each, lying one after another, with
//     one zero byte after the blue plane. Each source row is loaded into them through its
//     colour table (4/8-bit) or from its blue-green-red bytes (24-bit, P pixels read from
//     every row, so the last slots hold row padding or bytes of the following row). For 1-bit
//     output only plane 0 is used and it holds the luminance (30 R + 59 G + 11 B) / 100;
//   - the first-row rule of three of the exports (1-bit output only): the first row is turned
//     into luminance from slot P down to slot 1, one slot too far to the right, so slot 0 of
//     the green plane takes the luminance of (green 0, blue 0, the zero byte past the planes)
//     and slot 0 of plane 0 keeps its red value;
//   - the block of error rows: 16-bit rows of P slots each followed by 20 spare slots, one
//     after another, the first starting 6 slots into the block. Kernels reach two slots either
//     side of a row, which always stay inside the block;
//   - the output planes: the whole output image for 1- and 8-bit output, three whole 1-bit
//     images (red, green, blue) for 4-bit output;
//   - the result: header, palette (2 entries black/white, 16 entries of 8 colours each twice,
//     or the 256-entry 3-3-2 cube) and the output image, the three 1-bit images packed into
//     4-bit pixels 8 R + 4 G + 2 B.
//
// Bounds: a 24-bit row read runs up to 8 bytes past the row's stride; bytes it would take from
// beyond the source block read as zero (bytes of the block's own slack are read as they are).
#pragma once

#include <cstdint>
#include <memory>

#include "vexora.h"

#include "guards.hpp"
#include "outcome.hpp"
#include "platform/platform.hpp"

namespace vx::dither {

// What differs between the exports in the frame.
struct DitherRules {
    bool acceptsEightBits;     // output depth 8 besides 1 and 4
    int nullHandleCode;        // code of a null source handle
    int lockFailureCode;       // code of a source that cannot be locked
    bool firstRowRightToLeft;  // the first-row luminance rule (1-bit output)
    int errorRowsPerChannel;   // rows of error kept per active channel
};

// Widths are counted in signed 16 bits by the row kernels.
inline constexpr int32_t kWidestImage = 32767;
// Error-row block layout: slots before the first row, after every row, after the last one.
inline constexpr int32_t kLeadingSlots = 6, kSpareSlots = 20, kTrailingSlots = 44;

// (e x weight) / 16 and / 48 truncated toward zero, for |e x weight| <= 7 x 32768: a shift with
// a sign bias, and a multiply-shift corrected by one for negative values.
constexpr int32_t Div16(int32_t p) { return (p + ((p >> 31) & 15)) >> 4; }
constexpr int32_t Div48(int32_t p) {
    return static_cast<int32_t>((int64_t{p} * 715827883) >> 35) + static_cast<int32_t>(p < 0);
}

// (30 R + 59 G + 11 B) / 100, the division as a multiply-shift (exact, checked below).
constexpr uint8_t Luminance(uint32_t red, uint32_t green, uint32_t blue) {
    return static_cast<uint8_t>((30 * red + 59 * green + 11 * blue) * 5243 >> 19);
}
constexpr bool LuminanceIsExact() {
    for (uint32_t s = 0; s <= 25500; ++s)
        if ((s * 5243 >> 19) != s / 100) return false;
    return true;
}
static_assert(LuminanceIsExact());

class DitherFrame {
public:
    DitherFrame() = default;
    DitherFrame(const DitherFrame&) = delete;
    DitherFrame& operator=(const DitherFrame&) = delete;

    // The checks, then the set-up and working memory; a refusal leaves the source unlocked or
    // locked as the export leaves it.
    Outcome<void> open(HDIB dib, int depth, const DitherRules& rules);
    // Unlocks the source and builds the result from the output planes.
    Outcome<HDIB> finish();

    int32_t width() const { return width_; }
    int32_t height() const { return height_; }
    int32_t padded() const { return padded_; }
    int outputBits() const { return outBits_; }
    int channels() const { return outBits_ == 1 ? 1 : 3; }

    // Channel plane c (P bytes; plane 0 holds the luminance for 1-bit output).
    const uint8_t* plane(int c) const { return planes_.get() + c * padded_; }
    // Source row y into the planes (converted to luminance for 1-bit output).
    void loadRow(int32_t y);
    // Row 0, with the first-row rule where the export has it.
    void loadFirstRow();

    // Row y of output plane c: the 1-bit image of channel c for 4-bit output, else the image.
    uint8_t* outputRow(int c, int32_t y) const {
        return output_.get() + static_cast<uint64_t>(c) * outputPlaneBytes_ +
               static_cast<uint64_t>(y) * outputStride_;
    }
    // Error row i (P slots; the spare slots around it belong to the block).
    int16_t* errorRow(int i) const {
        return errors_.get() + kLeadingSlots + static_cast<int64_t>(i) * (padded_ + kSpareSlots);
    }

    struct Palette {
        uint8_t red[256], green[256], blue[256], luminance[256];
    };
    using RowLoader = void (*)(const uint8_t* row, int32_t padded, const Palette& palette, uint8_t* planes);

private:
    // The check: arguments, handle, lock, depth and size, in the family's order.
    Outcome<void> checkSource(HDIB dib, int depth, const DitherRules& rules);
    // The work of opening: padded width, palette, row loaders and working memory.
    Outcome<void> prepare(int depth, const DitherRules& rules);
    const uint8_t* sourceRow(int32_t y);

    BlockLock source_;
    int32_t width_ = 0, height_ = 0, padded_ = 0;
    uint32_t sourceBits_ = 0;
    int outBits_ = 0;
    uint64_t pixelOffset_ = 0, sourceStride_ = 0, rowReadBytes_ = 0;
    Palette palette_{};
    RowLoader colours_ = nullptr, luminance_ = nullptr;
    bool firstRowRightToLeft_ = false;

    std::unique_ptr<uint8_t[]> planes_;  // 3P + 1 bytes, then a row's worth of read scratch
    std::unique_ptr<uint8_t[]> output_;
    uint64_t outputStride_ = 0, outputPlaneBytes_ = 0;
    std::unique_ptr<int16_t[]> errors_;
};

// One row through walkers side by side, each giving one output bit per pixel (walker.step(x))
// into its own output row: bits of 8 pixels most significant first, a short last group shifted
// up. Each walker's finish(width) runs at the end of the row.
template <typename... Walkers>
void BitsRow(int32_t width, uint8_t* const* out, Walkers... walkers) {
    constexpr int kChannels = sizeof...(Walkers);
    uint8_t* rows[kChannels];
    for (int k = 0; k < kChannels; ++k) rows[k] = out[k];
    // A group of n pixels, its bits assembled in registers and stored as one byte per channel.
    const auto group = [&](int32_t x0, int n) {
        unsigned bits[kChannels] = {};
        for (int i = 0; i < n; ++i) {
            int c = 0;
            ((bits[c] = bits[c] << 1 | static_cast<unsigned>(walkers.step(x0 + i)), ++c), ...);
        }
        for (int k = 0; k < kChannels; ++k) rows[k][x0 >> 3] = static_cast<uint8_t>(bits[k] << (8 - n));
    };
    const int32_t whole = width & ~7;
    for (int32_t x = 0; x < whole; x += 8) group(x, 8);
    if (width & 7) group(whole, width & 7);
    (walkers.finish(width), ...);
}

// The body of one dither export: the frame's checks, rows(frame) over the image, the result.
template <typename Rows>
Outcome<HDIB> Dither(HDIB dib, int depth, const DitherRules& rules, Rows&& rows) {
    DitherFrame frame;
    if (const Outcome<void> opened = frame.open(dib, depth, rules); !opened) return opened.refusal();
    {
        platform::WaitCursor wait;
        rows(frame);
    }
    return frame.finish();
}

// The channel of the four exports: the module code, cleared on entry.
inline constexpr ModuleCode kDitherChannel{.clearedOnEntry = true};

}  // namespace vx::dither

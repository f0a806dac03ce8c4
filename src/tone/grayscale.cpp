// grayscale.cpp - ConvColorDIBtoGrayscale and ConvMonoDIBtoGrayscale: an image turned gray,
// into a new DIB.
//
// ConvColorDIBtoGrayscale takes 1, 4, 8 and 24-bit images. Paletted images keep their pixels:
// a 4-bit image stays 4-bit with a 16-entry table, an 8-bit one gets a 256-entry table, and
// each source colour becomes the gray (g, g, g, 0) of its luminance; table entries past the
// source's own colours stay 0. A 24-bit image becomes 8-bit with the ascending gray ramp, one
// luminance byte per pixel. A 1-bit image becomes 8-bit with the ascending ramp through one of
// the mono renderings (mono_render.cpp), counting its 1-bits whatever its colour table says.
// ConvMonoDIBtoGrayscale takes plain 1-bit images only and counts the darker of the two colours
// (the smaller product blue x green x red; the 1-bits when the products are equal); it writes a
// fresh header and the descending ramp, so counted pixels show dark. It reads the pixels after a
// two-entry table whatever biClrUsed says.
//
// Luminance, both truncating: weighted (3 blue + 15 green + 8 red) / 26, plain
// (blue + green + red) / 3, without a division per pixel (luminance.hpp).
//
// Quirks kept, since results are compared byte for byte:
//   - the result block carries ((biWidth x 40 + 155) / 32) x 4 bytes of slack past its pixels
//     for 1 and 24-bit sources (the expansion of a 1-bit row writes up to 7 bytes past its
//     last pixel and the last row's overflow lands there);
//   - ConvColorDIBtoGrayscale leaves the source locked when it succeeds, ConvMonoDIBtoGrayscale
//     does not;
//   - the 5 x 5 spread falls back to the expansion below 4 rows and to the 3 x 3 spread at 4
//     and 5 rows; the rendered spreads lag the source by one or two rows.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "pixels.hpp"
#include "platform/platform.hpp"
#include "tone/checked_source.hpp"
#include "tone/luminance.hpp"
#include "tone/mono_render.hpp"

namespace vx::tone {
namespace {

// Gray entries for `count` source colours, as many as the result's table holds.
void GrayTable(const uint8_t* src, uint64_t count, uint8_t* dst, bool weighted) {
    for (uint64_t i = 0; i < count; ++i, src += 4, dst += 4) {
        const uint8_t g = Luminance(src[0], src[1], src[2], weighted);
        dst[0] = dst[1] = dst[2] = g;
        dst[3] = 0;
    }
}

// The slack of 1-bit and 24-bit results, in the library's 32-bit arithmetic.
constexpr uint64_t RenderSlack(uint64_t width) {
    return (static_cast<uint32_t>(width) * 40u + 155u) / 32u * 4u;
}

// The working memory of a spread, taken as a movable block (not zeroed); empty after recording
// IMGERR_NOMEMORY or IMGERR_LOCKMEMORY.
struct Scratch {
    OwnedBlock block;
    BlockLock lock;
};
std::optional<Scratch> AllocateScratch(CheckedSource& checked, uint64_t bytes) {
    Scratch s{OwnedBlock::Allocate(bytes, GMEM_MOVEABLE), BlockLock()};
    if (!s.block) {
        checked.require(false, IMGERR_NOMEMORY);
        return std::nullopt;
    }
    s.lock = BlockLock(s.block.get());
    if (!s.lock) {
        checked.require(false, IMGERR_LOCKMEMORY);
        return std::nullopt;
    }
    return s;
}

// Renders a 1-bit source into a result whose header and table are written. False after
// recording the code of a scratch block that cannot be had.
bool RenderInto(CheckedSource& checked, const MonoSource& source, int mode, NewDib& result, uint64_t pixelOffset,
                uint64_t stride) {
    const int effective = EffectiveMonoMode(mode, static_cast<int64_t>(source.height));
    std::optional<Scratch> scratch;
    if (const uint64_t bytes = MonoScratchBytes(effective, source.width); bytes != 0) {
        scratch = AllocateScratch(checked, bytes);
        if (!scratch) return false;
    }
    const GrayTarget target{result.data(), result.lock.size(), pixelOffset, stride};
    platform::WaitCursor wait;
    RenderMono(source, effective, target, scratch ? scratch->lock.data() : nullptr);
    return true;
}

constexpr bool ConvertsToGray(uint32_t bits) { return bits == 1 || bits == 4 || bits == 8 || bits == 24; }

Outcome<HDIB> ConvertColor(HDIB dib, int monoMode, bool weighted) {
    CheckedSource checked(dib);
    const SourceHeader& h = checked.header();
    checked.require(h.compression == 0, IMGERR_COMPRESSED)
        .require(h.width != 0, IMGERR_DIBSIZE)
        .require(h.height != 0, IMGERR_DIBSIZE)
        .require(h.bitCount != 1 || IsMonoMode(monoMode), IMGERR_PARAMETER)
        .require(ConvertsToGray(h.bitCount), IMGERR_BITCOUNT)
        .require(h.width > 0 && h.height > 0, IMGERR_DIBSIZE);

    const uint32_t bits = h.bitCount;
    const uint64_t width = h.width > 0 ? static_cast<uint64_t>(h.width) : 0;
    const uint64_t height = h.height > 0 ? static_cast<uint64_t>(h.height) : 0;
    const uint64_t colors = h.clrUsed != 0 ? h.clrUsed : ColorCountForDepth(bits);
    const uint64_t srcPixels = kInfoHeaderSize + 4 * colors;
    const std::optional<uint64_t> srcStride = Stride32(width, bits);
    checked.require(srcStride && srcPixels + *srcStride * height <= checked.size(), IMGERR_DIBSIZE);

    const uint32_t outBits = bits == 4 ? 4 : 8;
    const uint64_t outColors = bits == 4 ? 16 : 256;
    const uint64_t outPixels = kInfoHeaderSize + 4 * outColors;
    const std::optional<uint64_t> outStride = Stride32(width, outBits);
    const uint64_t sizeImage = outStride.value_or(0) * height;
    checked.require(outStride && sizeImage <= kMaxBlockBytes, IMGERR_NOMEMORY);
    if (checked.refused()) return checked.refusal();

    const uint64_t slack = bits == 1 || bits == 24 ? RenderSlack(width) : 0;
    // A 24-bit source's result is written whole: header, ramp, rows, and padding and slack as 0.
    const BlockFill fill = bits == 24 ? BlockFill::kWrittenWhole : BlockFill::kZero;
    std::optional<NewDib> result = checked.allocate(outPixels + sizeImage + slack, false, fill);
    if (!result) return checked.refusal();

    const uint8_t* src = checked.data();
    uint8_t* out = result->data();
    std::memcpy(out, src, kInfoHeaderSize);
    StoreU16(out + bih::kBitCount, static_cast<uint16_t>(outBits));
    StoreU32(out + bih::kSizeImage, static_cast<uint32_t>(sizeImage));
    StoreU32(out + bih::kClrUsed, static_cast<uint32_t>(outColors));

    bool rendered = true;
    DispatchDepth(bits, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        if constexpr (kBits == 4 || kBits == 8) {
            // Entries past the result's table would be overwritten by the pixels: only the
            // result's own entries are seen.
            GrayTable(src + kInfoHeaderSize, std::min(colors, outColors), out + kInfoHeaderSize, weighted);
            std::memcpy(out + outPixels, src + srcPixels, sizeImage);
        } else if constexpr (kBits == 24) {
            WriteGrayRamp(out + kInfoHeaderSize, false);
            platform::WaitCursor wait;
            uint8_t* rows = out + outPixels;
            GrayRows(FastestGrayRowPath(), weighted, src + srcPixels, *srcStride, rows, *outStride, width, height);
            if (*outStride > width)
                for (uint64_t y = 0; y < height; ++y) std::memset(rows + y * *outStride + width, 0, *outStride - width);
            std::memset(rows + sizeImage, 0, slack);
        } else {
            WriteGrayRamp(out + kInfoHeaderSize, false);
            const MonoSource mono{src, checked.size(), srcPixels, *srcStride, width, height, false};
            rendered = RenderInto(checked, mono, monoMode, *result, outPixels, *outStride);
        }
    });
    if (!rendered) return checked.refusal();
    return checked.succeed(*result, SourceLockOnSuccess::Kept);
}

Outcome<HDIB> ConvertMono(HDIB dib, int mode) {
    CheckedSource checked(dib);
    const SourceHeader& h = checked.header();
    checked.require(h.planes == 1 && h.bitCount == 1 && h.compression == 0, IMGERR_COMPRESSED)
        .require(h.width != 0 && h.height != 0, IMGERR_DIBSIZE)
        .require(IsMonoMode(mode), IMGERR_PARAMETER)
        .require(h.width > 0 && h.height > 0, IMGERR_DIBSIZE);

    const uint64_t width = h.width > 0 ? static_cast<uint64_t>(h.width) : 0;
    const uint64_t height = h.height > 0 ? static_cast<uint64_t>(h.height) : 0;
    const uint64_t colors = h.clrUsed != 0 ? h.clrUsed : 2;
    const uint64_t srcStride = RowStride64(width, 1);
    checked.require(kInfoHeaderSize + 4 * colors + srcStride * height <= checked.size(), IMGERR_DIBSIZE);

    const std::optional<uint64_t> outStride = Stride32(width, 8);
    const uint64_t sizeImage = outStride.value_or(0) * height;
    checked.require(outStride && sizeImage <= kMaxBlockBytes, IMGERR_NOMEMORY);
    if (checked.refused()) return checked.refusal();

    constexpr uint64_t kOutPixels = kInfoHeaderSize + 4 * 256;
    std::optional<NewDib> result = checked.allocate(kOutPixels + sizeImage + RenderSlack(width), false);
    if (!result) return checked.refusal();

    uint8_t* out = result->data();
    WriteInfoHeader(out, {.width = h.width,
                          .height = h.height,
                          .bitCount = 8,
                          .sizeImage = static_cast<uint32_t>(sizeImage),
                          .xPels = h.xPels,
                          .yPels = h.yPels});
    WriteGrayRamp(out + kInfoHeaderSize, true);

    // The pixels follow a two-entry table; the darker entry is the one counted.
    constexpr uint64_t kMonoPixels = kInfoHeaderSize + 8;
    uint8_t table[8];
    checked.readZeroExtended(kInfoHeaderSize, sizeof table, table);
    const uint32_t dark0 = uint32_t{table[0]} * table[1] * table[2];
    const uint32_t dark1 = uint32_t{table[4]} * table[5] * table[6];
    const MonoSource mono{checked.data(), checked.size(), kMonoPixels, srcStride, width, height, dark0 < dark1};
    if (!RenderInto(checked, mono, mode, *result, kOutPixels, *outStride)) return checked.refusal();
    return checked.succeed(*result, SourceLockOnSuccess::Released);
}

}  // namespace
}  // namespace vx::tone

extern "C" {

VXAPI HDIB VXCALL ConvColorDIBtoGrayscale(HDIB dib, int monoMode, BOOL weighted) {
    return vx::RunExport(vx::tone::kToneChannel,
                         [&] { return vx::tone::ConvertColor(dib, monoMode, weighted != 0); });
}

VXAPI HDIB VXCALL ConvMonoDIBtoGrayscale(HDIB dib, int mode) {
    return vx::RunExport(vx::tone::kToneChannel, [&] { return vx::tone::ConvertMono(dib, mode); });
}

}  // extern "C"

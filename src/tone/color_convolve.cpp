// color_convolve.cpp - ColorConvolution: the filters of Convolve applied to a 24-bit DIB through
// its brightness, so that hue is kept.
//
// Method. Each pixel is reduced to a gray level: (8 B + 15 G + 3 R) / 26 in gray mode 1, the
// plain average (B + G + R) / 3 in any other mode. (Blue weighs 8 and red 3 here, the reverse
// of the grayscale conversion; callers' images have always been filtered this way.) The gray
// image runs through the same kernel ring as Convolve, with the same built-in kernels, size
// rules, transposed caller kernels, divisor rules and edge repetition, except that a caller
// kernel's entries are 16-bit (n x n weights and a divisor, in memory or in a file of exactly
// n * n * 2 + 2 bytes) and that no sum is ever clamped before its division. The change the
// filter made to a pixel's gray level, delta = filtered - gray, is then added to its blue,
// green and red bytes alike, each clamped to 0 ... 255: brightness structure is smoothed or
// sharpened, colour is left alone. The ring keeps each row's unfiltered gray levels beside its
// sums, so each source row is converted once.
//
// Quirks kept. The width check looks at the low 16 bits of biWidth only, so a width of 65536
// is refused as a size. A new DIB is 40 + biSizeImage bytes (or 40 + stride * height when 0)
// with the source's 40 header bytes and the rows straight after them: a colour-table count in a
// 24-bit header is copied but given no room, and rows a short biSizeImage leaves no room for
// are dropped. A kernel file shorter than its kernel is read as far as it goes, the rest of the
// entries being 0. Every outcome goes to the caller's error word only (a CallerWord32 set to 0
// on entry); the module error code is never touched.
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "tone/color_convolve_rows.hpp"
#include "tone/kernel_filter.hpp"
#include "tone/separable_filter.hpp"

namespace vx::tone {
namespace {

Outcome<HDIB> ColorConvolveDib(HDIB dib, BOOL newDib, int grayMode, int type, int size, const char* kernelFile,
                               const int16_t* kernel) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(IMGERR_LOCKMEMORY);
    uint8_t* src = source.data();
    if (const int code = CheckFilterHeader(src, source.size(), 24); code != IMGERR_SUCCESS) return Fail(code);
    const int32_t w = LoadI32(src + bih::kWidth), h = LoadI32(src + bih::kHeight);
    if ((w & 0xFFFF) == 0 || h == 0) return Fail(IMGERR_DIBSIZE);
    // Negative sizes (top-down rows) have no defined filtering: refused like zero ones.
    if (w < 0 || h < 0) return Fail(IMGERR_DIBSIZE);
    const DibLayout layout = *InspectDib(src, source.size());
    if (!layout.holdsPixels()) return Fail(IMGERR_DIBSIZE);

    Kernel k;
    if (const int code = PrepareKernel<int16_t>(type, size, kernelFile, kernel, k); code != IMGERR_SUCCESS)
        return Fail(code);

    const auto width = static_cast<uint64_t>(w), height = layout.rows, stride = layout.stride;
    if (!RingFits(width, k.size)) return Fail(IMGERR_NOMEMORY);
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);

    // The destination: the source itself, or a new block every byte of which is written below
    // (the gaps the rows leave are zeroed first, see ResultFill).
    std::optional<NewDib> result;
    uint8_t* dst = src;
    uint64_t dstBytes = source.size(), dstPixels = layout.pixelOffset;
    if (newDib) {
        const uint64_t image = layout.sizeImage != 0 ? layout.sizeImage : stride * height;
        const BlockFill fill = ResultFill(image, stride * height);
        result = AllocateDibLike(src, kInfoHeaderSize, image, 0, /*retry=*/true, fill);
        if (!result) return Fail(IMGERR_NOMEMORY);
        dst = result->data();
        dstBytes = kInfoHeaderSize + image;
        dstPixels = kInfoHeaderSize;
        if (fill == BlockFill::kWrittenWhole) ZeroRowGaps(dst, dstPixels, dstBytes, stride, width * 3, height);
    }

    const Divider divider = MakeDivider(k.divisor);
    const ColorRowLoops loops = ColorRowLoopsFor(FastestColorRowPath(), grayMode == 1);
    const uint8_t* pixels = src + layout.pixelOffset;
    // Rows that fit the block are written where they go; a clipped one through `row`.
    const auto emit = [&](uint64_t y, const int16_t* sums, const int16_t* gray) {
        const uint64_t at = dstPixels + y * stride;
        if (at + width * 3 <= dstBytes) {
            loops.shift(divider, sums, gray, pixels + y * stride, dst + at, width);
        } else if (at < dstBytes) {
            loops.shift(divider, sums, gray, pixels + y * stride, row.data(), width);
            StoreClipped(dst + at, row.data(), width * 3, dstBytes - at);
        }
    };
    if (RunsSeparable(k)) {
        SeparableRing<int16_t> ring(k, width, height);
        ring.runToSums([&](uint64_t y, int16_t* gray) {
            loops.gray(pixels + y * stride, gray, width);
            return gray;
        }, emit);
    } else {
        KernelRing ring(k, width, height);
        ring.run([&](uint64_t y, int16_t* gray) { loops.gray(pixels + y * stride, gray, width); }, emit);
    }

    if (!result) return dib;
    return result->release();
}

}  // namespace
}  // namespace vx::tone

extern "C" VXAPI HDIB VXCALL ColorConvolution(HDIB dib, BOOL newDib, int grayMode, short type, int size,
                                              LPCSTR kernelFile, const short* kernel, DWORD* error) {
    return vx::RunExport(vx::CallerWord32{.cell = error, .onEntry = IMGERR_SUCCESS}, [&] {
        return vx::tone::ColorConvolveDib(dib, newDib, grayMode, type, static_cast<int16_t>(size), kernelFile,
                                          kernel);
    });
}

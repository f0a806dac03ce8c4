// convolve.cpp - Convolve: an 8-bit DIB filtered with a square kernel of 3 to 7 pixels, in place
// or into a new DIB, the pixel bytes read as gray levels.
//
// Method. The kernel is a caller's (n x n 32-bit weights and a divisor, from memory or from a
// file of exactly those little-endian entries) or a built-in one: mean, smoothing and two
// sharpening kernels (see kernel_filter.cpp). Caller kernels are loaded transposed, element
// i * n + j going to matrix row j, column i, and applied as a true convolution: output pixel
// (y, x) is the sum of weight[a][b] * pixel(y + n/2 - a, x + n/2 - b) over the matrix, y and x
// being stored row and column, with the outermost rows and columns repeated beyond the edges
// (for every size: the old workers' fixed sums at the two outermost columns of the larger
// kernels are not reproduced). The kernel ring shared with ColorConvolution reads each source
// row once and emits each output row as soon as its last source row is in, so that filtering
// in place never reads a row it has already written.
//
// Each sum is then divided: clamped to 0 ... 255 first when the kernel mixes signs or is a
// sharpening kernel (before the division, deliberately, so that a sum of 300 over 2 gives 127),
// shifted right for the divisors 1, 2, 4 ... 64 (negative sums round down there) and divided
// truncating toward zero otherwise. The low 8 bits are stored: without the clamp a quotient
// above 255 wraps. The result's colour table becomes a gray ramp.
//
// Quirks kept. The ramp is always 256 entries written at the colour table's place, whatever
// biClrUsed says: a table declared shorter is overrun into the pixel rows (in place, before
// they are read) and everything past the block's end is dropped. A new DIB is sized as 40 +
// the table (biClrUsed * 4, or 1024) + biSizeImage (or stride * height when 0), carries the
// source's 40 header bytes unchanged, and drops rows that a short biSizeImage leaves no room
// for. All outcomes go to the caller's error word (a CallerWord32 set to 0 on entry), never to
// the module error code.
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "tone/kernel_filter.hpp"
#include "tone/separable_filter.hpp"

namespace vx::tone {
namespace {

constexpr uint64_t kRampEntries = 256;

// The gray ramp over the colour table at `table`, clipped to the `room` bytes the block has.
void WriteGrayRamp(uint8_t* table, uint64_t room) {
    uint8_t ramp[kRampEntries * 4];
    for (uint64_t i = 0; i < kRampEntries; ++i) {
        const auto v = static_cast<uint8_t>(i);
        ramp[4 * i] = ramp[4 * i + 1] = ramp[4 * i + 2] = v;
        ramp[4 * i + 3] = 0;
    }
    StoreClipped(table, ramp, sizeof ramp, room);
}

// The row loops: source bytes into values, quotients into result bytes (low 8 bits).
VX_TONE_INLINE void WidenBody(const uint8_t* __restrict from, int16_t* __restrict values, size_t n) {
    for (size_t x = 0; x < n; ++x) values[x] = from[x];
}
VX_TONE_INLINE void BytesBody(const Divider& d, bool clamp, const int16_t* sums, uint8_t* __restrict out, size_t n) {
    ForEachQuotient(d, clamp, sums, n, [out](size_t x, int16_t q) { out[x] = static_cast<uint8_t>(q); });
}

struct RowLoops {
    void (*widen)(const uint8_t*, int16_t*, size_t);
    void (*bytes)(const Divider&, bool, const int16_t*, uint8_t*, size_t);
};

void WidenBaseline(const uint8_t* from, int16_t* values, size_t n) { WidenBody(from, values, n); }
VX_TARGET_AVX2 void WidenAvx2(const uint8_t* from, int16_t* values, size_t n) { WidenBody(from, values, n); }
void BytesBaseline(const Divider& d, bool clamp, const int16_t* sums, uint8_t* out, size_t n) {
    BytesBody(d, clamp, sums, out, n);
}
VX_TARGET_AVX2 void BytesAvx2(const Divider& d, bool clamp, const int16_t* sums, uint8_t* out, size_t n) {
    BytesBody(d, clamp, sums, out, n);
}

RowLoops SelectRowLoops() {
    if (CurrentVectorLevel() == VectorLevel::kAvx2) return {WidenAvx2, BytesAvx2};
    return {WidenBaseline, BytesBaseline};
}

Outcome<HDIB> ConvolveDib(HDIB dib, BOOL newDib, int type, int size, const char* kernelFile,
                          const int32_t* kernel) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(IMGERR_LOCKMEMORY);
    uint8_t* src = source.data();
    if (const int code = CheckFilterHeader(src, source.size(), 8); code != IMGERR_SUCCESS) return Fail(code);
    // Negative sizes (top-down rows) have no defined filtering: refused like zero ones.
    if (LoadI32(src + bih::kWidth) <= 0 || LoadI32(src + bih::kHeight) <= 0) return Fail(IMGERR_DIBSIZE);
    const DibLayout layout = *InspectDib(src, source.size());
    if (!layout.holdsPixels()) return Fail(IMGERR_DIBSIZE);

    Kernel k;
    if (const int code = PrepareKernel<int32_t>(type, size, kernelFile, kernel, k); code != IMGERR_SUCCESS)
        return Fail(code);

    const auto width = static_cast<uint64_t>(layout.width), height = layout.rows, stride = layout.stride;
    if (!RingFits(width, k.size)) return Fail(IMGERR_NOMEMORY);
    std::vector<uint8_t> row(static_cast<size_t>(width));

    // The destination: the source itself, or a new block laid out as the header says, every
    // byte of which is written below (the gaps the rows leave are zeroed first, see ResultFill).
    std::optional<NewDib> result;
    uint8_t* dst = src;
    uint64_t dstBytes = source.size(), dstPixels = layout.pixelOffset;
    if (newDib) {
        const uint64_t table = layout.colorCount * uint64_t{4};
        const uint64_t image = layout.sizeImage != 0 ? layout.sizeImage : stride * height;
        const BlockFill fill = ResultFill(image, stride * height);
        result = AllocateDibLike(src, kInfoHeaderSize, table + image, 0, false, fill);
        if (!result) return Fail(IMGERR_NOMEMORY);
        dst = result->data();
        dstBytes = kInfoHeaderSize + table + image;
        dstPixels = kInfoHeaderSize + table;
        const uint64_t rampEnd = kInfoHeaderSize + kRampEntries * 4;
        if (fill == BlockFill::kWrittenWhole) {
            if (rampEnd < dstPixels) std::memset(dst + rampEnd, 0, static_cast<size_t>(dstPixels - rampEnd));
            ZeroRowGaps(dst, dstPixels, dstBytes, stride, width, height);
        }
    }

    WriteGrayRamp(dst + kInfoHeaderSize, dstBytes - kInfoHeaderSize);
    const uint8_t* pixels = src + layout.pixelOffset;
    // Rows that fit the block are written where they go; a clipped one through `row`.
    const auto target = [&](uint64_t y) {
        const uint64_t at = dstPixels + y * stride;
        return at + width <= dstBytes ? dst + at : row.data();
    };
    const auto commit = [&](uint64_t y) {
        const uint64_t at = dstPixels + y * stride;
        if (at + width > dstBytes && at < dstBytes) StoreClipped(dst + at, row.data(), width, dstBytes - at);
    };
    if (RunsSeparable(k)) {
        SeparableRing<uint8_t> ring(k, width, height);
        ring.runToBytes([&](uint64_t y, uint8_t*) { return pixels + y * stride; }, target, commit);
    } else {
        KernelRing ring(k, width, height);
        const Divider divider = MakeDivider(k.divisor);
        const RowLoops loops = SelectRowLoops();
        ring.run([&](uint64_t y, int16_t* values) { loops.widen(pixels + y * stride, values, width); },
                 [&](uint64_t y, const int16_t* sums, const int16_t*) {
                     loops.bytes(divider, k.clamp, sums, target(y), width);
                     commit(y);
                 });
    }

    if (!result) return dib;
    return result->release();
}

}  // namespace
}  // namespace vx::tone

extern "C" VXAPI HDIB VXCALL Convolve(HDIB dib, BOOL newDib, int type, int size, LPCSTR kernelFile,
                                      const int* kernel, DWORD* error) {
    return vx::RunExport(vx::CallerWord32{.cell = error, .onEntry = IMGERR_SUCCESS},
                         [&] { return vx::tone::ConvolveDib(dib, newDib, type, size, kernelFile, kernel); });
}

// resample.cpp - VexoraResampleDIB: resizing a DIB for viewing, by exact area averaging where
// an axis shrinks and Lanczos-3 where it grows (the filter itself is resample_filter.cpp).
//
// The export checks the handle, the requested size and the header, allocates the result and
// then cannot fail: one pass of its kernel per output row. Depth decides the samples once per
// call: 24-bit pixels are three channels (blue, green, red) read in place; an 8-bit image whose
// 256 table entries are the gray ramp (entry i = i, i, i) is one channel read in place; any
// other 1-, 4- or 8-bit image is expanded row by row through its colour table, to one gray
// channel when every entry is gray and to three channels otherwise (an index past the table
// reads as black). One channel gives an 8-bit result with the 256-entry gray ramp, three give
// a 24-bit result. Top-down sources (negative height) are read in picture order; results are
// always bottom-up with a 40-byte header.
//
// Order of the passes. Either every source row used is filtered horizontally once (kept in a
// ring of as many rows as the vertical filter has taps) and the vertical pass mixes those, or
// every output row first mixes source rows vertically and is then filtered horizontally. The
// export counts the multiply-adds of both orders, horizontal taps double since the vertical
// mix runs many samples per instruction, and takes the cheaper. The result is within one level
// of exactly rounded filtering either way (resample_filter.hpp has the bound), not identical.
// Working memory is the ring: as many rows as the vertical filter has taps, of filtered
// intermediates (horizontal first) or of expanded source samples (vertical first, palette
// images only; other rows are read in place). A ring that cannot be had is IMGERR_NOMEMORY.
//
// Same size on both axes gives a copy of the source's header, colour table and pixels, depth
// and all (a core header stays one). Resolution fields are scaled with their axis, so that the
// picture keeps its physical size: round(ppm x out / in), half up; zero and negative values
// stay as they are.
#include <algorithm>
#include <cstring>
#include <vector>

#include "vexora.h"
#include "vexora_modules.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "geometry/resample_filter.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::geometry {
namespace {

using resample::AxisTaps;

// Where the samples of source row y (counted from the top) come from.
struct SourceRows {
    const uint8_t* bits;
    uint64_t stride;
    uint64_t rows;
    bool topDown;
    uint32_t width;
    const uint8_t* row(uint32_t y) const { return bits + (topDown ? y : rows - 1 - y) * stride; }
};

// Expands one row of Bits-bit indices into Channels samples per pixel through `lut`
// (Channels bytes per index).
template <unsigned Bits, int Channels>
void ExpandRow(const uint8_t* src, uint32_t width, const uint8_t* lut, uint8_t* dst) {
    for (uint32_t x = 0; x < width; ++x) {
        uint32_t index;
        if constexpr (Bits == 8) index = src[x];
        else if constexpr (Bits == 4) index = (src[x >> 1] >> ((x & 1) ? 0 : 4)) & 0x0F;
        else index = (src[x >> 3] >> (7 - (x & 7))) & 1;
        for (int c = 0; c < Channels; ++c) dst[size_t{x} * Channels + c] = lut[index * Channels + c];
    }
}

using Expander = void (*)(const uint8_t*, uint32_t, const uint8_t*, uint8_t*);

template <int Channels>
Expander ExpanderFor(uint32_t bits) {
    return bits == 1 ? ExpandRow<1, Channels> : bits == 4 ? ExpandRow<4, Channels> : ExpandRow<8, Channels>;
}

// Rows of `elements` samples of T kept by index, in slots index % size: a window of at most
// `size` consecutive indices moving only forward never evicts a row it still needs.
template <typename T>
class RowRing {
public:
    RowRing(uint32_t size, size_t elements)
        : elements_(elements), tags_(size, UINT32_MAX), data_(size * elements) {}
    template <typename Fill>
    const T* get(uint32_t index, Fill&& fill) {
        const uint32_t slot = index % static_cast<uint32_t>(tags_.size());
        T* row = data_.data() + slot * elements_;
        if (tags_[slot] != index) {
            fill(index, row);
            tags_[slot] = index;
        }
        return row;
    }

private:
    size_t elements_;
    std::vector<uint32_t> tags_;
    std::vector<T> data_;
};

struct Plan {
    SourceRows source;
    int channels;
    Expander expand;  // null when rows are read in place
    const uint8_t* lut;
    uint32_t outWidth, outHeight;
    uint8_t* outPixels;
    uint64_t outStride;
    uint8_t* outRow(uint32_t j) const { return outPixels + (outHeight - 1 - j) * outStride; }
};

// Rows of expanded samples: in place, or through the expander into a ring of `ringRows`.
class ExpandedRows {
public:
    ExpandedRows(const Plan& plan, uint32_t ringRows)
        : plan_(plan), ring_(plan.expand ? ringRows : 0, size_t{plan.source.width} * plan.channels) {}
    const uint8_t* row(uint32_t y) {
        if (!plan_.expand) return plan_.source.row(y);
        return ring_.get(y, [this](uint32_t index, uint8_t* dst) {
            plan_.expand(plan_.source.row(index), plan_.source.width, plan_.lut, dst);
        });
    }

private:
    const Plan& plan_;
    RowRing<uint8_t> ring_;
};

void HorizontalFirst(const Plan& plan, const AxisTaps& horizontal, const AxisTaps& vertical) {
    const resample::RowKernels kernels = resample::SelectRowKernels(plan.channels, horizontal);
    const size_t outSamples = size_t{plan.outWidth} * plan.channels;
    ExpandedRows expanded(plan, 1);
    RowRing<int32_t> filtered(vertical.maxTaps, outSamples);
    std::vector<const int32_t*> rows(vertical.maxTaps);
    for (uint32_t j = 0; j < plan.outHeight; ++j) {
        const uint32_t n = vertical.count(j);
        for (uint32_t k = 0; k < n; ++k)
            rows[k] = filtered.get(vertical.first[j] + k, [&](uint32_t y, int32_t* dst) {
                kernels.filterBytes(expanded.row(y), horizontal, dst);
            });
        kernels.mixIntermediates(rows.data(), vertical.of(j), n, outSamples, plan.outRow(j));
    }
}

void VerticalFirst(const Plan& plan, const AxisTaps& horizontal, const AxisTaps& vertical) {
    const resample::RowKernels kernels = resample::SelectRowKernels(plan.channels, horizontal);
    const size_t inSamples = size_t{plan.source.width} * plan.channels;
    ExpandedRows expanded(plan, vertical.maxTaps);
    std::vector<const uint8_t*> rows(vertical.maxTaps);
    std::vector<int32_t> mixed(inSamples);
    for (uint32_t j = 0; j < plan.outHeight; ++j) {
        const uint32_t n = vertical.count(j);
        for (uint32_t k = 0; k < n; ++k) rows[k] = expanded.row(vertical.first[j] + k);
        kernels.mixBytes(rows.data(), vertical.of(j), n, inSamples, mixed.data());
        kernels.filterIntermediates(mixed.data(), horizontal, plan.outRow(j));
    }
}

int32_t ScaledResolution(int32_t ppm, uint32_t out, uint32_t in) {
    if (ppm <= 0) return ppm;
    const uint64_t scaled = (2 * uint64_t(uint32_t(ppm)) * out + in) / (2 * uint64_t{in});
    return static_cast<int32_t>(std::min<uint64_t>(scaled, INT32_MAX));
}

Outcome<HDIB> Resample(HDIB dib, int outWidth, int outHeight) {
    if (dib == nullptr || outWidth < 1 || outHeight < 1) return Fail(IMGERR_PARAMETER);
    const BlockLock lock(dib);
    if (!lock) return Fail(IMGERR_LOCKMEMORY);
    const auto layout = InspectDib(lock.data(), lock.size());
    if (!layout || (layout->headerSize != kInfoHeaderSize && !layout->coreHeader)) return Fail(IMGERR_DIBSIZE);
    const DibLayout& d = *layout;
    if (d.bitCount != 1 && d.bitCount != 4 && d.bitCount != 8 && d.bitCount != 24) return Fail(IMGERR_HEADERBITCOUNT);
    if (d.compressed()) return Fail(IMGERR_COMPRESSED);
    if (d.width < 1 || d.rows < 1 || uint64_t(d.width) * d.rows > VXMOD_MAX_PIXELS || !d.holdsPixels())
        return Fail(IMGERR_DIBSIZE);
    const auto inW = static_cast<uint32_t>(d.width), inH = static_cast<uint32_t>(d.rows);
    const auto outW = static_cast<uint32_t>(outWidth), outH = static_cast<uint32_t>(outHeight);
    if (uint64_t{outW} * outH > VXMOD_MAX_PIXELS) return Fail(IMGERR_DIBSIZE);

    if (outW == inW && outH == inH) {
        auto copy = AllocateDibLike(lock.data(), d.requiredBytes(), 0);
        if (!copy) return Fail(IMGERR_NOMEMORY);
        return copy->release();
    }

    // The samples: in place, or through a table of one gray level or three bytes per index.
    const uint8_t* table = lock.data() + d.headerSize;
    const uint32_t entrySize = d.coreHeader ? 3 : 4;
    const uint32_t indices = d.bitCount == 24 ? 0 : 1u << d.bitCount;
    const uint32_t entries = std::min(d.colorCount, indices);
    bool gray = true, ramp = d.bitCount == 8 && entries == 256;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint8_t* e = table + i * entrySize;
        gray = gray && e[0] == e[1] && e[1] == e[2];
        ramp = ramp && e[0] == i && gray;
    }
    const int channels = d.bitCount == 24 || !gray ? 3 : 1;
    uint8_t lut[256 * 3] = {};
    for (uint32_t i = 0; i < entries; ++i)
        for (int c = 0; c < channels; ++c) lut[i * channels + c] = table[i * entrySize + c];
    Expander expand = nullptr;
    if (d.bitCount != 24 && !ramp) expand = channels == 3 ? ExpanderFor<3>(d.bitCount) : ExpanderFor<1>(d.bitCount);

    const uint32_t outBits = channels == 3 ? 24 : 8;
    const uint64_t outStride = RowStride64(outW, outBits);
    const uint64_t headerAndTable = kInfoHeaderSize + (channels == 3 ? 0 : 1024);
    if (headerAndTable + outStride * outH > kMaxBlockBytes) return Fail(IMGERR_DIBSIZE);

    // Horizontal taps cost twice vertical ones; the cheaper order runs.
    const uint64_t tapsH = resample::AxisTapCount(inW, outW), tapsV = resample::AxisTapCount(inH, outH);
    const bool horizontalFirst = 2 * inH * tapsH + outW * tapsV <= inW * tapsV + 2 * outH * tapsH;
    const int bitsH = horizontalFirst ? resample::kFirstPassBits : resample::kSecondPassBits;
    const int bitsV = horizontalFirst ? resample::kSecondPassBits : resample::kFirstPassBits;
    const AxisTaps horizontal = resample::BuildAxisTaps(inW, outW, bitsH, true);
    const AxisTaps vertical = resample::BuildAxisTaps(inH, outH, bitsV);

    InfoHeader header{.width = outWidth,
                      .height = outHeight,
                      .bitCount = static_cast<uint16_t>(outBits),
                      .sizeImage = static_cast<uint32_t>(outStride * outH)};
    if (!d.coreHeader) {
        header.xPels = ScaledResolution(LoadI32(lock.data() + bih::kXPels), outW, inW);
        header.yPels = ScaledResolution(LoadI32(lock.data() + bih::kYPels), outH, inH);
    }
    uint8_t frame[kInfoHeaderSize + 1024] = {};
    WriteInfoHeader(frame, header);
    for (uint32_t i = 0; i < 256 && channels == 1; ++i) std::memset(frame + kInfoHeaderSize + 4 * i, int(i), 3);
    auto result = AllocateDibLike(frame, headerAndTable, outStride * outH, 0, true);
    if (!result) return Fail(IMGERR_NOMEMORY);

    const Plan plan{.source = {lock.data() + d.pixelOffset, d.stride, d.rows, d.height < 0, inW},
                    .channels = channels,
                    .expand = expand,
                    .lut = lut,
                    .outWidth = outW,
                    .outHeight = outH,
                    .outPixels = result->data() + headerAndTable,
                    .outStride = outStride};
    if (horizontalFirst) HorizontalFirst(plan, horizontal, vertical);
    else VerticalFirst(plan, horizontal, vertical);
    return result->release();
}

}  // namespace
}  // namespace vx::geometry

extern "C" VXAPI HDIB VXCALL VexoraResampleDIB(HDIB dib, int outWidth, int outHeight) {
    return vx::RunExport(vx::ModuleCode{}, [&]() -> vx::Outcome<HDIB> {
        return vx::geometry::Resample(dib, outWidth, outHeight);
    });
}

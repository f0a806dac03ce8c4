// scale.cpp - ScaleDIB and ScaleGrayDIB: a DIB resampled to a new size, returned as a new
// block; the source is left as it was.
//
// ScaleDIB. A 1-bit image is resampled by nearest neighbour on bits (the 1-bit crop-and-scale
// member over the whole picture; the method flag is ignored). 4-, 8- and 24-bit images are
// filtered, bilinear for method 0 and cubic for any other value (scale_filter.hpp): every row
// is split into blue, green and red samples (24-bit pixels as they are, 4- and 8-bit pixels
// through their colour-table entry), each colour filtered on its own, and merged back; for 4-
// and 8-bit images each filtered colour becomes the index of the nearest palette entry, as
// GetNearestPaletteIndex answers in a palette made from the colour table (nearest_index.hpp).
// Three shortcuts give the same bytes for less work:
// - both sides whole multiples of the output's: every weight is (255, 0) or (0, 255, 0, 0), so
//   the result is every k-th pixel of every k-th row (scale_sampling.hpp), an index becoming
//   the nearest index of its own colour;
// - a colour table of grays only: the three colours of every sample are equal, so one plane of
//   levels is filtered and a level L becomes the nearest index of (L, L, L) through a 256-entry
//   table built once per call; the gray ramp needs no table (level L is index L);
// - any other table: the nearest index of each distinct colour is searched once (memoised).
// Every row is written whole, padding included, so the result block is not zero-filled first.
//
// ScaleGrayDIB crops a rectangle and magnifies it by two whole factors with the same filters.
// 4- and 8-bit images are filtered as one plane of gray levels: an index becomes the red
// component of its colour-table entry, and a filtered level becomes an index through a
// 256-entry table built from those levels, taken to ascend. 24-bit images are filtered in
// their three colours, as ScaleDIB filters them.
//
// Quirks kept because callers depend on the bytes:
// - widths and heights of the filters are 16-bit: the source's biWidth and biHeight are read as
//   their low 16 bits (the source stride follows the width so read), and the requested size is
//   masked to 16 bits (ScaleGrayDIB: width x factor and height x factor, each masked);
// - the colour look-up keeps a one-entry cache per output row that starts at colour 0 with
//   index 0: black before any other colour in a row becomes index 0, whatever the palette says;
// - two 4-bit indices are packed as (first << 4) | second, as they come; an index above 15
//   (a colour table longer than 16 entries) spills into the other nibble;
// - the 1-bit result keeps the source's biSizeImage and is one row and 16 bytes larger than
//   its pixels; its last row and column stay zero when the rounding reaches past the source.
//
// Reporting: ScaleDIB reports through the module code (IMGERR_PARAMETER, IMGERR_NOMEMORY,
// IMGERR_HEADERBITCOUNT, IMGERR_COMPRESSED; its 1-bit path fails quietly); ScaleGrayDIB is
// silent.
//
// Check, then kernel: each export validates the handle, the header and the arguments, refuses
// with its code, allocates the result, the palette and the filter's working memory, and only then
// runs the rows, which cannot fail. A colour page of the index memo is the one allocation made
// while rows run; running out there ends the call like any other allocation failure.
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "geometry/crop_scale.hpp"
#include "geometry/nearest_index.hpp"
#include "geometry/scale_filter.hpp"
#include "geometry/scale_sampling.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "pixels.hpp"

namespace vx::geometry {
namespace {

using filter::Frame;
using filter::Method;
using filter::Resampler;

// The RGBQUAD of colour-table entry i of a block, read after the 40-byte header; bytes past the
// block read as zero. Entries past the table's length are whatever the block holds there.
std::array<uint8_t, 4> TableEntry(const uint8_t* block, uint64_t blockBytes, uint64_t i) {
    std::array<uint8_t, 4> quad{};
    const uint64_t at = kInfoHeaderSize + i * 4;
    for (uint64_t k = 0; k < 4; ++k)
        if (at + k < blockBytes) quad[k] = block[at + k];
    return quad;
}

// What the filters read of a source: the low 16 bits of its width and height, its rows.
struct FilterSource {
    uint32_t width = 0;
    uint32_t height = 0;
    uint64_t stride = 0;
    const uint8_t* bits = nullptr;
    const uint8_t* row(uint64_t r) const { return bits + r * stride; }
};

// Empty when the 16-bit size is zero or the block ends before the rows so read.
std::optional<FilterSource> ReadFilterSource(const uint8_t* block, const DibLayout& layout) {
    FilterSource s;
    s.width = LoadU32(block + bih::kWidth) & 0xFFFF;
    s.height = LoadU32(block + bih::kHeight) & 0xFFFF;
    if (s.width == 0 || s.height == 0) return std::nullopt;
    s.stride = RowStride64(s.width, layout.bitCount);
    if (layout.pixelOffset + s.stride * s.height > layout.blockBytes) return std::nullopt;
    s.bits = block + layout.pixelOffset;
    return s;
}

// The result of the filters: the source's 40-byte header and colour table, then dstH rows.
std::optional<NewDib> AllocateFiltered(const uint8_t* block, const DibLayout& layout,
                                       const Frame& frame, uint64_t& stride,
                                       BlockFill fill = BlockFill::kZero) {
    stride = RowStride64(frame.dstW, layout.bitCount);
    const uint64_t pixelBytes = stride * frame.dstH;
    auto dib = AllocateDibLike(block, kInfoHeaderSize + layout.paletteBytes, pixelBytes, 0, false, fill);
    if (!dib) return std::nullopt;
    StoreU32(dib->data() + bih::kWidth, frame.dstW);
    StoreU32(dib->data() + bih::kHeight, frame.dstH);
    StoreU32(dib->data() + bih::kSizeImage, static_cast<uint32_t>(pixelBytes));
    return dib;
}

// ---- splitting rows into samples ------------------------------------------------------------

// Colour samples are blue, green, red per pixel, the byte order of a 24-bit pixel.
template <unsigned Bits>
void SplitColour(const uint8_t* row, uint32_t x0, uint32_t n, const std::array<uint8_t, 4>* table,
                 uint8_t* out) {
    if constexpr (Bits == 24) {
        std::memcpy(out, row + uint64_t{x0} * 3, uint64_t{n} * 3);
    } else {
        for (uint32_t x = 0; x < n; ++x, out += 3) {
            const auto& e = table[GetPixel<Bits>(row, uint64_t{x0} + x)];
            out[0] = e[0];
            out[1] = e[1];
            out[2] = e[2];
        }
    }
}

template <unsigned Bits>
void SplitGray(const uint8_t* row, uint32_t x0, uint32_t n, const uint8_t* levels, uint8_t* out) {
    if constexpr (Bits == 8) {
        const uint8_t* p = row + x0;
        for (uint32_t x = 0; x < n; ++x) out[x] = levels[p[x]];
    } else {
        for (uint32_t x = 0; x < n; ++x) out[x] = levels[GetPixel<4>(row, uint64_t{x0} + x)];
    }
}

// ---- merging samples into rows ----------------------------------------------------------------

// Zero from `written` to the end of the row: result blocks are not zero-filled beforehand.
void PadRow(uint8_t* out, uint64_t written, uint64_t stride) {
    std::memset(out + written, 0, stride - written);
}

// Writes n indices of a 4- or 8-bit row, indexAt(x) giving pixel x's; 4-bit pairs are packed
// as (first << 4) | second, as they come (an index above 15 spills into the other nibble).
template <unsigned Bits, typename IndexAt>
void WriteIndices(uint32_t n, IndexAt&& indexAt, uint8_t* out) {
    if constexpr (Bits == 8) {
        for (uint32_t x = 0; x < n; ++x) out[x] = static_cast<uint8_t>(indexAt(x));
    } else {
        for (uint32_t x = 0; x + 1 < n; x += 2) {
            const UINT first = indexAt(x);
            out[x / 2] = static_cast<uint8_t>(first << 4 | indexAt(x + 1));
        }
        if (n & 1) out[n / 2] = static_cast<uint8_t>(indexAt(n - 1) << 4);
    }
}

// Nearest palette indices of a row, with the one-entry cache that starts at black -> 0.
template <unsigned Bits>
void MergeIndexed(const uint8_t* samples, uint32_t n, NearestIndexMemo& nearest, uint8_t* out) {
    uint32_t lastColour = 0;
    UINT lastIndex = 0;
    WriteIndices<Bits>(n, [&](uint32_t x) {
        const uint8_t* s = samples + uint64_t{x} * 3;
        const uint32_t colour = uint32_t{s[0]} | uint32_t{s[1]} << 8 | uint32_t{s[2]} << 16;
        if (colour != lastColour) {
            lastIndex = nearest(s[2], s[1], s[0]);
            lastColour = colour;
        }
        return lastIndex;
    }, out);
}

// Filtered gray levels of a palette whose entries are all gray: level L becomes the nearest
// index of (L, L, L), except that the row's leading run of black keeps index 0 (the one-entry
// cache's black -> 0, which no other colour can reach).
struct LevelIndices {
    std::array<UINT, 256> index{};
    bool identity = false;  // index[L] = L for every level: the rows are copied
};

template <unsigned Bits>
void MergeLevels(const uint8_t* levels, uint32_t n, const LevelIndices& map, uint8_t* out) {
    if (Bits == 8 && map.identity) {
        if (out != levels) std::memcpy(out, levels, n);
        return;
    }
    uint32_t blackRun = 0;
    while (blackRun < n && levels[blackRun] == 0) ++blackRun;
    WriteIndices<Bits>(n, [&](uint32_t x) { return x < blackRun ? UINT{0} : map.index[levels[x]]; }, out);
}

template <unsigned Bits>
void MergeGray(const uint8_t* levels, uint32_t n, const uint8_t* indices, uint8_t* out) {
    WriteIndices<Bits>(n, [&](uint32_t x) { return UINT{indices[levels[x]]}; }, out);
}

// ---- ScaleDIB ---------------------------------------------------------------------------------

// The source's colour-table entries as the rows split them (all 2^Bits, read from the block).
template <unsigned Bits>
std::array<std::array<uint8_t, 4>, 256> SplitTable(const uint8_t* block, uint64_t blockBytes) {
    std::array<std::array<uint8_t, 4>, 256> table{};
    for (uint32_t i = 0; i < (1u << Bits); ++i) table[i] = TableEntry(block, blockBytes, i);
    return table;
}

// Both sides whole multiples of the output's: every k-th pixel of every k-th row. Indexed
// pixels still go through the nearest index of their own colour (an entry duplicated earlier
// in the table answers with the earlier index), black first in a row giving 0.
template <unsigned Bits>
void ScaleBySampling(const FilterSource& source, const Frame& frame, const NearestColour* nearest,
                     const std::array<std::array<uint8_t, 4>, 256>& table, uint8_t* outBits, uint64_t outStride) {
    const uint32_t stepX = frame.srcW / frame.dstW, stepY = frame.srcH / frame.dstH;
    const uint64_t written = (uint64_t{frame.dstW} * Bits + 7) / 8;
    std::array<UINT, 256> ownIndex{};
    std::array<bool, 256> black{};
    bool identity = true;  // every index maps to itself and no black entry but 0 exists
    if constexpr (Bits != 24) {
        for (uint32_t i = 0; i < (1u << Bits); ++i) {
            ownIndex[i] = (*nearest)(table[i][2], table[i][1], table[i][0]);
            black[i] = table[i][0] == 0 && table[i][1] == 0 && table[i][2] == 0;
            identity = identity && ownIndex[i] == i && (i == 0 || !black[i]);
        }
    }
    std::vector<uint8_t> sampled(Bits == 4 ? frame.dstW : 0);
    for (uint32_t j = 0; j < frame.dstH; ++j) {
        const uint8_t* in = source.row(uint64_t{j} * stepY);
        uint8_t* out = outBits + j * outStride;
        if constexpr (Bits == 24) {
            SamplePixels24(in, stepX, frame.dstW, out);
        } else if constexpr (Bits == 8) {
            SampleBytes(in, stepX, frame.dstW, out);
            if (!identity) {
                uint32_t blackRun = 0;
                while (blackRun < frame.dstW && black[out[blackRun]]) out[blackRun++] = 0;
                for (uint32_t x = blackRun; x < frame.dstW; ++x) out[x] = static_cast<uint8_t>(ownIndex[out[x]]);
            }
        } else {
            for (uint32_t x = 0; x < frame.dstW; ++x) sampled[x] = GetPixel<4>(in, uint64_t{x} * stepX);
            uint32_t blackRun = 0;
            while (blackRun < frame.dstW && black[sampled[blackRun]]) ++blackRun;
            WriteIndices<4>(frame.dstW, [&](uint32_t x) { return x < blackRun ? UINT{0} : ownIndex[sampled[x]]; }, out);
        }
        PadRow(out, written, outStride);
    }
}

template <unsigned Bits>
Outcome<HDIB> ScaleFiltered(const uint8_t* block, const DibLayout& layout, bool cubic, uint32_t dstW,
                   uint32_t dstH) {
    const auto source = ReadFilterSource(block, layout);
    if (!source || dstW == 0 || dstH == 0) return Fail(IMGERR_PARAMETER);
    const Frame frame{source->width, source->height, dstW, dstH};

    uint64_t outStride = 0;
    auto result = AllocateFiltered(block, layout, frame, outStride, BlockFill::kWrittenWhole);
    if (!result) return Fail(IMGERR_NOMEMORY);
    uint8_t* outBits = result->data() + kInfoHeaderSize + layout.paletteBytes;
    const uint64_t written = (uint64_t{frame.dstW} * Bits + 7) / 8;

    // Indexed images: the entries the indices split into, and the nearest entry of a colour
    // among the palette's (the palette is made as before: a table it refuses cannot be scaled).
    std::array<std::array<uint8_t, 4>, 256> table{};
    std::optional<NearestColour> nearest;
    bool gray = false;
    if constexpr (Bits != 24) {
        const auto count = static_cast<uint16_t>(layout.colorCount);
        if (!PaletteFromColourTable(block + kInfoHeaderSize, layout.blockBytes - kInfoHeaderSize, count))
            return Fail(IMGERR_NOMEMORY);
        nearest.emplace(block + kInfoHeaderSize, layout.blockBytes - kInfoHeaderSize, count);
        table = SplitTable<Bits>(block, layout.blockBytes);
        gray = std::all_of(table.begin(), table.begin() + (1 << Bits),
                           [](const auto& e) { return e[0] == e[1] && e[1] == e[2]; });
    }
    const NearestColour* nearestColour = nearest ? &*nearest : nullptr;

    if (frame.srcW % frame.dstW == 0 && frame.srcH % frame.dstH == 0) {
        ScaleBySampling<Bits>(*source, frame, nearestColour, table, outBits, outStride);
        return result->release();
    }
    const Method method = cubic ? Method::Cubic : Method::Bilinear;
    auto outRow = [&](uint32_t row) { return outBits + row * outStride; };

    if constexpr (Bits == 24) {
        Resampler<3> resampler(frame, method);
        resampler.Run(
            [&](uint32_t row, uint8_t* samples) { SplitColour<24>(source->row(row), 0, frame.srcW, nullptr, samples); },
            [&](uint32_t row, const uint8_t* samples) {
                uint8_t* out = outRow(row);
                if (out != samples) std::memcpy(out, samples, uint64_t{frame.dstW} * 3);
                PadRow(out, written, outStride);
            },
            outRow);
    } else if (gray) {
        // The three colours of every entry are equal, and so are the three filtered planes:
        // one plane of levels is filtered, and levels go back to indices through a table.
        std::array<uint8_t, 256> levels{};
        LevelIndices map;
        map.identity = true;
        for (uint32_t i = 0; i < 256; ++i) {
            levels[i] = table[i][2];
            map.index[i] = (*nearest)(uint8_t(i), uint8_t(i), uint8_t(i));
            map.identity = map.identity && map.index[i] == i;
        }
        bool rampLevels = Bits == 8;  // index i splits into level i: rows are copied
        for (uint32_t i = 0; i < 256; ++i) rampLevels = rampLevels && levels[i] == i;
        Resampler<1> resampler(frame, method);
        auto split = [&](uint32_t row, uint8_t* samples) {
            if (rampLevels) std::memcpy(samples, source->row(row), frame.srcW);
            else SplitGray<Bits>(source->row(row), 0, frame.srcW, levels.data(), samples);
        };
        auto merge = [&](uint32_t row, const uint8_t* samples) {
            uint8_t* out = outRow(row);
            MergeLevels<Bits>(samples, frame.dstW, map, out);
            PadRow(out, written, outStride);
        };
        if (Bits == 8 && map.identity) resampler.Run(split, merge, outRow);
        else resampler.Run(split, merge, [](uint32_t) { return static_cast<uint8_t*>(nullptr); });
    } else {
        NearestIndexMemo memo(*nearest);
        Resampler<3> resampler(frame, method);
        resampler.Run(
            [&](uint32_t row, uint8_t* samples) { SplitColour<Bits>(source->row(row), 0, frame.srcW, table.data(), samples); },
            [&](uint32_t row, const uint8_t* samples) {
                uint8_t* out = outRow(row);
                MergeIndexed<Bits>(samples, frame.dstW, memo, out);
                PadRow(out, written, outStride);
            },
            [](uint32_t) { return static_cast<uint8_t*>(nullptr); });
    }
    return result->release();
}

Outcome<HDIB> ScaleDib(HDIB dib, int method, int newWidth, int newHeight) {
    if (dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock lock(dib);
    if (!lock) return Fail(IMGERR_NOMEMORY);
    const uint8_t* block = lock.data();
    if (lock.size() < kInfoHeaderSize || LoadU32(block + bih::kSize) < kInfoHeaderSize)
        return Fail(IMGERR_PARAMETER);
    const auto layout = InspectDib(block, lock.size());
    if (!layout) return Fail(IMGERR_PARAMETER);
    const uint32_t bits = layout->bitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return Fail(IMGERR_HEADERBITCOUNT);
    if (layout->compressed()) return Fail(IMGERR_COMPRESSED);
    if (!layout->holdsPixels()) return Fail(IMGERR_PARAMETER);
    const uint32_t dstW = static_cast<uint32_t>(newWidth) & 0xFFFF;
    const uint32_t dstH = static_cast<uint32_t>(newHeight) & 0xFFFF;

    Outcome<HDIB> result = Fail();
    DispatchDepth(bits, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        if constexpr (kBits == 1) {
            // Nearest neighbour on bits; its failures leave the module code alone.
            const auto view = ViewPackedDib(block, lock.size());
            if (view)
                result = CropScale1(*view, 0, 0, static_cast<int>(layout->width),
                                    static_cast<int>(layout->height), static_cast<int>(dstW),
                                    static_cast<int>(dstH));
        } else {
            result = ScaleFiltered<kBits>(block, *layout, method != 0, dstW, dstH);
        }
    });
    return result;
}

// ---- ScaleGrayDIB -----------------------------------------------------------------------------

// Filtered level -> index: the first entry whose level is at least L (else the last entry),
// then the entry before it unless that entry's level is L, it is the last entry, or L is
// strictly nearer to it than to the entry before; ties go to the lower entry.
std::array<uint8_t, 256> IndicesOfLevels(const uint8_t* block, uint64_t blockBytes, uint32_t count) {
    std::array<uint8_t, 256> indices{};
    auto level = [&](uint64_t e) { return int{TableEntry(block, blockBytes, e)[2]}; };
    uint64_t first = 0;  // first entry with level >= L; never moves back as L grows
    for (int L = 0; L < 256; ++L) {
        while (first < count && level(first) < L) ++first;
        uint64_t e = first < count ? first : count - 1;
        if (first < count && e > 0 && e != count - 1 && level(e) != L &&
            !(level(e) - L < L - level(e - 1)))
            --e;
        indices[static_cast<size_t>(L)] = static_cast<uint8_t>(e);
    }
    return indices;
}

template <unsigned Bits>
Outcome<HDIB> ScaleGray(const uint8_t* block, const DibLayout& layout, int x, int y, int width, int height,
               int xFactor, int yFactor, bool cubic) {
    const auto source = ReadFilterSource(block, layout);
    if (!source) return Fail();
    if (x < 0 || y < 0 || width < 1 || height < 1 || xFactor < 1 || yFactor < 1) return Fail();
    if (int64_t{x} + width > source->width || int64_t{y} + height > source->height) return Fail();
    const auto dstW = static_cast<uint32_t>(int64_t{width} * xFactor & 0xFFFF);
    const auto dstH = static_cast<uint32_t>(int64_t{height} * yFactor & 0xFFFF);
    if (dstW == 0 || dstH == 0) return Fail();
    const Frame frame{static_cast<uint32_t>(width), static_cast<uint32_t>(height), dstW, dstH};

    uint64_t outStride = 0;
    auto result = AllocateFiltered(block, layout, frame, outStride);
    if (!result) return Fail();

    std::array<uint8_t, 256> levels{};
    std::array<uint8_t, 256> indices{};
    if constexpr (Bits != 24) {
        const uint32_t entries = std::min<uint32_t>(layout.colorCount, 256);
        for (uint32_t i = 0; i < entries; ++i) levels[i] = TableEntry(block, layout.blockBytes, i)[2];
        indices = IndicesOfLevels(block, layout.blockBytes, layout.colorCount);
    }
    // The rectangle's rows in storage order: its bottom row is stored first.
    const uint64_t firstRow = uint64_t{source->height} - uint64_t(y) - uint64_t(height);
    const auto x0 = static_cast<uint32_t>(x);
    uint8_t* outBits = result->data() + kInfoHeaderSize + layout.paletteBytes;
    const Method method = cubic ? Method::Cubic : Method::Bilinear;

    if constexpr (Bits == 24) {
        Resampler<3> resampler(frame, method);
        resampler.Run(
            [&](uint32_t row, uint8_t* samples) {
                SplitColour<24>(source->row(firstRow + row), x0, frame.srcW, nullptr, samples);
            },
            [&](uint32_t row, const uint8_t* samples) {
                std::memcpy(outBits + row * outStride, samples, uint64_t{frame.dstW} * 3);
            });
    } else {
        Resampler<1> resampler(frame, method);
        resampler.Run(
            [&](uint32_t row, uint8_t* samples) {
                SplitGray<Bits>(source->row(firstRow + row), x0, frame.srcW, levels.data(), samples);
            },
            [&](uint32_t row, const uint8_t* samples) {
                MergeGray<Bits>(samples, frame.dstW, indices.data(), outBits + row * outStride);
            });
    }
    return result->release();
}

Outcome<HDIB> ScaleGrayDib(HDIB dib, int x, int y, int width, int height, int xFactor, int yFactor,
                           int method) {
    if (dib == nullptr || (method != 0 && method != 1)) return Fail();
    BlockLock lock(dib);
    if (!lock || lock.size() < kInfoHeaderSize) return Fail();
    const uint8_t* block = lock.data();
    if (LoadU32(block + bih::kSize) < kInfoHeaderSize) return Fail();
    const auto layout = InspectDib(block, lock.size());
    if (!layout || layout->compressed() || !layout->holdsPixels()) return Fail();
    Outcome<HDIB> result = Fail();
    DispatchDepth(layout->bitCount, [&](auto depth) {
        constexpr unsigned kBits = decltype(depth)::value;
        if constexpr (kBits != 1)
            result = ScaleGray<kBits>(block, *layout, x, y, width, height, xFactor, yFactor,
                                      method == 1);
    });
    return result;
}

}  // namespace
}  // namespace vx::geometry

using namespace vx;

extern "C" {

VXAPI HDIB VXCALL ScaleDIB(HDIB dib, int method, int newWidth, int newHeight) {
    return RunExport(ModuleCode{}, [&] { return geometry::ScaleDib(dib, method, newWidth, newHeight); });
}

VXAPI HDIB VXCALL ScaleGrayDIB(HDIB dib, int x, int y, int width, int height, int xFactor,
                               int yFactor, int method) {
    return RunExport(Silent{},
                     [&] { return geometry::ScaleGrayDib(dib, x, y, width, height, xFactor, yFactor, method); });
}

}  // extern "C"

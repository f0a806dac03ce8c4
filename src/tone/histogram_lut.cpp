// histogram_lut.cpp - ComputeHistogram, ComputeLUT and ApplyLUT: a histogram that follows a
// 256 x 256 window over an 8-bit image, a tone table pivoted on its mean level, and the
// mapping of an 8-bit image through that table into a gray image.
//
// The histogram. A histogram block holds 256 unsigned 16-bit counters, one per pixel byte
// (colour-table index, not gray level). Counters wrap: a full window of one value reads 0 in
// its bin, and hosts have always read the block that way. The window is 256 x 256 pixels,
// placed with its origin clamped so that it lies inside the image (or at 0 where the image is
// smaller). Its last origin is module state, one for the whole library: asking again for the
// same origin returns the block untouched without reading the image (even another image), a
// move of at most 128 pixels in each direction updates the counts by the strips that leave and
// enter the window, and anything else counts the window afresh. Because counters wrap modulo
// 65536 and additions commute, the update and the fresh count agree exactly; the update
// reproduces the documented strip bounds anyway, because when the stored origin belongs to
// another image those bounds decide which bytes are read. Such strips may fall outside the
// image: their bytes are read where the row arithmetic puts them when that is inside the
// block, and as 0 outside it. Strips inside the image are counted a row at a time into four
// interleaved tallies, so that runs of one value do not wait on each other's stores.
//
// Module state: window origin, histogram size (512 after TABLE_CREATE; a fresh count clears
// half that many counters, so before the first TABLE_CREATE it clears none and adds to what
// the block holds) and LUT length (256 after TABLE_CREATE of ComputeLUT; 0 before, when a
// TABLE_COMPUTE writes nothing). All start at 0.
//
// The tone table. Entry i is trunc((i * (c + 255) - c * m) * (1/255) + b), clamped to 0..255,
// for contrast c, brightness b and mean m. The arithmetic is the library's own and is kept
// operation for operation: c * m and c + 255 are 32-bit integer operations (wrapping), the
// numerator is a double that starts at -(c * m) and grows by c + 255 per entry, it is
// multiplied by the double constant 0.00392156862745098 (not divided by 255), b is added in
// double, and the conversion truncates as the x86 instruction does (out of the 32-bit range:
// INT32_MIN, which clamps to 0). Every step is exact or a single IEEE rounding, so Linux and
// Windows builds agree; 32-bit x86 builds are held to SSE2 doubles for that. The mean is
// sum(i * count) / sum(count) in unsigned 32-bit arithmetic, low byte kept; a histogram whose
// counters total 0 (a fresh one, or a full window of one value) pivots on 128, as no histogram
// does.
//
// Applying a table. A 256-entry map folds the source colour table into the tone table
// (gray = (blue + green + red + 1) / 3, map[k] = LUT[gray]), so each pixel costs one byte
// lookup (byte_map.hpp: 32 bytes a step in AVX2). All 256 colour-table entries are read and a
// 256-entry gray ramp is written whatever biClrUsed says; with fewer entries the ramp runs over
// the first pixel bytes, which in place are then mapped as pixels, and in a new DIB are covered
// by the mapped pixels. Bytes of the table beyond the block read as 0 and ramp bytes beyond it
// are dropped. Row padding is never written in place and is 0 in a new DIB (written as 0 where
// the new block is not zero-filled: with a full table every byte of it is written). A new DIB
// is sized as the library always sized it, in 32-bit arithmetic from biClrUsed and biSizeImage
// (or stride x biHeight); pixels that fall beyond a block sized smaller are dropped.
//
// Errors go to the caller's error word only (a CallerWord32), never to the module code: 0 on
// entry, the code of the first failed check on failure. Checks follow the documented order; the additions that
// keep bad input from faulting (short blocks, a null origin, rows too wide for 32-bit
// arithmetic) sit where the data they guard is first needed.
#include "tone/histogram_lut.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "tone/byte_map.hpp"

// The table arithmetic is IEEE double, operation by operation. 32-bit x86 builds would
// otherwise evaluate it on the x87 stack in extended precision and round differently.
#if defined(__GNUC__) && defined(__i386__) && !defined(__SSE2_MATH__)
#pragma GCC target("sse2", "fpmath=sse")
#endif

namespace vx::tone {
namespace {

constexpr int64_t kWindow = 256;        // the histogram window's side
constexpr int64_t kMaxUpdateStep = 128;  // longest move updated by strips
constexpr uint32_t kHistogramBytes = 512;
constexpr uint32_t kLutBytes = 256;
constexpr uint32_t kMapBytes = 512;      // the working block that holds the level map
constexpr uint64_t kRampOffset = kInfoHeaderSize;
constexpr uint64_t kRampBytes = 256 * 4;
constexpr double kOneOver255 = 0.00392156862745098;

struct TableState {
    int32_t originX = 0;
    int32_t originY = 0;
    uint32_t histogramBytes = 0;
    uint32_t lutLength = 0;
};
TableState g_state;

using Counts = std::array<uint16_t, 256>;

// An 8-bit DIB that passed the checks: every row the header describes lies inside the block.
struct EightBitImage {
    uint8_t* block = nullptr;
    uint64_t blockBytes = 0;
    uint64_t pixelOffset = 0;  // 40 + colour table
    uint64_t stride = 0;
    int64_t width = 0;
    int64_t height = 0;  // signed, as stored; rows are mapped only when positive

    uint64_t rows() const { return height > 0 ? static_cast<uint64_t>(height) : 0; }
    uint64_t columns() const { return width > 0 ? static_cast<uint64_t>(width) : 0; }
    uint8_t* storedRow(uint64_t r) const { return block + pixelOffset + r * stride; }
};

// The header checks the histogram and ApplyLUT share, in their order. 0 when the image may be
// used; then `image` describes it.
DWORD CheckEightBit(const BlockLock& lock, EightBitImage& image) {
    const uint8_t* p = lock.data();
    if (lock.size() < kInfoHeaderSize || LoadU32(p + bih::kSize) != kInfoHeaderSize) return IMGERR_PARAMETER;
    if (LoadU32(p + bih::kCompression) != 0) return IMGERR_COMPRESSED;
    if (LoadU16(p + bih::kBitCount) != 8) return IMGERR_BITCOUNT;
    image.width = LoadI32(p + bih::kWidth);
    image.height = LoadI32(p + bih::kHeight);
    if (image.width == 0 || image.height == 0) return IMGERR_DIBSIZE;
    // Rows whose size the library's 32-bit stride arithmetic cannot hold, and blocks too short
    // for their colour table and rows, are refused as sizes.
    if (image.width * 8 + 31 > int64_t{UINT32_MAX}) return IMGERR_DIBSIZE;
    const uint32_t used = LoadU32(p + bih::kClrUsed);
    image.block = lock.data();
    image.blockBytes = lock.size();
    image.pixelOffset = kInfoHeaderSize + (used != 0 ? uint64_t{used} * 4 : 1024);
    image.stride = RowStride64(image.columns(), 8);
    if (image.pixelOffset + image.stride * image.rows() > image.blockBytes) return IMGERR_DIBSIZE;
    return IMGERR_SUCCESS;
}

// ---------------------------------------------------------------------------------------------
// Histogram

// Window rows and columns as the histogram sees them: column x from the left, row y from the
// top, so row y is stored row height - 1 - y.
class WindowReader {
public:
    explicit WindowReader(const EightBitImage& image) : image_(image) {}

    // Adds sign (+1 or -1) to counts[v], modulo 65536, for each byte v of the rows [y0, y1) and
    // columns [x0, x1). Empty ranges do nothing.
    void tally(int64_t y0, int64_t y1, int64_t x0, int64_t x1, int sign, Counts& counts) const {
        if (y1 <= y0 || x1 <= x0) return;
        std::array<std::array<uint32_t, 256>, 4> t{};
        if (y0 >= 0 && y1 <= image_.height && x0 >= 0 && x1 <= image_.width) {
            const auto n = static_cast<uint64_t>(x1 - x0);
            for (int64_t y = y0; y < y1; ++y) {
                const uint8_t* p = image_.storedRow(static_cast<uint64_t>(image_.height - 1 - y)) + x0;
                uint64_t i = 0;
                for (; i + 4 <= n; i += 4) {
                    ++t[0][p[i]];
                    ++t[1][p[i + 1]];
                    ++t[2][p[i + 2]];
                    ++t[3][p[i + 3]];
                }
                for (; i < n; ++i) ++t[0][p[i]];
            }
        } else {
            for (int64_t y = y0; y < y1; ++y)
                for (int64_t x = x0; x < x1; ++x) ++t[0][byteAt(x, y)];
        }
        for (size_t v = 0; v < 256; ++v) {
            const uint32_t n = t[0][v] + t[1][v] + t[2][v] + t[3][v];
            counts[v] = static_cast<uint16_t>(sign > 0 ? counts[v] + n : counts[v] - n);
        }
    }

private:
    // The byte the row arithmetic reaches for column x of row y, which may lie outside the
    // image when the stored origin came from another image: 0 when it is outside the block.
    uint8_t byteAt(int64_t x, int64_t y) const {
        const int64_t stored = image_.height - 1 - y;  // |stored| < 2^33
        const auto stride = static_cast<int64_t>(image_.stride);  // < 2^30
        const int64_t limit = static_cast<int64_t>(std::min<uint64_t>(image_.blockBytes, uint64_t{1} << 60));
        if (stride != 0 && (stored > limit / stride || stored < -(limit / stride))) return 0;
        const int64_t at = static_cast<int64_t>(image_.pixelOffset) + stored * stride + x;
        return at >= 0 && at < limit ? image_.block[at] : 0;
    }

    const EightBitImage& image_;
};

// The window origin for a requested one: clamped so that the window lies inside the image,
// 0 where the image is narrower (or lower) than the window.
int64_t PlaceWindow(int64_t requested, int64_t extent) {
    if (extent < kWindow || requested < 0) return 0;
    if (requested + kWindow > extent) return extent - kWindow;
    return requested;
}

void CountAfresh(const WindowReader& reader, const EightBitImage& image, int64_t x0, int64_t y0, Counts& counts) {
    const size_t cleared = std::min<size_t>(g_state.histogramBytes / 2, counts.size());
    std::fill_n(counts.begin(), cleared, uint16_t{0});
    reader.tally(y0, y0 + std::min(image.height, kWindow), x0, x0 + std::min(image.width, kWindow), +1, counts);
    g_state.originX = static_cast<int32_t>(x0);
    g_state.originY = static_cast<int32_t>(y0);
}

// The strips that leave and enter the window when it moves from the stored origin to (x0, y0):
// first sideways on the rows of the old window, then up or down on the columns of the new one.
void UpdateByStrips(const WindowReader& reader, const EightBitImage& image, int64_t x0, int64_t y0, Counts& counts) {
    const int64_t w = image.width, h = image.height;
    const int64_t oldX = g_state.originX, oldY = g_state.originY;
    const int64_t dx = oldX - x0, dy = oldY - y0;

    const int64_t rowEnd = oldY + std::min(h - y0, kWindow);
    if (dx > 0) {  // moved left
        reader.tally(oldY, rowEnd, x0, x0 + dx, +1, counts);
        reader.tally(oldY, rowEnd, x0 + kWindow, std::min(x0 + dx + kWindow, w), -1, counts);
    } else if (dx < 0) {  // moved right
        reader.tally(oldY, rowEnd, oldX, x0, -1, counts);
        reader.tally(oldY, rowEnd, oldX + kWindow, std::min(x0 + kWindow, w), +1, counts);
    }
    g_state.originX = static_cast<int32_t>(x0);

    const int64_t colEnd = x0 + std::min(w - x0, kWindow);
    if (dy > 0) {  // moved up
        reader.tally(y0, y0 + dy, x0, colEnd, +1, counts);
        reader.tally(y0 + kWindow, y0 + kWindow + std::min(dy, h - (y0 + kWindow)), x0, colEnd, -1, counts);
    } else if (dy < 0) {  // moved down
        reader.tally(oldY, y0, x0, colEnd, -1, counts);
        reader.tally(oldY + kWindow, oldY + kWindow + std::min(-dy, h - (oldY + kWindow)), x0, colEnd, +1, counts);
    }
    g_state.originY = static_cast<int32_t>(y0);
}

Outcome<HGLOBAL> CreateHistogram() {
    OwnedBlock block = OwnedBlock::Allocate(kHistogramBytes);
    if (!block) return Fail(IMGERR_NOMEMORY);
    if (!BlockLock(block.get())) return Fail(IMGERR_LOCKMEMORY);  // freed by the guard
    g_state.histogramBytes = kHistogramBytes;
    g_state.originX = -kWindow;
    g_state.originY = -kWindow;
    return block.release();
}

Outcome<HGLOBAL> UpdateHistogram(HDIB dib, HGLOBAL hist, const int* origin) {
    if (hist == nullptr || dib == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(IMGERR_LOCKMEMORY);
    EightBitImage image;
    if (const DWORD code = CheckEightBit(source, image)) return Fail(static_cast<int>(code));
    if (origin == nullptr) return Fail(IMGERR_PARAMETER);

    const int64_t x0 = PlaceWindow(origin[0], image.width);
    const int64_t y0 = PlaceWindow(origin[1], image.height);
    if (x0 == g_state.originX && y0 == g_state.originY) return hist;

    BlockLock table(hist);
    if (!table) return Fail(IMGERR_LOCKMEMORY);
    if (table.size() < kHistogramBytes) return Fail(IMGERR_PARAMETER);
    Counts counts;
    std::memcpy(counts.data(), table.data(), kHistogramBytes);
    const WindowReader reader(image);
    const int64_t dx = g_state.originX - x0, dy = g_state.originY - y0;
    if (dx < -kMaxUpdateStep || dx > kMaxUpdateStep || dy < -kMaxUpdateStep || dy > kMaxUpdateStep)
        CountAfresh(reader, image, x0, y0, counts);
    else
        UpdateByStrips(reader, image, x0, y0, counts);
    std::memcpy(table.data(), counts.data(), kHistogramBytes);
    return hist;
}

// ---------------------------------------------------------------------------------------------
// Tone table

// The pivot of the table: the histogram's mean level, low byte kept; 128 without a histogram
// and for one whose counters total 0.
uint8_t MeanLevel(const uint8_t* histogram) {
    uint32_t weighted = 0, total = 0;
    for (uint32_t i = 0; i < 256; ++i) {
        const uint32_t n = LoadU16(histogram + 2 * i);
        weighted += i * n;
        total += n;
    }
    return total == 0 ? uint8_t{128} : static_cast<uint8_t>(weighted / total);
}

void FillToneTable(uint8_t* lut, uint32_t length, uint8_t mean, int32_t contrast, int32_t brightness) {
    const auto pivot = static_cast<int32_t>(static_cast<uint32_t>(contrast) * mean);
    const auto slope = static_cast<int32_t>(static_cast<uint32_t>(contrast) + 255u);
    double numerator = static_cast<double>(pivot) * -1.0;
    for (uint32_t i = 0; i < length; ++i) {
        const double v = numerator * kOneOver255 + static_cast<double>(brightness);
        lut[i] = static_cast<uint8_t>(std::clamp(TruncToInt32(v), 0, 255));
        numerator += static_cast<double>(slope);
    }
}

Outcome<HGLOBAL> CreateLut() {
    OwnedBlock block = OwnedBlock::Allocate(kLutBytes);
    if (!block) return Fail(IMGERR_NOMEMORY);
    BlockLock lock(block.get());
    if (!lock) return Fail(IMGERR_LOCKMEMORY);
    for (uint32_t i = 0; i < kLutBytes; ++i) lock.data()[i] = static_cast<uint8_t>(i);
    g_state.lutLength = kLutBytes;
    lock.unlock();
    return block.release();
}

Outcome<HGLOBAL> ComputeLut(HGLOBAL hist, HGLOBAL lut, int contrast, int brightness) {
    if (lut == nullptr) return Fail(IMGERR_PARAMETER);
    uint8_t mean = 128;
    if (hist != nullptr) {
        const BlockLock counts(hist);
        if (counts) {
            if (counts.size() < kHistogramBytes) return Fail(IMGERR_PARAMETER);
            mean = MeanLevel(counts.data());
        }
    }
    BlockLock table(lut);
    if (!table) return Fail(IMGERR_LOCKMEMORY);
    if (table.size() < g_state.lutLength) return Fail(IMGERR_PARAMETER);
    FillToneTable(table.data(), g_state.lutLength, mean, contrast, brightness);
    return lut;
}

// ---------------------------------------------------------------------------------------------
// Applying a table

// The new DIB's size as the library computes it, in 32-bit arithmetic: 40 + table bytes
// (biClrUsed x 4, or 1024) + image bytes (biSizeImage, or stride x biHeight). Wraps as it
// always has.
uint32_t NewDibBytes(const uint8_t* header) {
    const uint32_t used = LoadU32(header + bih::kClrUsed);
    const uint32_t table = used != 0 ? used * 4u : 1024u;
    uint32_t image = LoadU32(header + bih::kSizeImage);
    if (image == 0) image = RowStride(LoadU32(header + bih::kWidth), 8) * LoadU32(header + bih::kHeight);
    return kInfoHeaderSize + table + image;
}

// Copies n bytes to `at` in a block of `size` bytes, dropping what falls beyond its end.
void StoreClipped(uint8_t* block, uint64_t size, uint64_t at, const uint8_t* bytes, uint64_t n) {
    if (at >= size) return;
    std::memcpy(block + at, bytes, std::min(n, size - at));
}

Outcome<HDIB> ApplyTable(HDIB dib, HGLOBAL lut, bool newDib) {
    if (dib == nullptr || lut == nullptr) return Fail(IMGERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(IMGERR_LOCKMEMORY);
    EightBitImage image;
    if (const DWORD code = CheckEightBit(source, image)) return Fail(static_cast<int>(code));
    BlockLock table(lut);
    if (!table) return Fail(IMGERR_LOCKMEMORY);
    if (table.size() < kLutBytes) return Fail(IMGERR_PARAMETER);

    OwnedBlock result;
    BlockLock resultLock;
    // With a full colour table the pixels start right after the ramp: every byte of the new
    // block is then written here (row padding and anything past the rows as 0), so the block
    // need not be zero-filled first.
    const bool writtenWhole = image.pixelOffset == kRampOffset + kRampBytes;
    if (newDib) {
        const uint32_t bytes = NewDibBytes(source.data());
        // No 32-bit process can hold a block of 2 GiB; such a size only comes from wrapping.
        if (bytes > INT32_MAX) return Fail(IMGERR_NOMEMORY);
        const UINT flags = writtenWhole ? GMEM_MOVEABLE : GMEM_MOVEABLE | GMEM_ZEROINIT;
        result = OwnedBlock::Allocate(bytes, flags);
        if (!result) result = OwnedBlock::Allocate(bytes, flags);
        if (!result) return Fail(IMGERR_NOMEMORY);
        resultLock = BlockLock(result.get());
        if (!resultLock) return Fail(IMGERR_LOCKMEMORY);
    }
    const OwnedBlock mapBlock = AllocateRetrying(kMapBytes);
    if (!mapBlock) return Fail(IMGERR_NOMEMORY);
    const BlockLock mapLock(mapBlock.get());
    if (!mapLock) return Fail(IMGERR_LOCKMEMORY);

    // The level map, from all 256 colour-table entries (bytes beyond the block read as 0).
    uint8_t* map = mapLock.data();
    uint8_t entries[kRampBytes] = {};
    if (image.blockBytes > kRampOffset)
        std::memcpy(entries, source.data() + kRampOffset, std::min(kRampBytes, image.blockBytes - kRampOffset));
    for (unsigned k = 0; k < 256; ++k) {
        const uint8_t* q = entries + 4 * k;
        map[k] = table.data()[(q[0] + q[1] + q[2] + 1) / 3];
    }
    table.unlock();
    uint8_t levels[256];
    std::memcpy(levels, map, sizeof levels);
    const ByteMap mapper(levels);  // holds its own copy, which no pixel store can alias

    uint8_t* out = newDib ? resultLock.data() : source.data();
    const uint64_t outBytes = newDib ? resultLock.size() : image.blockBytes;
    if (newDib) StoreClipped(out, outBytes, 0, source.data(), kInfoHeaderSize);
    uint8_t ramp[kRampBytes];
    for (unsigned i = 0; i < 256; ++i) {
        const auto v = static_cast<uint8_t>(i);
        ramp[4 * i] = ramp[4 * i + 1] = ramp[4 * i + 2] = v;
        ramp[4 * i + 3] = 0;
    }
    StoreClipped(out, outBytes, kRampOffset, ramp, kRampBytes);

    const uint64_t columns = image.columns();
    uint64_t end = image.pixelOffset;  // the end of the last row written
    for (uint64_t r = 0; r < image.rows(); ++r) {
        const uint64_t at = image.pixelOffset + r * image.stride;
        if (at >= outBytes) break;
        const uint64_t n = std::min(columns, outBytes - at);
        mapper.map(image.storedRow(r), out + at, n);
        end = at + n;
        if (newDib && writtenWhole) {
            end = std::min(at + image.stride, outBytes);
            std::memset(out + at + n, 0, end - (at + n));
        }
    }
    if (newDib && writtenWhole && end < outBytes) std::memset(out + end, 0, outBytes - end);
    if (!newDib) return dib;
    resultLock.unlock();
    return result.release();
}

}  // namespace

void ResetTableState() { g_state = TableState{}; }

}  // namespace vx::tone

using namespace vx;

extern "C" VXAPI HGLOBAL VXCALL ComputeHistogram(HDIB dib, int mode, HGLOBAL hHist, int* origin, DWORD* error) {
    return RunExport(CallerWord32{.cell = error, .onEntry = IMGERR_SUCCESS}, [&]() -> Outcome<HGLOBAL> {
        switch (mode) {
        case TABLE_CREATE: return tone::CreateHistogram();
        case TABLE_COMPUTE: return tone::UpdateHistogram(dib, hHist, origin);
        case TABLE_FREE: GlobalFree(hHist); return nullptr;
        default: return nullptr;
        }
    });
}

extern "C" VXAPI HGLOBAL VXCALL ComputeLUT(HGLOBAL hHist, int mode, HGLOBAL hLut, int contrast, int brightness,
                                           DWORD* error) {
    return RunExport(CallerWord32{.cell = error, .onEntry = IMGERR_SUCCESS}, [&]() -> Outcome<HGLOBAL> {
        switch (mode) {
        case TABLE_CREATE: return tone::CreateLut();
        case TABLE_COMPUTE: return tone::ComputeLut(hHist, hLut, contrast, brightness);
        case TABLE_FREE: GlobalFree(hLut); return hLut;
        default: return nullptr;
        }
    });
}

extern "C" VXAPI HDIB VXCALL ApplyLUT(HDIB dib, HGLOBAL hLut, BOOL newDib, DWORD* error) {
    return RunExport(CallerWord32{.cell = error, .onEntry = IMGERR_SUCCESS},
                     [&] { return tone::ApplyTable(dib, hLut, newDib != 0); });
}

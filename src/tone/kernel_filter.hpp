// kernel_filter.hpp - what Convolve and ColorConvolution share: the kernel (caller kernels from
// memory or from a file, and the built-in filters), the row ring that runs a dense kernel over
// an image (separable_filter.hpp has the ring for the outer-product kernels), and the divisor
// stage. The two exports differ only in what a row of values is (gray bytes,
// or gray levels computed from colour pixels), in the width of a caller kernel's entries
// (32 or 16 bits) and in what they do with a filtered row; all three are theirs.
//
// Values and sums are 16-bit throughout. That is exact, not an approximation: every weight
// has a magnitude of at most 127 and the positive weights, like the negative ones, add up to at
// most 127 (the built-in kernels stay inside the same limits), so with values of 0 to 255 no
// sum, partial or complete, leaves -32385 ... 32385. Sixteen-bit lanes let the compiler
// process eight pixels per vector instruction.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "simd.hpp"

// Hot row loops are written once, as always-inlined bodies, and compiled twice on x86: for the
// baseline instruction set and, through thin wrappers marked VX_TARGET_AVX2, for AVX2, where
// 16 pixels go through each instruction and the three-byte pixels of colour rows can be
// gathered and scattered by vector shuffles. The AVX2 loops run where the SIMD policy allows.
#define VX_TONE_INLINE __attribute__((always_inline)) inline

namespace vx::tone {

// The header checks both filters make first, in this order: a 40-byte header, no compression,
// the filter's depth. IMGERR_SUCCESS when they pass, else the code for the caller's word.
inline int CheckFilterHeader(const uint8_t* src, size_t size, uint32_t depth) {
    if (size < kInfoHeaderSize || LoadU32(src + bih::kSize) != kInfoHeaderSize) return IMGERR_PARAMETER;
    if (LoadU32(src + bih::kCompression) != 0) return IMGERR_COMPRESSED;
    if (LoadU16(src + bih::kBitCount) != depth) return IMGERR_BITCOUNT;
    return IMGERR_SUCCESS;
}

enum class VectorLevel : uint8_t { kBaseline, kAvx2 };

// The level the row loops run at: AVX2 where the SIMD policy allows it (VEXORA_SIMD=scalar
// runs the baseline loops).
VectorLevel CurrentVectorLevel();

inline constexpr int kMaxKernel = 7;
inline constexpr int kWeightLimit = 127;

// One line of a kernel that is an outer product: the ones of the mean, the binomial weights of
// the smoothing kernels of sizes 3 (1 2 1) and 4 (1 3 3 1).
using Line = std::array<int16_t, kMaxKernel>;

constexpr Line BinomialLine(int n) {
    Line l{};
    const int16_t three[] = {1, 2, 1}, four[] = {1, 3, 3, 1};
    for (int i = 0; i < n; ++i) l[i] = n == 3 ? three[i] : four[i];
    return l;
}

constexpr Line OnesLine(int n) {
    Line l{};
    for (int i = 0; i < n; ++i) l[i] = 1;
    return l;
}

// A kernel ready to run. weights[a][b] multiplies the value at stored row y + n/2 - a and
// column x + n/2 - b for output pixel (y, x): a true convolution, reflected, with the image's
// outermost rows and columns repeated beyond its edges.
struct Kernel {
    int type = 0;
    int size = 0;
    int16_t weights[kMaxKernel][kMaxKernel] = {};
    int32_t divisor = 1;  // after the sign rule; negative only when negating it wrapped
    bool clamp = false;   // the kernel mixes signs (caller kernels) or sharpens (types 5, 6)
};

// ---------------------------------------------------------------------------------------------
// Kernel set-up

// Caller kernel entries: n*n weights, element k going to matrix row k % n, column k / n, then
// the divisor. Applies the weight limits and the divisor rules; false when a limit is broken.
template <typename Entry>
bool LoadCallerKernel(const Entry* entries, int n, Kernel& k) {
    static_assert(std::is_same_v<Entry, int32_t> || std::is_same_v<Entry, int16_t>);
    int64_t m[kMaxKernel][kMaxKernel] = {};
    for (int i = 0; i < n * n; ++i) m[i % n][i / n] = entries[i];
    int64_t positive = 0, negative = 0;
    for (const auto& row : m)
        for (const int64_t w : row) {
            if (w > kWeightLimit || w < -kWeightLimit) return false;
            (w > 0 ? positive : negative) += w > 0 ? w : -w;
            if (positive > kWeightLimit || negative > kWeightLimit) return false;
        }
    Entry divisor = entries[n * n];
    if (divisor == 0) divisor = static_cast<Entry>(positive != negative ? positive - negative : 1);
    const bool flip = divisor < 0;
    // Negated in the entry's own width: the most negative divisor stays negative.
    if (flip) divisor = static_cast<Entry>(-static_cast<int64_t>(divisor));
    for (int a = 0; a < kMaxKernel; ++a)
        for (int b = 0; b < kMaxKernel; ++b)
            k.weights[a][b] = static_cast<int16_t>(flip ? -m[a][b] : m[a][b]);
    k.divisor = divisor;
    k.clamp = positive > 0 && negative > 0;
    return true;
}

// Reads n*n + 1 little-endian entries of Entry's width from the start of a kernel file with one
// read; bytes the file does not have read as zero (a short or empty file is not an error).
// False when the file cannot be opened.
template <typename Entry>
bool ReadKernelFile(const char* path, int n, Entry* entries) {
    constexpr size_t kBytes = sizeof(Entry);
    uint8_t raw[(kMaxKernel * kMaxKernel + 1) * sizeof(int32_t)] = {};
    const size_t want = static_cast<size_t>(n * n + 1) * kBytes;
    OFSTRUCT info;
    FileHandle file(OpenFile(path, &info, OF_READ));
    // Handle 0 and the 16-bit error handle 0xFFFF count as failures, as they always have.
    if (!file.valid() || file.get() == 0 || (file.get() & 0xFFFF) == 0xFFFF) return false;
    const UINT got = _lread(file.get(), raw, static_cast<UINT>(want));
    if (got == static_cast<UINT>(HFILE_ERROR)) std::memset(raw, 0, sizeof raw);
    for (size_t i = 0; i * kBytes < want; ++i) {
        uint32_t v = 0;
        for (size_t byte = 0; byte < kBytes; ++byte) v |= uint32_t{raw[i * kBytes + byte]} << (8 * byte);
        entries[i] = static_cast<Entry>(v);
    }
    return true;
}

// The built-in filters: 3 mean (any size), 4 smoothing (3, 4, 5), 5 and 6 sharpening (3, 4,
// 5). False for a type or size that has none.
bool BuiltInKernel(int type, int n, Kernel& k);

// The argument checks and kernel set-up both exports share: IMGERR_SUCCESS with k filled, or
// IMGERR_PARAMETER for a bad type or size, a missing kernel or file name, a kernel file that
// cannot be opened, or a caller kernel outside the weight limits.
template <typename Entry>
int PrepareKernel(int type, int n, const char* file, const Entry* kernel, Kernel& k) {
    if (type < 1 || type > 6) return IMGERR_PARAMETER;
    if ((type == 1 && kernel == nullptr) || (type == 2 && file == nullptr)) return IMGERR_PARAMETER;
    if (n < 3 || n > kMaxKernel) return IMGERR_PARAMETER;
    if (n >= 6 && type != 1 && type != 3) return IMGERR_PARAMETER;
    k.type = type;
    k.size = n;
    if (type >= 3) return BuiltInKernel(type, n, k) ? IMGERR_SUCCESS : IMGERR_PARAMETER;
    Entry entries[kMaxKernel * kMaxKernel + 1] = {};
    if (type == 2) {
        if (!ReadKernelFile(file, n, entries)) return IMGERR_PARAMETER;
    } else {
        std::copy(kernel, kernel + n * n + 1, entries);
    }
    return LoadCallerKernel(entries, n, k) ? IMGERR_SUCCESS : IMGERR_PARAMETER;
}

// ---------------------------------------------------------------------------------------------
// Division

// Division of a sum by the kernel's divisor, truncating toward zero: an arithmetic right shift
// for 1, 2, 4, ... 64 (which rounds negative sums down, as the library always has), and for
// any other divisor an exact multiply-high by a reciprocal: for |s| < 2^15 and 2^(l-1) < d <=
// 2^l, magic = ceil(2^(15+l) / d) fits 16 bits and (|s| * magic) >> (15 + l) is |s| / d.
// Divisors beyond every sum (32768 and up, or the one that stayed negative) give 0.
struct Divider {
    enum class Mode : uint8_t { kShift, kMagic, kZero };
    Mode mode = Mode::kShift;
    unsigned shift = 0;   // kShift: the shift; kMagic: what follows the 16-bit multiply-high
    uint16_t magic = 0;
};

constexpr Divider MakeDivider(int32_t divisor) {
    Divider d;
    if (divisor >= 1 && divisor <= 64 && std::has_single_bit(static_cast<uint32_t>(divisor))) {
        d.mode = Divider::Mode::kShift;
        d.shift = static_cast<unsigned>(std::countr_zero(static_cast<uint32_t>(divisor)));
    } else if (divisor >= 3 && divisor <= 32767) {
        const auto u = static_cast<uint32_t>(divisor);
        const auto l = static_cast<unsigned>(std::bit_width(u - 1));  // 2^(l-1) < d <= 2^l
        d.mode = Divider::Mode::kMagic;
        d.magic = static_cast<uint16_t>(((uint64_t{1} << (15 + l)) + u - 1) / u);
        d.shift = l - 1;
    } else {
        d.mode = Divider::Mode::kZero;  // 32768 and up, or negative: no sum reaches it
    }
    return d;
}

// The quotient of a sum known to be 0 ... 32767, by the divider's mode.
template <Divider D>
VX_TONE_INLINE uint16_t NonNegativeQuotient(uint16_t s) {
    if constexpr (D.mode == Divider::Mode::kShift) return static_cast<uint16_t>(s >> D.shift);
    else if constexpr (D.mode == Divider::Mode::kMagic)
        return static_cast<uint16_t>(static_cast<uint16_t>((uint32_t{s} * D.magic) >> 16) >> D.shift);
    else return 0;
}

template <bool ClampFirst, typename Body>
VX_TONE_INLINE void QuotientLoop(const Divider& d, const int16_t* sums, size_t n, Body& body) {
    const auto clamped = [](int s) { return ClampFirst ? std::clamp(s, 0, 255) : s; };
    switch (d.mode) {
    case Divider::Mode::kShift: {
        const unsigned shift = d.shift;
        for (size_t x = 0; x < n; ++x) body(x, static_cast<int16_t>(clamped(sums[x]) >> shift));
        return;
    }
    case Divider::Mode::kMagic: {
        const uint32_t magic = d.magic;
        const unsigned shift = d.shift;
        for (size_t x = 0; x < n; ++x) {
            const int s = clamped(sums[x]);
            const auto a = static_cast<uint16_t>(s < 0 ? -s : s);
            const auto q = static_cast<uint16_t>(static_cast<uint16_t>((a * magic) >> 16) >> shift);
            body(x, static_cast<int16_t>(s < 0 ? -q : q));
        }
        return;
    }
    case Divider::Mode::kZero:
        for (size_t x = 0; x < n; ++x) body(x, int16_t{0});
        return;
    }
}

// Calls body(x, q) for each of the n sums with q = sum / divisor (after clamping the sum to
// 0 ... 255 first when clampFirst). One loop per mode, so each one vectorises.
template <typename Body>
VX_TONE_INLINE void ForEachQuotient(const Divider& d, bool clampFirst, const int16_t* sums, size_t n, Body&& body) {
    if (clampFirst) QuotientLoop<true>(d, sums, n, body);
    else QuotientLoop<false>(d, sums, n, body);
}

// ---------------------------------------------------------------------------------------------
// The row ring

// Runs a kernel down an image of width x height values, one source row at a time. The ring
// keeps the last n rows that were read, each padded on both sides with copies of its end
// values; rows above the top and below the bottom are the outermost rows again. Each source
// row is read once, through load(row, values), which writes `width` values; once the rows an
// output row needs are in, the row worker forms its sums and emit(row, sums, values) receives
// them with the unfiltered values of that same row. Output rows go out bottom to top, and
// output row y is emitted only after source rows up to y + n/2 have been read, never before a
// source row it covers: a caller may write each output row over its source row.
class KernelRing {
public:
    // The ring for one run, its row worker compiled for the current vector level; the kernel
    // must stay alive while it is used. Throws std::bad_alloc when the rows cannot be had.
    KernelRing(const Kernel& kernel, uint64_t width, uint64_t height);

    template <typename Load, typename Emit>
    void run(Load&& load, Emit&& emit) {
        const int64_t n = kernel_.size, h = n / 2, left = n - 1 - h;
        const auto w = static_cast<size_t>(width_);
        const auto height = static_cast<int64_t>(height_);
        int64_t loaded = -1;
        for (int64_t y = 0; y < height; ++y) {
            for (const int64_t need = std::min(y + h, height - 1); loaded < need;) {
                int16_t* slot = this->slot(++loaded);
                load(static_cast<uint64_t>(loaded), slot + left);
                std::fill(slot, slot + left, slot[left]);
                std::fill(slot + left + w, slot + padded_, slot[left + w - 1]);
            }
            const int16_t* rows[kMaxKernel];
            for (int64_t a = 0; a < n; ++a) rows[a] = this->slot(std::clamp<int64_t>(y + h - a, 0, height - 1));
            worker_(rows, kernel_, sums_, w);
            emit(static_cast<uint64_t>(y), sums_, this->slot(y) + left);
        }
    }

    // The row worker: sums[x] for x < width from the n padded rows, rows[a] being the row that
    // kernel row a meets.
    using Worker = void (*)(const int16_t* const* rows, const Kernel& kernel, int16_t* sums, size_t width);

private:
    int16_t* slot(int64_t row) { return storage_.data() + static_cast<size_t>(row % kernel_.size) * padded_; }

    const Kernel& kernel_;
    uint64_t width_, height_;
    size_t padded_;
    Worker worker_;
    std::vector<int16_t> storage_;
    int16_t* sums_ = nullptr;
};

// The ring as the library has always sized it: n rows of width 32-bit cells. Runs whose ring would
// not fit a 32-bit block are refused as out of memory.
inline bool RingFits(uint64_t width, int n) { return width * static_cast<uint64_t>(n) * 4 <= kMaxBlockBytes; }

// Bytes [0, count) of `from` copied to a destination row that holds `room` bytes of the block
// (writes past a block's end are dropped).
inline void StoreClipped(uint8_t* to, const uint8_t* from, uint64_t count, uint64_t room) {
    const uint64_t n = std::min(count, room);
    if (n > 0) std::memcpy(to, from, static_cast<size_t>(n));
}

// How a new result of imageBytes is filled when its rows write rowBytes of it. A block the rows
// cover (up to a little tail) is left unfilled and its gaps are zeroed by ZeroRowGaps; one whose
// header claims far more (biSizeImage can say 4 GiB of a few rows) keeps the zero fill, which
// costs nothing for pages the rows never touch.
inline BlockFill ResultFill(uint64_t imageBytes, uint64_t rowBytes) {
    return imageBytes <= rowBytes + 65536 ? BlockFill::kWrittenWhole : BlockFill::kZero;
}

// For a result block that is not zero-filled: zeroes the bytes of [from, end) that rows of
// rowBytes at from + y * stride (y < rows) leave alone: each row's padding and what follows the
// last row. The caller writes the rows.
inline void ZeroRowGaps(uint8_t* block, uint64_t from, uint64_t end, uint64_t stride, uint64_t rowBytes,
                        uint64_t rows) {
    uint64_t at = from;
    for (uint64_t y = 0; y < rows && at < end; ++y, at += stride)
        if (at + rowBytes < end && rowBytes < stride)
            std::memset(block + at + rowBytes, 0, static_cast<size_t>(std::min(stride, end - at) - rowBytes));
    if (at < end) std::memset(block + at, 0, static_cast<size_t>(end - at));
}

}  // namespace vx::tone

// separable_filter.hpp - SeparableRing: the built-in kernels that are an outer product of two
// short lines (mean of any size, smoothing of sizes 3 and 4), or a multiple of the centre pixel
// minus one (the sharpening kernels built on those), run as two one-dimensional passes with a
// ring of row sums. Provides RunsSeparable() and SeparableRing.
//
// Each source row is summed along the row once, as it comes in: hsum[x] = sum over b of
// line[b] * value(x + n/2 - b), the end values repeated beyond the row's ends. An output row
// then takes the n row sums of the rows it covers down the column, subtracts them from the
// centre value times a constant for the sharpening kernels, and for Convolve clamps, divides
// and stores the bytes in the same loop. Every sum is the integer the full n x n kernel gives
// (the order of additions does not matter, and no partial sum leaves 16 bits: the row sums of
// the ones and binomial lines stay under 2048, a full sum inside -32385 ... 32385), so the bytes
// are those of the dense kernel's path. Rows are read and emitted in the order KernelRing
// keeps: output row y only after the rows it covers are in, so a row may be written over its
// own source row.
#pragma once

#include <cstdint>
#include <vector>

#include "tone/kernel_filter.hpp"

namespace vx::tone {

// Whether the built-in kernel k runs on the separable ring.
bool RunsSeparable(const Kernel& k);

// Value is the type of a source row's values: the bytes of a gray image (read in place, never
// copied) or the 16-bit gray levels of a colour row (kept in the ring for the row's emit).
template <typename Value>
class SeparableRing {
public:
    // The row stages, compiled per kernel and vector level.
    using Horizontal = void (*)(const Value* values, uint16_t* hsums, size_t width);
    // sums or bytes for output row: hsums[a] is the row kernel row a meets, centre its own row.
    using ToSums = void (*)(const uint16_t* const* hsums, const Value* centre, int16_t* sums, size_t width);
    using ToBytes = void (*)(const uint16_t* const* hsums, const Value* centre, uint8_t* out, size_t width);

    SeparableRing(const Kernel& kernel, uint64_t width, uint64_t height);

    // load(y, slot) gives source row y's values: a pointer it owns, or `slot` (room for width
    // values, kept until row y is emitted) filled. emit(y, sums, values) receives output row y's
    // undivided sums with row y's values.
    template <typename Load, typename Emit>
    void runToSums(Load&& load, Emit&& emit) {
        run(load, [&](uint64_t y, const uint16_t* const* rows, const Value* centre) {
            toSums_(rows, centre, sums_.data(), width_);
            emit(y, sums_.data(), centre);
        });
    }

    // As runToSums, but output row y is divided (clamped first where the kernel says) into the
    // bytes at target(y), a row of width bytes; then commit(y).
    template <typename Load, typename Target, typename Commit>
    void runToBytes(Load&& load, Target&& target, Commit&& commit) {
        run(load, [&](uint64_t y, const uint16_t* const* rows, const Value* centre) {
            toBytes_(rows, centre, target(y), width_);
            commit(y);
        });
    }

private:
    template <typename Load, typename Out>
    void run(Load& load, Out&& out) {
        const int64_t n = size_, h = n / 2;
        const auto height = static_cast<int64_t>(height_);
        int64_t loaded = -1;
        for (int64_t y = 0; y < height; ++y) {
            for (const int64_t need = std::min(y + h, height - 1); loaded < need;) {
                ++loaded;
                const size_t s = static_cast<size_t>(loaded % n);
                Value* slot = slots_.empty() ? nullptr : slots_.data() + s * width_;  // none for gray bytes
                const Value* v = load(static_cast<uint64_t>(loaded), slot);
                values_[s] = v;
                horizontal_(v, hsums_.data() + s * width_, width_);
            }
            const uint16_t* rows[kMaxKernel];
            for (int64_t a = 0; a < n; ++a)
                rows[a] = hsums_.data() + static_cast<size_t>(std::clamp<int64_t>(y + h - a, 0, height - 1) % n) * width_;
            out(static_cast<uint64_t>(y), rows, values_[static_cast<size_t>(y % n)]);
        }
    }

    int size_;
    size_t width_;
    uint64_t height_;
    Horizontal horizontal_;
    ToSums toSums_;
    ToBytes toBytes_;
    std::vector<uint16_t> hsums_;
    std::vector<Value> slots_;
    std::vector<int16_t> sums_;
    const Value* values_[kMaxKernel] = {};
};

}  // namespace vx::tone

// scale_filter.hpp - the separable resampler shared by ScaleDIB and ScaleGrayDIB: tap tables,
// cubic weights, and the row loop with its cache of horizontally scaled rows.
//
// The caller describes a source of srcW x srcH pixels of one or three 8-bit channels (a
// "split" callback fills the samples of one source row, counted in storage order) and an
// output of dstW x dstH (a "merge" callback receives the samples of one output row). The
// resampler owns everything in between and cannot fail once constructed: the constructor takes
// all its working memory (std::bad_alloc when it cannot), Run() only computes.
//
// Products of a sample and a weight are those of the 64 KB product table
// T[w][v] = floor((w v + 128) / 255); Product() computes the same value without the table,
// as floor(u / 256 + u / 65536) for u = w v + 129, which equals it for every w, v in 0..255
// (the tests compare all 65,536 entries).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "geometry/scale_sampling.hpp"

namespace vx::geometry::filter {

inline uint32_t Product(uint32_t weight, uint32_t value) {
    const uint32_t u = weight * value + 129;
    return (u + (u >> 8)) >> 8;
}

// One output column of the bilinear filter: sample p weighted 255 - w, sample p + 1 weighted w.
struct BilinearTap {
    uint16_t p;
    uint8_t wp;    // 255 - w
    uint8_t wp1;   // w
};

// One output column of the cubic filter: samples p - 1 .. p + 2; w0 and w3 are the magnitudes
// of the negative outer lobes and are subtracted.
struct CubicTap {
    uint16_t p;
    uint8_t w0, w1, w2, w3;
};

// floor(i src / dst) and the bilinear weight of sample p + 1:
// floor((255 ((i src) mod dst) + floor(dst / 2)) / dst).
BilinearTap BilinearTapAt(uint32_t i, uint32_t src, uint32_t dst);
// The cubic weights (a = -1) of the fraction of i src / dst, each 255 x the kernel value
// truncated toward zero, computed in double precision in the filter's own order of operations.
CubicTap CubicTapAt(uint32_t i, uint32_t src, uint32_t dst);

struct Frame {
    uint32_t srcW = 0, srcH = 0;  // 1..65535
    uint32_t dstW = 0, dstH = 0;  // 1..65535
};

enum class Method { Bilinear, Cubic };

// Samples are interleaved: a row of n pixels is n x Channels bytes, the channels of a pixel
// side by side (Channels = 3: the colour channels; 1: gray levels). Each channel is filtered on
// its own, exactly as if it were a separate plane.
//
// The callbacks, with rows counted in storage order (0 = first stored row):
//   void split(uint32_t row, uint8_t* samples);        // srcW x Channels samples of source row
//   void merge(uint32_t row, const uint8_t* samples);  // dstW x Channels samples of output row
// The guard samples around a split row are the resampler's business.
template <unsigned Channels>
class Resampler {
public:
    static_assert(Channels == 1 || Channels == 3);

    Resampler(const Frame& frame, Method method);

    template <typename Split, typename Merge>
    void Run(Split&& split, Merge&& merge) {
        Run(split, merge, [](uint32_t) { return static_cast<uint8_t*>(nullptr); });
    }
    // As Run(split, merge), where target(row) may name where the samples of output row `row`
    // are to be combined (null: in the resampler's own row); merge then receives that pointer.
    template <typename Split, typename Merge, typename Target>
    void Run(Split&& split, Merge&& merge, Target&& target);

private:
    // Splits source row `row`, writes its guards and scales it horizontally into `slot`.
    template <typename Split>
    void Load(Split& split, uint32_t row, uint8_t* slot);
    void ScaleRow(const uint8_t* samples, uint8_t* out);

    template <typename Split, typename Merge, typename Target>
    void RunBilinear(Split& split, Merge& merge, Target& target);
    template <typename Split, typename Merge, typename Target>
    void RunCubic(Split& split, Merge& merge, Target& target);
    uint8_t* Destination(uint8_t* target) { return target != nullptr ? target : combined_.data(); }

    Frame frame_;
    Method method_;
    unsigned taps_;                   // 2 or 4 samples per output sample
    uint64_t rowBytes_;               // dstW x Channels
    std::vector<uint32_t> offsets_;   // per output pixel: the first tap's sample offset
    std::vector<uint8_t> weights_;    // taps_ rows of rowBytes_: each tap's weight per sample
    std::vector<uint8_t> gathered_;   // taps_ rows of rowBytes_ + 8: the samples at the taps
    std::vector<uint32_t> blockBase_;  // per 16 bytes of a scaled row: its first pixel's offset
    std::vector<uint8_t> blockShuffle_;  // per 16 bytes: each byte's sample, from that offset
    std::vector<uint8_t> splitRow_;   // (1 guard + srcW + 3 guards) x Channels, and slack
    std::vector<uint8_t> slots_;      // 2 or 4 scaled rows
    std::vector<uint8_t> combined_;   // one output row
};

// Row kernels over n samples; products are Product()'s, sums are clipped to 0..255.
// Bilinear with a weight per sample: wa[x] a[x] + wb[x] b[x].
void MixBilinear(const uint8_t* a, const uint8_t* wa, const uint8_t* b, const uint8_t* wb,
                 uint64_t n, uint8_t* out);
// Cubic with a weight per sample: w1 x1 + w2 x2 - w0 x0 - w3 x3 (rows x0..x3, weights w0..w3).
void MixCubic(const uint8_t* const x[4], const uint8_t* const w[4], uint64_t n, uint8_t* out);
// The vertical combinations, one weight for the whole row: (255 - w) a + w b, and the cubic sum.
void CombineBilinear(const uint8_t* a, const uint8_t* b, uint32_t w, uint64_t n, uint8_t* out);
void CombineCubic(const uint8_t* const rows[4], const CubicTap& weights, uint64_t n, uint8_t* out);
// The horizontal mix by shuffles: block b of 16 scaled samples takes tap k's samples from the
// 16 bytes at first + base[b] + k x channels, shuffled by shuffle[16 b ..]; weights as
// MixBilinear's and MixCubic's. Answers how many blocks it did: none where the SIMD policy
// or the build rules shuffles out, and the caller mixes the rest its own way.
uint32_t MixShuffled(const uint8_t* first, unsigned channels, const uint32_t* base, const uint8_t* shuffle,
                     uint32_t blocks, unsigned taps, const uint8_t* const* weights, uint8_t* out);
// Copies the samples at the taps of each output pixel into taps rows: row k receives the pixel
// at offsets[i] + k x Channels (bilinear, p and p + 1; the cubic offsets start at p - 1).
template <unsigned Channels>
void GatherTaps(const uint8_t* samples, const uint32_t* offsets, uint32_t n, unsigned taps,
                uint8_t* const* rows);

// ---------------------------------------------------------------------------------------------

template <unsigned Channels>
Resampler<Channels>::Resampler(const Frame& frame, Method method)
    : frame_(frame),
      method_(method),
      taps_(method == Method::Bilinear ? 2 : 4),
      rowBytes_(uint64_t{Channels} * frame.dstW) {
    constexpr unsigned C = Channels;
    offsets_.resize(frame.dstW);
    weights_.resize(taps_ * rowBytes_);
    gathered_.resize(taps_ * (rowBytes_ + 8));
    for (uint32_t i = 0; i < frame.dstW; ++i) {
        uint8_t w[4];
        uint32_t first;
        if (method == Method::Bilinear) {
            const BilinearTap t = BilinearTapAt(i, frame.srcW, frame.dstW);
            first = t.p;
            w[0] = t.wp;
            w[1] = t.wp1;
        } else {
            const CubicTap t = CubicTapAt(i, frame.srcW, frame.dstW);
            first = t.p;  // less one pixel: the guard before pixel 0 sits at offset 0
            w[0] = t.w0;
            w[1] = t.w1;
            w[2] = t.w2;
            w[3] = t.w3;
        }
        offsets_[i] = first * C;
        for (unsigned k = 0; k < taps_; ++k)
            for (unsigned c = 0; c < C; ++c) weights_[k * rowBytes_ + uint64_t{i} * C + c] = w[k];
    }
    // Shuffle plan: each block of 16 scaled samples must find every tap's samples within 16
    // bytes of its first pixel's; a scale that spreads further is mixed from gathered rows.
    const uint64_t blocks = rowBytes_ / 16;
    blockBase_.resize(blocks);
    blockShuffle_.resize(blocks * 16);
    uint64_t planned = 0;  // the blocks that qualify, a prefix of the row
    for (uint64_t b = 0; b < blocks; ++b) {
        blockBase_[b] = offsets_[b * 16 / C];
        for (uint64_t o = b * 16; o < b * 16 + 16; ++o) {
            const uint64_t at = offsets_[o / C] + o % C - blockBase_[b];
            if (at > 15) break;
            blockShuffle_[o] = static_cast<uint8_t>(at);
            if (o == b * 16 + 15) planned = b + 1;
        }
        if (planned != b + 1) break;
    }
    blockBase_.resize(planned);
    splitRow_.resize(uint64_t{C} * (frame.srcW + 4) + 32);  // the shuffles' loads may pass the guards
    slots_.resize(taps_ * rowBytes_);
    combined_.resize(rowBytes_);
}

template <unsigned Channels>
void Resampler<Channels>::ScaleRow(const uint8_t* samples, uint8_t* out) {
    uint8_t* rows[4];
    const uint8_t* weights[4];
    for (unsigned k = 0; k < taps_; ++k) {
        rows[k] = gathered_.data() + k * (rowBytes_ + 8);
        weights[k] = weights_.data() + k * rowBytes_;
    }
    // Bilinear taps start at pixel p, cubic taps at pixel p - 1.
    const uint8_t* first = method_ == Method::Bilinear ? samples : samples - Channels;
    const uint32_t shuffled = MixShuffled(first, Channels, blockBase_.data(), blockShuffle_.data(),
                                          static_cast<uint32_t>(blockBase_.size()), taps_, weights, out);
    // The rest from its first whole pixel (a few samples may be computed twice, alike).
    const uint32_t from = static_cast<uint32_t>(uint64_t{shuffled} * 16 / Channels);
    if (from >= frame_.dstW) return;
    const uint64_t skip = uint64_t{from} * Channels;
    GatherTaps<Channels>(first, offsets_.data() + from, frame_.dstW - from, taps_, rows);
    for (unsigned k = 0; k < taps_; ++k) weights[k] += skip;
    if (method_ == Method::Bilinear) MixBilinear(rows[0], weights[0], rows[1], weights[1], rowBytes_ - skip, out + skip);
    else MixCubic(rows, weights, rowBytes_ - skip, out + skip);
}

template <unsigned Channels>
template <typename Split>
void Resampler<Channels>::Load(Split& split, uint32_t row, uint8_t* slot) {
    constexpr unsigned C = Channels;
    const uint32_t w = frame_.srcW;
    uint8_t* s = splitRow_.data() + C;
    split(row, s);
    // One guard pixel before pixel 0 holding pixel 0, three after the last pixel holding it.
    for (unsigned c = 0; c < C; ++c) {
        splitRow_[c] = s[c];
        const uint8_t last = s[uint64_t{w - 1} * C + c];
        for (unsigned g = 0; g < 3; ++g) s[uint64_t{w + g} * C + c] = last;
    }
    // A whole multiple: every tap is (p = i k, weight 255), the row is every k-th pixel.
    if (w == frame_.dstW) std::memcpy(slot, s, rowBytes_);
    else if (w % frame_.dstW != 0) ScaleRow(s, slot);
    else if constexpr (C == 1) SampleBytes(s, w / frame_.dstW, frame_.dstW, slot);
    else SamplePixels24(s, w / frame_.dstW, frame_.dstW, slot);
}
template <unsigned Channels>
template <typename Split, typename Merge, typename Target>
void Resampler<Channels>::Run(Split&& split, Merge&& merge, Target&& target) {
    if (frame_.srcH % frame_.dstH == 0) {
        // A whole multiple: every row's weights are (255, 0) or (0, 255, 0, 0), the output
        // row j is the scaled source row j k, and no other row is needed.
        const uint32_t step = frame_.srcH / frame_.dstH;
        for (uint32_t j = 0; j < frame_.dstH; ++j) {
            uint8_t* into = target(j);
            if (into == nullptr) into = slots_.data();
            Load(split, j * step, into);
            merge(j, static_cast<const uint8_t*>(into));
        }
    } else if (method_ == Method::Bilinear) RunBilinear(split, merge, target);
    else RunCubic(split, merge, target);
}

template <unsigned Channels>
template <typename Split, typename Merge, typename Target>
void Resampler<Channels>::RunBilinear(Split& split, Merge& merge, Target& target) {
    const Frame& f = frame_;
    uint8_t* a = slots_.data();              // scaled row p
    uint8_t* b = slots_.data() + rowBytes_;  // scaled row p + 1
    uint32_t held = 65535;                   // the row in `a`; none yet
    for (uint32_t j = 0; j < f.dstH; ++j) {
        BilinearTap v = BilinearTapAt(j, f.srcH, f.dstH);
        const uint32_t p = v.p;
        if (p == f.srcH - 1) v.wp1 = 0;  // the last row takes nothing from the row below
        if (p != held) {
            if (held != 65535 && p == held + 1) std::swap(a, b);
            else Load(split, p, a);
            // Below the last row there is nothing to load; its weight is 0.
            if (p + 1 < f.srcH) Load(split, p + 1, b);
            held = p;
        }
        if (v.wp1 == 0) {
            merge(j, static_cast<const uint8_t*>(a));  // T[255][v] = v, T[0][v] = 0
        } else {
            uint8_t* out = Destination(target(j));
            CombineBilinear(a, b, v.wp1, rowBytes_, out);
            merge(j, static_cast<const uint8_t*>(out));
        }
    }
}

template <unsigned Channels>
template <typename Split, typename Merge, typename Target>
void Resampler<Channels>::RunCubic(Split& split, Merge& merge, Target& target) {
    const Frame& f = frame_;
    // slot[k] holds source row p - 1 + k: black above the first row, the last row repeated
    // below the last.
    uint8_t* slot[4];
    for (unsigned k = 0; k < 4; ++k) slot[k] = slots_.data() + k * rowBytes_;
    auto fill = [&](unsigned k, int64_t row) {
        if (row < 0) std::memset(slot[k], 0, rowBytes_);
        else if (row >= int64_t{f.srcH}) std::memcpy(slot[k], slot[k - 1], rowBytes_);
        else Load(split, static_cast<uint32_t>(row), slot[k]);
    };
    int64_t previous = -1;
    for (uint32_t j = 0; j < f.dstH; ++j) {
        const CubicTap v = CubicTapAt(j, f.srcH, f.dstH);
        const int64_t p = v.p;
        const int64_t d = p - previous;
        if (previous < 0 || d >= 4) {
            for (unsigned k = 0; k < 4; ++k) fill(k, p - 1 + k);
        } else if (d > 0) {
            uint8_t* kept[4];
            for (unsigned k = 0; k < 4; ++k) kept[k] = slot[(k + d) & 3];
            std::memcpy(slot, kept, sizeof slot);
            for (unsigned k = 4 - static_cast<unsigned>(d); k < 4; ++k) fill(k, p - 1 + k);
        }
        previous = p;
        if (v.w0 == 0 && v.w1 == 255 && v.w2 == 0 && v.w3 == 0) {
            merge(j, static_cast<const uint8_t*>(slot[1]));
        } else {
            uint8_t* out = Destination(target(j));
            CombineCubic(slot, v, rowBytes_, out);
            merge(j, static_cast<const uint8_t*>(out));
        }
    }
}

}  // namespace vx::geometry::filter

// rotate.cpp - RotateDIB: a DIB turned by any whole number of degrees about its centre.
//
// Reporting: the caller's status word (required: without one nothing is done) is set to
// ROTATE_OK on entry and receives the ROTATE_ERR_ code of a failure; the module code is never
// touched. The export is a check (CheckRotationSource) and the work (RenderRotation).
//
// Method. The four corners of the source are turned forward to size the result: half its
// width is the largest |x'| of a turned corner rounded to a whole pixel, half its height
// likewise, so the canvas is always of even size and large enough for the turned picture.
// Every result pixel is then mapped back into the source (nearest neighbour, no
// interpolation). The back-mapping is not evaluated per pixel: the source point of the first
// pixel of the first stored row, one step per result row and one step per result column are
// computed once, and each row walks its source point along the column step. Two walks exist:
// mode 0 adds the column step in double precision and rounds the point at every pixel; mode
// 1 rounds the row start once and moves x and y by one pixel whenever an integer error
// accumulator (Bresenham-style, fed with twice the rounded source travel across a row)
// overflows. Each row first skips result pixels while the point lies outside the source on
// the side it enters from, then copies while the point stays inside; the rest of the row
// stays zero (colour index 0, or black). Rows are walked in stored order, bottom row first,
// so a positive angle turns the picture counter-clockwise as displayed.
//
// Quirks kept because callers depend on the bytes:
// - degrees become radians with the truncated factor 0.01745329, not pi/180; a negative
//   angle has 360 added once only, so -400 turns by -40;
// - the corners are taken about the true centre (W/2.0) but the back-mapping adds the
//   integer half size (W/2), so an odd-sized image lands one pixel in, whole, with one zero
//   column or row before it;
// - the resolution is blended between x and y by r = |a - 90 * trunc(a / 90.001)|: every
//   non-zero multiple of 90 (360 included) gives r = 90 and exchanges the two resolutions;
// - the status cell is read again at the very end, and a non-zero value there (a caller whose
//   status cell shares memory with the corner record) discards the finished result;
// - on success the source block keeps the lock taken on it; every failure unlocks it.
//
// Exactness and speed. The double-precision arithmetic of mode 0 is evaluated with the same
// operations in the same order the library always used (products, then differences, then the
// half size; steps accumulated by repeated addition), so the rounded source coordinates are
// identical; nothing in it is replaced by fixed point, and 32-bit x86 builds are held to SSE2
// doubles rather than x87 extended precision. Each walk is monotone along the sign of its step
// (the sign decides the walking direction, and rounding preserves order), so the one-sided
// "still inside" test of a direction equals the two-sided test 0 <= x < W, and the pixels a
// row copies are exactly those whose point lies inside the source.
//
// That makes each result pixel a function of its own point, which the AVX2 path exploits: it
// walks eight result rows at once, one per lane (the rows' walks are independent chains, so
// the additions of eight rows cost what one row's did), gathers the eight source pixels of a
// column, zero where a point lies outside, and writes whole rows, padding included, so the
// result block is not zero-filled first. A group of rows stops walking once every lane has
// passed the source on its exit side. The portable path walks one row at a time through a
// table of source row pointers, clearing the row before it copies, and also takes the rows
// left over after the groups of eight.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "dib_result.hpp"
#include "guards.hpp"
#include "outcome.hpp"
#include "pixels.hpp"
#include "simd.hpp"

#if defined(VX_SIMD_SSE2) && defined(VX_SIMD_TARGETS)
#include <immintrin.h>

#include "geometry/transpose_avx2.hpp"
#define VX_ROTATE_AVX2 1
#endif

// The walk's arithmetic is IEEE double, operation by operation. 32-bit x86 builds would
// otherwise evaluate it on the x87 stack in extended precision and round differently.
#if defined(__GNUC__) && defined(__i386__) && !defined(__SSE2_MATH__)
#pragma GCC target("sse2", "fpmath=sse")
#endif

namespace vx::geometry {
namespace {

constexpr double kRadiansPerDegree = 0.01745329;
constexpr double kInchesPerMetre = 39.37;

// Rounding half away from zero: trunc(v + 0.5) for v >= 0, trunc(v - 0.5) for v < 0. Only
// used on coordinates of the canvas, far inside the 32-bit range.
inline int32_t RoundHalfAway(double v) { return static_cast<int32_t>(v >= 0 ? v + 0.5 : v - 0.5); }

// Everything the walk needs, computed once from the source size and the angle.
struct RotationPlan {
    int32_t width = 0, height = 0;  // W, H of the source
    int32_t halfW = 0, halfH = 0;
    int32_t outW = 0, outH = 0;     // 2 * halfW, 2 * halfH
    double originX = 0, originY = 0;  // source point of the first pixel of the first stored row
    double rowX = 0, rowY = 0;        // source step per result row
    double colX = 0, colY = 0;        // source step per result column
    int32_t dirX = 1, dirY = 1;       // walking directions: the signs of the column step
    int32_t corners[8] = {};
};

RotationPlan PlanRotation(int32_t w, int32_t h, int angle) {
    RotationPlan p;
    p.width = w;
    p.height = h;
    const int a = angle < 0 ? angle + 360 : angle;
    const double theta = static_cast<double>(a % 360) * kRadiansPerDegree;
    const double c = std::cos(theta), s = std::sin(theta);

    const double x0 = -w / 2.0, y0 = -h / 2.0, x1 = w + x0, y1 = h + y0;
    const double cornerX[4] = {x0, x1, x1, x0}, cornerY[4] = {y0, y0, y1, y1};
    for (int i = 0; i < 4; ++i) {
        const double tx = cornerX[i] * c - cornerY[i] * s;
        const double ty = cornerY[i] * c + cornerX[i] * s;
        p.corners[2 * i] = TruncToInt32(tx);
        p.corners[2 * i + 1] = TruncToInt32(ty);
        p.halfW = std::max(p.halfW, TruncToInt32(std::fabs(tx) + 0.5));
        p.halfH = std::max(p.halfH, TruncToInt32(std::fabs(ty) + 0.5));
    }
    // A turned rectangle of at least one pixel always reaches half a pixel from the centre on
    // both axes, so both halves are at least 1 and the steps below never divide by zero.
    p.halfW = std::max(p.halfW, 1);
    p.halfH = std::max(p.halfH, 1);
    p.outW = 2 * p.halfW;
    p.outH = 2 * p.halfH;

    const double cb = std::cos(-theta), sb = std::sin(-theta);
    const double centreX = w / 2, centreY = h / 2;  // integer halves, as the mapping adds them
    const auto mapX = [&](double px, double py) { return px * cb - py * sb + centreX; };
    const auto mapY = [&](double px, double py) { return py * cb + px * sb + centreY; };
    const double left = -p.halfW, bottom = -p.halfH;
    p.originX = mapX(left, bottom);
    p.originY = mapY(left, bottom);
    p.rowX = (mapX(left, p.halfH - 1) - p.originX) / (p.outH - 1);
    p.rowY = (mapY(left, p.halfH - 1) - p.originY) / (p.outH - 1);
    p.colX = (mapX(p.halfW - 1, bottom) - p.originX) / (p.outW - 1);
    p.colY = (mapY(p.halfW - 1, bottom) - p.originY) / (p.outW - 1);
    p.dirX = p.colX >= 0 ? 1 : -1;
    p.dirY = p.colY >= 0 ? 1 : -1;
    return p;
}

// Mode 0: the point advances by the column step in double precision and is rounded anew.
class FloatWalk {
public:
    explicit FloatWalk(const RotationPlan& p) : stepX_(p.colX), stepY_(p.colY) {}
    void start(double x, double y) {
        px_ = x;
        py_ = y;
        x_ = RoundHalfAway(px_);
        y_ = RoundHalfAway(py_);
    }
    void step() {
        px_ += stepX_;
        py_ += stepY_;
        x_ = RoundHalfAway(px_);
        y_ = RoundHalfAway(py_);
    }
    int32_t x() const { return x_; }
    int32_t y() const { return y_; }

private:
    double stepX_, stepY_;
    double px_ = 0, py_ = 0;
    int32_t x_ = 0, y_ = 0;
};

// Mode 1: the rounded row start moves by one pixel whenever an error accumulator, fed with
// twice the rounded source travel across a row, passes W' - 1.
class IntegerWalk {
public:
    explicit IntegerWalk(const RotationPlan& p)
        : feedX_(2 * TruncToInt32(std::fabs(p.colX * (p.outW - 1)) + 0.5)),
          feedY_(2 * TruncToInt32(std::fabs(p.colY * (p.outW - 1)) + 0.5)),
          limit_(p.outW - 1), dirX_(p.dirX), dirY_(p.dirY) {}
    void start(double x, double y) {
        x_ = RoundHalfAway(x);
        y_ = RoundHalfAway(y);
        errX_ = errY_ = 0;
    }
    void step() {
        errX_ += feedX_;
        if (errX_ > limit_) {
            errX_ -= 2 * limit_;
            x_ += dirX_;
        }
        errY_ += feedY_;
        if (errY_ > limit_) {
            errY_ -= 2 * limit_;
            y_ += dirY_;
        }
    }
    int32_t x() const { return x_; }
    int32_t y() const { return y_; }

private:
    int32_t feedX_, feedY_, limit_, dirX_, dirY_;
    int32_t errX_ = 0, errY_ = 0, x_ = 0, y_ = 0;
};

// Writes consecutive pixels of one result row, from a given column on, into a zeroed row.
// 1- and 4-bit pixels are gathered into a byte before it is stored.
template <unsigned Bits>
class RowWriter {
public:
    RowWriter(uint8_t* row, int32_t column) {
        if constexpr (Bits == 1 || Bits == 4) {
            at_ = row + (static_cast<uint64_t>(column) * Bits >> 3);
            shift_ = 8 - Bits - static_cast<int>(static_cast<uint64_t>(column) * Bits & 7);
        } else {
            at_ = row + static_cast<uint64_t>(column) * (Bits / 8);
        }
    }
    void put(uint32_t value) {
        if constexpr (Bits == 1 || Bits == 4) {
            pending_ |= value << shift_;
            shift_ -= Bits;
            if (shift_ < 0) {
                *at_++ = static_cast<uint8_t>(pending_);
                pending_ = 0;
                shift_ = 8 - Bits;
            }
        } else if constexpr (Bits == 8) {
            *at_++ = static_cast<uint8_t>(value);
        } else {
            at_[0] = static_cast<uint8_t>(value);
            at_[1] = static_cast<uint8_t>(value >> 8);
            at_[2] = static_cast<uint8_t>(value >> 16);
            at_ += 3;
        }
    }
    void flush() {
        if constexpr (Bits == 1 || Bits == 4) {
            if (shift_ != 8 - static_cast<int>(Bits)) *at_ = static_cast<uint8_t>(pending_);
        }
    }

private:
    uint8_t* at_;
    uint32_t pending_ = 0;
    int shift_ = 0;
};

// The source points at which each result row starts: the first, then one row step added per
// row, in double precision.
struct RowStarts {
    std::vector<double> x, y;
};

RowStarts ComputeRowStarts(const RotationPlan& p) {
    RowStarts starts{std::vector<double>(static_cast<size_t>(p.outH)), std::vector<double>(static_cast<size_t>(p.outH))};
    double x = p.originX, y = p.originY;
    for (int32_t j = 0; j < p.outH; ++j, x += p.rowX, y += p.rowY) {
        starts.x[j] = x;
        starts.y[j] = y;
    }
    return starts;
}

// The walk over result rows [first, p.outH), each cleared first (the block is not zero-filled).
// `rows` holds the address of each of the H source rows.
template <unsigned Bits, typename Walk>
void WalkRows(const RotationPlan& p, const RowStarts& starts, int32_t first, const uint8_t* const* rows,
              uint8_t* out, uint64_t outStride) {
    Walk walk(p);
    const auto w = static_cast<uint32_t>(p.width), h = static_cast<uint32_t>(p.height);
    // Outside on the entry side: before column 0 (or past the last one when walking left),
    // and likewise for rows.
    const auto entering = [&](int32_t x, int32_t y) {
        const bool outX = p.dirX > 0 ? x < 0 : x >= p.width;
        const bool outY = p.dirY > 0 ? y < 0 : y >= p.height;
        return outX || outY;
    };
    out += outStride * static_cast<uint64_t>(first);
    for (int32_t j = first; j < p.outH; ++j, out += outStride) {
        std::memset(out, 0, outStride);
        walk.start(starts.x[j], starts.y[j]);
        int32_t k = 0;
        while (k < p.outW && entering(walk.x(), walk.y())) {
            walk.step();
            ++k;
        }
        RowWriter<Bits> writer(out, k);
        while (k < p.outW && static_cast<uint32_t>(walk.x()) < w &&
               static_cast<uint32_t>(walk.y()) < h) {
            writer.put(GetPixel<Bits>(rows[walk.y()], static_cast<uint32_t>(walk.x())));
            walk.step();
            ++k;
        }
        writer.flush();
    }
}

#if defined(VX_ROTATE_AVX2)
// Eight result rows at once, one row per 32-bit lane. Each lane repeats the scalar walk of its
// row operation for operation (the same double additions and roundings, or the same integer
// accumulators), so every lane visits the source points its row visits one at a time. The
// walk of a row is monotone along each axis, so the pixels the scalar walk copies (after
// skipping those outside on the entry side, until one falls outside) are exactly those whose
// point lies inside the source: a lane takes the source pixel where 0 <= x < W and 0 <= y < H,
// zero elsewhere, and the whole row, padding included, is written.

// Mode 0 lanes: the double-precision points of rows 0-3 and 4-7.
struct FloatLanes {
    __m256d px[2], py[2];
    __m256d stepX, stepY;
    VX_TARGET_AVX2 FloatLanes(const RotationPlan& p, const double* startX, const double* startY)
        : px{_mm256_loadu_pd(startX), _mm256_loadu_pd(startX + 4)},
          py{_mm256_loadu_pd(startY), _mm256_loadu_pd(startY + 4)},
          stepX(_mm256_set1_pd(p.colX)), stepY(_mm256_set1_pd(p.colY)) {}
    // RoundHalfAway per lane: v + 0.5 for v >= 0, v - 0.5 (the same as v + -0.5) otherwise,
    // truncated. The half takes v's sign bit, which differs from the comparison only at -0.0,
    // where both sums truncate to 0.
    static VX_TARGET_AVX2 __m128i RoundFour(__m256d v) {
        const __m256d half = _mm256_or_pd(_mm256_set1_pd(0.5), _mm256_and_pd(v, _mm256_set1_pd(-0.0)));
        return _mm256_cvttpd_epi32(_mm256_add_pd(v, half));
    }
    static VX_TARGET_AVX2 __m256i Round(const __m256d* v) { return _mm256_set_m128i(RoundFour(v[1]), RoundFour(v[0])); }
    VX_TARGET_AVX2 __m256i x() const { return Round(px); }
    VX_TARGET_AVX2 __m256i y() const { return Round(py); }
    VX_TARGET_AVX2 void step() {
        px[0] = _mm256_add_pd(px[0], stepX);
        px[1] = _mm256_add_pd(px[1], stepX);
        py[0] = _mm256_add_pd(py[0], stepY);
        py[1] = _mm256_add_pd(py[1], stepY);
    }
};

// Mode 1 lanes: the rounded row starts moved by the error accumulators of IntegerWalk.
struct IntegerLanes {
    __m256i px, py, errX, errY;
    __m256i feedX, feedY, limit, twiceLimit, dirX, dirY;
    VX_TARGET_AVX2 IntegerLanes(const RotationPlan& p, const double* startX, const double* startY) {
        const __m256d sx[2] = {_mm256_loadu_pd(startX), _mm256_loadu_pd(startX + 4)};
        const __m256d sy[2] = {_mm256_loadu_pd(startY), _mm256_loadu_pd(startY + 4)};
        px = FloatLanes::Round(sx);
        py = FloatLanes::Round(sy);
        errX = errY = _mm256_setzero_si256();
        feedX = _mm256_set1_epi32(2 * TruncToInt32(std::fabs(p.colX * (p.outW - 1)) + 0.5));
        feedY = _mm256_set1_epi32(2 * TruncToInt32(std::fabs(p.colY * (p.outW - 1)) + 0.5));
        limit = _mm256_set1_epi32(p.outW - 1);
        twiceLimit = _mm256_set1_epi32(2 * (p.outW - 1));
        dirX = _mm256_set1_epi32(p.dirX);
        dirY = _mm256_set1_epi32(p.dirY);
    }
    VX_TARGET_AVX2 __m256i x() const { return px; }
    VX_TARGET_AVX2 __m256i y() const { return py; }
    static VX_TARGET_AVX2 void Advance(__m256i& err, __m256i& at, __m256i feed, __m256i limit, __m256i twice, __m256i dir) {
        err = _mm256_add_epi32(err, feed);
        const __m256i over = _mm256_cmpgt_epi32(err, limit);
        err = _mm256_sub_epi32(err, _mm256_and_si256(over, twice));
        at = _mm256_add_epi32(at, _mm256_and_si256(over, dir));
    }
    VX_TARGET_AVX2 void step() {
        Advance(errX, px, feedX, limit, twiceLimit, dirX);
        Advance(errY, py, feedY, limit, twiceLimit, dirY);
    }
};

// What the lanes read of the source: its pixels and size. Gathers load 32 bits ending at the
// pixel's last byte (or, at 24 bits, starting one byte before it), so no read passes the end
// of the block; the header before the pixels covers the bytes read ahead of the first one.
struct LaneSource {
    const uint8_t* pixels;
    __m256i stride, widthBiased, heightBiased, lastX, lastY;
};

template <unsigned Bits>
VX_TARGET_AVX2 inline __m256i FetchLanes(const LaneSource& s, __m256i x, __m256i y) {
    const __m256i bias = _mm256_set1_epi32(INT32_MIN);
    const __m256i inside = _mm256_and_si256(_mm256_cmpgt_epi32(s.widthBiased, _mm256_xor_si256(x, bias)),
                                            _mm256_cmpgt_epi32(s.heightBiased, _mm256_xor_si256(y, bias)));
    if (_mm256_testz_si256(inside, inside)) return _mm256_setzero_si256();
    const __m256i rowOffset = _mm256_mullo_epi32(y, s.stride);  // one lane multiply beats a table gather
    const __m256i zero = _mm256_setzero_si256();
    if constexpr (Bits == 24) {
        const __m256i at = _mm256_add_epi32(rowOffset, _mm256_add_epi32(x, _mm256_slli_epi32(x, 1)));
        const __m256i v = _mm256_mask_i32gather_epi32(zero, reinterpret_cast<const int*>(s.pixels - 1), at, inside, 1);
        return _mm256_srli_epi32(v, 8);
    } else {
        constexpr int kPerByteShift = Bits == 1 ? 3 : Bits == 4 ? 1 : 0;
        const __m256i at = _mm256_add_epi32(rowOffset, _mm256_srli_epi32(x, kPerByteShift));
        const __m256i v = _mm256_mask_i32gather_epi32(zero, reinterpret_cast<const int*>(s.pixels - 3), at, inside, 1);
        if constexpr (Bits == 8) return _mm256_srli_epi32(v, 24);
        // The pixel's bits counted from the byte's most significant end.
        const __m256i within = _mm256_and_si256(x, _mm256_set1_epi32(7 >> (3 - kPerByteShift)));
        const __m256i shift = _mm256_sub_epi32(_mm256_set1_epi32(32 - Bits), _mm256_slli_epi32(within, Bits == 4 ? 2 : 0));
        return _mm256_and_si256(_mm256_srlv_epi32(v, shift), _mm256_set1_epi32((1 << Bits) - 1));
    }
}

// Whether every lane's point has passed the source on its exit side, which no later point of
// the row leaves again.
VX_TARGET_AVX2 inline bool AllPast(const RotationPlan& p, const LaneSource& s, __m256i x, __m256i y) {
    const __m256i pastX = p.dirX > 0 ? _mm256_cmpgt_epi32(x, s.lastX) : _mm256_cmpgt_epi32(_mm256_setzero_si256(), x);
    const __m256i pastY = p.dirY > 0 ? _mm256_cmpgt_epi32(y, s.lastY) : _mm256_cmpgt_epi32(_mm256_setzero_si256(), y);
    return _mm256_movemask_epi8(_mm256_or_si256(pastX, pastY)) == -1;
}

// Result rows j .. j + 7 (at `out`). A chunk of kColumns result pixels fills 8 bytes of each
// row (24 at 24 bits); a chunk running past the row's end is staged and cut to the row.
template <unsigned Bits, typename Lanes>
VX_TARGET_AVX2 void WalkEightRows(const RotationPlan& p, const LaneSource& s, Lanes lanes, uint8_t* out,
                                  uint64_t outStride) {
    constexpr int32_t kColumns = Bits == 24 ? 8 : 64 / Bits;
    constexpr uint64_t kChunkBytes = Bits == 24 ? 24 : 8;
    const uint64_t rowBytes = (static_cast<uint64_t>(p.outW) * Bits + 7) / 8;
    int32_t k0 = 0;
    for (; k0 < p.outW; k0 += kColumns) {
        if (AllPast(p, s, lanes.x(), lanes.y())) break;
        const int32_t count = std::min(kColumns, p.outW - k0);
        alignas(32) uint8_t staged[8][32];
        if constexpr (Bits == 24) {
            __m256i v[8];
            for (int32_t c = 0; c < 8; ++c) {
                v[c] = c < count ? FetchLanes<24>(s, lanes.x(), lanes.y()) : _mm256_setzero_si256();
                lanes.step();
            }
            Transpose8x8Epi32(v);
            const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,
                                                  0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
            const __m256i gather = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
            for (int r = 0; r < 8; ++r)
                _mm256_store_si256(reinterpret_cast<__m256i*>(staged[r]),
                                   _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v[r], pack), gather));
        } else {
            // Pixel c of the chunk lands in 32-bit word c / kHalf at its bit position there
            // (bytes in memory order, pixels from each byte's most significant end).
            constexpr int32_t kHalf = kColumns / 2;
            __m256i words[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()};
            for (int32_t c = 0; c < count; ++c) {
                const int32_t bit = (c % kHalf) * static_cast<int32_t>(Bits);
                const int32_t shift = (bit & ~7) + 8 - static_cast<int32_t>(Bits) - (bit & 7);
                words[c / kHalf] = _mm256_or_si256(
                    words[c / kHalf], _mm256_sll_epi32(FetchLanes<Bits>(s, lanes.x(), lanes.y()), _mm_cvtsi32_si128(shift)));
                lanes.step();
            }
            alignas(32) uint32_t word[2][8];
            _mm256_store_si256(reinterpret_cast<__m256i*>(word[0]), words[0]);
            _mm256_store_si256(reinterpret_cast<__m256i*>(word[1]), words[1]);
            for (int r = 0; r < 8; ++r) {
                std::memcpy(staged[r], &word[0][r], 4);
                std::memcpy(staged[r] + 4, &word[1][r], 4);
            }
        }
        const uint64_t at = static_cast<uint64_t>(k0) * Bits / 8;
        if (count == kColumns) {
            for (int r = 0; r < 8; ++r) std::memcpy(out + outStride * r + at, staged[r], kChunkBytes);
        } else {
            for (int r = 0; r < 8; ++r) std::memcpy(out + outStride * r + at, staged[r], rowBytes - at);
        }
    }
    const uint64_t done = std::min<uint64_t>(rowBytes, static_cast<uint64_t>(k0) * Bits / 8);
    for (int r = 0; r < 8; ++r) std::memset(out + outStride * r + done, 0, outStride - done);
}

// Rows in groups of eight; returns the number of rows written, the rest left to WalkRows.
template <unsigned Bits>
VX_TARGET_AVX2 int32_t WalkRowsAvx2(const RotationPlan& p, const RowStarts& starts, int mode, const uint8_t* pixels,
                                    uint64_t stride, uint8_t* out, uint64_t outStride) {
    const LaneSource s{pixels,
                       _mm256_set1_epi32(static_cast<int32_t>(stride)),
                       _mm256_set1_epi32(p.width ^ INT32_MIN),
                       _mm256_set1_epi32(p.height ^ INT32_MIN),
                       _mm256_set1_epi32(p.width - 1),
                       _mm256_set1_epi32(p.height - 1)};
    int32_t j = 0;
    for (; j + 8 <= p.outH; j += 8, out += 8 * outStride) {
        if (mode == 0) WalkEightRows<Bits>(p, s, FloatLanes(p, &starts.x[j], &starts.y[j]), out, outStride);
        else WalkEightRows<Bits>(p, s, IntegerLanes(p, &starts.x[j], &starts.y[j]), out, outStride);
    }
    return j;
}
#endif

// The new resolution of one axis, blended towards the other axis by r degrees of 90.
int32_t BlendResolution(int32_t own, int32_t other, int64_t r) {
    const int32_t dpi = TruncToInt32(own / kInchesPerMetre);
    const int32_t otherDpi = TruncToInt32(other / kInchesPerMetre);
    // 32-bit arithmetic as the library has always done it (only absurd resolutions wrap).
    const auto product = static_cast<int32_t>(static_cast<uint32_t>(otherDpi - dpi) *
                                              static_cast<uint32_t>(r));
    return TruncToInt32((dpi + product / 90) * kInchesPerMetre + 0.5);
}

// A source that passed the checks of RotateDIB: what the walk reads of it.
struct RotationSource {
    const uint8_t* block = nullptr;
    int32_t width = 0, height = 0;  // W and H: the low 16 bits of biWidth and biHeight
    uint32_t bits = 0;
    uint64_t headerAndTable = 0;  // 40 + the colour table, copied to the result
    uint64_t stride = 0;          // computed from the whole biWidth
    bool copiesPixels = false;    // 1, 4, 8 or 24 bits; other depths give a blank canvas
};

// The check of RotateDIB on its locked source: a 40-byte header, no compression, a non-zero
// 16-bit width and height, and a block that holds H rows of the stride and at least every byte
// the walk can read.
Outcome<RotationSource> CheckRotationSource(const uint8_t* src, uint64_t size) {
    if (size < kInfoHeaderSize || LoadU32(src + bih::kSize) != kInfoHeaderSize) return Fail(ROTATE_ERR_PARAMETER);
    if (LoadU32(src + bih::kCompression) != 0) return Fail(ROTATE_ERR_COMPRESSED);
    RotationSource s;
    s.block = src;
    s.width = static_cast<int32_t>(LoadU32(src + bih::kWidth) & 0xFFFF);
    s.height = static_cast<int32_t>(LoadU32(src + bih::kHeight) & 0xFFFF);
    if (s.width == 0 || s.height == 0) return Fail(ROTATE_ERR_SIZE);

    // The rows are W pixels of a stride computed from the whole biWidth; the block must hold
    // H of them, and at least every byte the walk can read.
    s.bits = LoadU16(src + bih::kBitCount);
    s.headerAndTable = kInfoHeaderSize + uint64_t{DibColorCount(src)} * 4;
    s.stride = RowStride(LoadU32(src + bih::kWidth), s.bits);
    s.copiesPixels = s.bits == 1 || s.bits == 4 || s.bits == 8 || s.bits == 24;
    const uint64_t rowBytes = s.copiesPixels ? (uint64_t{static_cast<uint32_t>(s.width)} * s.bits + 7) / 8 : 0;
    const uint64_t reach = std::max(s.stride * s.height, s.stride * (s.height - 1) + rowBytes);
    if (s.headerAndTable + reach > size) return Fail(ROTATE_ERR_SIZE);
    return s;
}

// The work of RotateDIB: the result's header and pixels in a zero-filled block that starts
// with room for the source's header and table. Cannot fail.
void RenderRotation(const RotationSource& s, const RotationPlan& plan, int angle, int mode, uint8_t* out,
                    uint64_t outStride, uint64_t imageBytes) {
    const uint8_t* src = s.block;
    std::memcpy(out, src, s.headerAndTable);
    StoreI32(out + bih::kWidth, plan.outW);
    StoreI32(out + bih::kHeight, plan.outH);
    StoreU32(out + bih::kSizeImage, static_cast<uint32_t>(imageBytes));
    const int a = angle < 0 ? angle + 360 : angle;
    const int64_t r = std::llabs(a - int64_t{90} * TruncToInt32(a / 90.001));
    const int32_t xPels = LoadI32(src + bih::kXPels), yPels = LoadI32(src + bih::kYPels);
    StoreI32(out + bih::kXPels, BlendResolution(xPels, yPels, r));
    StoreI32(out + bih::kYPels, BlendResolution(yPels, xPels, r));

    if (s.copiesPixels) {
        const RowStarts starts = ComputeRowStarts(plan);
        const uint8_t* pixels = src + s.headerAndTable;
        uint8_t* outPixels = out + s.headerAndTable;
        DispatchDepth(s.bits, [&](auto depth) {
            constexpr unsigned kBits = decltype(depth)::value;
            int32_t first = 0;
#if defined(VX_ROTATE_AVX2)
            // The lanes address the source with 32-bit offsets.
            if (s.stride * static_cast<uint64_t>(s.height) < uint64_t{INT32_MAX} - 64 && SimdAllows(SimdLevel::kAvx2))
                first = WalkRowsAvx2<kBits>(plan, starts, mode, pixels, s.stride, outPixels, outStride);
#endif
            if (first == plan.outH) return;
            std::vector<const uint8_t*> rows(static_cast<size_t>(s.height));
            for (int32_t y = 0; y < s.height; ++y) rows[y] = pixels + s.stride * y;
            if (mode == 0) WalkRows<kBits, FloatWalk>(plan, starts, first, rows.data(), outPixels, outStride);
            else WalkRows<kBits, IntegerWalk>(plan, starts, first, rows.data(), outPixels, outStride);
        });
    } else {
        std::memset(out + s.headerAndTable, 0, imageBytes);
    }
}

Outcome<HDIB> Rotate(HDIB dib, int angle, int mode, const DWORD* status, int* corners) {
    if (dib == nullptr) return Fail(ROTATE_ERR_PARAMETER);
    BlockLock source(dib);
    if (!source) return Fail(ROTATE_ERR_LOCK);
    const auto checked = CheckRotationSource(source.data(), source.size());
    if (!checked) return checked.refusal();

    const RotationPlan plan = PlanRotation(checked->width, checked->height, angle);
    if (corners != nullptr) std::memcpy(corners, plan.corners, sizeof plan.corners);

    // The result's stride in the library's 32-bit arithmetic; a pixel area of 4 GiB or more
    // cannot be had, as on the original platform.
    const uint32_t outWords = (static_cast<uint32_t>(plan.outW) * checked->bits + 31) >> 5;
    const uint64_t outStride = uint64_t{outWords} * 4;
    const uint64_t imageBytes = outStride * static_cast<uint64_t>(plan.outH);
    OwnedBlock block;
    // Every byte after the header and table is written by RenderRotation.
    if (imageBytes <= kMaxBlockBytes) {
        block = OwnedBlock::Allocate(checked->headerAndTable + imageBytes, GMEM_MOVEABLE);
        if (!block) block = OwnedBlock::Allocate(checked->headerAndTable + imageBytes, GMEM_MOVEABLE);
    }
    if (!block) return Fail(ROTATE_ERR_NOMEMORY);
    BlockLock result(block.get());
    if (!result) return Fail(ROTATE_ERR_LOCK);
    RenderRotation(*checked, plan, angle, mode, result.data(), outStride, imageBytes);

    result.unlock();
    if (*status != ROTATE_OK) return Fail();  // the block is freed on the way out
    source.keepLocked();
    return block.release();
}

}  // namespace
}  // namespace vx::geometry

extern "C" VXAPI HDIB VXCALL RotateDIB(HDIB dib, int angle, int mode, DWORD* status, int* corners) {
    const vx::CallerWord32 channel{
        .cell = status, .onEntry = ROTATE_OK, .required = true, .outOfMemory = ROTATE_ERR_NOMEMORY};
    return vx::RunExport(channel, [&] { return vx::geometry::Rotate(dib, angle, mode, status, corners); });
}

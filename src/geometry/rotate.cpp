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
// operations in the same order as documented (products, then differences, then the half size;
// steps accumulated by repeated addition), so the rounded source coordinates are identical;
// nothing in it is replaced by fixed point, and 32-bit x86 builds are held to SSE2 doubles
// rather than x87 extended precision. Each walk is monotone along the sign of its step (the
// sign decides the walking direction, and rounding preserves order), so the one-sided "still
// inside" test of a direction equals the two-sided test 0 <= x < W, which is no dearer and
// keeps every read inside the source whatever the step computes to. Source rows are reached
// through a table of row pointers built once, so the walk needs neither multiplication nor
// division per pixel; 1- and 4-bit results are assembled a byte at a time in a register.
// Walking the rows side by side in strips of columns, to keep the source band in cache, was
// measured and gained nothing: the walk is bound by its arithmetic, not by memory.
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

// The walk over every result row. `rows` holds the address of each of the H source rows.
template <unsigned Bits, typename Walk>
void WalkRows(const RotationPlan& p, const uint8_t* const* rows, uint8_t* out, uint64_t outStride) {
    Walk walk(p);
    const auto w = static_cast<uint32_t>(p.width), h = static_cast<uint32_t>(p.height);
    // Outside on the entry side: before column 0 (or past the last one when walking left),
    // and likewise for rows.
    const auto entering = [&](int32_t x, int32_t y) {
        const bool outX = p.dirX > 0 ? x < 0 : x >= p.width;
        const bool outY = p.dirY > 0 ? y < 0 : y >= p.height;
        return outX || outY;
    };
    double startX = p.originX, startY = p.originY;
    for (int32_t j = 0; j < p.outH; ++j, out += outStride) {
        walk.start(startX, startY);
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
        startX += p.rowX;
        startY += p.rowY;
    }
}

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
        std::vector<const uint8_t*> rows(static_cast<size_t>(s.height));
        for (int32_t y = 0; y < s.height; ++y) rows[y] = src + s.headerAndTable + s.stride * y;
        uint8_t* pixels = out + s.headerAndTable;
        DispatchDepth(s.bits, [&](auto depth) {
            constexpr unsigned kBits = decltype(depth)::value;
            if (mode == 0) WalkRows<kBits, FloatWalk>(plan, rows.data(), pixels, outStride);
            else WalkRows<kBits, IntegerWalk>(plan, rows.data(), pixels, outStride);
        });
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
    if (imageBytes <= kMaxBlockBytes) block = AllocateRetrying(checked->headerAndTable + imageBytes);
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

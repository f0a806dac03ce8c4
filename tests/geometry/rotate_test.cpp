// RotateDIB against a plain per-pixel rotation written from the documented steps, and its
// status-cell, corner-record and refusal contracts.

#include <climits>
#include <cmath>

#include "export_calls.hpp"
#include "pixels.hpp"

using namespace vxtest;

namespace {

int RoundAway(double v) { return v >= 0 ? static_cast<int>(v + 0.5) : static_cast<int>(v - 0.5); }

// The whole result block, computed pixel by pixel from the documented set-up and walk.
Bytes ReferenceRotate(const Bytes& src, int angle, int mode, int corners[8]) {
    const uint32_t biWidth = GetU32(src, 4);
    const int W = biWidth & 0xFFFF, H = GetU32(src, 8) & 0xFFFF;
    const int bits = GetU16(src, 14);
    const size_t table = 40 + 4 * Colours(src);
    const uint32_t stride = (biWidth * bits + 31) / 32 * 4;

    if (angle < 0) angle += 360;
    const double th = (angle % 360) * 0.01745329, c = std::cos(th), s = std::sin(th);
    const double x0 = -W / 2.0, y0 = -H / 2.0, x1 = W + x0, y1 = H + y0;
    const double cx[4] = {x0, x1, x1, x0}, cy[4] = {y0, y0, y1, y1};
    int halfW = 0, halfH = 0;
    for (int i = 0; i < 4; ++i) {
        const double xr = cx[i] * c - cy[i] * s, yr = cy[i] * c + cx[i] * s;
        corners[2 * i] = static_cast<int>(xr);
        corners[2 * i + 1] = static_cast<int>(yr);
        halfW = std::max(halfW, static_cast<int>(std::fabs(xr) + 0.5));
        halfH = std::max(halfH, static_cast<int>(std::fabs(yr) + 0.5));
    }
    const int outW = 2 * halfW, outH = 2 * halfH;
    const uint32_t outStride = ((outW * bits + 31) >> 5) * 4;
    Bytes out = ResultFrame(src, table, outW, outH, outStride);
    const int xdpi = static_cast<int>(static_cast<int32_t>(GetU32(src, 24)) / 39.37);
    const int ydpi = static_cast<int>(static_cast<int32_t>(GetU32(src, 28)) / 39.37);
    const int r = std::abs(angle - 90 * static_cast<int>(angle / 90.001));
    PutU32(out, 24, static_cast<int>((xdpi + (ydpi - xdpi) * r / 90) * 39.37 + 0.5));
    PutU32(out, 28, static_cast<int>((ydpi + (xdpi - ydpi) * r / 90) * 39.37 + 0.5));
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24) return out;
    // Each result pixel is written at most once, onto zeros.
    const auto move = [&](size_t to, int k, size_t from, int x) {
        vx::DispatchDepth(uint32_t(bits), [&](auto depth) {
            constexpr unsigned kBits = decltype(depth)::value;
            vx::SetPixel<kBits>(&out.at(to), uint64_t(k), vx::GetPixel<kBits>(&src.at(from), uint64_t(x)));
        });
    };

    const double cb = std::cos(-th), sb = std::sin(-th);
    const auto SX = [&](int px, int py) { return px * cb - py * sb + W / 2; };
    const auto SY = [&](int px, int py) { return py * cb + px * sb + H / 2; };
    const double sx0 = SX(-halfW, -halfH), sy0 = SY(-halfW, -halfH);
    const double rowX = (SX(-halfW, halfH - 1) - sx0) / (outH - 1);
    const double rowY = (SY(-halfW, halfH - 1) - sy0) / (outH - 1);
    const double colX = (SX(halfW - 1, -halfH) - sx0) / (outW - 1);
    const double colY = (SY(halfW - 1, -halfH) - sy0) / (outW - 1);
    const int dx = colX >= 0 ? 1 : -1, dy = colY >= 0 ? 1 : -1;
    const int Dx = 2 * static_cast<int>(std::fabs(colX * (outW - 1)) + 0.5);
    const int Dy = 2 * static_cast<int>(std::fabs(colY * (outW - 1)) + 0.5);
    double startX = sx0, startY = sy0;
    for (int j = 0; j < outH; ++j, startX += rowX, startY += rowY) {
        double fx = startX, fy = startY;
        int x = RoundAway(fx), y = RoundAway(fy), ex = 0, ey = 0;
        bool copying = false;
        for (int k = 0; k < outW; ++k) {
            const bool entering = (dx > 0 ? x < 0 : x >= W) || (dy > 0 ? y < 0 : y >= H);
            copying = copying || !entering;
            if (copying) {
                if (!((dx > 0 ? x < W : x >= 0) && (dy > 0 ? y < H : y >= 0))) break;
                move(table + size_t{outStride} * j, k, table + size_t{stride} * y, x);
            }
            if (mode == 0) {
                x = RoundAway(fx += colX);
                y = RoundAway(fy += colY);
            } else {
                if ((ex += Dx) > outW - 1) ex -= 2 * (outW - 1), x += dx;
                if ((ey += Dy) > outW - 1) ey -= 2 * (outW - 1), y += dy;
            }
        }
    }
    return out;
}

Bytes Image(int w, int h, int bits, uint32_t seed, uint32_t clrUsed = 0) {
    Bytes b = PackedDib({w, h, static_cast<uint16_t>(bits), clrUsed, false, seed});
    PutU32(b, 24, 2835 + seed % 1000);  // distinct resolutions, so that the blend shows
    PutU32(b, 28, 3780 - seed % 700);
    return b;
}

// Depths other than 1, 4, 8 and 24 give a blank canvas; modes other than 0 walk as mode 1.
TEST(RotateDIB, MatchesThePerPixelWalkForEveryDepthAngleAndMode) {
    // The larger sizes give canvases of many groups of eight rows with a remainder, and rows
    // whose last group of pixels is cut short.
    const int sizes[][2] = {{1, 1}, {1, 6}, {7, 1}, {13, 5}, {33, 17}, {40, 31}, {64, 9}, {151, 37}, {3, 130}, {97, 96}};
    const int angles[] = {0, 90, 180, 270, 360, -30, -400, 1, 30, 45, 89, 135, 200, 359, 1000, -100000, INT_MAX, INT_MIN};
    uint32_t seed = 1;
    for (int bits : {1, 4, 8, 24, 16, 32})
        for (const auto& size : sizes)
            for (int angle : angles)
                for (int mode : {0, 1, 7}) {
                    ++seed;
                    SCOPED_TRACE(testing::Message() << bits << " bits " << size[0] << "x" << size[1]
                                                    << " angle " << angle << " mode " << mode << " seed " << seed);
                    const Bytes src = Image(size[0], size[1], bits, seed, seed % 3 == 0 && bits == 8 ? 20 : 0);
                    int want[8], got[8];
                    DWORD status = 77;
                    const Bytes expected = ReferenceRotate(src, angle, mode, want);
                    const Outcome o = CallOn(src, [&](HDIB dib) { return RotateDIB(dib, angle, mode, &status, got); });
                    ASSERT_EQ(o.result, expected);
                    EXPECT_TRUE(std::equal(got, got + 8, want));
                    EXPECT_TRUE(status == 0 && o.sourceUnchanged && o.sourceLocked);  // the export keeps its lock
                }
}

// A picture small enough to check by eye, pinning the model: positive angles turn
// counter-clockwise as displayed (rows stored bottom-up), and the integer centre the walk maps
// about places the quarter-turned picture one column right, so its last column falls off the
// even canvas (2 x 4: halfW = round(1.0), halfH = round(1.5)).
TEST(RotateDIB, QuarterTurnOfASmallPicture) {
    Bytes src = Image(3, 2, 8, 5);
    const uint8_t pixels[8] = {1, 2, 3, 0, 4, 5, 6, 0};  // bottom row 1 2 3, top row 4 5 6
    std::copy(pixels, pixels + 8, src.begin() + 1064);
    int corners[8];
    const Bytes expected = ReferenceRotate(src, 90, 0, corners);
    ASSERT_EQ(expected.size(), 1064u + 16);
    // Displayed top to bottom: 0 6 / 0 5 / 0 4 / 0 0; stored bottom-up in 4-byte rows.
    EXPECT_EQ(Bytes(expected.begin() + 1064, expected.end()), (Bytes{0, 0, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0, 6, 0, 0}));
}

TEST(RotateDIB, RefusalsStoreTheirStatusAndLeaveTheModuleCodeAndSourceLock) {
    const Bytes good = Image(10, 6, 8, 2);
    const struct { const char* what; Source source; int code; bool cornersWritten = false; } cases[] = {
        {"header only 39 bytes", Cut(good, 39), ROTATE_ERR_PARAMETER}, {"core header", With(good, 0, 12), ROTATE_ERR_PARAMETER},
        {"RLE8", With(good, 16, 1), ROTATE_ERR_COMPRESSED}, {"width 65536 (low 16 bits 0)", With(good, 4, 65536), ROTATE_ERR_SIZE},
        {"height 0", With(good, 8, 0), ROTATE_ERR_SIZE}, {"block one byte short", Cut(good, good.size() - 1), ROTATE_ERR_SIZE},
        {"2^32-byte result", Image(65535, 1, 24, 2), ROTATE_ERR_NOMEMORY, true},  // 65535 wide at 45 degrees
        {"null handle", kNullHandle, ROTATE_ERR_PARAMETER}, {"unlockable", kUnlockable, ROTATE_ERR_LOCK},
    };
    ExpectRefusals(Reports::kCallerWord, cases, [](HDIB dib, const auto& c, DWORD* status) {
        int corners[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
        HDIB out = RotateDIB(dib, 45, 0, status, corners);
        EXPECT_EQ(corners[0] != -1, c.cornersWritten);
        return out;
    });
}

// Without a status cell nothing is done. A status cell that is also the first corner holds a
// non-zero x once the corners are out, and the finished result is thrown away.
TEST(RotateDIB, TheStatusCellIsReadLast) {
    Block dib(BlockFrom(Image(10, 6, 1, 4)));
    int corners[8] = {};
    EXPECT_EQ(RotateDIB(dib.get(), 10, 0, nullptr, corners), nullptr);
    EXPECT_EQ(corners[0], 0);
    EXPECT_EQ(RotateDIB(dib.get(), 10, 0, reinterpret_cast<DWORD*>(corners), corners), nullptr);
    EXPECT_EQ(corners[0], -4);  // trunc(-5 cos 10 + 3 sin 10)
}

}  // namespace

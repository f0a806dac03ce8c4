// Conformance tests of the filled shapes and region painting: run natively against the Linux
// subset and under Wine against Windows' GDI. Polygon fills are checked pixel by pixel against
// the corner model (gdi_raster_model.hpp); curves, outlines and raster operations against the
// pictures Wine draws, named by their hashes.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "gdi_raster_model.hpp"
#include "gdi_support.hpp"

namespace {

using vxtest::Dib;

// A white 32-bit canvas with a red pen and a blue brush selected.
struct Paper : Dib {
    Paper(int width = 40, int height = 30) : Dib(width, height, 32) {
        fill(0xFF);
        SelectObject(dc(), pen.get());
        SelectObject(dc(), brush.get());
    }
    ~Paper() {
        SelectObject(dc(), GetStockObject(BLACK_PEN));
        SelectObject(dc(), GetStockObject(WHITE_BRUSH));
    }
    // Rows of '.' (white), 'o' (pen), '#' (brush), '?' (anything else), for failure messages.
    std::string picture() const {
        std::string text;
        for (int y = 0; y < height(); ++y) {
            for (int x = 0; x < width(); ++x) {
                const uint32_t v = vxtest::PixelAt(row(y), 32, x) & 0xFFFFFF;
                text += v == 0xFFFFFF ? '.' : v == 0xFF0000 ? 'o' : v == 0x0000FF ? '#' : '?';
            }
            text += '\n';
        }
        return text;
    }
    vx::OwnedObject<HPEN> pen{CreatePen(PS_SOLID, 0, RGB(255, 0, 0))};
    vx::OwnedObject<HBRUSH> brush{CreateSolidBrush(RGB(0, 0, 255))};
};

// A small deterministic generator, so a failing case names its seed.
struct Random {
    uint32_t state;
    int next(int low, int high) {
        state = state * 1664525u + 1013904223u;
        return low + static_cast<int>((state >> 8) % static_cast<uint32_t>(high - low + 1));
    }
};

// Random polygon sets, both fill modes, filled without a pen: every pixel as the corner model
// says, including edges far outside the surface (only the visible rows are converted).
TEST(GdiShapes, PolygonFillsFollowTheCornerModel) {
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        Random random{seed};
        Paper paper(37, 29);
        SelectObject(paper.dc(), GetStockObject(NULL_PEN));
        const bool winding = seed % 2 == 0;
        SetPolyFillMode(paper.dc(), winding ? WINDING : ALTERNATE);
        std::vector<int> counts(static_cast<size_t>(random.next(1, 3)));
        std::vector<POINT> points;
        for (int& count : counts) {
            count = random.next(2, 7);
            for (int i = 0; i < count; ++i) points.push_back({random.next(-6, 42), random.next(-6, 34)});
        }
        if (seed % 10 == 0) points.front() = {seed % 20 == 0 ? INT_MAX / 2 : -INT_MAX / 2, 14};
        const BOOL drawn = counts.size() == 1
                               ? Polygon(paper.dc(), points.data(), counts[0])
                               : PolyPolygon(paper.dc(), points.data(), counts.data(), static_cast<int>(counts.size()));
        ASSERT_TRUE(drawn) << "seed " << seed;
        std::string expected;
        for (int y = 0; y < paper.height(); ++y) {
            for (int x = 0; x < paper.width(); ++x)
                expected += vxtest::PolygonCovers(points, counts, winding, x, y) ? '#' : '.';
            expected += '\n';
        }
        ASSERT_EQ(paper.picture(), expected) << "seed " << seed;
    }
}

// Outlines over fills, curves and the raster operation, as Wine draws them.
TEST(GdiShapes, ShapesAsWindowsDrawsThem) {
    const POINT triangle[] = {{2, 1}, {30, 6}, {10, 25}};
    const POINT star[] = {{20, 1}, {28, 27}, {5, 9}, {35, 9}, {12, 27}};
    const INT starCounts[] = {5, 3};
    const POINT twoStars[] = {{20, 1}, {28, 27}, {5, 9}, {35, 9}, {12, 27}, {1, 1}, {14, 2}, {3, 12}};
    struct Case {
        const char* name;
        std::function<BOOL(HDC)> draw;
        uint32_t hash;
    };
    const Case cases[] = {
        {"triangle", [&](HDC dc) { return Polygon(dc, triangle, 3); }, 2700982478u},
        {"star alternate", [&](HDC dc) { return Polygon(dc, star, 5); }, 2271599269u},
        {"star winding", [&](HDC dc) { SetPolyFillMode(dc, WINDING); return Polygon(dc, star, 5); }, 659961550u},
        {"two polygons xor", [&](HDC dc) { SetROP2(dc, R2_XORPEN); return PolyPolygon(dc, twoStars, starCounts, 2); }, 2522184649u},
        {"two points", [&](HDC dc) { return Polygon(dc, triangle, 2); }, 2946012934u},
        {"ellipse", [](HDC dc) { return Ellipse(dc, 2, 2, 22, 14); }, 4007780053u},
        {"ellipse reversed", [](HDC dc) { return Ellipse(dc, 38, 29, 1, 3); }, 4257869509u},
        {"ellipse xor", [](HDC dc) { SetROP2(dc, R2_XORPEN); return Ellipse(dc, 0, 0, 7, 9); }, 2538470402u},
        {"ellipse no pen",
         [](HDC dc) { SelectObject(dc, GetStockObject(NULL_PEN)); return Ellipse(dc, 3, 1, 34, 10); }, 1053703566u},
        {"ellipse hollow",
         [](HDC dc) { SelectObject(dc, GetStockObject(NULL_BRUSH)); return Ellipse(dc, 1, 0, 10, 28); }, 3005589221u},
        {"ellipse off the edge", [](HDC dc) { return Ellipse(dc, -30, -9, 31, 20); }, 2872076822u},
        {"small ellipses",
         [](HDC dc) {
             return Ellipse(dc, 1, 1, 4, 4) && Ellipse(dc, 6, 1, 10, 4) && Ellipse(dc, 12, 1, 14, 3) &&
                    Ellipse(dc, 16, 1, 17, 2) && Ellipse(dc, 20, 1, 26, 7) && Ellipse(dc, 1, 10, 5, 24);
         }, 3205506670u},
        {"round rectangle", [](HDC dc) { return RoundRect(dc, 0, 0, 20, 12, 8, 6); }, 68722869u},
        {"round rectangle xor", [](HDC dc) { SetROP2(dc, R2_XORPEN); return RoundRect(dc, 3, 2, 36, 27, 40, 9); }, 991739394u},
        {"round rectangle narrow corners",
         [](HDC dc) {
             SelectObject(dc, GetStockObject(NULL_PEN));
             return RoundRect(dc, 0, 0, 20, 16, 4, 14) && RoundRect(dc, 22, 0, 27, 14, 4, 14) &&
                    RoundRect(dc, 28, 2, 39, 28, -4, 9);
         }, 1044592181u},
        {"round rectangle square corners", [](HDC dc) { return RoundRect(dc, 2, 2, 12, 9, 2, 6); }, 3206485197u},
        {"arc", [](HDC dc) { return Arc(dc, 2, 2, 30, 24, 30, 2, 2, 2); }, 1060328502u},
        {"arc all round", [](HDC dc) { return Arc(dc, 3, 1, 20, 28, 5, 5, 5, 5); }, 3392651270u},
        {"pie", [](HDC dc) { return Pie(dc, 2, 2, 30, 24, 30, 2, 2, 24); }, 145728174u},
        {"pie no pen",
         [](HDC dc) { SelectObject(dc, GetStockObject(NULL_PEN)); return Pie(dc, 1, 2, 38, 27, 2, 29, 39, 0); }, 898400630u},
        {"chord xor", [](HDC dc) { SetROP2(dc, R2_XORPEN); return Chord(dc, 2, 2, 31, 23, 30, 2, 2, 24); }, 490710445u},
        {"arcs of every size",
         [](HDC dc) {
             Random random{99};
             BOOL all = TRUE;
             for (int i = 0; i < 40; ++i) {
                 const int left = random.next(-4, 36), top = random.next(-4, 26);
                 const int right = left + random.next(-3, 24), bottom = top + random.next(-3, 24);
                 const int at[4] = {random.next(-9, 50), random.next(-9, 40), random.next(-9, 50), random.next(-9, 40)};
                 const auto call = i % 3 == 0 ? Arc : i % 3 == 1 ? Pie : Chord;
                 SetROP2(dc, i % 2 == 0 ? R2_XORPEN : R2_COPYPEN);
                 all = all && call(dc, left, top, right, bottom, at[0], at[1], at[2], at[3]);
             }
             return all;
         }, 661971270u},
        {"mapped", [&](HDC dc) {
             SetMapMode(dc, MM_ANISOTROPIC);
             SetWindowExtEx(dc, 10, 10, nullptr);
             SetViewportExtEx(dc, 15, -7, nullptr);
             SetViewportOrgEx(dc, 2, 28, nullptr);
             return Ellipse(dc, 0, 0, 20, 30) && Polygon(dc, triangle, 3) && Chord(dc, 10, 0, 26, 30, 0, 0, 30, 30);
         }, 456225414u},
    };
    for (const Case& c : cases) {
        Paper paper;
        ASSERT_TRUE(c.draw(paper.dc())) << c.name;
        EXPECT_EQ(vxtest::PictureHash(paper), c.hash) << c.name << "\n" << paper.picture();
    }
}

// Regions painted with a brush, the DC's brush, a frame and inverted, through the raster
// operation and a mapping that scales and flips, as Wine paints them.
TEST(GdiShapes, RegionPainting) {
    const vx::OwnedObject<HRGN> region(CreateRectRgn(2, 2, 14, 10)), second(CreateRectRgn(8, 6, 20, 16));
    const vx::OwnedObject<HRGN> third(CreateRectRgn(24, 3, 30, 20));
    CombineRgn(region.get(), region.get(), second.get(), RGN_OR);
    CombineRgn(region.get(), region.get(), third.get(), RGN_OR);
    const vx::OwnedObject<HBRUSH> red(CreateSolidBrush(RGB(255, 0, 0)));
    const HRGN r = region.get();
    const HBRUSH b = red.get();
    struct Case {
        const char* name;
        int rop2;
        bool mapped;
        std::function<BOOL(HDC)> paint;
        uint32_t hash;
    };
    const Case cases[] = {
        {"FillRgn", R2_COPYPEN, false, [&](HDC dc) { return FillRgn(dc, r, b); }, 2692208653u},
        {"FillRgn xor", R2_XORPEN, false, [&](HDC dc) { return FillRgn(dc, r, b); }, 3482088717u},
        {"PaintRgn xor", R2_XORPEN, false, [&](HDC dc) { return PaintRgn(dc, r); }, 3803899981u},
        {"InvertRgn", R2_XORPEN, false, [&](HDC dc) { return InvertRgn(dc, r); }, 573479517u},
        {"FrameRgn 2 x 3", R2_COPYPEN, false, [&](HDC dc) { return FrameRgn(dc, r, b, 2, 3); }, 373806725u},
        {"FrameRgn -1 x 2", R2_XORPEN, false, [&](HDC dc) { return FrameRgn(dc, r, b, -1, 2); }, 2047118733u},
        {"FrameRgn 1 x 0", R2_COPYPEN, false, [&](HDC dc) { return FrameRgn(dc, r, b, 1, 0); }, 2285877741u},
        {"FrameRgn 0 x 0", R2_COPYPEN, false, [&](HDC dc) { return FrameRgn(dc, r, b, 0, 0); }, 3556032709u},
        {"FrameRgn 7 x 7", R2_COPYPEN, false, [&](HDC dc) { return FrameRgn(dc, r, b, 7, 7); }, 2692208653u},
        {"FillRgn mapped", R2_COPYPEN, true, [&](HDC dc) { return FillRgn(dc, r, b); }, 2855140414u},
        {"FrameRgn mapped", R2_COPYPEN, true, [&](HDC dc) { return FrameRgn(dc, r, b, 2, 1); }, 3763693590u},
    };
    for (const Case& c : cases) {
        Paper paper(40, 24);
        SetROP2(paper.dc(), c.rop2);
        if (c.mapped) {
            SetMapMode(paper.dc(), MM_ANISOTROPIC);
            SetWindowOrgEx(paper.dc(), 1, -2, nullptr);
            SetViewportExtEx(paper.dc(), 3, 2, nullptr);
            SetWindowExtEx(paper.dc(), 2, -2, nullptr);
            SetViewportOrgEx(paper.dc(), 0, 22, nullptr);
        }
        ASSERT_TRUE(c.paint(paper.dc())) << c.name;
        EXPECT_EQ(vxtest::PictureHash(paper), c.hash) << c.name << "\n" << paper.picture();
    }
    Paper paper(8, 8);
    const HDC dc = paper.dc();
    EXPECT_FALSE(FillRgn(dc, r, nullptr));
    EXPECT_FALSE(FillRgn(dc, nullptr, b));
    EXPECT_FALSE(FillRgn(dc, r, reinterpret_cast<HBRUSH>(paper.pen.get())));
    EXPECT_FALSE(FillRgn(nullptr, r, b));
    EXPECT_FALSE(PaintRgn(dc, nullptr));
    EXPECT_FALSE(FrameRgn(dc, nullptr, b, 1, 1));
    EXPECT_FALSE(FrameRgn(dc, r, nullptr, 1, 1));
    EXPECT_FALSE(InvertRgn(dc, nullptr));
    EXPECT_FALSE(InvertRgn(nullptr, r));
}

// The window and viewport moved and scaled: origins wrap at 32 bits, extents scale by a
// wrapping product and a truncating quotient, an axis reaching 0 becomes 1, zero factors are
// refused after the previous extents are reported, the fixed modes change nothing, and the
// isotropic mode squares the viewport again.
TEST(GdiShapes, OffsetAndScaleTheMapping) {
    using Extent = std::pair<long long, long long>;
    const vx::MemoryDC memory;
    const HDC dc = memory.get();
    const auto window = [&] { SIZE s{}; GetWindowExtEx(dc, &s); return Extent{s.cx, s.cy}; };
    const auto viewport = [&] { SIZE s{}; GetViewportExtEx(dc, &s); return Extent{s.cx, s.cy}; };
    SIZE previous{77, 77};
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowExtEx(dc, 10, 20, nullptr);
    EXPECT_FALSE(ScaleWindowExtEx(dc, 0, 1, 1, 1, &previous));
    EXPECT_EQ(previous.cx, 10);
    EXPECT_FALSE(ScaleWindowExtEx(dc, 1, 1, 1, 0, nullptr));
    EXPECT_EQ(window(), (Extent{10, 20}));
    EXPECT_TRUE(ScaleWindowExtEx(dc, 1, 30, -1, 7, nullptr));
    EXPECT_EQ(window(), (Extent{1, -2}));
    SetWindowExtEx(dc, -7, 9, nullptr);
    EXPECT_TRUE(ScaleWindowExtEx(dc, 3, 2, -5, 3, nullptr));
    EXPECT_EQ(window(), (Extent{-10, -15}));
    SetWindowExtEx(dc, 1000000, 1000000, nullptr);
    EXPECT_TRUE(ScaleWindowExtEx(dc, 5000, 1, 3000, 1, nullptr));
    EXPECT_EQ(window(), (Extent{705032704, -1294967296}));
    SetViewportExtEx(dc, 100, 50, nullptr);
    EXPECT_TRUE(ScaleViewportExtEx(dc, 7, 3, 2, 5, &previous));
    EXPECT_EQ(previous.cx, 100);
    EXPECT_EQ(viewport(), (Extent{233, 20}));

    SetMapMode(dc, MM_ISOTROPIC);
    SetWindowExtEx(dc, 100, 100, nullptr);
    SetViewportExtEx(dc, 100, 100, nullptr);
    EXPECT_TRUE(ScaleViewportExtEx(dc, 3, 1, 1, 1, nullptr));
    EXPECT_EQ(viewport(), (Extent{100, 100}));
    EXPECT_TRUE(ScaleWindowExtEx(dc, 1, 1, 4, 1, nullptr));
    EXPECT_EQ(window(), (Extent{100, 400}));
    EXPECT_EQ(viewport(), (Extent{25, 100}));

    SetMapMode(dc, MM_TEXT);
    EXPECT_TRUE(ScaleWindowExtEx(dc, 0, 0, 0, 0, &previous));
    EXPECT_EQ(previous.cx, 1);
    EXPECT_TRUE(ScaleViewportExtEx(dc, 0, 0, 0, 0, nullptr));
    SetWindowOrgEx(dc, 5, -6, nullptr);
    POINT origin{77, 77};
    EXPECT_TRUE(OffsetWindowOrgEx(dc, INT_MAX, -3, &origin));
    EXPECT_EQ(origin.x, 5);
    EXPECT_EQ(origin.y, -6);
    GetWindowOrgEx(dc, &origin);
    EXPECT_EQ(origin.x, INT_MIN + 4);
    EXPECT_EQ(origin.y, -9);
    EXPECT_TRUE(OffsetViewportOrgEx(dc, -4, INT_MIN, nullptr));
    GetViewportOrgEx(dc, &origin);
    EXPECT_EQ(origin.x, -4);
    EXPECT_EQ(origin.y, INT_MIN);
    EXPECT_FALSE(OffsetWindowOrgEx(nullptr, 1, 1, &origin));
    EXPECT_FALSE(OffsetViewportOrgEx(nullptr, 1, 1, &origin));
    EXPECT_FALSE(ScaleWindowExtEx(nullptr, 1, 1, 1, 1, &previous));
    EXPECT_FALSE(ScaleViewportExtEx(nullptr, 1, 1, 1, 1, &previous));
}

// What the calls answer for bad arguments; nothing is drawn by a refused call.
TEST(GdiShapes, BadArguments) {
    Paper paper(16, 16);
    const HDC dc = paper.dc();
    const POINT points[4] = {{1, 1}, {10, 2}, {5, 9}, {2, 7}};
    const INT two[2] = {2, 2}, short1[2] = {1, 3}, empty[2] = {4, 0}, negative[2] = {4, -1};
    const INT huge[2] = {INT_MAX, INT_MAX};
    struct Case {
        const char* name;
        BOOL answer, expected;
    };
    const Case cases[] = {
        {"Polygon of 0", Polygon(dc, points, 0), FALSE},
        {"Polygon of 1", Polygon(dc, points, 1), FALSE},
        {"Polygon of -1", Polygon(dc, points, -1), FALSE},
        {"Polygon of 2", Polygon(dc, points, 2), TRUE},
        {"Polygon on no DC", Polygon(nullptr, points, 3), FALSE},
        {"PolyPolygon 2 + 2", PolyPolygon(dc, points, two, 2), TRUE},
        {"PolyPolygon with a count of 1", PolyPolygon(dc, points, short1, 2), FALSE},
        {"PolyPolygon with a count of 0", PolyPolygon(dc, points, empty, 2), FALSE},
        {"PolyPolygon with a negative count", PolyPolygon(dc, points, negative, 2), FALSE},
        {"PolyPolygon past 2^31 points", PolyPolygon(dc, points, huge, 2), FALSE},
        {"PolyPolygon of no polygons", PolyPolygon(dc, points, two, 0), TRUE},
        {"PolyPolygon of -1 polygons", PolyPolygon(dc, points, two, -1), FALSE},
        {"Ellipse of 2^31", Ellipse(dc, -1000000000, -1000000000, 1000000000, 1000000000), FALSE},
        {"RoundRect of 2^31", RoundRect(dc, -1000000000, -1000000000, 1000000000, 1000000000, INT_MAX, INT_MAX), FALSE},
        {"empty Ellipse", Ellipse(dc, 3, 3, 3, 9), TRUE},
        {"Ellipse on no DC", Ellipse(nullptr, 0, 0, 4, 4), FALSE},
        {"Arc of 2^31", Arc(dc, -1000000000, -1000000000, 1000000000, 1000000000, 0, 0, 5, 5), FALSE},
        {"Pie of nothing", Pie(dc, 5, 5, 5, 9, 0, 0, 5, 5), TRUE},
        {"Chord on no DC", Chord(nullptr, 0, 0, 9, 9, 0, 0, 5, 5), FALSE},
        {"SetPolyFillMode 0", SetPolyFillMode(dc, 0), 0},
        {"SetPolyFillMode 3", SetPolyFillMode(dc, 3), 0},
        {"SetPolyFillMode on no DC", SetPolyFillMode(nullptr, WINDING), 0},
        {"GetPolyFillMode on no DC", GetPolyFillMode(nullptr), 0},
        {"fill mode kept", GetPolyFillMode(dc), ALTERNATE},
        {"SetPolyFillMode WINDING", SetPolyFillMode(dc, WINDING), ALTERNATE},
        {"fill mode set", GetPolyFillMode(dc), WINDING},
    };
    for (const Case& c : cases) EXPECT_EQ(c.answer, c.expected) << c.name;
}

}  // namespace

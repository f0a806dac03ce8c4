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
        {"mapped", [&](HDC dc) {
             SetMapMode(dc, MM_ANISOTROPIC);
             SetWindowExtEx(dc, 10, 10, nullptr);
             SetViewportExtEx(dc, 15, -7, nullptr);
             SetViewportOrgEx(dc, 2, 28, nullptr);
             return Ellipse(dc, 0, 0, 20, 30) && Polygon(dc, triangle, 3);
         }, 2891107845u},
    };
    for (const Case& c : cases) {
        Paper paper;
        ASSERT_TRUE(c.draw(paper.dc())) << c.name;
        EXPECT_EQ(vxtest::PictureHash(paper), c.hash) << c.name << "\n" << paper.picture();
    }
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

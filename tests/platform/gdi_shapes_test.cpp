// Conformance tests of the filled shapes, region painting and the window and viewport offsets
// and scales: run natively against the Linux subset and under Wine against Windows' GDI.
// Polygon fills are checked pixel by pixel against the corner model (gdi_raster_model.hpp);
// curves, outlines, regions and raster operations against the pictures Wine draws, by hash.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <vector>

#include "gdi_raster_model.hpp"
#include "gdi_support.hpp"

namespace {

using vxtest::Dib;

// A white 32-bit canvas with a red pen and a blue brush selected.
struct Paper : Dib {
    Paper(int width = 40, int height = 30) : Dib(width, height, 32) {
        fill(0xFF);
        SelectObject(dc(), pen.get()), SelectObject(dc(), brush.get());
    }
    ~Paper() { SelectObject(dc(), GetStockObject(BLACK_PEN)), SelectObject(dc(), GetStockObject(WHITE_BRUSH)); }
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
        for (int& count : counts)
            for (int i = 0, n = count = random.next(2, 7); i < n; ++i)
                points.push_back({random.next(-6, 42), random.next(-6, 34)});
        if (seed % 10 == 0) points.front() = {seed % 20 == 0 ? INT_MAX / 2 : -INT_MAX / 2, 14};
        ASSERT_TRUE(counts.size() == 1 ? Polygon(paper.dc(), points.data(), counts[0])
                                       : PolyPolygon(paper.dc(), points.data(), counts.data(), int(counts.size())));
        for (int y = 0; y < paper.height(); ++y)
            for (int x = 0; x < paper.width(); ++x) {
                const bool blue = (vxtest::PixelAt(paper.row(y), 32, x) & 0xFFFFFF) == 0xFF;
                ASSERT_EQ(blue, vxtest::PolygonCovers(points, counts, winding, x, y)) << seed << ": " << x << ", " << y;
            }
    }
}

// A mapping that scales both axes and flips y.
BOOL Mapped(HDC dc) {
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowOrgEx(dc, 1, -2, nullptr), SetWindowExtEx(dc, 2, -2, nullptr);
    return SetViewportExtEx(dc, 3, 2, nullptr) && SetViewportOrgEx(dc, 0, 28, nullptr);
}

// Outlines over fills, curves, painted regions and the raster operation, as Wine draws them.
TEST(GdiShapes, ShapesAsWindowsDrawsThem) {
    const POINT triangle[] = {{2, 1}, {30, 6}, {10, 25}};
    const POINT stars[] = {{20, 1}, {28, 27}, {5, 9}, {35, 9}, {12, 27}, {1, 1}, {14, 2}, {3, 12}};
    const INT counts[] = {5, 3};
    const vx::OwnedObject<HRGN> region(CreateRectRgn(2, 2, 14, 10)), second(CreateRectRgn(8, 6, 20, 16));
    const vx::OwnedObject<HRGN> third(CreateRectRgn(24, 3, 30, 20));
    CombineRgn(region.get(), region.get(), second.get(), RGN_OR);
    CombineRgn(region.get(), region.get(), third.get(), RGN_OR);
    const vx::OwnedObject<HBRUSH> red(CreateSolidBrush(RGB(255, 0, 0)));
    const HRGN r = region.get();
    const HBRUSH b = red.get();
    const vx::OwnedObject<HPEN> dashed(CreatePen(PS_DASH, 0, RGB(255, 0, 0)));
    const auto noPen = [](HDC dc) { return SelectObject(dc, GetStockObject(NULL_PEN)) != nullptr; };
    const auto xored = [](HDC dc) { return SetROP2(dc, R2_XORPEN) != 0; };
    struct Case { const char* name; std::function<BOOL(HDC)> draw; uint32_t hash; };
    const Case cases[] = {
        {"triangle", [&](HDC dc) { return Polygon(dc, triangle, 3); }, 2700982478u},
        {"star winding", [&](HDC dc) { return SetPolyFillMode(dc, WINDING) && Polygon(dc, stars, 5); }, 659961550u},
        {"two polygons xor", [&](HDC dc) { return xored(dc) && PolyPolygon(dc, stars, counts, 2); }, 2522184649u},
        {"two points", [&](HDC dc) { return Polygon(dc, triangle, 2); }, 2946012934u},
        {"ellipse", [](HDC dc) { return Ellipse(dc, 2, 2, 22, 14); }, 4007780053u},
        {"ellipses reversed, off the edge",
         [](HDC dc) { return Ellipse(dc, 38, 29, 1, 3) && Ellipse(dc, -30, -9, 31, 20); }, 3723997925u},
        {"ellipse xor", [&](HDC dc) { return xored(dc) && Ellipse(dc, 0, 0, 7, 9); }, 2538470402u},
        {"ellipse no pen", [&](HDC dc) { return noPen(dc) && Ellipse(dc, 3, 1, 34, 10); }, 1053703566u},
        {"ellipse hollow",
         [](HDC dc) { return SelectObject(dc, GetStockObject(NULL_BRUSH)) && Ellipse(dc, 1, 0, 10, 28); }, 3005589221u},
        {"small ellipses",
         [](HDC dc) {
             return Ellipse(dc, 1, 1, 4, 4) && Ellipse(dc, 6, 1, 10, 4) && Ellipse(dc, 12, 1, 14, 3) &&
                    Ellipse(dc, 16, 1, 17, 2) && Ellipse(dc, 20, 1, 26, 7) && Ellipse(dc, 1, 10, 5, 24);
         }, 3205506670u},
        {"round rectangles",
         [](HDC dc) { return RoundRect(dc, 0, 0, 20, 12, 8, 6) && RoundRect(dc, 2, 14, 12, 21, 2, 6); }, 2803000701u},
        {"round rectangle xor", [&](HDC dc) { return xored(dc) && RoundRect(dc, 3, 2, 36, 27, 40, 9); }, 991739394u},
        {"round rectangle narrow corners",
         [&](HDC dc) {
             return noPen(dc) && RoundRect(dc, 0, 0, 20, 16, 4, 14) && RoundRect(dc, 22, 0, 27, 14, 4, 14) &&
                    RoundRect(dc, 28, 2, 39, 28, -4, 9);
         }, 1044592181u},
        {"dashes along curves",
         [&](HDC dc) {
             return SelectObject(dc, dashed.get()) && Ellipse(dc, 2, 2, 38, 28) && RoundRect(dc, 5, 5, 30, 25, 16, 12);
         }, 520357437u},
        {"arcs",
         [](HDC dc) { return Arc(dc, 2, 2, 30, 24, 30, 2, 2, 2) && Arc(dc, 3, 1, 20, 28, 5, 5, 5, 5); }, 4107834982u},
        {"pie", [](HDC dc) { return Pie(dc, 2, 2, 30, 24, 30, 2, 2, 24); }, 145728174u},
        {"pie no pen", [&](HDC dc) { return noPen(dc) && Pie(dc, 1, 2, 38, 27, 2, 29, 39, 0); }, 898400630u},
        {"chord xor", [&](HDC dc) { return xored(dc) && Chord(dc, 2, 2, 31, 23, 30, 2, 2, 24); }, 490710445u},
        {"arcs of every size",
         [](HDC dc) {
             Random random{99};
             BOOL all = TRUE;
             for (int i = 0; i < 40; ++i) {
                 int at[8];
                 for (int k = 0; k < 8; ++k) at[k] = k < 2 ? random.next(-4, 30) : random.next(-9, 50);
                 at[2] = at[0] + random.next(-3, 24), at[3] = at[1] + random.next(-3, 24);
                 SetROP2(dc, i % 2 == 0 ? R2_XORPEN : R2_COPYPEN);
                 all = all && (i % 3 == 0 ? Arc : i % 3 == 1 ? Pie : Chord)(dc, at[0], at[1], at[2], at[3], at[4],
                                                                             at[5], at[6], at[7]);
             }
             return all;
         }, 1509873270u},
        {"mapped shapes",
         [&](HDC dc) {
             return Mapped(dc) && Ellipse(dc, 0, 0, 20, 30) && Polygon(dc, triangle, 3) &&
                    Chord(dc, 10, 0, 26, 30, 0, 0, 30, 30);
         }, 2537104029u},
        {"ellipse whose size maps a row short of its box",
         [](HDC dc) {
             SetMapMode(dc, MM_ANISOTROPIC), SetWindowExtEx(dc, 4, -3, nullptr), SetViewportExtEx(dc, 5, 2, nullptr);
             return SetViewportOrgEx(dc, 1, 28, nullptr) && Ellipse(dc, 1, 1, 25, 30);
         }, 1939426157u},
        {"FillRgn", [&](HDC dc) { return FillRgn(dc, r, b); }, 3947619149u},
        {"FillRgn xor", [&](HDC dc) { return xored(dc) && FillRgn(dc, r, b); }, 3041624141u},
        {"PaintRgn xor", [&](HDC dc) { return xored(dc) && PaintRgn(dc, r); }, 1178998669u},
        {"InvertRgn", [&](HDC dc) { return xored(dc) && InvertRgn(dc, r); }, 3249857437u},
        {"FrameRgn 2 x 3", [&](HDC dc) { return FrameRgn(dc, r, b, 2, 3); }, 2636210629u},
        {"FrameRgn -1 x 2 xor", [&](HDC dc) { return xored(dc) && FrameRgn(dc, r, b, -1, 2); }, 3613914317u},
        {"FrameRgn 1 x 0, 0 x 0, 7 x 7 xor",
         [&](HDC dc) {
             return xored(dc) && FrameRgn(dc, r, b, 1, 0) && FrameRgn(dc, r, b, 0, 0) && FrameRgn(dc, r, b, 7, 7);
         }, 4225158117u},
        {"FillRgn mapped", [&](HDC dc) { return Mapped(dc) && FillRgn(dc, r, b); }, 370432766u},
        {"FrameRgn mapped", [&](HDC dc) { return Mapped(dc) && FrameRgn(dc, r, b, 2, 1); }, 98298070u},
    };
    for (const Case& c : cases) {
        Paper paper;
        ASSERT_TRUE(c.draw(paper.dc())) << c.name;
        EXPECT_EQ(vxtest::PictureHash(paper), c.hash) << c.name;
    }
}

// A dotted pen, a brush and region painting through several raster operations on a 1-bit
// device bitmap (brushes dithered) and 4-, 8- and 24-bit DIB sections, as Wine draws them.
TEST(GdiShapes, ShapesOnEveryDepth) {
    const POINT points[] = {{3, 2}, {40, 9}, {12, 30}, {30, 31}, {1, 17}};
    const vx::OwnedObject<HRGN> region(CreateRectRgn(3, 3, 20, 12)), second(CreateRectRgn(15, 9, 41, 30));
    CombineRgn(region.get(), region.get(), second.get(), RGN_XOR);
    const vx::OwnedObject<HPEN> pen(CreatePen(PS_DOT, 0, RGB(200, 30, 60)));
    const vx::OwnedObject<HBRUSH> brush(CreateSolidBrush(RGB(40, 180, 90)));
    const std::pair<int, uint32_t> depths[] = {{1, 2757258593u}, {4, 1381076890u}, {8, 2791941830u}, {24, 1984834183u}};
    for (const auto& [bits, hash] : depths) {
        std::vector<RGBQUAD> table;
        for (int i = 0, n = bits == 24 ? 0 : 1 << bits; i < n; ++i)
            table.push_back({BYTE(i * 255 / (n - 1)), BYTE(i * 97 % 256), BYTE(255 - i * 255 / (n - 1)), 0});
        const vxtest::Canvas canvas(45, 33, bits, table);
        const HDC dc = canvas.dc();
        PatBlt(dc, 0, 0, 45, 33, WHITENESS), SetBkColor(dc, RGB(10, 20, 250));
        SelectObject(dc, pen.get()), SelectObject(dc, brush.get()), Polygon(dc, points, 5);
        SetROP2(dc, R2_MERGEPENNOT), Ellipse(dc, 5, 4, 39, 27);
        SetROP2(dc, R2_NOTXORPEN), RoundRect(dc, 2, 3, 44, 30, 13, 11);
        SetBkMode(dc, TRANSPARENT), Pie(dc, 0, 0, 44, 32, 40, 0, 0, 30);
        SetROP2(dc, R2_COPYPEN), Chord(dc, 10, 5, 35, 28, 0, 28, 40, 0);
        SetROP2(dc, R2_MASKPEN), FrameRgn(dc, region.get(), static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)), 2, 1);
        InvertRgn(dc, second.get());
        SelectObject(dc, GetStockObject(BLACK_PEN)), SelectObject(dc, GetStockObject(WHITE_BRUSH));
        uint32_t fnv = 2166136261u;
        for (const uint8_t b : canvas.bytes()) fnv = (fnv ^ b) * 16777619u;
        EXPECT_EQ(fnv, hash) << bits << " bits";
    }
}

// The window and viewport moved and scaled: origins wrap at 32 bits, extents scale by a
// wrapping product and a truncating quotient, an axis reaching 0 becomes 1, zero factors are
// refused after the previous extent is reported, the fixed modes change nothing, and the
// isotropic mode squares the viewport again.
TEST(GdiShapes, OffsetAndScaleTheMapping) {
    const vx::MemoryDC memory;
    const HDC dc = memory.get();
    using Extents = std::vector<long long>;  // window cx, cy, viewport cx, cy
    const auto extents = [&] {
        SIZE w{}, v{};
        GetWindowExtEx(dc, &w), GetViewportExtEx(dc, &v);
        return Extents{w.cx, w.cy, v.cx, v.cy};
    };
    // The mode, the window and viewport extents set in this order, which extent is scaled and
    // by what, the answer and the extents after.
    struct Scale { int mode; SIZE window, viewport; bool ofViewport; int factors[4]; BOOL answer; Extents after; };
    const Scale scales[] = {
        {MM_ANISOTROPIC, {10, 20}, {1, 1}, false, {0, 1, 1, 1}, FALSE, {10, 20, 1, 1}},
        {MM_ANISOTROPIC, {10, 20}, {1, 1}, false, {1, 1, 1, 0}, FALSE, {10, 20, 1, 1}},
        {MM_ANISOTROPIC, {10, 20}, {1, 1}, false, {1, 30, -1, 7}, TRUE, {1, -2, 1, 1}},
        {MM_ANISOTROPIC, {-7, 9}, {1, 1}, false, {3, 2, -5, 3}, TRUE, {-10, -15, 1, 1}},
        {MM_ANISOTROPIC, {1000000, 1000000}, {1, 1}, false, {5000, 1, 3000, 1}, TRUE, {705032704, -1294967296, 1, 1}},
        {MM_ANISOTROPIC, {1, 1}, {100, 50}, true, {7, 3, 2, 5}, TRUE, {1, 1, 233, 20}},
        {MM_ISOTROPIC, {100, 100}, {100, 100}, true, {3, 1, 1, 1}, TRUE, {100, 100, 100, 100}},
        {MM_ISOTROPIC, {100, 100}, {100, 100}, false, {1, 1, 4, 1}, TRUE, {100, 400, 25, 100}},
        {MM_TEXT, {1, 1}, {1, 1}, true, {0, 0, 0, 0}, TRUE, {1, 1, 1, 1}},
    };
    for (const Scale& s : scales) {
        SetMapMode(dc, MM_TEXT), SetMapMode(dc, s.mode);
        SetWindowExtEx(dc, s.window.cx, s.window.cy, nullptr);
        SetViewportExtEx(dc, s.viewport.cx, s.viewport.cy, nullptr);
        const Extents before = extents();
        SIZE previous{77, 77};
        const auto scale = s.ofViewport ? ScaleViewportExtEx : ScaleWindowExtEx;
        const int* f = s.factors;
        EXPECT_EQ(scale(dc, f[0], f[1], f[2], f[3], &previous), s.answer) << f[0];
        EXPECT_EQ(previous.cx, before[s.ofViewport ? 2 : 0]) << f[0];
        EXPECT_EQ(extents(), s.after) << f[0];
    }
    POINT previous{77, 77}, window{}, viewport{};
    SetWindowOrgEx(dc, 5, -6, nullptr);
    const BOOL offset = OffsetWindowOrgEx(dc, INT_MAX, -3, &previous) && OffsetViewportOrgEx(dc, -4, INT_MIN, nullptr);
    GetWindowOrgEx(dc, &window), GetViewportOrgEx(dc, &viewport);
    EXPECT_EQ((std::vector<long long>{offset, previous.x, previous.y, window.x, window.y, viewport.x, viewport.y}),
              (std::vector<long long>{TRUE, 5, -6, INT_MIN + 4, -9, -4, INT_MIN}));
}

// What a metafile DC answers: a Windows-metafile DC records even what another DC refuses and
// keeps no fill mode or mapping; an enhanced one answers as a drawing DC does.
TEST(GdiShapes, MetafileDcAnswers) {
    const POINT points[3] = {{1, 1}, {5, 1}, {3, 4}};
    const vx::OwnedObject<HRGN> region(CreateRectRgn(0, 0, 5, 5));
    for (const bool enhanced : {false, true}) {
        const HDC dc = enhanced ? CreateEnhMetaFileA(nullptr, nullptr, nullptr, nullptr) : CreateMetaFileA(nullptr);
        ASSERT_NE(dc, nullptr) << enhanced;
        POINT previous{77, 77};
        const BOOL answers[] = {GetPolyFillMode(dc), SetPolyFillMode(dc, WINDING), SetPolyFillMode(dc, ALTERNATE),
                                Polygon(dc, points, 1), Polygon(dc, points, 0), Polygon(dc, points, -1),
                                FillRgn(dc, region.get(), nullptr), PaintRgn(dc, nullptr),
                                OffsetWindowOrgEx(dc, 3, 4, nullptr) && OffsetWindowOrgEx(dc, 3, 4, &previous),
                                SetMapMode(dc, MM_ANISOTROPIC) && ScaleViewportExtEx(dc, 0, 1, 3, 1, nullptr),
                                Ellipse(dc, -1000000000, -1000000000, 1000000000, 1000000000), previous.x};
        const std::vector<BOOL> expected = enhanced ? std::vector<BOOL>{1, 1, 2, 0, 0, 0, 0, 1, 1, 0, 1, 3}
                                                    : std::vector<BOOL>{0, 1, 1, 1, 1, 0, 1, 0, 1, 1, 1, 77};
        EXPECT_EQ(std::vector<BOOL>(std::begin(answers), std::end(answers)), expected) << enhanced;
        if (enhanced) DeleteEnhMetaFile(CloseEnhMetaFile(dc));
        else DeleteMetaFile(CloseMetaFile(dc));
    }
}

// What the calls answer for bad arguments; nothing is drawn by a refused call.
TEST(GdiShapes, BadArguments) {
    Paper paper(16, 16);
    const HDC dc = paper.dc();
    const POINT p[4] = {{1, 1}, {10, 2}, {5, 9}, {2, 7}};
    const INT two[2] = {2, 2}, one[2] = {1, 3}, negative[2] = {4, -1}, huge[2] = {INT_MAX, INT_MAX};
    const vx::OwnedObject<HRGN> region(CreateRectRgn(1, 2, 3, 4));
    const HRGN r = region.get();
    const auto b = static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH));
    const int d = 1000000000;  // boxes 2^31 across
    const std::vector<BOOL> answers = {
        Polygon(dc, p, 1), Polygon(dc, p, 2), Polygon(nullptr, p, 3), PolyPolygon(dc, p, one, 2),
        PolyPolygon(dc, p, negative, 2), PolyPolygon(dc, p, huge, 2), PolyPolygon(dc, p, two, 0),
        PolyPolygon(dc, p, two, -1), Ellipse(dc, -d, -d, d, d), RoundRect(dc, -d, -d, d, d, INT_MAX, 9),
        Ellipse(dc, 3, 3, 3, 9), Arc(dc, -d, -d, d, d, 0, 0, 5, 5), Pie(dc, 5, 5, 5, 9, 0, 0, 5, 5),
        FillRgn(dc, r, nullptr), FillRgn(dc, r, reinterpret_cast<HBRUSH>(paper.pen.get())), FillRgn(dc, nullptr, b),
        FrameRgn(dc, r, nullptr, 1, 1), ScaleViewportExtEx(nullptr, 1, 1, 1, 1, nullptr), SetPolyFillMode(dc, 3)};
    EXPECT_EQ(answers, (std::vector<BOOL>{0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}));
}

}  // namespace

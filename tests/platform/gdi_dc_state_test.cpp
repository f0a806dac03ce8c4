// DC state, mapping modes, regions and clipping: the same cases run against the Linux subset
// and against GDI under Wine, the expected values being what Wine answered.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "gdi_guards.hpp"

#ifndef _WIN32
#include "platform/posix/gdi/objects.hpp"
#endif

namespace {

bool operator==(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::vector<RECT> RegionRects(HRGN region) {
#ifdef _WIN32
    std::vector<char> data(GetRegionData(region, 0, nullptr));
    auto* header = reinterpret_cast<RGNDATA*>(data.data());
    GetRegionData(region, static_cast<DWORD>(data.size()), header);
    const auto* rects = reinterpret_cast<const RECT*>(header->Buffer);
    return {rects, rects + header->rdh.nCount};
#else
    return vx::posix::gdi::Objects().find<vx::posix::gdi::Region>(region)->rects;
#endif
}

void ExpectRects(HRGN region, const std::vector<RECT>& expected) {
    const std::vector<RECT> rects = RegionRects(region);
    ASSERT_EQ(rects.size(), expected.size());
    for (size_t i = 0; i < rects.size(); ++i) {
        EXPECT_TRUE(rects[i] == expected[i]) << "rect " << i << ": " << rects[i].left << "," << rects[i].top << ","
                                             << rects[i].right << "," << rects[i].bottom;
    }
}

struct Mapping {
    POINT windowOrigin;
    SIZE windowExtent;
    POINT viewportOrigin;
    SIZE viewportExtent;
};

void SetAnisotropic(HDC dc, const Mapping& m) {
    SetMapMode(dc, MM_ANISOTROPIC);
    SetWindowExtEx(dc, m.windowExtent.cx, m.windowExtent.cy, nullptr);
    SetViewportExtEx(dc, m.viewportExtent.cx, m.viewportExtent.cy, nullptr);
    SetWindowOrgEx(dc, m.windowOrigin.x, m.windowOrigin.y, nullptr);
    SetViewportOrgEx(dc, m.viewportOrigin.x, m.viewportOrigin.y, nullptr);
}

constexpr LONG kMin = INT32_MIN;

}  // namespace

// The fixed modes scale by the device's millimetres over its pixels, y upwards; MM_ISOTROPIC
// starts from MM_LOMETRIC's extents. A mode out of range answers 0 and changes nothing.
TEST(GdiMapping, ModesSetTheirExtents) {
    const vx::MemoryDC dc;
    const int sx = GetDeviceCaps(dc.get(), HORZSIZE), sy = GetDeviceCaps(dc.get(), VERTSIZE);
    const int rx = GetDeviceCaps(dc.get(), HORZRES), ry = GetDeviceCaps(dc.get(), VERTRES);
    const auto english = [](int units, int mm) { return (units * mm + 127) / 254; };
    const struct { int mode; SIZE window, viewport; } cases[] = {
        {MM_LOMETRIC, {sx * 10, sy * 10}, {rx, -ry}},
        {MM_HIMETRIC, {sx * 100, sy * 100}, {rx, -ry}},
        {MM_LOENGLISH, {english(1000, sx), english(1000, sy)}, {rx, -ry}},
        {MM_HIENGLISH, {english(10000, sx), english(10000, sy)}, {rx, -ry}},
        {MM_TWIPS, {english(14400, sx), english(14400, sy)}, {rx, -ry}},
        {MM_ISOTROPIC, {sx * 10, sy * 10}, {rx, -ry}},
        {MM_ANISOTROPIC, {sx * 10, sy * 10}, {rx, -ry}},  // keeps what it had
        {MM_TEXT, {1, 1}, {1, 1}},
    };
    int previous = MM_TEXT;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        EXPECT_EQ(SetMapMode(dc.get(), c.mode), previous);
        previous = c.mode;
        SIZE window{}, viewport{};
        ASSERT_TRUE(GetWindowExtEx(dc.get(), &window) && GetViewportExtEx(dc.get(), &viewport));
        EXPECT_EQ(window.cx, c.window.cx);
        EXPECT_EQ(window.cy, c.window.cy);
        EXPECT_EQ(viewport.cx, c.viewport.cx);
        EXPECT_EQ(viewport.cy, c.viewport.cy);
    }
    EXPECT_EQ(SetMapMode(dc.get(), 0), 0);
    EXPECT_EQ(SetMapMode(dc.get(), MM_ANISOTROPIC + 1), 0);
    EXPECT_EQ(GetMapMode(dc.get()), MM_TEXT);
    EXPECT_EQ(SetMapMode(nullptr, MM_TEXT), 0);
    EXPECT_EQ(GetMapMode(nullptr), 0);
}

// Extents: ignored (yet answered TRUE) in a fixed mode, refused when zero; the previous value
// is reported either way. Isotropic extents shrink one viewport axis to keep units square.
TEST(GdiMapping, ExtentsAreRefusedOrSquared) {
    const vx::MemoryDC dc;
    SIZE previous{7, 7}, now{};
    EXPECT_TRUE(SetWindowExtEx(dc.get(), 5, 6, &previous));
    GetWindowExtEx(dc.get(), &now);
    EXPECT_TRUE(previous.cx == 1 && previous.cy == 1 && now.cx == 1 && now.cy == 1);
    SetMapMode(dc.get(), MM_ANISOTROPIC);
    EXPECT_FALSE(SetWindowExtEx(dc.get(), 0, 6, &previous));
    EXPECT_FALSE(SetViewportExtEx(dc.get(), 4, 0, &previous));
    GetViewportExtEx(dc.get(), &now);
    EXPECT_TRUE(now.cx == 1 && now.cy == 1);
    POINT origin{7, 7};
    EXPECT_TRUE(SetWindowOrgEx(dc.get(), 3, 4, &origin));
    EXPECT_TRUE(SetWindowOrgEx(dc.get(), 0, 0, &origin));
    EXPECT_TRUE(origin.x == 3 && origin.y == 4);
}

TEST(GdiMapping, IsotropicExtentsStaySquare) {
    const vx::MemoryDC dc;
    if (GetDeviceCaps(dc.get(), HORZRES) == 0) GTEST_SKIP() << "no device metrics yet";
    SIZE now{};
    const struct { SIZE window, viewport, expected; } isotropic[] = {
        {{100, 50}, {300, 300}, {300, 150}},  {{100, 50}, {-300, 300}, {-300, 150}},
        {{1000, 1000}, {3, 700}, {3, 3}},     {{-7, 3}, {5, -9}, {5, -2}},
        {{1000000, 1}, {1, 1}, {1, 1}},       // a zero extent is made the least one of its sign
    };
    for (const auto& c : isotropic) {
        SetMapMode(dc.get(), MM_TEXT);
        SetMapMode(dc.get(), MM_ISOTROPIC);
        SetWindowExtEx(dc.get(), c.window.cx, c.window.cy, nullptr);
        SetViewportExtEx(dc.get(), c.viewport.cx, c.viewport.cy, nullptr);
        GetViewportExtEx(dc.get(), &now);
        EXPECT_EQ(now.cx, c.expected.cx) << c.window.cx << "x" << c.window.cy;
        EXPECT_EQ(now.cy, c.expected.cy) << c.window.cx << "x" << c.window.cy;
    }
}

// Points are mapped through a single-precision matrix and rounded half up; results beyond 32
// bits become INT_MIN. DPtoLP inverts the float matrix, so it is not LPtoDP's exact inverse.
TEST(GdiMapping, PointsRoundAsWindowsDoes) {
    const vx::MemoryDC dc;
    const Mapping half{{0, 0}, {2, 2}, {0, 0}, {1, 1}}, third{{0, 0}, {3, 3}, {0, 0}, {1, 1}};
    const Mapping odd{{5, -7}, {3, 4}, {10, 20}, {7, -9}}, thousandth{{0, 0}, {1000, 1000}, {0, 0}, {1, 1}};
    const Mapping flip{{0, 0}, {1, 1}, {0, 0}, {-1, -1}}, shifted{{100, 100}, {1, 1}, {-50, 50}, {1, 1}};
    const Mapping inch{{0, 0}, {254, 254}, {0, 0}, {96, 96}}, twoThirds{{0, 0}, {3, 1}, {0, 0}, {2, 1}};
    const Mapping tenth{{1, 1}, {10, 10}, {0, 0}, {3, 3}};
    const struct { const Mapping* mapping; POINT point, device, logical; } cases[] = {
        {&half, {-1, -2000000000}, {0, -1000000000}, {-2, kMin}},
        {&half, {123, -1001}, {62, -500}, {246, -2002}},
        {&half, {-123, 1001}, {-61, 501}, {-246, 2002}},
        {&half, {2147483647, 1}, {1073741824, 1}, {kMin, 2}},
        {&third, {2000000000, 2}, {666666687, 1}, {kMin, 6}},
        {&third, {-2, 100000000}, {-1, 33333334}, {-6, 299999976}},
        {&third, {5, 46341}, {2, 15447}, {15, 139023}},
        {&odd, {123, -1001}, {285, 2257}, {53, 447}},
        {&odd, {-1001, 123}, {-2337, -272}, {-428, -53}},
        {&odd, {0, kMin}, {-2, kMin}, {1, 954437122}},
        {&odd, {46341, 5}, {108127, -7}, {19861, 0}},
        {&thousandth, {999, 1000}, {1, 1}, {999000, 1000000}},
        {&thousandth, {-1001, 123}, {-1, 0}, {-1001000, 123000}},
        {&thousandth, {5, 46341}, {0, 46}, {5000, 46340997}},
        {&flip, {1, 2147483647}, {-1, -2147483647}, {-1, -2147483647}},
        {&flip, {kMin, 0}, {kMin, 0}, {kMin, 0}},
        {&shifted, {2147483647, 1}, {2147483497, -49}, {kMin, 51}},
        {&shifted, {kMin, 0}, {kMin, -50}, {-2147483498, 50}},
        {&inch, {-11, 65535}, {-4, 24769}, {-29, 173395}},
        {&inch, {1000, 999}, {378, 378}, {2646, 2643}},
        {&twoThirds, {999, 1000}, {666, 1000}, {1499, 1000}},
        {&twoThirds, {1000, 999}, {667, 999}, {1500, 999}},
        {&twoThirds, {65535, -11}, {43690, -11}, {98303, -11}},
        {&tenth, {-123, 1001}, {-37, 300}, {-409, 3338}},
        {&tenth, {1001, -123}, {300, -37}, {3338, -409}},
    };
    for (const auto& c : cases) {
        SetAnisotropic(dc.get(), *c.mapping);
        POINT device = c.point, logical = c.point;
        ASSERT_TRUE(LPtoDP(dc.get(), &device, 1));
        ASSERT_TRUE(DPtoLP(dc.get(), &logical, 1));
        EXPECT_EQ(device.x, c.device.x) << c.point.x << "," << c.point.y;
        EXPECT_EQ(device.y, c.device.y) << c.point.x << "," << c.point.y;
        EXPECT_EQ(logical.x, c.logical.x) << c.point.x << "," << c.point.y;
        EXPECT_EQ(logical.y, c.logical.y) << c.point.x << "," << c.point.y;
    }
    POINT point{1, 2};
    EXPECT_TRUE(LPtoDP(dc.get(), &point, 0));
    EXPECT_FALSE(LPtoDP(nullptr, &point, 1));
    EXPECT_FALSE(DPtoLP(nullptr, &point, 1));
}

// SaveDC answers the new depth; RestoreDC takes a depth or (negative) a count from the top,
// drops what was saved after it, and refuses 0 and levels beyond the stack.
TEST(GdiDcState, SavedStatesComeBackByLevel) {
    const vx::MemoryDC dc;
    const auto set = [&](int mode, int rop, int x) {
        SetMapMode(dc.get(), mode);
        SetROP2(dc.get(), rop);
        MoveToEx(dc.get(), x, 0, nullptr);
    };
    const auto expectState = [&](int mode, int rop, int x) {
        POINT position{};
        MoveToEx(dc.get(), x, 0, &position);
        EXPECT_EQ(GetMapMode(dc.get()), mode);
        EXPECT_EQ(GetROP2(dc.get()), rop);
        EXPECT_EQ(position.x, x);
    };
    set(MM_ANISOTROPIC, R2_XORPEN, 1);
    EXPECT_EQ(SaveDC(dc.get()), 1);
    set(MM_LOMETRIC, R2_NOT, 2);
    EXPECT_EQ(SaveDC(dc.get()), 2);
    set(MM_TWIPS, R2_BLACK, 3);
    EXPECT_EQ(SaveDC(dc.get()), 3);
    set(MM_TEXT, R2_WHITE, 4);
    for (int refused : {0, 4, -4}) EXPECT_FALSE(RestoreDC(dc.get(), refused)) << refused;
    expectState(MM_TEXT, R2_WHITE, 4);
    EXPECT_TRUE(RestoreDC(dc.get(), -1));
    expectState(MM_TWIPS, R2_BLACK, 3);
    EXPECT_EQ(SaveDC(dc.get()), 3);
    EXPECT_TRUE(RestoreDC(dc.get(), 2));  // drops levels 3 and 2
    expectState(MM_LOMETRIC, R2_NOT, 2);
    EXPECT_FALSE(RestoreDC(dc.get(), 2));
    EXPECT_TRUE(RestoreDC(dc.get(), -1));
    expectState(MM_ANISOTROPIC, R2_XORPEN, 1);
    EXPECT_FALSE(RestoreDC(dc.get(), -1));
    EXPECT_EQ(SaveDC(nullptr), 0);
    EXPECT_FALSE(RestoreDC(nullptr, 1));
    for (int refused : {0, R2_WHITE + 1}) EXPECT_EQ(SetROP2(dc.get(), refused), 0);
    EXPECT_EQ(GetROP2(dc.get()), R2_XORPEN);
}

// Rectangles are normalised; an empty one is the empty region with an all-zero box.
TEST(GdiRegions, RectanglesAreNormalised) {
    const struct { RECT rect; int type; RECT box; } cases[] = {
        {{10, 20, 0, 5}, SIMPLEREGION, {0, 5, 10, 20}},
        {{30, 40, 10, 0}, SIMPLEREGION, {10, 0, 30, 40}},
        {{5, 5, 5, 10}, NULLREGION, {0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        const vx::OwnedObject<HRGN> region(CreateRectRgnIndirect(&c.rect));
        RECT box{};
        EXPECT_EQ(GetRgnBox(region.get(), &box), c.type);
        EXPECT_TRUE(box == c.box) << c.rect.left;
        EXPECT_EQ(OffsetRgn(region.get(), 3, 4), c.type);
    }
    const vx::OwnedObject<HRGN> region(CreateRectRgn(0, 5, 10, 20));
    const struct { int x, y; BOOL inside; } points[] = {{0, 5, TRUE}, {9, 19, TRUE}, {10, 19, FALSE}, {9, 20, FALSE}};
    for (const auto& p : points) EXPECT_EQ(PtInRegion(region.get(), p.x, p.y), p.inside) << p.x << "," << p.y;
    EXPECT_FALSE(PtInRegion(nullptr, 1, 1));
    EXPECT_EQ(OffsetRgn(nullptr, 1, 1), ERROR);
}

// Combinations answer the complexity and keep Windows' bands: rows of equal top and bottom,
// touching rows with the same spans merged.
TEST(GdiRegions, CombinationsKeepWindowsBands) {
    const RECT square{0, 0, 10, 10};
    const struct { RECT other; int mode, type; std::vector<RECT> rects; } cases[] = {
        {{5, 5, 15, 15}, RGN_AND, SIMPLEREGION, {{5, 5, 10, 10}}},
        {{5, 5, 15, 15}, RGN_OR, COMPLEXREGION, {{0, 0, 10, 5}, {0, 5, 15, 10}, {5, 10, 15, 15}}},
        {{5, 5, 15, 15}, RGN_XOR, COMPLEXREGION, {{0, 0, 10, 5}, {0, 5, 5, 10}, {10, 5, 15, 10}, {5, 10, 15, 15}}},
        {{5, 5, 15, 15}, RGN_DIFF, COMPLEXREGION, {{0, 0, 10, 5}, {0, 5, 5, 10}}},
        {{5, 5, 15, 15}, RGN_COPY, SIMPLEREGION, {{0, 0, 10, 10}}},
        {{10, 0, 20, 10}, RGN_AND, NULLREGION, {}},
        {{10, 0, 20, 10}, RGN_XOR, SIMPLEREGION, {{0, 0, 20, 10}}},
        {{0, 10, 10, 20}, RGN_OR, SIMPLEREGION, {{0, 0, 10, 20}}},
        {{20, 20, 30, 30}, RGN_OR, COMPLEXREGION, {{0, 0, 10, 10}, {20, 20, 30, 30}}},
        {{2, 2, 8, 8}, RGN_OR, SIMPLEREGION, {{0, 0, 10, 10}}},
        {{2, 2, 8, 8}, RGN_XOR, COMPLEXREGION, {{0, 0, 10, 2}, {0, 2, 2, 8}, {8, 2, 10, 8}, {0, 8, 10, 10}}},
        {{0, 0, 10, 10}, RGN_XOR, NULLREGION, {}},
        {{0, 5, 10, 15}, RGN_XOR, COMPLEXREGION, {{0, 0, 10, 5}, {0, 10, 10, 15}}},
        {{3, -5, 6, 20}, RGN_OR, COMPLEXREGION, {{3, -5, 6, 0}, {0, 0, 10, 10}, {3, 10, 6, 20}}},
        {{-5, 3, 20, 6}, RGN_DIFF, COMPLEXREGION, {{0, 0, 10, 3}, {0, 6, 10, 10}}},
        {{0, 0, 0, 0}, RGN_AND, NULLREGION, {}},
        {{0, 0, 0, 0}, RGN_DIFF, SIMPLEREGION, {{0, 0, 10, 10}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.other.left << "," << c.other.top << " mode " << c.mode);
        const vx::OwnedObject<HRGN> a(CreateRectRgnIndirect(&square)), b(CreateRectRgnIndirect(&c.other));
        const vx::OwnedObject<HRGN> result(CreateRectRgn(0, 0, 0, 0));
        EXPECT_EQ(CombineRgn(result.get(), a.get(), b.get(), c.mode), c.type);
        ExpectRects(result.get(), c.rects);
    }
    // Regions combined with their results, then moved.
    const vx::OwnedObject<HRGN> a(CreateRectRgn(0, 0, 10, 10)), b(CreateRectRgn(5, 5, 15, 15));
    const vx::OwnedObject<HRGN> c(CreateRectRgn(2, -3, 4, 30)), d(CreateRectRgn(0, 0, 1, 1));
    CombineRgn(d.get(), a.get(), b.get(), RGN_XOR);
    EXPECT_EQ(CombineRgn(d.get(), d.get(), c.get(), RGN_XOR), COMPLEXREGION);
    ExpectRects(d.get(), {{2, -3, 4, 0}, {0, 0, 2, 5}, {4, 0, 10, 5}, {0, 5, 2, 10}, {4, 5, 5, 10}, {10, 5, 15, 10},
                          {2, 10, 4, 15}, {5, 10, 15, 15}, {2, 15, 4, 30}});
    RECT box{};
    EXPECT_EQ(GetRgnBox(d.get(), &box), COMPLEXREGION);
    EXPECT_TRUE(box == (RECT{0, -3, 15, 30}));
    CombineRgn(d.get(), d.get(), a.get(), RGN_DIFF);
    EXPECT_EQ(OffsetRgn(d.get(), -3, 7), COMPLEXREGION);
    ExpectRects(d.get(), {{-1, 4, 1, 7}, {7, 12, 12, 17}, {-1, 17, 1, 22}, {2, 17, 12, 22}, {-1, 22, 1, 37}});
    // Refusals: modes out of range, a missing source, a missing destination.
    EXPECT_EQ(CombineRgn(d.get(), a.get(), nullptr, RGN_COPY), SIMPLEREGION);
    for (int mode : {0, RGN_COPY + 1}) EXPECT_EQ(CombineRgn(d.get(), a.get(), b.get(), mode), ERROR);
    EXPECT_EQ(CombineRgn(d.get(), a.get(), nullptr, RGN_AND), ERROR);
    EXPECT_EQ(CombineRgn(nullptr, a.get(), b.get(), RGN_OR), ERROR);
}

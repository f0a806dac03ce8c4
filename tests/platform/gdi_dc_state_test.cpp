// DC state, mapping modes, regions, clipping, pens and lines: the same cases run against the
// Linux subset and against GDI under Wine, the expected values being what Wine answered.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "gdi_support.hpp"

#ifndef _WIN32
#include "platform/posix/gdi/objects.hpp"
#endif

namespace {

using vxtest::SetMapping;

std::string Text(const RECT& r) {
    return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," + std::to_string(r.bottom);
}

// A region's rectangles as "l,t,r,b " each, in the order the region keeps them.
std::string RegionText(HRGN region) {
#ifdef _WIN32
    std::vector<char> data(GetRegionData(region, 0, nullptr));
    auto* header = reinterpret_cast<RGNDATA*>(data.data());
    GetRegionData(region, static_cast<DWORD>(data.size()), header);
    const auto* first = reinterpret_cast<const RECT*>(header->Buffer);
    const std::vector<RECT> rects(first, first + header->rdh.nCount);
#else
    const std::vector<RECT> rects = vx::posix::gdi::Objects().find<vx::posix::gdi::Region>(region)->rects;
#endif
    std::string text;
    for (const RECT& r : rects) text += Text(r) + " ";
    return text;
}

constexpr LONG kMin = INT32_MIN;

}  // namespace

// The fixed modes scale by the device's millimetres over its pixels, y upwards; MM_ISOTROPIC starts
// as MM_LOMETRIC, later extents squaring its units. Fixed modes ignore extents, zero ones are refused.
TEST(GdiMapping, ModesAndExtents) {
    const vx::MemoryDC dc;
    const HDC d = dc.get();
    const int sx = GetDeviceCaps(d, HORZSIZE), sy = GetDeviceCaps(d, VERTSIZE);
    const int rx = GetDeviceCaps(d, HORZRES), ry = GetDeviceCaps(d, VERTRES);
    // Units per millimetre times 10 (metric) or per inch (English, rounded); the last mode keeps them.
    const struct { int mode, units; bool inches; } modes[] = {{MM_LOMETRIC, 10, false}, {MM_HIMETRIC, 100, false},
        {MM_LOENGLISH, 1000, true}, {MM_HIENGLISH, 10000, true}, {MM_TWIPS, 14400, true}, {MM_ISOTROPIC, 10, false},
        {MM_ANISOTROPIC, 10, false}};
    int previous = MM_TEXT;
    for (const auto& c : modes) {
        EXPECT_EQ(SetMapMode(d, c.mode), std::exchange(previous, c.mode));
        const auto scale = [&](int mm) { return c.inches ? (c.units * mm + 127) / 254 : c.units * mm; };
        SIZE window{}, viewport{};
        EXPECT_TRUE(GetWindowExtEx(d, &window) && GetViewportExtEx(d, &viewport) && window.cx == scale(sx) &&
                    window.cy == scale(sy) && viewport.cx == rx && viewport.cy == -ry) << c.mode;
    }
    EXPECT_EQ(SetMapMode(d, MM_TEXT), MM_ANISOTROPIC);
    for (int refused : {0, MM_ANISOTROPIC + 1}) EXPECT_EQ(SetMapMode(d, refused), 0);
    EXPECT_TRUE(GetMapMode(d) == MM_TEXT && GetMapMode(nullptr) == 0);
    SIZE before{7, 7}, now{};
    EXPECT_TRUE(SetWindowExtEx(d, 5, 6, &before) && GetWindowExtEx(d, &now) && before.cx == 1 && now.cx == 1);
    SetMapMode(d, MM_ANISOTROPIC);
    EXPECT_FALSE(SetWindowExtEx(d, 0, 6, nullptr) || SetViewportExtEx(d, 4, 0, nullptr));
    const struct { SIZE window, viewport, expected; } isotropic[] = {  // the last rounded to 0: the least of its sign
        {{100, 50}, {300, 300}, {300, 150}}, {{100, 50}, {-300, 300}, {-300, 150}}, {{1000, 1000}, {3, 700}, {3, 3}},
        {{-7, 3}, {5, -9}, {5, -2}}, {{1000000, 1}, {1, 1}, {1, 1}}};
    for (const auto& c : isotropic) {
        SetMapMode(d, MM_TEXT), SetMapMode(d, MM_ISOTROPIC);
        SetWindowExtEx(d, c.window.cx, c.window.cy, nullptr);
        SetViewportExtEx(d, c.viewport.cx, c.viewport.cy, nullptr);
        GetViewportExtEx(d, &now);
        EXPECT_TRUE(now.cx == c.expected.cx && now.cy == c.expected.cy) << now.cx << "x" << now.cy;
    }
}

// Points are mapped through a single-precision matrix and rounded half up; results beyond 32
// bits become INT_MIN. DPtoLP inverts the float matrix, so it is not LPtoDP's exact inverse.
TEST(GdiMapping, PointsRoundAsWindowsDoes) {
    const vx::MemoryDC dc;
    const struct { LONG mapping[8]; POINT point, device, logical; } cases[] = {
        {{0, 0, 2, 2, 0, 0, 1, 1}, {-1, -2000000000}, {0, -1000000000}, {-2, kMin}},
        {{0, 0, 3, 3, 0, 0, 1, 1}, {2000000000, 2}, {666666687, 1}, {kMin, 6}},
        {{5, -7, 3, 4, 10, 20, 7, -9}, {-1001, 123}, {-2337, -272}, {-428, -53}},
        {{5, -7, 3, 4, 10, 20, 7, -9}, {0, kMin}, {-2, kMin}, {1, 954437122}},
        {{0, 0, 1, 1, 0, 0, -1, -1}, {kMin, 2147483647}, {kMin, -2147483647}, {kMin, -2147483647}},
        {{100, 100, 1, 1, -50, 50, 1, 1}, {kMin, 2147483647}, {kMin, 2147483597}, {-2147483498, kMin}},
        {{1, 1, 10, 10, 0, 0, 3, 3}, {-123, 1001}, {-37, 300}, {-409, 3338}},
    };
    for (const auto& c : cases) {
        SetMapping(dc.get(), c.mapping);
        POINT both[2] = {c.point, c.point};
        ASSERT_TRUE(LPtoDP(dc.get(), &both[0], 1) && DPtoLP(dc.get(), &both[1], 1));
        EXPECT_TRUE(both[0].x == c.device.x && both[0].y == c.device.y && both[1].x == c.logical.x && both[1].y == c.logical.y)
            << both[0].x << "," << both[0].y << " " << both[1].x << "," << both[1].y;
    }
    POINT point{1, 2};
    SetMapping(dc.get(), {0, 0, 1 << 30, 1 << 30, 0, 0, 1, 1});  // too small a scale to invert
    EXPECT_TRUE(LPtoDP(dc.get(), &point, 0) && !DPtoLP(dc.get(), &point, 1) && point.x == 1);
    EXPECT_FALSE(LPtoDP(nullptr, &point, 1) || DPtoLP(nullptr, &point, 1));
}

// SaveDC answers the new depth; RestoreDC takes a depth or (negative) a count from the top,
// drops what was saved after it, and refuses 0 and levels beyond the stack.
TEST(GdiDcState, SavedStatesComeBackByLevel) {
    const vx::MemoryDC dc;
    const HDC d = dc.get();
    const int rops[] = {R2_XORPEN, R2_NOT, R2_BLACK, R2_WHITE};  // state i: this and map mode i + 1
    for (int i = 0; i < 4; ++i) {
        SetROP2(d, rops[i]);
        SetMapMode(d, MM_TEXT + i);
        EXPECT_EQ(i < 3 ? SaveDC(d) : 4, i + 1);
    }
    const struct { int level; BOOL answer; int state; } steps[] = {
        {0, FALSE, 3}, {4, FALSE, 3}, {-4, FALSE, 3}, {-1, TRUE, 2}, {2, TRUE, 1},  // drops levels 2 and 3
        {2, FALSE, 1}, {-1, TRUE, 0}, {-1, FALSE, 0}, {1, FALSE, 0}};
    for (const auto& s : steps) {
        EXPECT_EQ(RestoreDC(d, s.level), s.answer) << s.level;
        EXPECT_TRUE(GetROP2(d) == rops[s.state] && GetMapMode(d) == MM_TEXT + s.state) << s.level;
    }
    // A bitmap selection deleted since it was saved is not restored: the current one stays.
    const vxtest::Canvas canvas(2, 2, 1);
    const HBITMAP saved = CreateBitmap(3, 3, 1, 1, nullptr), kept = CreateBitmap(4, 4, 1, 1, nullptr);
    const HGDIOBJ original = SelectObject(canvas.dc(), saved);
    EXPECT_TRUE(SaveDC(canvas.dc()) && SelectObject(canvas.dc(), kept) && DeleteObject(saved));
    EXPECT_TRUE(RestoreDC(canvas.dc(), 1) && GetCurrentObject(canvas.dc(), OBJ_BITMAP) == kept);
    EXPECT_TRUE(SelectObject(canvas.dc(), original) && DeleteObject(kept));
    // A restored pen is held again: deleted while selected, it lives until it is let go.
    const HPEN pen = CreatePen(PS_SOLID, 0, RGB(1, 2, 3));
    EXPECT_TRUE(SelectObject(canvas.dc(), pen) && SaveDC(canvas.dc()));
    EXPECT_TRUE(SelectObject(canvas.dc(), GetStockObject(WHITE_PEN)) && RestoreDC(canvas.dc(), -1));
    EXPECT_TRUE(DeleteObject(pen) && GetObjectType(pen) == OBJ_PEN);
    EXPECT_TRUE(SelectObject(canvas.dc(), GetStockObject(WHITE_PEN)) && GetObjectType(pen) == 0);
    EXPECT_FALSE(SaveDC(nullptr) || RestoreDC(nullptr, 1));
    for (int refused : {0, R2_WHITE + 1}) EXPECT_EQ(SetROP2(d, refused), 0);
}

// Combinations answer the complexity and keep Windows' bands: rows of equal top and bottom,
// touching rows with the same spans merged. Rectangles are normalised; empty ones are empty.
TEST(GdiRegions, CombinationsKeepWindowsBands) {
    const struct { RECT other; int mode, type; const char* rects; } cases[] = {
        {{15, 15, 5, 5}, RGN_AND, SIMPLEREGION, "5,5,10,10 "}, {{10, 0, 20, 10}, RGN_XOR, SIMPLEREGION, "0,0,20,10 "},
        {{5, 5, 15, 15}, RGN_OR, COMPLEXREGION, "0,0,10,5 0,5,15,10 5,10,15,15 "},
        {{5, 5, 15, 15}, RGN_XOR, COMPLEXREGION, "0,0,10,5 0,5,5,10 10,5,15,10 5,10,15,15 "},
        {{5, 5, 15, 15}, RGN_DIFF, COMPLEXREGION, "0,0,10,5 0,5,5,10 "}, {{0, 10, 10, 20}, RGN_OR, SIMPLEREGION, "0,0,10,20 "},
        {{3, -5, 6, 20}, RGN_OR, COMPLEXREGION, "3,-5,6,0 0,0,10,10 3,10,6,20 "},
        {{7, 7, 7, 20}, RGN_DIFF, SIMPLEREGION, "0,0,10,10 "}};
    const vx::OwnedObject<HRGN> square(CreateRectRgn(0, 0, 10, 10)), result(CreateRectRgn(0, 0, 0, 0));
    for (const auto& c : cases) {
        const vx::OwnedObject<HRGN> other(CreateRectRgnIndirect(&c.other));
        EXPECT_EQ(CombineRgn(result.get(), square.get(), other.get(), c.mode), c.type) << Text(c.other);
        EXPECT_EQ(RegionText(result.get()), c.rects) << Text(c.other) << " mode " << c.mode;
    }
    // Regions combined with their results, then moved.
    const vx::OwnedObject<HRGN> b(CreateRectRgn(5, 5, 15, 15)), c(CreateRectRgn(2, -3, 4, 30));
    CombineRgn(result.get(), square.get(), b.get(), RGN_XOR);
    EXPECT_EQ(CombineRgn(result.get(), result.get(), c.get(), RGN_XOR), COMPLEXREGION);
    EXPECT_EQ(RegionText(result.get()), "2,-3,4,0 0,0,2,5 4,0,10,5 0,5,2,10 4,5,5,10 10,5,15,10 2,10,4,15 "
                                        "5,10,15,15 2,15,4,30 ");
    RECT box{};
    EXPECT_TRUE(GetRgnBox(result.get(), &box) == COMPLEXREGION && Text(box) == "0,-3,15,30");
    CombineRgn(result.get(), result.get(), square.get(), RGN_DIFF);
    EXPECT_EQ(OffsetRgn(result.get(), -3, 7), COMPLEXREGION);
    EXPECT_EQ(RegionText(result.get()), "-1,4,1,7 7,12,12,17 -1,17,1,22 2,17,12,22 -1,22,1,37 ");
    EXPECT_TRUE(PtInRegion(result.get(), -1, 4) && PtInRegion(result.get(), 0, 36));
    EXPECT_FALSE(PtInRegion(result.get(), 1, 4) || PtInRegion(result.get(), 0, 37) || PtInRegion(nullptr, 0, 0));
    // Refusals: modes out of range, a missing source or destination, a missing region.
    EXPECT_EQ(CombineRgn(result.get(), square.get(), nullptr, RGN_COPY), SIMPLEREGION);
    for (int mode : {0, RGN_COPY + 1}) EXPECT_EQ(CombineRgn(result.get(), square.get(), b.get(), mode), ERROR);
    EXPECT_TRUE(CombineRgn(result.get(), square.get(), nullptr, RGN_AND) == ERROR &&
                CombineRgn(nullptr, square.get(), b.get(), RGN_OR) == ERROR && OffsetRgn(nullptr, 1, 1) == ERROR);
}

// What the clipping calls answer, and the clip box they leave (logical coordinates), on a
// 20 x 10 bitmap; the clipping region may reach beyond the bitmap.
TEST(GdiClipping, ClipCallsAnswerAsWindows) {
    const vxtest::Canvas canvas(20, 10, 1);
    const HDC dc = canvas.dc();
    const vx::OwnedObject<HRGN> two(CreateRectRgn(0, 0, 3, 3)), distant(CreateRectRgn(100, 100, 103, 103));
    CombineRgn(two.get(), two.get(), distant.get(), RGN_OR);
    enum Call { None, Intersect, Exclude, Select, Map };
    constexpr int S = SIMPLEREGION, C = COMPLEXREGION, N = NULLREGION;
    const struct { Call call; RECT rect; HRGN region; int answer, type; const char* box; } steps[] = {
        // An empty cut keeps its corners as they are; mapped back, corners are not reordered.
        {None, {}, nullptr, 0, S, "0,0,20,10"},              {Intersect, {5, -5, 30, 5}, nullptr, S, S, "5,0,20,5"},
        {Exclude, {8, 0, 10, 2}, nullptr, C, C, "5,0,20,5"}, {Select, {}, nullptr, S, S, "0,0,20,10"},
        {Intersect, {50, 50, 60, 60}, nullptr, S, N, "50,50,20,10"}, {Select, {}, nullptr, S, S, "0,0,20,10"},
        {Exclude, {-5, 3, 100, 4}, nullptr, C, C, "0,0,20,10"}, {Select, {}, two.get(), C, C, "0,0,20,10"},
        {Select, {}, distant.get(), S, N, "100,100,20,10"},  {Select, {}, nullptr, S, S, "0,0,20,10"},
        {Map, {}, nullptr, 0, S, "0,20,40,0"},               {Intersect, {2, 2, 10, 10}, nullptr, S, S, "2,10,10,2"}};
    for (const auto& s : steps) {
        const RECT& r = s.rect;
        if (s.call == Map) SetMapping(dc, {0, 0, 2, 2, 0, 10, 1, -1});
        const int answer = s.call == Intersect ? IntersectClipRect(dc, r.left, r.top, r.right, r.bottom)
                           : s.call == Exclude ? ExcludeClipRect(dc, r.left, r.top, r.right, r.bottom)
                           : s.call == Select  ? SelectClipRgn(dc, s.region) : 0;
        RECT box{};
        const int type = GetClipBox(dc, &box);
        EXPECT_TRUE(answer == s.answer && type == s.type && Text(box) == s.box) << s.call << " " << Text(r);
    }
    RECT box{};
    EXPECT_TRUE(SelectClipRgn(nullptr, nullptr) == ERROR && GetClipBox(nullptr, &box) == ERROR);
}

namespace {

using vxtest::SetMapping;

// A 1-bit canvas, all white, and its black pixels (outside any clipping region).
struct White : vxtest::Canvas {
    White(int width, int height) : Canvas(width, height, 1) {
        const std::vector<uint8_t> ones(bytes().size(), 0xFF);
        SetBitmapBits(bitmap(), static_cast<DWORD>(ones.size()), ones.data());
    }
    bool Black(int x, int y) const { return GetPixel(dc(), x, y) == RGB(0, 0, 0); }
    // Calls `each(x, y, black)` for every pixel, row by row.
    template <class Each> void Scan(Each each) const {
        for (int i = 0; i < width() * height(); ++i) each(i % width(), i / width(), Black(i % width(), i / width()));
    }
};

uint32_t Fnv(const std::vector<uint8_t>& bytes) {
    uint32_t hash = 2166136261u;
    for (uint8_t b : bytes) hash = (hash ^ b) * 16777619u;
    return hash;
}

void DrawLines(HDC dc, std::initializer_list<std::pair<POINT, POINT>> lines) {
    for (const auto& [from, to] : lines) {
        MoveToEx(dc, from.x, from.y, nullptr);
        LineTo(dc, to.x, to.y);
    }
}

// Lines from many starts to many ends, some far off the surface, each inverting its pixels.
void DrawStar(HDC dc) {
    SetROP2(dc, R2_NOT);
    for (const POINT& s : {POINT{20, 20}, POINT{3, 40}, POINT{45, 7}, POINT{-30, 70}, POINT{100, -20}})
        for (int i = 0; i < 40; ++i)
            DrawLines(dc, {{s, {s.x + ((i * 7) % 23 - 11) * (i % 5 + 1), s.y + ((i * 11) % 19 - 9) * (i % 3 + 2)}}});
    DrawLines(dc, {{{-1000000, -999999}, {1000000, 1000001}}, {{0x20000000, 5}, {-5, 30}}});
    SetROP2(dc, R2_COPYPEN);
}

}  // namespace

// The pixels a line lights from (8, 8), relative to it: every octant, the ties settled by the
// octant's bias, the last point left out.
TEST(GdiLines, LinesLightWindowsPixels) {
    const struct { POINT end; const char* pixels; } cases[] = {
        {{-5, 2}, "-1,0 0,0 -3,1 -2,1 -4,2 "}, {{-5, -2}, "-4,-2 -3,-1 -2,-1 -1,0 0,0 "},
        {{5, -2}, "4,-2 2,-1 3,-1 0,0 1,0 "}, {{4, 2}, "0,0 1,0 2,1 3,1 "}, {{2, 4}, "0,0 0,1 1,2 1,3 "},
        {{-2, 4}, "0,0 -1,1 -1,2 -2,3 "}, {{-4, 2}, "-1,0 0,0 -3,1 -2,1 "}, {{-4, -2}, "-3,-2 -2,-1 -1,-1 0,0 "},
        {{-2, -4}, "-2,-3 -1,-2 -1,-1 0,0 "}, {{2, -4}, "1,-3 1,-2 0,-1 0,0 "}, {{4, -2}, "3,-2 1,-1 2,-1 0,0 "},
        {{7, 1}, "0,0 1,0 2,0 3,0 4,1 5,1 6,1 "}, {{0, 0}, ""}};
    for (const auto& c : cases) {
        const White canvas(16, 16);
        DrawLines(canvas.dc(), {{{8, 8}, {8 + c.end.x, 8 + c.end.y}}});
        std::string lit;
        canvas.Scan([&](int x, int y, bool black) {
            if (black) lit += std::to_string(x - 8) + "," + std::to_string(y - 8) + " ";
        });
        EXPECT_EQ(lit, c.pixels) << "to " << c.end.x << "," << c.end.y;
    }
}

// Many lines match Windows' pixels as a whole; clipped, they light the unclipped pixels inside the clip.
TEST(GdiLines, ClippedLinesLightTheUnclippedPixels) {
    const White whole(64, 48), clipped(64, 48);
    DrawStar(whole.dc());
    EXPECT_EQ(Fnv(whole.bytes()), 821023808u);
    const vx::OwnedObject<HRGN> clip(CreateRectRgn(5, 3, 40, 30)), hole(CreateRectRgn(12, -4, 19, 60));
    const vx::OwnedObject<HRGN> band(CreateRectRgn(30, 25, 70, 44));
    CombineRgn(clip.get(), clip.get(), hole.get(), RGN_XOR);
    CombineRgn(clip.get(), clip.get(), band.get(), RGN_OR);
    EXPECT_EQ(SelectClipRgn(clipped.dc(), clip.get()), COMPLEXREGION);
    DrawStar(clipped.dc());
    SelectClipRgn(clipped.dc(), nullptr);
    clipped.Scan([&](int x, int y, bool black) {
        EXPECT_EQ(black, PtInRegion(clip.get(), x, y) && whole.Black(x, y)) << x << "," << y;
    });
}

// Each binary raster operation works bit by bit on whole pixel values, unused top bits included:
// row r - 1 drawn with operation r over varied bytes, row 16 with R2_COPYPEN (the pen's value).
TEST(GdiLines, RasterOperationsWorkOnPixelBits) {
    const struct { int bits; COLORREF pen; } cases[] = {
        {1, RGB(0, 0, 0)}, {1, RGB(255, 255, 255)}, {4, RGB(249, 6, 0)}, {8, RGB(0xA5, 0x5A, 0)},
        {16, RGB(0x12, 0x34, 0x56)}, {24, RGB(0x12, 0x34, 0x56)}, {32, RGB(0x12, 0x34, 0x56)}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bits << " bits, pen " << std::hex << c.pen);
        std::vector<RGBQUAD> table;  // index i: red 255 - i, green i
        for (int i = 0; i < (c.bits <= 8 ? 1 << c.bits : 0); ++i) table.push_back({0, BYTE(i), BYTE(255 - i), 0});
        const vxtest::Canvas canvas(16, 17, c.bits, table);
        std::vector<uint8_t> pattern(canvas.bytes().size());
        for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<uint8_t>(i * 37 + 11);
        SetBitmapBits(canvas.bitmap(), static_cast<DWORD>(pattern.size()), pattern.data());
        const vx::OwnedObject<HPEN> pen(CreatePen(PS_SOLID, 0, c.pen));
        const HGDIOBJ old = SelectObject(canvas.dc(), pen.get());
        for (int rop = R2_BLACK; rop <= R2_WHITE + 1; ++rop) {
            SetROP2(canvas.dc(), rop > R2_WHITE ? R2_COPYPEN : rop);
            DrawLines(canvas.dc(), {{{0, rop - 1}, {16, rop - 1}}});
        }
        SelectObject(canvas.dc(), old);
        const std::vector<uint8_t> after = canvas.bytes();
        // The value of pixel (x, y) from the bytes of a canvas 16 pixels wide.
        const auto value = [&](const std::vector<uint8_t>& b, int x, int y) { return vxtest::PixelAt(&b[y * 2 * c.bits], c.bits, x); };
        const uint32_t p = value(after, 0, 16);
        for (int rop = R2_BLACK; rop <= R2_WHITE; ++rop)
            for (int x = 0; x < 16; ++x) {
                const uint32_t d = value(pattern, x, rop - 1);
                uint32_t expected = 0;  // bit (2 P + D) of rop - 1 is the result's bit
                for (int bit = 0; bit < c.bits; ++bit)
                    expected |= ((rop - 1u) >> (((p >> bit) & 1) * 2 + ((d >> bit) & 1)) & 1) << bit;
                EXPECT_EQ(value(after, x, rop - 1), expected) << "R2 " << rop << ", x " << x;
            }
    }
}

// Rectangle: the outline through the corners less one, the brush inside (with PS_NULL up to them).
// Dashes follow Windows' patterns, restarted by each call, along a polyline, gaps in background colour.
TEST(GdiLines, RectanglesAndDashes) {
    const White canvas(24, 12);
    const struct { int pen, brush; RECT rect; } rectangles[] = {
        {NULL_PEN, BLACK_BRUSH, {1, 1, 7, 6}}, {BLACK_PEN, NULL_BRUSH, {9, 1, 15, 6}}, {WHITE_PEN, BLACK_BRUSH, {17, 1, 23, 6}},
        {WHITE_PEN, BLACK_BRUSH, {5, 8, 1, 11}}, {BLACK_PEN, BLACK_BRUSH, {9, 8, 9, 11}}, {BLACK_PEN, NULL_BRUSH, {12, 8, 13, 9}},
        {BLACK_PEN, NULL_BRUSH, {15, 8, 17, 10}}};
    for (const auto& r : rectangles) {
        SelectObject(canvas.dc(), GetStockObject(r.pen));
        SelectObject(canvas.dc(), GetStockObject(r.brush));
        EXPECT_TRUE(Rectangle(canvas.dc(), r.rect.left, r.rect.top, r.rect.right, r.rect.bottom));
    }
    std::string picture;
    canvas.Scan([&](int x, int, bool black) { picture += std::string(black ? "#" : ".") + (x == 23 ? "/" : ""); });
    EXPECT_EQ(picture, "......................../.#####...######........./.#####...#....#...####../"
                       ".#####...#....#...####../.#####...#....#...####../.........######........./"
                       "......................../......................../...............##......./"
                       "..##...........##......./......................../......................../");
    EXPECT_EQ(CreatePen(PS_NULL, 3, RGB(1, 2, 3)), GetStockObject(NULL_PEN));

    const uint32_t dashes[] = {694749849u, 3891033828u, 3206205804u, 3973102197u};
    for (int style = PS_DASH; style <= PS_DASHDOTDOT; ++style) {
        const vxtest::Canvas dashed(24, 12, 1);  // black: the gaps show in the white background colour
        const vx::OwnedObject<HPEN> pen(CreatePen(style, 0, RGB(0, 0, 0)));
        const HGDIOBJ old = SelectObject(dashed.dc(), pen.get());
        DrawLines(dashed.dc(), {{{0, 0}, {23, 0}}, {{23, 2}, {0, 2}}, {{0, 4}, {23, 11}}, {{10, 6}, {23, 6}}});
        const POINT corner[] = {{0, 6}, {7, 6}, {7, 11}};
        Polyline(dashed.dc(), corner, 3);
        SelectObject(dashed.dc(), old);
        EXPECT_EQ(Fnv(dashed.bytes()), dashes[style - PS_DASH]) << "style " << style;
    }
}

// The display engine on a state record: the mapping and scroll limits a record gets, the image
// drawn into a DC at the positions that mapping gives, and the window handlers (scroll bars,
// scroll steps, painting, ownership, the size guard) on a real window. The same tests run
// against Windows under Wine.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "display/display_state.hpp"
#include "display_support.hpp"
#include "gdi_guards.hpp"
#include "test_window.hpp"

namespace {

using namespace vxtest;

constexpr uint32_t kGray = 0xC0C0C0;  // TestWindow::kBackground as 0x00RRGGBB

VXDISPLAYSTATE Record(int imageWidth, int imageHeight, int clientWidth, int clientHeight, VXZOOMRATIO zoom,
                      DWORD flags, int imageDpiX = 96, int imageDpiY = 96) {
    VXDISPLAYSTATE s{};
    s.zoom = zoom;
    s.flags = flags;
    s.imageWidth = imageWidth;
    s.imageHeight = imageHeight;
    s.client = {0, 0, clientWidth, clientHeight};
    s.deviceDpiX = s.deviceDpiY = 96;
    s.imageDpiX = imageDpiX;
    s.imageDpiY = imageDpiY;
    return s;
}

// Recomputes, clamps and recomputes once more when the clamp moved, as a start does.
void Settle(HDC dc, VXDISPLAYSTATE& s) {
    vx::display::Recompute(dc, s);
    if (vx::display::ClampScroll(s)) vx::display::Recompute(dc, s);
}

struct MappingCase {
    const char* name;
    VXDISPLAYSTATE record;
    SIZE window, viewport;
    POINT centre;
    LONG hMin, hMax, vMin, vMax;
    POINT scroll, windowOrg;
};

TEST(DisplayMapping, RecordsMatchTheMappingGdiGives) {
    constexpr VXZOOMRATIO one{1, 1, 1, 1}, sixteen{16, 1, 16, 1};
    const MappingCase cases[] = {
        // Smaller and centred: negative centring, no scrolling, drawn one pixel off.
        {"centred small", Record(100, 50, 300, 200, one, DISPLAY_CENTER), {1, 1}, {1, 1}, {-100, -75}, -1, -1, -1, -1,
         {-1, -1}, {-101, -76}},
        {"centred large", Record(500, 300, 300, 200, one, DISPLAY_CENTER), {1, 1}, {1, 1}, {100, 50}, -100, 100, -50, 50,
         {0, 0}, {100, 50}},
        {"zoom 16", Record(40, 30, 300, 200, sixteen, 0), {1, 1}, {16, 16}, {0, 0}, 0, 340, 0, 280, {0, 0}, {0, 0}},
        // 300 : 96 halved three times, until the viewport is below 17.
        {"true size reduced", Record(1000, 1000, 300, 200, one, DISPLAY_TRUESIZE, 300, 300), {37, 37}, {12, 12}, {0, 0},
         0, 24, 0, 124, {0, 0}, {0, 0}},
        // Pixels twice as tall as wide (200 x 100 dpi) fit narrowed, then the other way flattened.
        {"fit 200x100 dpi", Record(400, 300, 300, 300, one, DISPLAY_FIT, 200, 100), {400, 300}, {200, 300}, {0, 0}, -1,
         -1, -1, -1, {0, 0}, {0, 0}},
        {"fit 100x200 dpi", Record(400, 300, 300, 300, one, DISPLAY_FIT, 100, 200), {400, 300}, {300, 112}, {0, 0}, -1,
         -1, -1, -1, {0, 0}, {0, 0}},
        {"stretch", Record(50, 40, 300, 200, one, DISPLAY_STRETCH), {50, 40}, {300, 200}, {0, 0}, -1, -1, -1, -1,
         {-1, -1}, {0, 0}},
        // Zero zoom terms: GDI refuses the scales, the image shows at 1:1.
        {"zero zoom terms", Record(20, 10, 300, 200, {0, 0, 3, 0}, 0), {1, 1}, {1, 1}, {0, 0}, -1, -1, -1, -1,
         {-1, -1}, {-1, -1}},
        {"60000 wide", Record(60000, 1, 300, 200, one, 0), {1, 1}, {1, 1}, {0, 0}, 0, 59700, -1, -1, {0, -1}, {0, -1}},
        {"1x1 zoom 16 centred", Record(1, 1, 300, 200, sixteen, DISPLAY_CENTER), {1, 1}, {16, 16}, {-142, -92}, -1,
         -1, -1, -1, {-1, -1}, {-9, -6}},
    };
    vx::MemoryDC dc;
    for (const MappingCase& c : cases) {
        SCOPED_TRACE(c.name);
        VXDISPLAYSTATE s = c.record;
        Settle(dc.get(), s);
        SIZE window{}, viewport{};
        GetWindowExtEx(dc.get(), &window);
        GetViewportExtEx(dc.get(), &viewport);
        EXPECT_EQ(window.cx, c.window.cx);
        EXPECT_EQ(window.cy, c.window.cy);
        EXPECT_EQ(viewport.cx, c.viewport.cx);
        EXPECT_EQ(viewport.cy, c.viewport.cy);
        EXPECT_EQ(s.centreX, c.centre.x);
        EXPECT_EQ(s.centreY, c.centre.y);
        EXPECT_EQ(s.hMin, c.hMin);
        EXPECT_EQ(s.hMax, c.hMax);
        EXPECT_EQ(s.vMin, c.vMin);
        EXPECT_EQ(s.vMax, c.vMax);
        EXPECT_EQ(s.scrollX, c.scroll.x);
        EXPECT_EQ(s.scrollY, c.scroll.y);
        EXPECT_EQ(s.windowOrgX, c.windowOrg.x);
        EXPECT_EQ(s.windowOrgY, c.windowOrg.y);
        // The stored origins are what the DC converts.
        POINT device{0, 0}, logical{0, 0};
        LPtoDP(dc.get(), &device, 1);
        DPtoLP(dc.get(), &logical, 1);
        EXPECT_EQ(s.originDevice.x, device.x);
        EXPECT_EQ(s.originLogical.y, logical.y);
    }
}

TEST(DisplayMapping, SnapStepsWholeZoomedPixelsAndReachesTheEnds) {
    // old, target, limits, step -> snapped (before the clamp)
    struct Case { LONG old; int64_t target; LONG low, high, step, snapped; };
    const Case cases[] = {
        {0, 8, 0, 456, 16, 0},        // less than one zoomed pixel: stays
        {0, 472, 0, 456, 16, 464},    // thumb on the end plus a step: past the end, clamped later
        {0, 5000, 0, 456, 16, 464},   // at most one step beyond the end
        {100, -5000, 0, 456, 16, -12},
        {-1, 3, -1, -1, 1, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(vx::display::SnapScroll(c.old, c.target, c.low, c.high, c.step), c.snapped) << c.old << " -> " << c.target;
}

uint32_t Inverted(uint32_t rgb) { return rgb ^ 0xFFFFFFu; }
COLORREF AsColorref(uint32_t rgb) { return RGB(rgb >> 16, rgb >> 8 & 0xFF, rgb & 0xFF); }

TEST(DisplayDraw, DibAndBitmapLandAtTheMappedPositions) {
    const Bytes bytes = SeededDib(23, 17, 24, 5);
    const HDIB dib = BlockFrom(bytes);
    Block keep(dib);
    for (const bool throughBitmap : {false, true})
        for (const DWORD flags : {0u, DISPLAY_INVERT}) {
            SCOPED_TRACE(testing::Message() << (throughBitmap ? "bitmap" : "dib") << " flags " << flags);
            vx::MemoryDC canvas;
            vx::OwnedObject<HBITMAP> target(CreateBitmap(80, 40, 1, 32, nullptr));
            vx::ObjectSelection selected(canvas.get(), target.get());
            vx::OwnedObject<HBRUSH> gray(CreateSolidBrush(AsColorref(kGray)));
            {
                vx::ObjectSelection brush(canvas.get(), gray.get());
                PatBlt(canvas.get(), 0, 0, 80, 40, PATCOPY);
            }
            VXDISPLAYSTATE s = Record(23, 17, 80, 40, {3, 1, 2, 1}, flags);
            s.bitsPerPixel = 24;
            s.dib = dib;
            vx::OwnedObject<HBITMAP> bitmap(throughBitmap ? ConvertDIBToBitmap(dib) : nullptr);
            s.bitmap = bitmap.get();
            const int level = SaveDC(canvas.get());
            vx::display::Recompute(canvas.get(), s);  // the limits the clamp uses
            RestoreDC(canvas.get(), level);
            EXPECT_EQ(DisplayDIBImageDC(canvas.get(), &s), flags);
            EXPECT_EQ(s.scrollX, -1);
            int wrong = 0;
            for (int y = 0; y < 40; ++y)
                for (int x = 0; x < 80; ++x) {
                    const int ix = ZoomedSource(x, -s.originDevice.x, 3), iy = ZoomedSource(y, -s.originDevice.y, 2);
                    uint32_t expected = kGray;
                    if (ix >= 0 && iy >= 0 && ix < 23 && iy < 17) {
                        expected = DibRgb(bytes, ix, iy);
                        if (flags & DISPLAY_INVERT) expected = Inverted(expected);
                    }
                    if (GetPixel(canvas.get(), x, y) != AsColorref(expected) && wrong++ < 5)
                        ADD_FAILURE() << "pixel " << x << ", " << y;
                }
            EXPECT_EQ(wrong, 0);
        }
}

TEST(DisplayCalls, BadInputHasItsDefinedAnswer) {
    VXDISPLAYSTATE s{};
    POINT point{0, 0};
    vx::MemoryDC dc;
    EXPECT_EQ(DisplayStart(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, DISPLAY_FIT, &s), 0u);
    EXPECT_EQ(DisplayDIBStart(nullptr, nullptr, nullptr, nullptr, DISPLAY_FIT, &s), 0u);
    EXPECT_EQ(DisplayWmCreate(nullptr, 0, 0, &s), 1);
    EXPECT_EQ(DisplayWmDestroy(nullptr, 0, 0, &s), 1);
    EXPECT_EQ(DisplayWmSize(nullptr, 0, 0, &s), 1);
    EXPECT_EQ(DisplayWmVertScroll(nullptr, SB_LINEDOWN, 0, &s), 1);
    EXPECT_EQ(DisplayWmHorzScroll(nullptr, SB_LINEDOWN, 0, &s), 1);
    EXPECT_EQ(DisplayWmPaint(nullptr, &s), 1);
    EXPECT_EQ(DisplaySetScrollPos(nullptr, &s, &point), 1);
    EXPECT_EQ(DisplayDIBImageDC(dc.get(), nullptr), 0u);
    EXPECT_EQ(DisplayImageDC(nullptr, &s), 0u);
    EXPECT_EQ(MapDisplayDC(dc.get(), nullptr), 0u);
    EXPECT_EQ(MapDisplayDC(nullptr, &s), 0u);
    EXPECT_EQ(s.flags, 0u);  // nothing above wrote the record
    EXPECT_EQ(SetLowMemStretch(5), 0);
    EXPECT_EQ(GetLowMemStretch(), 5);
    EXPECT_EQ(SetLowMemStretch(0), 5);
}

// A test window whose messages go to the display handlers of one record.
struct DisplayWindow {
    VXDISPLAYSTATE s{};
    TestWindow window{200, 150, [this](HWND w, UINT message, WPARAM wParam, LPARAM lParam) -> std::optional<LRESULT> {
        switch (message) {
            case WM_SIZE: return DisplayWmSize(w, wParam, lParam, &s);
            case WM_PAINT: return DisplayWmPaint(w, &s);
            case WM_ERASEBKGND: return 1;
            default: return std::nullopt;
        }
    }};
    DisplayWindow() { DisplayWmCreate(window.get(), 0, 0, &s); }
};

TEST(DisplayWindowCalls, ScrollBarsStepsAndPaintFollowTheRecord) {
    DisplayWindow d;
    if (!d.window) GTEST_SKIP() << "no window layer";
    struct Case { int zoom, width, height; LONG line; };
    for (const Case c : {Case{1, 400, 20, 8}, Case{16, 40, 5, 16}}) {
        SCOPED_TRACE(c.zoom);
        const Bytes bytes = SeededDib(c.width, c.height, 24, 9);
        Block dib(BlockFrom(bytes));
        const int zoom[4] = {c.zoom, 1, c.zoom, 1};
        EXPECT_EQ(DisplayDIBStart(d.window.get(), dib.get(), nullptr, zoom, 0, &d.s), 0u);
        d.window.pump();
        const RECT client = d.window.client();
        EXPECT_EQ(d.s.client.right, client.right);
        EXPECT_EQ(d.s.hMin, 0);
        EXPECT_EQ(d.s.hMax, c.width * c.zoom - client.right);
        EXPECT_EQ(d.s.vMin, -1);
        int low = 0, high = 0;
        GetScrollRange(d.window.get(), SB_HORZ, &low, &high);
        EXPECT_EQ(low, d.s.hMin);
        EXPECT_EQ(high, d.s.hMax);

        EXPECT_EQ(DisplayWmHorzScroll(d.window.get(), SB_LINERIGHT, 0, &d.s), 0);
        EXPECT_EQ(d.s.scrollX, c.line);
        EXPECT_EQ(GetScrollPos(d.window.get(), SB_HORZ), c.line);
        DisplayWmHorzScroll(d.window.get(), static_cast<WPARAM>(SB_THUMBPOSITION | d.s.hMax << 16), 0, &d.s);
        EXPECT_EQ(d.s.scrollX, d.s.hMax);
        EXPECT_EQ(GetScrollPos(d.window.get(), SB_HORZ), d.s.hMax);
        d.window.pump();

        const std::vector<uint32_t> pixels = d.window.pixels();
        int wrong = 0;
        for (int y = 0; y < client.bottom; ++y)
            for (int x = 0; x < client.right; ++x) {
                const int ix = ZoomedSource(x, -d.s.originDevice.x, c.zoom);
                const int iy = ZoomedSource(y, -d.s.originDevice.y, c.zoom);
                const bool inside = ix >= 0 && iy >= 0 && ix < c.width && iy < c.height;
                const uint32_t expected = inside ? DibRgb(bytes, ix, iy) : kGray;
                if (d.window.pixel(pixels, x, y) != expected && wrong++ < 5) ADD_FAILURE() << "pixel " << x << ", " << y;
            }
        EXPECT_EQ(wrong, 0);
        DisplayWmDestroy(d.window.get(), 0, 0, &d.s);
    }
}

TEST(DisplayWindowCalls, DestroyDeletesOnlyWhatTheEngineMade) {
    DisplayWindow d;
    if (!d.window) GTEST_SKIP() << "no window layer";
    Block dib(BlockFrom(SeededDib(30, 20, 8, 3)));
    DisplayDIBStart(d.window.get(), dib.get(), nullptr, nullptr, DISPLAY_MAKEBITMAP, &d.s);
    const HPALETTE made = d.s.palette;
    const HBITMAP madeBitmap = d.s.bitmap;
    EXPECT_EQ(d.s.owned, DISPLAY_OWNS_BITMAP | DISPLAY_OWNS_PALETTE);
    EXPECT_EQ(d.s.flags & DISPLAY_MAKEBITMAP, 0u);
    DisplayWmDestroy(d.window.get(), 0, 0, &d.s);
    EXPECT_EQ(GetObjectType(made), 0u);
    EXPECT_EQ(GetObjectType(madeBitmap), 0u);
    EXPECT_EQ(d.s.palette, nullptr);

    vx::OwnedObject<HPALETTE> callers(CreateDIBPalette(dib.get()));
    vx::OwnedObject<HBITMAP> bitmap(ConvertDIBToBitmap(dib.get()));
    int position[4] = {5, 6, 0, 0};
    DisplayStart(d.window.get(), bitmap.get(), callers.get(), nullptr, position, nullptr, 0, &d.s);
    EXPECT_EQ(position[0], d.s.originLogical.x);
    EXPECT_EQ(position[3], d.s.originDevice.y);
    DisplayWmDestroy(d.window.get(), 0, 0, &d.s);
    EXPECT_EQ(GetObjectType(callers.get()), static_cast<DWORD>(OBJ_PAL));
    EXPECT_EQ(GetObjectType(bitmap.get()), static_cast<DWORD>(OBJ_BITMAP));
    EXPECT_EQ(d.s.palette, callers.get());
}

TEST(DisplayWindowCalls, SizeMessageDuringASizeMessageIsIgnored) {
    DisplayWindow d;
    if (!d.window) GTEST_SKIP() << "no window layer";
    Block dib(BlockFrom(SeededDib(400, 20, 24, 4)));
    DisplayDIBStart(d.window.get(), dib.get(), nullptr, nullptr, 0, &d.s);
    d.window.pump();
    const RECT withBar = d.window.client();
    // Shrunk, the image needs no bar: hiding it grows the client area and sends a size
    // message while the first is handled.
    d.s.zoom = {1, 8, 1, 8};
    DisplayWmSize(d.window.get(), 0, 0, &d.s);
    EXPECT_GT(d.window.client().bottom, withBar.bottom);
    EXPECT_EQ(d.s.client.bottom, withBar.bottom);
    DisplayWmDestroy(d.window.get(), 0, 0, &d.s);
}

}  // namespace

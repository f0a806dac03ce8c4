// The display engine on a state record: the mapping and scroll limits a record gets, the image
// drawn into a DC at the positions that mapping gives, and the window handlers (scroll bars,
// scroll steps, painting, ownership, the size guard) on a real window. The same tests run
// against Windows under Wine.
#include <tuple>
#include <utility>

#include "display/display_state.hpp"
#include "display_support.hpp"
#include "gdi_guards.hpp"

namespace {

using namespace vxtest;

VXDISPLAYSTATE Record(int width, int height, int clientWidth, int clientHeight, VXZOOMRATIO zoom, DWORD flags,
                      int imageDpiX = 96, int imageDpiY = 96) {
    VXDISPLAYSTATE s{};
    s.zoom = zoom, s.flags = flags, s.imageWidth = width, s.imageHeight = height;
    s.client = {0, 0, clientWidth, clientHeight};
    s.deviceDpiX = s.deviceDpiY = 96, s.imageDpiX = imageDpiX, s.imageDpiY = imageDpiY;
    return s;
}

// Expected after a settle: window and viewport extents, centre, hMin, hMax, vMin, vMax,
// scroll position and window origin.
using Mapped = std::array<LONG, 14>;

TEST(DisplayMapping, RecordsMatchTheMappingGdiGives) {
    constexpr VXZOOMRATIO one{1, 1, 1, 1}, sixteen{16, 1, 16, 1};
    const std::pair<VXDISPLAYSTATE, Mapped> cases[] = {
        // Smaller and centred: negative centring, no scrolling, drawn one pixel off.
        {Record(100, 50, 300, 200, one, DISPLAY_CENTER), {1, 1, 1, 1, -100, -75, -1, -1, -1, -1, -1, -1, -101, -76}},
        {Record(500, 300, 300, 200, one, DISPLAY_CENTER), {1, 1, 1, 1, 100, 50, -100, 100, -50, 50, 0, 0, 100, 50}},
        {Record(40, 30, 300, 200, sixteen, 0), {1, 1, 16, 16, 0, 0, 0, 340, 0, 280, 0, 0, 0, 0}},
        // 300 : 96 halved three times, until the viewport is below 17.
        {Record(1000, 1000, 300, 200, one, DISPLAY_TRUESIZE, 300, 300), {37, 37, 12, 12, 0, 0, 0, 24, 0, 124, 0, 0, 0, 0}},
        // Pixels twice as tall as wide (200 x 100 dpi) fit narrowed, then the other way flattened.
        {Record(400, 300, 300, 300, one, DISPLAY_FIT, 200, 100), {400, 300, 200, 300, 0, 0, -1, -1, -1, -1, 0, 0, 0, 0}},
        {Record(400, 300, 300, 300, one, DISPLAY_FIT, 100, 200), {400, 300, 300, 112, 0, 0, -1, -1, -1, -1, 0, 0, 0, 0}},
        {Record(50, 40, 300, 200, one, DISPLAY_STRETCH), {50, 40, 300, 200, 0, 0, -1, -1, -1, -1, -1, -1, 0, 0}},
        // Zero zoom terms: GDI refuses the scales, the image shows at 1:1.
        {Record(20, 10, 300, 200, {0, 0, 3, 0}, 0), {1, 1, 1, 1, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1}},
        {Record(60000, 1, 300, 200, one, 0), {1, 1, 1, 1, 0, 0, 0, 59700, -1, -1, 0, -1, 0, -1}},
        {Record(1, 1, 300, 200, sixteen, DISPLAY_CENTER), {1, 1, 16, 16, -142, -92, -1, -1, -1, -1, -1, -1, -9, -6}},
    };
    vx::MemoryDC dc;
    for (auto [s, expected] : cases) {
        // As a start settles: recompute, clamp, and recompute again when the clamp moved.
        vx::display::Recompute(dc.get(), s);
        if (vx::display::ClampScroll(s)) vx::display::Recompute(dc.get(), s);
        SIZE w{}, v{};
        GetWindowExtEx(dc.get(), &w), GetViewportExtEx(dc.get(), &v);
        EXPECT_EQ((Mapped{w.cx, w.cy, v.cx, v.cy, s.centreX, s.centreY, s.hMin, s.hMax, s.vMin, s.vMax, s.scrollX,
                          s.scrollY, s.windowOrgX, s.windowOrgY}),
                  expected) << s.imageWidth << " x " << s.imageHeight << " flags " << s.flags;
    }
}

TEST(DisplayDraw, DibAndBitmapLandAtTheMappedPositions) {
    Block dib = PatternDib(23, 17);
    for (const bool throughBitmap : {false, true})
        for (const DWORD flags : {0u, DISPLAY_INVERT}) {
            SCOPED_TRACE(testing::Message() << (throughBitmap ? "bitmap" : "dib") << " flags " << flags);
            vx::MemoryDC canvas;
            vx::OwnedObject<HBITMAP> target(CreateBitmap(80, 40, 1, 32, nullptr));
            vx::ObjectSelection selected(canvas.get(), target.get());
            vx::ObjectSelection gray(canvas.get(), GetStockObject(LTGRAY_BRUSH));
            PatBlt(canvas.get(), 0, 0, 80, 40, PATCOPY);
            VXDISPLAYSTATE s = Record(23, 17, 80, 40, {3, 1, 2, 1}, flags);
            vx::OwnedObject<HBITMAP> bitmap(throughBitmap ? ConvertDIBToBitmap(dib.get()) : nullptr);
            s.bitsPerPixel = 24, s.dib = dib.get(), s.bitmap = bitmap.get();
            const int level = SaveDC(canvas.get());
            vx::display::Recompute(canvas.get(), s);  // the limits the clamp uses
            RestoreDC(canvas.get(), level);
            EXPECT_EQ(DisplayDIBImageDC(canvas.get(), &s), flags);
            EXPECT_EQ(s.scrollX, -1);
            const auto read = [&](int x, int y) {
                const COLORREF c = GetPixel(canvas.get(), x, y);
                return uint32_t(GetRValue(c)) << 16 | uint32_t(GetGValue(c)) << 8 | GetBValue(c);
            };
            EXPECT_EQ(WrongPixels(80, 40, read, Zoomed(s.originDevice.x, 3, 23), Zoomed(s.originDevice.y, 2, 17), kGray,
                                  flags ? 0xFFFFFFu : 0u), 0);
        }
}

TEST(DisplayCalls, BadInputHasItsDefinedAnswer) {
    VXDISPLAYSTATE s{};
    POINT point{0, 0};
    vx::MemoryDC dc;
    EXPECT_EQ((std::array{DisplayStart(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, DISPLAY_FIT, &s),
                          DisplayDIBStart(nullptr, nullptr, nullptr, nullptr, DISPLAY_FIT, &s),
                          DisplayDIBImageDC(dc.get(), nullptr), DisplayImageDC(nullptr, &s),
                          MapDisplayDC(dc.get(), nullptr), MapDisplayDC(nullptr, &s)}),
              (std::array<DWORD, 6>{}));
    EXPECT_EQ((std::array<LRESULT, 7>{DisplayWmCreate(nullptr, 0, 0, &s), DisplayWmDestroy(nullptr, 0, 0, &s),
                          DisplayWmSize(nullptr, 0, 0, &s), DisplayWmVertScroll(nullptr, SB_LINEDOWN, 0, &s),
                          DisplayWmHorzScroll(nullptr, SB_LINEDOWN, 0, &s), DisplayWmPaint(nullptr, &s),
                          DisplaySetScrollPos(nullptr, &s, &point)}),
              (std::array<LRESULT, 7>{1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(s.flags, 0u);  // nothing above wrote the record
    EXPECT_EQ((std::array{SetLowMemStretch(5), GetLowMemStretch(), SetLowMemStretch(0)}), (std::array{0, 5, 5}));
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
    ~DisplayWindow() { DisplayWmDestroy(window.get(), 0, 0, &s); }
    HWND get() const { return window.get(); }
    // After the pending messages, the client pixels that do not show a width x height pattern
    // at the record's origin.
    int wrongPixels(int width, int height, int zoom, uint32_t invert = 0) {
        window.pump();
        return WrongPixels(window, window.pixels(), Zoomed(s.originDevice.x, zoom, width),
                           Zoomed(s.originDevice.y, zoom, height), kGray, invert);
    }
};
#define DISPLAY_WINDOW(d) DisplayWindow d; ASSERT_TRUE(d.window)

TEST(DisplayWindowCalls, ScrollBarsStepsAndPaintFollowTheRecord) {
    DISPLAY_WINDOW(d);
    // line: a line step; set: where DisplaySetScrollPos(123, 0) lands from the end.
    struct Case { int zoom, width, height; LONG line, set; };
    for (const Case c : {Case{1, 400, 20, 8, 123}, Case{16, 40, 5, 16, 136}}) {
        SCOPED_TRACE(c.zoom);
        Block dib = PatternDib(c.width, c.height);
        const int zoom[4] = {c.zoom, 1, c.zoom, 1};
        EXPECT_EQ(DisplayDIBStart(d.get(), dib.get(), nullptr, zoom, 0, &d.s), 0u);
        d.window.pump();
        const LONG clientWidth = d.window.client().right;
        EXPECT_EQ((std::array<LONG, 4>{d.s.client.right, d.s.hMin, d.s.hMax, d.s.vMin}),
                  (std::array<LONG, 4>{clientWidth, 0, c.width * c.zoom - clientWidth, -1}));
        EXPECT_EQ(ScrollRange(d.get(), SB_HORZ), (std::array<int, 2>{0, int(d.s.hMax)}));
        const auto scrolled = [&] { return std::array<LONG, 2>{d.s.scrollX, GetScrollPos(d.get(), SB_HORZ)}; };
        EXPECT_EQ(DisplayWmHorzScroll(d.get(), SB_LINERIGHT, 0, &d.s), 0);
        EXPECT_EQ(scrolled(), (std::array{c.line, c.line}));
        DisplayWmHorzScroll(d.get(), static_cast<WPARAM>(SB_THUMBPOSITION | d.s.hMax << 16), 0, &d.s);
        EXPECT_EQ(scrolled(), (std::array{d.s.hMax, d.s.hMax}));
        EXPECT_EQ(d.wrongPixels(c.width, c.height, c.zoom), 0);
        POINT to{123, 0};
        const LONG answer = LONG(DisplaySetScrollPos(d.get(), &d.s, &to));
        EXPECT_EQ((std::array{answer, d.s.scrollX}), (std::array<LONG, 2>{0, c.set}));
        EXPECT_EQ(d.wrongPixels(c.width, c.height, c.zoom), 0);
    }
}

TEST(DisplayWindowCalls, CentredInvertedImagePaintsOverTheClassBackground) {
    DISPLAY_WINDOW(d);
    for (const auto& [width, height, zoom] : {std::tuple{1, 1, 16}, std::tuple{31, 17, 3}}) {
        Block dib = PatternDib(width, height);
        const int ratio[4] = {zoom, 1, zoom, 1};
        DisplayDIBStart(d.get(), dib.get(), nullptr, ratio, DISPLAY_CENTER | DISPLAY_INVERT, &d.s);
        EXPECT_EQ(d.wrongPixels(width, height, zoom, 0xFFFFFF), 0) << width << " x " << height;
        EXPECT_TRUE(d.s.centreX < 0 && d.s.scrollY == -1);
    }
}

TEST(DisplayWindowCalls, DestroyDeletesOnlyWhatTheEngineMade) {
    DISPLAY_WINDOW(d);
    Block dib(BlockFrom(SeededDib(30, 20, 8, 3)));
    DisplayDIBStart(d.get(), dib.get(), nullptr, nullptr, DISPLAY_MAKEBITMAP, &d.s);
    const HGDIOBJ made[] = {d.s.palette, d.s.bitmap};
    EXPECT_EQ((std::array<DWORD, 2>{DWORD(d.s.owned), d.s.flags & DISPLAY_MAKEBITMAP}),
              (std::array<DWORD, 2>{DISPLAY_OWNS_BITMAP | DISPLAY_OWNS_PALETTE, 0}));
    DisplayWmDestroy(d.get(), 0, 0, &d.s);
    EXPECT_EQ(GetObjectType(made[0]) | GetObjectType(made[1]) | uintptr_t(d.s.palette), 0u);

    vx::OwnedObject<HPALETTE> callers(CreateDIBPalette(dib.get()));
    vx::OwnedObject<HBITMAP> bitmap(ConvertDIBToBitmap(dib.get()));
    int position[4] = {5, 6, 0, 0};
    DisplayStart(d.get(), bitmap.get(), callers.get(), nullptr, position, nullptr, 0, &d.s);
    EXPECT_EQ((std::array{position[0], position[3]}), (std::array{int(d.s.originLogical.x), int(d.s.originDevice.y)}));
    DisplayWmDestroy(d.get(), 0, 0, &d.s);
    EXPECT_EQ((std::array{GetObjectType(callers.get()), GetObjectType(bitmap.get())}),
              (std::array<DWORD, 2>{OBJ_PAL, OBJ_BITMAP}));
    EXPECT_EQ(d.s.palette, callers.get());
}

TEST(DisplayWindowCalls, SizeMessageDuringASizeMessageIsIgnored) {
    DISPLAY_WINDOW(d);
    Block dib = PatternDib(400, 20);
    DisplayDIBStart(d.get(), dib.get(), nullptr, nullptr, 0, &d.s);
    d.window.pump();
    const RECT withBar = d.window.client();
    // Shrunk, the image needs no bar: hiding it grows the client area and sends a size
    // message while the first is handled.
    d.s.zoom = {1, 8, 1, 8};
    DisplayWmSize(d.get(), 0, 0, &d.s);
    EXPECT_GT(d.window.client().bottom, withBar.bottom);
    EXPECT_EQ(d.s.client.bottom, withBar.bottom);
}

}  // namespace

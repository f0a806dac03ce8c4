// The scrolling view in hundredths of an inch: its layout on the numbers alone, then the four
// exports on a real window (client pixels against the DIB, scroll bars, scroll codes).
#include "display/view_layout.hpp"
#include "display_support.hpp"

namespace {

using namespace vxtest;

TEST(CppViewLayout, Cases) {
    constexpr DWORD kTrue = DISPLAY_TRUESIZE, kFit = DISPLAY_FIT, kCentre = DISPLAY_CENTER, kStretch = DISPLAY_STRETCH,
                    kInvert = DISPLAY_INVERT, kZoomed = DISPLAY_ZOOMED;
    struct Case {
        int clientW, clientH, imageW, imageH, dpi; std::vector<int> zoom; DWORD flags; VXVIEW view; DWORD flagsOut;
        RECT source, destination; std::vector<int> rangePositionView;
    } cases[] = {
        // a thumb at 50 of a 100-dpi image is half an inch in
        {40, 40, 100, 100, 100, {}, 0, {-1, -1, 50, 50}, 0, {50, 50, 90, 90}, {0, 0, 40, 40}, {60, 60, 50, 50, 50, 50}},
        // true size scales 100 dpi to 96
        {40, 40, 100, 100, 100, {}, kTrue, {-1, -1, 50, 50}, kTrue, {50, 50, 92, 92},
         {0, 0, 40, 40}, {58, 58, 50, 50, 50, 50}},
        // a zoom making the image 40000 wide is ignored
        {50, 50, 100, 10, 96, {400, 1, 400, 1}, 0, {}, 0, {0, 0, 50, 10}, {0, 0, 50, 10}, {52, 0, 0, 0, 0, 0}},
        // fit, centred, shows no scroll range
        {100, 100, 200, 100, 96, {}, kFit | kCentre, {7, 7, 3, 3}, kFit | kCentre,
         {0, 0, 200, 100}, {0, 25, 100, 75}, {0, 0, 0, 0, 7, 7}},
        // true size without a resolution turns into zoomed
        {100, 100, 50, 50, 0, {}, kTrue, {}, kZoomed, {0, 0, 50, 50}, {0, 0, 50, 50}, {0, 0, 0, 0, 0, 0}},
        // stretch keeps only itself and invert
        {100, 100, 30, 20, 96, {}, kStretch | kInvert | 0x88, {5, 5, 5, 5},
         kStretch | kInvert, {0, 0, 30, 20}, {0, 0, 100, 100}, {0, 0, 0, 0, 5, 5}},
        // a small image is centred
        {100, 100, 30, 20, 96, {}, kCentre, {}, kCentre, {0, 0, 30, 20}, {35, 40, 65, 60}, {0, 0, 0, 0, 0, 0}},
        // the far end at zoom 2 is drawn flush with the edge
        {75, 10, 100, 5, 96, {2, 1, 2, 1}, 0, {90, 0, 0, 0}, 0, {62, 0, 100, 5}, {-1, 0, 75, 10},
         {65, 0, 65, 0, 63, 0}},
        // a window of zero size keeps the position
        {0, 0, 10, 10, 96, {}, 0, {3, 3, 0, 0}, 0, {3, 3, 3, 3}, {}, {10, 10, 3, 3, 3, 3}},
        // a 1 x 1 image at zoom 3
        {100, 100, 1, 1, 96, {3, 1, 3, 1}, 0, {}, 0, {0, 0, 1, 1}, {0, 0, 3, 3}, {0, 0, 0, 0, 0, 0}},
        // a 60000-pixel row scrolled past its end
        {100, 1, 60000, 1, 96, {}, 0, {59990, 0, 0, 0}, 0, {59900, 0, 60000, 1}, {0, 0, 100, 1},
         {62396, 0, 62396, 0, 59900, 0}},
        // a negative move stops at the start; zero zoom terms are 1:1
        {50, 50, 100, 100, 96, {0, 0, 2, 0}, 0, {0, 2, -500, -7}, 0, {0, 0, 50, 50}, {0, 0, 50, 50},
         {52, 52, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        vx::display::CppInput in{c.clientW, c.clientH, c.imageW, c.imageH, c.dpi, c.dpi, 96, 96,
                                 c.zoom.empty() ? nullptr : c.zoom.data(), c.flags};
        VXVIEW view = c.view;
        const auto out = vx::display::LayOutCppView(in, view);
        EXPECT_EQ(out.flags, c.flagsOut);
        EXPECT_TRUE(SameRect(out.source, c.source));
        EXPECT_TRUE(SameRect(out.destination, c.destination));
        EXPECT_EQ((std::vector<int>{out.rangeX, out.rangeY, out.positionX, out.positionY, view.x, view.y}),
                  c.rangePositionView);
    }
}

// A window painted by DisplayCPPImage with the view, zoom and DIB the test sets.
struct CppWindow : PaintWindow {
    Block dib = PatternDib(300, 250);
    VXVIEW view{0, 0, 0, 0};
    int zoom[4] = {1, 1, 1, 1};

    CppWindow() : PaintWindow(220, 160) {}
    // Lays out for the current client, twice, so that scroll bars that came or went count.
    void size() {
        for (int i = 0; i < 2; ++i)
            DisplayCPPSize(get(), dib.get(), &view, zoom, 0, MAKELPARAM(client().right, client().bottom));
    }
    void scroll(bool horizontal, int code, int thumb = 0) {
        (horizontal ? DisplayCPPHScroll : DisplayCPPVScroll)(get(), dib.get(), &view, zoom, 0, code, thumb);
    }
    std::vector<uint32_t> paint() {
        return show([this](HWND w) { DisplayCPPImage(w, dib.get(), &view, zoom, 0); });
    }
};

TEST(CppView, PaintsTheDibFromTheThumbPositionAtZoom2) {
    CppWindow t;
    ASSERT_TRUE(t);
    t.zoom[0] = t.zoom[2] = 2;
    t.size();
    t.scroll(true, SB_THUMBPOSITION, 50);  // half an inch of a 96-dpi image: 48 pixels
    // 30 lines down and 10 up: each moves one image pixel, although a line is one device pixel.
    for (int i = 0; i < 40; ++i) t.scroll(false, i < 30 ? SB_LINEDOWN : SB_LINEUP);
    // The thumbs: 20 pixels at 96 dpi is 21 hundredths, rounded.
    const std::array thumbs{GetScrollPos(t.get(), SB_HORZ), GetScrollPos(t.get(), SB_VERT)};
    EXPECT_EQ((std::array{int(t.view.x), int(t.view.y), thumbs[0], thumbs[1]}), (std::array{48, 20, 50, 21}));
    const int units = static_cast<int>((600 - t.client().right) / 2.0 * 100 / 96 + 0.5);
    EXPECT_EQ(ScrollRange(t.get(), SB_HORZ), (std::array{0, units}));
    EXPECT_EQ(WrongPixels(t, t.paint(), [](int x) { return 48 + x / 2; }, [](int y) { return 20 + y / 2; }), 0);
}

TEST(CppView, ScrollCodesMoveTheView) {
    CppWindow t;
    ASSERT_TRUE(t);
    t.dib = PatternDib(1000, 250);
    t.size();
    const int width = t.client().right, end = 1000 - width;
    const int steps[][3] = {{SB_LINEDOWN, 0, 1},  {SB_PAGEDOWN, 0, 1 + width / 2}, {SB_LINEUP, 0, width / 2},
                            {SB_THUMBTRACK, 25, 24}, {SB_BOTTOM, 0, end},        {SB_ENDSCROLL, 0, end},
                            {SB_PAGEUP, 0, end - width / 2}, {SB_TOP, 0, 0}};
    for (const auto& s : steps) {
        t.scroll(true, s[0], s[1]);
        EXPECT_EQ(t.view.x, s[2]) << "code " << s[0];
    }
}

TEST(CppView, LowMemoryPathDrawsTheCropScaleOneShortEachWay) {
    CppWindow t;
    ASSERT_TRUE(t);
    const int previous = SetLowMemStretch(1);
    t.zoom[0] = t.zoom[2] = 3;
    t.view = {10, 5, 0, 0};
    t.size();
    const auto pixels = t.paint();
    SetLowMemStretch(previous);
    // The destination is the client rounded up to whole source pixels, w = ceil(width / 3),
    // resampled to n = 3w - 1 columns sampled at (2 i w + n) / 2n, and likewise down.
    const auto sampled = [](int start, int extent) {
        const int w = (extent + 2) / 3, n = 3 * w - 1;
        return [=](int i) { return start + (2 * i * w + n) / (2 * n); };
    };
    EXPECT_EQ(WrongPixels(t, pixels, sampled(10, t.client().right), sampled(5, t.client().bottom)), 0);
}

TEST(CppView, BadInputHasDefinedResults) {
    CppWindow t;
    VXVIEW view{4, 4, 9, 9};
    EXPECT_EQ(DisplayCPPImage(nullptr, t.dib.get(), &view, t.zoom, 0x80), 0u);
    EXPECT_EQ(DisplayCPPHScroll(nullptr, t.dib.get(), &view, t.zoom, 0x80, SB_LINEDOWN, 0), 0u);
    ASSERT_TRUE(t);
    Block shortDib(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 60));
    for (HDIB bad : {HDIB{}, shortDib.get()}) {  // the flags as given, the view untouched
        EXPECT_EQ(DisplayCPPHScroll(t.get(), bad, &view, t.zoom, 0x80, SB_LINEDOWN, 0), 0x80u);
        EXPECT_EQ(DisplayCPPSize(t.get(), bad, &view, t.zoom, 0x80, MAKELPARAM(10, 10)), 0x80u);
        EXPECT_EQ(view.dx, 9);
    }
    // No view and no zoom: the image from its top left, 1:1.
    const auto pixels = t.show([&](HWND w) { DisplayCPPImage(w, t.dib.get(), nullptr, nullptr, 0); });
    EXPECT_EQ(WrongPixels(t, pixels, [](int x) { return x; }, [](int y) { return y; }), 0);
    EXPECT_EQ(DisplayCPPSize(t.get(), t.dib.get(), &view, nullptr, DISPLAY_FIT, 0), DISPLAY_FIT);
}

}  // namespace

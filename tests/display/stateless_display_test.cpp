// The stateless painters DisplayImage and DisplayDIBImage: their layouts on the numbers alone,
// then whole paints on a real window (client pixels against the image, scroll bars, the
// background around the picture, the low-memory path, bad input).
#include <climits>

#include "display/view_layout.hpp"
#include "display_support.hpp"

namespace {

using namespace vxtest;

TEST(StatelessLayout, Cases) {
    // dib: LayOutDibPaint, else LayOutBitmapPaint.
    struct Case {
        bool dib; int clientW, clientH, imageW, imageH; double dpi; std::vector<int> zoom; bool fit; VXVIEW view;
        RECT source, destination; int rangeX, positionX, viewX;
    } cases[] = {
        // bitmap 1:1 at the device resolution
        {false, 100, 80, 300, 200, 96, {}, false, {}, {0, 0, 100, 80}, {0, 0, 100, 80}, 209, 0, 0},
        // bitmap: a pending move of 20 device pixels
        {false, 100, 80, 300, 200, 96, {}, false, {10, 0, 20, 0}, {30, 0, 130, 80}, {0, 0, 100, 80}, 209, 31, 30},
        // bitmap at zoom 2 shows half as much
        {false, 100, 80, 300, 200, 96, {2, 1, 2, 1}, false, {}, {0, 0, 50, 40}, {0, 0, 100, 80}, 261, 0, 0},
        // bitmap past its end stops at the last column
        {false, 100, 80, 300, 200, 96, {}, false, {1000, 0, 0, 0}, {200, 0, 300, 80}, {0, 0, 100, 80}, 209, 209, 200},
        // bitmap smaller than the window is drawn at its size
        {false, 100, 80, 50, 40, 0, {}, false, {}, {0, 0, 50, 40}, {0, 0, 50, 40}, 0, 0, 0},
        // bitmap fit never enlarges
        {false, 100, 80, 50, 40, 96, {}, true, {}, {0, 0, 50, 40}, {0, 0, 50, 40}, 0, 0, 0},
        // bitmap fit shrinks a 192-dpi image
        {false, 100, 80, 400, 100, 192, {}, true, {}, {0, 0, 400, 100}, {0, 0, 100, 25}, 0, 0, 0},
        // DIB position maps onto the scrollable offsets
        {true, 100, 80, 300, 200, 96, {}, false, {150, 0, 0, 0}, {100, 0, 200, 80}, {0, 0, 100, 80}, 300, 150, 150},
        // DIB zoom 2 at 192 dpi is 1:1
        {true, 100, 80, 300, 200, 192, {2, 1, 2, 1}, false, {}, {0, 0, 100, 80}, {0, 0, 100, 80}, 300, 0, 0},
        // DIB zoom reaching 32767 falls back to 1:1
        {true, 100, 80, 300, 200, 96, {200, 1, 200, 1}, false, {}, {0, 0, 100, 80}, {0, 0, 100, 80}, 300, 0, 0},
        // DIB fit may enlarge
        {true, 100, 100, 50, 40, 96, {}, true, {}, {0, 0, 50, 40}, {0, 0, 100, 80}, 0, 0, 0},
        // DIB in a window of zero size
        {true, 0, 0, 50, 40, 96, {}, false, {5, 0, 0, 0}, {5, 0, 5, 0}, {}, 50, 5, 5},
        // DIB of 60000 columns at its far end
        {true, 100, 1, 60000, 1, 96, {}, false, {60000, 0, 0, 0}, {59900, 0, 60000, 1}, {0, 0, 100, 1}, 60000, 60000,
         60000},
        // zero zoom terms are 1:1
        {true, 100, 80, 300, 200, 96, {0, 1, 1, 0}, false, {}, {0, 0, 100, 80}, {0, 0, 100, 80}, 300, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const vx::display::PaintInput in{c.clientW, c.clientH, c.imageW, c.imageH, c.dpi, c.dpi, 96, 96,
                                         c.zoom.empty() ? nullptr : c.zoom.data(), c.fit};
        VXVIEW view = c.view;
        const auto out = c.dib ? vx::display::LayOutDibPaint(in, view) : vx::display::LayOutBitmapPaint(in, view);
        EXPECT_TRUE(SameRect(out.source, c.source));
        EXPECT_TRUE(SameRect(out.destination, c.destination));
        EXPECT_EQ(out.setsScrollBars, !c.fit);
        EXPECT_EQ((std::vector<int>{out.rangeX, out.positionX, view.x, c.fit ? 0 : view.dx}),
                  (std::vector<int>{c.rangeX, c.positionX, c.viewX, 0}));
    }
}

TEST(DisplayDIBImage, PaintsTheScrolledDibAtZoom2) {
    PaintWindow window(200, 150);
    ASSERT_TRUE(window);
    Block dib = PatternDib(300, 250);
    const int zoom[4] = {2, 1, 2, 1};
    VXVIEW view{150, 0, 0, 6};  // the middle column; six device pixels down
    const auto pixels = window.show([&](HWND w) { DisplayDIBImage(w, dib.get(), &view, zoom, 0); }, 2);
    const RECT c = window.client();
    // Position P of S = 600 scaled columns scrolls P (S - C) / S in, rounded; at zoom 2 an
    // offset of O starts at image pixel O / 2 rounded half up.
    const int offsetX = (600 - c.right + 1) / 2, offsetY = (6 * (500 - c.bottom) + 250) / 500;
    EXPECT_EQ((std::array{int(view.x), int(view.y), GetScrollPos(window.get(), SB_HORZ)}), (std::array{150, 3, 300}));
    EXPECT_EQ(ScrollRange(window.get(), SB_HORZ), (std::array{0, 600}));
    EXPECT_EQ(WrongPixels(window, pixels, [&](int x) { return (offsetX + 1) / 2 + x / 2; },
                                [&](int y) { return (offsetY + 1) / 2 + y / 2; }), 0);
}

TEST(DisplayDIBImage, FitEnlargesAndFillsTheRestWithTheBackground) {
    PaintWindow window(200, 150);
    ASSERT_TRUE(window);
    Block dib = PatternDib(50, 30);
    const auto pixels = window.show([&](HWND w) { DisplayDIBImage(w, dib.get(), nullptr, nullptr, DISPLAY_FIT); });
    ASSERT_TRUE(SameRect(window.client(), {0, 0, 200, 150}));  // both scroll bars hidden
    // The 30 rows below the picture are background.
    EXPECT_EQ(WrongPixels(window, pixels, Zoomed(0, 4, 50), Zoomed(0, 4, 30), kGray), 0);
}

TEST(DisplayDIBImage, LowMemoryPathIsStretchDIBitsAt1To1AndTheCropScaleMappingAbove) {
    PaintWindow window(160, 120);
    ASSERT_TRUE(window);
    const int previous = SetLowMemStretch(1);
    Block dib = PatternDib(100, 80);
    const int one[4] = {1, 1, 1, 1}, three[4] = {3, 1, 3, 1};
    const auto paint = [&](const int* zoom) {
        return window.show([&](HWND w) { DisplayDIBImage(w, dib.get(), nullptr, zoom, 0); });
    };
    const auto lowMemory1 = paint(one), lowMemory3 = paint(three);
    SetLowMemStretch(0);
    const auto gdi1 = paint(one), gdi3 = paint(three);
    SetLowMemStretch(previous);
    EXPECT_EQ(lowMemory1, gdi1);
    // At zoom 3 the crop-and-scale of w = ceil(client / 3) pixels to 3w samples column
    // (2 i w + 3w) / 6w = round(i / 3), GDI's nearest neighbour (i + 1/2) / 3 = floor(i / 3):
    // the two pictures differ in a third of the columns and rows.
    const auto rounded = [](int i) { return (2 * i + 3) / 6; };
    EXPECT_EQ(WrongPixels(window, lowMemory3, rounded, rounded), 0);
    EXPECT_EQ(WrongPixels(window, gdi3, Zoomed(0, 3, 100), Zoomed(0, 3, 80)), 0);
}

TEST(DisplayImage, PaintsADeviceBitmapInHundredthsOfAnInch) {
    PaintWindow window(200, 150);
    ASSERT_TRUE(window);
    Block dib = PatternDib(300, 250);
    const auto* info = static_cast<const BITMAPINFO*>(GlobalLock(dib.get()));
    HDC screen = GetDC(nullptr);
    HBITMAP bitmap = CreateDIBitmap(screen, &info->bmiHeader, CBM_INIT, reinterpret_cast<const uint8_t*>(info) + 40,
                                    info, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    GlobalUnlock(dib.get());
    ASSERT_NE(bitmap, nullptr);
    const int resolution[2] = {96, 96};
    VXVIEW view{40, 30, 0, 0};
    const auto paint = [&](HWND w) { DisplayImage(w, bitmap, nullptr, &view, resolution, nullptr, 0); };
    const auto pixels = window.show(paint, 2);
    const RECT c = window.client();
    // Image units less visible units; 40 pixels at 0.96 a unit.
    EXPECT_EQ(ScrollRange(window.get(), SB_HORZ), (std::array{0, 313 - static_cast<int>(c.right / 0.96 + 0.5)}));
    EXPECT_EQ((std::array{int(view.x), GetScrollPos(window.get(), SB_HORZ)}), (std::array{40, 42}));
    EXPECT_EQ(WrongPixels(window, pixels, [](int x) { return 40 + x; }, [](int y) { return 30 + y; }), 0);
    // Fit and invert: the whole bitmap shrunk inside the client (which source pixel a shrink
    // samples is GDI's affair: one of the first few), inverted, the background beside it.
    const auto fitted = window.show([&](HWND w) { DisplayImage(w, bitmap, nullptr, nullptr, nullptr, nullptr, 0x28); });
    bool inverted = false;
    for (int i = 0; i < 9; ++i) inverted |= window.pixel(fitted, 0, 0) == (~Pattern(i % 3, i / 3) & 0xFFFFFFu);
    EXPECT_TRUE(inverted);
    EXPECT_EQ(window.pixel(fitted, c.right - 1, c.bottom - 1), kGray);
    DeleteObject(bitmap);
}

TEST(StatelessPainters, BadInputHasDefinedResults) {
    EXPECT_FALSE(DisplayImage(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0) ||
                 DisplayDIBImage(nullptr, nullptr, nullptr, nullptr, 0));
    PaintWindow window(120, 90);
    ASSERT_TRUE(window);
    Block one = PatternDib(1, 1), wide = PatternDib(60000, 1), tall = PatternDib(1, 60000);
    Block shortDib(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 60));
    const int zeros[4] = {0, 0, 0, 0}, huge[4] = {INT_MAX, 1, 1, INT_MAX};
    VXVIEW far1{INT_MAX, INT_MIN, INT_MAX, INT_MIN}, far2 = far1;
    const uint32_t background = kGray, farEnd = Pattern(60000 - window.client().right, 0);
    // want: what client pixel (0, 0) shows.
    const struct { HDIB dib; const int* zoom; VXVIEW* view; DWORD mode; uint32_t want; } calls[] = {
        // no DIB: background only
        {nullptr, nullptr, nullptr, 0, background},
        // a block too short for its header
        {shortDib.get(), nullptr, nullptr, 0, background},
        // zero zoom terms
        {one.get(), zeros, nullptr, 0, Pattern(0, 0)},
        // a zoom of INT_MAX
        {one.get(), huge, &far1, 0, Pattern(0, 0)},
        // a 1 x 1 DIB fitted
        {one.get(), nullptr, nullptr, DISPLAY_FIT, Pattern(0, 0)},
        // 60000 columns, scrolled beyond the end
        {wide.get(), nullptr, &far2, 0, farEnd},
        // 60000 rows fitted to less than a column
        {tall.get(), nullptr, nullptr, DISPLAY_FIT, background},
    };
    for (const auto& call : calls) {
        BOOL answer = FALSE;
        const auto pixels =
            window.show([&](HWND w) { answer = DisplayDIBImage(w, call.dib, call.view, call.zoom, call.mode); });
        EXPECT_TRUE(answer) << &call - calls;
        EXPECT_EQ(window.pixel(pixels, 0, 0), call.want) << &call - calls;
    }
    EXPECT_EQ(far1.dx | far1.dy | far2.dx | far2.dy, 0);
    // A top-down DIB scrolled down: StretchDIBits counts its source rows from the bottom too.
    Block topDown = PatternDib(300, 250, 96, true);
    VXVIEW down{0, 100, 0, 0};
    const auto pixels = window.show([&](HWND w) { DisplayDIBImage(w, topDown.get(), &down, nullptr, 0); });
    const int firstRow = (100 * (250 - window.client().bottom) + 125) / 250;
    EXPECT_EQ(WrongPixels(window, pixels, [](int x) { return x; }, [&](int y) { return firstRow + y; }), 0);
}

}  // namespace

// bzoom_test.cpp - the rubber-band zoom (BZoom...) and Zoom: the scale-step arithmetic of the
// commands, the tables' checks, clicks against rectangles, the band's pixels on a real window
// and Zoom's percentages from mouse messages queued before the call.
#include <algorithm>
#include <initializer_list>

#include "display_support.hpp"
#include "gdi_guards.hpp"

namespace {

struct Ratio { int xMul, xDiv, yMul, yDiv; bool operator==(const Ratio&) const = default; };

Ratio Of(const VXZOOMRATIO& r) { return {r.xMul, r.xDiv, r.yMul, r.yDiv}; }

Ratio Step(Ratio from, int command) {
    VXBZOOM zoom{};
    BZoomStep(nullptr, &from.xMul, command, &zoom, nullptr);
    return Of(zoom.newZoom);
}

// Each command on the x pair {m, d} of the current zoom; the y pair is set equal to it.
TEST(BZoom, CommandsWalkTheDefaultScaleSteps) {
    constexpr int in = BZOOM_STEPIN, out = BZOOM_STEPOUT, fineIn = BZOOM_FINEIN, fineOut = BZOOM_FINEOUT;
    struct Case { int m, d, command, toM, toD; };
    const Case cases[] = {
        {1, 1, in, 20, 10},      {20, 10, in, 40, 10},    {40, 10, in, 60, 10},     {60, 10, in, 80, 10},
        {80, 10, in, 80, 10},    {20, 10, out, 10, 10},   {10, 10, out, 10, 15},    {10, 15, out, 10, 30},
        {10, 50, out, 10, 50},   {10, 30, in, 10, 15},    {25, 10, in, 40, 10},     {15, 30, in, 10, 15},
        {0, 7, out, 10, 15},     {10, 10, fineIn, 12, 10}, {5, 10, fineIn, 6, 10},  {40, 10, fineIn, 42, 10},
        {60, 10, fineIn, 63, 10}, {79, 10, fineIn, 80, 10}, {10, 40, fineIn, 10, 38}, {10, 11, fineIn, 10, 10},
        {10, 40, fineOut, 10, 42}, {10, 49, fineOut, 10, 50}, {40, 10, fineOut, 38, 10}, {33, 17, BZOOM_KEEP, 33, 17},
        {20, 10, in & ~BZOOM_DRAG, 40, 10},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Step({c.m, c.d, 3, 4}, c.command), (Ratio{c.toM, c.toD, c.toM, c.toD})) << &c - cases;
}

TEST(BZoom, ScaleStepTablesAreCheckedBeforeEitherIsStored) {
    int in[BZOOM_STEP_TABLE_LEN], out[BZOOM_STEP_TABLE_LEN];
    ASSERT_EQ(BZoomGetScaleSteps(in, out), 10);
    const std::vector<int> defaultIn(in, in + BZOOM_STEP_TABLE_LEN), defaultOut(out, out + BZOOM_STEP_TABLE_LEN);
    EXPECT_EQ(defaultIn, (std::vector<int>{5, 10, 20, 40, 60, 80, 0, 0, 0, 0, 0}));
    EXPECT_EQ(defaultOut, (std::vector<int>{5, 10, 15, 30, 40, 50, 0, 0, 0, 0, 0}));

    const int good[BZOOM_STEP_TABLE_LEN] = {3, 4, 8, 12};
    const int bad[][BZOOM_STEP_TABLE_LEN] = {{0, 4}, {11, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}, {2, 5, 8},
                                             {3, 4, 8, 8}, {3, 4, 9, 6}};
    for (const auto& table : bad)
        EXPECT_EQ(BZoomSetScaleSteps(4, good, table) | BZoomSetScaleSteps(4, table, nullptr), FALSE) << table[0];
    EXPECT_EQ(BZoomSetScaleSteps(0, nullptr, nullptr) | BZoomSetScaleSteps(1001, nullptr, nullptr), FALSE);

    ASSERT_TRUE(BZoomSetScaleSteps(4, good, good));
    EXPECT_EQ(Step({4, 4, 4, 4}, BZOOM_STEPIN), (Ratio{8, 4, 8, 4}));
    EXPECT_EQ(Step({4, 8, 4, 8}, BZOOM_STEPOUT), (Ratio{4, 12, 4, 12}));
    ASSERT_TRUE(BZoomSetScaleSteps(10, defaultIn.data(), defaultOut.data()));
}

TEST(BZoom, ScreenViewScrollsInProportion) {
    VXSCREENVIEW view{1.0, 1.0, 400, 300, 100, 250, 0, 0, {}};
    const int current[4] = {10, 10, 10, 10};
    VXBZOOM zoom{};
    BZoomScreenStep(nullptr, current, BZOOM_STEPIN, &zoom, &view);
    // No client area without a window: the maxima are the zoomed image's size.
    EXPECT_TRUE(view.zoomX == 2.0 && view.zoomY == 2.0);
    EXPECT_EQ((std::array{view.hMax, view.vMax, view.scrollX, view.scrollY, zoom.newScrollX}),
              (std::array<LONG, 5>{800, 600, 200, 500, 200}));
    const int out[4] = {20, 10, 20, 10};
    view.scrollX = 900;
    BZoomScreenStep(nullptr, out, BZOOM_STEPOUT, &zoom, &view);
    EXPECT_TRUE(view.zoomX == 1.0 && view.scrollX == 400);  // 450, kept within the new range
}

// A press and release `dx`, `dy` apart in drag mode: a click below 6 pixels on either axis.
Ratio PressAndRelease(HWND window, int dx, int dy) {
    VXBZOOM zoom{};
    POINT start{100, 100}, end{100 + dx, 100 + dy};
    const int current[4] = {20, 10, 20, 10};
    BZoomStart(window, &start, current, BZOOM_STEPIN, &zoom, FALSE);
    EXPECT_EQ(zoom.mode & BZOOM_DRAG, BZOOM_DRAG);
    BZoomEnd(window, &end, &zoom, nullptr);
    EXPECT_EQ(zoom.mode & BZOOM_DRAG, 0);
    return Of(zoom.newZoom);
}

TEST(BZoom, ShortDragsAreClicksAndRectanglesFillTheWindow) {
    vxtest::TestWindow window(300, 200);
    ASSERT_TRUE(window);
    EXPECT_EQ(PressAndRelease(window.get(), 5, 40), (Ratio{40, 10, 40, 10}));
    EXPECT_EQ(PressAndRelease(window.get(), -40, -5), (Ratio{40, 10, 40, 10}));
    EXPECT_EQ(PressAndRelease(window.get(), 30, 20), (Ratio{80, 10, 80, 10}));    // a tenth: capped at x8
    EXPECT_EQ(PressAndRelease(window.get(), -100, 50), (Ratio{30, 10, 30, 10}));  // x3 across, x4 down
    EXPECT_EQ(PressAndRelease(window.get(), 290, 190), (Ratio{10, 10, 10, 10}));
}

// A click and a drag applied to a display state showing a 400 x 300 bitmap.
TEST(BZoom, EndAppliesTheZoomToTheDisplayState) {
    vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(400, 300, 1, 32, nullptr));
    struct Case { SIZE client; DWORD flags; POINT start, end; Ratio zoom; POINT scroll; };
    const Case cases[] = {
        // A click: to the middle of 210 x 160 logical units; a fitting image sits at -1, -1.
        {{420, 320}, 0, {300, 200}, {302, 203}, {20, 10, 20, 10}, {196, 122}},
        // A drag over (40, 40)-(120, 100) of the image fitted at half size; x5 gives 1:6 extents.
        {{200, 150}, DISPLAY_FIT, {20, 20}, {60, 50}, {50, 10, 50, 10}, {64, 58}},
    };
    for (const Case& c : cases) {
        vxtest::TestWindow window(c.client.cx, c.client.cy);
        ASSERT_TRUE(window);
        VXDISPLAYSTATE state{};
        DisplayWmCreate(window.get(), 0, 0, &state);
        DisplayStart(window.get(), bitmap.get(), nullptr, nullptr, nullptr, nullptr, c.flags, &state);
        VXBZOOM zoom{};
        POINT start = c.start, end = c.end;
        BZoomStart(window.get(), &start, reinterpret_cast<const int*>(&state.zoom), BZOOM_STEPIN, &zoom, FALSE);
        BZoomEnd(window.get(), &end, &zoom, &state);
        EXPECT_EQ(Of(state.zoom), c.zoom);
        EXPECT_EQ(state.flags & (DISPLAY_FIT | DISPLAY_ZOOMED), DISPLAY_ZOOMED);
        EXPECT_EQ(std::vector<LONG>({zoom.newScrollX, zoom.newScrollY}), std::vector<LONG>({c.scroll.x, c.scroll.y}));
    }
}

// The window's pixels with the outline of (x0, y0)-(x1, y1) inverted.
std::vector<uint32_t> WithBand(std::vector<uint32_t> pixels, int width, int x0, int y0, int x1, int y1) {
    const auto invert = [&](int x, int y) { pixels[y * width + x] ^= 0xFFFFFFu; };
    for (int x = std::min(x0, x1); x <= std::max(x0, x1); ++x) invert(x, y0), invert(x, y1);
    for (int y = std::min(y0, y1) + 1; y < std::max(y0, y1); ++y) invert(x0, y), invert(x1, y);
    return pixels;
}

TEST(BZoom, BandInvertsItsOutlineAndLeavesNothingBehind) {
    vxtest::TestWindow window(200, 150);
    ASSERT_TRUE(window);
    const std::vector<uint32_t> before = window.pixels();
    VXBZOOM zoom{};
    POINT start{20, 30};
    BZoomStart(window.get(), &start, nullptr, BZOOM_KEEP, &zoom, FALSE);
    const POINT moves[] = {{25, 90}, {60, 90}, {120, 80}, {150, 130}, {10, 10}};
    for (const POINT& move : moves) {
        POINT p = move;
        BZoomUpdate(window.get(), &p, &zoom);
        const bool shown = zoom.bandShown != 0;
        EXPECT_EQ(shown, move.x != 25) << move.x;
        const auto expected = shown ? WithBand(before, 200, start.x, start.y, move.x, move.y) : before;
        EXPECT_TRUE(window.pixels() == expected) << "band to " << move.x << "," << move.y;
    }
    POINT end{10, 10};
    BZoomEnd(window.get(), &end, &zoom, nullptr);
    EXPECT_TRUE(window.pixels() == before);
    EXPECT_EQ(Of(zoom.newZoom), (Ratio{75, 10, 75, 10}));  // 200 / 10 across, 150 / 20 down
}

// Zoom with the given mouse messages queued before the call.
int ZoomFrom(vxtest::TestWindow& window, POINT start, std::initializer_list<POINT> moves, int current = 100) {
    for (const POINT& p : moves) PostMessageA(window.get(), WM_MOUSEMOVE, 0, MAKELPARAM(p.x, p.y));
    const POINT last = moves.size() != 0 ? *(moves.end() - 1) : start;
    PostMessageA(window.get(), WM_LBUTTONUP, 0, MAKELPARAM(last.x, last.y));
    int ratio[4] = {current, 100, current, 100};
    Zoom(window.get(), MAKELPARAM(start.x, start.y), ratio);
    EXPECT_TRUE(ratio[1] == 100 && ratio[3] == 100 && ratio[0] == ratio[2]);
    window.pump();
    return ratio[0];
}

TEST(Zoom, PercentageOfTheDraggedRectangle) {
    vxtest::TestWindow window(300, 200);
    ASSERT_TRUE(window);
    EXPECT_EQ(ZoomFrom(window, {10, 10}, {{20, 20}, {40, 30}}), 500);
    EXPECT_EQ(ZoomFrom(window, {0, 0}, {{150, 100}, {300, 200}}), 100);
    EXPECT_EQ(ZoomFrom(window, {300 - 1, 200 - 1}, {{150, 50}}), 134);  // 300 / 149 across, 200 / 149 down
    EXPECT_EQ(ZoomFrom(window, {0, 0}, {{300, 200}}, 250), 250);
    EXPECT_EQ(ZoomFrom(window, {50, 50}, {}), 500);
    int ratio[4] = {100, 100, 100, 100};
    EXPECT_FALSE(Zoom(window.get(), MAKELPARAM(300, 20), ratio));  // outside: a beep
    EXPECT_EQ(ratio[0], 100);
}

}  // namespace

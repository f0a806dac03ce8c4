// Windows and their USER calls: scroll bars and the client area, the paint cycle, ScrollDC,
// the message queue, capture and cursors, client pixels drawn through window DCs, and the
// rectangle helpers. Written once: natively against the library's windows, under Wine against
// real ones (vxtest::TestWindow); the few Linux-only cases (hosts, stale handles) come last.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gdi_guards.hpp"
#include "gdi_support.hpp"
#include "test_window.hpp"

namespace {

using vxtest::TestWindow;

std::string Str(const RECT& r) {
    return "(" + std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
           std::to_string(r.bottom) + ")";
}

// Whether a region covers exactly the given rectangles.
bool Covers(HRGN region, const std::vector<RECT>& rects) {
    vx::OwnedObject<HRGN> expected(CreateRectRgn(0, 0, 0, 0)), difference(CreateRectRgn(0, 0, 0, 0));
    for (const RECT& r : rects) {
        vx::OwnedObject<HRGN> one(CreateRectRgnIndirect(&r));
        CombineRgn(expected.get(), expected.get(), one.get(), RGN_OR);
    }
    return CombineRgn(difference.get(), region, expected.get(), RGN_XOR) == NULLREGION;
}

// Messages a test window received, by number.
struct Log {
    std::vector<UINT> messages;
    std::vector<LPARAM> sizes;
    TestWindow::Handler handler() {
        return [this](HWND, UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
            if (message == WM_SIZE || message == WM_PAINT || message == WM_ERASEBKGND || message == WM_CAPTURECHANGED)
                messages.push_back(message);
            if (message == WM_SIZE) sizes.push_back(lParam);
            return std::nullopt;
        };
    }
    int count(UINT message) const { return static_cast<int>(std::count(messages.begin(), messages.end(), message)); }
};

TEST(UserWindows, ScrollBarsResizeTheClientAreaInsideTheCall) {
    Log log;
    TestWindow window(200, 150, log.handler());
    ASSERT_TRUE(window);
    const int bar = GetSystemMetrics(SM_CXVSCROLL);
    ASSERT_EQ(bar, GetSystemMetrics(SM_CYHSCROLL));
    struct Step {
        const char* name;
        int which, minimum, maximum;
        int show;  // -1: SetScrollRange, else ShowScrollBar(which, show)
        int width, height, sizes;
        RECT invalid;  // what the call leaves to paint
    } steps[] = {
        {"vertical 0..90", SB_VERT, 0, 90, -1, 200 - bar, 150, 1, {0, 0, 0, 0}},
        {"same range again", SB_VERT, 0, 90, -1, 200 - bar, 150, 0, {0, 0, 0, 0}},
        {"horizontal 0..50", SB_HORZ, 0, 50, -1, 200 - bar, 150 - bar, 1, {0, 0, 0, 0}},
        {"vertical -1..-1 hides", SB_VERT, -1, -1, -1, 200, 150 - bar, 1, {200 - bar, 0, 200, 150 - bar}},
        {"horizontal hidden by ShowScrollBar", SB_HORZ, 0, 0, FALSE, 200, 150, 1, {0, 150 - bar, 200, 150}},
        {"inverted range is 0..0", SB_VERT, 9, 3, -1, 200, 150, 0, {0, 0, 0, 0}},
        {"both shown by ShowScrollBar", SB_BOTH, 0, 0, TRUE, 200 - bar, 150 - bar, 1, {0, 0, 0, 0}},
        {"the same empty range changes nothing", SB_VERT, 0, 0, -1, 200 - bar, 150 - bar, 0, {0, 0, 0, 0}},
        {"vertical 5..5 hides", SB_VERT, 5, 5, -1, 200, 150 - bar, 1, {200 - bar, 0, 200, 150 - bar}},
    };
    for (const Step& step : steps) {
        window.pump();
        log = Log{};
        if (step.show < 0)
            SetScrollRange(window.get(), step.which, step.minimum, step.maximum, FALSE);
        else
            ShowScrollBar(window.get(), step.which, step.show);
        const RECT client = window.client();
        EXPECT_EQ(Str(client), Str(RECT{0, 0, step.width, step.height})) << step.name;
        EXPECT_EQ(log.count(WM_SIZE), step.sizes) << step.name;
        if (!log.sizes.empty()) {
            EXPECT_EQ(log.sizes.back(), MAKELPARAM(step.width, step.height)) << step.name;
        }
        RECT invalid;
        GetUpdateRect(window.get(), &invalid, FALSE);
        EXPECT_EQ(Str(invalid), Str(step.invalid)) << step.name;
        // An uncovered strip is erased before WM_SIZE, inside the call.
        EXPECT_EQ(log.count(WM_ERASEBKGND), IsRectEmpty(&step.invalid) ? 0 : 1) << step.name;
    }
}

TEST(UserWindows, ScrollPositionsStayInTheirRange) {
    TestWindow window(120, 80);
    ASSERT_TRUE(window);
    const HWND w = window.get();
    SetScrollRange(w, SB_HORZ, 10, 60, FALSE);
    struct Move { int position, previous, now; } moves[] = {{30, 10, 30}, {500, 30, 60}, {-5, 60, 10}, {60, 10, 60}};
    for (const Move& m : moves) {
        EXPECT_EQ(SetScrollPos(w, SB_HORZ, m.position, TRUE), m.previous) << m.position;
        EXPECT_EQ(GetScrollPos(w, SB_HORZ), m.now) << m.position;
    }
    SetScrollRange(w, SB_HORZ, 0, 40, TRUE);  // pulls the position in
    EXPECT_EQ(GetScrollPos(w, SB_HORZ), 40);
    SetScrollRange(w, SB_HORZ, -1, -1, TRUE);
    int minimum = 7, maximum = 7;
    EXPECT_TRUE(GetScrollRange(w, SB_HORZ, &minimum, &maximum));
    EXPECT_EQ(minimum, -1);
    EXPECT_EQ(maximum, -1);
    EXPECT_EQ(GetScrollPos(w, SB_HORZ), -1);
}

TEST(UserWindows, PaintCycleErasesClipsAndValidates) {
    Log log;
    TestWindow window(200, 150, log.handler());
    ASSERT_TRUE(window);
    const HWND w = window.get();
    log = Log{};
    UpdateWindow(w);  // nothing invalid: no paint
    EXPECT_TRUE(log.messages.empty());

    const RECT a{10, 10, 30, 40}, b{50, 60, 70, 65}, inverted{120, 90, 100, 80};
    InvalidateRect(w, &a, FALSE);
    InvalidateRect(w, &b, TRUE);
    InvalidateRect(w, &inverted, FALSE);  // taken by its corners
    RECT box;
    EXPECT_TRUE(GetUpdateRect(w, &box, FALSE));
    EXPECT_EQ(Str(box), Str(RECT{10, 10, 120, 90}));

    PAINTSTRUCT paint;
    HDC dc = BeginPaint(w, &paint);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(log.count(WM_ERASEBKGND), 1);  // the erase flag gathered over the calls
    EXPECT_FALSE(paint.fErase);              // DefWindowProcA erased
    EXPECT_EQ(Str(paint.rcPaint), Str(RECT{10, 10, 120, 90}));
    EXPECT_EQ(GetClipBox(dc, &box), COMPLEXREGION);
    EXPECT_EQ(Str(box), Str(RECT{10, 10, 120, 90}));
    EXPECT_FALSE(GetUpdateRect(w, &box, FALSE));  // validated by BeginPaint
    SelectClipRgn(dc, nullptr);                   // still limited to the update region
    EXPECT_EQ(GetClipBox(dc, &box), COMPLEXREGION);
    SelectObject(dc, GetStockObject(BLACK_BRUSH));
    PatBlt(dc, 0, 0, 200, 150, PATCOPY);
    EndPaint(w, &paint);

    const std::vector<uint32_t> pixels = window.pixels();
    struct Probe { int x, y; uint32_t colour; } probes[] = {
        {10, 10, 0}, {29, 39, 0}, {30, 39, 0xC0C0C0}, {55, 62, 0}, {100, 80, 0}, {119, 89, 0}, {5, 5, 0xC0C0C0}, {40, 20, 0xC0C0C0}};
    for (const Probe& p : probes) EXPECT_EQ(window.pixel(pixels, p.x, p.y), p.colour) << p.x << "," << p.y;

    // Partial validation, then UpdateWindow paints at once through DefWindowProcA.
    InvalidateRect(w, &a, TRUE);
    const RECT top{10, 10, 30, 20};
    ValidateRect(w, &top);
    EXPECT_TRUE(GetUpdateRect(w, &box, FALSE));
    EXPECT_EQ(Str(box), Str(RECT{10, 20, 30, 40}));
    log = Log{};
    UpdateWindow(w);
    EXPECT_EQ(log.messages, (std::vector<UINT>{WM_PAINT, WM_ERASEBKGND}));
    EXPECT_FALSE(GetUpdateRect(w, nullptr, FALSE));

    // Nothing invalid: a DC that draws nowhere.
    dc = BeginPaint(w, &paint);
    EXPECT_EQ(Str(paint.rcPaint), Str(RECT{0, 0, 0, 0}));
    EXPECT_EQ(GetClipBox(dc, &box), NULLREGION);
    EndPaint(w, &paint);
    // An erase the procedure declines is sent once and left to the painter.
    window.setHandler([&](HWND, UINT message, WPARAM, LPARAM) -> std::optional<LRESULT> {
        if (message != WM_ERASEBKGND) return std::nullopt;
        log.messages.push_back(message);
        return 0;
    });
    InvalidateRect(w, &a, TRUE);
    log = Log{};
    GetUpdateRect(w, &box, TRUE);
    dc = BeginPaint(w, &paint);
    EXPECT_TRUE(paint.fErase);
    EXPECT_EQ(log.count(WM_ERASEBKGND), 1);
    EndPaint(w, &paint);
}

TEST(UserWindows, ScrollDCReportsWhatItUncovers) {
    TestWindow window(200, 150);
    ASSERT_TRUE(window);
    vx::WindowDC dc(window.get());
    ASSERT_TRUE(dc);
    const RECT all{0, 0, 200, 150}, part{10, 10, 100, 100}, none{0, 0, 0, 0};
    struct Case {
        int dx, dy;
        const RECT *scroll, *clip;
        RECT rect;
        std::vector<RECT> region;
    } cases[] = {
        {0, -10, &all, &all, {0, 140, 200, 150}, {{0, 140, 200, 150}}},
        {0, 10, &all, &all, {0, 0, 200, 10}, {{0, 0, 200, 10}}},
        {10, 0, &all, nullptr, {0, 0, 10, 150}, {{0, 0, 10, 150}}},
        {-10, 0, nullptr, &all, {190, 0, 200, 150}, {{190, 0, 200, 150}}},
        {5, 7, &all, &all, {0, 0, 200, 150}, {{0, 0, 200, 7}, {0, 7, 5, 150}}},
        {-5, -7, &all, &all, {0, 0, 200, 150}, {{195, 0, 200, 143}, {0, 143, 200, 150}}},
        {0, 0, &all, &all, none, {}},
        {300, 0, &all, &all, all, {all}},
        {0, -10, nullptr, nullptr, none, {}},
        {3, 4, &part, nullptr, part, {{10, 10, 100, 14}, {10, 14, 13, 100}}},
    };
    for (const Case& c : cases) {
        vx::OwnedObject<HRGN> update(CreateRectRgn(0, 0, 0, 0));
        RECT rect{-9, -9, -9, -9};
        EXPECT_TRUE(ScrollDC(dc.get(), c.dx, c.dy, c.scroll, c.clip, update.get(), &rect));
        const std::string name = std::to_string(c.dx) + "," + std::to_string(c.dy);
        EXPECT_EQ(Str(rect), Str(c.rect)) << name;
        EXPECT_TRUE(Covers(update.get(), c.region)) << name;
    }
    // Mapped: the rectangles are logical, dx and dy move by their device size, and the update
    // area comes back in device units.
    SaveDC(dc.get());
    SetMapMode(dc.get(), MM_ANISOTROPIC);
    SetWindowExtEx(dc.get(), 3, 3, nullptr);
    SetViewportExtEx(dc.get(), 2, 2, nullptr);
    SetWindowOrgEx(dc.get(), 7, 5, nullptr);
    const RECT logical{7, 5, 307, 230};
    RECT rect;
    ScrollDC(dc.get(), 5, 0, &logical, &logical, nullptr, &rect);
    EXPECT_EQ(Str(rect), Str(RECT{0, 0, 4, 150}));
    ScrollDC(dc.get(), 0, -4, &logical, &logical, nullptr, &rect);
    EXPECT_EQ(Str(rect), Str(RECT{0, 147, 200, 150}));
    RestoreDC(dc.get(), -1);
}

TEST(UserWindows, ClientPixelsFollowDrawingAndScrolling) {
    TestWindow window(160, 48);  // wide enough for a captioned window under Wine
    ASSERT_TRUE(window);
    {
        vx::WindowDC dc(window.get());
        ASSERT_TRUE(dc);
        RECT box;
        EXPECT_EQ(GetClipBox(dc.get(), &box), SIMPLEREGION);
        EXPECT_EQ(Str(box), Str(RECT{0, 0, 160, 48}));
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 160; ++x) SetPixel(dc.get(), x, y, vxtest::Mix(x, y));
        EXPECT_EQ(GetPixel(dc.get(), 160, 0), CLR_INVALID);  // outside the client area
        const RECT all{0, 0, 160, 48};
        ScrollDC(dc.get(), 3, -10, &all, &all, nullptr, nullptr);
    }
    const std::vector<uint32_t> pixels = window.pixels();
    auto rgb = [](COLORREF c) { return static_cast<uint32_t>(GetRValue(c)) << 16 | GetGValue(c) << 8 | GetBValue(c); };
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 160; ++x) {
            const bool moved = x >= 3 && y < 38;  // the rest kept what it had
            const COLORREF expected = moved ? vxtest::Mix(x - 3, y + 10) : vxtest::Mix(x, y);
            ASSERT_EQ(window.pixel(pixels, x, y), rgb(expected)) << x << "," << y;
        }
}

TEST(UserWindows, QueueKeepsOrderFiltersRangesAndMakesUpPaint) {
    TestWindow window(40, 30);
    ASSERT_TRUE(window);
    const HWND w = window.get();
    window.pump();
    const RECT a{1, 1, 5, 5};
    InvalidateRect(w, &a, FALSE);
    PostMessageA(w, WM_USER + 1, 1, 0);
    PostMessageA(w, WM_USER + 5, 2, 0);
    PostMessageA(w, WM_USER + 2, 3, 0);
    PostMessageA(nullptr, WM_USER + 3, 4, 0);
    std::vector<WPARAM> order;
    MSG message;
    while (PeekMessageA(&message, nullptr, WM_USER + 2, WM_USER + 5, PM_REMOVE)) order.push_back(message.wParam);
    EXPECT_EQ(order, (std::vector<WPARAM>{2, 3, 4}));
    ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.wParam, 1u);
    // Nothing queued: paint, which stays until the window is valid.
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(PeekMessageA(&message, w, WM_PAINT, WM_PAINT, PM_REMOVE));
        EXPECT_EQ(message.message, static_cast<UINT>(WM_PAINT));
        EXPECT_EQ(message.hwnd, w);
    }
    ValidateRect(w, nullptr);
    EXPECT_FALSE(PeekMessageA(&message, w, 0, 0, PM_REMOVE));
}

TEST(UserWindows, CaptureAndCursorAnswerWhatTheyReplaced) {
    Log log;
    TestWindow window(40, 30, log.handler());
    ASSERT_TRUE(window);
    const HWND w = window.get();
    ReleaseCapture();
    log = Log{};
    EXPECT_EQ(SetCapture(w), nullptr);
    EXPECT_EQ(SetCapture(w), w);  // the holder is told even when it takes it again
    EXPECT_EQ(GetCapture(), w);
    EXPECT_TRUE(ReleaseCapture());
    EXPECT_EQ(GetCapture(), nullptr);
    EXPECT_TRUE(ReleaseCapture());
    EXPECT_EQ(log.count(WM_CAPTURECHANGED), 2);

    const HCURSOR arrow = LoadCursorA(nullptr, IDC_ARROW), cross = LoadCursorA(nullptr, IDC_CROSS);
    ASSERT_NE(arrow, nullptr);
    ASSERT_NE(cross, nullptr);
    EXPECT_NE(arrow, cross);
    EXPECT_EQ(LoadCursorA(nullptr, IDC_ARROW), arrow);
    EXPECT_EQ(LoadCursorA(nullptr, MAKEINTRESOURCEA(12345)), nullptr);
    SetCursor(arrow);
    EXPECT_EQ(SetCursor(cross), arrow);
    EXPECT_EQ(SetCursor(nullptr), cross);
    EXPECT_EQ(SetCursor(arrow), nullptr);
    EXPECT_EQ(GetCursor(), arrow);
}

TEST(UserWindows, RectangleHelpersGiveWindowsAnswers) {
    const RECT a{0, 0, 10, 10}, distant{20, 20, 30, 30}, overlap{5, 5, 15, 15}, flat{5, 5, 5, 20}, zero{0, 0, 0, 0};
    struct Pair { const char* name; RECT first, second; BOOL intersects; RECT intersection; BOOL unites; RECT join; } pairs[] = {
        {"disjoint", a, distant, FALSE, zero, TRUE, {0, 0, 30, 30}},
        {"overlapping", a, overlap, TRUE, {5, 5, 10, 10}, TRUE, {0, 0, 15, 15}},
        {"one empty", flat, a, FALSE, zero, TRUE, a},
        {"both empty", zero, flat, FALSE, zero, FALSE, zero},
    };
    for (const Pair& p : pairs) {
        RECT out{1, 2, 3, 4};
        EXPECT_EQ(IntersectRect(&out, &p.first, &p.second), p.intersects) << p.name;
        EXPECT_EQ(Str(out), Str(p.intersection)) << p.name;
        out = RECT{1, 2, 3, 4};
        EXPECT_EQ(UnionRect(&out, &p.first, &p.second), p.unites) << p.name;
        EXPECT_EQ(Str(out), Str(p.join)) << p.name;
    }
    EXPECT_FALSE(PtInRect(&a, POINT{10, 5}));
    EXPECT_TRUE(PtInRect(&a, POINT{0, 0}));
    EXPECT_FALSE(EqualRect(&zero, &flat));
    EXPECT_TRUE(IsRectEmpty(nullptr));
    RECT inflated = a;
    EXPECT_TRUE(InflateRect(&inflated, -6, -6));
    EXPECT_EQ(Str(inflated), Str(RECT{6, 6, 4, 4}));
    EXPECT_FALSE(SetRect(nullptr, 0, 0, 1, 1));
    EXPECT_FALSE(OffsetRect(nullptr, 1, 1));
    EXPECT_FALSE(IntersectRect(&inflated, nullptr, &a));
}

#ifndef _WIN32
// The host table and stale handles exist only for the library's own windows.
struct HostLog {
    std::vector<RECT> presented;
    int scrollBars = 0;
    std::vector<HCURSOR> cursors;
};

TEST(UserWindows, HostsHearOfPixelsBarsAndCursors) {
    HostLog log;
    VXWINDOWHOST host{};
    host.context = &log;
    host.present = [](void* c, HWND, const RECT* r) { static_cast<HostLog*>(c)->presented.push_back(*r); };
    host.scrollBars = [](void* c, HWND) { ++static_cast<HostLog*>(c)->scrollBars; };
    host.cursor = [](void* c, HWND, HCURSOR cursor) { static_cast<HostLog*>(c)->cursors.push_back(cursor); };
    const HWND w = VexoraCreateWindow(30, 20, &host);
    ASSERT_NE(w, nullptr);
    int width = 0, height = 0, stride = 0;
    const auto* pixels = static_cast<const uint32_t*>(VexoraWindowPixels(w, &width, &height, &stride));
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(width, 30);
    EXPECT_EQ(stride, 120);
    EXPECT_EQ(pixels[0] & 0xFFFFFF, 0xFFFFFFu);  // no background brush: white
    log.presented.clear();
    const RECT part{2, 3, 9, 8};
    InvalidateRect(w, &part, FALSE);
    UpdateWindow(w);  // DefWindowProcA paints, EndPaint presents rcPaint
    ASSERT_EQ(log.presented.size(), 1u);
    EXPECT_EQ(Str(log.presented[0]), Str(part));
    SetScrollRange(w, SB_VERT, 0, 5, TRUE);
    EXPECT_TRUE(VexoraScrollBarShown(w, SB_VERT));
    EXPECT_EQ(log.scrollBars, 1);
    EXPECT_TRUE(VexoraSetWindowPos(w, 100, 50, 40, 30));
    RECT client;
    GetClientRect(w, &client);
    EXPECT_EQ(Str(client), Str(RECT{0, 0, 40 - 17, 30}));
    POINT p{1, 2};
    ClientToScreen(w, &p);
    EXPECT_EQ(p.x, 101);
    EXPECT_EQ(p.y, 52);
    SetCursor(nullptr);
    SetCursor(LoadCursorA(nullptr, IDC_WAIT));
    ASSERT_FALSE(log.cursors.empty());
    EXPECT_EQ(log.cursors.back(), LoadCursorA(nullptr, IDC_WAIT));

    HDC dc = GetDC(w);
    ASSERT_TRUE(VexoraDestroyWindow(w));
    // Stale everywhere; the DC it lent draws nothing and is already back.
    EXPECT_FALSE(IsWindow(w));
    EXPECT_EQ(GetDC(w), nullptr);
    EXPECT_EQ(SetPixel(dc, 1, 1, 0), CLR_INVALID);
    EXPECT_EQ(ReleaseDC(w, dc), 0);
    EXPECT_FALSE(GetClientRect(w, &client));
    EXPECT_FALSE(InvalidateRect(w, nullptr, FALSE));
    EXPECT_FALSE(PostMessageA(w, WM_USER, 0, 0));
    EXPECT_EQ(VexoraWindowPixels(w, &width, &height, &stride), nullptr);
    PAINTSTRUCT paint;
    EXPECT_EQ(BeginPaint(w, &paint), nullptr);
    EXPECT_FALSE(VexoraDestroyWindow(w));
    for (const int side : {0, -1, 16385})
        EXPECT_EQ(VexoraCreateWindow(side, 10, nullptr), nullptr) << side;
}
#endif

}  // namespace

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
    return "(" + std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," + std::to_string(r.bottom) + ")";
}

// The update rectangle as written, after "none" when GetUpdateRect answers that nothing is invalid.
std::string Update(HWND w) {
    RECT r{-9, -9, -9, -9};
    const bool any = GetUpdateRect(w, &r, FALSE);
    return (any ? "" : "none") + Str(r);
}

// The clip box of a DC with the kind of region GetClipBox answers.
std::string Clip(HDC dc) {
    RECT r{-9, -9, -9, -9};
    static const char* const kinds[] = {"error", "null", "simple", "complex"};
    const int kind = GetClipBox(dc, &r);
    return kinds[kind] + Str(r);
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
    bool declineErase = false;  // answer WM_ERASEBKGND with 0 instead of erasing
    TestWindow::Handler handler() {
        return [this](HWND, UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
            if (message == WM_SIZE || message == WM_PAINT || message == WM_ERASEBKGND || message == WM_CAPTURECHANGED)
                messages.push_back(message);
            if (message == WM_SIZE) sizes.push_back(lParam);
            return message == WM_ERASEBKGND && declineErase ? std::optional<LRESULT>(0) : std::nullopt;
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
    // show -1: SetScrollRange, else ShowScrollBar(which, show); invalid: what the call leaves to paint.
    struct Step { const char* name; int which, minimum, maximum, show, width, height, sizes; RECT invalid; } steps[] = {
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
        if (step.show < 0) SetScrollRange(window.get(), step.which, step.minimum, step.maximum, FALSE);
        else ShowScrollBar(window.get(), step.which, step.show);
        const bool uncovered = !IsRectEmpty(&step.invalid);
        EXPECT_EQ(Str(window.client()), Str(RECT{0, 0, step.width, step.height})) << step.name;
        EXPECT_EQ(log.sizes, std::vector<LPARAM>(step.sizes, MAKELPARAM(step.width, step.height))) << step.name;
        EXPECT_EQ(Update(window.get()), (uncovered ? "" : "none") + Str(step.invalid)) << step.name;
        // An uncovered strip is erased before WM_SIZE, inside the call.
        EXPECT_EQ(log.count(WM_ERASEBKGND), uncovered ? 1 : 0) << step.name;
    }
}

TEST(UserWindows, ScrollPositionsStayInTheirRange) {
    TestWindow window(120, 80);
    ASSERT_TRUE(window);
    const HWND w = window.get();
    // Each step sets a range (when it has one) or a position, then reads the position back;
    // a new range pulls the position in.
    struct Step { int minimum, maximum, position, previous, now; } steps[] = {
        {10, 60, 30, 10, 30}, {0, 0, 500, 30, 60}, {0, 0, -5, 60, 10}, {0, 0, 60, 10, 60}, {0, 40, 0, 0, 40}, {-1, -1, 0, 0, -1}};
    for (const Step& s : steps) {
        if (s.minimum || s.maximum) SetScrollRange(w, SB_HORZ, s.minimum, s.maximum, TRUE);
        if (s.position) { EXPECT_EQ(SetScrollPos(w, SB_HORZ, s.position, TRUE), s.previous) << s.position; }
        EXPECT_EQ(GetScrollPos(w, SB_HORZ), s.now) << s.position;
    }
    int minimum = 7, maximum = 7;
    EXPECT_TRUE(GetScrollRange(w, SB_HORZ, &minimum, &maximum));
    EXPECT_EQ(std::make_pair(minimum, maximum), std::make_pair(-1, -1));
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
    // The inverted rectangle is taken by its corners; the erase flag gathers over the calls.
    for (const auto& [r, erase] : {std::pair{&a, FALSE}, {&b, TRUE}, {&inverted, FALSE}}) InvalidateRect(w, r, erase);
    EXPECT_EQ(Update(w), "(10,10,120,90)");

    PAINTSTRUCT paint;
    HDC dc = BeginPaint(w, &paint);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(log.count(WM_ERASEBKGND), 1);
    EXPECT_FALSE(paint.fErase);  // DefWindowProcA erased
    // Painting the update box, clipped to it, and validated by BeginPaint.
    EXPECT_EQ(Str(paint.rcPaint) + Clip(dc) + Update(w), "(10,10,120,90)complex(10,10,120,90)none(0,0,0,0)");
    SelectClipRgn(dc, nullptr);              // still limited to the update region
    EXPECT_EQ(Clip(dc), "complex(10,10,120,90)");
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
    EXPECT_EQ(Update(w), "(10,20,30,40)");
    log = Log{};
    UpdateWindow(w);
    EXPECT_EQ(log.messages, (std::vector<UINT>{WM_PAINT, WM_ERASEBKGND}));
    EXPECT_FALSE(GetUpdateRect(w, nullptr, FALSE));

    // Nothing invalid: a DC that draws nowhere.
    dc = BeginPaint(w, &paint);
    EXPECT_EQ(Str(paint.rcPaint) + Clip(dc).substr(0, 5), "(0,0,0,0)null(");
    EndPaint(w, &paint);
    // An erase the procedure declines is sent once and left to the painter.
    InvalidateRect(w, &a, TRUE);
    log = Log{};
    log.declineErase = true;
    RECT box;
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
    struct Case { int dx, dy; const RECT *scroll, *clip; RECT rect; std::vector<RECT> region; } cases[] = {
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
        EXPECT_EQ(Str(rect), Str(c.rect)) << c.dx << "," << c.dy;
        EXPECT_TRUE(Covers(update.get(), c.region)) << c.dx << "," << c.dy;
    }
    // Mapped: the rectangles are logical, dx and dy move by their device size, and the update
    // area comes back in device units.
    SaveDC(dc.get());
    vxtest::SetMapping(dc.get(), {7, 5, 3, 3, 0, 0, 2, 2});
    const RECT logical{7, 5, 307, 230};
    for (const auto& [dx, dy, expected] : {std::tuple{5, 0, "(0,0,4,150)"}, std::tuple{0, -4, "(0,147,200,150)"}}) {
        RECT rect;
        ScrollDC(dc.get(), dx, dy, &logical, &logical, nullptr, &rect);
        EXPECT_EQ(Str(rect), expected) << dx << "," << dy;
    }
    RestoreDC(dc.get(), -1);
}

TEST(UserWindows, ClientPixelsFollowDrawingAndScrolling) {
    TestWindow window(160, 48);  // wide enough for a captioned window under Wine
    ASSERT_TRUE(window);
    // Every direction, the pixels overlapping their old place: up and right, down and left, and
    // along a row both ways.
    for (const auto& [dx, dy] : {std::pair{3, -10}, {-4, 7}, {5, 0}, {-5, 0}}) {
        {
            vx::WindowDC dc(window.get());
            ASSERT_TRUE(dc);
            EXPECT_EQ(Clip(dc.get()), "simple(0,0,160,48)");
            for (int y = 0; y < 48; ++y)
                for (int x = 0; x < 160; ++x) SetPixel(dc.get(), x, y, vxtest::Mix(x, y));
            EXPECT_EQ(GetPixel(dc.get(), 160, 0), CLR_INVALID);  // outside the client area
            const RECT all{0, 0, 160, 48};
            ScrollDC(dc.get(), dx, dy, &all, &all, nullptr, nullptr);
        }
        const std::vector<uint32_t> pixels = window.pixels();
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 160; ++x) {
                const bool moved = x - dx >= 0 && x - dx < 160 && y - dy >= 0 && y - dy < 48;  // the rest kept what it had
                const COLORREF c = moved ? vxtest::Mix(x - dx, y - dy) : vxtest::Mix(x, y);
                ASSERT_EQ(window.pixel(pixels, x, y), uint32_t(GetRValue(c)) << 16 | GetGValue(c) << 8 | GetBValue(c))
                    << x << "," << y << " moved by " << dx << "," << dy;
            }
    }
}

TEST(UserWindows, QueueKeepsOrderFiltersRangesAndMakesUpPaint) {
    TestWindow window(40, 30);
    ASSERT_TRUE(window);
    const HWND w = window.get();
    window.pump();
    const RECT a{1, 1, 5, 5};
    InvalidateRect(w, &a, FALSE);
    for (const auto& [to, offset, tag] : {std::tuple{w, 1, 1}, {w, 5, 2}, {w, 2, 3}, {HWND{}, 3, 4}})
        PostMessageA(to, WM_USER + offset, tag, 0);
    std::vector<WPARAM> order;
    MSG message;
    while (PeekMessageA(&message, nullptr, WM_USER + 2, WM_USER + 5, PM_REMOVE)) order.push_back(message.wParam);
    EXPECT_EQ(order, (std::vector<WPARAM>{2, 3, 4}));
    ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.wParam, 1u);
    // Nothing queued: paint, which stays until the window is valid.
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(PeekMessageA(&message, w, WM_PAINT, WM_PAINT, PM_REMOVE));
        EXPECT_EQ(std::make_pair(message.message, message.hwnd), std::make_pair(UINT{WM_PAINT}, w));
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
    ASSERT_TRUE(arrow && cross && arrow != cross);
    EXPECT_EQ(LoadCursorA(nullptr, IDC_ARROW), arrow);
    EXPECT_EQ(LoadCursorA(nullptr, MAKEINTRESOURCEA(12345)), nullptr);
    SetCursor(arrow);
    const HCURSOR sequence[] = {cross, nullptr, arrow};  // each call answers the one before
    for (int i = 0; i < 3; ++i) EXPECT_EQ(SetCursor(sequence[i]), i ? sequence[i - 1] : arrow) << i;
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
        RECT out{1, 2, 3, 4}, join{1, 2, 3, 4};
        EXPECT_EQ(IntersectRect(&out, &p.first, &p.second), p.intersects) << p.name;
        EXPECT_EQ(UnionRect(&join, &p.first, &p.second), p.unites) << p.name;
        EXPECT_EQ(Str(out) + Str(join), Str(p.intersection) + Str(p.join)) << p.name;
    }
    EXPECT_TRUE(!PtInRect(&a, POINT{10, 5}) && PtInRect(&a, POINT{0, 0}) && !EqualRect(&zero, &flat) && IsRectEmpty(nullptr));
    RECT inflated = a;
    EXPECT_TRUE(InflateRect(&inflated, -6, -6));
    EXPECT_EQ(Str(inflated), "(6,6,4,4)");
    EXPECT_FALSE(SetRect(nullptr, 0, 0, 1, 1) || OffsetRect(nullptr, 1, 1) || IntersectRect(&inflated, nullptr, &a));
}

#ifndef _WIN32
// The host table and stale handles exist only for the library's own windows.
struct HostLog { std::string presented; int scrollBars = 0; std::vector<HCURSOR> cursors; };

TEST(UserWindows, HostsHearOfPixelsBarsAndCursors) {
    HostLog log;
    VXWINDOWHOST host{};
    host.context = &log;
    host.present = [](void* c, HWND, const RECT* r) { static_cast<HostLog*>(c)->presented += Str(*r); };
    host.scrollBars = [](void* c, HWND) { ++static_cast<HostLog*>(c)->scrollBars; };
    host.cursor = [](void* c, HWND, HCURSOR cursor) { static_cast<HostLog*>(c)->cursors.push_back(cursor); };
    const HWND w = VexoraCreateWindow(30, 20, &host);
    ASSERT_NE(w, nullptr);
    int width = 0, height = 0, stride = 0;
    const auto* pixels = static_cast<const uint32_t*>(VexoraWindowPixels(w, &width, &height, &stride));
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(std::make_pair(width, stride), std::make_pair(30, 120));
    EXPECT_EQ(pixels[0] & 0xFFFFFF, 0xFFFFFFu);  // no background brush: white
    log.presented.clear();
    const RECT part{2, 3, 9, 8};
    InvalidateRect(w, &part, FALSE);
    UpdateWindow(w);  // DefWindowProcA paints, EndPaint presents rcPaint
    EXPECT_EQ(log.presented, Str(part));
    SetScrollRange(w, SB_VERT, 0, 5, TRUE);
    EXPECT_TRUE(VexoraScrollBarShown(w, SB_VERT));
    EXPECT_EQ(log.scrollBars, 1);
    EXPECT_TRUE(VexoraSetWindowPos(w, 100, 50, 40, 30));
    RECT client;
    GetClientRect(w, &client);
    EXPECT_EQ(Str(client), Str(RECT{0, 0, 40 - 17, 30}));
    POINT p{1, 2};
    ClientToScreen(w, &p);
    EXPECT_EQ(std::make_pair(p.x, p.y), std::make_pair(LONG{101}, LONG{52}));
    SetCursor(nullptr);
    SetCursor(LoadCursorA(nullptr, IDC_WAIT));
    EXPECT_EQ(log.cursors.empty() ? nullptr : log.cursors.back(), LoadCursorA(nullptr, IDC_WAIT));

    HDC dc = GetDC(w);
    ASSERT_TRUE(VexoraDestroyWindow(w));
    // Stale everywhere; the DC it lent draws nothing and is already back.
    PAINTSTRUCT paint;
    EXPECT_EQ(SetPixel(dc, 1, 1, 0), CLR_INVALID);
    EXPECT_FALSE(IsWindow(w) || GetDC(w) || ReleaseDC(w, dc) || GetClientRect(w, &client) ||
                 InvalidateRect(w, nullptr, FALSE) || PostMessageA(w, WM_USER, 0, 0) ||
                 VexoraWindowPixels(w, &width, &height, &stride) || BeginPaint(w, &paint) || VexoraDestroyWindow(w));
    for (const int side : {0, -1, 16385}) EXPECT_EQ(VexoraCreateWindow(side, 10, nullptr), nullptr) << side;
}
#endif

}  // namespace

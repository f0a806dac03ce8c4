// Conformance tests of fonts and text: run natively against the Linux subset and under Wine
// against Windows' GDI. The two draw with different fonts, so these check structure (metrics
// the layout depends on, line counts, where ink and background fall, what clipping and the
// mapping do) and compare text only with other text drawn by the same GDI, never with a
// glyph's pixels.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "gdi_support.hpp"
#include "ink.hpp"

#ifndef _WIN32
#include "platform/posix/gdi/fonts.hpp"
#endif

namespace {

using vxtest::Ink;
using vxtest::InkOf;
using vxtest::MonoRows;

// A monochrome sheet in a memory DC, painted all black or all white.
struct Sheet : vxtest::Canvas {
    Sheet(int width, int height, bool white) : Canvas(width, height, 1) {
        PatBlt(dc(), 0, 0, width, height, white ? WHITENESS : BLACKNESS);
    }
    MonoRows rows() const { return MonoRows(bitmap()); }
};

TEXTMETRICA Metrics(HDC dc) {
    TEXTMETRICA tm{};
    EXPECT_TRUE(GetTextMetricsA(dc, &tm));
    return tm;
}

// The white pixels of a black sheet outside `cell` and the black ones inside it.
std::pair<int, int> WhiteOutsideBlackInside(const MonoRows& rows, const RECT& cell) {
    std::pair<int, int> count{0, 0};
    for (int y = 0; y < rows.height; ++y)
        for (int x = 0; x < rows.width; ++x) {
            const bool inside = x >= cell.left && x < cell.right && y >= cell.top && y < cell.bottom;
            (inside ? count.second : count.first) += inside == rows.black(x, y);
        }
    return count;
}

LONG Extent(HDC dc, const char* text) {
    SIZE size{};
    EXPECT_TRUE(GetTextExtentPoint32A(dc, text, static_cast<int>(std::strlen(text)), &size));
    return size.cx;
}

// A memory DC's font is the stock system font, measured as Windows measures it: the text
// family lays lines out by these numbers.
TEST(GdiText, AMemoryDcStartsWithTheSystemFont) {
    vx::MemoryDC dc;
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_FONT), GetStockObject(SYSTEM_FONT));
    TEXTMETRICA tm{};
    ASSERT_TRUE(GetTextMetricsA(dc.get(), &tm)) << "no font could be realised (Linux: run scripts/install-deps.sh)";
    // height, ascent, descent, internal and external leading, average width, weight, character set
    EXPECT_EQ((std::vector<LONG>{tm.tmHeight, tm.tmAscent, tm.tmDescent, tm.tmInternalLeading, tm.tmExternalLeading,
                                 tm.tmAveCharWidth, tm.tmWeight, tm.tmCharSet}),
              (std::vector<LONG>{16, 13, 3, 2, 0, 7, FW_BOLD, ANSI_CHARSET}));
}

#ifndef _WIN32
// The system font is a real file on this machine, the one chosen for its metrics; a machine
// without it must say so here rather than draw text in whatever fontconfig falls back to.
TEST(GdiText, TheSystemFontFileIsInstalled) {
    const std::string file = vx::posix::gdi::SystemFontFile();
    EXPECT_NE(file.find("DejaVuSansCondensed-Bold"), std::string::npos)
        << "fontconfig gave '" << file << "'; install fonts-dejavu-extra (scripts/install-deps.sh native)";
}
#endif

// The stock fonts' logical fonts, as GetObjectA answers them.
TEST(GdiText, StockFontsDescribeThemselvesAsWindowsDoes) {
    struct Case { int which; LONG height, width, weight; BYTE charSet, pitchAndFamily; const char* face; };
    const Case cases[] = {
        {OEM_FIXED_FONT, 12, 0, FW_NORMAL, OEM_CHARSET, 0x31, ""},
        {ANSI_FIXED_FONT, 12, 0, FW_NORMAL, ANSI_CHARSET, 0x31, "Courier"},
        {ANSI_VAR_FONT, 12, 0, FW_NORMAL, ANSI_CHARSET, 0x22, "MS Sans Serif"},
        {SYSTEM_FONT, 16, 7, FW_BOLD, ANSI_CHARSET, 0x22, "System"},
        {DEVICE_DEFAULT_FONT, 16, 0, FW_BOLD, ANSI_CHARSET, 0x22, "System"},
        {SYSTEM_FIXED_FONT, 16, 0, FW_NORMAL, ANSI_CHARSET, 0x31, "Courier"},
        {DEFAULT_GUI_FONT, -11, 0, FW_NORMAL, ANSI_CHARSET, 0x22, "MS Shell Dlg"},
    };
    for (const Case& c : cases) {
        HGDIOBJ font = GetStockObject(c.which);
        LOGFONTA lf{};
        EXPECT_EQ(GetObjectA(font, sizeof lf, &lf), static_cast<int>(sizeof lf)) << c.which;
        EXPECT_EQ((std::vector<LONG>{lf.lfHeight, lf.lfWidth, lf.lfWeight, lf.lfCharSet, lf.lfPitchAndFamily}),
                  (std::vector<LONG>{c.height, c.width, c.weight, c.charSet, c.pitchAndFamily})) << c.which;
        EXPECT_STREQ(lf.lfFaceName, c.face) << c.which;
        EXPECT_TRUE(DeleteObject(font)) << c.which;  // a stock object stays
        EXPECT_EQ(GetObjectType(font), static_cast<DWORD>(OBJ_FONT)) << c.which;
    }
}

// A created font: GetObjectA copies what fits, a larger height measures taller, and a font
// deleted while selected lives until it is let go.
TEST(GdiText, CreatedFontsAreObjectsLikeTheOthers) {
    vx::MemoryDC dc;
    HFONT font = CreateFontA(-32, 0, 0, 0, FW_NORMAL, 0, 0, 0, ANSI_CHARSET, 0, 0, 0, 0, "Arial");
    ASSERT_NE(font, nullptr);
    LOGFONTA lf{};
    EXPECT_EQ(GetObjectA(font, 0, nullptr), static_cast<int>(sizeof lf));
    EXPECT_EQ(GetObjectA(font, 10, &lf), 10);
    EXPECT_EQ(GetObjectA(font, sizeof lf, &lf), static_cast<int>(sizeof lf));
    EXPECT_STREQ(lf.lfFaceName, "Arial");

    EXPECT_EQ(SelectObject(dc.get(), font), GetStockObject(SYSTEM_FONT));
    const TEXTMETRICA big = Metrics(dc.get());
    EXPECT_GE(big.tmHeight - big.tmInternalLeading, 31);  // the em is the height asked for
    EXPECT_LE(big.tmHeight - big.tmInternalLeading, 33);

    EXPECT_TRUE(DeleteObject(font));
    EXPECT_EQ(GetObjectType(font), static_cast<DWORD>(OBJ_FONT));
    SelectObject(dc.get(), GetStockObject(SYSTEM_FONT));
    EXPECT_EQ(GetObjectType(font), 0u);
    EXPECT_EQ(CreateFontIndirectA(nullptr), nullptr);
}

// DrawTextA's measuring: lines break at CR, LF, CR LF and LF CR, a break at the end opens no
// line, a line shows 1024 characters at most, '&' marks a character, tabs are characters
// unless expanded; the rectangle grows from its own corner.
TEST(GdiText, DrawTextMeasuresLinesAsUserBreaksThem) {
    vx::MemoryDC dc;
    const HDC h = dc.get();
    const LONG line = Metrics(h).tmHeight;
    const std::string longLine = std::string(1500, 'x') + "\r\nAB";
    struct Case { const char* text; int count; UINT extraFlags; int lines; LONG width; };  // width: the widest line
    const Case cases[] = {
        {"A", -1, 0, 1, Extent(h, "A")},
        {"Wide\nA", -1, 0, 2, Extent(h, "Wide")},
        {"A\rWide", -1, 0, 2, Extent(h, "Wide")},
        {"A\r\nB", -1, 0, 2, std::max(Extent(h, "A"), Extent(h, "B"))},
        {"A\n\rB", -1, 0, 2, std::max(Extent(h, "A"), Extent(h, "B"))},
        {"A\r\rB", -1, 0, 3, std::max(Extent(h, "A"), Extent(h, "B"))},
        {"A\n\nB", -1, 0, 3, std::max(Extent(h, "A"), Extent(h, "B"))},
        {"A\n", -1, 0, 1, Extent(h, "A")},
        {"A\r\n", -1, 0, 1, Extent(h, "A")},
        {"\n", -1, 0, 1, 0},
        {"\r\n\r\n", -1, 0, 2, 0},
        {"A\nB", 2, 0, 1, Extent(h, "A")},
        {"A&B", -1, 0, 1, Extent(h, "AB")},
        {"A&&B", -1, 0, 1, Extent(h, "A&B")},
        {"A&", -1, 0, 1, Extent(h, "A&")},
        {"WW&\nB", -1, 0, 2, Extent(h, "WW")},
        {"A&B", -1, DT_NOPREFIX, 1, Extent(h, "A&B")},
        {"A\tB", -1, 0, 1, Extent(h, "A\tB")},
        {"A\tB", -1, DT_EXPANDTABS, 1, 8 * Metrics(h).tmAveCharWidth + Extent(h, "B")},
        {"A\rB\nC", -1, DT_SINGLELINE, 1, Extent(h, "A\rB\nC")},
        {longLine.c_str(), -1, 0, 2, Extent(h, std::string(1024, 'x').c_str())},  // 1024 characters a line
    };
    for (const Case& c : cases) {
        RECT rect{10, 20, 11, 21};
        const int height = DrawTextA(h, c.text, c.count, &rect, DT_CALCRECT | DT_EXTERNALLEADING | c.extraFlags);
        EXPECT_EQ((std::vector<LONG>{height, rect.left, rect.top, rect.right, rect.bottom}),
                  (std::vector<LONG>{c.lines * line, 10, 20, 10 + c.width, 20 + c.lines * line}))
            << ::testing::PrintToString(std::string(c.text).substr(0, 20));
    }
    // A single line centred or at the bottom: the answer says where it ends (1 rather than 0).
    struct Placed { UINT flags; RECT rect; int answer; };
    for (const Placed& p : {Placed{DT_SINGLELINE | DT_VCENTER, {3, 5, 103, 65}, (60 - line) / 2 + line},
                            Placed{DT_SINGLELINE | DT_VCENTER, {3, 5, 3, 5}, -line / 2 + line},
                            Placed{DT_SINGLELINE | DT_BOTTOM, {3, 5, 103, 65}, 60},
                            Placed{DT_SINGLELINE | DT_BOTTOM, {3, 5, 3, 5}, 1}}) {
        RECT rect = p.rect;
        EXPECT_EQ(DrawTextA(h, "one\rtwo", -1, &rect, DT_CALCRECT | p.flags), p.answer) << p.flags;
        EXPECT_EQ(rect.bottom, 5 + (p.answer == 1 ? 0 : p.answer)) << p.flags;
        rect = p.rect;
        EXPECT_EQ(DrawTextA(h, "one", -1, &rect, p.flags), p.answer) << p.flags;
    }
    RECT rect{10, 20, 50, 60};
    EXPECT_EQ(DrawTextA(h, "", -1, &rect, DT_CALCRECT), line);  // one line, yet an empty rectangle
    EXPECT_EQ(std::make_pair(rect.right, rect.bottom), std::make_pair(LONG{10}, LONG{20}));
    EXPECT_EQ(DrawTextA(h, "Hello", 0, &rect, DT_CALCRECT), 0);
}

// Drawing: each line's cell (its width, the font's height) takes the background colour, the
// ink stays inside it, and nothing else is touched.
TEST(GdiText, DrawTextFillsEachLineCellAndInksInsideIt) {
    Sheet sheet(80, 60, false);
    const LONG line = Metrics(sheet.dc()).tmHeight;
    const LONG width = Extent(sheet.dc(), "Hi");
    RECT rect{2, 3, 70, 55};
    EXPECT_EQ(DrawTextA(sheet.dc(), "Hi\r\nHi", -1, &rect, DT_EXTERNALLEADING), 2 * line);
    const MonoRows rows = sheet.rows();
    EXPECT_EQ(WhiteOutsideBlackInside(rows, {2, 3, 2 + width, 3 + 2 * line}).first, 0) << vxtest::Picture(rows);
    for (int band = 0; band < 2; ++band) {
        const LONG top = 3 + band * line, black = WhiteOutsideBlackInside(rows, {2, top, 2 + width, top + line}).second;
        EXPECT_GT(black, 0) << "line " << band << "\n" << vxtest::Picture(rows);
        EXPECT_LT(2 * black, width * line) << "line " << band << "\n" << vxtest::Picture(rows);  // more white than ink
    }
}

// Without DT_NOCLIP the rectangle clips; with it the text runs on past it.
TEST(GdiText, DrawTextClipsToTheRectangleUnlessToldNot) {
    for (const UINT flags : {0u, static_cast<UINT>(DT_NOCLIP)}) {
        Sheet sheet(120, 40, true);
        SetBkMode(sheet.dc(), TRANSPARENT);
        RECT rect{4, 4, 20, 12};
        DrawTextA(sheet.dc(), "WWWWWW", -1, &rect, flags);
        const Ink ink = InkOf(sheet.bitmap());
        ASSERT_TRUE(ink.any()) << flags;
        EXPECT_GE(std::min(ink.left, ink.top), 4) << flags;
        EXPECT_EQ(ink.right > 20, flags != 0) << flags;  // the run is wider and taller than the rectangle
        EXPECT_EQ(ink.bottom > 12, flags != 0) << flags;
    }
}

// What DrawTextA shows of a prefixed or tabbed line is what TextOutA draws of the bytes it
// stands for; a marked character is underlined below the glyphs.
TEST(GdiText, DrawTextShowsWhatTextOutDrawsOfTheProcessedLine) {
    struct Case { const char* drawn; const char* shown; };
    for (const Case c : {Case{"A&&B", "A&B"}, Case{"xA&", "xA&"}, Case{"Tab\tB", "Tab\tB"}, Case{"a\x01z", "a\x01z"}}) {
        Sheet drawn(100, 24, true), shown(100, 24, true);
        SetBkMode(drawn.dc(), TRANSPARENT), SetBkMode(shown.dc(), TRANSPARENT);
        RECT rect{2, 2, 98, 22};
        DrawTextA(drawn.dc(), c.drawn, -1, &rect, 0);
        TextOutA(shown.dc(), 2, 2, c.shown, static_cast<int>(std::strlen(c.shown)));
        EXPECT_TRUE(InkOf(shown.bitmap()).any()) << c.drawn;
        EXPECT_EQ(drawn.bytes(), shown.bytes()) << c.drawn << "\n" << vxtest::Picture(drawn.rows()) << "\n"
                                                << vxtest::Picture(shown.rows());
    }
    Sheet plain(60, 24, true), marked(60, 24, true);
    RECT rect{2, 2, 58, 22};
    DrawTextA(plain.dc(), "W", -1, &rect, 0);
    DrawTextA(marked.dc(), "&W", -1, &rect, 0);
    const Ink a = InkOf(plain.bitmap()), b = InkOf(marked.bitmap());
    EXPECT_GT(b.bottom, a.bottom) << vxtest::Picture(marked.rows());
    EXPECT_GT(b.pixels, a.pixels);
}

// The text alignment puts the reference point at the left, centre or right and at the top,
// baseline or bottom of the run.
TEST(GdiText, TextAlignmentPlacesTheRunAroundItsReferencePoint) {
    const int x = 50, y = 30;
    for (const UINT align : {TA_LEFT | TA_TOP, TA_LEFT | TA_BASELINE, TA_LEFT | TA_BOTTOM, TA_RIGHT | TA_TOP,
                             TA_CENTER | TA_TOP}) {
        Sheet sheet(100, 60, true);
        const TEXTMETRICA tm = Metrics(sheet.dc());
        const LONG width = Extent(sheet.dc(), "Hg");
        SetBkMode(sheet.dc(), TRANSPARENT);
        EXPECT_EQ(SetTextAlign(sheet.dc(), align), 0u);
        EXPECT_TRUE(TextOutA(sheet.dc(), x, y, "Hg", 2));
        const Ink ink = InkOf(sheet.bitmap());
        ASSERT_TRUE(ink.any()) << align;
        const LONG top = (align & TA_BASELINE) == TA_BASELINE ? y - tm.tmAscent
                         : (align & TA_BOTTOM) != 0         ? y - tm.tmHeight
                                                            : y;
        const LONG left = (align & TA_CENTER) == TA_CENTER ? x - width / 2 : (align & TA_RIGHT) != 0 ? x - width : x;
        EXPECT_GE(ink.top, top) << align << "\n" << vxtest::Picture(sheet.rows());
        EXPECT_LE(ink.bottom, top + tm.tmHeight) << align;
        EXPECT_GE(ink.left, left - 1) << align;
        EXPECT_LE(ink.right, left + width + 1) << align;
    }
}

// TA_UPDATECP draws at the current position and moves it past the text.
TEST(GdiText, UpdatingAlignmentDrawsAtAndMovesTheCurrentPosition) {
    Sheet sheet(100, 40, true);
    SetTextAlign(sheet.dc(), TA_UPDATECP);
    MoveToEx(sheet.dc(), 3, 4, nullptr);
    EXPECT_TRUE(TextOutA(sheet.dc(), 90, 30, "AB", 2));
    POINT now{};
    MoveToEx(sheet.dc(), 0, 0, &now);
    EXPECT_EQ(std::make_pair(now.x, now.y), std::make_pair(3 + Extent(sheet.dc(), "AB"), LONG{4}));
    const Ink ink = InkOf(sheet.bitmap());
    EXPECT_LT(ink.left, 3 + Extent(sheet.dc(), "A"));
    EXPECT_LT(ink.top, 4 + 16);
}

// ExtTextOutA: ETO_OPAQUE fills the rectangle with the background colour, ETO_CLIPPED keeps
// the ink inside it.
TEST(GdiText, ExtTextOutFillsAndClipsToItsRectangle) {
    Sheet sheet(100, 40, false);
    const RECT rect{10, 5, 30, 25};
    EXPECT_TRUE(ExtTextOutA(sheet.dc(), 12, 6, ETO_OPAQUE | ETO_CLIPPED, &rect, "WWWWWW", 6, nullptr));
    const MonoRows rows = sheet.rows();
    const auto [whiteOutside, inkInside] = WhiteOutsideBlackInside(rows, rect);
    EXPECT_EQ(whiteOutside, 0) << vxtest::Picture(rows);
    EXPECT_GT(inkInside, 0);
    EXPECT_LT(inkInside, 20 * 20 / 2);
}

// Mapping modes scale text: the font's height is logical, so a viewport half as high draws
// the same logical layout in half the rows, narrower too.
TEST(GdiText, AnisotropicMappingSqueezesTheText) {
    Sheet plain(100, 60, true), squeezed(100, 60, true);
    SetMapMode(squeezed.dc(), MM_ANISOTROPIC);
    SetWindowExtEx(squeezed.dc(), 100, 100, nullptr), SetViewportExtEx(squeezed.dc(), 100, 50, nullptr);
    const TEXTMETRICA tm = Metrics(plain.dc()), squeezedTm = Metrics(squeezed.dc());
    EXPECT_NEAR(squeezedTm.tmHeight, tm.tmHeight, 1);
    EXPECT_LT(squeezedTm.tmAveCharWidth, tm.tmAveCharWidth);
    RECT measured{0, 0, 0, 0};
    EXPECT_EQ(DrawTextA(squeezed.dc(), "H\nH", -1, &measured, DT_CALCRECT), 2 * squeezedTm.tmHeight);
    for (Sheet* sheet : {&plain, &squeezed}) {
        RECT rect{0, 0, 100, 100};
        DrawTextA(sheet->dc(), "HHH\nHHH", -1, &rect, DT_NOCLIP);
    }
    const Ink full = InkOf(plain.bitmap()), half = InkOf(squeezed.bitmap());
    ASSERT_TRUE(full.any() && half.any());
    EXPECT_LE(half.bottom, tm.tmHeight + 1) << vxtest::Picture(squeezed.rows());
    EXPECT_GT(full.bottom, tm.tmHeight);
    EXPECT_LT(half.right, full.right);
}

// Calls given what they cannot use refuse it, and the ones that measure nothing answer so.
TEST(GdiText, BadArgumentsAreRefused) {
    vx::MemoryDC dc;
    HDC gone = CreateCompatibleDC(nullptr);
    DeleteDC(gone);
    TEXTMETRICA tm{};
    SIZE size{1, 1};
    const std::vector<long long> answers = {GetTextMetricsA(nullptr, &tm), GetTextMetricsA(gone, &tm),
                                            TextOutA(gone, 0, 0, "A", 1), TextOutA(dc.get(), 0, 0, "A", -1),
                                            TextOutA(dc.get(), 0, 0, "A", 0),
                                            GetTextExtentPoint32A(dc.get(), "", 0, &size), size.cx + size.cy,
                                            SetTextAlign(gone, TA_RIGHT), GetTextAlign(gone)};
    EXPECT_EQ(answers, (std::vector<long long>{0, 0, 0, 0, 1, 1, 0, GDI_ERROR, 0}));
#ifndef _WIN32
    // Windows does not check these: DrawTextA answers garbage for a DC that is not one and
    // faults on a null rectangle, GetTextMetricsA faults on a null buffer. Here they are refused.
    RECT rect{0, 0, 10, 10};
    EXPECT_EQ((std::vector<int>{DrawTextA(nullptr, "A", -1, &rect, DT_CALCRECT), DrawTextA(gone, "A", -1, &rect, DT_CALCRECT),
                                DrawTextA(dc.get(), "A", -1, nullptr, DT_CALCRECT), GetTextMetricsA(dc.get(), nullptr)}),
              (std::vector<int>{0, 0, 0, 0}));
#else
    std::printf("skipped on Windows: DrawTextA and GetTextMetricsA do not check their DC and buffers\n");
#endif
}

// Code page 437 to Windows-1252: ASCII stays, accented letters keep their letter, box drawing
// becomes '+', '-' and the broken bar; in place and up to the terminating zero.
TEST(GdiText, OemToCharConvertsCodePage437) {
    const unsigned char oem[] = {'A', 'z', 0x80, 0x81, 0x9C, 0xE1, 0xB3, 0xC4, 0xDA, 0xF8, 0xFF, 0};
    const unsigned char ansi[] = {'A', 'z', 0xC7, 0xFC, 0xA3, 0xDF, 0xA6, '-', '+', 0xB0, 0xA0, 0};
    char out[sizeof oem];
    ASSERT_TRUE(OemToCharA(reinterpret_cast<const char*>(oem), out));
    EXPECT_EQ(std::memcmp(out, ansi, sizeof ansi), 0);
    char inPlace[] = "\x84t\x82";
    ASSERT_TRUE(OemToCharA(inPlace, inPlace));
    EXPECT_STREQ(inPlace, "\xE4t\xE9");
    EXPECT_FALSE(OemToCharA(nullptr, out));
}

}  // namespace

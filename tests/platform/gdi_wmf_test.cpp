// Windows metafiles: what a metafile DC answers and records, what playing draws, and how bad
// metafiles are refused or played, run against the Linux subset and against GDI under Wine,
// the expected values and bytes being what Wine answered and wrote.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "gdi_support.hpp"
#include "metafile_bytes.hpp"

namespace {

// A metafile's bytes as 16-bit words in file order, "0100 0900 ...".
std::string Words(HMETAFILE metafile) {
    std::vector<uint8_t> bytes(GetMetaFileBitsEx(metafile, 0, nullptr));
    GetMetaFileBitsEx(metafile, static_cast<UINT>(bytes.size()), bytes.data());
    std::string text;
    char cell[8];
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::snprintf(cell, sizeof cell, "%s%02x%02x", i == 0 ? "" : " ", bytes[i], bytes[i + 1]);
        text += cell;
    }
    return text;
}

// What `calls` record on a new metafile DC.
std::string Recorded(const std::function<void(HDC)>& calls) {
    HDC dc = CreateMetaFileA(nullptr);
    if (dc == nullptr) return "no DC";
    calls(dc);
    HMETAFILE metafile = CloseMetaFile(dc);
    if (metafile == nullptr) return "not closed";
    std::string words = Words(metafile);
    DeleteMetaFile(metafile);
    return words;
}

TEST(GdiWmf, RecordsWhatWindowsRecords) {
    const struct { const char* name; std::function<void(HDC)> calls; const char* words; } cases[] = {
        {"line", [](HDC dc) { MoveToEx(dc, 1, 2, nullptr), LineTo(dc, 3, 4); },
         "0100 0900 0003 1600 0000 0000 0500 0000 0000 0500 0000 1402 0200 0100 0500 0000 1302 0400 0300 "
         "0300 0000 0000"},
        {"state",
         [](HDC dc) {
             SetMapMode(dc, MM_ANISOTROPIC), SetMapMode(dc, 99);
             SetWindowOrgEx(dc, 1, -2, nullptr), SetWindowExtEx(dc, 0, 20, nullptr);
             SetViewportOrgEx(dc, 3, 4, nullptr), SetViewportExtEx(dc, 30, 40, nullptr);
             SaveDC(dc), RestoreDC(dc, -1), RestoreDC(dc, 5);
             SetTextColor(dc, RGB(1, 2, 3)), SetBkColor(dc, PALETTEINDEX(7));
             SetBkMode(dc, TRANSPARENT), SetBkMode(dc, 7), SetROP2(dc, R2_XORPEN), SetROP2(dc, 0);
             SetStretchBltMode(dc, HALFTONE), SetStretchBltMode(dc, 9);
             IntersectClipRect(dc, 0, 1, 5, 6), ExcludeClipRect(dc, 1, 2, 3, 4);
         },
         "0100 0900 0003 5700 0000 0000 0700 0000 0000 0400 0000 0301 0800 0400 0000 0301 6300 0500 0000 "
         "0b02 feff 0100 0500 0000 0c02 1400 0000 0500 0000 0d02 0400 0300 0500 0000 0e02 2800 1e00 0300 "
         "0000 1e00 0400 0000 2701 ffff 0400 0000 2701 0500 0500 0000 0902 0102 0300 0500 0000 0102 0700 "
         "0001 0400 0000 0201 0100 0400 0000 0401 0700 0400 0000 0701 0400 0700 0000 1604 0600 0500 0100 "
         "0000 0700 0000 1504 0400 0300 0200 0100 0300 0000 0000"},
        {"drawing",
         [](HDC dc) {
             const POINT points[3] = {{0, 0}, {5, -5}, {70000, 1}};
             Polyline(dc, points, 3), Polyline(dc, points, 1), Polyline(dc, nullptr, 0);
             Rectangle(dc, 1, 2, 3, 4), SetPixel(dc, 1, 2, RGB(200, 2, 3)), PatBlt(dc, 0, 1, 4, 5, PATCOPY);
             PatBlt(dc, 0, 0, 2, 2, SRCCOPY);
         },
         "0100 0900 0003 4000 0000 0000 0a00 0000 0000 0a00 0000 2503 0300 0000 0000 0500 fbff 7011 0100 "
         "0600 0000 2503 0100 0000 0000 0400 0000 2503 0000 0700 0000 1b04 0400 0300 0200 0100 0700 0000 "
         "1f04 c802 0300 0200 0100 0900 0000 1d06 2100 f000 0500 0400 0100 0000 0900 0000 1d06 2000 cc00 "
         "0200 0200 0000 0000 0300 0000 0000"},
        {"pens and brushes",
         [](HDC dc) {
             HPEN dash = CreatePen(PS_DASH, 3, RGB(1, 2, 3)), none = CreatePen(PS_NULL, 0, PALETTEINDEX(5));
             SelectObject(dc, dash), SelectObject(dc, none), SelectObject(dc, dash), DeleteObject(dash);
             SelectObject(dc, none), DeleteObject(dash);  // now unselected: its slot is freed
             HBRUSH solid = CreateSolidBrush(PALETTEINDEX(3));
             SelectObject(dc, GetStockObject(NULL_BRUSH)), SelectObject(dc, solid), DeleteObject(solid);
             const BYTE rows[4] = {0x40, 0, 0x80, 0};
             vx::OwnedObject<HBITMAP> mono(CreateBitmap(2, 2, 1, 1, rows));
             HBRUSH pattern = CreatePatternBrush(mono.get());
             SelectObject(dc, pattern), SelectObject(dc, GetStockObject(WHITE_BRUSH)), DeleteObject(pattern);
         },
         "0100 0900 0003 7600 0000 0600 2100 0000 0000 0800 0000 fa02 0100 0300 0000 0102 0300 0400 0000 "
         "2d01 0000 0800 0000 fa02 0500 0100 0000 0000 0000 0400 0000 2d01 0100 0400 0000 2d01 0000 0400 "
         "0000 2d01 0100 0700 0000 fc02 0100 0000 0000 0000 0400 0000 2d01 0200 0700 0000 fc02 0000 0300 "
         "0001 0000 0400 0000 2d01 0300 2100 0000 4201 0300 0000 2800 0000 0200 0000 0200 0000 0100 0100 "
         "0000 0000 0800 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 ffff ff00 8000 0000 4000 "
         "0000 0400 0000 2d01 0400 0700 0000 fc02 0000 ffff ff00 0000 0400 0000 2d01 0500 0400 0000 f001 "
         "0400 0300 0000 0000"},
        {"palettes and clipping",
         [](HDC dc) {
             struct { WORD version, count; PALETTEENTRY entries[2]; } logical{0x300, 2, {{1, 2, 3, 0}, {4, 5, 6, PC_RESERVED}}};
             HPALETTE palette = CreatePalette(reinterpret_cast<LOGPALETTE*>(&logical));
             SelectPalette(dc, palette, FALSE), RealizePalette(dc), SelectPalette(dc, palette, TRUE);
             DeleteObject(palette);
             HRGN region = CreateRectRgn(0, 0, 5, 5), other = CreateRectRgn(3, 3, 9, 8);
             CombineRgn(region, region, other, RGN_OR);
             SelectClipRgn(dc, region), SelectClipRgn(dc, nullptr), SelectClipRgn(dc, CreateRectRgn(0, 0, 0, 0));
             DeleteObject(region), DeleteObject(other);
         },
         "0100 0900 0003 6700 0000 0300 2000 0000 0000 0900 0000 f700 0003 0200 0102 0300 0405 0601 0400 "
         "0000 3402 0000 0300 0000 3500 0900 0000 f700 0003 0200 0102 0300 0405 0601 0400 0000 3402 0100 "
         "2000 0000 ff06 0000 0600 f602 0000 3c00 0300 0200 0000 0000 0900 0800 0200 0000 0300 0000 0500 "
         "0200 0200 0300 0500 0000 0900 0200 0200 0500 0800 0300 0900 0200 0400 0000 2d01 0200 0400 0000 "
         "f001 0200 0e00 0000 ff06 0000 0600 f602 0000 1800 0000 0000 0000 0000 0000 0000 0400 0000 2d01 "
         "0200 0400 0000 f001 0200 0300 0000 0000"},
        {"blits",
         [](HDC dc) {
             const BYTE rows[4] = {0x80, 0, 0x40, 0};
             vx::OwnedObject<HBITMAP> mono(CreateBitmap(2, 2, 1, 1, rows));
             vx::MemoryDC source;
             HGDIOBJ first = SelectObject(source.get(), mono.get());
             BitBlt(dc, 1, 2, 2, 2, source.get(), 0, 0, SRCCOPY);
             std::vector<RGBQUAD> table;
             void* bits = nullptr;
             vx::OwnedObject<HBITMAP> wide(vxtest::TopDownSection(3, 2, 24, table, &bits));
             static_cast<uint8_t*>(bits)[0] = 0x11, static_cast<uint8_t*>(bits)[17] = 0x22;
             SelectObject(source.get(), wide.get());
             StretchBlt(dc, 0, 0, 6, -4, source.get(), 1, 1, 2, -1, SRCINVERT);
             vx::OwnedObject<HBITMAP> device(CreateBitmap(2, 1, 1, 32, nullptr));
             SelectObject(source.get(), device.get());
             SetPixel(source.get(), 1, 0, RGB(1, 2, 3)), SetMapMode(source.get(), MM_ANISOTROPIC);
             SetViewportExtEx(source.get(), 2, 2, nullptr);
             BitBlt(dc, 0, 0, 3, 2, source.get(), 1, 1, DSTINVERT);
             SelectObject(source.get(), first);
         },
         "0100 0900 0003 8900 0000 0000 2d00 0000 0000 2700 0000 4009 2000 cc00 0000 0000 0200 0200 0200 "
         "0100 2800 0000 0200 0000 0200 0000 0100 0100 0000 0000 0800 0000 0000 0000 0000 0000 0000 0000 "
         "0000 0000 0000 0000 ffff ff00 4000 0000 8000 0000 2d00 0000 410b 4600 6600 ffff 0200 0100 0100 "
         "fcff 0600 0000 0000 2800 0000 0300 0000 0200 0000 0100 1800 0000 0000 1800 0000 0000 0000 0000 "
         "0000 0000 0000 0000 0000 0000 0000 0022 0000 0000 0000 1100 0000 0000 0000 0000 0000 2900 0000 "
         "4009 0900 5500 0100 0100 0200 0300 0000 0000 2800 0000 0200 0000 0100 0000 0100 2000 0300 0000 "
         "0800 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 ff00 00ff 0000 ff00 0000 0000 0000 0302 "
         "0100 0300 0000 0000"},
        {"DIBs",
         [](HDC dc) {
             vxtest::Info info = vxtest::Header(3, 2, 4);
             info.header.biClrUsed = 2, info.header.biSizeImage = 8;
             info.table[0] = {1, 2, 3, 0}, info.table[1] = {4, 5, 6, 0};
             const uint8_t bits[8] = {0x01, 0x10, 0xAB, 0xCD, 0x10, 0x01, 0xEF, 0x12};
             StretchDIBits(dc, 0, 1, 6, 4, 0, 1, 3, 1, bits, info.get(), DIB_RGB_COLORS, SRCCOPY);
             info.header.biHeight = -2;
             // All the rows: Wine copies biSizeImage bytes, whatever the lines given.
             SetDIBitsToDevice(dc, 2, 3, 3, 1, 0, 1, 0, 2, bits, info.get(), DIB_RGB_COLORS);
         },
         "0100 0900 0003 5e00 0000 0000 2a00 0000 0000 2a00 0000 430f 2000 cc00 0000 0100 0300 0100 0000 "
         "0400 0600 0100 0000 2800 0000 0300 0000 0200 0000 0100 0400 0000 0000 0800 0000 0000 0000 0000 "
         "0000 0200 0000 0000 0000 0102 0300 0405 0600 0110 abcd 1001 ef12 2800 0000 330d 0000 0200 0000 "
         "0100 0000 0100 0300 0300 0200 2800 0000 0300 0000 feff ffff 0100 0400 0000 0000 0800 0000 0000 "
         "0000 0000 0000 0200 0000 0000 0000 0102 0300 0405 0600 0110 abcd 1001 ef12 0300 0000 0000"},
        {"shapes",
         [](HDC dc) {
             const POINT points[5] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {5, 5}};
             const INT counts[2] = {3, 2};
             Polygon(dc, points, 5), PolyPolygon(dc, points, counts, 2), RoundRect(dc, 1, 2, 30, 40, 5, 6);
             Ellipse(dc, 1, 2, 3, 4), Arc(dc, 1, 2, 3, 4, 5, 6, 7, 8), Pie(dc, 1, 2, 3, 4, 5, 6, 7, 8);
             Chord(dc, 1, 2, 3, 4, 5, 6, 7, 8), SetPolyFillMode(dc, WINDING);
             OffsetWindowOrgEx(dc, 3, 4, nullptr), OffsetViewportOrgEx(dc, -3, -4, nullptr);
             ScaleWindowExtEx(dc, 1, 2, 3, 4, nullptr), ScaleViewportExtEx(dc, 5, 6, 7, 8, nullptr);
             vx::OwnedObject<HRGN> region(CreateRectRgn(3, 3, 9, 8));
             vx::OwnedObject<HBRUSH> brush(CreateSolidBrush(RGB(1, 2, 3)));
             FillRgn(dc, region.get(), brush.get()), FrameRgn(dc, region.get(), brush.get(), 2, 3);
             PaintRgn(dc, region.get()), InvertRgn(dc, region.get());
         },
         "0100 0900 0003 ea00 0000 0600 1400 0000 0000 0e00 0000 2403 0500 0000 0000 0a00 0000 0a00 0a00 "
         "0000 0a00 0500 0500 1100 0000 3805 0200 0300 0200 0000 0000 0a00 0000 0a00 0a00 0000 0a00 0500 "
         "0500 0000 0900 0000 1c06 0600 0500 2800 1e00 0200 0100 0700 0000 1804 0400 0300 0200 0100 0b00 "
         "0000 1708 0800 0700 0600 0500 0400 0300 0200 0100 0b00 0000 1a08 0800 0700 0600 0500 0400 0300 "
         "0200 0100 0b00 0000 3008 0800 0700 0600 0500 0400 0300 0200 0100 0400 0000 0601 0200 0500 0000 "
         "0f02 0400 0300 0500 0000 1102 fcff fdff 0700 0000 1004 0400 0300 0200 0100 0700 0000 1204 0800 "
         "0700 0600 0500 1400 0000 ff06 0000 0600 f602 0000 2400 0100 0200 0300 0300 0900 0800 0200 0300 "
         "0800 0300 0900 0200 0700 0000 fc02 0000 0102 0300 0000 0500 0000 2802 0100 0000 1400 0000 ff06 "
         "0000 0600 f602 0000 2400 0100 0200 0300 0300 0900 0800 0200 0300 0800 0300 0900 0200 0700 0000 "
         "fc02 0000 0102 0300 0000 0700 0000 2904 0300 0200 0300 0200 1400 0000 ff06 0000 0600 f602 0000 "
         "2400 0100 0200 0300 0300 0900 0800 0200 0300 0800 0300 0900 0200 0400 0000 2b01 0400 1400 0000 "
         "ff06 0000 0600 f602 0000 2400 0100 0200 0300 0300 0900 0800 0200 0300 0800 0300 0900 0200 0400 "
         "0000 2a01 0500 0300 0000 0000"},
        {"text",
         [](HDC dc) {
             LOGFONTA logical{};
             logical.lfHeight = -12, logical.lfWeight = FW_BOLD, logical.lfItalic = 1;
             std::snprintf(logical.lfFaceName, sizeof logical.lfFaceName, "Arial");
             HFONT font = CreateFontIndirectA(&logical);
             SelectObject(dc, font), SetTextAlign(dc, TA_BASELINE | TA_CENTER | TA_UPDATECP);
             TextOutA(dc, 1, 2, "abc", 3);
             const RECT rect{1, 2, 30, 40};
             const INT dx[3] = {5, 6, 7};
             ExtTextOutA(dc, 3, 4, ETO_CLIPPED | ETO_OPAQUE, &rect, "xyz", 3, dx);
             ExtTextOutA(dc, 3, 4, 0, nullptr, "xy", 2, nullptr);
             DeleteObject(font);
         },
         "0100 0900 0003 5200 0000 0100 1c00 0000 0000 1c00 0000 fb02 f4ff 0000 0000 0000 bc02 0100 0000 "
         "0000 0000 4172 6961 6c00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0400 "
         "0000 2d01 0000 0500 0000 2e01 1f00 0000 0900 0000 320a 0200 0100 0300 0000 6162 6300 1000 0000 "
         "320a 0400 0300 0300 0600 0100 0200 1e00 2800 7879 7a00 0500 0600 0700 0800 0000 320a 0400 0300 "
         "0200 0000 7879 0300 0000 0000"},
    };
    for (const auto& c : cases) EXPECT_EQ(Recorded(c.calls), c.words) << c.name;
}

// A metafile DC keeps no state: its setters answer 1 (or what the call gave) and its getters
// fail; it refuses what it cannot record.
TEST(GdiWmf, MetafileDcAnswers) {
    HDC dc = CreateMetaFileA(nullptr);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(GetObjectType(dc), static_cast<DWORD>(OBJ_METADC));
    vx::MemoryDC source;
    vx::OwnedObject<HRGN> region(CreateRectRgn(0, 0, 2, 2));
    HMETAFILE metafile = nullptr;
    POINT point{77, 77};
    SIZE size{77, 77};
    struct { BITMAPINFOHEADER header; RGBQUAD colours[2]; } info{};
    info.header = {sizeof(BITMAPINFOHEADER), 2, 5, 1, 1, BI_RGB, 0, 0, 0, 0, 0};
    const uint8_t bits[20] = {};
    const auto* bitmap = reinterpret_cast<const BITMAPINFO*>(&info);
    const struct { const char* call; long long answer, expected; } answers[] = {
        {"MoveToEx", MoveToEx(dc, 3, 4, &point), TRUE},
        {"MoveToEx previous", point.x, 77},
        {"SetWindowExtEx", SetWindowExtEx(dc, 2, 2, &size), TRUE},
        {"SetWindowExtEx previous", size.cx, 77},
        {"SetMapMode", SetMapMode(dc, MM_TWIPS), 1},
        {"GetMapMode", GetMapMode(dc), 0},
        {"SaveDC", SaveDC(dc) + SaveDC(dc), 2},
        {"RestoreDC", RestoreDC(dc, 0), TRUE},
        {"SetTextColor", SetTextColor(dc, RGB(1, 2, 3)), 1},
        {"GetBkColor", GetBkColor(dc), CLR_INVALID},
        {"SetBkMode", SetBkMode(dc, OPAQUE), 1},
        {"SetROP2", SetROP2(dc, R2_BLACK), 1},
        {"GetROP2", GetROP2(dc), 0},
        {"SetPixel", SetPixel(dc, 0, 0, RGB(9, 9, 9)), 1},
        {"Polyline of one point", Polyline(dc, &point, 1), TRUE},
        {"BitBlt without a source", BitBlt(dc, 0, 0, 2, 2, nullptr, 0, 0, DSTINVERT), FALSE},
        {"BitBlt", BitBlt(dc, 0, 0, 2, 2, source.get(), 0, 0, SRCCOPY), TRUE},
        {"StretchDIBits", StretchDIBits(dc, 0, 0, 9, 7, 0, 0, 0, 3, bits, bitmap, DIB_RGB_COLORS, SRCCOPY), 3},
        {"SetDIBitsToDevice", SetDIBitsToDevice(dc, 0, 0, 0, 4, 0, 0, 0, 3, bits, bitmap, DIB_RGB_COLORS), 3},
        {"SelectClipRgn", SelectClipRgn(dc, nullptr), 1},
        {"IntersectClipRect", IntersectClipRect(dc, 0, 0, 1, 1), 1},
        {"RealizePalette", RealizePalette(dc), 1},
        {"SelectPalette",
         reinterpret_cast<intptr_t>(SelectPalette(dc, static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), FALSE)),
         1},
        {"SelectObject pen",
         SelectObject(dc, GetStockObject(WHITE_PEN)) == GetStockObject(BLACK_PEN) &&
             SelectObject(dc, GetStockObject(BLACK_PEN)) == GetStockObject(WHITE_PEN),
         true},
        {"SelectObject region", SelectObject(dc, region.get()) == nullptr, true},
        {"CloseMetaFile", GetObjectType(metafile = CloseMetaFile(dc)), OBJ_METAFILE},
        {"the closed DC", GetObjectType(dc), 0},
        {"CloseMetaFile again", CloseMetaFile(dc) == nullptr && CloseMetaFile(source.get()) == nullptr, true},
        {"DeleteMetaFile", DeleteMetaFile(metafile), TRUE},
    };
    for (const auto& a : answers) EXPECT_EQ(a.answer, a.expected) << a.call;
}

}  // namespace

namespace {

// The same drawing recorded and played on one canvas, made directly on another: the pixels
// must agree exactly.
TEST(GdiWmf, PlayingDrawsWhatTheCallDraws) {
    vxtest::Canvas mono(5, 4, 1), paletted(5, 4, 8, {{0, 0, 255, 0}, {0, 255, 0, 0}, {90, 0, 0, 0}}, true);
    vxtest::Canvas wide(5, 4, 24), device(5, 4, 32);
    for (const vxtest::Canvas* source : {&mono, &paletted, &wide, &device}) {
        vxtest::Colours colours;
        for (int i = 0; i < 20; ++i) colours.push_back(vxtest::Mix(i, source->format().bits));
        if (source == &mono)
            for (COLORREF& c : colours) c = (c & 1) != 0 ? RGB(255, 255, 255) : 0;
        source->fill(colours);
    }
    vxtest::Info info = vxtest::Header(3, 2, 4);
    info.header.biClrUsed = 2, info.header.biSizeImage = 8;
    info.table[0] = {200, 2, 3, 0}, info.table[1] = {4, 5, 250, 0};
    const uint8_t bits[8] = {0x01, 0x10, 0xAB, 0xCD, 0x10, 0x01, 0xEF, 0x12};
    const BYTE rows[16] = {0xAA, 0, 0x55, 0, 0xCC, 0, 0x33, 0, 0xAA, 0, 0x55, 0, 0xF0, 0, 0x0F, 0};
    vx::OwnedObject<HBITMAP> patternBitmap(CreateBitmap(8, 8, 1, 1, rows));
    vx::OwnedObject<HBRUSH> pattern(CreatePatternBrush(patternBitmap.get()));
    vx::OwnedObject<HBRUSH> solid(CreateSolidBrush(RGB(10, 200, 30)));
    vx::OwnedObject<HPEN> pen(CreatePen(PS_DOT, 1, RGB(250, 0, 90)));
    vx::OwnedObject<HRGN> region(CreateRectRgn(1, 1, 6, 4)), other(CreateRectRgn(4, 3, 10, 9));
    CombineRgn(region.get(), region.get(), other.get(), RGN_XOR);
    LOGFONTA logical{};
    logical.lfHeight = -9, logical.lfWeight = FW_BOLD;
    vx::OwnedObject<HFONT> font(CreateFontIndirectA(&logical));
    const auto shapes = [&](HDC dc) {
        const POINT points[6] = {{0, 0}, {11, 2}, {3, 9}, {8, 1}, {11, 9}, {6, 6}};
        const INT counts[2] = {3, 3};
        SelectObject(dc, pen.get()), SelectObject(dc, solid.get()), SetPolyFillMode(dc, WINDING);
        Ellipse(dc, 0, 0, 7, 5), Polygon(dc, points, 4), PolyPolygon(dc, points, counts, 2);
        RoundRect(dc, 2, 3, 12, 10, 4, 3), Arc(dc, 1, 1, 11, 9, 11, 0, 0, 5), Pie(dc, 0, 4, 6, 10, 6, 4, 0, 10);
        Chord(dc, 5, 0, 12, 6, 12, 3, 5, 0);
    };
    const auto regions = [&](HDC dc) {
        FillRgn(dc, region.get(), solid.get()), FrameRgn(dc, region.get(), pattern.get(), 2, 1);
        OffsetViewportOrgEx(dc, 1, 1, nullptr), PaintRgn(dc, other.get()), InvertRgn(dc, region.get());
    };
    const auto text = [&](HDC dc) {
        const RECT clip{1, 1, 9, 8};
        const INT advances[3] = {3, 4, 5};
        SelectObject(dc, font.get()), SetTextColor(dc, RGB(0, 0, 200)), SetBkMode(dc, TRANSPARENT);
        TextOutA(dc, 0, 0, "Wm", 2), ExtTextOutA(dc, 1, 2, ETO_CLIPPED | ETO_OPAQUE, &clip, "abc", 3, advances);
    };
    // Wine records a blit's source rectangle from the top of the bitmap and plays it from the
    // bottom, so a rectangle that is not centred on the bitmap's rows comes back from other
    // rows there; ours plays what was recorded.
    const char* const wineRows = "Wine plays a blit's source rows from the bottom of the bitmap";
    const struct { const char* name; std::function<void(HDC)> draw; const char* windowsSkip = nullptr; } cases[] = {
        {"BitBlt of a 1-bit device bitmap", [&](HDC dc) { BitBlt(dc, 2, 1, 4, 3, mono.dc(), 1, 1, SRCCOPY); },
         "Wine's player reads a 1-bit bitmap's rows one row late"},
        {"StretchBlt of an 8-bit section, growing",
         [&](HDC dc) { StretchBlt(dc, 1, 2, 9, 7, paletted.dc(), 0, 1, 4, 2, SRCINVERT); }},
        {"StretchBlt of an 8-bit section, from the top",
         [&](HDC dc) { StretchBlt(dc, 1, 2, 9, 7, paletted.dc(), 0, 0, 4, 3, SRCINVERT); }, wineRows},
        {"StretchBlt of a 24-bit section, shrinking, mirrored",
         [&](HDC dc) { StretchBlt(dc, 10, 0, -6, 2, wide.dc(), 0, 0, 5, 4, SRCCOPY); }},
        {"BitBlt of a 32-bit device bitmap", [&](HDC dc) { BitBlt(dc, 3, 3, 5, 4, device.dc(), 0, 0, SRCPAINT); }},
        {"StretchDIBits",
         [&](HDC dc) { StretchDIBits(dc, 1, 1, 7, 5, 0, 0, 3, 2, bits, info.get(), DIB_RGB_COLORS, SRCAND); }},
        {"SetDIBitsToDevice", [&](HDC dc) { SetDIBitsToDevice(dc, 4, 2, 3, 2, 0, 0, 0, 2, bits, info.get(), DIB_RGB_COLORS); }},
        {"pattern brush",
         [&](HDC dc) { SelectObject(dc, pattern.get()), PatBlt(dc, 1, 1, 10, 6, PATINVERT); }},
        {"state, pen and brush",
         [&](HDC dc) {
             SetMapMode(dc, MM_ANISOTROPIC), SetWindowExtEx(dc, 2, 2, nullptr), SetViewportExtEx(dc, 3, 3, nullptr);
             SetViewportOrgEx(dc, 1, 0, nullptr), SetBkMode(dc, TRANSPARENT), SetROP2(dc, R2_XORPEN);
             SelectObject(dc, pen.get()), SelectObject(dc, solid.get());
             Rectangle(dc, 0, 0, 6, 5), MoveToEx(dc, 7, 0, nullptr), LineTo(dc, 0, 6);
             SaveDC(dc), IntersectClipRect(dc, 1, 1, 4, 4), SetPixel(dc, 2, 2, RGB(1, 2, 3));
             RestoreDC(dc, -1), SetPixel(dc, 6, 5, RGB(4, 5, 6));
         }},
        {"shapes", shapes},
        {"regions", regions},
        {"text", text},
    };
    vxtest::Colours start;
    for (int i = 0; i < 12 * 10; ++i) start.push_back(vxtest::Mix(i, 7));
    for (const auto& c : cases) {
        if (vxtest::SkippedOnWindows(c.name, c.windowsSkip)) continue;
        vxtest::Canvas played(12, 10, 24), direct(12, 10, 24);
        played.fill(start), direct.fill(start);
        HDC recording = CreateMetaFileA(nullptr);
        c.draw(recording);
        HMETAFILE metafile = CloseMetaFile(recording);
        EXPECT_TRUE(PlayMetaFile(played.dc(), metafile)) << c.name;
        c.draw(direct.dc());
        EXPECT_EQ(vxtest::Show(played.read(), 12), vxtest::Show(direct.read(), 12)) << c.name;
        DeleteMetaFile(metafile);
    }
}

using vxtest::MetaBytes;

// Metafiles that lie: the walk stops at a record below its head, plays a record past the end
// with what there is, skips what it cannot play and goes on; the object table holds what its
// header says. PlayMetaFile answers TRUE whatever the records held.
TEST(GdiWmf, PlaysBadRecordsAsWindowsDoes) {
    const COLORREF red = RGB(255, 0, 0), white = RGB(255, 255, 255);
    MetaBytes huge(1);  // a 2^31 x 2^31 DIB in a record of 20 words
    huge.red().record(0xF43, {0x20, 0xCC, 0, 1, 1, 0, 0, 1, 1, 0, 0, 40, 0, -1, 0x7FFF, -1, 0x7FFF, 1, 1});
    const struct {
        const char* name;
        std::vector<uint8_t> bytes;
        COLORREF left, right;  // the pixels at (0, 0) and (5, 0)
        const char* windowsSkip = nullptr;
    } cases[] = {
        {"good", MetaBytes(1).red().patBlt(0).end().bytes(), red, white},
        {"a record of no words", MetaBytes(1).red().patBlt(0).record(0, 0x61D, {}).patBlt(4).end().bytes(), red, white},
        {"a record of two words", MetaBytes(1).red().patBlt(0).record(2, 0x61D, {}).patBlt(4).end().bytes(), red, white},
        {"past the end", MetaBytes(1).red().patBlt(0).record(100, 0x61D, {0x21, 0xF0, 4, 4, 0, 4}).bytes(), red, red},
        {"no end", MetaBytes(1).red().patBlt(0).patBlt(4).bytes(), red, red},
        {"after the end", MetaBytes(1).red().patBlt(0).end().patBlt(4).bytes(), red, white},
        {"unknown record", MetaBytes(1).red().patBlt(0).record(0x999, {1, 2}).patBlt(4).end().bytes(), red, red},
        {"too short to play", MetaBytes(1).red().record(5, 0x61D, {0x21, 0xF0}).patBlt(4).end().bytes(), white, red},
        {"no slots", MetaBytes(0).red().patBlt(0).end().bytes(), white, white},
        {"table full", MetaBytes(1).red().record(0x2FC, {0, 0, 0xFF, 0}).record(0x12D, {1}).patBlt(4).end().bytes(),
         white, red},
        {"slot out of range", MetaBytes(2).record(0x2FC, {0, 0xFF, 0, 0}).record(0x12D, {5}).patBlt(0).end().bytes(),
         white, white},
        {"selected brush deleted",
         MetaBytes(1).red().record(0x1F0, {0}).record(0x1F0, {7}).patBlt(0).end().bytes(), red, white,
         "Wine's player deletes slot 7 of a one-slot table, past its end: whether it crashes depends on the heap"},
        {"gigantic DIB", huge.patBlt(4).end().bytes(), white, red, "Wine's player crashes on it"},
    };
    vxtest::Canvas canvas(8, 8, 32);
    for (const auto& c : cases) {
        if (vxtest::SkippedOnWindows(c.name, c.windowsSkip)) continue;
        canvas.fill(vxtest::Colours(64, white));
        HMETAFILE metafile = SetMetaFileBitsEx(static_cast<UINT>(c.bytes.size()), c.bytes.data());
        ASSERT_NE(metafile, nullptr) << c.name;
        EXPECT_TRUE(PlayMetaFile(canvas.dc(), metafile)) << c.name;
        EXPECT_EQ(GetPixel(canvas.dc(), 0, 0), c.left) << c.name;
        EXPECT_EQ(GetPixel(canvas.dc(), 5, 0), c.right) << c.name;
        DeleteMetaFile(metafile);
    }
    EXPECT_FALSE(PlayMetaFile(canvas.dc(), reinterpret_cast<HMETAFILE>(canvas.bitmap())));
}

// SetMetaFileBitsEx takes a memory metafile's header (type 1, 9 words, version 0x300) and sets
// its size to the bytes given; GetMetaFileBitsEx copies what fits.
TEST(GdiWmf, MetafileBytesAsWindowsTakesThem) {
    const std::vector<uint8_t> good = MetaBytes(0).record(0x214, {2, 1}).end().bytes();
    const struct {
        const char* name;
        size_t at;  // the word changed (-1: none)
        int value;
        UINT size;  // 0: all
        long long words;  // the size the metafile then says, 0 when refused
    } cases[] = {
        {"good", SIZE_MAX, 0, 0, 17},    {"header only", SIZE_MAX, 0, 18, 9},   {"short", SIZE_MAX, 0, 17, 0},
        {"odd", SIZE_MAX, 0, 27, 0},     {"less than it says", SIZE_MAX, 0, 20, 10},
        {"type 2", 0, 2, 0, 0},         {"type 0", 0, 0, 0, 0},               {"header of 8 words", 1, 8, 0, 0},
        {"version 0x100", 2, 0x100, 0, 0}, {"version 0x301", 2, 0x301, 0, 0}, {"size 0", 3, 0, 0, 17},
        {"placeable", 0, 0xCDD7, 0, 0},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> bytes = good;
        if (c.at != SIZE_MAX) bytes[2 * c.at] = static_cast<uint8_t>(c.value), bytes[2 * c.at + 1] = static_cast<uint8_t>(c.value >> 8);
        HMETAFILE metafile = SetMetaFileBitsEx(c.size != 0 ? c.size : static_cast<UINT>(bytes.size()), bytes.data());
        long long words = 0;
        if (metafile != nullptr) {
            uint8_t header[8];
            EXPECT_EQ(GetMetaFileBitsEx(metafile, sizeof header, header), sizeof header) << c.name;
            words = header[6] | header[7] << 8;
            DeleteMetaFile(metafile);
        }
        EXPECT_EQ(words, c.words) << c.name;
    }
}

// Files: CreateMetaFileA makes its file at once and CloseMetaFile fills it; GetMetaFileA
// reads it back and refuses a placeable or truncated file.
TEST(GdiWmf, MetafileFiles) {
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "vexora_wmf_test";
    std::filesystem::create_directories(dir);
    const auto path = [&](const char* name) { return (dir / name).string(); };
    const std::string recorded = path("recorded.wmf"), copied = path("copied.wmf");
    HDC dc = CreateMetaFileA(recorded.c_str());
    ASSERT_NE(dc, nullptr);
    EXPECT_TRUE(std::filesystem::exists(recorded));
    Rectangle(dc, 1, 2, 3, 4);
    HMETAFILE metafile = CloseMetaFile(dc);
    ASSERT_NE(metafile, nullptr);
    const std::string words = Words(metafile);
    HMETAFILE read = GetMetaFileA(recorded.c_str());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(Words(read), words);
    HMETAFILE copy = CopyMetaFileA(read, copied.c_str());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(Words(copy), words);
    EXPECT_EQ(std::filesystem::file_size(copied), std::filesystem::file_size(recorded));
    for (HMETAFILE m : {metafile, read, copy}) EXPECT_TRUE(DeleteMetaFile(m));
    EXPECT_FALSE(DeleteMetaFile(read));

    const std::vector<uint8_t> bytes = MetaBytes(0).record(0x214, {2, 1}).end().bytes();
    std::vector<uint8_t> placeable = {0xD7, 0xCD, 0xC6, 0x9A};
    placeable.resize(22), placeable.insert(placeable.end(), bytes.begin(), bytes.end());
    for (const auto& [name, content] : {std::pair{"placeable.wmf", placeable},
                                        std::pair{"truncated.wmf", std::vector(bytes.begin(), bytes.end() - 2)}})
        if (std::FILE* file = std::fopen(path(name).c_str(), "wb"))
            std::fwrite(content.data(), 1, content.size(), file), std::fclose(file);
    for (const char* name : {"placeable.wmf", "truncated.wmf", "missing.wmf"})
        EXPECT_EQ(GetMetaFileA(path(name).c_str()), nullptr) << name;
    EXPECT_EQ(CreateMetaFileA(path("no such directory/x.wmf").c_str()), nullptr);
    std::filesystem::remove_all(dir);
}

}  // namespace

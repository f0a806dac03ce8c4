// Windows metafiles: what a metafile DC answers and records, what playing draws, and how bad
// metafiles are refused or played, run against the Linux subset and against GDI under Wine,
// the expected values and bytes being what Wine answered and wrote.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "gdi_support.hpp"

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
    struct Case {
        const char* name;
        std::function<void(HDC)> calls;
        const char* words;
    };
    const Case cases[] = {
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
    };
    for (const Case& c : cases) EXPECT_EQ(Recorded(c.calls), c.words) << c.name;
}

// A metafile DC keeps no state: its setters answer 1 (or what the call gave) and its getters
// fail; it refuses what it cannot record.
TEST(GdiWmf, MetafileDcAnswers) {
    HDC dc = CreateMetaFileA(nullptr);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(GetObjectType(dc), static_cast<DWORD>(OBJ_METADC));
    vx::MemoryDC source;
    POINT point{77, 77};
    SIZE size{77, 77};
    struct { BITMAPINFOHEADER header; RGBQUAD colours[2]; } info{};
    info.header = {sizeof(BITMAPINFOHEADER), 2, 5, 1, 1, BI_RGB, 0, 0, 0, 0, 0};
    const uint8_t bits[20] = {};
    const auto* bitmap = reinterpret_cast<const BITMAPINFO*>(&info);
    const struct {
        const char* call;
        long long answer, expected;
    } answers[] = {
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
    };
    for (const auto& a : answers) EXPECT_EQ(a.answer, a.expected) << a.call;
    vx::OwnedObject<HRGN> region(CreateRectRgn(0, 0, 2, 2));
    EXPECT_EQ(SelectObject(dc, region.get()), nullptr);
    HMETAFILE metafile = CloseMetaFile(dc);
    ASSERT_NE(metafile, nullptr);
    EXPECT_EQ(GetObjectType(metafile), static_cast<DWORD>(OBJ_METAFILE));
    EXPECT_EQ(GetObjectType(dc), 0u);
    EXPECT_EQ(CloseMetaFile(dc), nullptr);
    EXPECT_EQ(CloseMetaFile(source.get()), nullptr);
    EXPECT_TRUE(DeleteMetaFile(metafile));
}

}  // namespace

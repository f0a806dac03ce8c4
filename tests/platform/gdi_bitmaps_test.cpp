// GDI bitmaps: device bitmaps and DIB sections, their bytes, GetObjectA, selections and their
// lifetimes, pixels, DIB transfers between every pair of depths, palettes and nearest colours.
// The same cases run against the library's GDI on Linux and against GDI under Wine, so the
// answers and bytes below are Windows' own (the palette screen, ours only, excepted).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

#include "gdi_support.hpp"

#ifndef _WIN32
#include "platform/posix/gdi/screen.hpp"
#endif

namespace {

using Bytes = std::vector<uint8_t>;

BITMAP ObjectOf(HBITMAP bitmap) {
    BITMAP bm{};
    EXPECT_EQ(GetObjectA(bitmap, sizeof bm, &bm), static_cast<int>(sizeof bm));
    return bm;
}

using vxtest::Header;
using vxtest::Info;

constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};

}  // namespace

// Depths round up to one GDI draws on, rows pad to 16 bits and read back zero past the last
// pixel whatever was written there; an empty size gives the stock bitmap, a negative one its
// magnitude; several planes, more than 32 bits or too many bytes are refused.
TEST(GdiBitmaps, DeviceBitmapsAndTheirBytes) {
    const HBITMAP stock = CreateBitmap(0, 5, 1, 8, nullptr);
    Bytes source(64);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(0xA1 + 7 * i);
    const struct { int width, height; UINT planes, bits; int wantBits, wantWidthBytes; } cases[] = {
        {3, 2, 1, 1, 1, 2},  {17, 2, 1, 1, 1, 4}, {3, 2, 1, 0, 4, 2},   {3, 2, 1, 2, 4, 2},   {3, 2, 1, 5, 8, 4},
        {3, 2, 1, 9, 16, 6}, {3, 2, 1, 17, 24, 10}, {-3, -2, 1, 25, 32, 12}, {3, 2, 1, 33, 0, 0}, {3, 2, 2, 1, 0, 0},
        {0x7FFFFFFF, 1, 1, 1, 0, 0}, {65536, 65536, 1, 32, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", " << c.planes << " planes, " << c.bits);
        const HBITMAP bitmap = CreateBitmap(c.width, c.height, c.planes, c.bits, source.data());
        if (c.wantBits == 0) {
            EXPECT_EQ(bitmap, nullptr);
            continue;
        }
        const BITMAP bm = ObjectOf(bitmap);
        EXPECT_EQ(bm.bmWidth * bm.bmHeight, c.width * c.height);
        EXPECT_EQ(bm.bmBitsPixel, c.wantBits);
        EXPECT_EQ(bm.bmWidthBytes, c.wantWidthBytes);
        Bytes want(source.begin(), source.begin() + bm.bmHeight * bm.bmWidthBytes);
        for (int y = 0; y < bm.bmHeight; ++y)
            for (int bit = bm.bmWidth * c.wantBits; bit < bm.bmWidthBytes * 8; ++bit)
                want[y * bm.bmWidthBytes + bit / 8] &= static_cast<uint8_t>(~(0x80 >> (bit % 8)));
        EXPECT_EQ(vxtest::BitmapBytes(bitmap), want);
        Bytes part(4, 0xEE);
        EXPECT_EQ(GetBitmapBits(bitmap, 3, part.data()), 3);
        EXPECT_EQ(part[3], 0xEE);
        EXPECT_EQ(SetBitmapBits(bitmap, 1000, source.data()), static_cast<LONG>(want.size()));
        EXPECT_EQ(SetBitmapBits(bitmap, 4, nullptr), 0);
        DeleteObject(bitmap);
    }
    EXPECT_EQ(CreateBitmap(0, 0, 1, 1, nullptr), stock);
    EXPECT_TRUE(DeleteObject(stock));  // stays
    EXPECT_EQ(ObjectOf(stock).bmWidth, 1);
    BITMAP indirect{0, 3, 2, 4, 1, 8, nullptr};
    const vx::OwnedObject<HBITMAP> made(CreateBitmapIndirect(&indirect));
    EXPECT_EQ(ObjectOf(made.get()).bmWidthBytes, 4);
}

// GetObjectA: a bitmap and a pen need room for the whole structure, a brush and a palette
// copy what fits; a null buffer asks for the size; DCs and stale handles answer 0.
TEST(GdiBitmaps, GetObjectSizes) {
    const vx::MemoryDC dc;
    const HGDIOBJ bitmap = CreateBitmap(0, 0, 1, 1, nullptr), pen = GetStockObject(BLACK_PEN),
                  brush = GetStockObject(GRAY_BRUSH), palette = GetStockObject(DEFAULT_PALETTE);
    const int bitmapSize = sizeof(BITMAP), penSize = sizeof(LOGPEN), brushSize = sizeof(LOGBRUSH);
    const struct { HGDIOBJ object; int size, want, asked; } cases[] = {
        {bitmap, bitmapSize + 8, bitmapSize, bitmapSize}, {bitmap, bitmapSize - 1, 0, bitmapSize},
        {pen, penSize + 8, penSize, penSize}, {pen, penSize - 1, 0, penSize}, {brush, brushSize, brushSize, brushSize},
        {brush, 4, 4, brushSize}, {palette, 8, 2, 2}, {palette, 1, 1, 2}, {dc.get(), 100, 0, 0}, {nullptr, 100, 0, 0}};
    for (const auto& c : cases) {
        uint8_t buffer[128] = {};
        EXPECT_EQ(GetObjectA(c.object, c.size, buffer), c.want) << c.object << ", " << c.size;
        EXPECT_EQ(GetObjectA(c.object, 0, nullptr), c.asked) << c.object;
    }
}

// A memory DC takes monochrome bitmaps and bitmaps of the screen's depth, one DC at a time
// (the stock bitmap excepted); a screen DC takes none. A bitmap deleted while selected stays
// usable there and goes when its DC lets go of it, by another selection or by being deleted.
TEST(GdiBitmaps, SelectionsAndTheirLifetimes) {
    const vx::MemoryDC first, second;
    const vx::WindowDC screen(nullptr);
    const HGDIOBJ stock = GetCurrentObject(first.get(), OBJ_BITMAP);
    const vx::OwnedObject<HBITMAP> colour(CreateBitmap(4, 4, 1, 32, nullptr)), mono(CreateBitmap(4, 4, 1, 1, nullptr)),
        eight(CreateBitmap(4, 4, 1, 8, nullptr));
    EXPECT_EQ(stock, CreateBitmap(0, 0, 1, 1, nullptr));
    const HGDIOBJ brush = GetStockObject(BLACK_BRUSH), pen = GetStockObject(WHITE_PEN), none = nullptr;
    const struct { HDC dc; HGDIOBJ object, answer; } selections[] = {
        {first.get(), eight.get(), none},   {screen.get(), colour.get(), none}, {first.get(), colour.get(), stock},
        {first.get(), colour.get(), colour.get()}, {second.get(), colour.get(), none}, {second.get(), stock, stock},
        {second.get(), mono.get(), stock},  {first.get(), none, none},          {first.get(), second.get(), none},
        {first.get(), GetStockObject(DEFAULT_PALETTE), none}, {first.get(), reinterpret_cast<HGDIOBJ>(uintptr_t{0x12345}), none},
        {first.get(), brush, GetStockObject(WHITE_BRUSH)},    {first.get(), pen, GetStockObject(BLACK_PEN)}};
    for (const auto& c : selections) EXPECT_EQ(SelectObject(c.dc, c.object), c.answer) << &c - selections;
    for (auto [dc, kind, want] : {std::tuple{reinterpret_cast<HDC>(mono.get()), OBJ_BITMAP, none}, {first.get(), OBJ_BRUSH, brush},
                                  {first.get(), OBJ_PEN, pen}, {first.get(), OBJ_PAL, GetStockObject(DEFAULT_PALETTE)}})
        EXPECT_EQ(GetCurrentObject(dc, kind), want) << kind;
    SelectObject(first.get(), stock), SelectObject(second.get(), stock);

    for (bool byDeletingTheDC : {false, true}) {
        SCOPED_TRACE(byDeletingTheDC ? "by DeleteDC" : "by SelectObject");
        const HDC dc = byDeletingTheDC ? CreateCompatibleDC(nullptr) : first.get();
        const HBITMAP bitmap = CreateBitmap(4, 4, 1, 32, nullptr);
        ASSERT_EQ(SelectObject(dc, bitmap), stock);
        EXPECT_EQ(SetPixel(dc, 1, 1, RGB(1, 2, 3)), RGB(1, 2, 3));
        EXPECT_TRUE(DeleteObject(bitmap));
        EXPECT_EQ(GetPixel(dc, 1, 1), RGB(1, 2, 3));
        EXPECT_EQ(GetObjectA(bitmap, 0, nullptr), static_cast<int>(sizeof(BITMAP)));
        EXPECT_EQ(SelectObject(second.get(), bitmap), nullptr);
        EXPECT_TRUE(byDeletingTheDC ? DeleteDC(dc) : SelectObject(dc, stock) == bitmap);
        EXPECT_EQ(GetObjectA(bitmap, 0, nullptr), 0);
    }
}

// SetPixel and GetNearestColor answer the colour a memory DC's bitmap holds (a monochrome one
// black or white, whatever the DC's colours), a palette index taken through the DC's palette;
// the true-colour screen has no system palette and hands colours back as they are.
TEST(GdiBitmaps, NearestColours) {
    const vx::WindowDC screen(nullptr);
    vxtest::Canvas mono(1, 1, 1), colour(1, 1, 32), high(1, 1, 16);
    SetBkColor(mono.dc(), RGB(200, 100, 51));
    const struct { COLORREF asked, mono, colour, high; } cases[] = {
        {RGB(200, 100, 51), 0, RGB(200, 100, 51), RGB(206, 99, 49)},
        {RGB(128, 128, 128), RGB(255, 255, 255), RGB(128, 128, 128), RGB(132, 132, 132)},
        {RGB(127, 127, 127), 0, RGB(127, 127, 127), RGB(123, 123, 123)}, {PALETTEINDEX(1), 0, RGB(128, 0, 0), RGB(132, 0, 0)},
        {PALETTEINDEX(7), RGB(255, 255, 255), RGB(192, 192, 192), RGB(198, 198, 198)},
        {PALETTERGB(9, 8, 7), 0, RGB(9, 8, 7), RGB(8, 8, 0)},
        {0x03010203, 0, 0, 0}};  // bit 24 makes it an index, out of range: entry 0
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.asked);
        for (auto [canvas, want] : {std::pair{&mono, c.mono}, {&colour, c.colour}, {&high, c.high}}) {
            EXPECT_EQ(GetNearestColor(canvas->dc(), c.asked), want);
            EXPECT_EQ(SetPixel(canvas->dc(), 0, 0, c.asked), want);
            EXPECT_EQ(GetPixel(canvas->dc(), 0, 0), want);
        }
        EXPECT_EQ(GetNearestColor(screen.get(), c.asked), c.asked);
    }
    EXPECT_EQ(GetPixel(colour.dc(), 1, 0), CLR_INVALID);
    EXPECT_EQ(SetPixel(colour.dc(), 5, 5, RGB(1, 2, 3)), RGB(1, 2, 3));  // outside: nothing drawn
    EXPECT_EQ(GetNearestColor(nullptr, 0), CLR_INVALID);
    EXPECT_EQ(GetPixel(nullptr, 0, 0), CLR_INVALID);
    PALETTEENTRY entries[4] = {};
    EXPECT_EQ(GetSystemPaletteEntries(screen.get(), 0, 4, entries), 0u);
    const vx::OwnedObject<HPALETTE> palette(vxtest::MakePalette({{10, 20, 30, 0}}));
    const vx::PaletteSelection selected(colour.dc(), palette.get());
    EXPECT_EQ(RealizePalette(colour.dc()), 0u);
    EXPECT_EQ(SetPixel(colour.dc(), 0, 0, PALETTEINDEX(5)), RGB(10, 20, 30));
}

// Device capabilities are the screen's for every DC; compatible bitmaps take the screen's
// depth from a screen DC and the selected bitmap's from a memory DC (a DIB section's format).
TEST(GdiBitmaps, ScreenAndCompatibleBitmaps) {
    const vx::WindowDC screen(nullptr);
    const vx::MemoryDC dc;
    for (HDC each : {screen.get(), dc.get()})
        for (auto [index, mask, want] : {std::tuple{BITSPIXEL, -1, 32}, {SIZEPALETTE, -1, 0}, {NUMCOLORS, -1, -1},
                                          {LOGPIXELSY, -1, 96}, {RASTERCAPS, RC_PALETTE | RC_DI_BITMAP, RC_DI_BITMAP}})
            EXPECT_EQ(GetDeviceCaps(each, index) & mask, want) << index;
    const vx::OwnedObject<HBITMAP> fromScreen(CreateCompatibleBitmap(screen.get(), 4, 4)),
        fromNew(CreateCompatibleBitmap(dc.get(), 4, 4));
    EXPECT_TRUE(ObjectOf(fromScreen.get()).bmWidthBytes == 16 && ObjectOf(fromNew.get()).bmBitsPixel == 1);
    const HGDIOBJ stock = GetCurrentObject(dc.get(), OBJ_BITMAP);
    EXPECT_EQ(CreateCompatibleBitmap(dc.get(), 0, 3), stock);
    const vx::ObjectSelection selected(dc.get(), fromScreen.get());
    const vx::OwnedObject<HBITMAP> fromColour(CreateCompatibleBitmap(dc.get(), 3, 1));
    EXPECT_EQ(ObjectOf(fromColour.get()).bmBitsPixel, 32);
    EXPECT_EQ(CreateCompatibleBitmap(nullptr, 3, 3), nullptr);
}

// GetDIBits from bitmaps of every depth to DIBs of every depth and layout: each pixel becomes
// the nearest colour of the table GetDIBits writes, or its channels cut to the masks.
TEST(GdiBitmaps, GetDIBitsEveryDepthPair) {
    const int width = 37, height = 3;  // more than the 16 pixels a fast step takes
    for (int from : kDepths) {
        vxtest::Canvas source(width, height, from);
        vxtest::Colours colours;
        for (int i = 0; i < width * height; ++i) colours.push_back(vxtest::Mix(i % width, i / width));
        source.fill(colours);
        const vxtest::Colours truth = source.read();
        for (int to : kDepths)
            for (DWORD compression : {BI_RGB, BI_BITFIELDS})
                for (bool bottomUp : {true, false}) {
                    // Masks for another depth than the bitmap's are not Windows' to define: Wine
                    // hands out whatever its stack held.
                    if (compression == BI_BITFIELDS && (to != from || to < 16 || to == 24)) continue;
                    SCOPED_TRACE(testing::Message() << from << " to " << to << (compression ? " bitfields" : "") << bottomUp);
                    Info info = Header(width, bottomUp ? height : -height, to, compression);
                    vxtest::DibFormat format(to);
                    Bytes bits(static_cast<size_t>(format.stride(width) * height) + 4, 0xEE);
                    ASSERT_EQ(GetDIBits(source.dc(), source.bitmap(), 0, height, bits.data(), info.get(), DIB_RGB_COLORS),
                              height);
                    if (to <= 8) format.table.assign(info.table, info.table + (1 << to));
                    if (compression == BI_BITFIELDS) std::memcpy(format.masks, info.table, sizeof format.masks);
                    std::vector<uint32_t> values;
                    for (COLORREF c : truth) values.push_back(format.encode(c, from > 8));
                    Bytes want = vxtest::Pack(format, values, width, bottomUp);
                    want.insert(want.end(), 4, 0xEE);
                    EXPECT_EQ(bits, want);
                    EXPECT_TRUE(info.header.biSizeImage == static_cast<DWORD>(format.stride(width) * height) &&
                                info.header.biClrUsed == 0);
                }
    }
}

// SetDIBits from DIBs of every depth (tables, 5-5-5, 5-6-5, 8-8-8 and swapped masks) into
// bitmaps of every depth: each pixel takes the nearest colour the bitmap holds.
TEST(GdiBitmaps, SetDIBitsEveryDepthPair) {
    const int width = 37, height = 2;
    uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u, seed >> 8; };
    const struct { int bits; DWORD compression; uint32_t masks[3]; } sources[] = {
        {1, BI_RGB, {}},  {4, BI_RGB, {}}, {8, BI_RGB, {}}, {16, BI_RGB, {}}, {16, BI_BITFIELDS, {0xF800, 0x07E0, 0x1F}},
        {24, BI_RGB, {}}, {32, BI_RGB, {}}, {32, BI_BITFIELDS, {0xFF, 0xFF00, 0xFF0000}}};
    for (const auto& s : sources) {
        vxtest::DibFormat format(s.bits);
        std::memcpy(format.masks, s.masks, sizeof s.masks);
        Info info = Header(width, height, s.bits, s.compression);
        for (int i = 0; s.bits <= 8 && i < 1 << s.bits; ++i) {
            const uint32_t v = next();
            format.table.push_back({static_cast<BYTE>(v), static_cast<BYTE>(v >> 8), static_cast<BYTE>(v >> 16), 0});
            info.table[i] = format.table.back();
        }
        if (s.compression == BI_BITFIELDS) std::memcpy(info.table, s.masks, sizeof s.masks);
        std::vector<uint32_t> values;
        for (int i = 0; i < width * height; ++i)
            values.push_back(s.bits == 32 ? next() | next() << 24 : next() & ((1u << std::min(s.bits, 24)) - 1));
        const Bytes bits = vxtest::Pack(format, values, width, true);
        for (int to : kDepths) {
            SCOPED_TRACE(testing::Message() << s.bits << (s.compression ? " bitfields" : "") << " to " << to);
            vxtest::Canvas target(width, height, to);
            EXPECT_EQ(SetDIBits(target.dc(), target.bitmap(), 0, height, bits.data(), info.get(), DIB_RGB_COLORS), height);
            vxtest::Colours want;
            for (uint32_t v : values) want.push_back(target.format().decode(target.format().encode(format.decode(v), s.bits > 8)));
            EXPECT_EQ(vxtest::Show(target.read(), width), vxtest::Show(want, width));
            if (to == 32 && s.bits == 32 && s.compression == BI_RGB) {  // as they are, fourth bytes too
                EXPECT_EQ(target.bytes(), vxtest::Pack(format, values, width, false));
            }
        }
    }
}

// Scan lines count from a DIB's bottom and its top row lies on the bitmap's: GetDIBits zeroes
// the rows the bitmap lacks and answers the rows it read (1 when given none to read);
// SetDIBits skips them and answers the scan lines it was given (0 when none; a top-down DIB's
// are not cut at its top).
TEST(GdiBitmaps, DIBScanLines) {
    const int bitmapHeight = 7;
    uint32_t tagged[2 * bitmapHeight];  // row y holds y + 1 in both pixels
    for (int i = 0; i < 2 * bitmapHeight; ++i) tagged[i] = static_cast<uint32_t>(i / 2 + 1);
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(2, bitmapHeight, 1, 32, tagged));
    // rows: for GetDIBits, the bitmap row (+1) each row of the caller's bits holds, 0 for
    // zeros; for SetDIBits, the row of the caller's bits (+1) each bitmap row took, 0 for none.
    const struct { int height; UINT start, lines; int got; std::vector<uint32_t> read; int set; std::vector<uint32_t> written; } cases[] = {
        {7, 2, 3, 3, {5, 4, 3}, 3, {0, 0, 3, 2, 1, 0, 0}}, {7, 7, 2, 1, {}, 0, {0, 0, 0, 0, 0, 0, 0}},
        {7, 0, 0, 1, {}, 0, {0, 0, 0, 0, 0, 0, 0}}, {2, 0, 9, 2, {2, 1}, 2, {2, 1, 0, 0, 0, 0, 0}},
        {9, 0, 9, 7, {0, 0, 7, 6, 5, 4, 3, 2, 1}, 9, {9, 8, 7, 6, 5, 4, 3}},
        {-9, 1, 2, 1, {7, 0}, 2, {0, 0, 0, 0, 0, 0, 1}},
        {-2, 1, 2, 1, {1}, 2, {2, 0, 0, 0, 0, 0, 0}}, {-7, 0, 7, 7, {1, 2, 3, 4, 5, 6, 7}, 7, {1, 2, 3, 4, 5, 6, 7}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "height " << c.height << ", lines " << c.start << " + " << c.lines);
        Info info = Header(2, c.height, 32);
        std::vector<uint32_t> bits(2 * 9 + 1, 0xEEEEEEEE);
        EXPECT_EQ(GetDIBits(dc.get(), bitmap.get(), c.start, c.lines, bits.data(), info.get(), DIB_RGB_COLORS), c.got);
        std::vector<uint32_t> want = c.read;
        want.push_back(0xEEEEEEEE);
        for (size_t i = 0; i < want.size(); ++i) EXPECT_EQ(bits[2 * i], want[i]) << "row " << i;

        const vx::OwnedObject<HBITMAP> target(CreateBitmap(2, bitmapHeight, 1, 32, nullptr));
        for (size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<uint32_t>(i / 2 + 1);
        EXPECT_EQ(SetDIBits(nullptr, target.get(), c.start, c.lines, bits.data(), info.get(), DIB_RGB_COLORS), c.set);
        uint32_t written[2 * bitmapHeight];
        GetBitmapBits(target.get(), sizeof written, written);
        for (int y = 0; y < bitmapHeight; ++y) EXPECT_EQ(written[2 * y], c.written[y]) << "row " << y;
    }
    // A narrower DIB leaves the bitmap's other columns alone; a wider one reads them as zeros.
    uint32_t row[3] = {9, 9, 9};
    Info narrow = Header(1, 7, 32), wide = Header(3, 1, 32);
    EXPECT_EQ(SetDIBits(dc.get(), bitmap.get(), 6, 1, row, narrow.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(GetDIBits(dc.get(), bitmap.get(), 0, 1, row, wide.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(std::vector<uint32_t>(row, row + 3), std::vector<uint32_t>({9, 1, 0}));
}

// Header queries: biBitCount 0 asks for the bitmap's own format (and answers its height);
// otherwise the size and table of the format asked for are filled in and 1 answered: the VGA
// colours, and the 8-bit cube around the static colours. Bad requests answer 0.
TEST(GdiBitmaps, DIBHeaderQueriesAndRefusals) {
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> colour(CreateBitmap(5, 3, 1, 32, nullptr));
    Info own{};
    own.header.biSize = sizeof(BITMAPINFOHEADER);
    EXPECT_EQ(GetDIBits(dc.get(), colour.get(), 0, 0, nullptr, own.get(), DIB_RGB_COLORS), 3);
    const BITMAPINFOHEADER want{sizeof(BITMAPINFOHEADER), 5, 3, 1, 32, BI_BITFIELDS, 60, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(&own.header, &want, sizeof want), 0);
    PALETTEENTRY statics[20];
    GetPaletteEntries(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), 0, 20, statics);
    for (int depth : {4, 8}) {
        Info info = Header(77, -9, depth);
        info.header.biClrUsed = 3;
        EXPECT_EQ(GetDIBits(dc.get(), colour.get(), 0, 3, nullptr, info.get(), DIB_RGB_COLORS), 1);
        EXPECT_TRUE(info.header.biSizeImage == static_cast<DWORD>((77 * depth + 31) / 32 * 4 * 9) && info.header.biClrUsed == 0);
        for (int i = 0; i < 1 << depth; ++i) {
            PALETTEENTRY e{static_cast<BYTE>((i & 7) << 5), static_cast<BYTE>((i >> 3 & 7) << 5), static_cast<BYTE>((i >> 6) << 6), 0};
            if (depth == 4) e = statics[i < 7 ? i : i == 7 ? 12 : i == 8 ? 7 : i + 4];  // 128 gray before 192
            if (depth == 8 && (i < 10 || i >= 246)) e = statics[i < 10 ? i : i - 236];
            EXPECT_EQ(RGB(info.table[i].rgbRed, info.table[i].rgbGreen, info.table[i].rgbBlue), RGB(e.peRed, e.peGreen, e.peBlue))
                << depth << " bits, entry " << i;
        }
    }
    // SetDIBits needs no DC; neither call takes 2 or 7 bits, RLE, 24-bit masks or empty sizes.
    std::vector<uint8_t> bits(1024);
    const HDC d = dc.get();
    constexpr UINT rgb = DIB_RGB_COLORS;
    const struct { HDC dc; int width, height, depth; DWORD compression, size; UINT usage; int get, set; } cases[] = {
        {d, 5, 3, 32, BI_RGB, 108, rgb, 3, 3}, {nullptr, 5, 3, 32, BI_RGB, 40, rgb, 0, 3}, {d, 5, 3, 32, BI_RGB, 10, rgb, 0, 0},
        {d, 5, 3, 7, BI_RGB, 40, rgb, 0, 0}, {d, 5, 3, 2, BI_RGB, 40, rgb, 0, 0}, {d, 5, 3, 8, BI_RLE8, 40, rgb, 0, 0},
        {d, 5, 3, 24, BI_BITFIELDS, 40, rgb, 0, 0}, {d, 5, 3, 32, BI_RGB, 40, 2, 0, 0}, {d, -5, 3, 32, BI_RGB, 40, rgb, 0, 0},
        {d, 5, 0, 32, BI_RGB, 40, rgb, 0, 0}};
    for (const auto& c : cases) {
        Info get = Header(c.width, c.height, c.depth, c.compression), set = get;
        get.header.biSize = set.header.biSize = c.size;
        EXPECT_EQ(GetDIBits(c.dc, colour.get(), 0, 3, bits.data(), get.get(), c.usage), c.get) << c.depth << ", " << c.size;
        EXPECT_EQ(SetDIBits(c.dc, colour.get(), 0, 3, bits.data(), set.get(), c.usage), c.set) << c.depth << ", " << c.size;
    }
    EXPECT_EQ(GetDIBits(dc.get(), nullptr, 0, 3, bits.data(), Header(5, 3, 32).get(), DIB_RGB_COLORS), 0);
    EXPECT_EQ(SetDIBits(dc.get(), colour.get(), 0, 3, bits.data(), nullptr, DIB_RGB_COLORS), 0);
}

// DIB sections keep the DIB's layout: 32-bit aligned rows at the address handed out, the
// table filled out to 2^depth entries, 16 bits described by masks. GetBitmapBits cuts their
// rows, as they are, to a device bitmap's width; a DC holding one makes sections like it.
TEST(GdiBitmaps, DIBSections) {
    const vx::MemoryDC dc;
    const struct { int depth; DWORD compression, used, wantUsed; uint32_t masks[3]; } cases[] = {
        {1, BI_RGB, 0, 2, {}}, {8, BI_RGB, 3, 256, {}}, {16, BI_RGB, 0, 0, {0x7C00, 0x03E0, 0x001F}}, {24, BI_RGB, 0, 0, {}},
        {16, BI_BITFIELDS, 0, 0, {0xF800, 0x07E0, 0x001F}}, {32, BI_BITFIELDS, 0, 0, {0xFF, 0xFF00, 0xFF0000}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.depth << (c.compression ? " bitfields" : ""));
        Info info = Header(5, -3, c.depth, c.compression);
        info.header.biClrUsed = c.used;
        std::memcpy(info.table, c.masks, sizeof c.masks);
        void* bits = nullptr;
        const vx::OwnedObject<HBITMAP> section(CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, &bits, nullptr, 0));
        ASSERT_NE(bits, nullptr);
        const int stride = (5 * c.depth + 31) / 32 * 4, widthBytes = (5 * c.depth + 15) / 16 * 2;
        DIBSECTION ds{};
        EXPECT_EQ(GetObjectA(section.get(), sizeof ds, &ds), static_cast<int>(sizeof ds));
        EXPECT_TRUE(ds.dsBm.bmBits == bits && ds.dsBm.bmWidthBytes == stride && ds.dsBmih.biSizeImage == DWORD(3 * stride));
        EXPECT_EQ(ds.dsBmih.biHeight, 3);  // top-down, yet positive
        EXPECT_EQ(ds.dsBmih.biClrUsed, c.wantUsed);
        EXPECT_EQ(ds.dsBmih.biCompression, static_cast<DWORD>(c.masks[0] != 0 ? BI_BITFIELDS : BI_RGB));
        EXPECT_EQ(std::memcmp(ds.dsBitfields, c.masks, sizeof c.masks), 0);

        Bytes memory(static_cast<size_t>(3 * stride)), want;
        for (size_t i = 0; i < memory.size(); ++i) static_cast<uint8_t*>(bits)[i] = memory[i] = static_cast<uint8_t>(17 * i + 3);
        for (int y = 0; y < 3; ++y) want.insert(want.end(), memory.begin() + y * stride, memory.begin() + y * stride + widthBytes);
        EXPECT_EQ(vxtest::BitmapBytes(section.get()), want);
        const vx::ObjectSelection selected(dc.get(), section.get());
        const vx::OwnedObject<HBITMAP> like(CreateCompatibleBitmap(dc.get(), 2, 2));
        EXPECT_TRUE(GetObjectA(like.get(), sizeof ds, &ds) == static_cast<int>(sizeof ds) && ds.dsBm.bmBitsPixel == c.depth);
    }
    void* bits = &bits;
    for (Info info : {Header(5, 3, 7), Header(0, 3, 8), Header(-5, 3, 8), Header(5, 0, 8), Header(5, 3, 8, BI_RLE8),
                      Header(65536, 65536, 32)}) {
        EXPECT_EQ(CreateDIBSection(dc.get(), info.get(), DIB_RGB_COLORS, &bits, nullptr, 0), nullptr);
        EXPECT_EQ(bits, nullptr);
    }
}

// CreateDIBitmap makes what CreateCompatibleBitmap makes (monochrome for no DC) and with
// CBM_INIT converts the bits into it; DIB_PAL_COLORS tables index the DC's palette.
TEST(GdiBitmaps, CreateDIBitmapAndPaletteIndices) {
    const vx::WindowDC screen(nullptr);
    Info info = Header(2, -2, 24);
    const uint8_t bits[16] = {1, 2, 3, 250, 251, 252, 0, 0, 7, 8, 9, 200, 201, 202, 0, 0};
    for (HDC dc : {screen.get(), static_cast<HDC>(nullptr)}) {
        const vx::OwnedObject<HBITMAP> made(CreateDIBitmap(dc, &info.header, CBM_INIT, bits, info.get(), DIB_RGB_COLORS));
        EXPECT_EQ(vxtest::BitmapBytes(made.get()), dc != nullptr ? Bytes({1, 2, 3, 0, 250, 251, 252, 0, 7, 8, 9, 0, 200, 201, 202, 0})
                                                     : Bytes({0x40, 0, 0x40, 0}));
    }
    const vx::OwnedObject<HBITMAP> blank(CreateDIBitmap(screen.get(), &info.header, 0, nullptr, nullptr, 0));
    EXPECT_EQ(vxtest::BitmapBytes(blank.get()), Bytes(16, 0));
    EXPECT_EQ(CreateDIBitmap(screen.get(), &info.header, CBM_INIT, nullptr, info.get(), DIB_RGB_COLORS), nullptr);
    Info mirrored = Header(-2, 2, 24);
    EXPECT_EQ(CreateDIBitmap(screen.get(), &mirrored.header, CBM_INIT, bits, mirrored.get(), DIB_RGB_COLORS), nullptr);

    // Indices 16-19 and 0 of the default palette: blue, magenta, cyan, white, black.
    struct { BITMAPINFOHEADER header; WORD indices[256]; } indexed{Header(5, 1, 8).header, {}};
    for (int i = 0; i < 256; ++i) indexed.indices[i] = static_cast<WORD>(i % 20);
    const uint8_t row[8] = {16, 17, 18, 19, 20};
    vxtest::Canvas canvas(5, 1, 32);
    EXPECT_EQ(SetDIBits(canvas.dc(), canvas.bitmap(), 0, 1, row, reinterpret_cast<BITMAPINFO*>(&indexed), DIB_PAL_COLORS), 1);
    EXPECT_EQ(canvas.read(), vxtest::Colours({RGB(0, 0, 255), RGB(255, 0, 255), RGB(0, 255, 255), RGB(255, 255, 255), 0}));
    uint8_t back[8] = {};
    EXPECT_EQ(GetDIBits(canvas.dc(), canvas.bitmap(), 0, 1, back, reinterpret_cast<BITMAPINFO*>(&indexed), DIB_PAL_COLORS), 1);
    EXPECT_EQ(Bytes(back, back + 8), Bytes({16, 17, 18, 19, 0, 0, 0, 0}));
}

#ifndef _WIN32
// The 8-bit palette screen, ours only (Wine's screen is true colour): realising a palette
// takes a free system entry for each colour the system palette lacks (or that asks for one of
// its own), none for an explicit index or a colour it holds, and none when realised again.
TEST(GdiBitmaps, PaletteScreenNativeOnly) {
    vx::posix::gdi::UsePaletteScreen(true);
    {
        const vx::WindowDC screen(nullptr);
        const vx::MemoryDC dc;
        EXPECT_EQ(GetDeviceCaps(screen.get(), SIZEPALETTE), 256);
        EXPECT_EQ(GetDeviceCaps(screen.get(), NUMCOLORS), 20);
        EXPECT_NE(GetDeviceCaps(dc.get(), RASTERCAPS) & RC_PALETTE, 0);
        const vx::OwnedObject<HBITMAP> eight(CreateCompatibleBitmap(screen.get(), 2, 2)), colour(CreateBitmap(2, 2, 1, 32, nullptr));
        EXPECT_EQ(SelectObject(dc.get(), colour.get()), nullptr);
        SelectObject(dc.get(), SelectObject(dc.get(), eight.get()));

        const vx::OwnedObject<HPALETTE> palette(vxtest::MakePalette(
            {{0, 0, 0, 0}, {1, 2, 3, 0}, {4, 5, 6, 0}, {1, 2, 3, PC_NOCOLLAPSE}, {200, 0, 0, PC_EXPLICIT}}));
        const vx::PaletteSelection selected(screen.get(), palette.get());
        EXPECT_EQ(RealizePalette(screen.get()), 3u);
        EXPECT_EQ(RealizePalette(screen.get()), 0u);
        PALETTEENTRY system[256];
        EXPECT_EQ(GetSystemPaletteEntries(screen.get(), 0, 300, system), 256u);
        vxtest::Colours got;
        for (int i : {9, 10, 11, 12, 13, 255}) got.push_back(RGB(system[i].peRed, system[i].peGreen, system[i].peBlue));
        EXPECT_EQ(got, vxtest::Colours({RGB(166, 202, 240), RGB(1, 2, 3), RGB(4, 5, 6), RGB(1, 2, 3), 0, RGB(255, 255, 255)}));
        EXPECT_EQ(GetNearestColor(screen.get(), RGB(5, 5, 5)), RGB(4, 5, 6));
    }
    vx::posix::gdi::UsePaletteScreen(false);
}
#endif

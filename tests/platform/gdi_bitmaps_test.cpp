// GDI bitmaps: device bitmaps and their bytes, GetObjectA, selections and their lifetimes,
// single pixels. The same cases run against the library's GDI on Linux and against GDI under
// Wine, so the answers and bytes below are Windows' own.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "gdi_support.hpp"

namespace {

using Bytes = std::vector<uint8_t>;

BITMAP ObjectOf(HBITMAP bitmap) {
    BITMAP bm{};
    EXPECT_EQ(GetObjectA(bitmap, sizeof bm, &bm), static_cast<int>(sizeof bm));
    return bm;
}

Bytes BitsOf(HBITMAP bitmap) {
    Bytes bytes(static_cast<size_t>(GetBitmapBits(bitmap, 0, nullptr)));
    GetBitmapBits(bitmap, static_cast<LONG>(bytes.size()), bytes.data());
    return bytes;
}

}  // namespace

// Depths round up to one GDI draws on; an empty size gives the stock 1 x 1 bitmap, a negative
// one its magnitude; more than one plane, more than 32 bits or an oversized bitmap is refused.
TEST(GdiBitmaps, CreateBitmapShapes) {
    const HBITMAP stock = CreateBitmap(0, 0, 1, 1, nullptr);
    const struct { int width, height; UINT planes, bits; int wantBits, wantWidthBytes; } cases[] = {
        {3, 2, 1, 1, 1, 2},    {3, 2, 1, 0, 4, 2},    {3, 2, 1, 2, 4, 2},    {3, 2, 1, 5, 8, 4},
        {3, 2, 1, 8, 8, 4},    {3, 2, 1, 9, 16, 6},   {3, 2, 1, 17, 24, 10}, {3, 2, 1, 24, 24, 10},
        {3, 2, 1, 25, 32, 12}, {17, 1, 1, 1, 1, 4},   {-3, -2, 1, 32, 32, 12},
        {3, 2, 1, 33, 0, 0},   {3, 2, 2, 1, 0, 0},    {3, 2, 0, 8, 0, 0},
        {0x7FFFFFFF, 1, 1, 1, 0, 0}, {65536, 65536, 1, 32, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", " << c.planes << " planes, " << c.bits);
        const vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(c.width, c.height, c.planes, c.bits, nullptr));
        if (c.wantBits == 0) {
            EXPECT_EQ(bitmap.get(), nullptr);
            continue;
        }
        ASSERT_NE(bitmap.get(), nullptr);
        const BITMAP bm = ObjectOf(bitmap.get());
        EXPECT_EQ(bm.bmWidth, c.width < 0 ? -c.width : c.width);
        EXPECT_EQ(bm.bmHeight, c.height < 0 ? -c.height : c.height);
        EXPECT_EQ(bm.bmBitsPixel, c.wantBits);
        EXPECT_EQ(bm.bmWidthBytes, c.wantWidthBytes);
        EXPECT_EQ(bm.bmPlanes, 1);
        EXPECT_EQ(bm.bmBits, nullptr);
        EXPECT_EQ(BitsOf(bitmap.get()), Bytes(static_cast<size_t>(c.wantWidthBytes * bm.bmHeight), 0));
    }
    for (auto [w, h] : {std::pair{0, 0}, {0, 5}, {5, 0}}) EXPECT_EQ(CreateBitmap(w, h, 1, 8, nullptr), stock);
    const BITMAP bm = ObjectOf(stock);
    EXPECT_EQ(bm.bmWidth * bm.bmHeight * bm.bmBitsPixel, 1);
    EXPECT_TRUE(DeleteObject(stock));  // a stock object stays
    EXPECT_EQ(GetObjectA(stock, sizeof(BITMAP), nullptr), static_cast<int>(sizeof(BITMAP)));
    BITMAP indirect{0, 3, 2, 4, 1, 8, nullptr};
    const vx::OwnedObject<HBITMAP> made(CreateBitmapIndirect(&indirect));
    EXPECT_EQ(ObjectOf(made.get()).bmWidthBytes, 4);
}

// The bytes past each row's last pixel read back as zero whatever was written there; partial
// transfers copy exactly the bytes asked for.
TEST(GdiBitmaps, BitmapBitsKeepPaddingZero) {
    Bytes source(64);
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(0xA1 + 7 * i);
    const struct { UINT bits; int width; } cases[] = {{1, 3}, {1, 17}, {4, 3}, {8, 3}, {16, 3}, {24, 3}, {32, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " pixels of " << c.bits << " bits");
        const vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(c.width, 2, 1, c.bits, source.data()));
        const BITMAP bm = ObjectOf(bitmap.get());
        const int usedBits = c.width * static_cast<int>(c.bits);
        Bytes want(source.begin(), source.begin() + 2 * bm.bmWidthBytes);
        for (int y = 0; y < 2; ++y)
            for (int bit = usedBits; bit < bm.bmWidthBytes * 8; ++bit)
                want[y * bm.bmWidthBytes + bit / 8] &= static_cast<uint8_t>(~(0x80 >> (bit % 8)));
        EXPECT_EQ(BitsOf(bitmap.get()), want);

        Bytes part(want.size() + 4, 0xEE);
        EXPECT_EQ(GetBitmapBits(bitmap.get(), 3, part.data()), 3);
        EXPECT_EQ(Bytes(part.begin(), part.begin() + 4), Bytes({want[0], want[1], want[2], 0xEE}));
        EXPECT_EQ(GetBitmapBits(bitmap.get(), -1, part.data()), static_cast<LONG>(want.size()));
        EXPECT_EQ(GetBitmapBits(bitmap.get(), 0, part.data()), 0);

        const Bytes zeros(want.size() + 8, 0);
        EXPECT_EQ(SetBitmapBits(bitmap.get(), static_cast<DWORD>(zeros.size()), zeros.data()),
                  static_cast<LONG>(want.size()));
        EXPECT_EQ(SetBitmapBits(bitmap.get(), 0, source.data()), 0);
        EXPECT_EQ(SetBitmapBits(bitmap.get(), 4, nullptr), 0);
        EXPECT_EQ(SetBitmapBits(bitmap.get(), static_cast<DWORD>(bm.bmWidthBytes), source.data()), bm.bmWidthBytes);
        Bytes firstRow = BitsOf(bitmap.get());
        firstRow.resize(static_cast<size_t>(bm.bmWidthBytes));
        EXPECT_EQ(firstRow, Bytes(want.begin(), want.begin() + bm.bmWidthBytes));
    }
    const vx::MemoryDC dc;
    Bytes out(4);
    for (HGDIOBJ foreign : {static_cast<HGDIOBJ>(nullptr), static_cast<HGDIOBJ>(dc.get()),
                            GetStockObject(DEFAULT_PALETTE)}) {
        EXPECT_EQ(GetBitmapBits(static_cast<HBITMAP>(foreign), 4, out.data()), 0);
        EXPECT_EQ(SetBitmapBits(static_cast<HBITMAP>(foreign), 4, out.data()), 0);
    }
}

// GetObjectA: a bitmap and a pen need room for the whole structure, a brush and a palette
// copy what fits; a null buffer asks for the size; regions, DCs and stale handles answer 0.
TEST(GdiBitmaps, GetObjectSizes) {
    const vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(5, 3, 1, 8, nullptr));
    const vx::MemoryDC dc;
    const int bitmapSize = sizeof(BITMAP), penSize = sizeof(LOGPEN), brushSize = sizeof(LOGBRUSH);
    const struct { const char* name; HGDIOBJ object; int size, want; } cases[] = {
        {"bitmap, room", bitmap.get(), bitmapSize + 8, bitmapSize},
        {"bitmap, short", bitmap.get(), bitmapSize - 1, 0},
        {"bitmap, none", bitmap.get(), 0, 0},
        {"pen, room", GetStockObject(BLACK_PEN), penSize + 8, penSize},
        {"pen, short", GetStockObject(BLACK_PEN), penSize - 1, 0},
        {"brush, room", GetStockObject(GRAY_BRUSH), brushSize + 8, brushSize},
        {"brush, short", GetStockObject(GRAY_BRUSH), 4, 4},
        {"palette, room", GetStockObject(DEFAULT_PALETTE), 8, 2},
        {"palette, short", GetStockObject(DEFAULT_PALETTE), 1, 1},
        {"DC", dc.get(), 100, 0},
        {"null", nullptr, 100, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        uint8_t buffer[128] = {};
        EXPECT_EQ(GetObjectA(c.object, c.size, buffer), c.want);
    }
    EXPECT_EQ(GetObjectA(bitmap.get(), 0, nullptr), bitmapSize);
    EXPECT_EQ(GetObjectA(GetStockObject(BLACK_PEN), 0, nullptr), penSize);
    EXPECT_EQ(GetObjectA(GetStockObject(GRAY_BRUSH), 0, nullptr), brushSize);
    EXPECT_EQ(GetObjectA(GetStockObject(DEFAULT_PALETTE), 0, nullptr), 2);
    WORD entries = 0;
    GetObjectA(GetStockObject(DEFAULT_PALETTE), sizeof entries, &entries);
    EXPECT_EQ(entries, 20);
    LOGBRUSH brush{};
    GetObjectA(GetStockObject(GRAY_BRUSH), sizeof brush, &brush);
    EXPECT_EQ(brush.lbStyle, static_cast<UINT>(BS_SOLID));
    EXPECT_EQ(brush.lbColor, RGB(128, 128, 128));
    LOGPEN pen{};
    GetObjectA(GetStockObject(WHITE_PEN), sizeof pen, &pen);
    EXPECT_EQ(pen.lopnStyle, static_cast<UINT>(PS_SOLID));
    EXPECT_EQ(pen.lopnColor, RGB(255, 255, 255));
}

// A memory DC takes monochrome bitmaps and bitmaps of the screen's depth, one DC at a time; a
// screen DC takes none; palettes go through SelectPalette only.
TEST(GdiBitmaps, SelectionRefusals) {
    const vx::MemoryDC first, second;
    const vx::WindowDC screen(nullptr);
    const HGDIOBJ stock = GetCurrentObject(first.get(), OBJ_BITMAP);
    const vx::OwnedObject<HBITMAP> colour(CreateBitmap(4, 4, 1, 32, nullptr)), mono(CreateBitmap(4, 4, 1, 1, nullptr)),
        eight(CreateBitmap(4, 4, 1, 8, nullptr)), other(CreateBitmap(2, 2, 1, 32, nullptr));
    EXPECT_EQ(stock, CreateBitmap(0, 0, 1, 1, nullptr));
    EXPECT_EQ(SelectObject(first.get(), eight.get()), nullptr);
    EXPECT_EQ(SelectObject(screen.get(), colour.get()), nullptr);
    EXPECT_EQ(SelectObject(first.get(), colour.get()), stock);
    EXPECT_EQ(SelectObject(first.get(), colour.get()), colour.get());
    EXPECT_EQ(SelectObject(second.get(), colour.get()), nullptr);
    EXPECT_EQ(SelectObject(second.get(), stock), stock);  // the stock bitmap is everyone's
    EXPECT_EQ(SelectObject(second.get(), mono.get()), stock);
    EXPECT_EQ(GetCurrentObject(first.get(), OBJ_BITMAP), colour.get());
    EXPECT_EQ(GetCurrentObject(second.get(), OBJ_BITMAP), mono.get());
    EXPECT_EQ(SelectObject(first.get(), GetStockObject(DEFAULT_PALETTE)), nullptr);
    for (HGDIOBJ foreign : {static_cast<HGDIOBJ>(nullptr), static_cast<HGDIOBJ>(second.get()),
                            reinterpret_cast<HGDIOBJ>(uintptr_t{0x12345})})
        EXPECT_EQ(SelectObject(first.get(), foreign), nullptr);
    EXPECT_EQ(SelectObject(static_cast<HDC>(static_cast<HGDIOBJ>(other.get())), mono.get()), nullptr);
    EXPECT_EQ(GetCurrentObject(static_cast<HDC>(static_cast<HGDIOBJ>(other.get())), OBJ_BITMAP), nullptr);

    EXPECT_EQ(SelectObject(first.get(), GetStockObject(BLACK_BRUSH)), GetStockObject(WHITE_BRUSH));
    EXPECT_EQ(SelectObject(first.get(), GetStockObject(WHITE_PEN)), GetStockObject(BLACK_PEN));
    EXPECT_EQ(GetCurrentObject(first.get(), OBJ_BRUSH), GetStockObject(BLACK_BRUSH));
    EXPECT_EQ(GetCurrentObject(first.get(), OBJ_PEN), GetStockObject(WHITE_PEN));
    EXPECT_EQ(GetCurrentObject(first.get(), OBJ_PAL), GetStockObject(DEFAULT_PALETTE));
    SelectObject(first.get(), stock);
    SelectObject(second.get(), stock);
}

// A bitmap deleted while selected stays usable in its DC and goes when the DC lets go of it,
// by another selection or by being deleted; a DC's deletion frees its bitmap for other DCs.
TEST(GdiBitmaps, SelectedBitmapOutlivesDeletion) {
    const vx::MemoryDC holder;
    const HBITMAP stock = CreateBitmap(0, 0, 1, 1, nullptr);
    for (bool byDeletingTheDC : {false, true}) {
        SCOPED_TRACE(byDeletingTheDC ? "by DeleteDC" : "by SelectObject");
        HDC dc = byDeletingTheDC ? CreateCompatibleDC(nullptr) : holder.get();
        const HBITMAP bitmap = CreateBitmap(4, 4, 1, 32, nullptr);
        ASSERT_EQ(SelectObject(dc, bitmap), stock);
        EXPECT_EQ(SetPixel(dc, 1, 1, RGB(1, 2, 3)), RGB(1, 2, 3));
        EXPECT_TRUE(DeleteObject(bitmap));
        EXPECT_EQ(GetObjectA(bitmap, 0, nullptr), static_cast<int>(sizeof(BITMAP)));
        EXPECT_EQ(GetPixel(dc, 1, 1), RGB(1, 2, 3));
        EXPECT_EQ(GetCurrentObject(dc, OBJ_BITMAP), bitmap);
        if (byDeletingTheDC) {
            EXPECT_TRUE(DeleteDC(dc));
        } else {
            EXPECT_EQ(SelectObject(dc, stock), bitmap);
        }
        EXPECT_EQ(GetObjectA(bitmap, 0, nullptr), 0);
        EXPECT_EQ(GetBitmapBits(bitmap, 0, nullptr), 0);
    }
    const HDC doomed = CreateCompatibleDC(nullptr);
    const vx::OwnedObject<HBITMAP> freed(CreateBitmap(2, 2, 1, 32, nullptr));
    SelectObject(doomed, freed.get());
    EXPECT_EQ(SelectObject(holder.get(), freed.get()), nullptr);
    DeleteDC(doomed);
    EXPECT_EQ(SelectObject(holder.get(), freed.get()), stock);
    SelectObject(holder.get(), stock);
}

// SetPixel stores the nearest colour the bitmap holds and answers it: black or white on a
// monochrome bitmap (whatever the DC's colours), a palette index through the DC's palette.
TEST(GdiBitmaps, PixelsTakeTheNearestColour) {
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> mono(CreateBitmap(2, 1, 1, 1, nullptr)), colour(CreateBitmap(2, 1, 1, 32, nullptr));
    const struct { COLORREF set, mono, colour; } cases[] = {
        {RGB(128, 128, 128), RGB(255, 255, 255), RGB(128, 128, 128)},
        {RGB(127, 127, 127), RGB(0, 0, 0), RGB(127, 127, 127)},
        {RGB(200, 10, 10), RGB(0, 0, 0), RGB(200, 10, 10)},
        {RGB(255, 255, 254), RGB(255, 255, 255), RGB(255, 255, 254)},
        {PALETTEINDEX(7), RGB(255, 255, 255), RGB(192, 192, 192)},
        {PALETTEINDEX(5), RGB(0, 0, 0), RGB(128, 0, 128)},
    };
    const HGDIOBJ stock = SelectObject(dc.get(), mono.get());
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.set);
        SelectObject(dc.get(), mono.get());
        EXPECT_EQ(SetPixel(dc.get(), 1, 0, c.set), c.mono);
        EXPECT_EQ(GetPixel(dc.get(), 1, 0), c.mono);
        SelectObject(dc.get(), colour.get());
        EXPECT_EQ(SetPixel(dc.get(), 1, 0, c.set), c.colour);
        EXPECT_EQ(GetPixel(dc.get(), 1, 0), c.colour);
    }
    uint32_t stored[2] = {};
    GetBitmapBits(colour.get(), sizeof stored, stored);
    EXPECT_EQ(stored[1], 0x800080u);
    EXPECT_EQ(GetPixel(dc.get(), 2, 0), CLR_INVALID);
    EXPECT_EQ(GetPixel(dc.get(), -1, 0), CLR_INVALID);
    EXPECT_EQ(GetPixel(nullptr, 0, 0), CLR_INVALID);
    EXPECT_EQ(SetPixel(nullptr, 0, 0, 0), CLR_INVALID);
    SelectObject(dc.get(), stock);
}

// CreateCompatibleBitmap: the screen's depth for a screen DC, the selected bitmap's for a
// memory DC (monochrome for a new one); an empty size gives the stock bitmap.
TEST(GdiBitmaps, CompatibleBitmapDepths) {
    const vx::WindowDC screen(nullptr);
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> fromScreen(CreateCompatibleBitmap(screen.get(), 4, 4)),
        fromNew(CreateCompatibleBitmap(dc.get(), 4, 4));
    EXPECT_EQ(ObjectOf(fromScreen.get()).bmBitsPixel, GetDeviceCaps(screen.get(), BITSPIXEL));
    EXPECT_EQ(ObjectOf(fromScreen.get()).bmWidthBytes, 16);
    EXPECT_EQ(ObjectOf(fromNew.get()).bmBitsPixel, 1);
    const HGDIOBJ stock = SelectObject(dc.get(), fromScreen.get());
    const vx::OwnedObject<HBITMAP> fromColour(CreateCompatibleBitmap(dc.get(), 3, 1));
    EXPECT_EQ(ObjectOf(fromColour.get()).bmBitsPixel, 32);
    SelectObject(dc.get(), stock);
    EXPECT_EQ(CreateCompatibleBitmap(dc.get(), 0, 3), stock);
    EXPECT_EQ(CreateCompatibleBitmap(nullptr, 3, 3), nullptr);
    EXPECT_EQ(CreateCompatibleBitmap(static_cast<HDC>(static_cast<HGDIOBJ>(fromNew.get())), 3, 3), nullptr);
}

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

namespace {

// A BITMAPINFO with room for any table or masks.
struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD table[256];
    BITMAPINFO* get() { return reinterpret_cast<BITMAPINFO*>(this); }
};

Info Header(int width, int height, int bits, DWORD compression = BI_RGB) {
    Info info{};
    info.header = {sizeof(BITMAPINFOHEADER), width, height, 1, static_cast<WORD>(bits), compression, 0, 0, 0, 0, 0};
    return info;
}

constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};

}  // namespace

// GetDIBits from bitmaps of every depth to DIBs of every depth and layout: each pixel becomes
// the nearest colour of the table GetDIBits writes, or its channels cut to the masks.
TEST(GdiBitmaps, GetDIBitsEveryDepthPair) {
    const int width = 7, height = 3;
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
                    SCOPED_TRACE(testing::Message() << from << " to " << to << (compression ? " bitfields" : "")
                                                    << (bottomUp ? " bottom-up" : " top-down"));
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
                    EXPECT_EQ(info.header.biSizeImage, static_cast<DWORD>(format.stride(width) * height));
                    EXPECT_EQ(info.header.biClrUsed, 0u);
                }
    }
}

// SetDIBits from DIBs of every depth (tables, 5-5-5, 5-6-5, 8-8-8 and swapped masks) into
// bitmaps of every depth: each pixel takes the nearest colour the bitmap holds.
TEST(GdiBitmaps, SetDIBitsEveryDepthPair) {
    const int width = 9, height = 2;
    uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u, seed >> 8; };
    struct Source { int bits; DWORD compression; uint32_t masks[3]; } sources[] = {
        {1, BI_RGB, {}},  {4, BI_RGB, {}}, {8, BI_RGB, {}}, {16, BI_RGB, {}}, {16, BI_BITFIELDS, {0xF800, 0x07E0, 0x1F}},
        {24, BI_RGB, {}}, {32, BI_RGB, {}}, {32, BI_BITFIELDS, {0xFF, 0xFF00, 0xFF0000}}};
    for (const Source& s : sources) {
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
            if (to == 32 && s.bits == 32 && s.compression == BI_RGB) {
                EXPECT_EQ(target.bytes(), vxtest::Pack(format, values, width, false));  // as they are, fourth bytes too
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
        {7, 2, 3, 3, {5, 4, 3}, 3, {0, 0, 3, 2, 1, 0, 0}},
        {7, 7, 2, 1, {}, 0, {0, 0, 0, 0, 0, 0, 0}},
        {7, 0, 0, 1, {}, 0, {0, 0, 0, 0, 0, 0, 0}},
        {2, 0, 9, 2, {2, 1}, 2, {2, 1, 0, 0, 0, 0, 0}},
        {9, 0, 9, 7, {0, 0, 7, 6, 5, 4, 3, 2, 1}, 9, {9, 8, 7, 6, 5, 4, 3}},
        {-9, 1, 2, 1, {7, 0}, 2, {0, 0, 0, 0, 0, 0, 1}},
        {-2, 1, 2, 1, {1}, 2, {2, 0, 0, 0, 0, 0, 0}},
        {-7, 0, 7, 7, {1, 2, 3, 4, 5, 6, 7}, 7, {1, 2, 3, 4, 5, 6, 7}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "height " << c.height << ", lines " << c.start << " + " << c.lines);
        Info info = Header(2, c.height, 32);
        std::vector<uint32_t> bits(2 * 9 + 1, 0xEEEEEEEE);
        EXPECT_EQ(GetDIBits(dc.get(), bitmap.get(), c.start, c.lines, bits.data(), info.get(), DIB_RGB_COLORS), c.got);
        std::vector<uint32_t> rows(c.read.size() + 1);
        for (size_t i = 0; i < rows.size(); ++i) rows[i] = bits[2 * i];
        std::vector<uint32_t> want = c.read;
        want.push_back(0xEEEEEEEE);
        EXPECT_EQ(rows, want);

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
// otherwise the size and table of the format asked for are filled in and 1 answered. The
// default tables are the VGA colours and the 8-bit cube around the static colours.
TEST(GdiBitmaps, DIBHeaderQueries) {
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> colour(CreateBitmap(5, 3, 1, 32, nullptr)), eight(CreateBitmap(5, 3, 1, 8, nullptr));
    Info own{};
    own.header.biSize = sizeof(BITMAPINFOHEADER);
    EXPECT_EQ(GetDIBits(dc.get(), colour.get(), 0, 0, nullptr, own.get(), DIB_RGB_COLORS), 3);
    const BITMAPINFOHEADER want{sizeof(BITMAPINFOHEADER), 5, 3, 1, 32, BI_BITFIELDS, 60, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(&own.header, &want, sizeof want), 0);
    own = Info{};
    own.header.biSize = sizeof(BITMAPINFOHEADER);
    EXPECT_EQ(GetDIBits(dc.get(), eight.get(), 0, 0, nullptr, own.get(), DIB_RGB_COLORS), 3);
    EXPECT_EQ(own.header.biCompression, static_cast<DWORD>(BI_RGB));
    EXPECT_EQ(own.header.biSizeImage, 24u);

    PALETTEENTRY statics[20];
    GetPaletteEntries(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), 0, 20, statics);
    for (int depth : {1, 4, 8}) {
        SCOPED_TRACE(depth);
        Info info = Header(77, -9, depth);
        info.header.biClrUsed = 3;
        info.header.biXPelsPerMeter = 1234;
        EXPECT_EQ(GetDIBits(dc.get(), colour.get(), 0, 3, nullptr, info.get(), DIB_RGB_COLORS), 1);
        EXPECT_EQ(info.header.biSizeImage, static_cast<DWORD>((77 * depth + 31) / 32 * 4 * 9));
        EXPECT_EQ(info.header.biClrUsed, 0u);
        EXPECT_EQ(info.header.biXPelsPerMeter, 1234);
        EXPECT_EQ(info.header.biHeight, -9);
        for (int i = 0; i < 1 << depth; ++i) {
            PALETTEENTRY e{};
            if (depth == 1) {
                e = i ? statics[19] : statics[0];
            } else if (depth == 4) {
                e = statics[i < 7 ? i : i == 7 ? 12 : i == 8 ? 7 : i + 4];  // 128 gray before 192
            } else if (i < 10 || i >= 246) {
                e = statics[i < 10 ? i : i - 236];
            } else {
                e = {static_cast<BYTE>((i & 7) << 5), static_cast<BYTE>((i >> 3 & 7) << 5), static_cast<BYTE>((i >> 6) << 6), 0};
            }
            EXPECT_EQ(RGB(info.table[i].rgbRed, info.table[i].rgbGreen, info.table[i].rgbBlue), RGB(e.peRed, e.peGreen, e.peBlue))
                << "entry " << i;
        }
    }
}

// Refusals: a bad DC (GetDIBits only: SetDIBits needs none), bitmap, header, depth,
// compression, size or usage answers 0.
TEST(GdiBitmaps, DIBRefusals) {
    const vx::MemoryDC dc;
    const vx::OwnedObject<HBITMAP> bitmap(CreateBitmap(5, 7, 1, 32, nullptr));
    std::vector<uint8_t> bits(1024);
    const struct { const char* name; HDC dc; HBITMAP bitmap; int width, height, depth; DWORD compression, size; UINT usage; int get, set; } cases[] = {
        {"valid", dc.get(), bitmap.get(), 5, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 7, 7},
        {"long header", dc.get(), bitmap.get(), 5, 7, 32, BI_RGB, 108, DIB_RGB_COLORS, 7, 7},
        {"no DC", nullptr, bitmap.get(), 5, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 7},
        {"stale DC", reinterpret_cast<HDC>(uintptr_t{0x12345}), bitmap.get(), 5, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 7},
        {"no bitmap", dc.get(), nullptr, 5, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
        {"short header", dc.get(), bitmap.get(), 5, 7, 32, BI_RGB, 10, DIB_RGB_COLORS, 0, 0},
        {"7 bits", dc.get(), bitmap.get(), 5, 7, 7, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
        {"2 bits", dc.get(), bitmap.get(), 5, 7, 2, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
        {"RLE", dc.get(), bitmap.get(), 5, 7, 8, BI_RLE8, 40, DIB_RGB_COLORS, 0, 0},
        {"24-bit fields", dc.get(), bitmap.get(), 5, 7, 24, BI_BITFIELDS, 40, DIB_RGB_COLORS, 0, 0},
        {"usage 2", dc.get(), bitmap.get(), 5, 7, 32, BI_RGB, 40, 2, 0, 0},
        {"no width", dc.get(), bitmap.get(), 0, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
        {"negative width", dc.get(), bitmap.get(), -5, 7, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
        {"no height", dc.get(), bitmap.get(), 5, 0, 32, BI_RGB, 40, DIB_RGB_COLORS, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Info info = Header(c.width, c.height, c.depth, c.compression);
        info.header.biSize = c.size;
        EXPECT_EQ(GetDIBits(c.dc, c.bitmap, 0, 7, bits.data(), info.get(), c.usage), c.get);
        info = Header(c.width, c.height, c.depth, c.compression);
        info.header.biSize = c.size;
        EXPECT_EQ(SetDIBits(c.dc, c.bitmap, 0, 7, bits.data(), info.get(), c.usage), c.set);
    }
    EXPECT_EQ(GetDIBits(dc.get(), bitmap.get(), 0, 7, bits.data(), nullptr, DIB_RGB_COLORS), 0);
    EXPECT_EQ(SetDIBits(dc.get(), bitmap.get(), 0, 7, bits.data(), nullptr, DIB_RGB_COLORS), 0);
}

// Tests of the bridge between DIBs and device bitmaps, against the real GDI under Wine and the
// Linux subset natively: round trips at every depth, the DIB a device bitmap of each depth
// becomes, the palette answers of a true-colour screen, and the refusals.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "dib_builder.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

Bytes Take(HDIB dib) {
    Block owned(dib);
    return owned ? BlockBytes(owned.get()) : Bytes{};
}

// A seeded DIB of each depth goes to a bitmap and back to a DIB of the same picture: 1 bit
// through a monochrome bitmap (black and white), the others through the true-colour screen
// into 24 bits. GDI's table replaces the one the bridge wrote, and biClrUsed is set to 0.
TEST(BitmapBridge, RoundTripsKeepThePictureAtEveryDepth) {
    VX_NEEDS_GDI();
    for (uint16_t bits : {1, 4, 8, 24}) {
        SCOPED_TRACE(bits);
        Bytes source = SeededDib(13, 5, bits, bits);
        if (bits == 1) std::copy_n("\0\0\0\0\xff\xff\xff", 8, source.begin() + 40);
        Block dib(BlockFrom(source));
        Bitmap bitmap(ConvertDIBToBitmap(dib.get()));
        ASSERT_TRUE(bitmap);
        const Bytes back = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        const uint16_t depth = bits == 1 ? 1 : 24;
        ASSERT_EQ(back.size(), 40 + (depth == 1 ? 8 : 0) + Stride(13, depth) * 5 + 10u);
        EXPECT_EQ(GetU16(back, 14), depth);
        EXPECT_EQ(GetU32(back, 32), 0u);                                 // biClrUsed, rewritten by GetDIBits
        EXPECT_EQ(GetU32(back, 36), depth == 1 ? 2u : 0u);               // biClrImportant as the bridge set it
        EXPECT_EQ(GetU32(back, back.size() - 10) | GetU32(back, back.size() - 6), 0u);  // the slack
        EXPECT_EQ(DibColours(back), DibColours(source));
        EXPECT_EQ(BitmapColours(bitmap.get()), DibColours(source));
    }
}

// Device bitmaps of 1 to 32 bits: 1, 4 and 8 bits keep their depth with a table of 2^depth
// entries; 16, 24 and 32 bits become 24-bit DIBs without a table.
TEST(BitmapBridge, DeviceBitmapsBecomeDibsOfTheirDepthOr24Bits) {
    VX_NEEDS_GDI();
    const ColourAt grey = [](int x, int y) { return (x * 40 + y * 90) % 256 * 0x010101u; };
    for (auto [bits, depth] : {std::pair{1, 1}, {4, 4}, {8, 8}, {16, 24}, {24, 24}, {32, 24}}) {
        SCOPED_TRACE(bits);
        Bitmap bitmap = MakeBitmap(7, 3, bits, grey);
        const Bytes dib = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        const uint32_t table = depth < 24 ? 4u << depth : 0u;
        ASSERT_EQ(dib.size(), 40 + table + Stride(7, depth) * 3 + 10);
        EXPECT_EQ(GetU16(dib, 14), depth);
        EXPECT_EQ(GetU32(dib, 20), Stride(7, depth) * 3);
        EXPECT_EQ(DibColours(dib), BitmapColours(bitmap.get()));
    }
}

// Under Wine the screen has 32-bit true colour: no palette to read (NUMCOLORS -1).
TEST(BitmapBridge, TrueColourScreenHasNoPalette) {
    VX_NEEDS_GDI();
    SetImgError(IMGERR_SUCCESS);
    EXPECT_EQ(GetCurrentPalette(), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_CREATEPALETTE);
    RGBQUAD table[256] = {};
    SetImgError(IMGERR_SUCCESS);
    EXPECT_FALSE(GetSystemPalette(table));
    EXPECT_FALSE(GetSystemPalette(nullptr));
    EXPECT_EQ(ImgError(), IMGERR_SUCCESS);
}

TEST(BitmapBridge, MonochromeCopyAndDuplicate) {
    VX_NEEDS_GDI();
    Bitmap colour = MakeBitmap(9, 2, 32, [](int x, int y) { return x < 3 ? 0xFFFFFFu : x < 6 ? 0x202020u : y * 0xE0E0E0u; });
    Bitmap mono(ConvertToMonochromeBitmap(colour.get()));
    BITMAP bm{};
    ASSERT_EQ(GetObjectA(mono.get(), sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(bm.bmBitsPixel * bm.bmPlanes, 1);
    const Colour W = 0xFFFFFF;
    EXPECT_EQ(BitmapColours(mono.get()), (std::vector<Colour>{W, W, W, 0, 0, 0, 0, 0, 0, W, W, W, 0, 0, 0, W, W, W}));
    Bitmap copy(DuplicateBitmap(colour.get()));
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.get(), colour.get());
    EXPECT_EQ(BitmapColours(copy.get()), BitmapColours(colour.get()));
}

// A bitmap selected into a memory DC still converts (GetDIBits reads it there), and a file
// written by SaveBitmap loads back as the same picture.
TEST(BitmapBridge, SelectedBitmapsAndFiles) {
    VX_NEEDS_GDI();
    Bitmap bitmap = MakeBitmap(5, 4, 32, [](int x, int y) { return Colour(x * 0x330000 + y * 0x40); });
    vx::MemoryDC dc;
    vx::ObjectSelection held(dc.get(), bitmap.get());
    TempDir dir;
    ASSERT_TRUE(SaveBitmap(dir.path("b.bmp").c_str(), bitmap.get(), nullptr));
    Bitmap loaded(LoadBitmapFromFile(dir.path("b.bmp").c_str()));
    EXPECT_EQ(BitmapColours(loaded.get()), BitmapColours(bitmap.get()));
}

TEST(BitmapBridge, RefusesWhatIsNoBitmapOrNoWholeDib) {
    VX_NEEDS_GDI();
    HBITMAP deleted = CreateBitmap(4, 4, 1, 1, nullptr);
    DeleteObject(deleted);
    const HBITMAP palette = reinterpret_cast<HBITMAP>(GetStockObject(DEFAULT_PALETTE));
    struct { const char* what; HBITMAP bitmap; } notBitmaps[] = {{"null", nullptr}, {"deleted", deleted}, {"palette", palette}};
    for (const auto& c : notBitmaps) {
        SCOPED_TRACE(c.what);
        SetImgError(kUntouched);
        EXPECT_EQ(ConvertBitmapToDIB(c.bitmap, nullptr), nullptr);
        EXPECT_EQ(ImgError(), kUntouched);
        EXPECT_EQ(ConvertToMonochromeBitmap(c.bitmap), nullptr);
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
        EXPECT_EQ(DuplicateBitmap(c.bitmap), nullptr);
        EXPECT_EQ(ImgError(), IMGERR_COPYBITS);
    }
    const Bytes dib = SeededDib(6, 3, 8);
    Refusal dibs[] = {{"null", kNullHandle, kUntouched},
                      {"rows cut short", Cut(dib, dib.size() - 1), IMGERR_CREATEBITMAP},
                      {"2^31 - 1 wide", With(dib, 4, 0x7FFFFFFF), IMGERR_CREATEBITMAP},
                      {"2^31 - 1 high", With(dib, 8, 0x7FFFFFFF), IMGERR_CREATEBITMAP},
                      {"negative width", With(dib, 4, uint32_t(-6)), IMGERR_CREATEBITMAP}};
    for (const auto& c : dibs) {
        SCOPED_TRACE(c.what);
        Bitmap made;
        const auto o = CallOn(c.source, [&](HDIB d) {
            made = Bitmap(ConvertDIBToBitmap(d));
            return HDIB{};
        });
        EXPECT_FALSE(made);
        EXPECT_EQ(o.moduleCode, c.code);
        EXPECT_TRUE(o.sourceUnchanged && !o.sourceLocked);
    }
    // GDI answers a DIB without width with its 1 x 1 monochrome default bitmap.
    Block empty(BlockFrom(With(dib, 4, 0)));
    Bitmap one(ConvertDIBToBitmap(empty.get()));
    BITMAP bm{};
    ASSERT_EQ(GetObjectA(one.get(), sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(bm.bmWidth * bm.bmHeight * bm.bmBitsPixel, 1);
}

}  // namespace
}  // namespace vxtest

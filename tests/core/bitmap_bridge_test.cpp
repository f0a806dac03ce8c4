// Tests of the bridge between DIBs and device bitmaps, against the real GDI under Wine and the
// Linux subset natively: round trips at every depth, the DIB a device bitmap of each depth
// becomes, the palette answers of a true-colour screen, and the refusals.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

// A DIB of each depth goes to a bitmap and back: 1 bit through a monochrome bitmap, the
// others through the true-colour screen into 24 bits. GDI's table replaces the bridge's and
// biClrUsed becomes 0. Device bitmaps of 16 to 32 bits become 24-bit DIBs too.
TEST(BitmapBridge, RoundTripsKeepThePictureAtEveryDepth) {
    VX_NEEDS_GDI();
    for (uint16_t bits : {1, 4, 8, 24}) {
        SCOPED_TRACE(bits);
        const Bytes source = bits == 1 ? MonoDib(13, 5, 1) : SeededDib(13, 5, bits, bits);
        Block dib(BlockFrom(source));
        Bitmap bitmap(ConvertDIBToBitmap(dib.get()));
        const Bytes back = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        const uint16_t depth = bits == 1 ? 1 : 24;
        ASSERT_EQ(back.size(), 40 + (depth == 1 ? 8 : 0) + Stride(13, depth) * 5 + 10u);
        EXPECT_EQ(GetU16(back, 14) << 16 | GetU32(back, 32), depth << 16);    // biBitCount, biClrUsed 0
        EXPECT_EQ(GetU32(back, 36), depth == 1 ? 2u : 0u);                       // biClrImportant
        EXPECT_EQ(Bytes(back.end() - 10, back.end()), Bytes(10, 0));             // the slack
        EXPECT_EQ(DibColours(back), DibColours(source));
    }
    for (auto [bits, depth] : {std::pair{4, 4}, {8, 8}, {16, 24}, {24, 24}, {32, 24}}) {
        Bitmap bitmap = MakeBitmap(7, 3, bits, [](int x, int y) { return (x * 40 + y * 90) % 256 * 0x010101u; });
        const Bytes dib = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        ASSERT_EQ(dib.size(), 40 + (depth < 24 ? 4u << depth : 0) + Stride(7, depth) * 3 + 10) << bits;
        EXPECT_EQ(DibColours(dib), BitmapColours(bitmap.get())) << bits;
    }
}

// Under Wine the screen has 32-bit true colour: no palette to read (NUMCOLORS -1).
TEST(BitmapBridge, TrueColourScreenHasNoPalette) {
    VX_NEEDS_GDI();
    SetImgError(IMGERR_SUCCESS);
    RGBQUAD table[256] = {};
    EXPECT_FALSE(GetSystemPalette(table) || GetSystemPalette(nullptr));
    EXPECT_EQ(ImgError(), IMGERR_SUCCESS);
    EXPECT_EQ(GetCurrentPalette(), nullptr);
    EXPECT_EQ(ImgError(), IMGERR_CREATEPALETTE);
}

// Black and white by nearness; a copy; a bitmap held by a DC still saves, and loads back.
TEST(BitmapBridge, MonochromeDuplicateAndFiles) {
    VX_NEEDS_GDI();
    Bitmap colour = MakeBitmap(9, 2, 32, [](int x, int y) { return x < 3 ? 0xFFFFFFu : x < 6 ? 0x202020u : y * 0xE0E0E0u; });
    Bitmap mono(ConvertToMonochromeBitmap(colour.get()));
    EXPECT_EQ(Describe(mono.get()).bmBitsPixel, 1);
    const Colour W = 0xFFFFFF;
    EXPECT_EQ(BitmapColours(mono.get()), (std::vector<Colour>{W, W, W, 0, 0, 0, 0, 0, 0, W, W, W, 0, 0, 0, W, W, W}));
    Bitmap copy(DuplicateBitmap(colour.get()));
    EXPECT_NE(copy.get(), colour.get());
    EXPECT_EQ(BitmapColours(copy.get()), BitmapColours(colour.get()));

    vx::MemoryDC dc;
    vx::ObjectSelection held(dc.get(), colour.get());
    TempDir dir;
    ASSERT_TRUE(SaveBitmap(dir.path("b.bmp").c_str(), colour.get(), nullptr));
    Bitmap loaded(LoadBitmapFromFile(dir.path("b.bmp").c_str()));
    EXPECT_EQ(BitmapColours(loaded.get()), BitmapColours(copy.get()));
}

TEST(BitmapBridge, RefusesWhatIsNoBitmapOrNoWholeDib) {
    VX_NEEDS_GDI();
    for (HBITMAP bad : NotBitmaps()) {
        SetImgError(kUntouched);
        EXPECT_EQ(ConvertBitmapToDIB(bad, nullptr), nullptr);
        EXPECT_EQ(ImgError(), kUntouched);
        EXPECT_EQ(ConvertToMonochromeBitmap(bad), nullptr);
        EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
        EXPECT_EQ(DuplicateBitmap(bad), nullptr);
        EXPECT_EQ(ImgError(), IMGERR_COPYBITS);
    }
    const Bytes dib = SeededDib(6, 3, 8);
    const Refusal dibs[] = {{"null", kNullHandle, kUntouched},
                            {"rows cut short", Cut(dib, dib.size() - 1), IMGERR_CREATEBITMAP},
                            {"2^31 - 1 wide", With(dib, 4, 0x7FFFFFFF), IMGERR_CREATEBITMAP},
                            {"2^31 - 1 high", With(dib, 8, 0x7FFFFFFF), IMGERR_CREATEBITMAP},
                            {"negative width", With(dib, 4, uint32_t(-6)), IMGERR_CREATEBITMAP}};
    for (const auto& c : dibs) {
        Bitmap made;
        const auto o = CallOn(c.source, [&](HDIB d) { return made = Bitmap(ConvertDIBToBitmap(d)), HDIB{}; });
        EXPECT_FALSE(made) << c.what;
        EXPECT_EQ(o.moduleCode, c.code) << c.what;
        EXPECT_TRUE(o.sourceUnchanged && !o.sourceLocked) << c.what;
    }
}

}  // namespace
}  // namespace vxtest

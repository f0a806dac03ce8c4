// Tests of the bridge between DIBs and device bitmaps, against the real GDI under Wine and the
// Linux subset natively: round trips at every depth, the DIB a device bitmap of each depth
// becomes, the palette answers of both kinds of screen, and the refusals.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "export_calls.hpp"

#if !defined(_WIN32) && __has_include("platform/posix/gdi/screen.hpp")
#include "platform/posix/gdi/screen.hpp"
#define VX_PALETTE_SCREEN 1
#endif

namespace vxtest {
namespace {

// GDI's 16 colours for a 4-bit DIB of a device bitmap. The bridge's default table, written
// first, has the two grays the other way round; GDI's rewrite wins.
void ExpectGdiSixteenColours(const Bytes& dib) {
    const Colour vga[] = {0, 0x800000, 0x8000, 0x808000, 0x80, 0x800080, 0x8080, 0x808080,
                          0xC0C0C0, 0xFF0000, 0xFF00, 0xFFFF00, 0xFF, 0xFF00FF, 0xFFFF, 0xFFFFFF};
    for (uint32_t i = 0; i < 16; ++i) EXPECT_EQ(GetU32(dib, 40 + i * 4), vga[i]) << i;
}

// A DIB of each depth goes to a bitmap and back: 1 bit through a monochrome bitmap, the
// others through the true-colour screen into 24 bits; biClrUsed becomes 0 (GetDIBits). Device
// bitmaps keep 4 and 8 bits and become 24-bit DIBs from 16 bits up.
TEST(BitmapBridge, RoundTripsKeepThePictureAtEveryDepth) {
    for (uint16_t bits : {1, 4, 8, 24}) {
        const Bytes source = bits == 1 ? MonoDib(13, 5, 1) : SeededDib(13, 5, bits, bits);
        Block dib(BlockFrom(source));
        Bitmap bitmap(ConvertDIBToBitmap(dib.get()));
        const Bytes back = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        const uint32_t depth = bits == 1 ? 1 : 24, colours = bits == 1 ? 2 : 0;
        ASSERT_EQ(back.size(), 40 + colours * 4 + Stride(13, depth) * 5 + 10) << bits;
        EXPECT_EQ(GetU16(back, 14) << 16 | GetU32(back, 32) << 8 | GetU32(back, 36), depth << 16 | colours);
        EXPECT_EQ(Bytes(back.end() - 10, back.end()), Bytes(10, 0));  // the slack
        EXPECT_EQ(DibColours(back), DibColours(source)) << bits;
    }
    for (auto [bits, depth] : {std::pair{4, 4}, {8, 8}, {16, 24}, {24, 24}, {32, 24}}) {
        Bitmap bitmap = MakeBitmap(7, 3, bits, [](int x, int y) { return (x * 40 + y * 90) % 256 * 0x010101u; });
        const Bytes dib = Take(ConvertBitmapToDIB(bitmap.get(), nullptr));
        ASSERT_EQ(dib.size(), 40 + (depth < 24 ? 4u << depth : 0) + Stride(7, depth) * 3 + 10) << bits;
        EXPECT_EQ(DibColours(dib), Transfer(bitmap.get())) << bits;
        if (bits == 4) ExpectGdiSixteenColours(dib);
    }
}

#ifdef VX_PALETTE_SCREEN
// Native only: the screen under Wine has no palette, so the palette paths run on the Linux
// subset's 8-bit palette screen. A 4-bit bitmap still gets 16 colours: the display's
// 256-entry palette has more entries than the DIB has colours.
TEST(BitmapBridge, PaletteScreenPathsRunNatively) {
    vx::posix::gdi::UsePaletteScreen(true);
    const struct Restore { ~Restore() { vx::posix::gdi::UsePaletteScreen(false); } } restore;
    SetImgError(kUntouched);
    vx::OwnedObject<HPALETTE> palette(GetCurrentPalette());
    WORD entries = 0;
    GetObjectA(palette.get(), sizeof entries, &entries);
    RGBQUAD table[256] = {};
    ASSERT_TRUE(GetSystemPalette(table));
    EXPECT_EQ(ImgError() << 16 | entries, kUntouched << 16 | 256);
    EXPECT_EQ(table[9].rgbRed << 16 | table[9].rgbGreen << 8 | table[9].rgbBlue, 0xA6CAF0);  // a static colour
    Bitmap four = MakeBitmap(5, 2, 4, [](int x, int y) { return x * y * 0x402010u; });
    ExpectGdiSixteenColours(Take(ConvertBitmapToDIB(four.get(), nullptr)));
}
#endif

// Black and white by nearness; a copy; a bitmap held by a DC still converts.
TEST(BitmapBridge, MonochromeCopiesAndHeldBitmaps) {
    Bitmap colour = MakeBitmap(9, 2, 32, [](int x, int y) { return x < 3 ? 0xFFFFFFu : x < 6 ? 0x202020u : y * 0xE0E0E0u; });
    Bitmap mono(ConvertToMonochromeBitmap(colour.get())), copy(DuplicateBitmap(colour.get()));
    const Colour W = 0xFFFFFF;
    EXPECT_EQ(Transfer(mono.get()), (std::vector<Colour>{W, W, W, 0, 0, 0, 0, 0, 0, W, W, W, 0, 0, 0, W, W, W}));
    EXPECT_NE(copy.get(), colour.get());
    EXPECT_EQ(Transfer(copy.get()), Transfer(colour.get()));
    vx::MemoryDC dc;
    vx::ObjectSelection held(dc.get(), colour.get());
    EXPECT_EQ(DibColours(Take(ConvertBitmapToDIB(colour.get(), nullptr))), Transfer(copy.get()));
}

// Under Wine the screen has 32-bit true colour: no palette to read (NUMCOLORS -1).
TEST(BitmapBridge, TrueColourScreenHasNoPaletteAndBadHandlesAreRefused) {
    SetImgError(IMGERR_SUCCESS);
    RGBQUAD table[256] = {};
    EXPECT_FALSE(GetSystemPalette(table) || GetSystemPalette(nullptr) || ImgError() != IMGERR_SUCCESS);
    EXPECT_TRUE(GetCurrentPalette() == nullptr && ImgError() == IMGERR_CREATEPALETTE);
    for (HBITMAP bad : NotBitmaps()) {
        SetImgError(kUntouched);
        EXPECT_TRUE(!ConvertBitmapToDIB(bad, nullptr) && ImgError() == kUntouched);
        EXPECT_TRUE(!ConvertToMonochromeBitmap(bad) && ImgError() == IMGERR_PARAMETER);
        EXPECT_TRUE(!DuplicateBitmap(bad) && ImgError() == IMGERR_COPYBITS);
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
        EXPECT_TRUE(!made && o.moduleCode == c.code && o.sourceUnchanged && !o.sourceLocked) << c.what;
    }
}

}  // namespace
}  // namespace vxtest

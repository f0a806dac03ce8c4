// Tests of the device-bitmap turns and InvertBitmap: each gives the picture its DIB operation
// gives the bridge's DIB of the bitmap (monochrome and true-colour bitmaps), leaves the source
// as it was, and refuses what is not a bitmap with IMGERR_BITMAPPARAMS.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

struct Turn { HBITMAP(VXCALL* bitmap)(HBITMAP); HDIB(VXCALL* dib)(HDIB); };
const Turn kTurns[] = {{RotateBitmap90, RotateDIB90}, {RotateBitmap180, RotateDIB180}, {RotateBitmap270, RotateDIB270},
                       {FlipBitmapVertical, FlipDIBVertical}, {FlipBitmapHorizontal, FlipDIBHorizontal}};

TEST(BitmapTurns, GiveTheDibOperationsPictureAndLeaveTheSource) {
    VX_NEEDS_GDI();
    const ColourAt paint = [](int x, int y) { return Colour(x * 0x1F0000 + y * 0x3300 + (x ^ y) * 0x11); };
    const ColourAt dots = [](int x, int y) { return (x * 3 + y) % 5 < 2 ? 0xFFFFFFu : 0u; };
    for (auto [bits, colour] : {std::pair{1, dots}, {32, paint}}) {
        Bitmap source = MakeBitmap(11, 6, bits, colour);
        const auto before = BitmapColours(source.get());
        Block dib(ConvertBitmapToDIB(source.get(), nullptr));
        for (const Turn& turn : kTurns) {
            Bitmap turned(turn.bitmap(source.get()));
            EXPECT_EQ(BitmapColours(turned.get()), DibColours(Take(turn.dib(dib.get())))) << bits << &turn - kTurns;
        }
        SetImgError(kUntouched);
        Bitmap negative(InvertBitmap(source.get()));
        EXPECT_EQ(ImgError(), kUntouched);
        std::vector<Colour> inverted = before;
        for (Colour& c : inverted) c ^= 0xFFFFFF;
        EXPECT_EQ(BitmapColours(negative.get()), inverted) << bits;
        EXPECT_EQ(BitmapColours(source.get()), before) << bits;
    }
}

TEST(BitmapTurns, RefuseWhatIsNoBitmap) {
    for (HBITMAP bad : NotBitmaps())
        for (auto turn : {RotateBitmap90, RotateBitmap180, RotateBitmap270, FlipBitmapVertical, FlipBitmapHorizontal,
                          InvertBitmap}) {
            SetImgError(kUntouched);
            EXPECT_EQ(turn(bad), nullptr);
            EXPECT_EQ(ImgError(), IMGERR_BITMAPPARAMS);
        }
}

}  // namespace
}  // namespace vxtest

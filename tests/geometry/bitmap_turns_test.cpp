// Tests of the device-bitmap turns and InvertBitmap: each gives the picture its DIB operation
// gives the bridge's DIB of the bitmap (monochrome and true-colour bitmaps), leaves the source
// as it was, and refuses what is not a bitmap with IMGERR_BITMAPPARAMS.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

using BitmapTurn = HBITMAP(VXCALL*)(HBITMAP);
const BitmapTurn kTurns[] = {RotateBitmap90, RotateBitmap180, RotateBitmap270, FlipBitmapVertical, FlipBitmapHorizontal};
const decltype(&RotateDIB90) kDibTurns[] = {RotateDIB90, RotateDIB180, RotateDIB270, FlipDIBVertical, FlipDIBHorizontal};

TEST(BitmapTurns, GiveTheDibOperationsPictureAndLeaveTheSource) {
    const ColourAt paint = [](int x, int y) { return Colour(x * 0x1F0000 + y * 0x3300 + (x ^ y) * 0x11); };
    const ColourAt dots = [](int x, int y) { return (x * 3 + y) % 5 < 2 ? 0xFFFFFFu : 0u; };
    for (auto [bits, colour] : {std::pair{1, dots}, {32, paint}}) {
        Bitmap source = MakeBitmap(11, 6, bits, colour);
        const auto before = Transfer(source.get());
        Block dib(ConvertBitmapToDIB(source.get(), nullptr));
        for (size_t i = 0; i < 5; ++i) {
            Bitmap turned(kTurns[i](source.get()));
            EXPECT_EQ(Transfer(turned.get()), DibColours(Take(kDibTurns[i](dib.get())))) << bits << " " << i;
        }
        SetImgError(kUntouched);
        Bitmap negative(InvertBitmap(source.get()));
        std::vector<Colour> inverted = before;
        for (Colour& c : inverted) c ^= 0xFFFFFF;
        EXPECT_TRUE(Transfer(negative.get()) == inverted && ImgError() == kUntouched) << bits;
        EXPECT_EQ(Transfer(source.get()), before) << bits;
    }
}

TEST(BitmapTurns, RefuseWhatIsNoBitmap) {
    for (HBITMAP bad : NotBitmaps())
        for (BitmapTurn turn : {kTurns[0], kTurns[1], kTurns[2], kTurns[3], kTurns[4], &InvertBitmap}) {
            SetImgError(kUntouched);
            EXPECT_TRUE(turn(bad) == nullptr && ImgError() == IMGERR_BITMAPPARAMS);
        }
}

}  // namespace
}  // namespace vxtest

// Tests of the device-bitmap turns and InvertBitmap: each gives the picture its DIB operation
// gives the bridge's DIB of the bitmap (monochrome and true-colour bitmaps), leaves the source
// as it was, and refuses what is not a bitmap with IMGERR_BITMAPPARAMS.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "dib_builder.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

struct Turn { const char* what; HBITMAP(VXCALL* bitmap)(HBITMAP); HDIB(VXCALL* dib)(HDIB); };
const Turn kTurns[] = {{"90", RotateBitmap90, RotateDIB90},       {"180", RotateBitmap180, RotateDIB180},
                       {"270", RotateBitmap270, RotateDIB270},    {"vertical", FlipBitmapVertical, FlipDIBVertical},
                       {"horizontal", FlipBitmapHorizontal, FlipDIBHorizontal}};

std::vector<Colour> ColoursOf(HDIB dib) {
    Block owned(dib);
    return owned ? DibColours(BlockBytes(dib)) : std::vector<Colour>{};
}

TEST(BitmapTurns, GiveTheDibOperationsPictureAndLeaveTheSource) {
    VX_NEEDS_GDI();
    const ColourAt paint = [](int x, int y) { return Colour(x * 0x1F0000 + y * 0x3300 + (x ^ y) * 0x11); };
    const ColourAt dots = [](int x, int y) { return (x * 3 + y) % 5 < 2 ? 0xFFFFFFu : 0u; };
    for (auto [bits, colour] : {std::pair{1, dots}, {32, paint}}) {
        SCOPED_TRACE(bits);
        Bitmap source = MakeBitmap(11, 6, bits, colour);
        const auto before = BitmapColours(source.get());
        Block dib(ConvertBitmapToDIB(source.get(), nullptr));
        for (const Turn& turn : kTurns) {
            SCOPED_TRACE(turn.what);
            Bitmap turned(turn.bitmap(source.get()));
            ASSERT_TRUE(turned);
            EXPECT_EQ(BitmapColours(turned.get()), ColoursOf(turn.dib(dib.get())));
        }
        SetImgError(kUntouched);
        Bitmap negative(InvertBitmap(source.get()));
        EXPECT_EQ(ImgError(), kUntouched);
        std::vector<Colour> inverted = before;
        for (Colour& c : inverted) c ^= 0xFFFFFF;
        EXPECT_EQ(BitmapColours(negative.get()), inverted);
        EXPECT_EQ(BitmapColours(source.get()), before);
    }
}

TEST(BitmapTurns, RefuseWhatIsNoBitmap) {
    HBITMAP deleted = CreateBitmap(3, 3, 1, 1, nullptr);
    DeleteObject(deleted);
    const HBITMAP palette = reinterpret_cast<HBITMAP>(GetStockObject(DEFAULT_PALETTE));
    for (HBITMAP bad : {HBITMAP{}, deleted, palette}) {
        for (const Turn& turn : kTurns) {
            SetImgError(kUntouched);
            EXPECT_EQ(turn.bitmap(bad), nullptr) << turn.what;
            EXPECT_EQ(ImgError(), IMGERR_BITMAPPARAMS) << turn.what;
        }
        EXPECT_EQ(InvertBitmap(bad), nullptr);
    }
}

}  // namespace
}  // namespace vxtest

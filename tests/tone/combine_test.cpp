// Tests of CombineDIB and CombineBMP on the real GDI (Wine) and the Linux subset: the four
// paste modes pixel by pixel against a model, the copy made for a missing destination, the
// modified source and mask, and the refusals with the family's codes.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "dib_builder.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

Bytes MonoDib(int w, int h, uint32_t seed) {
    Bytes dib = SeededDib(w, h, 1, seed);
    std::copy_n("\0\0\0\0\xff\xff\xff", 8, dib.begin() + 40);
    return dib;
}

// A 3 x 2 source pasted at (2, 1) into a 6 x 4 destination. The opaque blit has the
// destination's size but GDI clips it to the source: the destination beyond stays.
TEST(Combine, PasteModesMatchTheModel) {
    VX_NEEDS_GDI();
    const Bytes dest = SeededDib(6, 4, 24, 1), source = SeededDib(3, 2, 24, 2), mask = MonoDib(3, 2, 3);
    struct Mode { const char* what; bool masked; BOOL alt; Colour (*model)(Colour d, Colour s, bool m); };
    const Mode modes[] = {{"opaque", false, FALSE, [](Colour, Colour s, bool) { return s; }},
                          {"or", false, TRUE, [](Colour d, Colour s, bool) { return d | s; }},
                          {"masked", true, FALSE, [](Colour d, Colour s, bool m) { return m ? s : d; }},
                          {"xor", true, TRUE, [](Colour d, Colour s, bool m) { return m ? d ^ s : d; }}};
    for (const Mode& mode : modes) {
        SCOPED_TRACE(mode.what);
        Block d(BlockFrom(dest)), s(BlockFrom(source)), m(BlockFrom(mask));
        HDIB target = d.get();
        ASSERT_TRUE(CombineDIB(2, 1, &target, s.get(), mode.masked ? m.get() : nullptr, mode.alt));
        std::vector<Colour> want = DibColours(dest);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                want[size_t(y + 1) * 6 + x + 2] = mode.model(want[size_t(y + 1) * 6 + x + 2], DibColour(source, x, y),
                                                             DibColour(mask, x, y) != 0);
        EXPECT_EQ(DibColours(BlockBytes(target)), want);
        EXPECT_EQ(BlockBytes(s.get()), source);
    }
}

// The masked paste works on the caller's bitmaps: the source comes back masked and a
// monochrome mask inverted.
TEST(Combine, BitmapSourceAndMaskComeBackModified) {
    VX_NEEDS_GDI();
    const ColourAt paint = [](int x, int y) { return Colour(0x102030 * (x + 1) + y * 0x400000); };
    const ColourAt holes = [](int x, int y) { return (x + y) % 2 ? 0xFFFFFFu : 0u; };
    Bitmap dest = MakeBitmap(4, 4, 32, paint), source = MakeBitmap(2, 2, 32, paint), mask = MakeBitmap(2, 2, 1, holes);
    HBITMAP target = dest.get();
    ASSERT_TRUE(CombineBMP(1, 1, &target, source.get(), mask.get(), FALSE));
    EXPECT_EQ(BitmapColours(source.get()), (std::vector<Colour>{0, paint(1, 0), paint(0, 1), 0}));
    EXPECT_EQ(BitmapColours(mask.get()), (std::vector<Colour>{0xFFFFFF, 0, 0, 0xFFFFFF}));
}

TEST(Combine, MissingDestinationBecomesACopy) {
    VX_NEEDS_GDI();
    const Bytes source = SeededDib(5, 3, 8, 4);
    Block s(BlockFrom(source));
    HDIB copy = nullptr;
    ASSERT_EQ(CombineDIB(7, 7, &copy, s.get(), s.get(), TRUE), TRUE);
    Block owned(copy);
    EXPECT_EQ(BlockBytes(copy), source);

    Bitmap bitmap = MakeBitmap(3, 2, 32, [](int x, int y) { return Colour(x * 0x50 + y * 0x5000); });
    HBITMAP made = nullptr;
    ASSERT_EQ(CombineBMP(0, 0, &made, bitmap.get(), nullptr, FALSE), TRUE);
    Bitmap ownedBitmap(made);
    EXPECT_EQ(BitmapColours(made), BitmapColours(bitmap.get()));
}

TEST(Combine, RefusalsStoreTheFamilyCodes) {
    VX_NEEDS_GDI();
    const Bytes dest = SeededDib(6, 4, 24), source = SeededDib(3, 2, 8), mask = MonoDib(3, 2, 1);
    struct Case { const char* what; Source source; bool withDest; Bytes mask; int code; };
    const Case cases[] = {{"null source", kNullHandle, true, {}, COMBINE_ERR_NOSOURCE},
                          {"mask of another size", source, true, MonoDib(2, 2, 1), COMBINE_ERR_MASKSIZE},
                          {"source rows cut short", Cut(source, source.size() - 1), true, mask, COMBINE_ERR_TOBITMAP},
                          {"mask rows cut short", source, true, Cut(mask, mask.size() - 1), COMBINE_ERR_TOBITMAP},
                          {"compressed source to copy", With(source, 16, 1), false, {}, COMBINE_ERR_COMPRESSED},
                          {"source to copy cut short", Cut(source, source.size() - 1), false, {}, IMGERR_DIBSIZE},
                          {"source header cut short", Cut(source, 39), false, {}, IMGERR_DIBSIZE}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Block d(BlockFrom(dest)), m(c.mask.empty() ? nullptr : BlockFrom(c.mask));
        HDIB target = c.withDest ? d.get() : nullptr;
        const auto o = CallOn(c.source, [&](HDIB s) {
            EXPECT_FALSE(CombineDIB(0, 0, &target, s, m.get(), 0));
            return HDIB{};
        });
        EXPECT_EQ(o.moduleCode, c.code);
        EXPECT_EQ(target, c.withDest ? d.get() : nullptr);
        EXPECT_EQ(BlockBytes(d.get()), dest);
        EXPECT_TRUE(o.sourceUnchanged);
    }
    Block s(BlockFrom(source));
    EXPECT_FALSE(CombineDIB(0, 0, nullptr, s.get(), nullptr, 0));
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);
}

// Bitmaps that cannot take part: a mask of another size (501, nothing drawn), a destination
// held by another DC or deleted (FALSE without a code, nothing drawn).
TEST(Combine, BitmapRefusalsDrawNothing) {
    VX_NEEDS_GDI();
    const ColourAt grey = [](int x, int) { return x * 0x111111u; };
    Bitmap dest = MakeBitmap(4, 4, 32, grey), source = MakeBitmap(2, 2, 32, grey), mask = MakeBitmap(3, 2, 1, grey);
    HBITMAP deleted = CreateBitmap(4, 4, 1, 32, nullptr);
    DeleteObject(deleted);
    const auto before = BitmapColours(source.get());
    HBITMAP target = dest.get();
    SetImgError(kUntouched);
    EXPECT_FALSE(CombineBMP(0, 0, &target, source.get(), mask.get(), FALSE));
    EXPECT_EQ(ImgError(), COMBINE_ERR_MASKSIZE);
    vx::MemoryDC other;
    {
        vx::ObjectSelection held(other.get(), dest.get());
        SetImgError(kUntouched);
        EXPECT_FALSE(CombineBMP(0, 0, &target, source.get(), nullptr, FALSE));
    }
    target = deleted;
    EXPECT_FALSE(CombineBMP(0, 0, &target, source.get(), nullptr, FALSE));
    EXPECT_EQ(ImgError(), kUntouched);
    EXPECT_EQ(BitmapColours(source.get()), before);
    EXPECT_EQ(BitmapColours(dest.get()), BitmapColours(MakeBitmap(4, 4, 32, grey).get()));
}

}  // namespace
}  // namespace vxtest

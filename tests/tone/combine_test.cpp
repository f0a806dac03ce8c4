// Tests of CombineDIB and CombineBMP on the real GDI (Wine) and the Linux subset: the four
// paste modes pixel by pixel against a model, the copy made for a missing destination, the
// modified source and mask, and the refusals with the family's codes.
#include <gtest/gtest.h>

#include "bitmap_fixtures.hpp"
#include "export_calls.hpp"

namespace vxtest {
namespace {

// A 3 x 2 source pasted at (2, 1) into a 6 x 4 destination. The opaque blit has the
// destination's size but GDI clips it to the source: the destination beyond stays.
TEST(Combine, PasteModesMatchTheModel) {
    const Bytes dest = SeededDib(6, 4, 24, 1), source = SeededDib(3, 2, 24, 2), mask = MonoDib(3, 2, 3);
    const auto sourceColours = DibColours(source), maskColours = DibColours(mask);
    struct Mode { bool masked; BOOL alt; Colour (*model)(Colour d, Colour s, bool m); };
    const Mode modes[] = {{false, FALSE, [](Colour, Colour s, bool) { return s; }},
                          {false, TRUE, [](Colour d, Colour s, bool) { return d | s; }},
                          {true, FALSE, [](Colour d, Colour s, bool m) { return m ? s : d; }},
                          {true, TRUE, [](Colour d, Colour s, bool m) { return m ? d ^ s : d; }}};
    for (const Mode& mode : modes) {
        Block d(BlockFrom(dest)), s(BlockFrom(source)), m(BlockFrom(mask));
        HDIB target = d.get();
        ASSERT_TRUE(CombineDIB(2, 1, &target, s.get(), mode.masked ? m.get() : nullptr, mode.alt));
        std::vector<Colour> want = DibColours(dest);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                Colour& pixel = want[size_t(y + 1) * 6 + x + 2];
                pixel = mode.model(pixel, sourceColours[size_t(y) * 3 + x], maskColours[size_t(y) * 3 + x] != 0);
            }
        EXPECT_EQ(DibColours(BlockBytes(target)), want) << mode.masked << mode.alt;
        EXPECT_EQ(BlockBytes(s.get()), source);
    }
}

// A missing destination becomes a copy of the source. A masked paste works on the caller's
// bitmaps: the source comes back masked and a monochrome mask inverted.
TEST(Combine, CopiesAndModifiedBitmaps) {
    const Bytes dib = SeededDib(5, 3, 8, 4);
    Block s(BlockFrom(dib));
    HDIB copy = nullptr;
    ASSERT_EQ(CombineDIB(7, 7, &copy, s.get(), s.get(), TRUE), TRUE);
    EXPECT_EQ(Take(copy), dib);

    const ColourAt paint = [](int x, int y) { return Colour(0x102030 * (x + 1) + y * 0x400000); };
    Bitmap source = MakeBitmap(2, 2, 32, paint), mask = MakeBitmap(2, 2, 1, [](int x, int y) { return (x + y) % 2 * 0xFFFFFFu; });
    HBITMAP made = nullptr;
    ASSERT_EQ(CombineBMP(0, 0, &made, source.get(), nullptr, FALSE), TRUE);
    Bitmap dest(made);
    EXPECT_EQ(Transfer(made), Transfer(source.get()));
    ASSERT_TRUE(CombineBMP(1, 1, &made, source.get(), mask.get(), FALSE));
    EXPECT_EQ(Transfer(source.get()), (std::vector<Colour>{0, paint(1, 0), paint(0, 1), 0}));
    EXPECT_EQ(Transfer(mask.get()), (std::vector<Colour>{0xFFFFFF, 0, 0, 0xFFFFFF}));
}

TEST(Combine, RefusalsStoreTheFamilyCodesAndDrawNothing) {
    const Bytes dest = SeededDib(6, 4, 24), source = SeededDib(3, 2, 8), mask = MonoDib(3, 2, 1);
    struct Case { const char* what; Source source; bool withDest; Bytes mask; int code; };
    const Case cases[] = {{"null source", kNullHandle, true, {}, COMBINE_ERR_NOSOURCE},
                          {"mask of another size", source, true, MonoDib(2, 2, 1), COMBINE_ERR_MASKSIZE},
                          {"source rows cut short", Cut(source, source.size() - 1), true, mask, COMBINE_ERR_TOBITMAP},
                          {"compressed source to copy", With(source, 16, 1), false, {}, COMBINE_ERR_COMPRESSED},
                          {"source to copy cut short", Cut(source, source.size() - 1), false, {}, IMGERR_DIBSIZE}};
    for (const Case& c : cases) {
        Block d(BlockFrom(dest)), m(c.mask.empty() ? nullptr : BlockFrom(c.mask));
        HDIB target = c.withDest ? d.get() : nullptr;
        BOOL done = TRUE;
        const auto o = CallOn(c.source, [&](HDIB s) { return done = CombineDIB(0, 0, &target, s, m.get(), 0), HDIB{}; });
        EXPECT_TRUE(!done && o.sourceUnchanged && o.moduleCode == c.code) << c.what;
        EXPECT_TRUE(target == (c.withDest ? d.get() : nullptr) && BlockBytes(d.get()) == dest) << c.what;
    }
    Block s(BlockFrom(source));
    EXPECT_FALSE(CombineDIB(0, 0, nullptr, s.get(), nullptr, 0));
    EXPECT_EQ(ImgError(), IMGERR_PARAMETER);

    // Bitmaps: a mask of another size (501), a destination held by another DC or deleted
    // (FALSE without a code); nothing is drawn and the source stays as it was.
    const ColourAt grey = [](int x, int) { return x * 0x222222u; };
    Bitmap target = MakeBitmap(4, 4, 32, grey), from = MakeBitmap(2, 2, 32, grey), wide = MakeBitmap(3, 2, 1, grey);
    const auto before = Transfer(target.get());
    HBITMAP handle = target.get(), deleted = NotBitmaps()[1];
    EXPECT_TRUE(!CombineBMP(0, 0, &handle, from.get(), wide.get(), FALSE) && ImgError() == COMBINE_ERR_MASKSIZE);
    vx::MemoryDC other;
    vx::ObjectSelection held(other.get(), handle);
    EXPECT_FALSE(CombineBMP(0, 0, &handle, from.get(), nullptr, TRUE) || CombineBMP(0, 0, &deleted, from.get(), nullptr, TRUE) ||
                 ImgError() != COMBINE_ERR_MASKSIZE);
    EXPECT_EQ(Transfer(from.get()), (std::vector<Colour>{0, 0x222222, 0, 0x222222}));
    EXPECT_EQ(Transfer(target.get()), before);
}

}  // namespace
}  // namespace vxtest

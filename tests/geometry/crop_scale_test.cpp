// crop_scale_test.cpp - the nearest-neighbour crop-and-scale members against a per-pixel model
// of the mapping, over rectangles inside, across and at the edges of seeded images of every
// depth; and the arguments they refuse.

#include <random>

#include "dib_builder.hpp"
#include "geometry/crop_scale.hpp"
#include "scale_models.hpp"

using namespace vxtest;
using namespace vx::geometry;

namespace {

using CropFn = HDIB (*)(const LockedDib&, int, int, int, int, int, int);

CropFn Member(int bits) { return bits == 1 ? CropScale1 : bits == 4 ? CropScale4 : bits == 8 ? CropScale8 : CropScale24; }

LockedDib View(const Bytes& b) { return ViewPackedDib(b.data(), b.size()).value(); }  // throws, failing the test, if refused

TEST(CropScale, EveryDepthMatchesThePixelModel) {
    const struct { int w, h; } images[] = {{1, 1}, {7, 5}, {33, 9}, {64, 20}, {100, 3}};
    for (int bits : {1, 4, 8, 24})
        for (const auto& im : images) {
            std::mt19937 random(uint32_t(bits * 100 + im.w));
            const Bytes src = SeededDib(im.w, im.h, uint16_t(bits), uint32_t(im.w + bits));
            for (int trial = 0; trial < 40; ++trial) {
                const int x0 = int(random() % uint32_t(im.w)), y0 = int(random() % uint32_t(im.h));
                // Rectangles inside, flush with and reaching past the right and bottom edges.
                const int w = 1 + int(random() % uint32_t(im.w + 4 - (trial % 2) * x0));
                const int h = 1 + int(random() % uint32_t(im.h + 3));
                const int outW = trial % 5 == 0 ? w : 1 + int(random() % 70);
                const int outH = trial % 7 == 0 ? h : 1 + int(random() % 40);
                SCOPED_TRACE(testing::Message() << bits << "-bit " << im.w << "x" << im.h << " rect " << x0 << "," << y0
                                                << " " << w << "x" << h << " -> " << outW << "x" << outH);
                Block out(Member(bits)(View(src), x0, y0, w, h, outW, outH)), dispatched(CropScaleDib(View(src), x0, y0, w, h, outW, outH));
                ASSERT_NE(out, nullptr);
                EXPECT_EQ(BlockBytes(out.get()), ModelCropScale(src, x0, y0, w, h, outW, outH));
                EXPECT_EQ(BlockBytes(dispatched.get()), BlockBytes(out.get()));
            }
        }
}

TEST(CropScale, RefusesWhatItCannotRead) {
    const Bytes src = SeededDib(20, 10, 8, 6);
    const LockedDib view = View(src);
    struct Case { const char* what; int x0, y0, w, h, outW, outH; } cases[] = {
        {"x0 negative", -1, 0, 5, 5, 5, 5}, {"y0 negative", 0, -1, 5, 5, 5, 5}, {"x0 at the width", 20, 0, 5, 5, 5, 5},
        {"y0 at the height", 0, 10, 5, 5, 5, 5}, {"zero width", 0, 0, 0, 5, 5, 5}, {"zero height", 0, 0, 5, 0, 5, 5},
        {"zero output width", 0, 0, 5, 5, 0, 5}, {"negative output height", 0, 0, 5, 5, 5, -2},
        {"over 4 GiB", 0, 0, 5, 5, 70000, 70000},
    };
    for (const Case& c : cases) EXPECT_EQ(CropScale8(view, c.x0, c.y0, c.w, c.h, c.outW, c.outH), nullptr) << c.what;
    // Another depth's member, rows past the bytes given, and a header that says 1 row too many.
    EXPECT_EQ(CropScale4(view, 0, 0, 5, 5, 5, 5), nullptr);
    LockedDib shortRows = view;
    shortRows.bitsBytes -= 1;
    EXPECT_EQ(CropScale8(shortRows, 0, 0, 5, 5, 5, 5), nullptr);
    EXPECT_EQ(CropScale8(View(With(src, 8, 11)), 0, 0, 5, 5, 5, 5), nullptr);
    EXPECT_EQ(CropScaleDib(View(With(src, 12, 1 | 2 << 16)), 0, 0, 5, 5, 5, 5), nullptr);
    EXPECT_FALSE(ViewPackedDib(src.data(), 39).has_value());
    EXPECT_FALSE(ViewPackedDib(src.data(), 40 + 1023).has_value());
}

}  // namespace

// print_layout_test.cpp - the page arithmetic and texts of a print job (print_layout.hpp);
// print_job_test.cpp checks the same layouts on paper.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <string>

#include "print/print_layout.hpp"

namespace {

using namespace vx::print;

std::array<double, 4> Edges(const InchRect& r) { return {r.left, r.top, r.right, r.bottom}; }
std::array<int, 4> Edges(const PixelRect& r) { return {r.left, r.top, r.right, r.bottom}; }
std::array<double, 2> Edges(const Resolution& r) { return {r.x, r.y}; }

TEST(PrintLayout, PagesBandsAndPixels) {
    // 300 x 300 at 100 dpi on 8 x 10 inches, fitted: scaled by 8/3, centred 1 inch down.
    const PageLayout fitted = LayOutPage({300, 300, {100, 100}, 8, 10, true, false, true, true});
    EXPECT_EQ(fitted.scale, 8.0 / 3);
    EXPECT_EQ(Edges(fitted.pixelsPerInch), (std::array{37.5, 37.5}));
    EXPECT_EQ(Edges(fitted.printed), (std::array{0., 1., 8., 9.}));
    // Stretched, whatever the aspect (print_job_test prints it): pixels per inch per axis.
    EXPECT_EQ(Edges(LayOutPage({300, 200, {100, 100}, 8, 10, false, true, false, false}).pixelsPerInch), (std::array{37.5, 20.}));
    // The top band of a printer banding in 1500-dot strips, back to pixels; edges round half up.
    InchRect piece;
    ASSERT_TRUE(IntersectInches(BandInches(0, 0, 2400, 1500, {300, 300}), fitted.printed, piece));
    EXPECT_EQ(Edges(SourcePixels(piece, fitted)), (std::array{0, 0, 300, 150}));
    EXPECT_EQ(Edges(DevicePixels(piece, {300, 300})), (std::array{0, 300, 2400, 1500}));
    EXPECT_EQ(Edges(SourcePixels({0.02, 1.02, 0.06, 1.06}, fitted)), (std::array{1, 1, 2, 2}));
    // Touching rectangles share nothing; the answer is zeroed.
    EXPECT_FALSE(IntersectInches({1, 0, 8, 1}, fitted.printed, piece));
    EXPECT_EQ(Edges(piece), (std::array{0., 0., 0., 0.}));
    // A page of no inches gives the x86 conversion's answer, not undefined behaviour.
    const PageLayout none = LayOutPage({300, 300, {100, 100}, 0, 0, false, true, false, false});
    EXPECT_EQ(SourcePixels({0, 0, 1, 1}, none).right, INT_MIN);
}

TEST(PrintLayout, ResolutionAndTexts) {
    // print_job_test prints at the caller's, the header's and (with no pels per metre) the
    // printer's resolution; values that are not positive count as absent, axis by axis.
    const int given[2] = {150, 0};
    EXPECT_EQ(Edges(ImageResolution({300, 600}, true, given, 1, 1)), (std::array{150., 600.}));
    EXPECT_EQ(PageText("title", 0, 3) + PageText("", INT_MAX, -1), "title  Page: 1 / 3  Page: -2147483648 / -1");
    EXPECT_EQ(DocumentTitle("C:\\scans\\page.bmp") + DocumentTitle(nullptr), "page.bmp");
    // Leading commas skipped, driver and port cut at commas and spaces.
    const std::array<std::string, 4> entries[] = {{",,Laser, winspool ,  LPT1: x", "Laser", "winspool", "LPT1:"}, {",,,"}};
    for (const auto& e : entries) {
        const DeviceEntry d = SplitDeviceEntry(e[0]);
        EXPECT_EQ((std::array{d.name, d.driver, d.port}), (std::array{e[1], e[2], e[3]}));
        EXPECT_EQ(d.noName, e[1].empty());
    }
}

}  // namespace

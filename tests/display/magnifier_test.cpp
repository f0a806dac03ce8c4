// magnifier_test.cpp - the magnifier lens: the source rectangle arithmetic, and on a real
// window the lens's frame, its stretched picture (gray outside the source bitmap) and the
// window given back as the lens moves and stops.
#include "display_support.hpp"
#include "gdi_guards.hpp"

namespace {

TEST(Magnifier, SourceRectangleIsCentredOnThePoint) {
    struct Case { int ratio[4]; int x, y; RECT rect; int resetTo[4]; };
    const Case cases[] = {
        {{20, 10, 20, 10}, 100, 100, {57, 82, 143, 118}, {20, 10, 20, 10}},
        {{10, 20, 10, 20}, 100, 100, {14, 64, 186, 136}, {10, 10, 10, 10}},
        {{0, 3, 30, 10}, 0, 0, {-86, -12, 86, 12}, {10, 10, 30, 10}},
        {{40, 10, 10, 10}, 5, 7, {-16, -29, 27, 43}, {40, 10, 10, 10}},
    };
    ASSERT_EQ((std::array{M_GetWidth(), M_GetHeight()}), (std::array{180, 80}));
    for (const Case& c : cases) {
        std::array<int, 4> ratio = std::to_array(c.ratio);
        RECT rect{};
        ASSERT_EQ(M_CalcRect(c.x, c.y, ratio.data(), &rect), 1);
        EXPECT_TRUE(vxtest::SameRect(rect, c.rect)) << c.ratio[0] << ":" << c.ratio[1];
        EXPECT_EQ(ratio, std::to_array(c.resetTo));
    }
    int noY[4] = {20, 10, 0, 10}, noYDiv[4] = {20, 10, 20, 0};
    RECT rect{};
    EXPECT_EQ(M_CalcRect(0, 0, noY, &rect) + M_CalcRect(0, 0, noYDiv, &rect) + M_CalcRect(0, 0, nullptr, &rect) +
                  M_CalcRect(0, 0, noY, nullptr), 0);

    EXPECT_EQ(M_SetSizes(60, 30), 1);
    int ratio[4] = {10, 10, 10, 10};
    M_CalcRect(50, 50, ratio, &rect);
    EXPECT_EQ(std::vector<LONG>({M_GetWidth(), M_GetHeight(), rect.right - rect.left, rect.bottom - rect.top}),
              std::vector<LONG>({60, 30, 52, 22}));
    M_SetSizes(180, 80);
}

constexpr int kWidth = 300, kHeight = 200, kCell = 8;
constexpr uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kGray = 0x808080, kRed = 0xFF0000;

// Paints the client area as a grid of cells of different colours.
void PaintGrid(HWND window) {
    PAINTSTRUCT paint;
    HDC dc = BeginPaint(window, &paint);
    for (int y = 0; y < kHeight; y += kCell)
        for (int x = 0; x < kWidth; x += kCell) {
            HGDIOBJ previous = SelectObject(dc, CreateSolidBrush(vxtest::Pattern(x, y)));
            PatBlt(dc, x, y, kCell, kCell, PATCOPY);
            DeleteObject(SelectObject(dc, previous));
        }
    EndPaint(window, &paint);
}

// The window's pixels with the lens's picture read from `shown` at (x, y).
std::vector<uint32_t> WithLens(std::vector<uint32_t> pixels, const std::vector<uint32_t>& shown, int x, int y) {
    for (int row = y; row < y + 80; ++row)
        for (int column = x; column < x + 180; ++column) pixels[row * kWidth + column] = shown[row * kWidth + column];
    return pixels;
}

TEST(Magnifier, LensShowsFramedPictureAndGivesTheWindowBack) {
    vxtest::PaintWindow window(kWidth, kHeight);
    ASSERT_TRUE(window);
    const std::vector<uint32_t> before = window.show(PaintGrid);

    ASSERT_EQ(M_StartMagnify(window.get(), nullptr), 1);
    M_CopyBitmap(window.get(), 0, 0);  // not filled yet: gray in the frame
    std::vector<uint32_t> shown = window.pixels();
    EXPECT_EQ((std::array{window.pixel(shown, 90, 40), window.pixel(shown, 0, 0)}), (std::array{kGray, kBlack}));

    const std::vector<uint32_t> redPixels(50 * 50, kRed);
    vx::OwnedObject<HBITMAP> red(CreateBitmap(50, 50, 1, 32, redPixels.data()));
    // 100 x 50 from x = -25: the bitmap fills lens columns 45 to 134, gray either side.
    M_StretchBitmap(red.get(), -25, 0, 100, 50);
    M_CopyBitmap(window.get(), 10, 20);
    shown = window.pixels();
    struct Expected { int x, y; uint32_t colour; };
    const Expected frame[] = {
        {0, 0, kBlack},   {179, 79, kBlack}, {90, 0, kBlack},   {3, 3, kBlack},   {176, 76, kBlack}, {90, 76, kBlack},
        {1, 1, kWhite},   {1, 40, kWhite},   {1, 78, kWhite},   {178, 1, kGray},  {178, 40, kGray},  {90, 78, kGray},
        {2, 2, kGray},    {2, 40, kGray},    {90, 2, kGray},    {177, 2, kWhite}, {177, 40, kWhite}, {90, 77, kWhite},
        {20, 40, kGray},  {44, 40, kGray},   {45, 40, kRed},    {90, 4, kRed},    {134, 75, kRed},   {135, 40, kGray},
        {160, 40, kGray},
    };
    for (const Expected& e : frame)
        EXPECT_EQ(window.pixel(shown, 10 + e.x, 20 + e.y), e.colour) << "lens pixel " << e.x << "," << e.y;
    EXPECT_TRUE(shown == WithLens(before, shown, 10, 20));

    M_CopyBitmap(window.get(), 100, 90);  // overlapping the first place
    M_CopyBitmap(window.get(), 110, 110);
    const std::vector<uint32_t> moved = window.pixels();
    EXPECT_TRUE(moved == WithLens(before, moved, 110, 110));
    EXPECT_EQ(window.pixel(moved, 110 + 90, 110 + 40), kRed);

    EXPECT_EQ(M_StopMagnify(), 1);
    EXPECT_TRUE(window.pixels() == before);
    M_CopyBitmap(window.get(), 0, 0);  // stopped: nothing happens
    EXPECT_TRUE(window.pixels() == before);
}

}  // namespace

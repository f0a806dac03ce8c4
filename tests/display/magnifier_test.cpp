// magnifier_test.cpp - the magnifier lens: the source rectangle arithmetic, and on a real
// window the lens's frame, its stretched picture (gray outside the source bitmap) and the
// window given back as the lens moves and stops.
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "gdi_support.hpp"
#include "test_window.hpp"
#include "vexora.h"

namespace {

TEST(Magnifier, SourceRectangleIsCentredOnThePoint) {
    struct Case { int ratio[4]; int x, y; RECT rect; int resetTo[4]; };
    const Case cases[] = {
        {{20, 10, 20, 10}, 100, 100, {57, 82, 143, 118}, {20, 10, 20, 10}},
        {{10, 20, 10, 20}, 100, 100, {14, 64, 186, 136}, {10, 10, 10, 10}},
        {{0, 3, 30, 10}, 0, 0, {-86, -12, 86, 12}, {10, 10, 30, 10}},
        {{40, 10, 10, 10}, 5, 7, {-16, -29, 27, 43}, {40, 10, 10, 10}},
    };
    ASSERT_EQ(M_GetWidth(), 180);
    ASSERT_EQ(M_GetHeight(), 80);
    for (const Case& c : cases) {
        int ratio[4] = {c.ratio[0], c.ratio[1], c.ratio[2], c.ratio[3]};
        RECT rect{};
        ASSERT_EQ(M_CalcRect(c.x, c.y, ratio, &rect), 1);
        EXPECT_EQ(std::vector<LONG>({rect.left, rect.top, rect.right, rect.bottom}),
                  std::vector<LONG>({c.rect.left, c.rect.top, c.rect.right, c.rect.bottom})) << c.ratio[0] << ":" << c.ratio[1];
        EXPECT_EQ(std::vector<int>(ratio, ratio + 4), std::vector<int>(c.resetTo, c.resetTo + 4));
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
std::optional<LRESULT> PaintGrid(HWND window, UINT message, WPARAM, LPARAM) {
    if (message != WM_PAINT) return std::nullopt;
    PAINTSTRUCT paint;
    HDC dc = BeginPaint(window, &paint);
    for (int y = 0; y < kHeight; y += kCell) {
        for (int x = 0; x < kWidth; x += kCell) {
            HBRUSH brush = CreateSolidBrush(vxtest::Mix(x, y));
            HGDIOBJ previous = SelectObject(dc, brush);
            PatBlt(dc, x, y, kCell, kCell, PATCOPY);
            DeleteObject(SelectObject(dc, previous));
        }
    }
    EndPaint(window, &paint);
    return 0;
}

// The window's pixels with the lens's picture read from `shown` at (x, y).
std::vector<uint32_t> WithLens(std::vector<uint32_t> pixels, const std::vector<uint32_t>& shown, int x, int y) {
    for (int row = y; row < y + 80; ++row) {
        for (int column = x; column < x + 180; ++column) pixels[row * kWidth + column] = shown[row * kWidth + column];
    }
    return pixels;
}

TEST(Magnifier, LensShowsFramedPictureAndGivesTheWindowBack) {
    vxtest::TestWindow window(kWidth, kHeight, PaintGrid);
    ASSERT_TRUE(window);
    window.pump();
    const std::vector<uint32_t> before = window.pixels();

    ASSERT_EQ(M_StartMagnify(window.get(), nullptr), 1);
    M_CopyBitmap(window.get(), 0, 0);  // not filled yet: gray in the frame
    std::vector<uint32_t> shown = window.pixels();
    EXPECT_EQ(window.pixel(shown, 90, 40), kGray);
    EXPECT_EQ(window.pixel(shown, 0, 0), kBlack);

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
    for (const Expected& e : frame) {
        EXPECT_EQ(window.pixel(shown, 10 + e.x, 20 + e.y), e.colour) << "lens pixel " << e.x << "," << e.y;
    }
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

// GDI objects and the guards over them: kinds, lifetimes, refusals of foreign handles,
// palette look-ups and selections. The same cases run against the library's object table on
// Linux and against GDI under Wine, so they pin down that both answer alike.
#include <gtest/gtest.h>

#include <cstdint>

#include "gdi_support.hpp"

namespace {

using vxtest::MakePalette;

HPALETTE MakeFour() { return MakePalette({{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {10, 11, 12, 0}}); }
HPALETTE Stock() { return static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)); }

}  // namespace

// A deleted handle stays refused after its slot is reused; a handle of another kind is refused
// like a stale one by every call that wants a particular kind.
TEST(GdiObjects, KindsAreReportedAndForeignHandlesRefused) {
    const HPALETTE palette = MakeFour(), deleted = MakeFour();
    DeleteObject(deleted);
    const vx::OwnedObject<HPALETTE> reused(MakeFour());
    const vx::MemoryDC memory;
    const HDC deletedDC = CreateCompatibleDC(nullptr);
    DeleteDC(deletedDC);
    const vx::WindowDC screen(nullptr);
    const struct { const char* name; HGDIOBJ handle; DWORD type; UINT entries; } cases[] = {
        {"palette", palette, OBJ_PAL, 4}, {"stock palette", Stock(), OBJ_PAL, 20}, {"memory DC", memory.get(), OBJ_MEMDC, 0},
        {"screen DC", screen.get(), OBJ_DC, 0}, {"deleted palette", deleted, 0, 0}, {"deleted DC", deletedDC, 0, 0},
        {"invented", reinterpret_cast<HGDIOBJ>(uintptr_t{0x12345}), 0, 0}, {"null", nullptr, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto asPalette = static_cast<HPALETTE>(c.handle);
        const auto asDC = static_cast<HDC>(c.handle);
        PALETTEENTRY entries[4] = {};
        EXPECT_EQ(GetObjectType(c.handle), c.type);
        EXPECT_EQ(GetPaletteEntries(asPalette, 0, 0, nullptr), c.entries);
        EXPECT_EQ(GetPaletteEntries(asPalette, 0, 4, entries), c.entries < 4 ? c.entries : 4);
        if (c.type != OBJ_PAL) {
            EXPECT_EQ(GetNearestPaletteIndex(asPalette, RGB(7, 8, 9)), 0u);
            EXPECT_EQ(SelectPalette(memory.get(), asPalette, FALSE), nullptr);
        }
        if (c.type != OBJ_DC && c.type != OBJ_MEMDC) {
            EXPECT_FALSE(DeleteDC(asDC));
            EXPECT_EQ(ReleaseDC(nullptr, asDC), 0);
            EXPECT_EQ(SelectPalette(asDC, palette, FALSE), nullptr);
            if (c.handle != nullptr) { EXPECT_EQ(CreateCompatibleDC(asDC), nullptr); }
        }
        if (c.type == 0) { EXPECT_FALSE(DeleteObject(c.handle)); }
    }
    EXPECT_EQ(GetObjectType(reused.get()), OBJ_PAL);
    EXPECT_EQ(ReleaseDC(nullptr, memory.get()), 0);  // a memory DC is not lent: it stays
    EXPECT_EQ(GetObjectType(memory.get()), OBJ_MEMDC);
    DeleteObject(palette);
}

// What each way of ending an object answers, twice, and what is left of the handle.
TEST(GdiObjects, EachObjectEndsTheWayItsKindDoes) {
    using Make = HGDIOBJ (*)();
    using End = int (*)(HGDIOBJ);
    const Make palette = []() -> HGDIOBJ { return MakeFour(); }, stock = []() -> HGDIOBJ { return Stock(); },
               memoryDC = []() -> HGDIOBJ { return CreateCompatibleDC(nullptr); },
               screenDC = []() -> HGDIOBJ { return GetDC(nullptr); };
    const End deleteObject = [](HGDIOBJ h) -> int { return DeleteObject(h); },
              deleteDC = [](HGDIOBJ h) -> int { return DeleteDC(static_cast<HDC>(h)); },
              releaseDC = [](HGDIOBJ h) { return ReleaseDC(nullptr, static_cast<HDC>(h)); };
    const struct { const char* name; Make make; End end; int first, second; DWORD typeAfter; } cases[] = {
        {"DeleteObject(palette)", palette, deleteObject, 1, 0, 0},
        {"DeleteObject(stock palette)", stock, deleteObject, 1, 1, OBJ_PAL},  // stock objects stay
        {"DeleteDC(memory DC)", memoryDC, deleteDC, 1, 0, 0}, {"DeleteObject(memory DC)", memoryDC, deleteObject, 1, 0, 0},
        {"ReleaseDC(screen DC)", screenDC, releaseDC, 1, 0, OBJ_DC},  // back in the cache
        {"DeleteDC(screen DC)", screenDC, deleteDC, 1, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const HGDIOBJ handle = c.make();
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(c.end(handle), c.first);
        EXPECT_EQ(c.end(handle), c.second);
        EXPECT_EQ(GetObjectType(handle), c.typeAfter);
    }
}

// A zero count asks for the size; counts past the end are cut, and a null buffer gets the cut
// count, wrapped below zero when start is past the end.
TEST(GdiObjects, PaletteEntriesAreCutToTheEnd) {
    const vx::OwnedObject<HPALETTE> palette(MakeFour());
    const struct { UINT start, count; bool buffer; UINT result; } cases[] = {
        {0, 0, false, 4}, {1, 0, true, 4}, {1, 8, false, 3}, {2, 8, true, 2}, {4, 1, true, 0}, {5, 1, true, 0},
        {5, 1, false, 0xFFFFFFFFu}};
    for (const auto& c : cases) {
        PALETTEENTRY entries[8] = {};
        EXPECT_EQ(GetPaletteEntries(palette.get(), c.start, c.count, c.buffer ? entries : nullptr), c.result)
            << c.start << "+" << c.count;
        const bool copied = c.buffer && c.count > 0 && c.result > 0;  // a zero count copies nothing
        EXPECT_EQ(entries[0].peRed, copied ? 1 + 3 * c.start : 0) << c.start << "+" << c.count;
    }
    const COLORREF stock[20] = {0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080, 0x808000,
                                0xC0C0C0, 0xC0DCC0, 0xF0CAA6, 0xF0FBFF, 0xA4A0A0, 0x808080, 0x0000FF,
                                0x00FF00, 0x00FFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
    PALETTEENTRY entries[20];
    ASSERT_EQ(GetPaletteEntries(Stock(), 0, 20, entries), 20u);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(RGB(entries[i].peRed, entries[i].peGreen, entries[i].peBlue), stock[i]) << i;
}

TEST(GdiObjects, NearestIndexIsTheLeastSquaredDistanceLowestIndexFirst) {
    const vx::OwnedObject<HPALETTE> palette(MakePalette({{200, 200, 200, 0}, {10, 0, 0, 0}, {6, 6, 0, 0},
                                                         {0, 5, 0, 0}, {5, 0, 0, 0}, {54, 50, 50, 0},
                                                         {52, 52, 52, 0}, {0, 0, 120, 0}}));
    const struct { COLORREF colour; UINT index; } cases[] = {
        // 3 and 4 tie: the lower index wins; 3 * 2 * 2 = 12 beats 4 * 4 = 16, though 6 > 4 summed;
        // blue is the third byte of a COLORREF.
        {RGB(0, 0, 0), 3}, {RGB(50, 50, 50), 6}, {RGB(0, 0, 118), 7}, {RGB(255, 255, 255), 0}};
    for (const auto& c : cases) EXPECT_EQ(GetNearestPaletteIndex(palette.get(), c.colour), c.index) << c.colour;
}

// Guards undo in reverse order; a palette deleted while selected goes at once, and the DC
// still names it.
TEST(GdiGuards, SelectionsAreUndoneAndObjectsFreed) {
    const vx::MemoryDC dc;
    HPALETTE first;
    {
        vx::OwnedObject<HPALETTE> owned(MakeFour()), second(MakeFour());
        first = owned.get();
        const vx::PaletteSelection outer(dc.get(), first);
        EXPECT_EQ(outer.previous(), Stock());
        {
            const vx::PaletteSelection inner(dc.get(), second.get(), TRUE);
            EXPECT_EQ(inner.previous(), first);
            EXPECT_FALSE(vx::PaletteSelection(dc.get(), nullptr));
        }
        EXPECT_EQ(SelectPalette(dc.get(), first, FALSE), first);  // inner put it back
        const vx::OwnedObject<HPALETTE> moved(std::move(second));
        EXPECT_FALSE(second);
        EXPECT_EQ(GetObjectType(moved.get()), OBJ_PAL);
    }
    EXPECT_EQ(GetObjectType(first), 0u);
    const HPALETTE selected = MakeFour();
    EXPECT_EQ(SelectPalette(dc.get(), selected, FALSE), Stock());  // outer put it back
    EXPECT_TRUE(DeleteObject(selected));
    EXPECT_EQ(GetObjectType(selected), 0u);
    EXPECT_EQ(SelectPalette(dc.get(), Stock(), FALSE), selected);

    const HPALETTE out = vx::OwnedObject<HPALETTE>(MakeFour()).release();
    EXPECT_EQ(GetObjectType(out), OBJ_PAL);
    DeleteObject(out);
}

TEST(GdiGuards, DeviceContextsEndWithTheirGuards) {
    HDC memory, screen;
    {
        const vx::MemoryDC like, dc(like.get());
        const vx::WindowDC window(nullptr);
        memory = dc.get(), screen = window.get();
        EXPECT_EQ(GetObjectType(memory), OBJ_MEMDC);
    }
    EXPECT_EQ(GetObjectType(memory), 0u);
    EXPECT_EQ(ReleaseDC(nullptr, screen), 0);  // released already
    const vx::WindowDC none(reinterpret_cast<HWND>(uintptr_t{0x1234}));  // no such window
    EXPECT_FALSE(none);
}

// objects.hpp - the kinds of GDI object the Linux subset holds in its table: Palette (a
// logical palette) and DeviceContext (a memory DC or a screen DC), and DefaultPalette(), the
// stock palette every DC starts with.
//
// A kind arrives here with the calls that make it; the table and its kind tags are ready for
// all of them.
#pragma once

#include <vector>

#include "platform/posix/gdi/object_table.hpp"

namespace vx::posix::gdi {

// A logical palette: its entries and nothing else.
struct Palette final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::Palette; }
    Palette() : GdiObject(ObjectKind::Palette) {}
    std::vector<PALETTEENTRY> entries;
};

// A device context: what is selected into it. A screen DC (OBJ_DC, from GetDC) is lent out of
// a cache and given back by ReleaseDC; a memory DC (OBJ_MEMDC) belongs to its creator.
struct DeviceContext final : GdiObject {
    static bool Holds(ObjectKind kind) { return kind == ObjectKind::DC || kind == ObjectKind::MemoryDC; }
    DeviceContext(ObjectKind kind, HPALETTE initialPalette) : GdiObject(kind), palette(initialPalette) {}
    HPALETTE palette;       // the selected palette (its handle may have gone stale)
    bool released = false;  // a screen DC back in the cache
};

// The stock default palette: the 20 static colours of the system palette. Made on first use;
// takes the table lock, so call it before taking one. Throws std::bad_alloc.
HPALETTE DefaultPalette();

}  // namespace vx::posix::gdi

// palette.cpp - logical palettes for a platform without a graphics interface.
//
// An HPALETTE holds the palette's entries and nothing else; DeleteObject frees it. The
// nearest-colour look-up answers as the Windows call does: the entry with the least sum of
// squared red, green and blue differences, the lowest index winning a tie.
#include <cstdint>
#include <new>
#include <vector>

#include "vexora_win32.h"

#include "handle_registry.hpp"

namespace {

struct Palette {
    std::vector<PALETTEENTRY> entries;
};

vx::posix::HandleRegistry<Palette>& Palettes() {
    static auto* registry = new vx::posix::HandleRegistry<Palette>;
    return *registry;
}

}  // namespace

extern "C" {

VXPLATFORMAPI HPALETTE CreatePalette(const LOGPALETTE* logical) {
    if (logical == nullptr || logical->palNumEntries == 0) return nullptr;
    try {
        auto* palette = new Palette;
        palette->entries.assign(logical->palPalEntry, logical->palPalEntry + logical->palNumEntries);
        Palettes().add(palette, palette);
        return reinterpret_cast<HPALETTE>(palette);
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI UINT GetPaletteEntries(HPALETTE handle, UINT start, UINT count, LPPALETTEENTRY out) {
    UINT copied = 0;
    Palettes().with(handle, [&](Palette& p) {
        const auto n = static_cast<UINT>(p.entries.size());
        if (out == nullptr) {
            copied = n;
            return;
        }
        if (start >= n) return;
        copied = count < n - start ? count : n - start;
        for (UINT i = 0; i < copied; ++i) out[i] = p.entries[start + i];
    });
    return copied;
}

VXPLATFORMAPI UINT GetNearestPaletteIndex(HPALETTE handle, COLORREF colour) {
    UINT best = CLR_INVALID;
    Palettes().with(handle, [&](Palette& p) {
        const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
        uint32_t bestDistance = UINT32_MAX;
        for (UINT i = 0; i < p.entries.size(); ++i) {
            const int dr = p.entries[i].peRed - r, dg = p.entries[i].peGreen - g,
                      db = p.entries[i].peBlue - b;
            const auto distance = static_cast<uint32_t>(dr * dr + dg * dg + db * db);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = i;
            }
        }
    });
    return best;
}

VXPLATFORMAPI BOOL DeleteObject(HGDIOBJ object) {
    Palette* palette = Palettes().remove(object);
    if (palette == nullptr) return FALSE;
    delete palette;
    return TRUE;
}

}  // extern "C"

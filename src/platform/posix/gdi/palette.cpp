// palette.cpp - logical palettes of the Linux subset: CreatePalette, GetPaletteEntries,
// GetNearestPaletteIndex.
//
// An HPALETTE holds the palette's entries and nothing else; DeleteObject frees it. The
// nearest-colour look-up answers as the Windows call does: the entry with the least sum of
// squared red, green and blue differences, the lowest index winning a tie. The answers for
// handles that are not palettes, and GetPaletteEntries' treatment of a zero count, a null
// buffer and a range past the end, are those of Windows under Wine: 0 for a foreign handle
// (the documentation of GetNearestPaletteIndex names CLR_INVALID, Windows answers 0); a zero
// count asks for the number of entries; a count past the end is cut to the end, and with a
// null buffer the cut count is answered, wrapping below zero as the unsigned count it is when
// start is past the end.
#include <cstdint>
#include <memory>

#include "platform/posix/gdi/objects.hpp"


using vx::posix::gdi::Objects;
using vx::posix::gdi::Palette;

extern "C" {

VXPLATFORMAPI HPALETTE CreatePalette(const LOGPALETTE* logical) {
    if (logical == nullptr || logical->palNumEntries == 0) return nullptr;
    try {
        auto palette = std::make_unique<Palette>();
        palette->entries.assign(logical->palPalEntry, logical->palPalEntry + logical->palNumEntries);
        return static_cast<HPALETTE>(Objects().add(std::move(palette)));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI UINT GetPaletteEntries(HPALETTE handle, UINT start, UINT count, LPPALETTEENTRY out) {
    auto objects = Objects();
    const Palette* palette = objects.find<Palette>(handle);
    if (palette == nullptr) return 0;
    const auto n = static_cast<UINT>(palette->entries.size());
    if (count == 0) return n;
    if (uint64_t{start} + count > n) count = n - start;
    if (out != nullptr) {
        if (start >= n) return 0;
        for (UINT i = 0; i < count; ++i) out[i] = palette->entries[start + i];
    }
    return count;
}

VXPLATFORMAPI UINT GetNearestPaletteIndex(HPALETTE handle, COLORREF colour) {
    auto objects = Objects();
    const Palette* palette = objects.find<Palette>(handle);
    if (palette == nullptr) return 0;
    const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
    UINT best = 0;
    uint32_t bestDistance = UINT32_MAX;
    for (UINT i = 0; i < palette->entries.size(); ++i) {
        const PALETTEENTRY& e = palette->entries[i];
        const int dr = e.peRed - r, dg = e.peGreen - g, db = e.peBlue - b;
        const auto distance = static_cast<uint32_t>(dr * dr + dg * dg + db * db);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = i;
        }
    }
    return best;
}

}  // extern "C"

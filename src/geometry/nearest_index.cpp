// nearest_index.cpp - PaletteFromColourTable and NearestIndexMemo::Ask; see nearest_index.hpp.
#include "geometry/nearest_index.hpp"

#include <cstddef>
#include <cstring>

namespace vx::geometry {

OwnedPalette PaletteFromColourTable(const uint8_t* table, uint64_t tableBytes, uint16_t count) {
    std::vector<uint8_t> storage(offsetof(LOGPALETTE, palPalEntry) +
                                 size_t{count} * sizeof(PALETTEENTRY));
    auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
    logical->palVersion = 0x300;
    logical->palNumEntries = count;
    uint8_t* entries = storage.data() + offsetof(LOGPALETTE, palPalEntry);
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t quad[4] = {0, 0, 0, 0};  // blue, green, red, reserved
        const uint64_t at = uint64_t{i} * 4;
        if (at < tableBytes) std::memcpy(quad, table + at, tableBytes - at < 4 ? tableBytes - at : 4);
        const PALETTEENTRY entry{quad[2], quad[1], quad[0], 0};
        std::memcpy(entries + size_t{i} * sizeof entry, &entry, sizeof entry);
    }
    return OwnedPalette(CreatePalette(logical));
}

NearestIndexMemo::NearestIndexMemo(HPALETTE palette) : palette_(palette), pages_(65536) {}

UINT NearestIndexMemo::Ask(uint8_t red, uint8_t green, uint8_t blue) {
    const UINT index = GetNearestPaletteIndex(palette_, RGB(red, green, blue));
    if (index < 65535) {  // a palette has at most 65,535 entries; anything else is not kept
        auto& page = pages_[uint32_t{green} << 8 | red];
        if (!page) page.reset(new uint16_t[256]());
        page[blue] = static_cast<uint16_t>(index + 1);
    }
    return index;
}

}  // namespace vx::geometry

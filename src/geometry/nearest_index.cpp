// nearest_index.cpp - PaletteFromColourTable, NearestColour and NearestIndexMemo::Ask; see
// nearest_index.hpp.
#include "geometry/nearest_index.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace vx::geometry {

namespace {

// Entry i of the table as blue, green, red, reserved; bytes at or past tableBytes read as zero.
std::array<uint8_t, 4> Quad(const uint8_t* table, uint64_t tableBytes, uint32_t i) {
    std::array<uint8_t, 4> quad{};
    const uint64_t at = uint64_t{i} * 4;
    if (at < tableBytes) std::memcpy(quad.data(), table + at, tableBytes - at < 4 ? tableBytes - at : 4);
    return quad;
}

}  // namespace

OwnedPalette PaletteFromColourTable(const uint8_t* table, uint64_t tableBytes, uint16_t count) {
    std::vector<uint8_t> storage(offsetof(LOGPALETTE, palPalEntry) +
                                 size_t{count} * sizeof(PALETTEENTRY));
    auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
    logical->palVersion = 0x300;
    logical->palNumEntries = count;
    uint8_t* entries = storage.data() + offsetof(LOGPALETTE, palPalEntry);
    for (uint32_t i = 0; i < count; ++i) {
        const auto quad = Quad(table, tableBytes, i);
        const PALETTEENTRY entry{quad[2], quad[1], quad[0], 0};
        std::memcpy(entries + size_t{i} * sizeof entry, &entry, sizeof entry);
    }
    return OwnedPalette(CreatePalette(logical));
}

NearestColour::NearestColour(const uint8_t* table, uint64_t tableBytes, uint16_t count) {
    byRed_.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const auto quad = Quad(table, tableBytes, i);
        byRed_.push_back(Entry{quad[2], quad[1], quad[0], static_cast<uint16_t>(i)});
    }
    std::stable_sort(byRed_.begin(), byRed_.end(), [](const Entry& a, const Entry& b) { return a.red < b.red; });
    uint32_t at = 0;
    for (uint32_t r = 0; r <= 256; ++r) {
        while (at < byRed_.size() && byRed_[at].red < r) ++at;
        firstWithRed_[r] = at;
    }
}

UINT NearestColour::operator()(uint8_t red, uint8_t green, uint8_t blue) const {
    uint32_t bestDistance = UINT32_MAX;
    uint32_t bestIndex = 0;
    // True when the entry is nearer, or as near with a lower index; false once its red alone
    // is further than the best, which ends the walk in that direction.
    auto consider = [&](const Entry& e) {
        const int dr = int{e.red} - red;
        const auto redPart = static_cast<uint32_t>(dr * dr);
        if (redPart > bestDistance) return false;
        const int dg = int{e.green} - green, db = int{e.blue} - blue;
        const uint32_t distance = redPart + static_cast<uint32_t>(dg * dg + db * db);
        if (distance < bestDistance || (distance == bestDistance && e.index < bestIndex)) {
            bestDistance = distance;
            bestIndex = e.index;
        }
        return true;
    };
    const uint32_t start = firstWithRed_[red];
    for (uint32_t k = start; k < byRed_.size() && consider(byRed_[k]); ++k) {
    }
    for (uint32_t k = start; k > 0 && consider(byRed_[k - 1]); --k) {
    }
    return bestIndex;
}

NearestIndexMemo::NearestIndexMemo(const NearestColour& nearest) : nearest_(nearest), pages_(65536) {}

UINT NearestIndexMemo::Ask(uint8_t red, uint8_t green, uint8_t blue) {
    const UINT index = nearest_(red, green, blue);
    auto& page = pages_[uint32_t{green} << 8 | red];
    if (!page) page.reset(new uint16_t[256]());
    page[blue] = static_cast<uint16_t>(index + 1);  // indices are below 65,535
    return index;
}

}  // namespace vx::geometry

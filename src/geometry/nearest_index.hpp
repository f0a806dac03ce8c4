// nearest_index.hpp - OwnedPalette, PaletteFromColourTable, NearestColour and NearestIndexMemo:
// mapping filtered colours back to colour-table indices, as the colour filters of ScaleDIB do
// for 4- and 8-bit images.
//
// The answer for a colour is the one GetNearestPaletteIndex gives in a logical palette made
// from the DIB's colour table: the entry with the least sum of squared red, green and blue
// differences, the lowest index winning a tie. NearestColour finds that entry itself rather
// than asking the platform once per colour: the entries are kept sorted by red, and the search
// walks outward from the colour's red, stopping on each side once the red difference alone is
// further than the best entry found; an entry exactly as far as the best is still examined, so
// that a lower index wins the tie wherever it sits. The tests hold its answers against the
// platform's, under Wine too, on random tables, duplicates, ties and short tables.
//
// The palette itself is still made (PaletteFromColourTable) where the filters used to ask it:
// it decides, as before, whether a table can be filtered at all (CreatePalette refuses a table
// of no entries).
//
// A filtered image asks for the same colours again and again, so NearestIndexMemo keeps each
// answer by the full 24-bit colour, one page of blues per red and green, taken on first use.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "vexora.h"

#include "gdi_guards.hpp"

namespace vx::geometry {

// A logical palette owned by the library, deleted on destruction.
using OwnedPalette = OwnedObject<HPALETTE>;

// A palette of `count` entries (version 0x300, flags 0) taken from the RGBQUADs at `table`;
// bytes at or past tableBytes read as zero. Null when CreatePalette refuses (count 0).
OwnedPalette PaletteFromColourTable(const uint8_t* table, uint64_t tableBytes, uint16_t count);

// The nearest of `count` colour-table entries (read as PaletteFromColourTable reads them).
class NearestColour {
public:
    NearestColour(const uint8_t* table, uint64_t tableBytes, uint16_t count);

    UINT operator()(uint8_t red, uint8_t green, uint8_t blue) const;

private:
    struct Entry {
        uint8_t red, green, blue;
        uint16_t index;
    };
    std::vector<Entry> byRed_;                 // ascending red, then ascending index
    std::array<uint32_t, 257> firstWithRed_{};  // position of the first entry with red >= r
};

// NearestColour's answer, found once per distinct colour.
class NearestIndexMemo {
public:
    explicit NearestIndexMemo(const NearestColour& nearest);

    UINT operator()(uint8_t red, uint8_t green, uint8_t blue) {
        uint16_t* page = pages_[uint32_t{green} << 8 | red].get();
        if (page != nullptr && page[blue] != 0) return page[blue] - 1u;
        return Ask(red, green, blue);
    }

private:
    UINT Ask(uint8_t red, uint8_t green, uint8_t blue);

    const NearestColour& nearest_;
    // One page of 256 blues per red and green; an entry holds index + 1, 0 when not yet asked.
    std::vector<std::unique_ptr<uint16_t[]>> pages_;
};

}  // namespace vx::geometry

// nearest_index.hpp - OwnedPalette, PaletteFromColourTable and NearestIndexMemo: mapping
// filtered colours back to colour-table indices through a logical palette, as the colour
// filters of ScaleDIB do for 4- and 8-bit images.
//
// The palette is made from the DIB's colour table with CreatePalette and every colour is
// resolved by GetNearestPaletteIndex (the entry with the least sum of squared red, green and
// blue differences, the lowest index winning a tie). A filtered image asks for the same colours
// again and again, so the answers are memoised by the full 24-bit colour: the platform is asked
// once per distinct colour, and the answer is the platform's own, bit for bit.
#pragma once

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

// GetNearestPaletteIndex(palette, colour), asked once per distinct colour.
class NearestIndexMemo {
public:
    explicit NearestIndexMemo(HPALETTE palette);

    UINT operator()(uint8_t red, uint8_t green, uint8_t blue) {
        uint16_t* page = pages_[uint32_t{green} << 8 | red].get();
        if (page != nullptr && page[blue] != 0) return page[blue] - 1u;
        return Ask(red, green, blue);
    }

private:
    UINT Ask(uint8_t red, uint8_t green, uint8_t blue);

    HPALETTE palette_;
    // One page of 256 blues per red and green; an entry holds index + 1, 0 when not yet asked.
    std::vector<std::unique_ptr<uint16_t[]>> pages_;
};

}  // namespace vx::geometry

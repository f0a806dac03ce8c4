// pcx_format.hpp - what the PCX reader and writer share: the 128-byte header's field offsets,
// the DCX signature and page table, the 256-colour palette's trailer and the run-length code.
//
// A PCX file is the header, the scan lines and, for 8-bit images, a trailer of a 0x0C byte and
// 768 bytes of palette. Each scan line holds `planes` runs of `bytesPerLine` bytes, one per
// plane. The run-length code is byte-wise: a byte with both top bits set carries a count in its
// low six bits and repeats the byte after it; any other byte stands for itself. A DCX file is
// the signature, a table of 32-bit page offsets ending with a 0, and the pages as PCX files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxmod::pcx {

inline constexpr size_t kHeaderBytes = 128;
inline constexpr uint8_t kManufacturer = 10;

// Field offsets in the header.
inline constexpr size_t kVersion = 1, kEncoding = 2, kBitsPerPixel = 3, kXMin = 4, kYMin = 6, kXMax = 8,
                        kYMax = 10, kHorizontalDpi = 12, kVerticalDpi = 14, kEgaPalette = 16, kPlanes = 65,
                        kBytesPerLine = 66, kPaletteInfo = 68;

inline constexpr uint8_t kVersionWithoutPalette = 3;  // "2.8 without palette information"
inline constexpr uint8_t kVersionCurrent = 5;
inline constexpr uint8_t kEncodingNone = 0, kEncodingRunLength = 1;
inline constexpr uint16_t kPaletteColour = 1, kPaletteGray = 2;

// The 256-colour palette after the scan lines: the marker byte and three bytes per entry.
inline constexpr uint8_t kPaletteMarker = 0x0C;
inline constexpr size_t kTrailerBytes = 1 + 768;

// Run-length code: a count byte is 0xC0 | count, count 1 to 63.
inline constexpr uint8_t kRunFlag = 0xC0;
inline constexpr unsigned kLongestRun = 63;

// DCX: the signature, then at most 1023 page offsets and the terminating 0.
inline constexpr uint32_t kDcxSignature = 0x3ADE68B1;
inline constexpr size_t kDcxTableSlots = 1024;
inline constexpr size_t kDcxMaxPages = kDcxTableSlots - 1;
inline constexpr size_t kDcxTableEnd = 4 + 4 * kDcxTableSlots;

// The standard 16 EGA colours (red, green, blue), for files whose version carries no palette.
inline constexpr uint8_t kDefaultEgaPalette[48] = {
    0x00, 0x00, 0x00, 0x00, 0x00, 0xAA, 0x00, 0xAA, 0x00, 0x00, 0xAA, 0xAA, 0xAA, 0x00, 0x00, 0xAA,
    0x00, 0xAA, 0xAA, 0x55, 0x00, 0xAA, 0xAA, 0xAA, 0x55, 0x55, 0x55, 0x55, 0x55, 0xFF, 0x55, 0xFF,
    0x55, 0x55, 0xFF, 0xFF, 0xFF, 0x55, 0x55, 0xFF, 0x55, 0xFF, 0xFF, 0xFF, 0x55, 0xFF, 0xFF, 0xFF};

}  // namespace vxmod::pcx

// tga_format.hpp - what the TGA reader and writer share: the 18-byte header's field offsets,
// the image types, the descriptor's bits and the run-length packet code.
//
// A TGA file is the header, an identification field of up to 255 bytes, the colour map (when
// the colour map type is 1) and the pixels, rows bottom-up unless the descriptor says top-down.
// A run-length coded image is a sequence of packets: a byte whose low seven bits count 1 to 128
// pixels, followed by one pixel repeated (top bit set) or by that many pixels (top bit clear).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vxmod::tga {

inline constexpr size_t kHeaderBytes = 18;

inline constexpr size_t kIdLength = 0, kColourMapType = 1, kImageType = 2, kMapFirst = 3, kMapLength = 5,
                        kMapEntryBits = 7, kWidth = 12, kHeight = 14, kPixelBits = 16, kDescriptor = 17;

inline constexpr uint8_t kTypeMapped = 1, kTypeTrueColour = 2, kTypeGray = 3, kTypeRunLength = 8;

inline constexpr uint8_t kAlphaBitsMask = 0x0F;
inline constexpr uint8_t kRightToLeft = 0x10;
inline constexpr uint8_t kTopDown = 0x20;

inline constexpr uint8_t kRunPacket = 0x80;
inline constexpr unsigned kLongestPacket = 128;

}  // namespace vxmod::tga

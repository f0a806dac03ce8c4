// display_support.hpp - helpers the display tests share: DibRgb, the colour of one pixel of a
// 24-bit bottom-up DIB as 0x00RRGGBB (TestWindow::pixels' form), and ZoomedSource, which image
// pixel a device pixel shows under an integer zoom and a device offset.
#pragma once

#include <cstdint>

#include "dib_builder.hpp"

namespace vxtest {

inline uint32_t DibRgb(const Bytes& dib, int x, int y) {
    const int32_t width = static_cast<int32_t>(GetU32(dib, 4)), height = static_cast<int32_t>(GetU32(dib, 8));
    const size_t at = 40 + size_t(height - 1 - y) * Stride(width, 24) + size_t(x) * 3;
    return uint32_t(dib.at(at + 2)) << 16 | uint32_t(dib.at(at + 1)) << 8 | dib.at(at);
}

// The image coordinate that device coordinate `device` shows when image pixels are `zoom`
// device pixels wide and the image starts `offset` device pixels before the device origin;
// -1 left of the image.
inline int ZoomedSource(int device, int offset, int zoom) {
    const int at = device + offset;
    return at < 0 ? -1 : at / zoom;
}

}  // namespace vxtest

// display_support.hpp - helpers the display tests share: DibRgb, the colour of one pixel of a
// 24-bit bottom-up DIB as 0x00RRGGBB (TestWindow::pixels' form), and WrongPixels, which counts
// and reports the pixels read(x, y) gives that do not show that DIB drawn at a device origin
// with integer zoom factors (inverted: NOT source), `background` elsewhere.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

#include "dib_builder.hpp"

namespace vxtest {

inline uint32_t DibRgb(const Bytes& dib, int x, int y) {
    const int32_t width = static_cast<int32_t>(GetU32(dib, 4)), height = static_cast<int32_t>(GetU32(dib, 8));
    const size_t at = 40 + size_t(height - 1 - y) * Stride(width, 24) + size_t(x) * 3;
    return uint32_t(dib.at(at + 2)) << 16 | uint32_t(dib.at(at + 1)) << 8 | dib.at(at);
}

inline int WrongPixels(const std::function<uint32_t(int, int)>& read, int width, int height, POINT origin, int zoomX,
                       int zoomY, const Bytes& dib, bool inverted, uint32_t background) {
    const int dibWidth = static_cast<int>(GetU32(dib, 4)), dibHeight = static_cast<int>(GetU32(dib, 8));
    int wrong = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int ix = x >= origin.x ? (x - origin.x) / zoomX : -1, iy = y >= origin.y ? (y - origin.y) / zoomY : -1;
            uint32_t expected = background;
            if (ix >= 0 && iy >= 0 && ix < dibWidth && iy < dibHeight)
                expected = DibRgb(dib, ix, iy) ^ (inverted ? 0xFFFFFFu : 0u);
            if (read(x, y) != expected && wrong++ < 5)
                ADD_FAILURE() << "pixel " << x << ", " << y << ": " << std::hex << read(x, y) << " for " << expected;
        }
    return wrong;
}

}  // namespace vxtest

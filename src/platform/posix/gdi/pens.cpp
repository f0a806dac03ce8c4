// pens.cpp - pens of the Linux subset: CreatePen.
//
// As in Windows, a style outside PS_SOLID ... PS_INSIDEFRAME is taken as PS_SOLID, a negative
// width as its magnitude, and PS_NULL answers the stock NULL_PEN whatever the width and colour
// (so deleting it does nothing).
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/posix/gdi/objects.hpp"

extern "C" {

VXPLATFORMAPI HPEN CreatePen(int style, int width, COLORREF colour) {
    try {
        if (style == PS_NULL) return static_cast<HPEN>(vx::posix::gdi::StockObject(NULL_PEN));
        auto pen = std::make_unique<vx::posix::gdi::Pen>();
        pen->style = style < PS_SOLID || style > PS_INSIDEFRAME ? PS_SOLID : static_cast<UINT>(style);
        pen->width = width == INT32_MIN ? width : std::abs(width);
        pen->colour = colour;
        return static_cast<HPEN>(vx::posix::gdi::Objects().add(std::move(pen)));
    } catch (...) {
        return nullptr;
    }
}

}  // extern "C"

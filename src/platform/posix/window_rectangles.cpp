// window_rectangles.cpp - the rectangle helpers of USER: SetRect, SetRectEmpty, CopyRect,
// IsRectEmpty, EqualRect, PtInRect, OffsetRect, InflateRect, IntersectRect and UnionRect.
//
// Windows' answers, null pointers included: a rectangle is empty when its right edge is not
// right of its left or its bottom not below its top (IsRectEmpty of NULL is TRUE); PtInRect
// takes the left and top edges but not the right and bottom ones; EqualRect compares the
// four values, so two different empty rectangles are not equal. IntersectRect of rectangles
// that do not overlap (or of an empty one) empties the result and answers FALSE; UnionRect
// leaves an empty rectangle out and answers FALSE (the result emptied) when both are empty.
// Calls given a null pointer answer FALSE and write nothing.
#include <algorithm>

#include "vexora_win32.h"

namespace {

bool Empty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }

}  // namespace

extern "C" {

VXPLATFORMAPI BOOL SetRect(LPRECT rect, int left, int top, int right, int bottom) {
    if (rect == nullptr) return FALSE;
    *rect = RECT{left, top, right, bottom};
    return TRUE;
}

VXPLATFORMAPI BOOL SetRectEmpty(LPRECT rect) { return SetRect(rect, 0, 0, 0, 0); }

VXPLATFORMAPI BOOL CopyRect(LPRECT destination, const RECT* source) {
    if (destination == nullptr || source == nullptr) return FALSE;
    *destination = *source;
    return TRUE;
}

VXPLATFORMAPI BOOL IsRectEmpty(const RECT* rect) { return rect == nullptr || Empty(*rect); }

VXPLATFORMAPI BOOL EqualRect(const RECT* a, const RECT* b) {
    if (a == nullptr || b == nullptr) return FALSE;
    return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}

VXPLATFORMAPI BOOL PtInRect(const RECT* rect, POINT point) {
    if (rect == nullptr) return FALSE;
    return point.x >= rect->left && point.x < rect->right && point.y >= rect->top && point.y < rect->bottom;
}

VXPLATFORMAPI BOOL OffsetRect(LPRECT rect, int dx, int dy) {
    if (rect == nullptr) return FALSE;
    *rect = RECT{rect->left + dx, rect->top + dy, rect->right + dx, rect->bottom + dy};
    return TRUE;
}

VXPLATFORMAPI BOOL InflateRect(LPRECT rect, int dx, int dy) {
    if (rect == nullptr) return FALSE;
    *rect = RECT{rect->left - dx, rect->top - dy, rect->right + dx, rect->bottom + dy};
    return TRUE;
}

VXPLATFORMAPI BOOL IntersectRect(LPRECT destination, const RECT* a, const RECT* b) {
    if (destination == nullptr || a == nullptr || b == nullptr) return FALSE;
    const RECT r{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                 std::min(a->bottom, b->bottom)};
    if (Empty(*a) || Empty(*b) || Empty(r)) {
        *destination = RECT{0, 0, 0, 0};
        return FALSE;
    }
    *destination = r;
    return TRUE;
}

VXPLATFORMAPI BOOL UnionRect(LPRECT destination, const RECT* a, const RECT* b) {
    if (destination == nullptr || a == nullptr || b == nullptr) return FALSE;
    if (Empty(*a) && Empty(*b)) {
        *destination = RECT{0, 0, 0, 0};
        return FALSE;
    }
    if (Empty(*a)) {
        *destination = *b;
    } else if (Empty(*b)) {
        *destination = *a;
    } else {
        *destination = RECT{std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
                            std::max(a->bottom, b->bottom)};
    }
    return TRUE;
}

}  // extern "C"

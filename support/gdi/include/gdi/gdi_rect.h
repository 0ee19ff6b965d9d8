#pragma once
// Rectangle functions of the graphics device interface for systems that have none. Include gdi/gdi.h instead.
//
// They answer as Windows' functions do, in every case: a null pointer is refused with FALSE, a rectangle without area
// (left >= right or top >= bottom) is empty wherever it lies, and a destination may be one of the sources.
#include <algorithm>

#include "gdi/gdi_types.h"

inline BOOL SetRect(RECT* rect, int left, int top, int right, int bottom) {
    if (rect == nullptr) return FALSE;
    *rect = {left, top, right, bottom};
    return TRUE;
}

inline BOOL SetRectEmpty(RECT* rect) { return SetRect(rect, 0, 0, 0, 0); }

/// No rectangle at all is empty too.
inline BOOL IsRectEmpty(const RECT* rect) {
    return rect == nullptr || rect->left >= rect->right || rect->top >= rect->bottom ? TRUE : FALSE;
}

/// Whether all four coordinates agree; empty rectangles at different places are not equal.
inline BOOL EqualRect(const RECT* a, const RECT* b) {
    if (a == nullptr || b == nullptr) return FALSE;
    return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom ? TRUE : FALSE;
}

/// Moves the rectangle; coordinates that leave the range of a LONG wrap around.
inline BOOL OffsetRect(RECT* rect, int dx, int dy) {
    if (rect == nullptr) return FALSE;
    const auto moved = [](LONG value, int by) {
        return static_cast<LONG>(static_cast<DWORD>(value) + static_cast<DWORD>(by));
    };
    *rect = {moved(rect->left, dx), moved(rect->top, dy), moved(rect->right, dx), moved(rect->bottom, dy)};
    return TRUE;
}

/// The common part of `a` and `b`. Without one, as always when one of them is empty, `destination` becomes
/// (0, 0, 0, 0) and the answer is FALSE.
inline BOOL IntersectRect(RECT* destination, const RECT* a, const RECT* b) {
    if (destination == nullptr || a == nullptr || b == nullptr) return FALSE;
    const RECT common{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                      std::min(a->bottom, b->bottom)};
    if (IsRectEmpty(a) || IsRectEmpty(b) || IsRectEmpty(&common)) {
        SetRectEmpty(destination);
        return FALSE;
    }
    *destination = common;
    return TRUE;
}

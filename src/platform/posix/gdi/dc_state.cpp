// dc_state.cpp - saved DC states and the DC's drawing settings in the Linux subset: SaveDC,
// RestoreDC, SetROP2, GetROP2 and MoveToEx.
//
// SaveDC pushes a copy of the whole DcState (selections, colours, modes, mapping, clipping
// region, current position) and answers the new depth of the stack, starting at 1.
// RestoreDC(n) with n > 0 goes back to the state saved at depth n, with n < 0 to the one n
// levels below the top (-1: the last saved), and drops it and every state saved after it; 0
// and levels beyond the stack answer FALSE and change nothing. A selection the saved state can
// no longer give back stays as it is, as in Windows: a brush, pen, font or palette deleted since,
// and a bitmap deleted or selected into another DC since. The selections move through
// Reselect, which keeps the counts that let an object deleted while selected live on.
#include <cstdlib>
#include <utility>

#include "platform/posix/gdi/metafile_recorder.hpp"

using vx::posix::gdi::Bitmap;
using vx::posix::gdi::Brush;
using vx::posix::gdi::DcState;
using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::MetaRecorder;
using vx::posix::gdi::Objects;
using vx::posix::gdi::RecorderOf;
using vx::posix::gdi::StatelessRecorderOf;
using vx::posix::gdi::Palette;
using vx::posix::gdi::Pen;
using vx::posix::gdi::Reselect;

extern "C" {

VXPLATFORMAPI int SaveDC(HDC dc) {
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return 0;
        if (MetaRecorder* recorder = RecorderOf(*context)) {
            recorder->SaveDC();
            if (!recorder->keepsState()) return 1;
        }
        context->saved.push_back(context->state);
        return static_cast<int>(context->saved.size());
    } catch (...) {
        return 0;
    }
}

VXPLATFORMAPI BOOL RestoreDC(HDC dc, int level) {
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return FALSE;
        if (MetaRecorder* recorder = RecorderOf(*context)) {
            recorder->RestoreDC(level);
            if (!recorder->keepsState()) return TRUE;
        }
        const int depth = static_cast<int>(context->saved.size());
        if (level == 0 || level > depth || level < -depth) return FALSE;
        if (level < 0) level = depth + level + 1;
        DcState next = std::move(context->saved[level - 1]);
        context->saved.resize(level - 1);
        DcState& state = context->state;
        if (objects.find<Brush>(next.brush) == nullptr) next.brush = state.brush;
        if (objects.find<Pen>(next.pen) == nullptr) next.pen = state.pen;
        if (objects.find<vx::posix::gdi::Font>(next.font) == nullptr) next.font = state.font;
        if (objects.find<Palette>(next.palette) == nullptr) next.palette = state.palette;
        const Bitmap* bitmap = objects.find<Bitmap>(next.bitmap);
        if (bitmap == nullptr || (bitmap->selectedInto != nullptr && bitmap->selectedInto != dc)) {
            next.bitmap = state.bitmap;
        }
        // A bitmap that stays selected is handed over as it is, not let go and taken again.
        if (next.bitmap == state.bitmap) state.bitmap = nullptr;
        Reselect(objects, dc, state, next);
        return TRUE;
    } catch (...) {
        return FALSE;
    }
}

VXPLATFORMAPI int SetROP2(HDC dc, int mode) {
    if (mode < R2_BLACK || mode > R2_WHITE) return 0;
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return 0;
    if (MetaRecorder* recorder = RecorderOf(*context)) {
        recorder->SetROP2(mode);
        if (!recorder->keepsState()) return 1;
    }
    return std::exchange(context->state.rop2, mode);
}

VXPLATFORMAPI int GetROP2(HDC dc) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    return context == nullptr || StatelessRecorderOf(*context) != nullptr ? 0 : context->state.rop2;
}

VXPLATFORMAPI BOOL MoveToEx(HDC dc, int x, int y, LPPOINT previous) {
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return FALSE;
    if (MetaRecorder* recorder = RecorderOf(*context)) {
        recorder->MoveTo(x, y);
        if (!recorder->keepsState()) return TRUE;
    }
    if (previous != nullptr) *previous = context->state.position;
    context->state.position = POINT{x, y};
    return TRUE;
}

}  // extern "C"

// selection.cpp - what a DC holds: SelectObject and GetCurrentObject, and the bookkeeping that
// keeps selected objects alive (DeferDeletion, ReleaseSelections, Reselect of objects.hpp).
//
// A bitmap goes into one memory DC at a time (selectedInto names it); the stock 1 x 1 bitmap
// may sit in any number of them. A device bitmap is taken only when it is monochrome or has
// the screen's depth, as Windows takes only bitmaps compatible with the DC; a DIB section of
// any depth is taken. Brushes, pens and fonts go into any number of DCs; a count per handle
// says how many hold each (a font selected into a metafile DC is also handed to its
// recorder). A region is not held at all: the DC takes a copy as its clipping region
// (SelectClip) and SelectObject answers the region's complexity.
//
// DeleteObject of a held object answers TRUE but only marks it: the DCs holding it go on
// drawing with it, another DC may still select it, and it leaves the table when the last DC
// lets go of it (by another selection, or by being deleted). The marks and counts live here,
// keyed by handle (a handle is never reused while its object lives), guarded by the table lock.
#include <memory>
#include <unordered_map>
#include <utility>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

// What the DCs do with one object: how many hold it (brushes and pens; a bitmap names its one
// DC itself) and whether it was deleted while held. A type of this file, so the table's
// template code stays inside the library.
struct Holding {
    int holders = 0;
    bool doomed = false;
};

std::unordered_map<HGDIOBJ, Holding>& Held() {
    static auto* held = new std::unordered_map<HGDIOBJ, Holding>;
    return *held;
}

void Hold(ObjectTable::Access& objects, HDC dc, HGDIOBJ handle) {
    if (handle == nullptr || objects.isStock(handle)) return;
    if (auto* bitmap = objects.find<Bitmap>(handle)) {
        bitmap->selectedInto = dc;
    } else if (objects.find(handle) != nullptr) {
        ++Held()[handle].holders;
    }
}

void LetGo(ObjectTable::Access& objects, HGDIOBJ handle) {
    if (handle == nullptr || objects.isStock(handle)) return;
    auto& held = Held();
    const auto entry = held.find(handle);
    if (auto* bitmap = objects.find<Bitmap>(handle)) {
        bitmap->selectedInto = nullptr;
    } else if (entry != held.end() && --entry->second.holders > 0) {
        return;
    }
    if (entry == held.end()) return;
    const bool doomed = entry->second.doomed;
    held.erase(entry);
    if (doomed) objects.remove(handle);
}

}  // namespace

bool DeferDeletion(ObjectTable::Access& objects, HGDIOBJ handle) {
    const auto* bitmap = objects.find<Bitmap>(handle);
    const auto entry = Held().find(handle);
    const bool held = bitmap != nullptr ? bitmap->selectedInto != nullptr
                                        : entry != Held().end() && entry->second.holders > 0;
    if (held) Held()[handle].doomed = true;
    return held;
}

void ReleaseSelections(ObjectTable::Access& objects, HDC /*dc*/, DcState& state) {
    LetGo(objects, std::exchange(state.bitmap, nullptr));
    LetGo(objects, std::exchange(state.brush, nullptr));
    LetGo(objects, std::exchange(state.pen, nullptr));
    LetGo(objects, std::exchange(state.font, nullptr));
}

void Reselect(ObjectTable::Access& objects, HDC dc, DcState& state, const DcState& next) {
    for (HGDIOBJ handle : {static_cast<HGDIOBJ>(next.bitmap), static_cast<HGDIOBJ>(next.brush),
                           static_cast<HGDIOBJ>(next.pen), static_cast<HGDIOBJ>(next.font)})
        Hold(objects, dc, handle);
    ReleaseSelections(objects, dc, state);
    state = next;
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
    try {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        GdiObject* object = objects.find(handle);
        if (context == nullptr || object == nullptr) return nullptr;
        // A metafile DC of either kind records every pen and brush selected (even one selected
        // already) and keeps them, as SelectObject answers; a Windows metafile DC takes no
        // region and no bitmap.
        if (MetaRecorder* recorder = RecorderOf(*context)) {
            const ObjectKind kind = object->kind();
            const bool region = kind == ObjectKind::Region;
            if (!recorder->keepsState() && (region || kind == ObjectKind::Bitmap)) return nullptr;
            if (region || kind == ObjectKind::Pen || kind == ObjectKind::Brush) recorder->SelectObject(handle, *object);
        }
        DcState& state = context->state;
        HGDIOBJ* slot = nullptr;
        switch (object->kind()) {
            case ObjectKind::Bitmap: {
                const auto* bitmap = static_cast<const Bitmap*>(object);
                if (context->kind() != ObjectKind::MemoryDC) return nullptr;
                if (state.bitmap == handle) return handle;
                if (bitmap->selectedInto != nullptr) return nullptr;
                if (!bitmap->section && bitmap->bitsPerPixel != 1 && bitmap->bitsPerPixel != ScreenBitsPerPixel())
                    return nullptr;
                slot = reinterpret_cast<HGDIOBJ*>(&state.bitmap);
                break;
            }
            case ObjectKind::Brush: slot = reinterpret_cast<HGDIOBJ*>(&state.brush); break;
            case ObjectKind::Pen: slot = reinterpret_cast<HGDIOBJ*>(&state.pen); break;
            case ObjectKind::Font:
                if (MetaRecorder* recorder = RecorderOf(*context)) recorder->SelectObject(handle, *object);
                slot = reinterpret_cast<HGDIOBJ*>(&state.font);
                break;
            case ObjectKind::Region: {
                const int complexity = SelectClip(state, static_cast<const Region*>(object));
                return reinterpret_cast<HGDIOBJ>(static_cast<intptr_t>(complexity));
            }
            default: return nullptr;
        }
        const HGDIOBJ previous = *slot;
        if (previous == handle) return previous;
        Hold(objects, dc, handle);
        *slot = handle;
        LetGo(objects, previous);
        return previous;
    } catch (...) {
        return nullptr;  // the holders' count could not grow
    }
}

VXPLATFORMAPI HGDIOBJ GetCurrentObject(HDC dc, UINT type) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return nullptr;
    switch (type) {
        case OBJ_PEN: return context->state.pen;
        case OBJ_BRUSH: return context->state.brush;
        case OBJ_PAL: return context->state.palette;
        case OBJ_BITMAP: return context->state.bitmap;  // none for a screen DC
        case OBJ_FONT: return context->state.font;
        default: return nullptr;
    }
}

}  // extern "C"

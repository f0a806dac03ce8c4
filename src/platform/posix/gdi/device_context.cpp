// device_context.cpp - device contexts of the Linux subset: CreateCompatibleDC and DeleteDC
// (memory DCs), GetDC and ReleaseDC (screen DCs; USER calls in Windows, kept here beside the
// DCs they lend), and SelectPalette.
//
// A DC holds what is selected into it; for now that is its palette, the stock default palette
// until SelectPalette puts another in. A screen DC comes from a cache as Windows' do: ReleaseDC
// gives it back without deleting it, so its handle stays a DC (GetObjectType answers OBJ_DC)
// and a later GetDC(NULL) lends it out again, its selections reset; releasing it twice answers
// 0 the second time. Deleting a cached DC (DeleteDC or DeleteObject) frees it for good. There
// are no windows yet, so GetDC of any window but the screen answers NULL.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {
namespace {

// The screen DCs ever lent out and not known to be deleted. Guarded by the table lock.
std::vector<HDC>& ScreenCache() {
    static auto* cache = new std::vector<HDC>;
    return *cache;
}

}  // namespace
}  // namespace vx::posix::gdi

using vx::posix::gdi::DcState;
using vx::posix::gdi::InitialState;
using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::ObjectKind;
using vx::posix::gdi::Objects;
using vx::posix::gdi::Palette;

extern "C" {

VXPLATFORMAPI HDC CreateCompatibleDC(HDC like) {
    try {
        auto context = std::make_unique<DeviceContext>(ObjectKind::MemoryDC);
        context->state = InitialState(ObjectKind::MemoryDC);
        auto objects = Objects();
        if (like != nullptr && objects.find<DeviceContext>(like) == nullptr) return nullptr;
        return static_cast<HDC>(objects.add(std::move(context)));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI BOOL DeleteDC(HDC dc) {
    std::unique_ptr<vx::posix::gdi::GdiObject> object;
    {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return FALSE;
        vx::posix::gdi::ReleaseSelections(objects, dc, context->state);
        object = objects.remove(dc);
    }
    return TRUE;
}

VXPLATFORMAPI HPALETTE SelectPalette(HDC dc, HPALETTE palette, BOOL /*forceBackground*/) {
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    const Palette* found = objects.find<Palette>(palette);
    if (context == nullptr || found == nullptr) return nullptr;
    if (vx::posix::gdi::MetaRecorder* recorder = vx::posix::gdi::RecorderOf(*context)) {
        recorder->SelectPalette(palette, *found);
        // A Windows metafile DC answers TRUE where the previous palette would be.
        if (!recorder->keepsState()) return reinterpret_cast<HPALETTE>(intptr_t{1});
    }
    return std::exchange(context->state.palette, palette);
}

VXPLATFORMAPI HDC GetDC(HWND window) {
    if (window != nullptr) return nullptr;
    try {
        const DcState initial = InitialState(ObjectKind::DC);
        auto objects = Objects();
        std::vector<HDC>& cache = vx::posix::gdi::ScreenCache();
        std::erase_if(cache, [&](HDC dc) { return objects.find<DeviceContext>(dc) == nullptr; });
        for (HDC dc : cache) {
            DeviceContext* context = objects.find<DeviceContext>(dc);
            if (context->released) {
                context->released = false;
                vx::posix::gdi::ReleaseSelections(objects, dc, context->state);
                context->state = initial;
                context->saved.clear();
                return dc;
            }
        }
        cache.reserve(cache.size() + 1);
        auto context = std::make_unique<DeviceContext>(ObjectKind::DC);
        context->state = initial;
        const auto dc = static_cast<HDC>(objects.add(std::move(context)));
        cache.push_back(dc);
        return dc;
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI int ReleaseDC(HWND /*window*/, HDC dc) {
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr || context->kind() != ObjectKind::DC || context->released) return 0;
    context->released = true;
    return 1;
}

}  // extern "C"

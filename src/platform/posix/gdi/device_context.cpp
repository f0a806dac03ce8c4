// device_context.cpp - device contexts of the Linux subset: CreateCompatibleDC and DeleteDC
// (memory DCs), GetDC and ReleaseDC (screen and window DCs; USER calls in Windows, kept here
// beside the DCs they lend), SelectPalette, and LendDC and ForgetWindowDCs (objects.hpp) for
// the window layer.
//
// A DC holds what is selected into it; for now that is its palette, the stock default palette
// until SelectPalette puts another in. A screen DC comes from a cache as Windows' do: ReleaseDC
// gives it back without deleting it, so its handle stays a DC (GetObjectType answers OBJ_DC)
// and a later GetDC(NULL) lends it out again, its selections reset; releasing it twice answers
// 0 the second time. Deleting a cached DC (DeleteDC or DeleteObject) frees it for good.
//
// The same cache lends the DCs of windows (LendDC): GetDC of a window gives a DC that draws
// into its client pixels, BeginPaint one limited to the update region. Releasing a window DC
// shows the host what may have changed (the client area, or the region a paint DC was limited
// to). When a window goes, its DCs go back to the cache and draw nothing; releasing one then
// answers 0, as Windows does.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/regions.hpp"
#include "platform/posix/window.hpp"

namespace vx::posix::gdi {
namespace {

// The screen DCs ever lent out and not known to be deleted. Guarded by the table lock.
std::vector<HDC>& ScreenCache() {
    static auto* cache = new std::vector<HDC>;
    return *cache;
}

}  // namespace

HDC LendDC(std::shared_ptr<WindowSurface> window, std::optional<std::vector<RECT>> visible) {
    try {
        const DcState initial = InitialState(ObjectKind::DC);
        auto objects = Objects();
        if (window != nullptr && !window->alive) return nullptr;
        std::vector<HDC>& cache = ScreenCache();
        std::erase_if(cache, [&](HDC dc) { return objects.find<DeviceContext>(dc) == nullptr; });
        auto lend = [&](HDC dc, DeviceContext& context) {
            context.released = false;
            context.window = std::move(window);
            context.visible = std::move(visible);
            return dc;
        };
        for (HDC dc : cache) {
            DeviceContext* context = objects.find<DeviceContext>(dc);
            if (context->released) {
                ReleaseSelections(objects, dc, context->state);
                context->state = initial;
                context->saved.clear();
                return lend(dc, *context);
            }
        }
        cache.reserve(cache.size() + 1);
        auto context = std::make_unique<DeviceContext>(ObjectKind::DC);
        context->state = initial;
        DeviceContext& made = *context;
        const auto dc = static_cast<HDC>(objects.add(std::move(context)));
        cache.push_back(dc);
        return lend(dc, made);
    } catch (...) {
        return nullptr;
    }
}

void ForgetWindowDCs(const ObjectTable::Access& objects, const WindowSurface* window) {
    for (HDC dc : ScreenCache()) {
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr || context->window.get() != window) continue;
        context->released = true;
        context->window.reset();
        context->visible.reset();
    }
}

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
    if (window == nullptr) return vx::posix::gdi::LendDC(nullptr, std::nullopt);
    std::shared_ptr<vx::posix::gdi::WindowSurface> surface = vx::posix::user::SurfaceOf(window);
    return surface != nullptr ? vx::posix::gdi::LendDC(std::move(surface), std::nullopt) : nullptr;
}

VXPLATFORMAPI int ReleaseDC(HWND /*window*/, HDC dc) {
    HWND shown = nullptr;
    RECT changed{0, 0, 0, 0};
    {
        auto objects = Objects();
        DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr || context->kind() != ObjectKind::DC || context->released) return 0;
        context->released = true;
        if (context->window != nullptr && context->window->alive) {
            shown = context->window->window;
            changed = RECT{0, 0, context->window->width, context->window->height};
            if (context->visible) changed = vx::posix::gdi::RegionBox(*context->visible);
        }
    }
    if (shown != nullptr) vx::posix::user::Present(shown, changed);
    return 1;
}

}  // extern "C"

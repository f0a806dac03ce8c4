// mapping.cpp - mapping modes of the Linux subset: SetMapMode, GetMapMode, SetWindowOrgEx,
// GetWindowOrgEx, SetWindowExtEx, GetWindowExtEx, SetViewportOrgEx, GetViewportOrgEx,
// SetViewportExtEx, GetViewportExtEx, OffsetWindowOrgEx, OffsetViewportOrgEx, ScaleWindowExtEx,
// ScaleViewportExtEx, LPtoDP and DPtoLP; and the conversions the drawing code uses: ToDevice,
// ToLogical and ToDeviceRect (objects.hpp).
//
// Windows keeps the mapping of a DC as a transformation matrix of single-precision floats,
// made from the window and viewport origins and extents whenever one of them changes, and its
// inverse, made from that float matrix; a point is then mapped in double precision through
// the float coefficients and rounded half up (floor(v + 0.5)), a result beyond 32 bits
// becoming INT_MIN as the processor's conversion makes it. The float coefficients are why a
// scale of 1/3 maps 2000000000 to 666666687 and not 666666667, and why DPtoLP is not always
// the exact inverse of LPtoDP; this file computes the same matrices the same way, so every
// mapped point equals Windows' bit for bit.
//
// The fixed modes (MM_LOMETRIC ... MM_TWIPS) and the isotropic adjustment are derived from
// the device's HORZSIZE / VERTSIZE (millimetres) and HORZRES / VERTRES (pixels), asked of
// GetDeviceCaps before the table is locked. SetMapMode(MM_ISOTROPIC) starts from the
// MM_LOMETRIC extents without adjusting them; each later extent change adjusts the viewport
// extent so that a logical unit has the same physical size on both axes.
//
// The offsets add to an origin with 32-bit wrap-around. The scales multiply an extent by the
// numerator in 32-bit wrapping arithmetic and divide by the denominator truncating, as Windows
// does; an axis that comes out 0 becomes 1, and a zero numerator or denominator is refused
// after the previous extents are reported. In a mode that fixes the extents they report them
// and change nothing. (Windows faults dividing -2^31 by -1; here the extent stays -2^31.) On a
// metafile DC the call is recorded, and only an enhanced metafile DC keeps the new state.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

// The window-to-viewport transformation (no world transformation: it is the identity here).
struct Transform {
    float m11 = 1, m22 = 1, dx = 0, dy = 0;
};

Transform Forward(const DcState& state) {
    const double scaleX = static_cast<double>(state.viewportExtent.cx) / state.windowExtent.cx;
    const double scaleY = static_cast<double>(state.viewportExtent.cy) / state.windowExtent.cy;
    return {static_cast<float>(scaleX), static_cast<float>(scaleY),
            static_cast<float>(state.viewportOrigin.x - scaleX * state.windowOrigin.x),
            static_cast<float>(state.viewportOrigin.y - scaleY * state.windowOrigin.y)};
}

// The inverse as Windows computes it from the float matrix; false when it is singular.
bool Inverse(const Transform& forward, Transform& inverse) {
    const float product = forward.m11 * forward.m22;
    const double determinant = product;
    if (determinant > -1e-12 && determinant < 1e-12) return false;
    inverse.m11 = static_cast<float>(forward.m22 / determinant);
    inverse.m22 = static_cast<float>(forward.m11 / determinant);
    inverse.dx = -forward.dx * inverse.m11;
    inverse.dy = -forward.dy * inverse.m22;
    return true;
}

LONG Round(double value) {
    const double rounded = std::floor(value + 0.5);
    if (!(rounded >= -2147483648.0 && rounded < 2147483648.0)) return INT32_MIN;
    return static_cast<LONG>(rounded);
}

POINT Apply(const Transform& t, POINT p) {
    return {Round(static_cast<double>(p.x) * t.m11 + t.dx), Round(static_cast<double>(p.y) * t.m22 + t.dy)};
}

// a * b / c rounded half away from zero in 64 bits; -1 when c is 0 or the result leaves
// 32 bits (Windows' MulDiv).
int MulDiv64(int a, int b, int c) {
    if (c == 0) return -1;
    if (c < 0) {
        a = -a;
        c = -c;
    }
    const int64_t product = static_cast<int64_t>(a) * b;
    const int64_t result = (product >= 0 ? product + c / 2 : product - c / 2) / c;
    return result > 2147483647 || result < -2147483647 ? -1 : static_cast<int>(result);
}

// The device's size in millimetres and pixels, which the fixed and isotropic modes scale by.
struct Metrics {
    int sizeX, sizeY, resX, resY;
};

Metrics DeviceMetrics(HDC dc) {
    return {GetDeviceCaps(dc, HORZSIZE), GetDeviceCaps(dc, VERTSIZE), GetDeviceCaps(dc, HORZRES),
            GetDeviceCaps(dc, VERTRES)};
}

int WrappingProduct(int a, int b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// Shrinks one viewport extent so that logical units are square on the device.
void FixIsotropic(DcState& state, const Metrics& m) {
    if (m.resX == 0 || m.resY == 0) return;  // a device without metrics: nothing to square to
    SIZE& viewport = state.viewportExtent;
    const double xdim = std::fabs(static_cast<double>(viewport.cx) * m.sizeX /
                                  WrappingProduct(m.resX, state.windowExtent.cx));
    const double ydim = std::fabs(static_cast<double>(viewport.cy) * m.sizeY /
                                  WrappingProduct(m.resY, state.windowExtent.cy));
    if (xdim > ydim) {
        const LONG least = viewport.cx >= 0 ? 1 : -1;
        viewport.cx = Round(viewport.cx * ydim / xdim);
        if (viewport.cx == 0) viewport.cx = least;
    } else {
        const LONG least = viewport.cy >= 0 ? 1 : -1;
        viewport.cy = Round(viewport.cy * xdim / ydim);
        if (viewport.cy == 0) viewport.cy = least;
    }
}

bool Scalable(const DcState& state) { return state.mapMode == MM_ISOTROPIC || state.mapMode == MM_ANISOTROPIC; }

// Hands a window or viewport call to a metafile DC's recorder; true when the call is done
// (the recorder keeps no state: the call answers TRUE and leaves `previous` alone).
bool Recorded(const DeviceContext& context, void (MetaRecorder::*record)(int, int), int x, int y) {
    MetaRecorder* recorder = RecorderOf(context);
    if (recorder == nullptr) return false;
    (recorder->*record)(x, y);
    return !recorder->keepsState();
}

// Sets one of the extents: refused (after the previous one is reported) in a mode that fixes
// them or for a zero extent; `metrics` are the DC's, asked before the lock.
BOOL SetExtent(HDC dc, SIZE DcState::*extent, void (MetaRecorder::*record)(int, int), int x, int y,
              LPSIZE previous) {
    const Metrics metrics = DeviceMetrics(dc);
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return FALSE;
    if (Recorded(*context, record, x, y)) return TRUE;
    DcState& state = context->state;
    if (previous != nullptr) *previous = state.*extent;
    if (!Scalable(state)) return TRUE;
    if (x == 0 || y == 0) return FALSE;
    state.*extent = SIZE{x, y};
    if (state.mapMode == MM_ISOTROPIC) FixIsotropic(state, metrics);
    return TRUE;
}

BOOL SetOrigin(HDC dc, POINT DcState::*origin, void (MetaRecorder::*record)(int, int), int x, int y,
              LPPOINT previous) {
    return OnDC(dc, FALSE, [&](auto&, DeviceContext& context) {
        if (Recorded(context, record, x, y)) return TRUE;
        if (previous != nullptr) *previous = context.state.*origin;
        context.state.*origin = POINT{x, y};
        return TRUE;
    });
}

// What a metafile DC does with a mapping call: false when it is recorded and the DC keeps no
// mapping state (a Windows metafile DC), so the call is done.
template <typename Record>
bool Recorded(DeviceContext& context, Record record) {
    MetaRecorder* recorder = RecorderOf(context);
    if (recorder == nullptr) return false;
    record(*recorder);
    return context.kind() == ObjectKind::MetaDC;
}

BOOL OffsetOrigin(HDC dc, POINT DcState::*origin, int x, int y, LPPOINT previous, bool window) {
    return OnDC(dc, FALSE, [&](auto&, DeviceContext& context) {
        if (Recorded(context, [&](MetaRecorder& r) { window ? r.OffsetWindowOrg(x, y) : r.OffsetViewportOrg(x, y); }))
            return TRUE;
        POINT& at = context.state.*origin;
        if (previous != nullptr) *previous = at;
        const auto add = [](LONG a, int b) {
            return static_cast<LONG>(static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)));
        };
        at = POINT{add(at.x, x), add(at.y, y)};
        return TRUE;
    });
}

// extent * num / denom with the product wrapped to 32 bits and the quotient truncated.
LONG ScaledExtent(LONG extent, int num, int denom) {
    const int product = WrappingProduct(extent, num);
    if (product == INT32_MIN && denom == -1) return INT32_MIN;
    const int scaled = product / denom;
    return scaled == 0 ? 1 : scaled;
}

BOOL ScaleExtent(HDC dc, SIZE DcState::*extent, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous,
                 bool window) {
    const Metrics metrics = DeviceMetrics(dc);
    return OnDC(dc, FALSE, [&](auto&, DeviceContext& context) {
        if (Recorded(context, [&](MetaRecorder& r) {
                window ? r.ScaleWindowExt(xNum, xDenom, yNum, yDenom) : r.ScaleViewportExt(xNum, xDenom, yNum, yDenom);
            }))
            return TRUE;
        DcState& state = context.state;
        if (previous != nullptr) *previous = state.*extent;
        if (!Scalable(state)) return TRUE;
        if (xNum == 0 || xDenom == 0 || yNum == 0 || yDenom == 0) return FALSE;
        SIZE& size = state.*extent;
        size = SIZE{ScaledExtent(size.cx, xNum, xDenom), ScaledExtent(size.cy, yNum, yDenom)};
        if (state.mapMode == MM_ISOTROPIC) FixIsotropic(state, metrics);
        return TRUE;
    });
}

template <typename Value>
BOOL GetSetting(HDC dc, Value DcState::*member, Value* out) {
    if (out == nullptr) return FALSE;
    return OnDC(dc, FALSE, [&](auto&, const DeviceContext& context) {
        if (StatelessRecorderOf(context) != nullptr) return FALSE;
        *out = context.state.*member;
        return TRUE;
    });
}

}  // namespace

POINT ToDevice(const DcState& state, POINT logical) { return Apply(Forward(state), logical); }

bool ToLogical(const DcState& state, POINT& point) {
    Transform inverse;
    if (!Inverse(Forward(state), inverse)) return false;
    point = Apply(inverse, point);
    return true;
}

RECT ToDeviceRect(const DcState& state, int x, int y, int width, int height) {
    // The far corner wraps as Windows' 32-bit sum does.
    const auto far = [](int origin, int extent) {
        return static_cast<int>(static_cast<int32_t>(static_cast<uint32_t>(origin) + static_cast<uint32_t>(extent)));
    };
    const Transform forward = Forward(state);
    const POINT a = Apply(forward, POINT{x, y});
    const POINT b = Apply(forward, POINT{far(x, width), far(y, height)});
    return RECT{a.x, a.y, b.x, b.y};
}

}  // namespace vx::posix::gdi

using vx::posix::gdi::DcState;
using vx::posix::gdi::DeviceContext;
using vx::posix::gdi::MetaRecorder;
using vx::posix::gdi::Objects;

extern "C" {

VXPLATFORMAPI int SetMapMode(HDC dc, int mode) {
    const auto m = vx::posix::gdi::DeviceMetrics(dc);
    auto objects = Objects();
    DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return 0;
    if (MetaRecorder* recorder = vx::posix::gdi::RecorderOf(*context)) {
        recorder->SetMapMode(mode);  // a Windows metafile records even a mode out of range
        if (!recorder->keepsState()) return 1;
    }
    if (mode < MM_TEXT || mode > MM_ANISOTROPIC) return 0;
    DcState& state = context->state;
    const int previous = state.mapMode;
    if (mode == previous && vx::posix::gdi::Scalable(state)) return previous;
    // Window extents in tenths, hundredths or thousandths of a millimetre, of an inch, or in
    // twentieths of a point, over the device's pixels; y grows upwards.
    const auto fixed = [&](int unitsPerMillimetre10, bool inches) {
        using vx::posix::gdi::MulDiv64;
        state.windowExtent = inches ? SIZE{MulDiv64(unitsPerMillimetre10, m.sizeX, 254),
                                           MulDiv64(unitsPerMillimetre10, m.sizeY, 254)}
                                    : SIZE{m.sizeX * unitsPerMillimetre10, m.sizeY * unitsPerMillimetre10};
        state.viewportExtent = SIZE{m.resX, -m.resY};
    };
    switch (mode) {
        case MM_TEXT:
            state.windowExtent = state.viewportExtent = SIZE{1, 1};
            break;
        case MM_LOMETRIC:
        case MM_ISOTROPIC: fixed(10, false); break;
        case MM_HIMETRIC: fixed(100, false); break;
        case MM_LOENGLISH: fixed(1000, true); break;
        case MM_HIENGLISH: fixed(10000, true); break;
        case MM_TWIPS: fixed(14400, true); break;
        case MM_ANISOTROPIC: break;
    }
    state.mapMode = mode;
    return previous;
}

VXPLATFORMAPI int GetMapMode(HDC dc) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    return context == nullptr || vx::posix::gdi::StatelessRecorderOf(*context) != nullptr ? 0 : context->state.mapMode;
}

VXPLATFORMAPI BOOL SetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous) {
    return vx::posix::gdi::SetOrigin(dc, &DcState::windowOrigin, &MetaRecorder::SetWindowOrg, x, y, previous);
}

VXPLATFORMAPI BOOL GetWindowOrgEx(HDC dc, LPPOINT origin) {
    return vx::posix::gdi::GetSetting(dc, &DcState::windowOrigin, origin);
}

VXPLATFORMAPI BOOL SetWindowExtEx(HDC dc, int x, int y, LPSIZE previous) {
    return vx::posix::gdi::SetExtent(dc, &DcState::windowExtent, &MetaRecorder::SetWindowExt, x, y, previous);
}

VXPLATFORMAPI BOOL GetWindowExtEx(HDC dc, LPSIZE extent) {
    return vx::posix::gdi::GetSetting(dc, &DcState::windowExtent, extent);
}

VXPLATFORMAPI BOOL SetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous) {
    return vx::posix::gdi::SetOrigin(dc, &DcState::viewportOrigin, &MetaRecorder::SetViewportOrg, x, y, previous);
}

VXPLATFORMAPI BOOL GetViewportOrgEx(HDC dc, LPPOINT origin) {
    return vx::posix::gdi::GetSetting(dc, &DcState::viewportOrigin, origin);
}

VXPLATFORMAPI BOOL SetViewportExtEx(HDC dc, int x, int y, LPSIZE previous) {
    return vx::posix::gdi::SetExtent(dc, &DcState::viewportExtent, &MetaRecorder::SetViewportExt, x, y, previous);
}

VXPLATFORMAPI BOOL GetViewportExtEx(HDC dc, LPSIZE extent) {
    return vx::posix::gdi::GetSetting(dc, &DcState::viewportExtent, extent);
}

VXPLATFORMAPI BOOL OffsetWindowOrgEx(HDC dc, int x, int y, LPPOINT previous) {
    return vx::posix::gdi::OffsetOrigin(dc, &DcState::windowOrigin, x, y, previous, true);
}

VXPLATFORMAPI BOOL OffsetViewportOrgEx(HDC dc, int x, int y, LPPOINT previous) {
    return vx::posix::gdi::OffsetOrigin(dc, &DcState::viewportOrigin, x, y, previous, false);
}

VXPLATFORMAPI BOOL ScaleWindowExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous) {
    return vx::posix::gdi::ScaleExtent(dc, &DcState::windowExtent, xNum, xDenom, yNum, yDenom, previous, true);
}

VXPLATFORMAPI BOOL ScaleViewportExtEx(HDC dc, int xNum, int xDenom, int yNum, int yDenom, LPSIZE previous) {
    return vx::posix::gdi::ScaleExtent(dc, &DcState::viewportExtent, xNum, xDenom, yNum, yDenom, previous, false);
}

VXPLATFORMAPI BOOL LPtoDP(HDC dc, LPPOINT points, int count) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr || (points == nullptr && count > 0)) return FALSE;
    for (int i = 0; i < count; ++i) points[i] = vx::posix::gdi::ToDevice(context->state, points[i]);
    return TRUE;
}

VXPLATFORMAPI BOOL DPtoLP(HDC dc, LPPOINT points, int count) {
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr || (points == nullptr && count > 0)) return FALSE;
    for (int i = 0; i < count; ++i) {
        if (!vx::posix::gdi::ToLogical(context->state, points[i])) return FALSE;
    }
    return TRUE;
}

}  // extern "C"

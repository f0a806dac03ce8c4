// colours.cpp - the colours and modes of a DC that the transfers read: SetTextColor,
// GetTextColor, SetBkColor, GetBkColor, SetBkMode, GetBkMode, SetStretchBltMode and
// GetStretchBltMode.
//
// Colours are kept as given, PALETTEINDEX and high bytes included, and resolved when drawn
// (ResolveColour). The answers to bad handles are Windows': CLR_INVALID from the colour
// setters and from GetBkColor, but 0 from GetTextColor; 0 from the mode calls, which also
// refuse a mode out of range (background modes TRANSPARENT and OPAQUE, stretch modes
// BLACKONWHITE to HALFTONE) and leave the DC as it was.
#include <utility>

#include "platform/posix/gdi/metafile_recorder.hpp"

namespace vx::posix::gdi {
namespace {

// Sets a member of a DC's state and answers the old value; a metafile DC's recorder is told
// first (`record`), and one that keeps no state answers 1.
template <typename T, typename Record>
T Exchange(HDC dc, T DcState::*member, T value, T failure, Record record) {
    return OnDC(dc, failure, [&](auto&, DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context)) {
            (recorder->*record)(value);
            if (!recorder->keepsState()) return T{1};
        }
        return std::exchange(context.state.*member, value);
    });
}

// A DC's setting; `failure` from a DC that keeps none.
template <typename T>
T Read(HDC dc, T DcState::*member, T failure) {
    return OnDC(dc, failure, [&](auto&, const DeviceContext& context) {
        return StatelessRecorderOf(context) != nullptr ? failure : context.state.*member;
    });
}

}  // namespace
}  // namespace vx::posix::gdi

using vx::posix::gdi::DcState;
using vx::posix::gdi::Exchange;
using vx::posix::gdi::MetaRecorder;
using vx::posix::gdi::Read;

extern "C" {

VXPLATFORMAPI COLORREF SetTextColor(HDC dc, COLORREF colour) {
    return Exchange(dc, &DcState::textColour, colour, COLORREF{CLR_INVALID}, &MetaRecorder::SetTextColor);
}
VXPLATFORMAPI COLORREF GetTextColor(HDC dc) { return Read(dc, &DcState::textColour, COLORREF{0}); }
VXPLATFORMAPI COLORREF SetBkColor(HDC dc, COLORREF colour) {
    return Exchange(dc, &DcState::backgroundColour, colour, COLORREF{CLR_INVALID}, &MetaRecorder::SetBkColor);
}
VXPLATFORMAPI COLORREF GetBkColor(HDC dc) { return Read(dc, &DcState::backgroundColour, COLORREF{CLR_INVALID}); }

VXPLATFORMAPI int SetBkMode(HDC dc, int mode) {
    if (mode != TRANSPARENT && mode != OPAQUE) return 0;
    return Exchange(dc, &DcState::backgroundMode, mode, 0, &MetaRecorder::SetBkMode);
}
VXPLATFORMAPI int GetBkMode(HDC dc) { return Read(dc, &DcState::backgroundMode, 0); }

VXPLATFORMAPI int SetStretchBltMode(HDC dc, int mode) {
    if (mode < BLACKONWHITE || mode > HALFTONE) return 0;
    return Exchange(dc, &DcState::stretchMode, mode, 0, &MetaRecorder::SetStretchBltMode);
}
VXPLATFORMAPI int GetStretchBltMode(HDC dc) { return Read(dc, &DcState::stretchMode, 0); }

}  // extern "C"

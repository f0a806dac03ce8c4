// text.cpp - text output of the Linux subset: TextOutA, ExtTextOutA, SetTextAlign and
// GetTextAlign (GDI), and DrawTextA, OemToCharA and GetActiveWindow (USER calls, kept here
// beside the text they serve).
//
// Placing. A run of text starts at its reference point, a logical point mapped to the device
// (the current position instead with TA_UPDATECP, which then moves past the text); the text
// alignment puts the point at the left, centre or right of the run and at its top, baseline or
// bottom. From there everything is in device pixels: the font is realised at the height the
// DC's mapping gives its logical height (fonts.hpp), and the pen moves by the glyphs' device
// advances, or by the caller's logical spacing scaled to the device. Glyphs stay upright
// whichever way the mapping points an axis. Where the background mode is OPAQUE the run's cell
// (its width by the font's height) is first filled with the background colour; ETO_OPAQUE
// fills the caller's rectangle too, and ETO_CLIPPED draws only inside it.
//
// Drawing. Glyph bits are stored through the DC's surface as the text colour's pixel (on a
// 1-bit surface chosen as pens choose it), clipped to the DC's visible rectangles; fills go
// through the blit engine (RunBlit, PATCOPY with a solid pattern). The store is picked once
// per call by the surface's depth. A run stops at the right edge of what is visible, so a line
// millions of characters long costs its measuring, not its drawing.
//
// DrawTextA lays lines out as Windows' USER does (as Wine shows it): a line ends at CR, LF,
// CR LF or LF CR, a break at the very end of the text opens no further line, and an empty
// text answers one line's height and leaves the rectangle alone. Without DT_NOPREFIX, '&'
// marks the next character, which is drawn underlined, "&&" shows one '&', a '&' before a
// line break vanishes and one ending the text is shown. Tabs are glyphs like any other byte
// unless DT_EXPANDTABS sets stops every eight average character widths. Lines are
// tmHeight apart (plus tmExternalLeading with DT_EXTERNALLEADING); DT_CENTER and DT_RIGHT
// place each line in the rectangle, DT_VCENTER and DT_BOTTOM a DT_SINGLELINE one; DT_WORDBREAK
// is not done (lines are never wrapped). DT_CALCRECT only measures: right becomes left plus
// the widest line, bottom top plus the height. The answer is the height of the text, limited
// to 32 bits, as is the rectangle. Nothing holds the whole layout: measuring and drawing each
// walk the text once.
//
// A metafile DC hands TextOutA, ExtTextOutA and SetTextAlign to its recorder as they were
// called, and DrawTextA's lines to it as ExtTextOutA calls (laid out with the DC's font).
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/gdi/fonts.hpp"
#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/raster.hpp"
#include "platform/posix/gdi/regions.hpp"

namespace vx::posix::gdi {
namespace {

// ---- storing glyph pixels, one instance per depth ----------------------------------------------

template <int Bits>
inline void Store(uint8_t* row, int x, uint32_t pixel) {
    if constexpr (Bits == 1) {
        const auto mask = static_cast<uint8_t>(0x80u >> (x & 7));
        row[x >> 3] = static_cast<uint8_t>((pixel & 1) != 0 ? row[x >> 3] | mask : row[x >> 3] & ~mask);
    } else if constexpr (Bits == 4) {
        const int shift = (x & 1) != 0 ? 0 : 4;
        row[x >> 1] = static_cast<uint8_t>((row[x >> 1] & ~(0xFu << shift)) | ((pixel & 0xFu) << shift));
    } else if constexpr (Bits == 8) {
        row[x] = static_cast<uint8_t>(pixel);
    } else if constexpr (Bits == 16) {
        const auto value = static_cast<uint16_t>(pixel);
        std::memcpy(row + 2 * x, &value, 2);
    } else if constexpr (Bits == 24) {
        for (int i = 0; i < 3; ++i) row[3 * x + i] = static_cast<uint8_t>(pixel >> (8 * i));
    } else {
        std::memcpy(row + 4 * x, &pixel, 4);
    }
}

// Stores `pixel` where the glyph placed with its top-left corner at (x0, y0) has ink, inside
// `clip`.
template <int Bits>
void PlotGlyph(const Surface& surface, const Glyph& glyph, int x0, int y0, const RECT& clip, uint32_t pixel) {
    const int left = std::max(x0, static_cast<int>(clip.left));
    const int right = static_cast<int>(std::min<int64_t>(int64_t{x0} + glyph.width, clip.right));
    const int top = std::max(y0, static_cast<int>(clip.top));
    const int bottom = static_cast<int>(std::min<int64_t>(int64_t{y0} + glyph.rows, clip.bottom));
    for (int y = top; y < bottom; ++y) {
        const uint8_t* ink = glyph.bits.data() + static_cast<size_t>(y - y0) * glyph.pitch;
        uint8_t* row = surface.bits + static_cast<ptrdiff_t>(y) * surface.stride;
        for (int x = left; x < right; ++x) {
            const int gx = x - x0;
            if ((ink[gx >> 3] & (0x80u >> (gx & 7))) != 0) Store<Bits>(row, x, pixel);
        }
    }
}

using GlyphPlotter = void (*)(const Surface&, const Glyph&, int, int, const RECT&, uint32_t);

GlyphPlotter PlotterFor(int bitsPerPixel) {
    switch (bitsPerPixel) {
        case 1: return PlotGlyph<1>;
        case 4: return PlotGlyph<4>;
        case 8: return PlotGlyph<8>;
        case 16: return PlotGlyph<16>;
        case 24: return PlotGlyph<24>;
        default: return PlotGlyph<32>;
    }
}

bool Empty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }

// A logical rectangle in device coordinates, normalised.
RECT DeviceRect(const DcState& state, const RECT& logical) {
    const POINT a = ToDevice(state, POINT{logical.left, logical.top});
    const POINT b = ToDevice(state, POINT{logical.right, logical.bottom});
    return RECT{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

LONG Clamp32(int64_t value) { return static_cast<LONG>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX)); }

// What one text call draws with: the DC's surface and colours, the rectangles it may touch,
// and its font. Built with the table locked.
class TextPainter {
public:
    TextPainter(const ObjectTable::Access& objects, const DeviceContext& context, const RealizedFont& font,
                const RECT* deviceClip)
        : target_(TargetOf(objects, context)), font_(font), opaque_(context.state.backgroundMode == OPAQUE) {
        if (target_.surface.bits == nullptr) target_.visible.clear();
        if (deviceClip != nullptr)
            target_.visible = CombineBands(target_.visible, RectRegion(deviceClip->left, deviceClip->top,
                                                                       deviceClip->right, deviceClip->bottom),
                                           RGN_AND);
        for (const RECT& r : target_.visible) rightmost_ = std::max<int64_t>(rightmost_, r.right);
        ink_ = SolidPixel(target_, target_.text);
        plot_ = PlotterFor(target_.surface.bitsPerPixel);
    }

    bool drawsNothing() const { return target_.visible.empty(); }

    // Fills a device rectangle with the background colour.
    void fillBackground(const RECT& area) const { fill(area, SolidPixel(target_, target_.background)); }
    // Fills the cell of a run `width` pixels wide from (x, top), when the mode is OPAQUE.
    void fillCell(int64_t x, int64_t top, int64_t width) const {
        if (opaque_) fillBackground(Cell(x, top, width, font_.metrics().height));
    }
    // Draws the glyph of `byte` with its pen position at x on the baseline; false once the pen
    // is past everything visible (advances never go back).
    bool glyph(uint8_t byte, int64_t x, int64_t baseline) const {
        if (x >= rightmost_) return false;
        const Glyph& g = font_.glyph(byte);
        if (g.rows == 0 || g.width == 0) return true;
        const int64_t x0 = x + g.left, y0 = baseline - g.top;
        if (x0 < INT32_MIN / 2 || y0 < INT32_MIN / 2 || y0 > INT32_MAX / 2) return true;
        for (const RECT& clip : target_.visible) {
            if (x0 >= clip.right || x0 + g.width <= clip.left || y0 >= clip.bottom || y0 + g.rows <= clip.top) continue;
            plot_(target_.surface, g, static_cast<int>(x0), static_cast<int>(y0), clip, ink_);
        }
        return true;
    }
    // A line one pixel high (more for large fonts) in the text colour, from x over `width`,
    // `below` rows under the baseline (negative: above).
    void rule(int64_t x, int64_t baseline, int64_t width, int below) const {
        const int thickness = std::max(1, font_.metrics().height / 16);
        fill(Cell(x, baseline + below, width, thickness), ink_);
    }

private:
    static RECT Cell(int64_t x, int64_t top, int64_t width, int64_t height) {
        return RECT{Clamp32(x), Clamp32(top), Clamp32(x + width), Clamp32(top + height)};
    }
    void fill(const RECT& area, uint32_t pixel) const {
        if (Empty(area) || drawsNothing()) return;
        BlitPattern pattern;
        pattern.pixel = pixel;
        BlitGeometry geometry;
        geometry.dest = area;
        geometry.rop = 0xF0;  // PATCOPY
        RunBlit(target_, nullptr, &pattern, geometry);
    }

    BlitTarget target_;
    const RealizedFont& font_;
    bool opaque_;
    int64_t rightmost_ = INT64_MIN;
    uint32_t ink_ = 0;
    GlyphPlotter plot_ = nullptr;
};

// ---- TextOutA and ExtTextOutA ------------------------------------------------------------------

struct RunRequest {
    int x = 0, y = 0;
    UINT options = 0;
    const RECT* rect = nullptr;
    std::string_view text;
    const INT* dx = nullptr;
};

BOOL DrawRun(const ObjectTable::Access& objects, DeviceContext& context, const RunRequest& run) {
    DcState& state = context.state;
    const auto font = FontOf(objects, state);
    if (font == nullptr) return FALSE;
    const TextScale scale = ScaleOf(state);
    const FontMetrics& m = font->metrics();

    // Pen offsets come from the caller's spacing (logical, summed before scaling so that the
    // rounding does not add up) or from the glyphs.
    const auto offsetAfter = [&](size_t i, int64_t& logicalSum, int64_t& device) {
        if (run.dx != nullptr) {
            logicalSum += run.dx[i];
            device = std::llround(static_cast<double>(logicalSum) * scale.x);
        } else {
            device += font->advance(static_cast<uint8_t>(run.text[i]));
        }
    };
    int64_t width = 0;
    for (int64_t i = 0, sum = 0; i < static_cast<int64_t>(run.text.size()); ++i) offsetAfter(i, sum, width);

    const bool updateCurrent = (state.textAlign & TA_UPDATECP) != 0;
    const POINT reference = ToDevice(state, updateCurrent ? state.position : POINT{run.x, run.y});
    int64_t left = reference.x;
    switch (state.textAlign & TA_CENTER) {
        case TA_RIGHT: left -= width; break;
        case TA_CENTER: left -= width / 2; break;
        default: break;
    }
    int64_t top = reference.y;
    switch (state.textAlign & TA_BASELINE) {
        case TA_BASELINE: top -= m.ascent; break;
        case TA_BOTTOM: top -= m.height; break;
        default: break;
    }
    if (updateCurrent) {
        const int logicalWidth = scale.toLogicalX(width);
        if ((state.textAlign & TA_CENTER) == TA_LEFT) state.position.x = Clamp32(int64_t{state.position.x} + logicalWidth);
        else if ((state.textAlign & TA_CENTER) == TA_RIGHT) state.position.x = Clamp32(int64_t{state.position.x} - logicalWidth);
    }

    RECT clip{};
    const bool clipped = run.rect != nullptr && (run.options & ETO_CLIPPED) != 0;
    if (clipped) clip = DeviceRect(state, *run.rect);
    const TextPainter painter(objects, context, *font, clipped ? &clip : nullptr);
    if (run.rect != nullptr && (run.options & ETO_OPAQUE) != 0) painter.fillBackground(DeviceRect(state, *run.rect));
    painter.fillCell(left, top, width);
    const int64_t baseline = top + m.ascent;
    int64_t offset = 0;
    for (int64_t i = 0, sum = 0; i < static_cast<int64_t>(run.text.size()); ++i) {
        if (!painter.glyph(static_cast<uint8_t>(run.text[i]), left + offset, baseline)) break;
        offsetAfter(i, sum, offset);
    }
    if (m.underlined != 0) painter.rule(left, baseline, width, 1);
    if (m.struckOut != 0) painter.rule(left, baseline, width, -m.ascent / 3);
    return TRUE;
}

// ---- DrawTextA ---------------------------------------------------------------------------------

// Where the next line of a text starts, given where the current one ends.
size_t SkipBreak(std::string_view text, size_t end) {
    if (end >= text.size()) return end;
    const char first = text[end];
    const bool pair = end + 1 < text.size() && (text[end + 1] == '\r' || text[end + 1] == '\n') &&
                      text[end + 1] != first;
    return end + (pair ? 2 : 1);
}

size_t LineEnd(std::string_view text, size_t begin, bool singleLine) {
    if (singleLine) return text.size();
    size_t end = begin;
    while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
    return end;
}

struct LineRules {
    bool prefixes = true;
    bool expandTabs = false;
    int tabStop = 0;  // device pixels
};

// Walks the characters DrawTextA shows of one line: `visit(byte, offset, underlined)` with the
// pen offset in device pixels, stopping when it answers false. Answers the line's width.
// `endsText` says whether the line is the end of the whole text (a '&' there is shown).
template <typename Visit>
int64_t WalkLine(const RealizedFont& font, std::string_view line, bool endsText, const LineRules& rules, Visit visit) {
    int64_t pen = 0;
    bool walking = true;
    for (size_t i = 0; i < line.size(); ++i) {
        auto byte = static_cast<uint8_t>(line[i]);
        bool underlined = false;
        if (rules.prefixes && byte == '&') {
            if (i + 1 < line.size()) {
                ++i;
                byte = static_cast<uint8_t>(line[i]);
                underlined = byte != '&';
            } else if (!endsText) {
                break;
            }
        }
        if (walking) walking = visit(byte, pen, underlined);
        if (byte == '\t' && rules.expandTabs && rules.tabStop > 0) pen = (pen / rules.tabStop + 1) * rules.tabStop;
        else pen += font.advance(byte);
    }
    return pen;
}

struct TextLayout {
    int64_t lines = 0;
    int64_t widest = 0;  // device pixels
};

TextLayout Measure(const RealizedFont& font, std::string_view text, bool singleLine, const LineRules& rules) {
    TextLayout layout;
    for (size_t begin = 0; begin < text.size() || layout.lines == 0;) {
        const size_t end = LineEnd(text, begin, singleLine);
        const int64_t width = WalkLine(font, text.substr(begin, end - begin), end == text.size(), rules,
                                       [](uint8_t, int64_t, bool) { return false; });
        layout.widest = std::max(layout.widest, width);
        ++layout.lines;
        begin = SkipBreak(text, end);
    }
    return layout;
}

int DrawTextOn(const ObjectTable::Access& objects, DeviceContext& context, std::string_view text, RECT& rect,
               UINT format) {
    DcState& state = context.state;
    const auto font = FontOf(objects, state);
    if (font == nullptr) return 0;
    const FontMetrics& m = font->metrics();
    const TextScale scale = ScaleOf(state);
    const int64_t lineHeight =
        scale.toLogicalY(m.height) + ((format & DT_EXTERNALLEADING) != 0 ? scale.toLogicalY(m.externalLeading) : 0);
    if (text.empty()) return static_cast<int>(lineHeight);

    const bool singleLine = (format & DT_SINGLELINE) != 0;
    const LineRules rules{(format & DT_NOPREFIX) == 0, (format & DT_EXPANDTABS) != 0, 8 * m.aveCharWidth};
    const TextLayout layout = Measure(*font, text, singleLine, rules);
    const int64_t height = layout.lines * lineHeight;
    if ((format & DT_CALCRECT) != 0) {
        rect.right = Clamp32(int64_t{rect.left} + scale.toLogicalX(layout.widest));
        rect.bottom = Clamp32(int64_t{rect.top} + height);
        return static_cast<int>(std::min<int64_t>(height, INT_MAX));
    }

    int64_t top = rect.top;
    if (singleLine && (format & DT_VCENTER) != 0) top += (int64_t{rect.bottom} - rect.top - height) / 2;
    else if (singleLine && (format & DT_BOTTOM) != 0) top = int64_t{rect.bottom} - height;
    const bool clipped = (format & DT_NOCLIP) == 0;
    MetaRecorder* recorder = RecorderOf(context);
    RECT clip = DeviceRect(state, rect);
    const TextPainter painter(objects, context, *font, clipped ? &clip : nullptr);
    for (size_t begin = 0, line = 0; begin < text.size() || line == 0; ++line) {
        const size_t end = LineEnd(text, begin, singleLine);
        const std::string_view shown = text.substr(begin, end - begin);
        const bool endsText = end == text.size();
        begin = SkipBreak(text, end);
        const int64_t width = WalkLine(*font, shown, endsText, rules, [](uint8_t, int64_t, bool) { return false; });
        int64_t x = rect.left;
        if ((format & DT_CENTER) != 0) x += (int64_t{rect.right} - rect.left - scale.toLogicalX(width)) / 2;
        else if ((format & DT_RIGHT) != 0) x = int64_t{rect.right} - scale.toLogicalX(width);
        const POINT logical{Clamp32(x), Clamp32(top + static_cast<int64_t>(line) * lineHeight)};
        if (recorder != nullptr) {
            std::string bytes;
            WalkLine(*font, shown, endsText, rules, [&](uint8_t byte, int64_t, bool) {
                bytes.push_back(static_cast<char>(byte));
                return true;
            });
            recorder->ExtTextOut(logical.x, logical.y, clipped ? ETO_CLIPPED : 0, clipped ? &rect : nullptr, bytes, {});
            continue;
        }
        if (painter.drawsNothing()) continue;
        const POINT origin = ToDevice(state, logical);
        painter.fillCell(origin.x, origin.y, width);
        const int64_t baseline = int64_t{origin.y} + m.ascent;
        WalkLine(*font, shown, endsText, rules, [&](uint8_t byte, int64_t offset, bool underlined) {
            if (underlined) painter.rule(origin.x + offset, baseline, font->advance(byte), 1);
            return painter.glyph(byte, origin.x + offset, baseline);
        });
    }
    return static_cast<int>(std::min<int64_t>(height, INT_MAX));
}

}  // namespace
}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI BOOL ExtTextOutA(HDC dc, int x, int y, UINT options, const RECT* rect, LPCSTR text, UINT count,
                               const INT* dx) {
    const std::string_view bytes = text != nullptr ? std::string_view(text, count) : std::string_view();
    return OnDC(dc, FALSE, [&](auto& objects, DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context)) {
            recorder->ExtTextOut(x, y, options, rect, bytes,
                                 dx != nullptr ? std::span<const INT>(dx, bytes.size()) : std::span<const INT>());
            return TRUE;
        }
        return DrawRun(objects, context, RunRequest{x, y, options, rect, bytes, dx});
    });
}

VXPLATFORMAPI BOOL TextOutA(HDC dc, int x, int y, LPCSTR text, int count) {
    if (count < 0) return FALSE;
    const std::string_view bytes = text != nullptr ? std::string_view(text, static_cast<size_t>(count)) : std::string_view();
    return OnDC(dc, FALSE, [&](auto& objects, DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context)) {
            recorder->TextOut(x, y, bytes);
            return TRUE;
        }
        return DrawRun(objects, context, RunRequest{x, y, 0, nullptr, bytes, nullptr});
    });
}

VXPLATFORMAPI UINT SetTextAlign(HDC dc, UINT align) {
    return OnDC(dc, static_cast<UINT>(GDI_ERROR), [&](auto&, DeviceContext& context) {
        if (MetaRecorder* recorder = RecorderOf(context)) recorder->SetTextAlign(align);
        return std::exchange(context.state.textAlign, align);
    });
}

// A handle that is not a DC answers 0 (as Windows does under Wine), not GDI_ERROR.
VXPLATFORMAPI UINT GetTextAlign(HDC dc) {
    return OnDC(dc, 0u, [](auto&, DeviceContext& context) { return context.state.textAlign; });
}

VXPLATFORMAPI HWND GetActiveWindow(void) { return nullptr; }

VXPLATFORMAPI int DrawTextA(HDC dc, LPCSTR text, int count, LPRECT rect, UINT format) {
    if (rect == nullptr || count == 0) return 0;
    if (text == nullptr) text = "";
    const std::string_view bytes = count < 0 ? std::string_view(text) : std::string_view(text, static_cast<size_t>(count));
    return OnDC(dc, 0, [&](auto& objects, DeviceContext& context) { return DrawTextOn(objects, context, bytes, *rect, format); });
}

VXPLATFORMAPI BOOL OemToCharA(LPCSTR source, LPSTR destination) {
    if (source == nullptr || destination == nullptr) return FALSE;
    for (size_t i = 0;; ++i) {
        const auto byte = static_cast<uint8_t>(source[i]);
        destination[i] = static_cast<char>(kOemToAnsi[byte]);
        if (byte == 0) return TRUE;
    }
}

}  // extern "C"

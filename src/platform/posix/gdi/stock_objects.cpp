// stock_objects.cpp - the stock objects of the Linux subset: StockObject (what GetStockObject
// answers: the stock brushes, pens, fonts and the default palette), DefaultPalette, DefaultBitmap (the
// 1 x 1 monochrome bitmap a memory DC holds before anything else is selected), and
// InitialState, the selections and settings a new DC starts with.
//
// Stock objects are made once, on first use, and live in the table marked as stock, so that
// DeleteObject leaves them alone and every DC may hold them at the same time.
#include <array>
#include <memory>

#include "platform/posix/gdi/fonts.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {
namespace {

HGDIOBJ AddStock(std::unique_ptr<GdiObject> object) { return Objects().add(std::move(object), true); }

HGDIOBJ MakeBrush(UINT style, COLORREF colour) {
    auto brush = std::make_unique<Brush>();
    brush->style = style;
    brush->colour = colour;
    return AddStock(std::move(brush));
}

HGDIOBJ MakePen(UINT style, COLORREF colour) {
    auto pen = std::make_unique<Pen>();
    pen->style = style;
    pen->colour = colour;
    return AddStock(std::move(pen));
}

HGDIOBJ MakeStock(int which) {
    switch (which) {
        case WHITE_BRUSH: return MakeBrush(BS_SOLID, RGB(255, 255, 255));
        case LTGRAY_BRUSH: return MakeBrush(BS_SOLID, RGB(192, 192, 192));
        case GRAY_BRUSH: return MakeBrush(BS_SOLID, RGB(128, 128, 128));
        case DKGRAY_BRUSH: return MakeBrush(BS_SOLID, RGB(64, 64, 64));
        case BLACK_BRUSH: return MakeBrush(BS_SOLID, RGB(0, 0, 0));
        case NULL_BRUSH: return MakeBrush(BS_NULL, 0);
        case WHITE_PEN: return MakePen(PS_SOLID, RGB(255, 255, 255));
        case BLACK_PEN: return MakePen(PS_SOLID, RGB(0, 0, 0));
        case NULL_PEN: return MakePen(PS_NULL, 0);
        case OEM_FIXED_FONT:
        case ANSI_FIXED_FONT:
        case ANSI_VAR_FONT:
        case SYSTEM_FONT:
        case DEVICE_DEFAULT_FONT:
        case SYSTEM_FIXED_FONT:
        case DEFAULT_GUI_FONT: {
            auto font = std::make_unique<Font>();
            font->logical = StockFont(which);
            return AddStock(std::move(font));
        }
        case DEFAULT_PALETTE: {
            // The static colours: eight dark, the four "money" colours, eight bright.
            static constexpr PALETTEENTRY kColours[20] = {
                {0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},
                {0, 0, 128, 0},     {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0},
                {192, 220, 192, 0}, {166, 202, 240, 0}, {255, 251, 240, 0}, {160, 160, 164, 0},
                {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},     {255, 255, 0, 0},
                {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0}};
            auto palette = std::make_unique<Palette>();
            palette->entries.assign(std::begin(kColours), std::end(kColours));
            return AddStock(std::move(palette));
        }
        default: return nullptr;
    }
}

}  // namespace

HGDIOBJ StockObject(int which) {
    // Made under a function-local static's guard, so two threads' first calls make one object.
    static std::array<HGDIOBJ, DEFAULT_GUI_FONT + 1> made = [] {
        std::array<HGDIOBJ, DEFAULT_GUI_FONT + 1> objects{};
        for (int i = 0; i <= DEFAULT_GUI_FONT; ++i) objects[i] = MakeStock(i);
        return objects;
    }();
    return which >= 0 && which <= DEFAULT_GUI_FONT ? made[which] : nullptr;
}

HPALETTE DefaultPalette() { return static_cast<HPALETTE>(StockObject(DEFAULT_PALETTE)); }

HBITMAP DefaultBitmap() {
    static const HBITMAP stock = [] {
        auto bitmap = std::make_unique<Bitmap>();
        bitmap->width = bitmap->height = 1;
        bitmap->bitsPerPixel = 1;
        bitmap->widthBytes = 2;
        bitmap->pixels.assign(2, 0);
        bitmap->colours = {{0, 0, 0, 0}, {255, 255, 255, 0}};
        return static_cast<HBITMAP>(AddStock(std::move(bitmap)));
    }();
    return stock;
}

DcState InitialState(ObjectKind kind) {
    DcState state;
    state.palette = DefaultPalette();
    state.brush = static_cast<HBRUSH>(StockObject(WHITE_BRUSH));
    state.pen = static_cast<HPEN>(StockObject(BLACK_PEN));
    state.font = static_cast<HFONT>(StockObject(SYSTEM_FONT));
    if (kind == ObjectKind::MemoryDC) state.bitmap = DefaultBitmap();
    return state;
}

}  // namespace vx::posix::gdi

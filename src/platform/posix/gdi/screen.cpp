// screen.cpp - the screen of the Linux subset: UsePaletteScreen, PaletteScreen, SystemPalette
// (screen.hpp), ScreenBitsPerPixel and DeviceColours (objects.hpp), and GetDeviceCaps.
//
// The screen is a 32-bit true-colour device with no palette, as Wine's X11 driver reports
// under a virtual display; the palette screen, switched on by tests, is an 8-bit device whose
// 256-entry system palette holds the 20 static colours at both ends. Every DC, memory DCs
// included, answers the screen's capabilities, as Windows' memory DCs do. The screen has a
// fixed size of 1280 x 1024 pixels: there is no display to ask, and it is the size of the
// virtual display the Windows tests run on, so both answer alike.
//
// Also here: RealizePalette, GetSystemPaletteEntries and GetNearestColor. On the true-colour
// screen there is no system palette: RealizePalette and GetSystemPaletteEntries answer 0 and
// GetNearestColor of a screen DC hands the colour back as it is, as Windows does under Wine.
// On the palette screen, realising a palette maps each of its colours to the system palette
// as Windows maps a foreground palette: an explicit index (PC_EXPLICIT) to that entry, a
// colour the system palette already holds to that entry (unless PC_RESERVED or
// PC_NOCOLLAPSE asks for one of its own), any other to the next free entry between the static
// colours; it answers how many entries it took. Realising another palette frees the entries
// the previous one took; realising the same one again takes none. GetNearestColor of a memory
// DC answers the colour its bitmap would store.
#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/posix/gdi/metafile_recorder.hpp"
#include "platform/posix/gdi/objects.hpp"
#include "platform/posix/gdi/pixel_formats.hpp"
#include "platform/posix/gdi/printer_device.hpp"
#include "platform/posix/gdi/screen.hpp"

namespace vx::posix::gdi {
namespace {

std::atomic<bool> paletteScreen{false};

// The static colours: the default palette's first ten at 0-9, its last ten at 246-255.
constexpr PALETTEENTRY kStatic[20] = {
    {0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},   {0, 0, 128, 0},
    {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0}, {192, 220, 192, 0}, {166, 202, 240, 0},
    {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},
    {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0}};

struct SystemEntries {
    std::mutex mutex;
    std::array<PALETTEENTRY, 256> entries{};
    std::vector<PALETTEENTRY> realised;  // the colours of the palette realised last
    int used = 20;                       // entries taken: the statics and those realised
    SystemEntries() { reset(); }
    void reset() {
        realised.clear();
        used = 20;
        entries = {};
        for (int i = 0; i < 10; ++i) {
            entries[i] = kStatic[i];
            entries[246 + i] = kStatic[10 + i];
        }
    }
};

SystemEntries& System() {
    static auto* system = new SystemEntries;
    return *system;
}

}  // namespace

void UsePaletteScreen(bool palette) {
    paletteScreen = palette;
    SystemEntries& system = System();
    std::lock_guard lock(system.mutex);
    system.reset();
}

bool PaletteScreen() { return paletteScreen; }

std::array<PALETTEENTRY, 256> SystemPalette() {
    SystemEntries& system = System();
    std::lock_guard lock(system.mutex);
    return system.entries;
}

int ScreenBitsPerPixel() { return PaletteScreen() ? 8 : 32; }

std::vector<RGBQUAD> DeviceColours(int bitsPerPixel) {
    auto quad = [](const PALETTEENTRY& e) { return RGBQUAD{e.peBlue, e.peGreen, e.peRed, 0}; };
    std::vector<RGBQUAD> colours;
    switch (bitsPerPixel) {
        case 1: colours = {{0, 0, 0, 0}, {255, 255, 255, 0}}; break;
        case 4: {
            // The 16 VGA colours: the static colours without the four "money" colours.
            for (int i = 0; i < 8; ++i) colours.push_back(quad(kStatic[i]));
            for (int i = 12; i < 20; ++i) colours.push_back(quad(kStatic[i]));
            std::swap(colours[7], colours[8]);  // 128 gray before 192 gray
            break;
        }
        case 8:
            if (PaletteScreen()) {
                for (const PALETTEENTRY& e : SystemPalette()) colours.push_back(quad(e));
                break;
            }
            // A true-colour screen's 8-bit bitmaps: a cube of 8 reds, 8 greens and 4 blues,
            // the static colours in place of its first and last ten entries.
            for (int i = 0; i < 256; ++i) {
                const int stat = i < 10 ? i : i >= 246 ? i - 236 : -1;
                colours.push_back(stat >= 0 ? quad(kStatic[stat])
                                            : RGBQUAD{static_cast<BYTE>((i >> 6 & 3) << 6),
                                                      static_cast<BYTE>((i >> 3 & 7) << 5),
                                                      static_cast<BYTE>((i & 7) << 5), 0});
            }
            break;
        default: break;
    }
    return colours;
}

}  // namespace vx::posix::gdi

extern "C" {

VXPLATFORMAPI UINT RealizePalette(HDC dc) {
    using namespace vx::posix::gdi;
    std::vector<PALETTEENTRY> colours;
    {
        auto objects = Objects();
        const DeviceContext* context = objects.find<DeviceContext>(dc);
        if (MetaRecorder* recorder = context != nullptr ? RecorderOf(*context) : nullptr) {
            recorder->RealizePalette();
            if (!recorder->keepsState()) return 1;
        }
        const Palette* palette = context != nullptr ? objects.find<Palette>(context->state.palette) : nullptr;
        if (palette == nullptr || !PaletteScreen()) return 0;
        colours = palette->entries;
    }
    SystemEntries& system = System();
    std::lock_guard lock(system.mutex);
    auto same = [](const PALETTEENTRY& a, const PALETTEENTRY& b) {
        return a.peRed == b.peRed && a.peGreen == b.peGreen && a.peBlue == b.peBlue && a.peFlags == b.peFlags;
    };
    if (colours.size() == system.realised.size() && std::equal(colours.begin(), colours.end(), system.realised.begin(), same))
        return 0;
    // The previous palette's entries are free again.
    for (int i = 10; i < 246; ++i) system.entries[i] = {};
    system.used = 20;
    system.realised = colours;
    UINT taken = 0;
    for (const PALETTEENTRY& e : colours) {
        if ((e.peFlags & PC_EXPLICIT) != 0) continue;
        const bool own = (e.peFlags & (PC_RESERVED | PC_NOCOLLAPSE)) != 0;
        const bool held = std::any_of(system.entries.begin(), system.entries.begin() + 10 + (system.used - 20),
                                      [&](const PALETTEENTRY& s) {
                                          return s.peRed == e.peRed && s.peGreen == e.peGreen && s.peBlue == e.peBlue;
                                      }) ||
                          std::any_of(system.entries.begin() + 246, system.entries.end(), [&](const PALETTEENTRY& s) {
                              return s.peRed == e.peRed && s.peGreen == e.peGreen && s.peBlue == e.peBlue;
                          });
        if ((held && !own) || system.used == 256) continue;
        system.entries[10 + (system.used - 20)] = {e.peRed, e.peGreen, e.peBlue, 0};
        ++system.used;
        ++taken;
    }
    return taken;
}

VXPLATFORMAPI UINT GetSystemPaletteEntries(HDC dc, UINT start, UINT count, LPPALETTEENTRY entries) {
    using namespace vx::posix::gdi;
    if (Objects().find<DeviceContext>(dc) == nullptr || !PaletteScreen()) return 0;
    if (entries == nullptr) return 256;
    if (start >= 256) return 0;
    count = std::min<UINT>(count, 256 - start);
    const std::array<PALETTEENTRY, 256> system = SystemPalette();
    std::copy_n(system.begin() + start, count, entries);
    return count;
}

VXPLATFORMAPI COLORREF GetNearestColor(HDC dc, COLORREF colour) {
    using namespace vx::posix::gdi;
    StockObject(DEFAULT_PALETTE);  // made before the lock is taken
    auto objects = Objects();
    const DeviceContext* context = objects.find<DeviceContext>(dc);
    if (context == nullptr) return CLR_INVALID;
    if (context->kind() != ObjectKind::MemoryDC) {
        if (!PaletteScreen()) return colour;
        const COLORREF rgb = ResolveColour(objects, context->state, colour);
        std::vector<RGBQUAD> table;
        for (const PALETTEENTRY& e : SystemPalette()) table.push_back({e.peBlue, e.peGreen, e.peRed, 0});
        const RGBQUAD& q = table[NearestEntry(table.data(), static_cast<int>(table.size()), rgb)];
        return RGB(q.rgbRed, q.rgbGreen, q.rgbBlue);
    }
    const Surface surface = DcSurface(objects, *context);
    if (surface.bits == nullptr) return CLR_INVALID;
    return PixelColour(surface, ColourPixel(surface, ResolveColour(objects, context->state, colour)));
}

VXPLATFORMAPI int GetDeviceCaps(HDC dc, int index) {
    using namespace vx::posix::gdi;
    {
        auto objects = Objects();
        const DeviceContext* context = objects.find<DeviceContext>(dc);
        if (context == nullptr) return 0;
        if (context->printer != nullptr) return PrinterCaps(*context->printer, index);
    }
    constexpr int kWidth = 1280, kHeight = 1024, kDpi = 96;
    constexpr int kRasterCaps = RC_BITBLT | RC_BITMAP64 | 0x0010 /* GDI20_OUTPUT */ | RC_DI_BITMAP | RC_DIBTODEV |
                                0x0400 /* BIGFONT */ | RC_STRETCHBLT | 0x1000 /* FLOODFILL */ | RC_STRETCHDIB |
                                0x8000 /* DEVBITS */;
    const bool palette = PaletteScreen();
    switch (index) {
        case DRIVERVERSION: return 0x4000;
        case TECHNOLOGY: return DT_RASDISPLAY;
        case HORZSIZE: return (kWidth * 254 / kDpi + 5) / 10;  // millimetres, rounded
        case VERTSIZE: return (kHeight * 254 / kDpi + 5) / 10;
        case HORZRES: return kWidth;
        case VERTRES: return kHeight;
        case BITSPIXEL: return ScreenBitsPerPixel();
        case PLANES: return 1;
        case NUMBRUSHES:
        case NUMPENS: return -1;
        case NUMCOLORS: return palette ? 20 : -1;
        case RASTERCAPS: return palette ? kRasterCaps | RC_PALETTE : kRasterCaps;
        case LOGPIXELSX:
        case LOGPIXELSY: return kDpi;
        case SIZEPALETTE: return palette ? 256 : 0;
        case NUMRESERVED: return 20;
        case COLORRES: return palette ? 18 : 24;
        default: return 0;
    }
}

}  // extern "C"

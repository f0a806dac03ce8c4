// fonts.cpp - fonts of the Linux subset: CreateFontIndirectA, CreateFontA, GetTextMetricsA and
// GetTextExtentPoint32A; RealizeFont, FontOf, ScaleOf, StockFont, kOemToAnsi and
// SystemFontFile of fonts.hpp.
//
// A logical font becomes glyphs in two steps. Fontconfig turns its face name, pitch, weight
// and slant into a font file (the Windows bitmap faces, which no Linux machine has, are
// named after the DejaVu families first); FreeType opens the file at the pixel size the
// logical height asks for, measured as GDI measures TrueType fonts: a positive lfHeight is the
// cell height, usWinAscent + usWinDescent of the OS/2 table, a negative one the em height.
// Ascent and descent are those two scaled and rounded, the internal leading is the cell
// height less the em, the external leading is what the horizontal header's line gap adds to
// the cell, tmAveCharWidth is the OS/2 xAvgCharWidth scaled: the numbers GetTextMetricsA
// gives for a TrueType font under Windows.
//
// The stock system font. Windows' SYSTEM_FONT (a bold raster face, "System", lfHeight 16)
// measures under Wine: tmHeight 16, tmAscent 13, tmDescent 3, tmInternalLeading 2,
// tmExternalLeading 0, tmAveCharWidth 7, tmWeight 700. Here it is DejaVu Sans Condensed Bold
// (Debian's fonts-dejavu-extra) at a 16-pixel cell, which measures 16, 13, 3, 2, 0 and 7: the
// same in every field the text calls lay lines out by. Its letters run about a tenth narrower
// than Wine's (capital A: 10 pixels in both, "Hello" 37 against 39). DejaVu Sans Bold would
// match "Hello" but answers 8 for the average width; DejaVu Sans Mono serves the fixed-pitch
// faces and DejaVu Sans every other Windows raster face.
//
// Glyphs are hinted for monochrome output (FT_LOAD_TARGET_MONO) and rendered 1 bit per pixel
// (FT_RENDER_MODE_MONO) without anti-aliasing, as GDI draws its fonts on a monochrome bitmap;
// advances are the hinted ones, whole pixels. Bytes below 0x20 and 0x7F show the font's
// .notdef glyph, as Windows shows its default character for them. Em sizes above 1024 pixels
// are drawn at 1024 (so one font's glyphs hold at most some 40 MB); below 1 pixel at 1.
//
// FreeType and fontconfig are used under one lock, separate from the object table's: a call
// holding the table may realise a font, a font never touches the table. Realised fonts are
// kept by their logical font and pixel size, the most recent sixteen, and shared: a text
// call keeps its font alive while it draws even if the cache lets it go.
#include "platform/posix/gdi/fonts.hpp"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vx::posix::gdi {

// The FreeType face of one realised font.
struct FaceHandle {
    FT_Face face = nullptr;
};

namespace {

constexpr double kLargestEm = 1024;
constexpr size_t kCachedFonts = 16;
constexpr int kDefaultCellHeight = 16;  // lfHeight 0: the system font's height

std::mutex& FontLock() {
    static auto* lock = new std::mutex;
    return *lock;
}

// The FreeType library, made on first use; null when FreeType cannot start. Call locked.
FT_Library Library() {
    static FT_Library library = [] {
        FT_Library made = nullptr;
        return FT_Init_FreeType(&made) == 0 ? made : nullptr;
    }();
    return library;
}

// Windows-1252 bytes 0x80 to 0x9F as Unicode (the rest of the page is Latin-1 itself).
constexpr uint16_t kAnsiHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The character a byte of a font's character set stands for; 0 for the control bytes.
uint32_t CharacterOf(uint8_t byte, BYTE charSet) {
    if (charSet == OEM_CHARSET) byte = kOemToAnsi[byte];
    if (byte < 0x20 || byte == 0x7F) return 0;
    if (byte >= 0x80 && byte < 0xA0) return kAnsiHigh[byte - 0x80];
    return byte;
}

bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return (x | 0x20) == (y | 0x20); });
}

// The fontconfig family a logical font is looked up under.
std::string FamilyOf(const LOGFONTA& logical) {
    const std::string_view face(logical.lfFaceName, strnlen(logical.lfFaceName, LF_FACESIZE));
    const int pitch = logical.lfPitchAndFamily & 3, family = logical.lfPitchAndFamily & 0xF0;
    if (SameName(face, "System")) return "DejaVu Sans Condensed";
    for (const char* fixed : {"Fixedsys", "Terminal", "Courier", "Courier New"})
        if (SameName(face, fixed)) return "DejaVu Sans Mono";
    for (const char* sans : {"MS Sans Serif", "MS Shell Dlg", "MS Shell Dlg 2", "Small Fonts", "Arial", "Helvetica"})
        if (SameName(face, sans)) return "DejaVu Sans";
    if (!face.empty()) return std::string(face);
    if (pitch == FIXED_PITCH || family == 0x30 /* FF_MODERN */) return "DejaVu Sans Mono";
    if (family == 0x10 /* FF_ROMAN */) return "DejaVu Serif";
    return "DejaVu Sans";
}

struct FontFile {
    std::string path;
    int index = 0;
};

// The file fontconfig picks for a family, weight and slant; cached. Call locked.
std::optional<FontFile> FindFile(const std::string& family, int weight, bool italic) {
    static auto* found = new std::map<std::string, std::optional<FontFile>>;
    const std::string key = family + '\n' + std::to_string(weight) + (italic ? "i" : "");
    if (const auto hit = found->find(key); hit != found->end()) return hit->second;
    std::optional<FontFile> file;
    if (FcInit() != FcFalse) {
        FcPattern* pattern = FcPatternCreate();
        if (pattern != nullptr) {
            FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
            FcPatternAddInteger(pattern, FC_WEIGHT, FcWeightFromOpenType(weight));
            FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
            FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
            FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
            FcDefaultSubstitute(pattern);
            FcResult result = FcResultNoMatch;
            if (FcPattern* match = FcFontMatch(nullptr, pattern, &result)) {
                FcChar8* path = nullptr;
                int index = 0;
                if (FcPatternGetString(match, FC_FILE, 0, &path) == FcResultMatch) {
                    FcPatternGetInteger(match, FC_INDEX, 0, &index);
                    file = FontFile{reinterpret_cast<const char*>(path), index};
                }
                FcPatternDestroy(match);
            }
            FcPatternDestroy(pattern);
        }
    }
    found->emplace(key, file);
    return file;
}

int Round(double value) { return static_cast<int>(std::lround(value)); }

// Opens a font at the pixel size `logical` asks for at `scaleY`; null when it cannot. Call
// locked.
std::shared_ptr<const RealizedFont> Open(const LOGFONTA& logical, double scaleY) {
    FT_Library library = Library();
    if (library == nullptr) return nullptr;
    const int weight = logical.lfWeight <= 0 ? FW_NORMAL : static_cast<int>(std::min<LONG>(logical.lfWeight, 1000));
    auto file = FindFile(FamilyOf(logical), weight, logical.lfItalic != 0);
    if (!file) file = FindFile("DejaVu Sans", weight, logical.lfItalic != 0);
    if (!file) return nullptr;
    auto face = std::make_unique<FaceHandle>();
    if (FT_New_Face(library, file->path.c_str(), file->index, &face->face) != 0) return nullptr;
    struct Closer {
        FaceHandle* face;
        ~Closer() {
            if (face != nullptr) FT_Done_Face(face->face);
        }
    } closer{face.get()};
    FT_Face f = face->face;
    if (!FT_IS_SCALABLE(f) || f->units_per_EM == 0) return nullptr;

    const auto* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(f, FT_SFNT_OS2));
    const auto* hhea = static_cast<const TT_HoriHeader*>(FT_Get_Sfnt_Table(f, FT_SFNT_HHEA));
    if (os2 != nullptr && os2->version == 0xFFFF) os2 = nullptr;
    double winAscent = os2 != nullptr ? os2->usWinAscent : f->ascender;
    double winDescent = os2 != nullptr ? os2->usWinDescent : -f->descender;
    if (winAscent + winDescent <= 0) winAscent = f->units_per_EM, winDescent = 0;
    const double requested = logical.lfHeight == 0 ? kDefaultCellHeight
                                                   : std::fabs(static_cast<double>(logical.lfHeight)) * scaleY;
    double em = logical.lfHeight >= 0 ? requested * f->units_per_EM / (winAscent + winDescent) : requested;
    em = std::clamp(em, 1.0, kLargestEm);
    if (FT_Set_Char_Size(f, 0, static_cast<FT_F26Dot6>(std::lround(em * 64)), 72, 72) != 0) return nullptr;

    const double scale = em / f->units_per_EM;
    FontMetrics m;
    m.ascent = Round(winAscent * scale);
    m.descent = Round(winDescent * scale);
    m.height = m.ascent + m.descent;
    m.internalLeading = std::max(0, m.height - Round(em));
    if (hhea != nullptr) {
        const double gap = hhea->Line_Gap - ((winAscent + winDescent) - (hhea->Ascender - hhea->Descender));
        m.externalLeading = std::max(0, Round(gap * scale));
    }
    m.maxCharWidth = Round(static_cast<double>(f->bbox.xMax - f->bbox.xMin) * scale);
    m.weight = os2 != nullptr && os2->usWeightClass != 0 ? os2->usWeightClass : weight;
    m.italic = logical.lfItalic;
    m.underlined = logical.lfUnderline;
    m.struckOut = logical.lfStrikeOut;
    m.charSet = logical.lfCharSet;
    m.pitchAndFamily = static_cast<BYTE>((logical.lfPitchAndFamily & 0xF0) | TMPF_VECTOR | TMPF_TRUETYPE |
                                         (FT_IS_FIXED_WIDTH(f) ? 0 : TMPF_FIXED_PITCH));

    std::array<int, 256> advances{};
    std::array<unsigned, 256> indices{};
    for (int byte = 0; byte < 256; ++byte) {
        const uint32_t character = CharacterOf(static_cast<uint8_t>(byte), logical.lfCharSet);
        indices[byte] = character != 0 ? FT_Get_Char_Index(f, character) : 0;
        if (FT_Load_Glyph(f, indices[byte], FT_LOAD_TARGET_MONO) == 0)
            advances[byte] = static_cast<int>((f->glyph->advance.x + 32) >> 6);
    }
    m.aveCharWidth = os2 != nullptr && os2->xAvgCharWidth > 0 ? Round(os2->xAvgCharWidth * scale) : advances['x'];
    closer.face = nullptr;
    return std::make_shared<RealizedFont>(std::move(face), m, advances, indices);
}

struct Cached {
    LOGFONTA logical;
    int64_t size;  // the device height asked for, in 1/64 pixel
    std::shared_ptr<const RealizedFont> font;
};

bool SameFont(const LOGFONTA& a, const LOGFONTA& b) {
    return std::memcmp(&a, &b, offsetof(LOGFONTA, lfFaceName)) == 0 &&
           strncmp(a.lfFaceName, b.lfFaceName, LF_FACESIZE) == 0;
}

int ClampToInt(double value) {
    return static_cast<int>(std::clamp(std::round(value), static_cast<double>(INT32_MIN), static_cast<double>(INT32_MAX)));
}

// LOGFONTA with every field set.
LOGFONTA Logical(LONG height, LONG width, LONG weight, BYTE charSet, BYTE pitchAndFamily, const char* face) {
    LOGFONTA font{};
    font.lfHeight = height;
    font.lfWidth = width;
    font.lfWeight = weight;
    font.lfCharSet = charSet;
    font.lfPitchAndFamily = pitchAndFamily;
    std::strncpy(font.lfFaceName, face, LF_FACESIZE - 1);
    return font;
}

}  // namespace

RealizedFont::RealizedFont(std::unique_ptr<FaceHandle> face, const FontMetrics& metrics,
                           const std::array<int, 256>& advances, const std::array<unsigned, 256>& glyphIndices)
    : face_(std::move(face)), metrics_(metrics), advances_(advances), glyphIndices_(glyphIndices) {}

RealizedFont::~RealizedFont() {
    std::lock_guard<std::mutex> lock(FontLock());
    FT_Done_Face(face_->face);
}

const Glyph& RealizedFont::glyph(uint8_t byte) const {
    std::call_once(rendered_[byte], [&] {
        std::lock_guard<std::mutex> lock(FontLock());
        FT_Face f = face_->face;
        if (FT_Load_Glyph(f, glyphIndices_[byte], FT_LOAD_TARGET_MONO) != 0 ||
            FT_Render_Glyph(f->glyph, FT_RENDER_MODE_MONO) != 0)
            return;
        const FT_Bitmap& bitmap = f->glyph->bitmap;
        if (bitmap.pixel_mode != FT_PIXEL_MODE_MONO) return;
        Glyph& out = glyphs_[byte];
        out.left = f->glyph->bitmap_left;
        out.top = f->glyph->bitmap_top;
        out.width = static_cast<int>(bitmap.width);
        out.rows = static_cast<int>(bitmap.rows);
        out.pitch = (out.width + 7) / 8;
        out.bits.assign(static_cast<size_t>(out.pitch) * out.rows, 0);
        for (int y = 0; y < out.rows; ++y) {
            const unsigned char* row = bitmap.pitch >= 0 ? bitmap.buffer + static_cast<ptrdiff_t>(y) * bitmap.pitch
                                                         : bitmap.buffer - static_cast<ptrdiff_t>(out.rows - 1 - y) * bitmap.pitch;
            std::memcpy(out.bits.data() + static_cast<size_t>(y) * out.pitch, row, static_cast<size_t>(out.pitch));
        }
    });
    return glyphs_[byte];
}

std::shared_ptr<const RealizedFont> RealizeFont(const LOGFONTA& logical, double scaleY) {
    const int64_t size = std::llround(std::min(std::fabs(static_cast<double>(logical.lfHeight)) * scaleY, 1e9) * 64);
    std::shared_ptr<const RealizedFont> evicted;  // let go after the lock: its face closes under it
    std::lock_guard<std::mutex> lock(FontLock());
    static auto* cache = new std::vector<Cached>;
    for (auto entry = cache->begin(); entry != cache->end(); ++entry) {
        if (entry->size == size && SameFont(entry->logical, logical)) {
            std::rotate(cache->begin(), entry, entry + 1);  // most recent first
            return cache->front().font;
        }
    }
    auto font = Open(logical, scaleY);
    if (font == nullptr) return nullptr;
    if (cache->size() >= kCachedFonts) {
        evicted = std::move(cache->back().font);
        cache->pop_back();
    }
    cache->insert(cache->begin(), Cached{logical, size, font});
    return font;
}

int TextScale::toLogicalX(int64_t device) const { return ClampToInt(static_cast<double>(device) / x); }
int TextScale::toLogicalY(int64_t device) const { return ClampToInt(static_cast<double>(device) / y); }

TextScale ScaleOf(const DcState& state) {
    const auto ratio = [](LONG viewport, LONG window) {
        const double r = window == 0 ? 1.0 : std::fabs(static_cast<double>(viewport) / window);
        return r > 0 ? r : 1.0;
    };
    return {ratio(state.viewportExtent.cx, state.windowExtent.cx), ratio(state.viewportExtent.cy, state.windowExtent.cy)};
}

std::shared_ptr<const RealizedFont> FontOf(const ObjectTable::Access& objects, const DcState& state) {
    const Font* font = objects.find<Font>(state.font);
    return RealizeFont(font != nullptr ? font->logical : StockFont(SYSTEM_FONT), ScaleOf(state).y);
}

LOGFONTA StockFont(int which) {
    switch (which) {
        case OEM_FIXED_FONT: return Logical(12, 0, FW_NORMAL, OEM_CHARSET, 0x31, "");
        case ANSI_FIXED_FONT: return Logical(12, 0, FW_NORMAL, ANSI_CHARSET, 0x31, "Courier");
        case ANSI_VAR_FONT: return Logical(12, 0, FW_NORMAL, ANSI_CHARSET, 0x22, "MS Sans Serif");
        case DEVICE_DEFAULT_FONT: return Logical(16, 0, FW_BOLD, ANSI_CHARSET, 0x22, "System");
        case SYSTEM_FIXED_FONT: return Logical(16, 0, FW_NORMAL, ANSI_CHARSET, 0x31, "Courier");
        case DEFAULT_GUI_FONT: return Logical(-11, 0, FW_NORMAL, ANSI_CHARSET, 0x22, "MS Shell Dlg");
        default: return Logical(16, 7, FW_BOLD, ANSI_CHARSET, 0x22, "System");  // SYSTEM_FONT
    }
}

std::string SystemFontFile() {
    std::lock_guard<std::mutex> lock(FontLock());
    const auto file = FindFile(FamilyOf(StockFont(SYSTEM_FONT)), FW_BOLD, false);
    return file ? file->path : std::string();
}

// Code page 437 to Windows-1252 as Windows converts it: the box-drawing characters become
// '+', '-' and the broken bar, the Greek letters and symbols their nearest Latin look-alikes.
const std::array<uint8_t, 256> kOemToAnsi = [] {
    std::array<uint8_t, 256> table{};
    for (int i = 0; i < 128; ++i) table[i] = static_cast<uint8_t>(i);
    constexpr uint8_t kHigh[128] = {
        0xc7, 0xfc, 0xe9, 0xe2, 0xe4, 0xe0, 0xe5, 0xe7, 0xea, 0xeb, 0xe8, 0xef, 0xee, 0xec, 0xc4, 0xc5,
        0xc9, 0xe6, 0xc6, 0xf4, 0xf6, 0xf2, 0xfb, 0xf9, 0xff, 0xd6, 0xdc, 0xa2, 0xa3, 0xa5, 0x50, 0x83,
        0xe1, 0xed, 0xf3, 0xfa, 0xf1, 0xd1, 0xaa, 0xba, 0xbf, 0xac, 0xac, 0xbd, 0xbc, 0xa1, 0xab, 0xbb,
        0xa6, 0xa6, 0xa6, 0xa6, 0xa6, 0xa6, 0xa6, 0x2b, 0x2b, 0xa6, 0xa6, 0x2b, 0x2b, 0x2b, 0x2b, 0x2b,
        0x2b, 0x2d, 0x2d, 0x2b, 0x2d, 0x2b, 0xa6, 0xa6, 0x2b, 0x2b, 0x2d, 0x2d, 0xa6, 0x2d, 0x2b, 0x2d,
        0x2d, 0x2d, 0x2d, 0x2b, 0x2b, 0x2b, 0x2b, 0x2b, 0x2b, 0x2b, 0x2b, 0xa6, 0x5f, 0xa6, 0xa6, 0xaf,
        0x61, 0xdf, 0x47, 0x70, 0x53, 0x73, 0xb5, 0x74, 0x46, 0x54, 0x4f, 0x64, 0x38, 0x66, 0x65, 0x6e,
        0x3d, 0xb1, 0x3d, 0x3d, 0x28, 0x29, 0xf7, 0x98, 0xb0, 0xb7, 0xb7, 0x76, 0x6e, 0xb2, 0xa6, 0xa0};
    for (int i = 0; i < 128; ++i) table[128 + i] = kHigh[i];
    return table;
}();

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HFONT CreateFontIndirectA(const LOGFONTA* logical) {
    if (logical == nullptr) return nullptr;
    try {
        auto font = std::make_unique<Font>();
        font->logical = *logical;
        font->logical.lfFaceName[LF_FACESIZE - 1] = '\0';
        return static_cast<HFONT>(Objects().add(std::move(font)));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight, DWORD italic,
                                DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision,
                                DWORD clipPrecision, DWORD quality, DWORD pitchAndFamily, LPCSTR faceName) {
    LOGFONTA logical{height,
                     width,
                     escapement,
                     orientation,
                     weight,
                     static_cast<BYTE>(italic),
                     static_cast<BYTE>(underline),
                     static_cast<BYTE>(strikeOut),
                     static_cast<BYTE>(charSet),
                     static_cast<BYTE>(outPrecision),
                     static_cast<BYTE>(clipPrecision),
                     static_cast<BYTE>(quality),
                     static_cast<BYTE>(pitchAndFamily),
                     {}};
    if (faceName != nullptr) std::strncpy(logical.lfFaceName, faceName, LF_FACESIZE - 1);
    return CreateFontIndirectA(&logical);
}

VXPLATFORMAPI BOOL GetTextMetricsA(HDC dc, LPTEXTMETRICA metrics) {
    if (metrics == nullptr) return FALSE;
    return OnDC(dc, FALSE, [&](auto& objects, DeviceContext& context) {
        const auto font = FontOf(objects, context.state);
        if (font == nullptr) return FALSE;
        const FontMetrics& m = font->metrics();
        const TextScale scale = ScaleOf(context.state);
        TEXTMETRICA out{};
        out.tmHeight = scale.toLogicalY(m.height);
        out.tmAscent = scale.toLogicalY(m.ascent);
        out.tmDescent = scale.toLogicalY(m.descent);
        out.tmInternalLeading = scale.toLogicalY(m.internalLeading);
        out.tmExternalLeading = scale.toLogicalY(m.externalLeading);
        out.tmAveCharWidth = scale.toLogicalX(m.aveCharWidth);
        out.tmMaxCharWidth = scale.toLogicalX(m.maxCharWidth);
        out.tmWeight = m.weight;
        out.tmDigitizedAspectX = out.tmDigitizedAspectY = 96;
        out.tmFirstChar = 0x1E;
        out.tmLastChar = 0xFF;
        out.tmDefaultChar = 0x1F;
        out.tmBreakChar = 0x20;
        out.tmItalic = m.italic;
        out.tmUnderlined = m.underlined;
        out.tmStruckOut = m.struckOut;
        out.tmPitchAndFamily = m.pitchAndFamily;
        out.tmCharSet = m.charSet;
        *metrics = out;
        return TRUE;
    });
}

VXPLATFORMAPI BOOL GetTextExtentPoint32A(HDC dc, LPCSTR text, int count, LPSIZE size) {
    if (size == nullptr || count < 0 || (text == nullptr && count > 0)) return FALSE;
    return OnDC(dc, FALSE, [&](auto& objects, DeviceContext& context) {
        const auto font = FontOf(objects, context.state);
        if (font == nullptr) return FALSE;
        int64_t width = 0;
        for (int i = 0; i < count; ++i) width += font->advance(static_cast<uint8_t>(text[i]));
        const TextScale scale = ScaleOf(context.state);
        *size = SIZE{scale.toLogicalX(width), count == 0 ? 0 : scale.toLogicalY(font->metrics().height)};
        return TRUE;
    });
}

}  // extern "C"

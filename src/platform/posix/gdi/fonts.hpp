// fonts.hpp - fonts of the Linux subset as the text calls use them: RealizedFont (a logical
// font made concrete at one pixel size: its metrics, the advance of each of the 256 bytes and
// their 1-bit glyphs), RealizeFont and FontOf (the font a DC draws with), StockFont (the
// LOGFONTA of each stock font), TextScale (device pixels per logical unit) and the byte-to-
// character tables the fonts read text through.
//
// Text is bytes of a Windows character set; a font of OEM_CHARSET reads them as code page 437,
// every other as Windows-1252. Glyph bitmaps are rendered on first use and kept with the font.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {

// One glyph in 1 bit per pixel, rows top down, bit 7 of a byte the leftmost pixel; `left` and
// `top` place its top-left corner relative to the pen position on the baseline (top grows
// upwards, as FreeType gives it).
struct Glyph {
    int left = 0;
    int top = 0;
    int width = 0;
    int rows = 0;
    int pitch = 0;
    std::vector<uint8_t> bits;
};

// TEXTMETRICA's numbers in device pixels.
struct FontMetrics {
    int height = 0;
    int ascent = 0;
    int descent = 0;
    int internalLeading = 0;
    int externalLeading = 0;
    int aveCharWidth = 0;
    int maxCharWidth = 0;
    int weight = 0;
    BYTE italic = 0;
    BYTE underlined = 0;
    BYTE struckOut = 0;
    BYTE pitchAndFamily = 0;
    BYTE charSet = 0;
};

struct FaceHandle;  // the FreeType face a font renders from (fonts.cpp)

class RealizedFont {
public:
    RealizedFont(std::unique_ptr<FaceHandle> face, const FontMetrics& metrics, const std::array<int, 256>& advances,
                 const std::array<unsigned, 256>& glyphIndices);
    ~RealizedFont();
    RealizedFont(const RealizedFont&) = delete;
    RealizedFont& operator=(const RealizedFont&) = delete;

    const FontMetrics& metrics() const { return metrics_; }
    // How far the pen moves past a byte, in device pixels.
    int advance(uint8_t byte) const { return advances_[byte]; }
    // The glyph of a byte; an empty glyph when it cannot be rendered. Throws std::bad_alloc.
    const Glyph& glyph(uint8_t byte) const;

private:
    std::unique_ptr<FaceHandle> face_;
    FontMetrics metrics_;
    std::array<int, 256> advances_;
    std::array<unsigned, 256> glyphIndices_;
    mutable std::array<std::once_flag, 256> rendered_;
    mutable std::array<Glyph, 256> glyphs_;
};

// The font `logical` describes, at a cell height (lfHeight > 0) or character height
// (lfHeight < 0) of |lfHeight| x `scaleY` device pixels, cached by file and size; null when no
// font file can be found or opened. Never takes the object table's lock. Throws std::bad_alloc.
std::shared_ptr<const RealizedFont> RealizeFont(const LOGFONTA& logical, double scaleY);

// Device pixels per logical unit of a DC along each axis (magnitudes).
struct TextScale {
    double x = 1;
    double y = 1;
    int toLogicalX(int64_t device) const;
    int toLogicalY(int64_t device) const;
};
TextScale ScaleOf(const DcState& state);

// The font a DC draws with: its selected font realised at its mapping (the stock system font
// when the selection is not a live font).
std::shared_ptr<const RealizedFont> FontOf(const ObjectTable::Access& objects, const DcState& state);

// The LOGFONTA of stock font `which` (OEM_FIXED_FONT ... DEFAULT_GUI_FONT), as Windows answers
// GetObjectA for it.
LOGFONTA StockFont(int which);

// Code page 437 to Windows-1252, byte for byte (OemToCharA's table).
extern const std::array<uint8_t, 256> kOemToAnsi;

// The font file the stock system font comes from, for the checks that a fresh machine has it;
// empty when fontconfig finds none.
std::string SystemFontFile();

}  // namespace vx::posix::gdi

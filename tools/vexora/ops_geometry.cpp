// ops_geometry.cpp - the geometry options of `vexora convert`: quarter turns and any angle,
// flips, skew, the background colour of the corners these uncover, scaling, magnifying a
// rectangle, cropping and nearest-neighbour crop-and-scale.
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

constexpr long kLargestSide = 65535;  // the scalers take their sizes as 16-bit values

// The reason a family that reports through the module error code gave, or `fallback` when
// the code stayed at zero.
std::string ModuleReason(const char* fallback) {
    return ImgError() == IMGERR_SUCCESS ? fallback : LibraryErrorText();
}

std::string RotationStatusText(DWORD status) {
    switch (status) {
    case ROTATE_ERR_COMPRESSED: return "the image is compressed";
    case ROTATE_ERR_SIZE: return "the image has no pixels";
    case ROTATE_ERR_NOMEMORY: return "Not enough memory.";
    case ROTATE_ERR_LOCK: return "Can't lock global memory";
    case ROTATE_ERR_PARAMETER: return "Parameter error";
    default: return "rotation failed with status " + std::to_string(status);
    }
}

// The colour --background gives the corners that rotations and skews uncover; unset, they
// keep what the exports leave there (colour-table entry 0, or black).
std::optional<RGBQUAD> g_background;

void Background(Dib* image, const std::string& argument) {
    std::optional<RGBQUAD> colour;
    std::string hex = argument;
    if (argument == "black") hex = "000000";
    else if (argument == "white") hex = "ffffff";
    else if (!hex.empty() && hex[0] == '#') hex.erase(0, 1);
    if (argument != "none") {
        if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            throw UsageError("--background takes #RRGGBB, white, black or none, not '" + argument + "'");
        const unsigned long rgb = std::stoul(hex, nullptr, 16);
        colour = RGBQUAD{static_cast<BYTE>(rgb), static_cast<BYTE>(rgb >> 8), static_cast<BYTE>(rgb >> 16), 0};
    }
    if (image != nullptr) g_background = colour;
}

// The colour-table index nearest to `colour` (squared distance), or the colour itself packed
// as blue, green, red bytes for a 24-bit image.
uint32_t StoredValue(const BITMAPINFOHEADER& h, const uint8_t* table, RGBQUAD colour) {
    if (h.biBitCount == 24) return colour.rgbBlue | colour.rgbGreen << 8 | static_cast<uint32_t>(colour.rgbRed) << 16;
    const uint32_t entries = h.biClrUsed ? h.biClrUsed : 1u << h.biBitCount;
    uint32_t best = 0, bestDistance = UINT32_MAX;
    for (uint32_t i = 0; i < entries && i < (1u << h.biBitCount); ++i) {
        const int db = table[i * 4] - colour.rgbBlue, dg = table[i * 4 + 1] - colour.rgbGreen,
                  dr = table[i * 4 + 2] - colour.rgbRed;
        const auto distance = static_cast<uint32_t>(db * db + dg * dg + dr * dr);
        if (distance < bestDistance) best = i, bestDistance = distance;
    }
    return best;
}

// Writes `value` into every pixel of `row` whose bit in `coverage` (a 1-bit row) is clear.
template <int Bits>
void FillUncoveredRow(uint8_t* row, const uint8_t* coverage, long width, uint32_t value) {
    for (long x = 0; x < width; ++x) {
        if (coverage[x / 8] & (0x80 >> (x % 8))) continue;
        if constexpr (Bits == 1) {
            const auto bit = static_cast<uint8_t>(0x80 >> (x % 8));
            row[x / 8] = static_cast<uint8_t>(value ? row[x / 8] | bit : row[x / 8] & ~bit);
        } else if constexpr (Bits == 4) {
            const int shift = x % 2 ? 0 : 4;
            row[x / 2] = static_cast<uint8_t>((row[x / 2] & ~(0x0F << shift)) | (value << shift));
        } else if constexpr (Bits == 8) {
            row[x] = static_cast<uint8_t>(value);
        } else {
            row[x * 3] = static_cast<uint8_t>(value);
            row[x * 3 + 1] = static_cast<uint8_t>(value >> 8);
            row[x * 3 + 2] = static_cast<uint8_t>(value >> 16);
        }
    }
}

// A 1-bit image of the source's size with every pixel set, colours black and white.
Dib CoverageSource(const BITMAPINFOHEADER& h) {
    const DWORD stride = ((static_cast<DWORD>(h.biWidth) + 31) / 32) * 4;
    Dib mask(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 48 + stride * static_cast<DWORD>(h.biHeight)));
    if (!mask) throw OperationFailed("Not enough memory.");
    auto* bytes = static_cast<uint8_t*>(GlobalLock(mask.get()));
    BITMAPINFOHEADER m = {};
    m.biSize = 40;
    m.biWidth = h.biWidth;
    m.biHeight = h.biHeight;
    m.biPlanes = 1;
    m.biBitCount = 1;
    m.biSizeImage = stride * static_cast<DWORD>(h.biHeight);
    m.biClrUsed = 2;
    std::memcpy(bytes, &m, sizeof m);
    std::memset(bytes + 44, 0xFF, 3);
    std::memset(bytes + 48, 0xFF, m.biSizeImage);
    GlobalUnlock(mask.get());
    return mask;
}

// Paints the pixels that `transform` leaves uncovered in `result` with the background colour:
// the same transform of an all-set 1-bit image of the source's size marks the covered ones,
// since the exports move pixels without resampling, in the same walk at every depth.
template <typename Transform>
void PaintBackground(const BITMAPINFOHEADER& source, Dib& result, Transform transform) {
    if (!g_background) return;
    const WORD depth = source.biBitCount;
    if (depth != 1 && depth != 4 && depth != 8 && depth != 24) return;
    Dib coverage(transform(CoverageSource(source).get()));
    if (!coverage) throw OperationFailed("--background: Not enough memory.");
    const BITMAPINFOHEADER h = HeaderOf(result), c = HeaderOf(coverage);
    if (c.biWidth != h.biWidth || c.biHeight != h.biHeight) return;
    const DWORD entries = depth == 24 ? 0 : (h.biClrUsed ? h.biClrUsed : 1u << depth);
    auto* bytes = static_cast<uint8_t*>(GlobalLock(result.get()));
    const auto* mask = static_cast<const uint8_t*>(GlobalLock(coverage.get())) + 48;
    const uint32_t value = StoredValue(h, bytes + 40, *g_background);
    uint8_t* rows = bytes + 40 + entries * 4;
    const DWORD stride = ((static_cast<DWORD>(h.biWidth) * depth + 31) / 32) * 4;
    const DWORD maskStride = ((static_cast<DWORD>(h.biWidth) + 31) / 32) * 4;
    auto fill = depth == 1 ? FillUncoveredRow<1> : depth == 4 ? FillUncoveredRow<4> : depth == 8 ? FillUncoveredRow<8> : FillUncoveredRow<24>;
    for (LONG y = 0; y < h.biHeight; ++y) fill(rows + y * stride, mask + y * maskStride, h.biWidth, value);
    GlobalUnlock(coverage.get());
    GlobalUnlock(result.get());
}

// A quarter or half turn by the exports that turn exactly: the anticlockwise quarter turn is
// composed of a half turn and a clockwise quarter turn, because RotateDIB270 keeps its
// one-column shift for the callers that rely on it.
HDIB QuarterTurns(HDIB image, long quarters) {
    if (quarters == 1) return RotateDIB90(image);
    if (quarters == 2) return RotateDIB180(image);
    Dib half(RotateDIB180(image));
    return half ? RotateDIB90(half.get()) : nullptr;
}

void Rotate(Dib* image, const std::string& argument) {
    const auto [angleText, walk] = SplitOnce(argument, ':');
    const long angle = ParseNumber(angleText, "--rotate angle", -36000, 36000);
    if (walk.empty() || walk == "exact" || walk == "fast") {
        if (image == nullptr) return;
        const long quarters = ((angle / 90) % 4 + 4) % 4;
        if (walk.empty() && angle % 90 == 0 && quarters != 0)
            return TakeResult(*image, QuarterTurns(image->get(), quarters), "rotate",
                              "the image could not be turned (damaged, or too large)");
        const BITMAPINFOHEADER source = HeaderOf(*image);
        DWORD status = 0;
        // The library turns positive angles anticlockwise; the tool's angles are clockwise.
        const int fast = walk == "fast" ? 1 : 0;
        const auto turn = [&](HDIB dib) { return RotateDIB(dib, static_cast<int>(-angle), fast, &status, nullptr); };
        TakeResult(*image, turn(image->get()), "rotate", RotationStatusText(status));
        return PaintBackground(source, *image, turn);
    }
    throw UsageError("--rotate takes DEG, DEG:exact or DEG:fast, not '" + argument + "'");
}

void Flip(Dib* image, const std::string& argument) {
    if (argument != "h" && argument != "v") throw UsageError("--flip takes h or v, not '" + argument + "'");
    if (image == nullptr) return;
    HDIB flipped = argument == "h" ? FlipDIBHorizontal(image->get()) : FlipDIBVertical(image->get());
    TakeResult(*image, flipped, "flip", "the image could not be flipped (damaged, or too large)");
}

void Skew(Dib* image, const std::string& argument) {
    const auto [direction, pixels] = SplitOnce(argument, ':');
    if (direction != "h" && direction != "v") throw UsageError("--skew takes h:PIXELS or v:PIXELS, not '" + argument + "'");
    const long offset = ParseNumber(pixels, "--skew offset", -kLargestSide, kLargestSide);
    if (image == nullptr) return;
    const BITMAPINFOHEADER source = HeaderOf(*image);
    const int horizontal = direction == "h" ? 1 : 0;
    const auto shear = [&](HDIB dib) {
        DWORD error = 0;
        int corners[8] = {};
        return SkewDIB(dib, horizontal, static_cast<int>(offset), &error, corners);
    };
    SetImgError(IMGERR_SUCCESS);
    TakeResult(*image, shear(image->get()), "skew", ModuleReason("the image could not be skewed"));
    PaintBackground(source, *image, shear);
}

// ":bilinear" (default) or ":cubic" as the scalers' method flag.
int ScaleMethod(const std::string& name, std::string_view option) {
    if (name.empty() || name == "bilinear") return 0;
    if (name == "cubic") return 1;
    throw UsageError("--" + std::string(option) + " method must be bilinear or cubic, not '" + name + "'");
}

void Scale(Dib* image, const std::string& argument) {
    const auto [size, method] = SplitOnce(argument, ':');
    const auto [width, height] = ParsePair(size, "--scale size", 1, kLargestSide);
    const int scaleMethod = ScaleMethod(method, "scale");
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HDIB scaled = ScaleDIB(image->get(), scaleMethod, static_cast<int>(width), static_cast<int>(height));
    TakeResult(*image, scaled, "scale", ModuleReason("the image could not be scaled"));
}

// "X,Y,W,H" as four numbers.
std::vector<long> ParseRectangle(const std::string& text, std::string_view option) {
    const auto parts = SplitAll(text, ',');
    if (parts.size() != 4) throw UsageError("--" + std::string(option) + " rectangle must read X,Y,W,H, not '" + text + "'");
    std::vector<long> values;
    for (const auto& part : parts) values.push_back(ParseNumber(part, "a rectangle value", 0, kLargestSide));
    return values;
}

void Magnify(Dib* image, const std::string& argument) {
    const auto parts = SplitAll(argument, ':');
    if (parts.size() < 2 || parts.size() > 3) throw UsageError("--magnify takes X,Y,W,H:FXxFY[:bilinear|:cubic]");
    const auto r = ParseRectangle(parts[0], "magnify");
    const auto [fx, fy] = ParsePair(parts[1], "--magnify factors", 1, 64);
    const int magnifyMethod = ScaleMethod(parts.size() == 3 ? parts[2] : "", "magnify");
    if (image == nullptr) return;
    HDIB magnified = ScaleGrayDIB(image->get(), static_cast<int>(r[0]), static_cast<int>(r[1]), static_cast<int>(r[2]),
                                  static_cast<int>(r[3]), static_cast<int>(fx), static_cast<int>(fy),
                                  magnifyMethod);
    TakeResult(*image, magnified, "magnify", "the rectangle could not be magnified (4-, 8- or 24-bit images only)");
}

// The crop-and-scale result as a tidy DIB: the display's working block carries a spare row
// and keeps the source's biSizeImage; a file wants exactly header, table and rows.
HDIB TidyCropScaleResult(HDIB raw) {
    if (raw == nullptr) return nullptr;
    Dib working(raw);
    const BITMAPINFOHEADER h = HeaderOf(working);
    const DWORD stride = ((static_cast<DWORD>(h.biWidth) * h.biBitCount + 31) / 32) * 4;
    const DWORD table = h.biBitCount <= 8 ? (h.biClrUsed ? h.biClrUsed : 1u << h.biBitCount) * 4 : 0;
    const DWORD bytes = 40 + table + stride * static_cast<DWORD>(h.biHeight);
    HDIB tidy = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    if (tidy == nullptr) return nullptr;
    auto* out = static_cast<uint8_t*>(GlobalLock(tidy));
    std::memcpy(out, GlobalLock(working.get()), bytes);
    GlobalUnlock(working.get());
    reinterpret_cast<BITMAPINFOHEADER*>(out)->biSizeImage = stride * static_cast<DWORD>(h.biHeight);
    GlobalUnlock(tidy);
    return tidy;
}

void CropScale(Dib* image, const std::string& argument) {
    const auto [rectangle, size] = SplitOnce(argument, ':');
    const auto r = ParseRectangle(rectangle, "crop-scale");
    const auto [width, height] = ParsePair(size, "--crop-scale size", 1, kLargestSide);
    if (image == nullptr) return;
    HDIB result = VexoraCropScaleDIB(image->get(), static_cast<int>(r[0]), static_cast<int>(r[1]),
                                     static_cast<int>(r[2]), static_cast<int>(r[3]),
                                     static_cast<int>(width), static_cast<int>(height));
    TakeResult(*image, TidyCropScaleResult(result), "crop-scale",
               "the rectangle could not be extracted (1-, 4-, 8- or 24-bit images, rectangle starting inside)");
}

// An exact cut: the nearest-neighbour crop-and-scale at a scale of one copies the pixels as
// stored, at every depth it takes.
void Crop(Dib* image, const std::string& argument) {
    const auto r = ParseRectangle(argument, "crop");
    if (r[2] == 0 || r[3] == 0) throw UsageError("--crop needs a width and height of at least 1");
    if (image == nullptr) return;
    const BITMAPINFOHEADER h = HeaderOf(*image);
    if (r[0] + r[2] > h.biWidth || r[1] + r[3] > std::abs(h.biHeight))
        throw OperationFailed("--crop: the rectangle reaches past the image (" + std::to_string(h.biWidth) + " x " +
                              std::to_string(std::abs(h.biHeight)) + " pixels)");
    const int x = static_cast<int>(r[0]), y = static_cast<int>(r[1]), w = static_cast<int>(r[2]), ht = static_cast<int>(r[3]);
    TakeResult(*image, TidyCropScaleResult(VexoraCropScaleDIB(image->get(), x, y, w, ht, w, ht)), "crop",
               "the rectangle could not be cut (1-, 4-, 8- or 24-bit images)");
}

}  // namespace

std::vector<Operation> GeometryOperations() {
    return {
        {"rotate", "DEG[:exact|:fast]",
         "turn clockwise by DEG degrees: multiples of 90 are exact quarter and half turns (270 and -90 as a "
         "half turn then a quarter turn); other angles turn on an enlarged canvas with a floating-point (exact, "
         "the default) or integer (fast) walk of the source, corners as --background gives them",
         Rotate},
        {"background", "#RRGGBB|white|black|none",
         "the colour of the corners later rotations and skews uncover (paletted images: the nearest colour of "
         "the table); none (the default) leaves colour-table entry 0 or black",
         Background},
        {"flip", "h|v", "mirror left-to-right (h) or top-to-bottom (v)", Flip},
        {"skew", "h|v:PIXELS",
         "shear horizontally or vertically by PIXELS (negative leans the other way), corners as --background gives "
         "them",
         Skew},
        {"crop", "X,Y,W,H", "cut out the W x H rectangle whose top-left corner is X,Y (any depth but 16 and 32 bits)",
         Crop},
        {"scale", "WxH[:bilinear|:cubic]", "resample to W x H pixels (1-bit images: nearest neighbour)", Scale},
        {"magnify", "X,Y,W,H:FXxFY[:bilinear|:cubic]",
         "cut the rectangle and enlarge it FX times across and FY times down (4, 8, 24 bits)", Magnify},
        {"crop-scale", "X,Y,W,H:WxH",
         "cut the rectangle (from the top-left) and resize it to W x H by nearest neighbour, as the display "
         "does in low-memory mode",
         CropScale},
    };
}

}  // namespace vexora_tool

// ops_geometry.cpp - the geometry options of `vexora convert`: quarter turns and any angle,
// flips, skew, scaling, magnifying a rectangle and nearest-neighbour crop-and-scale.
#include <string>

#include <cstring>

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

void Rotate(Dib* image, const std::string& argument) {
    const auto [angleText, walk] = SplitOnce(argument, ':');
    const long angle = ParseNumber(angleText, "--rotate angle", -36000, 36000);
    if (walk.empty() || walk == "exact" || walk == "fast") {
        if (image == nullptr) return;
        if (walk.empty() && (angle == 90 || angle == 180 || angle == 270)) {
            HDIB turned = angle == 90 ? RotateDIB90(image->get()) : angle == 180 ? RotateDIB180(image->get()) : RotateDIB270(image->get());
            return TakeResult(*image, turned, "rotate", "the image could not be turned (damaged, or too large)");
        }
        DWORD status = 0;
        // The library turns positive angles anticlockwise; the tool's angles are clockwise.
        HDIB rotated = RotateDIB(image->get(), static_cast<int>(-angle), walk == "fast" ? 1 : 0, &status, nullptr);
        return TakeResult(*image, rotated, "rotate", RotationStatusText(status));
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
    DWORD error = 0;
    int corners[8] = {};
    SetImgError(IMGERR_SUCCESS);
    HDIB skewed = SkewDIB(image->get(), direction == "h" ? 1 : 0, static_cast<int>(offset), &error, corners);
    TakeResult(*image, skewed, "skew", ModuleReason("the image could not be skewed"));
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

}  // namespace

std::vector<Operation> GeometryOperations() {
    return {
        {"rotate", "DEG[:exact|:fast]",
         "turn clockwise by DEG degrees: 90, 180 and 270 are exact quarter and half turns; other angles "
         "turn on an enlarged canvas with a floating-point (exact, the default) or integer (fast) walk "
         "of the source",
         Rotate},
        {"flip", "h|v", "mirror left-to-right (h) or top-to-bottom (v)", Flip},
        {"skew", "h|v:PIXELS", "shear horizontally or vertically by PIXELS (negative leans the other way)", Skew},
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

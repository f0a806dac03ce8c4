// ops_dither.cpp - the dithering options of `vexora convert`: the four error-diffusion and
// block dithers to a fixed palette of 1, 4 or 8 bits, and the 1-bit halftones.
#include <string>
#include <vector>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

struct DitherMethod {
    std::string_view name;
    HDIB(VXCALL* run)(HDIB, int);
    long deepestOutput;  // the block dithers stop at 4 bits
};

constexpr DitherMethod kDitherMethods[] = {
    {"fs", DitherFS4, 8},
    {"jjn", DitherJJN, 8},
    {"smooth", DitherSmooth, 4},
    {"sharp", DitherSharp, 4},
};

void Dither(Dib* image, const std::string& argument) {
    const auto [name, depthText] = SplitOnce(argument, ':');
    const DitherMethod* method = nullptr;
    for (const auto& m : kDitherMethods)
        if (m.name == name) method = &m;
    if (method == nullptr) throw UsageError("--dither takes fs, jjn, smooth or sharp, then :DEPTH, not '" + argument + "'");
    if (depthText.empty()) throw UsageError("--dither " + name + " needs an output depth, as in " + name + ":1");
    const long depth = ParseNumber(depthText, "--dither depth", 1, 8);
    if ((depth != 1 && depth != 4 && depth != 8) || depth > method->deepestOutput)
        throw UsageError("--dither " + name + " makes 1" + (method->deepestOutput == 8 ? ", 4 or 8" : " or 4") +
                         " bits per pixel, not " + depthText);
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HDIB result = method->run(image->get(), static_cast<int>(depth));
    TakeResult(*image, result, "dither", LibraryErrorText());
}

constexpr std::string_view kHalftoneModes[] = {"threshold", "diffuse", "screen"};

void HalftoneImage(Dib* image, const std::string& argument) {
    const auto [name, brightnessText] = SplitOnce(argument, ':');
    WORD mode = 0;
    while (mode < 3 && kHalftoneModes[mode] != name) ++mode;
    if (mode == 3) throw UsageError("--halftone takes threshold, diffuse or screen, then :BRIGHTNESS, not '" + argument + "'");
    const long brightness = brightnessText.empty() ? 0 : ParseNumber(brightnessText, "--halftone brightness", -255, 255);
    if (image == nullptr) return;
    // Halftone walks a 24-bit image's rows at the wrong length (most of the result comes out
    // black, kept for its callers), so a 24-bit image goes through its weighted gray first.
    if (HeaderOf(*image).biBitCount == 24) {
        SetImgError(IMGERR_SUCCESS);
        TakeResult(*image, ConvColorDIBtoGrayscale(image->get(), 0, TRUE), "halftone", LibraryErrorText());
    }
    WORD error = IMGERR_SUCCESS;
    HDIB result = Halftone(image->get(), mode, static_cast<int>(brightness), &error);
    char text[64] = {};
    TakeResult(*image, result, "halftone",
               error == IMGERR_SUCCESS ? "the image could not be halftoned" : ImgErrorString(text, error));
}

}  // namespace

std::vector<Operation> DitherOperations() {
    return {
        {"dither", "METHOD:DEPTH",
         "dither a 4-, 8- or 24-bit image to DEPTH bits with a fixed palette (below the image's depth): fs "
         "(Floyd-Steinberg) or jjn (Jarvis-Judice-Ninke) to 1, 4 (eight colours) or 8 (3-3-2 colour cube); smooth or "
         "sharp (2 x 2 block redistribution) to 1 or 4",
         Dither},
        {"halftone", "MODE[:BRIGHTNESS]",
         "make a black-and-white image of a 4-, 8- or 24-bit one after adding BRIGHTNESS (-255 to 255) to every "
         "gray level: threshold (white from 129 up), diffuse (error diffusion) or screen (16 x 16 ordered screen); a "
         "24-bit image is made 8-bit gray (--gray weighted) first",
         HalftoneImage},
    };
}

}  // namespace vexora_tool

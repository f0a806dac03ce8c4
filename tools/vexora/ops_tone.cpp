// ops_tone.cpp - the tone and colour options of `vexora convert`: gray conversion, histogram
// table, tone curve from contrast and brightness, convolution filters, depth expansion and
// colour brightness/contrast. The histogram is printed; the image passes through unchanged.
#include <cstdio>
#include <string>
#include <vector>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

// The reason a family that reports through an error word gave.
std::string WordReason(DWORD error, const char* fallback) {
    if (error == IMGERR_SUCCESS) return fallback;
    char text[64] = {};
    return error < 31 ? ImgErrorString(text, static_cast<int>(error)) : "error " + std::to_string(error);
}

std::string ModuleReason(const char* fallback) {
    return ImgError() == IMGERR_SUCCESS ? fallback : LibraryErrorText();
}

void Gray(Dib* image, const std::string& argument) {
    const auto [kind, mode] = SplitOnce(argument, ':');
    if (kind != "weighted" && kind != "average" && kind != "mono")
        throw UsageError("--gray takes weighted, average or mono:MODE, not '" + argument + "'");
    const long monoMode = kind == "mono" ? ParseNumber(mode, "--gray mono mode", 0, 2) : 0;
    if (kind != "mono" && !mode.empty()) throw UsageError("--gray " + kind + " takes no mode");
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HDIB gray = kind == "mono" ? ConvMonoDIBtoGrayscale(image->get(), static_cast<int>(monoMode))
                               : ConvColorDIBtoGrayscale(image->get(), 0, kind == "weighted");
    TakeResult(*image, gray, "gray", ModuleReason("the image could not be converted"));
}

// Origin "X,Y" of the 256 x 256 histogram window.
std::pair<long, long> ParseOrigin(const std::string& text, std::string_view option) {
    if (text.empty()) return {0, 0};
    const auto parts = SplitAll(text, ',');
    if (parts.size() != 2) throw UsageError("--" + std::string(option) + " window origin must read X,Y");
    return {ParseNumber(parts[0], "a window origin", 0, 1L << 30), ParseNumber(parts[1], "a window origin", 0, 1L << 30)};
}

// Histogram of the 256 x 256 window at `origin`, as a block the caller frees with TABLE_FREE.
HGLOBAL WindowHistogram(const Dib& image, std::pair<long, long> origin, std::string_view option) {
    DWORD error = 0;
    HGLOBAL histogram = ComputeHistogram(nullptr, TABLE_CREATE, nullptr, nullptr, &error);
    int xy[2] = {static_cast<int>(origin.first), static_cast<int>(origin.second)};
    if (histogram && ComputeHistogram(image.get(), TABLE_COMPUTE, histogram, xy, &error) != nullptr && error == 0)
        return histogram;
    if (histogram) ComputeHistogram(nullptr, TABLE_FREE, histogram, nullptr, &error);
    throw OperationFailed("--" + std::string(option) + ": " + WordReason(error, "no histogram (8-bit images only)"));
}

void Histogram(Dib* image, const std::string& argument) {
    const auto origin = ParseOrigin(argument, "histogram");
    if (image == nullptr) return;
    HGLOBAL histogram = WindowHistogram(*image, origin, "histogram");
    const auto* counts = static_cast<const WORD*>(GlobalLock(histogram));
    std::printf("histogram of the 256 x 256 window at %ld,%ld (counts modulo 65536)\n", origin.first, origin.second);
    std::printf("value  count   value  count   value  count   value  count\n");
    for (int row = 0; row < 64; ++row)
        std::printf("%5d %6u   %5d %6u   %5d %6u   %5d %6u\n", row, counts[row], row + 64, counts[row + 64],
                    row + 128, counts[row + 128], row + 192, counts[row + 192]);
    GlobalUnlock(histogram);
    DWORD error = 0;
    ComputeHistogram(nullptr, TABLE_FREE, histogram, nullptr, &error);
}

void Tone(Dib* image, const std::string& argument) {
    const auto [values, at] = SplitOnce(argument, '@');
    const auto parts = SplitAll(values, ',');
    if (parts.size() != 2) throw UsageError("--tone takes CONTRAST,BRIGHTNESS[@X,Y]");
    const long contrast = ParseNumber(parts[0], "--tone contrast", -255, 255);
    const long brightness = ParseNumber(parts[1], "--tone brightness", -255, 255);
    const auto origin = ParseOrigin(at, "tone");
    if (image == nullptr) return;
    // The tone tables map 8-bit pixels and give gray anyway: a 24-bit image is made gray first.
    if (HeaderOf(*image).biBitCount == 24) Gray(image, "weighted");
    HGLOBAL histogram = WindowHistogram(*image, origin, "tone");
    DWORD error = 0;
    HGLOBAL table = ComputeLUT(nullptr, TABLE_CREATE, nullptr, 0, 0, &error);
    HDIB result = nullptr;
    if (table && ComputeLUT(histogram, TABLE_COMPUTE, table, static_cast<int>(contrast), static_cast<int>(brightness), &error))
        result = ApplyLUT(image->get(), table, TRUE, &error);
    DWORD ignored = 0;
    if (table) ComputeLUT(nullptr, TABLE_FREE, table, 0, 0, &ignored);
    ComputeHistogram(nullptr, TABLE_FREE, histogram, nullptr, &ignored);
    TakeResult(*image, result, "tone", WordReason(error, "the tone curve could not be applied"));
}

// A filter argument: TYPE:SIZE (built-in types), @FILE:SIZE (a kernel file) or
// w1,...,wNN/DIVISOR (the weights of an N x N kernel, row by row, then the divisor).
struct Filter {
    int type = 0, size = 0;
    std::string file;
    std::vector<long> weights;  // N x N weights and the divisor
};

Filter ParseFilter(const std::string& text, std::string_view option, long largestWeight) {
    Filter f;
    const std::string what = "--" + std::string(option);
    if (text.find('/') != std::string::npos) {
        const auto [list, divisor] = SplitOnce(text, '/');
        for (const auto& w : SplitAll(list, ',')) f.weights.push_back(ParseNumber(w, what + " weight", -largestWeight, largestWeight));
        int n = 1;
        while (n * n < static_cast<int>(f.weights.size())) ++n;
        if (n * n != static_cast<int>(f.weights.size()) || n < 3 || n > 7)
            throw UsageError(what + " needs 9, 16, 25, 36 or 49 weights before the divisor");
        f.weights.push_back(ParseNumber(divisor, what + " divisor", -largestWeight, largestWeight));
        f.type = 1;
        f.size = n;
        return f;
    }
    const auto [head, size] = SplitOnce(text, ':');
    f.size = static_cast<int>(ParseNumber(size, what + " size", 3, 7));
    if (!head.empty() && head[0] == '@') {
        f.type = 2;
        f.file = head.substr(1);
        if (f.file.empty()) throw UsageError(what + " needs a kernel file name after @");
    } else {
        f.type = static_cast<int>(ParseNumber(head, what + " type", 3, 6));
    }
    return f;
}

// A kernel file must be a regular file the tool can read: a FIFO would stall the library's reader.
void CheckKernelFile(const std::string& file, const std::string& option) {
    if (file.empty()) return;
    try {
        CheckInputFile(file, file);
    } catch (const OperationFailed& e) {
        throw OperationFailed("--" + option + ": " + e.what());
    }
}

void ConvolveColour(Dib* image, const std::string& argument);

void ConvolveGray(Dib* image, const std::string& argument) {
    const Filter f = ParseFilter(argument, "convolve", 1L << 30);
    if (image != nullptr && HeaderOf(*image).biBitCount == 24) return ConvolveColour(image, argument);
    if (image == nullptr) return;
    CheckKernelFile(f.file, "convolve");
    std::vector<int> kernel(f.weights.begin(), f.weights.end());
    DWORD error = 0;
    HDIB result = Convolve(image->get(), TRUE, f.type, f.size, f.file.empty() ? nullptr : f.file.c_str(),
                           kernel.empty() ? nullptr : kernel.data(), &error);
    TakeResult(*image, result, "convolve", WordReason(error, "the filter could not be applied"));
}

void ConvolveColour(Dib* image, const std::string& argument) {
    const auto [filterText, gray] = SplitOnce(argument, '+');
    if (!gray.empty() && gray != "weighted") throw UsageError("--colour-convolve takes FILTER or FILTER+weighted");
    const Filter f = ParseFilter(filterText, "colour-convolve", 32767);
    if (image == nullptr) return;
    CheckKernelFile(f.file, "colour-convolve");
    std::vector<short> kernel(f.weights.begin(), f.weights.end());
    DWORD error = 0;
    HDIB result = ColorConvolution(image->get(), TRUE, gray == "weighted" ? 1 : 0, static_cast<short>(f.type), f.size,
                                   f.file.empty() ? nullptr : f.file.c_str(), kernel.empty() ? nullptr : kernel.data(), &error);
    TakeResult(*image, result, "colour-convolve", WordReason(error, "the filter could not be applied"));
}

void To24(Dib* image, const std::string&) {
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HDIB expanded = Convert8to24(image->get());
    TakeResult(*image, expanded, "to-24", ModuleReason("the image could not be expanded"));
}

void BrightnessContrast(Dib* image, const std::string& argument) {
    const auto parts = SplitAll(argument, ',');
    if (parts.size() != 2) throw UsageError("--brightness-contrast takes BRIGHTNESS,CONTRAST");
    const long brightness = ParseNumber(parts[0], "brightness", -100, 100);
    const long contrast = ParseNumber(parts[1], "contrast", -100, 100);
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HDIB result = ColorBrightnessContrast(image->get(), static_cast<int>(brightness), static_cast<int>(contrast));
    TakeResult(*image, result, "brightness-contrast", ModuleReason("the image could not be adjusted"));
}

}  // namespace

std::vector<Operation> ToneOperations() {
    return {
        {"gray", "weighted|average|mono:MODE",
         "convert to gray: weighted or plain average of the colours (1-bit images: counting their 1-bits), "
         "or render a 1-bit image counting its darker colour (MODE 0 plain, 1 soft 3 x 3, 2 soft 5 x 5)",
         Gray},
        {"histogram", "X,Y", "print the histogram of the 256 x 256 window at X,Y of an 8-bit image (unchanged)",
         Histogram},
        {"tone", "CONTRAST,BRIGHTNESS[@X,Y]",
         "apply a tone curve pivoted on the mean of the window at X,Y (default 0,0); the result is 8-bit gray (a "
         "24-bit image is made gray by --gray weighted first)",
         Tone},
        {"convolve", "TYPE:SIZE|@FILE:SIZE|W,...,W/DIV",
         "filter an 8-bit image: built-in TYPE 3 mean, 4 smoothing, 5 and 6 sharpening, a kernel file, or "
         "the N x N weights and divisor given; a 24-bit image is filtered as --colour-convolve does",
         ConvolveGray},
        {"colour-convolve", "FILTER[+weighted]",
         "filter a 24-bit image through its gray values, hue kept (FILTER as for --convolve)", ConvolveColour},
        {"to-24", "", "expand an 8-bit image to 24 bits per pixel", To24},
        {"brightness-contrast", "B,C", "adjust colour brightness and contrast, each -100 to 100", BrightnessContrast},
    };
}

}  // namespace vexora_tool

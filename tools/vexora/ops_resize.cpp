// ops_resize.cpp - the tool's --resize: resizing for viewing through VexoraResampleDIB (area
// averaging to shrink, Lanczos-3 to grow), where --scale keeps the classic bilinear and cubic
// scalers.
//
// The size reads WxH (both sides), Wx or xH (one side; the other keeps the aspect ratio) or
// N% (both sides by N percent, 1 to 10000). A side worked out from the aspect ratio or a
// percentage is rounded to the nearest pixel, halves up, and is at least 1. Palette images
// come back as 24-bit or 8-bit gray, as the resampler gives them.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

constexpr long kLargestSide = 1L << 28;  // the resampler's pixel limit, on one side
constexpr long kLargestPercent = 10000;

struct ResizeRequest {
    long width = 0;   // 0: from the aspect ratio
    long height = 0;  // 0: from the aspect ratio
    long percent = 0; // non-zero: both sides by this much
};

ResizeRequest ParseResize(const std::string& argument) {
    const std::string usage = "--resize takes WxH, Wx, xH or N%, not '" + argument + "'";
    ResizeRequest request;
    if (!argument.empty() && argument.back() == '%') {
        request.percent = ParseNumber(std::string_view(argument).substr(0, argument.size() - 1), "--resize percentage", 1,
                                      kLargestPercent);
        return request;
    }
    const auto x = argument.find('x');
    if (x == std::string::npos || argument.size() == 1) throw UsageError(usage);
    if (x > 0) request.width = ParseNumber(std::string_view(argument).substr(0, x), "--resize width", 1, kLargestSide);
    if (x + 1 < argument.size())
        request.height = ParseNumber(std::string_view(argument).substr(x + 1), "--resize height", 1, kLargestSide);
    return request;
}

// round(side x numerator / denominator), halves up, at least 1.
long Proportional(long side, long numerator, long denominator) {
    const int64_t scaled = (2 * int64_t{side} * numerator + denominator) / (2 * int64_t{denominator});
    return static_cast<long>(std::clamp<int64_t>(scaled, 1, kLargestSide));
}

void Resize(Dib* image, const std::string& argument) {
    const ResizeRequest request = ParseResize(argument);
    if (image == nullptr) return;
    const BITMAPINFOHEADER header = HeaderOf(*image);
    const long inW = header.biWidth, inH = std::labs(long{header.biHeight});
    if (inW < 1 || inH < 1) throw OperationFailed("--resize: the image has no pixels");
    long width = request.width, height = request.height;
    if (request.percent != 0) {
        width = Proportional(inW, request.percent, 100);
        height = Proportional(inH, request.percent, 100);
    } else if (width == 0) {
        width = Proportional(inW, height, inH);
    } else if (height == 0) {
        height = Proportional(inH, width, inW);
    }
    SetImgError(IMGERR_SUCCESS);
    HDIB resized = VexoraResampleDIB(image->get(), static_cast<int>(width), static_cast<int>(height));
    TakeResult(*image, resized, "resize",
               ImgError() == IMGERR_SUCCESS ? std::string("the image could not be resized") : LibraryErrorText());
}

}  // namespace

std::vector<Operation> ResizeOperations() {
    return {
        {"resize", "WxH|Wx|xH|N%",
         "resize for viewing, averaging to shrink and Lanczos-3 to grow; Wx or xH keeps the aspect ratio, N% scales "
         "both sides (sides worked out are rounded half up, at least 1); palette images become 24-bit or 8-bit gray",
         Resize},
    };
}

}  // namespace vexora_tool

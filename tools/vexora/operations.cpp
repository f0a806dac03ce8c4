#include "operations.hpp"

namespace vexora_tool {
namespace {

void ExpectDepth(const Dib& image, std::string_view option, bool ok, std::string_view wanted) {
    if (!ok)
        throw OperationFailed("--" + std::string(option) + " needs " + std::string(wanted) + " image (this one has " +
                              std::to_string(HeaderOf(image).biBitCount) + " bits per pixel)");
}

void NegativePalette(Dib* image, const std::string&) {
    if (image == nullptr) return;
    const auto header = HeaderOf(*image);
    ExpectDepth(*image, "negative", header.biBitCount <= 8 && header.biClrUsed > 0, "an image with a colour table (1, 4 or 8 bits)");
    if (!InvertDIBPalette(image->get())) throw OperationFailed("--negative: the colour table could not be inverted");
}

void InvertMonoBits(Dib* image, const std::string&) {
    if (image == nullptr) return;
    ExpectDepth(*image, "invert-bits", HeaderOf(*image).biBitCount == 1, "a 1-bit");
    InvertMonoDIB(image->get());
}

std::vector<Operation> ColourTableOperations() {
    return {
    {"negative", "", "invert the colour table (a negative of a 1-, 4- or 8-bit image)", NegativePalette},
    {"invert-bits", "", "complement every pixel of a 1-bit image and swap its two colours (looks the same)",
     InvertMonoBits},
    };
}

std::vector<Operation> AllOperations() {
    std::vector<Operation> all = ColourTableOperations();
    for (auto&& family : {GeometryOperations(), ResizeOperations(), ToneOperations(), DitherOperations(), FormatOperations(), DeviceOperations()}) all.insert(all.end(), family.begin(), family.end());
    return all;
}

const std::vector<Operation> kOperations = AllOperations();

}  // namespace

const std::vector<Operation>& Operations() { return kOperations; }

const Operation* FindOperation(std::string_view option) {
    for (const auto& op : kOperations)
        if (op.option == option) return &op;
    return nullptr;
}

}  // namespace vexora_tool

// operations.cpp - the table of every operation `vexora convert` offers (Operations,
// FindOperation), gathered from each family's list, and the colour-table family: negatives
// and the 1-bit complement.
#include "operations.hpp"

#include <cstdint>

namespace vexora_tool {
namespace {

void ExpectDepth(const Dib& image, std::string_view option, bool ok, std::string_view wanted) {
    if (!ok)
        throw OperationFailed("--" + std::string(option) + " needs " + std::string(wanted) + " image (this one has " +
                              std::to_string(HeaderOf(image).biBitCount) + " bits per pixel)");
}

// Complements the colour bytes of every pixel of a 24-bit image, padding left alone. No export
// inverts true-colour pixels, so the tool does it.
void ComplementPixels24(Dib& image, const BITMAPINFOHEADER& h) {
    const DWORD stride = ((static_cast<DWORD>(h.biWidth) * 24 + 31) / 32) * 4;
    const DWORD rows = static_cast<DWORD>(h.biHeight < 0 ? -h.biHeight : h.biHeight);
    const size_t offset = h.biSize + size_t{4} * h.biClrUsed;  // a true-colour image may still carry a table
    if (GlobalSize(image.get()) < offset + static_cast<size_t>(stride) * rows)
        throw OperationFailed("--negative: the image is shorter than its header says");
    auto* pixels = static_cast<uint8_t*>(GlobalLock(image.get())) + offset;
    for (DWORD y = 0; y < rows; ++y)
        for (DWORD i = 0; i < static_cast<DWORD>(h.biWidth) * 3; ++i) pixels[y * stride + i] = static_cast<uint8_t>(~pixels[y * stride + i]);
    GlobalUnlock(image.get());
}

// A negative through the colour table (InvertDIBPalette) for paletted images, pixel by pixel
// for 24-bit ones.
void Negative(Dib* image, const std::string&) {
    if (image == nullptr) return;
    const auto header = HeaderOf(*image);
    if (header.biBitCount == 24 && header.biCompression == 0) return ComplementPixels24(*image, header);
    ExpectDepth(*image, "negative", header.biBitCount <= 8 && header.biClrUsed > 0,
                "an image with a colour table (1, 4 or 8 bits) or a 24-bit");
    if (!InvertDIBPalette(image->get())) throw OperationFailed("--negative: the colour table could not be inverted");
}

void InvertMonoBits(Dib* image, const std::string&) {
    if (image == nullptr) return;
    ExpectDepth(*image, "invert-bits", HeaderOf(*image).biBitCount == 1, "a 1-bit");
    InvertMonoDIB(image->get());
}

std::vector<Operation> ColourTableOperations() {
    return {
    {"negative", "",
     "make a negative: 1-, 4- and 8-bit images by inverting their colour table, 24-bit ones by complementing every "
     "pixel",
     Negative},
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

// ops_device.cpp - the options of `vexora convert` that go through device bitmaps: pasting
// another image into this one (--combine, opaque, OR'ed, through a mask or XOR'ed through it)
// and the DIB -> device bitmap -> DIB round trip (--via-bitmap).
//
// Both run the library's exports as they are. CombineDIB reads its result back into the
// destination's own block in the destination's format, so a paletted destination comes back
// in the colours the display gives it; the tool therefore widens a paletted destination to 24
// bits before pasting, so the user gets the colours of both pictures. The pasted image and the mask are the tool's own copies, which the export
// leaves modified as it always does; the files on disk are never touched.
#include <string>
#include <string_view>
#include <vector>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

// The texts of the codes the combine exports store beyond the message table.
std::string CombineReason() {
    switch (ImgError()) {
    case COMBINE_ERR_MASKSIZE: return "the mask is not the size of the pasted image";
    case COMBINE_ERR_NOMEMORY: return "not enough memory for the copy";
    case COMBINE_ERR_LOCK: return "an image could not be locked";
    case COMBINE_ERR_NOSOURCE: return "no image to paste";
    case COMBINE_ERR_DUPLICATE: return "the pasted image could not be copied";
    case COMBINE_ERR_COMPRESSED: return "the pasted image is compressed";
    case COMBINE_ERR_TOBITMAP: return "an image could not be made a device bitmap";
    case IMGERR_SUCCESS: return "the display refused the paste";
    default: return LibraryErrorText();
    }
}

struct Paste {
    std::string file;
    long x = 0, y = 0;
    std::string mask;  // empty: opaque
    bool alternate = false;
};

bool EndsWith(const std::string& text, std::string_view suffix) {
    return text.size() > suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// FILE@X,Y[:mask=FILE][:or|:xor]
Paste ParsePaste(const std::string& argument) {
    const auto at = argument.rfind('@');
    if (at == std::string::npos || at == 0) throw UsageError("--combine needs FILE@X,Y, not '" + argument + "'");
    Paste paste;
    paste.file = argument.substr(0, at);
    std::string rest = argument.substr(at + 1);
    std::string_view mode;
    for (std::string_view suffix : {":or", ":xor"})
        if (EndsWith(rest, suffix)) {
            mode = suffix;
            rest.resize(rest.size() - suffix.size());
        }
    const auto maskAt = rest.find(":mask=");
    if (maskAt != std::string::npos) {
        paste.mask = rest.substr(maskAt + 6);
        rest.resize(maskAt);
        if (paste.mask.empty()) throw UsageError("--combine: mask= needs a file");
    }
    if (mode == ":xor" && paste.mask.empty()) throw UsageError("--combine: :xor pastes through a mask (add :mask=FILE)");
    if (mode == ":or" && !paste.mask.empty()) throw UsageError("--combine: :or pastes without a mask (with one, use :xor)");
    paste.alternate = !mode.empty();
    const auto [x, y] = SplitOnce(rest, ',');
    paste.x = ParseNumber(x, "the --combine X", -(1L << 30), 1L << 30);
    paste.y = ParseNumber(y, "the --combine Y", -(1L << 30), 1L << 30);
    return paste;
}

// This image at 24 bits when it has a colour table, so that pasting keeps every colour: 8 bits
// through the table, 4 bits through a true-colour device bitmap, 1 bit as black and white.
void WidenPaletted(Dib* image) {
    const int bits = HeaderOf(*image).biBitCount;
    if (bits > 8) return;
    SetImgError(IMGERR_SUCCESS);
    Dib gray;
    if (bits == 1) gray = Dib(ConvMonoDIBtoGrayscale(image->get(), 0));
    HDIB wide = nullptr;
    if (bits == 8 || gray) {
        wide = Convert8to24(gray ? gray.get() : image->get());
    } else if (HBITMAP bitmap = ConvertDIBToBitmap(image->get())) {
        wide = ConvertBitmapToDIB(bitmap, nullptr);
        DeleteObject(bitmap);
    }
    if (wide == nullptr) throw OperationFailed("--combine: the image could not be widened to 24 bits: " + LibraryErrorText());
    *image = Dib(wide);
}

void Combine(Dib* image, const std::string& argument) {
    const Paste paste = ParsePaste(argument);
    if (image == nullptr) return;
    Dib source = LoadImageFile(paste.file);
    Dib mask = paste.mask.empty() ? Dib() : LoadImageFile(paste.mask);
    WidenPaletted(image);
    HDIB destination = image->get();
    SetImgError(IMGERR_SUCCESS);
    if (!CombineDIB(static_cast<int>(paste.x), static_cast<int>(paste.y), &destination, source.get(), mask.get(),
                    paste.alternate))
        throw OperationFailed("--combine: " + CombineReason());
}

void ViaBitmap(Dib* image, const std::string&) {
    if (image == nullptr) return;
    SetImgError(IMGERR_SUCCESS);
    HBITMAP bitmap = ConvertDIBToBitmap(image->get());
    if (bitmap == nullptr) throw OperationFailed("--via-bitmap: " + LibraryErrorText());
    HDIB back = ConvertBitmapToDIB(bitmap, nullptr);
    DeleteObject(bitmap);
    TakeResult(*image, back, "via-bitmap", "the device bitmap could not be read back");
}

}  // namespace

std::vector<Operation> DeviceOperations() {
    return {
        {"combine", "FILE@X,Y[:mask=FILE][:or|:xor]",
         "paste the image FILE with its top-left corner at X,Y: opaque, OR'ed in (:or), through a 1-bit mask "
         "whose white pixels let it through (:mask=FILE), or XOR'ed in through the mask (:xor). The display "
         "pastes the rectangle of this image's size from FILE's origin. An image with a colour table is widened "
         "to 24 bits first (1-bit ones as black and white), so that both pictures keep their colours",
         Combine},
        {"via-bitmap", "",
         "turn the image into a device bitmap of the display and back (1-bit images stay 1-bit; others come back "
         "at 24 bits, or in the display's palette)",
         ViaBitmap},
    };
}

}  // namespace vexora_tool

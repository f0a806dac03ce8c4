// ops_formats.cpp - the file-format options of `vexora convert`: run-length encoding of the
// output. (Run-length encoded inputs are expanded as they are loaded.)
#include <string>
#include <vector>

#include "arguments.hpp"
#include "operations.hpp"

namespace vexora_tool {
namespace {

void RunLength(Dib* image, const std::string&) {
    if (image == nullptr) return;
    const WORD depth = HeaderOf(*image).biBitCount;
    if (depth != 8 && depth != 4)
        throw OperationFailed("--rle needs a 4- or 8-bit image (this one has " + std::to_string(depth) +
                              " bits per pixel)");
    SetImgError(IMGERR_SUCCESS);
    HDIB compressed = CompressDIB(image->get());
    TakeResult(*image, compressed, "rle", LibraryErrorText());
}

}  // namespace

std::vector<Operation> FormatOperations() {
    return {
        {"rle", "", "save the 4- or 8-bit result run-length encoded (BI_RLE4 / BI_RLE8); give it last", RunLength},
    };
}

}  // namespace vexora_tool

// module_fuzz_support.hpp - CheckModuleLoad: what every format module's reader promises of one
// load, checked the same way by each module's fuzz target.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_support.hpp"
#include "vexora_modules.h"

namespace vexora_fuzz {

// `load` calls the reader once with the status word it is given (a reader without one ignores
// it and leaves it at VXSTATUS_OK or -1) and returns its DIB. Checks that the status agrees
// with the result, that a DIB is a whole image (header, table and rows within its block)
// within the pixel limit in a depth the readers make, and that loading again gives the same
// bytes, so no pixel was left uninitialised. Frees what it loaded.
template <typename Load>
void CheckModuleLoad(Load load) {
    int status = -1;
    HDIB dib = load(&status);
    if (status != -1) Check((dib != nullptr) == (status == VXSTATUS_OK));
    Check(status >= -1 && status <= VXSTATUS_NOMEMORY);
    if (dib == nullptr) return;
    const std::vector<uint8_t> bytes = Contents(dib);
    GlobalFree(dib);
    BITMAPINFOHEADER h;
    Check(bytes.size() >= sizeof h);
    std::memcpy(&h, bytes.data(), sizeof h);
    Check(h.biWidth > 0 && h.biHeight > 0 && int64_t{h.biWidth} * h.biHeight <= VXMOD_MAX_PIXELS);
    Check(h.biBitCount == 1 || h.biBitCount == 4 || h.biBitCount == 8 || h.biBitCount == 24);
    const uint64_t stride = (uint64_t(h.biWidth) * h.biBitCount + 31) / 32 * 4;
    Check(bytes.size() >= sizeof h + uint64_t(h.biClrUsed) * 4 + stride * uint64_t(h.biHeight));
    HDIB again = load(&status);
    Check(again != nullptr && Contents(again) == bytes);
    GlobalFree(again);
}

}  // namespace vexora_fuzz

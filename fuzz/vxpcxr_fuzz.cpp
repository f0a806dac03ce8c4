// vxpcxr_fuzz.cpp - fuzz target for the PCX and DCX reader (module VXPCXR), called directly.
//
// The input is written to a file and read as a PCX image and as the first two pages of a DCX
// file. Besides the absence of faults, the status word must agree with the result, and a DIB
// that loads must hold a whole image: its block is at least the header, table and rows it
// describes.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "vexora_modules.h"

namespace {

void CheckLoaded(HDIB dib, int status) {
    vexora_fuzz::Check((dib != nullptr) == (status == VXSTATUS_OK));
    if (dib == nullptr) return;
    const std::vector<uint8_t> bytes = vexora_fuzz::Contents(dib);
    vexora_fuzz::Check(bytes.size() >= 40);
    BITMAPINFOHEADER h;
    std::memcpy(&h, bytes.data(), 40);
    const uint64_t stride = (uint64_t(h.biWidth) * h.biBitCount + 31) / 32 * 4;
    vexora_fuzz::Check(h.biWidth > 0 && h.biHeight > 0 &&
                       bytes.size() >= 40 + uint64_t(h.biClrUsed) * 4 + stride * uint64_t(h.biHeight));
    GlobalFree(dib);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.pcx", data, size);
    int status = -1;
    HDIB dib = LoadPCXIntoDIB(input.c_str(), &status);
    CheckLoaded(dib, status);
    for (int page : {1, 2}) {
        status = -1;
        dib = LoadDCXIntoDIB(input.c_str(), page, &status);
        CheckLoaded(dib, status);
    }
    return 0;
}

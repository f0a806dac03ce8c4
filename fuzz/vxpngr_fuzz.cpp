// vxpngr_fuzz.cpp - fuzz target for the PNG module's reader, LoadPNGIntoDIB, called directly.
//
// The input is written to a file and loaded. Besides the absence of faults (AddressSanitizer
// reports out-of-bounds rows and leaked codec state at once), the status word and the result
// must agree, a DIB that loads must be within the pixel limit in one of the depths the reader
// makes, and loading the same file again must give the same bytes (no uninitialised pixels).
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_support.hpp"
#include "vexora_modules.h"

using vexora_fuzz::Check;
using vexora_fuzz::Contents;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.png", data, size);
    int status = -1;
    HDIB dib = LoadPNGIntoDIB(input.c_str(), &status);
    Check((dib != nullptr) == (status == VXSTATUS_OK));
    if (dib == nullptr) return 0;
    const auto bytes = Contents(dib);
    BITMAPINFOHEADER header;
    Check(bytes.size() >= sizeof header);
    std::memcpy(&header, bytes.data(), sizeof header);
    Check(header.biWidth > 0 && header.biHeight > 0 &&
          int64_t{header.biWidth} * header.biHeight <= VXMOD_MAX_PIXELS);
    Check(header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8 || header.biBitCount == 24);
    HDIB again = LoadPNGIntoDIB(input.c_str(), &status);
    Check(again != nullptr && Contents(again) == bytes);
    GlobalFree(again);
    GlobalFree(dib);
    return 0;
}

// vxgifr_fuzz.cpp - fuzz target for the GIF module's reader, LoadGIFIntoDIB, called directly.
//
// The input is written to a file and frames 1 to 3 are loaded from it, each one composing the
// frames before it. Besides the absence of faults (AddressSanitizer reports rows written out
// of bounds and giflib state left behind at once), the status word and the result must agree,
// a DIB must be within the pixel limit in a depth the reader makes, a page past the last must
// say so, and loading a frame again must give the same bytes (no uninitialised pixels).
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_support.hpp"
#include "vexora_modules.h"

using vexora_fuzz::Check;
using vexora_fuzz::Contents;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.gif", data, size);
    for (int page = 1; page <= 3; ++page) {
        int status = -1;
        HDIB dib = LoadGIFIntoDIB(input.c_str(), page, &status);
        Check((dib != nullptr) == (status == VXSTATUS_OK));
        if (dib == nullptr) return 0;
        const auto bytes = Contents(dib);
        BITMAPINFOHEADER header;
        Check(bytes.size() >= sizeof header);
        std::memcpy(&header, bytes.data(), sizeof header);
        Check(header.biWidth > 0 && header.biHeight > 0 &&
              int64_t{header.biWidth} * header.biHeight <= VXMOD_MAX_PIXELS);
        Check(header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8 || header.biBitCount == 24);
        HDIB again = LoadGIFIntoDIB(input.c_str(), page, &status);
        Check(again != nullptr && Contents(again) == bytes);
        GlobalFree(again);
        GlobalFree(dib);
    }
    return 0;
}

// image_format_fuzz.cpp - fuzz target for format detection and the load dispatch of the formats
// the library reads itself.
//
// Input: byte 0 chooses the file's name (odd: one ending in "tga", which the detection tests
// by name; even: "in.dat") and the page to load (bits 1-3); the rest is the file. The file is
// detected with GetImageFormat, whose answer must be one of the format codes (never 11); a
// file detected as a bitmap, clipboard file or colour fax set is then loaded through
// LoadImageIntoDIB, which must give a block or nothing. The formats of the modules and the
// metafiles have targets of their own and are not loaded here.
#include <cstdint>
#include <string>

#include "vexora.h"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;
using vexora_fuzz::WorkDir;

bool IsFormatCode(int format) { return format >= FMT_UNKNOWN && format <= FMT_EMF && format != 11; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const WorkDir dir;
    if (size < 1) return 0;
    const uint8_t choice = data[0];
    const std::string path = dir.write((choice & 1) != 0 ? "in.tga" : "in.dat", data + 1, size - 1);
    const int format = GetImageFormat(path.c_str());
    Check(IsFormatCode(format));
    if (format == FMT_BMP || format == FMT_CLP || format == FMT_COLORFAX) {
        int status = 0;
        if (HDIB dib = LoadImageIntoDIB(path.c_str(), (choice >> 1) & 7, &status)) {
            Check(GlobalSize(dib) >= sizeof(BITMAPINFOHEADER));
            GlobalFree(dib);
        }
    }
    return 0;
}

// vxtifr_fuzz.cpp - fuzz target for the TIFF and CALS readers of the VXTIFR module.
//
// The input is written to a file and given to LoadTiffIntoDIB (first and second page) and to
// LoadCALSIntoDIB. Besides the absence of faults, each call's status word must agree with its
// result: a DIB exactly when the status is VXSTATUS_OK, and a known status otherwise.
#include <cstdint>
#include <string>

#include "vexora_modules.h"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;

void CheckResult(HDIB dib, int status) {
    Check((dib != nullptr) == (status == VXSTATUS_OK));
    Check(status >= VXSTATUS_OK && status <= VXSTATUS_NOMEMORY);
    if (dib == nullptr) return;
    Check(GlobalSize(dib) >= 40);
    GlobalFree(dib);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.tif", data, size);
    for (int page : {1, 2, 0}) {  // two TIFF pages, then the file as CALS
        int status = -1;
        HDIB dib = page != 0 ? LoadTiffIntoDIB(input.c_str(), page, &status) : LoadCALSIntoDIB(input.c_str(), &status);
        CheckResult(dib, status);
    }
    return 0;
}

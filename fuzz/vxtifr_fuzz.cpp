// vxtifr_fuzz.cpp - fuzz target for the TIFF and CALS readers of VXTIFR: TIFF pages 1 and 2, then the file as CALS, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.tif", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadTiffIntoDIB(input.c_str(), 1, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadTiffIntoDIB(input.c_str(), 2, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadCALSIntoDIB(input.c_str(), s); });
    return 0;
}

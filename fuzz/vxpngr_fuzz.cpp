// vxpngr_fuzz.cpp - fuzz target for the PNG module's reader, LoadPNGIntoDIB, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.png", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadPNGIntoDIB(input.c_str(), s); });
    return 0;
}

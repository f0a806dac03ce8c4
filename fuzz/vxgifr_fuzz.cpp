// vxgifr_fuzz.cpp - fuzz target for the GIF module's reader, LoadGIFIntoDIB: frames 1 to 3, each composing the frames before it, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.gif", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 1, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 2, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 3, s); });
    return 0;
}

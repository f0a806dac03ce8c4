// vxpcxr_fuzz.cpp - fuzz target for the PCX and DCX readers of VXPCXR: the file as PCX, then as pages 1 and 2 of a DCX file, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.pcx", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadPCXIntoDIB(input.c_str(), s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadDCXIntoDIB(input.c_str(), 1, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadDCXIntoDIB(input.c_str(), 2, s); });
    return 0;
}

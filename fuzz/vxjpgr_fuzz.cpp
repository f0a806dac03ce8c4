// vxjpgr_fuzz.cpp - fuzz target for the JPEG module's reader, LoadJPEGIntoDIB (which has no status word), called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.jpg", data, size);
    vexora_fuzz::CheckModuleLoad([&](int*) { return LoadJPEGIntoDIB(input.c_str()); });
    return 0;
}

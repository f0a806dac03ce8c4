// vxgifr_fuzz.cpp - fuzz target for the GIF module's reader, LoadGIFIntoDIB: frames 1 to 3, each composing the frames before it, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
//
// The work per input is capped: a page is as large as the file's logical screen, which 13
// bytes may make 2^28 pixels (within the reader's limit, and seconds of filling the
// background); inputs whose screen passes 2^22 pixels are skipped.
#include <cstdint>
#include <string>

#include "module_fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size >= 10 && uint64_t(data[6] | data[7] << 8) * uint64_t(data[8] | data[9] << 8) > (uint64_t{1} << 22)) return 0;
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.gif", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 1, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 2, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 3, s); });
    return 0;
}

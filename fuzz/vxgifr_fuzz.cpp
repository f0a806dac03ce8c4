// vxgifr_fuzz.cpp - fuzz target for the GIF module's reader, LoadGIFIntoDIB: frames 1 to 3, each composing the frames before it, called directly.
//
// The input is written to a file and loaded; module_fuzz_support.hpp says what each load must
// give besides the absence of faults (AddressSanitizer reports rows written out of bounds and
// codec state left behind at once).
//
// The work per input is capped: a page is as large as the file's logical screen (or, for a
// screen of no width or height, the first frame's extent), which a few bytes may make 2^28
// pixels - within the reader's limit, and seconds of filling the background. Inputs whose
// page would pass 2^22 pixels are skipped.
#include <cstdint>
#include <string>

#include "module_fuzz_support.hpp"

namespace {

constexpr uint64_t kLargestPage = uint64_t{1} << 22;

uint64_t Word(const uint8_t* p) { return uint64_t(p[0] | p[1] << 8); }

// The page size the reader will make, as far as a walk to the first frame finds it (0 when the
// walk ends first).
uint64_t PageArea(const uint8_t* data, size_t size) {
    if (size < 13) return 0;
    const uint64_t screen = Word(data + 6) * Word(data + 8);
    if (screen != 0) return screen;
    size_t at = 13 + ((data[10] & 0x80) != 0 ? 3u << ((data[10] & 7) + 1) : 0);
    while (at < size && data[at] == 0x21) {  // extensions: label, then sub-blocks to a zero
        at += 2;
        while (at < size && data[at] != 0) at += size_t{data[at]} + 1;
        ++at;
    }
    if (at + 9 > size || data[at] != 0x2C) return 0;
    return (Word(data + at + 1) + Word(data + at + 5)) * (Word(data + at + 3) + Word(data + at + 7));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (PageArea(data, size) > kLargestPage) return 0;
    static const vexora_fuzz::WorkDir dir;
    const std::string input = dir.write("in.gif", data, size);
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 1, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 2, s); });
    vexora_fuzz::CheckModuleLoad([&](int* s) { return LoadGIFIntoDIB(input.c_str(), 3, s); });
    return 0;
}

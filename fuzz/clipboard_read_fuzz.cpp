// clipboard_read_fuzz.cpp - fuzz target for the clipboard-file reader.
//
// The input is written to a file and read with LoadClipboardFormat for CF_TEXT, CF_BITMAP,
// CF_METAFILEPICT and CF_DIB; every handle that comes back is freed. Directories with huge
// counts, entries whose offsets and lengths point past the end of the file or sum past 2^32,
// picture headers of any mapping mode and extent, and DIBs whose headers claim more than they
// hold must give a clean refusal. One property is checked besides the absence of faults: a
// CF_BITMAP entry comes back as a block no larger than the file it was read from, since the
// reader allocates nothing for data the file does not hold. The seeds in
// corpus/clipboard_read sit on those edges: a file of each format read, a directory cut short,
// offsets and lengths past the end, a picture of every mapping-mode branch.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "vexora.h"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;

struct WorkDir {
    WorkDir() {
        path = std::filesystem::temp_directory_path() / ("vexora-clipfuzz-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(path);
    }
    ~WorkDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const WorkDir dir;
    const std::string input = (dir.path / "in.clp").string();
    {
        std::ofstream file(input, std::ios::binary | std::ios::trunc);
        if (size > 0) file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    for (const WORD format : {WORD{1}, WORD{3}, WORD{8}}) {
        if (HANDLE bitmap = LoadClipboardFormat(input.c_str(), format)) DeleteObject(bitmap);
    }
    if (HANDLE raw = LoadClipboardFormat(input.c_str(), 2)) {
        Check(GlobalSize(raw) <= size);
        GlobalFree(raw);
    }
    return 0;
}

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
#include "formats/metafile_bridge.hpp"
#include "fuzz_support.hpp"

namespace {

using vexora_fuzz::Check;

// A metafile picture is played into a bitmap of the size its header gives, up to 2^28 pixels:
// a 160-byte file may ask for a gigabyte and seconds of drawing, which is the reader's
// documented limit and not a fault. The work per input is capped by playing only pictures of
// up to 2^16 pixels; the header and the metafile are still read (and refused) for every input.
bool PictureWithinLimit(const std::string& file) {
    const auto picture = vx::formats::ReadClipboardPicture(file.c_str());
    if (!picture) return false;
    const vx::formats::PictureSize size = vx::formats::ClipboardPictureSize(*picture);
    return int64_t{size.width} * size.height <= (int64_t{1} << 16);
}
using vexora_fuzz::WorkDir;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const WorkDir dir;
    const std::string input = dir.write("in.clp", data, size);
    for (const WORD format : {WORD{1}, WORD{8}}) {
        if (HANDLE bitmap = LoadClipboardFormat(input.c_str(), format)) DeleteObject(bitmap);
    }
    if (PictureWithinLimit(input)) {
        if (HANDLE bitmap = LoadClipboardFormat(input.c_str(), 3)) DeleteObject(bitmap);
    }
    if (HANDLE raw = LoadClipboardFormat(input.c_str(), 2)) {
        Check(GlobalSize(raw) <= size);
        GlobalFree(raw);
    }
    return 0;
}

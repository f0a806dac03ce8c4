// emf_play_fuzz.cpp - fuzz target for the enhanced metafile player: the input is handed to
// SetEnhMetaFileBits as it is, and a metafile it accepts is played into a 32 x 32 memory DC of
// a 32-bit DIB section, onto its own frame scaled into the DC (inputs of even length) or
// unscaled (odd length). Record
// sizes, counts, object slots and the offsets of bitmaps inside records are all the input's,
// so AddressSanitizer reports any read past a record or the metafile. The header and bits
// calls are exercised on the same handle. Built against the static library, on Linux only:
// Windows' own player trusts the offsets inside records and reads past them (it faults on this
// corpus under Wine).
#include <cstdint>
#include <cstring>
#include <vector>

#include "vexora.h"
#include "vexora_win32.h"
#include "fuzz_support.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > (size_t{1} << 20)) return 0;
    HENHMETAFILE metafile = SetEnhMetaFileBits(static_cast<UINT>(size), data);
    if (metafile == nullptr) return 0;
    const UINT length = GetEnhMetaFileBits(metafile, 0, nullptr);
    vexora_fuzz::Check(length <= size);
    std::vector<uint8_t> copy(length);
    vexora_fuzz::Check(GetEnhMetaFileBits(metafile, length, copy.data()) == length);
    vexora_fuzz::Check(length == 0 || std::memcmp(copy.data(), data, length) == 0);
    ENHMETAHEADER header{};
    GetEnhMetaFileHeader(metafile, sizeof header, &header);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), 32, -32, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* pixels = nullptr;
    HBITMAP section = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
    HDC dc = CreateCompatibleDC(nullptr);
    HGDIOBJ previous = SelectObject(dc, section);
    // One play per input, the kind chosen by the input's length: fitted onto a rectangle
    // (the frame scaled into it) or unscaled.
    const RECT rect{2, 3, 30, 29};
    PlayEnhMetaFile(dc, metafile, size % 2 == 0 ? &rect : nullptr);
    SelectObject(dc, previous);
    DeleteDC(dc);
    DeleteObject(section);
    vexora_fuzz::Check(DeleteEnhMetaFile(metafile) == TRUE);
    return 0;
}

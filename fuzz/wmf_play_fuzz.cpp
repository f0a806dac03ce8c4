// wmf_play_fuzz.cpp - fuzz target for the Windows metafile player: the input is taken as a
// metafile's bytes (SetMetaFileBitsEx, which checks only the header) and played on a small
// memory DC holding a 32-bit DIB section, then played again on a metafile DC, whose recording
// is closed and played once more. Records whose sizes lie, object tables that overflow, DIBs
// whose headers ask for more than their record holds and extents that ask for gigantic
// bitmaps must all end cleanly. The record walk shared with the tool runs over the raw input
// too, and must visit only records inside it.
#include <cstdint>
#include <vector>

#include "formats/wmf_records.hpp"
#include "fuzz_support.hpp"
#include "vexora.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using vexora_fuzz::Check;
    const std::span<const uint8_t> file(data, size);
    vx::formats::WalkWmfRecords(file, [&](const vx::formats::WmfRecord& record) {
        Check(record.bytes >= vx::formats::kWmfRecordHeadBytes && record.offset + uint64_t{record.bytes} <= size);
    });

    HMETAFILE metafile = SetMetaFileBitsEx(static_cast<UINT>(size), data);
    if (metafile == nullptr) return 0;
    HDC dc = CreateCompatibleDC(nullptr);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), 32, -24, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ previous = SelectObject(dc, section);
    Check(PlayMetaFile(dc, metafile) == TRUE);

    HDC recording = CreateMetaFileA(nullptr);
    Check(PlayMetaFile(recording, metafile) == TRUE);
    HMETAFILE recorded = CloseMetaFile(recording);
    Check(recorded != nullptr);
    Check(PlayMetaFile(dc, recorded) == TRUE);

    DeleteMetaFile(recorded);
    DeleteMetaFile(metafile);
    SelectObject(dc, previous);
    DeleteObject(section);
    DeleteDC(dc);
    return 0;
}

// clipboard_files.hpp - builders for the clipboard-file and metafile tests: a clipboard file of
// any directory (entries whose lengths and offsets may lie), the data of a metafile picture,
// the smallest Windows metafile GDI accepts, a placeable header in front of one, a device
// bitmap's size and pixels read back as a 24-bit DIB, and the error code a call leaves.
#pragma once

#include <string>
#include <vector>

#include "dib_builder.hpp"
#include "metafile_bytes.hpp"

namespace vxtest {

struct ClipEntry {
    uint16_t format = 8;
    Bytes data;
    int64_t length = -1;  // stored as given, else the data's size
    int64_t offset = -1;  // stored as given, else where the data is placed
};

// Signature, count (the entries' number unless given), directory, then each entry's data in
// order. A zero signature is stored as 50000.
Bytes ClipboardFile(const std::vector<ClipEntry>& entries, int count = -1, uint16_t signature = 50000);

// The smallest Windows metafile: its header and the end record.
inline Bytes WindowsMetaFile() { return MetaBytes().end().bytes(); }

// A CF_METAFILEPICT entry's data: mapping mode, extents, an ignored word, the metafile.
Bytes MetafilePicture(int32_t mapMode, int32_t x, int32_t y, const Bytes& wmf = WindowsMetaFile());

// A placeable header (key, bounding box, units per inch, checksum) in front of a metafile.
Bytes Placeable(int16_t left, int16_t top, int16_t right, int16_t bottom, uint16_t inch, const Bytes& wmf);

// A device bitmap's width and height ("W x H"), or "none" for a null handle.
inline std::string SizeOf(HANDLE bitmap) {
    BITMAP b{};
    if (bitmap == nullptr || GetObjectA(bitmap, sizeof b, &b) == 0) return "none";
    return std::to_string(b.bmWidth) + " x " + std::to_string(b.bmHeight);
}

// A device bitmap's pixels as the bridge reads them back (header, table, rows), then deleted.
inline Bytes PixelsOf(HBITMAP bitmap) {
    Block dib(ConvertBitmapToDIB(bitmap, nullptr));
    DeleteObject(bitmap);
    return dib ? BlockBytes(dib.get()) : Bytes{};
}

// The error code `call` leaves, the code cleared before it.
inline int Code(auto&& call) {
    SetImgError(IMGERR_SUCCESS);
    call();
    return ImgError();
}

}  // namespace vxtest

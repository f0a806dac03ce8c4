// clipboard_file.cpp - LoadClipboardFormat and SaveClipboardFormat, and ReadClipboardPicture,
// the metafile-picture reader the CLP placing exports share with them.
//
// A clipboard file is what the clipboard viewer saves: the signature 50000, a 16-bit count,
// then that many 89-byte directory entries (format, data length, data offset, a 79-byte
// format name), and the entries' data wherever their offsets say. Reading walks the directory
// from the front and takes the first entry of the asked format; its data is read whole and
// turned into a device bitmap by format: CF_DIB through ConvertDIBToBitmap, CF_TEXT through
// the text renderer LoadASCIIIntoBitmap, CF_METAFILEPICT by playing the metafile into a bitmap
// whose size comes from the picture's mapping mode and extents at the screen's resolution
// (the historic table, whose twips row multiplies by 20 whatever the resolution). CF_BITMAP
// is handed back as the raw bytes in a movable block, since a device bitmap's bits mean
// nothing outside the session that wrote them.
//
// The checks run in a fixed order and the first that fails decides the module code: the file
// cannot be opened (IMGERR_OPENFILE), the signature is not 50000 (IMGERR_FILEFORMAT; a file
// shorter than its signature reads as zeros), the directory is empty or holds no entry of the
// format, or the entry's format is one this reader does not read (IMGERR_CLIPFORMATNOTFOUND),
// the data cannot be read whole (IMGERR_IO), a block cannot be had (IMGERR_NOMEMORY). A
// directory cut short by the end of the file ends the walk as if its count were used up.
// Lengths and offsets are 32-bit and trusted by nobody: data that would run past the end of
// the file is a short read, refused with IMGERR_IO before anything is allocated for it, and an
// offset that the file calls cannot reach (2 GiB and beyond) is refused the same way.
//
// Writing converts the bitmap with ConvertBitmapToDIB (no palette) and writes a 93-byte
// header - signature, count 1, one CF_DIB entry whose length is 40 + colour table + image
// bytes and whose data starts at 93, a zero name field - then that many bytes of the DIB. The
// write results are not tested, as they never were; a file that cannot be created gives
// IMGERR_OPENFILE (the DIB made for it is freed).
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "file_io.hpp"
#include "formats/metafile_bridge.hpp"
#include "gdi_guards.hpp"
#include "guards.hpp"
#include "outcome.hpp"

namespace vx::formats {

namespace {

constexpr uint16_t kClipboardSignature = 50000;
constexpr uint32_t kEntryBytes = 2 + 4 + 4 + 79;
constexpr uint32_t kSavedHeaderBytes = 4 + kEntryBytes;
constexpr uint32_t kPictureHeaderBytes = 16;
constexpr WORD kCfText = 1, kCfBitmap = 2, kCfMetafilePict = 3, kCfDib = 8;

// The compatibility calls take 32-bit signed counts on Windows: read larger data in pieces.
constexpr uint32_t kLargestRead = uint32_t{1} << 30;

bool ReadWhole(HFILE file, uint8_t* at, uint32_t bytes) {
    while (bytes > 0) {
        const uint32_t chunk = std::min(bytes, kLargestRead);
        if (!ReadExactly(file, at, chunk)) return false;
        at += chunk;
        bytes -= chunk;
    }
    return true;
}

struct Entry {
    uint32_t length = 0;
    uint32_t offset = 0;
};

// Walks the directory for the first entry of `format`.
Outcome<Entry> FindEntry(HFILE file, WORD format) {
    uint8_t word[2] = {};
    _lread(file, word, sizeof word);
    if (LoadU16(word) != kClipboardSignature) return Fail(IMGERR_FILEFORMAT);
    std::memset(word, 0, sizeof word);
    _lread(file, word, sizeof word);
    const uint32_t count = LoadU16(word);
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t entry[kEntryBytes];
        if (!ReadExactly(file, entry, kEntryBytes)) break;
        if (LoadU16(entry) == format) return Entry{LoadU32(entry + 2), LoadU32(entry + 6)};
    }
    return Fail(IMGERR_CLIPFORMATNOTFOUND);
}

// Moves to the entry's data; an offset the file calls cannot reach is a short read.
Outcome<void> SeekToData(HFILE file, const Entry& entry) {
    if (entry.offset > static_cast<uint32_t>(INT32_MAX)) return Fail(IMGERR_IO);
    const LONG offset = static_cast<LONG>(entry.offset);
    if (_llseek(file, offset, FILE_BEGIN) != offset) return Fail(IMGERR_IO);
    return {};
}

// Data the file cannot hold is a short read; checked before anything is allocated for it.
bool FileHolds(HFILE file, uint64_t bytes) { return bytes <= BytesLeft(file); }

// The entry's data in a new movable block of exactly its length.
Outcome<OwnedBlock> ReadBlock(HFILE file, uint32_t length) {
    if (!FileHolds(file, length)) return Fail(IMGERR_IO);
    OwnedBlock block = OwnedBlock::Allocate(length, GMEM_MOVEABLE);  // every byte is read
    if (!block) return Fail(IMGERR_NOMEMORY);
    if (length == 0) return block;  // nothing to read (and an empty block may not lock)
    const BlockLock lock(block.get());
    if (!lock) return Fail();
    if (!ReadWhole(file, lock.data(), length)) return Fail(IMGERR_IO);
    return block;
}

Outcome<ClipboardPicture> ReadPicture(HFILE file, uint32_t length) {
    uint8_t header[kPictureHeaderBytes];
    if (!ReadExactly(file, header, kPictureHeaderBytes) || length < kPictureHeaderBytes) return Fail(IMGERR_IO);
    const uint32_t bitsLength = length - kPictureHeaderBytes;
    if (!FileHolds(file, bitsLength)) return Fail(IMGERR_IO);
    std::vector<uint8_t> bits(bitsLength);
    if (!ReadWhole(file, bits.data(), bitsLength)) return Fail(IMGERR_IO);
    ClipboardPicture picture{LoadI32(header), LoadI32(header + 4), LoadI32(header + 8),
                             OwnedMetaFile(SetMetaFileBitsEx(bitsLength, bits.data()))};
    if (!picture.metafile) return Fail();
    return picture;
}

// A product of the size table, truncated toward zero; values beyond int reach saturate, so
// that the renderer's size limit refuses them.
int Truncated(double v) {
    if (!(v > -2147483648.0)) return INT32_MIN;
    if (!(v < 2147483647.0)) return INT32_MAX;
    return static_cast<int>(v);
}

int Times(int extent, int dpi) { return Truncated(static_cast<double>(extent) * dpi); }

Outcome<HANDLE> Load(LPCSTR fileName, WORD format) {
    if (fileName == nullptr) return Fail(IMGERR_OPENFILE);
    const FileHandle file(_lopen(fileName, OF_READ));
    if (!file.valid()) return Fail(IMGERR_OPENFILE);
    const auto entry = FindEntry(file.get(), format);
    if (!entry) return entry.refusal();
    if (format != kCfText && format != kCfBitmap && format != kCfMetafilePict && format != kCfDib)
        return Fail(IMGERR_CLIPFORMATNOTFOUND);
    if (auto seek = SeekToData(file.get(), *entry); !seek) return seek.refusal();
    switch (format) {
    case kCfText: {
        auto text = ReadBlock(file.get(), entry->length);
        if (!text) return text.refusal();
        return static_cast<HANDLE>(LoadASCIIIntoBitmap(text->get()));
    }
    case kCfBitmap: {
        auto raw = ReadBlock(file.get(), entry->length);
        if (!raw) return raw.refusal();
        return static_cast<HANDLE>(raw->release());
    }
    case kCfMetafilePict: {
        auto picture = ReadPicture(file.get(), entry->length);
        if (!picture) return picture.refusal();
        const PictureSize size = ClipboardPictureSize(*picture);
        return static_cast<HANDLE>(DrawMetaFileIntoBitmap(picture->metafile.get(), size.width, size.height, nullptr));
    }
    case kCfDib: {
        auto dib = ReadBlock(file.get(), entry->length);
        if (!dib) return dib.refusal();
        return static_cast<HANDLE>(ConvertDIBToBitmap(dib->get()));
    }
    default: return Fail(IMGERR_CLIPFORMATNOTFOUND);
    }
}

Outcome<BOOL> Save(LPCSTR fileName, HBITMAP bitmap) {
    const OwnedBlock dib(ConvertBitmapToDIB(bitmap, nullptr));
    if (!dib) return Fail();
    const HFILE created = fileName != nullptr ? _lcreat(fileName, 0) : HFILE_ERROR;
    if (created == HFILE_ERROR) return Fail(IMGERR_OPENFILE);
    const FileHandle file(created);
    const BlockLock lock(dib.get());
    if (!lock || lock.size() < kInfoHeaderSize) return Fail();
    const InfoHeader info = ReadInfoHeader(lock.data());
    const uint64_t length = uint64_t{kInfoHeaderSize} + DibPaletteBytes(lock.data()) + info.sizeImage;
    uint8_t header[kSavedHeaderBytes] = {};
    StoreU16(header, kClipboardSignature);
    StoreU16(header + 2, 1);
    StoreU16(header + 4, kCfDib);
    StoreU32(header + 6, static_cast<uint32_t>(length));
    StoreU32(header + 10, kSavedHeaderBytes);
    _hwrite(file.get(), reinterpret_cast<LPCCH>(header), kSavedHeaderBytes);
    _hwrite(file.get(), reinterpret_cast<LPCCH>(lock.data()), static_cast<long>(std::min<uint64_t>(length, lock.size())));
    return TRUE;
}

}  // namespace

PictureSize ClipboardPictureSize(const ClipboardPicture& picture) {
    const WindowDC screen(nullptr);
    const int dx = GetDeviceCaps(screen.get(), LOGPIXELSX), dy = GetDeviceCaps(screen.get(), LOGPIXELSY);
    const int x = picture.xExt, y = picture.yExt;
    const auto isotropic = [&]() -> PictureSize {
        if (x < 1) return {Truncated(-static_cast<double>(x) * dx), Truncated(-static_cast<double>(y) * dy)};
        return {Truncated(dx * 0.0003937007874015748 * x), Truncated(dy * 0.0003937007874015748 * y)};
    };
    switch (picture.mapMode) {
    case MM_TEXT: return {x, y};
    case MM_LOMETRIC: return {Truncated(static_cast<double>(x) * dx * 0.003937007874015748), Truncated(static_cast<double>(y) * dy * 0.003937007874015748)};
    case MM_HIMETRIC: return {Truncated(dx * 0.0003937007874015748 * x), Truncated(dy * 0.0003937007874015748 * y)};
    case MM_LOENGLISH: return {Truncated(dx * 0.01 * x), Truncated(dy * 0.01 * y)};
    case MM_HIENGLISH: return {Truncated(static_cast<double>(x) * dx * 0.001), Truncated(static_cast<double>(y) * dy * 0.001)};
    case MM_TWIPS: return {Times(x, 20), Times(y, 20)};
    case MM_ISOTROPIC: return isotropic();
    case MM_ANISOTROPIC: return x < 1 ? PictureSize{dx * 5, dy * 5} : isotropic();
    default: return {dx * 5, dy * 5};
    }
}

Outcome<ClipboardPicture> ReadClipboardPicture(LPCSTR fileName) {
    if (fileName == nullptr) return Fail(IMGERR_OPENFILE);
    const FileHandle file(_lopen(fileName, OF_READ));
    if (!file.valid()) return Fail(IMGERR_OPENFILE);
    const auto entry = FindEntry(file.get(), kCfMetafilePict);
    if (!entry) return entry.refusal();
    if (auto seek = SeekToData(file.get(), *entry); !seek) return seek.refusal();
    return ReadPicture(file.get(), entry->length);
}

}  // namespace vx::formats

using namespace vx;
using namespace vx::formats;

extern "C" {

VXAPI HANDLE VXCALL LoadClipboardFormat(LPCSTR fileName, WORD format) {
    return RunExport(ModuleCode{}, [&] { return Load(fileName, format); });
}

VXAPI BOOL VXCALL SaveClipboardFormat(LPCSTR fileName, HBITMAP bitmap) {
    return RunExport(ModuleCode{}, [&] { return Save(fileName, bitmap); });
}

}  // extern "C"

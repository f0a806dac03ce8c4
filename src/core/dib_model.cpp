// dib_model.cpp - the DIB model and the library frame: PaletteSize, DIBColorCount,
// DIBPixelBits, ReadDIBInfo, CreateDIBPalette, GetImageVersion, and inside the library
// LibraryInstance and LibraryEntry (the attach/detach logic behind the module entry point).
//
// ReadDIBInfo is the one reader of DIB headers from files. It accepts a BITMAPFILEHEADER or a
// bare packed DIB (no "BM": the header is read where the file stands), a 40-byte info header or
// a 12-byte core header (widened to 40 bytes, its 3-byte colour entries to RGBQUADs), fills in
// a zero biSizeImage and biClrUsed, and leaves the file at the first pixel byte. It also
// refuses the headers whose sizes no block could hold (see the export's comment), so that the
// loaders above it never compute a wrapped size. It is split as every export is: a check that
// reads and refuses headers (ReadDibHeaders) and the work that builds the block (ReadHeaderBlock).
// Its codes go to the module code: IMGERR_PARAMETER, IMGERR_IO, IMGERR_FILEFORMAT; a block that
// cannot be had gives a null result and no code. CreateDIBPalette fails quietly except when the
// palette cannot be made (IMGERR_CREATEPALETTE).
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "vexora.h"

#include "dib_layout.hpp"
#include "file_io.hpp"
#include "guards.hpp"
#include "library.hpp"
#include "outcome.hpp"

namespace vx {
namespace {

constexpr char kVersionText[] = "Version 5.56";
constexpr int kVersionLength = sizeof kVersionText - 1;  // 12 characters
constexpr DWORD kHostingLayerBit = 0x80000000u;

// Colour tables larger than any depth needs must lie inside the file; smaller ones may be cut
// short by a truncated file and are then read as far as they go.
constexpr uint32_t kLargestDepthTable = 256;

struct FrameState {
    HINSTANCE instance = nullptr;
    bool attached = false;
    bool detached = false;
};
FrameState g_frame;

// Rebuilds a core header (12 bytes at the start of `header`) as a 40-byte info header in place.
void WidenCoreHeader(uint8_t* header, uint32_t colorCount) {
    WriteInfoHeader(header, {.width = LoadU16(header + bch::kWidth),
                             .height = LoadU16(header + bch::kHeight),
                             .planes = LoadU16(header + bch::kPlanes),
                             .bitCount = LoadU16(header + bch::kBitCount),
                             .clrUsed = colorCount,
                             .clrImportant = colorCount});
}

// Whether the pixel area the header describes can exist in a block addressed by 32 bits.
bool HasRepresentableSize(const uint8_t* header, uint32_t colorCount) {
    const int32_t width = LoadI32(header + bih::kWidth);
    const int32_t height = LoadI32(header + bih::kHeight);
    if (width <= 0 || height == 0) return false;
    const uint64_t rows = height < 0 ? -int64_t{height} : height;
    const uint64_t image = RowStride64(static_cast<uint64_t>(width), LoadU16(header + bih::kBitCount)) * rows;
    return kInfoHeaderSize + uint64_t{colorCount} * 4 + image <= kMaxBlockBytes;
}

// What ReadDIBInfo has read and checked of a file before it allocates anything.
struct DibFileHeaders {
    LONG start = 0;        // where the file stood on entry
    uint32_t offBits = 0;  // bfOffBits; 0 for a bare packed DIB
    bool core = false;     // the file holds a core header and 3-byte colour entries
    uint32_t colorCount = 0;
    uint8_t header[kInfoHeaderSize] = {};  // widened, biSizeImage and biClrUsed filled in
};

// The check of ReadDIBInfo: reads the file header (or finds a bare packed DIB) and the info or
// core header, refuses what no block could hold, and leaves the file at the colour table.
Outcome<DibFileHeaders> ReadDibHeaders(HFILE file) {
    if (file == HFILE_ERROR) return Fail(IMGERR_PARAMETER);
    DibFileHeaders h;
    h.start = _llseek(file, 0, FILE_CURRENT);

    uint8_t fileHeader[kFileHeaderSize];
    if (!ReadExactly(file, fileHeader, sizeof fileHeader)) return Fail(IMGERR_IO);
    h.offBits = LoadU32(fileHeader + 10);
    if (LoadU16(fileHeader) != kBmpSignature) {  // a bare packed DIB
        h.offBits = 0;
        _llseek(file, h.start, FILE_BEGIN);
    }

    uint8_t* header = h.header;
    if (!ReadExactly(file, header, kInfoHeaderSize)) return Fail(IMGERR_IO);
    h.colorCount = DibColorCount(header);
    const uint32_t headerSize = LoadU32(header);
    h.core = headerSize == kCoreHeaderSize;
    if (h.core) {
        WidenCoreHeader(header, h.colorCount);
        _llseek(file, -static_cast<LONG>(kInfoHeaderSize - kCoreHeaderSize), FILE_CURRENT);
    } else if (headerSize != kInfoHeaderSize) {
        return Fail(IMGERR_FILEFORMAT);
    }
    // A table longer than any depth needs must fit in what the file still holds. A file that
    // cannot tell (a pipe) has no room for one: otherwise a 54-byte header could make the
    // library allocate gigabytes before reading a byte of it.
    const uint32_t entryBytes = h.core ? 3 : 4;
    const uint64_t left = BytesLeft(file);
    if (!HasRepresentableSize(header, h.colorCount) ||
        (h.colorCount > kLargestDepthTable && (left == kUnknownLength || uint64_t{h.colorCount} * entryBytes > left)))
        return Fail(IMGERR_FILEFORMAT);

    const int32_t height = LoadI32(header + bih::kHeight);
    const uint32_t rows = static_cast<uint32_t>(height < 0 ? -int64_t{height} : height);
    if (LoadU32(header + bih::kSizeImage) == 0)
        StoreU32(header + bih::kSizeImage, RowStride(static_cast<uint32_t>(LoadI32(header + bih::kWidth)),
                                                     LoadU16(header + bih::kBitCount)) * rows);
    if (LoadU32(header + bih::kClrUsed) == 0) StoreU32(header + bih::kClrUsed, DibColorCount(header));
    return h;
}

// The work of ReadDIBInfo: the block of header and colour table, read from where the check
// left the file, which is then moved to the first pixel byte. A block that cannot be had is a
// quiet refusal: ReadDIBInfo has never reported it.
Outcome<HDIB> ReadHeaderBlock(HFILE file, const DibFileHeaders& h) {
    OwnedBlock block = OwnedBlock::Allocate(kInfoHeaderSize + uint64_t{h.colorCount} * 4);
    if (!block) return Fail();
    {
        BlockLock lock(block.get());
        if (!lock) return Fail();
        std::memcpy(lock.data(), h.header, kInfoHeaderSize);
        uint8_t* table = lock.data() + kInfoHeaderSize;
        if (h.colorCount > 0) {
            // A short table is not an error: the rest of the block stays zero.
            _lread(file, table, h.colorCount * (h.core ? 3 : 4));
            if (h.core) {
                // Widen 3-byte entries to RGBQUADs from the last one down, so that no entry is
                // overwritten before it has moved.
                for (uint32_t i = h.colorCount; i-- > 0;) {
                    table[i * 4 + 3] = 0;
                    table[i * 4 + 2] = table[i * 3 + 2];
                    table[i * 4 + 1] = table[i * 3 + 1];
                    table[i * 4 + 0] = table[i * 3 + 0];
                }
            }
        }
    }
    if (h.offBits != 0) {
        const int64_t pixels = int64_t{h.start} + h.offBits;
        if (pixels <= INT32_MAX) _llseek(file, static_cast<LONG>(pixels), FILE_BEGIN);
    }
    return block.release();
}

}  // namespace

HINSTANCE LibraryInstance() { return g_frame.instance; }

BOOL LibraryEntry(HINSTANCE instance, DWORD reason, DWORD version) {
    const bool hostingLayer = (version & kHostingLayerBit) != 0;
    switch (reason) {
    case 1:  // process attach
        if (hostingLayer && g_frame.attached) return FALSE;
        g_frame.attached = true;
        g_frame.instance = instance;
        return TRUE;
    case 0:  // process detach
        if (hostingLayer && g_frame.detached) return FALSE;
        g_frame.detached = true;
        return TRUE;
    case 2:  // thread attach
    case 3:  // thread detach
        return TRUE;
    default:
        return FALSE;
    }
}

}  // namespace vx

using namespace vx;

extern "C" {

VXAPI DWORD VXCALL PaletteSize(LPVOID header) {
    return header ? DibPaletteBytes(static_cast<const uint8_t*>(header)) : 0;
}

VXAPI DWORD VXCALL DIBColorCount(LPVOID header) {
    return header ? vx::DibColorCount(static_cast<const uint8_t*>(header)) : 0;
}

VXAPI LPSTR VXCALL DIBPixelBits(LPVOID header) {
    if (header == nullptr) return nullptr;
    auto* bytes = static_cast<uint8_t*>(header);
    return reinterpret_cast<LPSTR>(bytes + LoadU32(bytes) + DibPaletteBytes(bytes));
}

VXAPI HDIB VXCALL ReadDIBInfo(HFILE file) {
    return RunExport(ModuleCode{.outOfMemory = kNoCode}, [&]() -> Outcome<HDIB> {
        const auto headers = ReadDibHeaders(file);
        if (!headers) return headers.refusal();
        return ReadHeaderBlock(file, *headers);
    });
}

VXAPI HPALETTE VXCALL CreateDIBPalette(HDIB dib) {
    return RunExport(ModuleCode{.outOfMemory = IMGERR_CREATEPALETTE}, [&]() -> Outcome<HPALETTE> {
        if (dib == nullptr) return Fail();
        BlockLock lock(dib);
        if (!lock) return Fail();
        const auto layout = InspectDib(lock.data(), lock.size());
        if (!layout || layout->colorCount == 0) return Fail();
        const uint32_t n = layout->colorCount;
        // Entries are read after a 40-byte header whatever biSize says.
        if (kInfoHeaderSize + uint64_t{n} * 4 > lock.size()) return Fail();

        // A LOGPALETTE is a 4-byte head followed by the entries.
        std::vector<uint8_t> storage(offsetof(LOGPALETTE, palPalEntry) + uint64_t{n} * sizeof(PALETTEENTRY));
        auto* logical = reinterpret_cast<LOGPALETTE*>(storage.data());
        logical->palVersion = 0x300;
        logical->palNumEntries = static_cast<WORD>(n);
        const uint8_t* table = lock.data() + kInfoHeaderSize;
        uint8_t* entries = storage.data() + offsetof(LOGPALETTE, palPalEntry);
        for (uint32_t i = 0; i < n; ++i) {
            const PALETTEENTRY entry{table[i * 4 + 2], table[i * 4 + 1], table[i * 4 + 0], 0};
            std::memcpy(entries + i * sizeof entry, &entry, sizeof entry);
        }
        HPALETTE palette = CreatePalette(logical);
        if (palette == nullptr) return Fail(IMGERR_CREATEPALETTE);
        return palette;
    });
}

VXAPI void VXCALL GetImageVersion(LPSTR buffer, int size) {
    if (buffer == nullptr || size <= 0) return;
    // Up to 12 bytes are copied without a terminator: the caller terminates what it asked for.
    std::memcpy(buffer, kVersionText, size > kVersionLength ? kVersionLength + 1 : size);
}

}  // extern "C"

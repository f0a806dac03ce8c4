// bmp_file.cpp - Windows bitmap files: LoadDIBFromFile, SaveDIB and FileLength.
//
// A BMP file is a 14-byte BITMAPFILEHEADER followed by a packed DIB. Loading goes through
// ReadDIBInfo (header and colour table, the file left at the pixels), grows the block to hold
// the pixels and reads them in one go; a file cut short leaves the missing rows zero rather
// than failing, because damaged scans are still worth showing. Saving writes the file header
// and then the whole memory block as it is, slack at its end included: bfSize counts the
// block, not the DIB, and applications compare files written this way byte for byte.
#include <algorithm>
#include <cstring>

#include "vexora.h"

#include "dib_layout.hpp"
#include "errors.hpp"
#include "file_io.hpp"
#include "guards.hpp"
#include "platform/platform.hpp"

namespace vx {
namespace {

// The compatibility calls take a signed 32-bit count on Windows: move larger areas in pieces.
constexpr uint64_t kLargestTransfer = uint64_t{1} << 30;

void ReadInto(HFILE file, uint8_t* at, uint64_t bytes) {
    while (bytes > 0) {
        const long chunk = static_cast<long>(std::min(bytes, kLargestTransfer));
        const long got = _hread(file, at, chunk);
        if (got <= 0) return;
        at += got;
        bytes -= static_cast<uint64_t>(got);
        if (got < chunk) return;
    }
}

bool WriteAll(HFILE file, const uint8_t* from, uint64_t bytes) {
    while (bytes > 0) {
        const long chunk = static_cast<long>(std::min(bytes, kLargestTransfer));
        if (_hwrite(file, reinterpret_cast<LPCCH>(from), chunk) != chunk) return false;
        from += chunk;
        bytes -= static_cast<uint64_t>(chunk);
    }
    return true;
}

}  // namespace
}  // namespace vx

using namespace vx;

extern "C" {

VXAPI DWORD VXCALL FileLength(HFILE file) {
    const LONG here = _llseek(file, 0, FILE_CURRENT);
    const LONG length = _llseek(file, 0, FILE_END);
    _llseek(file, here, FILE_BEGIN);
    return static_cast<DWORD>(length);
}

VXAPI HDIB VXCALL LoadDIBFromFile(LPCSTR fileName) {
    return ExportGuard(
        [&]() -> HDIB {
            OFSTRUCT info;
            FileHandle file(OpenFile(fileName, &info, OF_READ));
            if (!file.valid()) {
                SetModuleError(IMGERR_OPENFILE);
                return nullptr;
            }
            OwnedBlock block(ReadDIBInfo(file.get()));
            if (!block) return nullptr;

            uint64_t pixelOffset = 0, pixelBytes = 0;
            {
                BlockLock lock(block.get());
                if (!lock) return nullptr;
                const auto layout = InspectDib(lock.data(), lock.size());
                if (!layout) return nullptr;
                pixelOffset = layout->pixelOffset;
                // biSizeImage is trusted as the pixel size. An uncompressed DIB gets room for
                // all of its rows when the header understates them, and no more than the file
                // holds when it overstates them (a 100-byte file cannot ask for gigabytes).
                pixelBytes = layout->sizeImage;
                if (!layout->compressed())
                    pixelBytes = std::max(layout->imageBytes, std::min(pixelBytes, BytesLeft(file.get())));
            }
            const uint64_t total = pixelOffset + pixelBytes;
            if (total > kMaxBlockBytes) return nullptr;
            // Growth is zeroed so that rows a short file leaves out read as zero; Windows does
            // that only when asked.
            HGLOBAL grown = GlobalReAlloc(block.get(), static_cast<size_t>(total), GMEM_ZEROINIT);
            if (grown == nullptr) return nullptr;
            block.assign(grown);

            BlockLock lock(block.get());
            if (lock) ReadInto(file.get(), lock.data() + pixelOffset, pixelBytes);
            lock.unlock();
            return block.release();
        },
        []() -> HDIB { return nullptr; });
}

VXAPI BOOL VXCALL SaveDIB(LPCSTR fileName, HDIB dib) {
    if (dib == nullptr) {
        SetModuleError(IMGERR_PARAMETER);
        return FALSE;
    }
    // Checked before the file is created, so a bad block never truncates an existing file.
    BlockLock lock(dib);
    const auto layout = lock ? InspectDib(lock.data(), lock.size()) : std::nullopt;
    if (!layout || !layout->holdsHeaderAndTable()) {
        SetModuleError(IMGERR_PARAMETER);
        return FALSE;
    }
    OFSTRUCT info;
    FileHandle file(OpenFile(fileName, &info, OF_CREATE | OF_READWRITE));
    if (!file.valid()) {
        SetModuleError(IMGERR_OPENFILE);
        return FALSE;
    }
    platform::WaitCursor wait;
    const uint64_t blockBytes = lock.size();
    uint8_t fileHeader[kFileHeaderSize] = {};
    StoreU16(fileHeader, kBmpSignature);
    StoreU32(fileHeader + 2, static_cast<uint32_t>(blockBytes + kFileHeaderSize));
    StoreU32(fileHeader + 10, static_cast<uint32_t>(kFileHeaderSize + layout->pixelOffset));
    if (_lwrite(file.get(), reinterpret_cast<LPCCH>(fileHeader), sizeof fileHeader) != sizeof fileHeader ||
        !WriteAll(file.get(), lock.data(), blockBytes)) {
        SetModuleError(IMGERR_IO);
        return FALSE;
    }
    return TRUE;
}

}  // extern "C"

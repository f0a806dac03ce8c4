// bmp_file.cpp - Windows bitmap files: LoadDIBFromFile, SaveDIB and FileLength.
//
// A BMP file is a 14-byte BITMAPFILEHEADER followed by a packed DIB. Loading goes through
// ReadDIBInfo (header and colour table, the file left at the pixels), grows the block to hold
// the pixels and reads them in one go; a file cut short leaves the missing rows zero rather
// than failing, because damaged scans are still worth showing. Saving writes the file header
// and then the whole memory block as it is, slack at its end included: bfSize counts the
// block, not the DIB, and applications compare files written this way byte for byte.
//
// Both report through the module code: IMGERR_OPENFILE for a file that cannot be opened or
// created, SaveDIB also IMGERR_PARAMETER for a block it cannot save and IMGERR_IO for a failed
// write. LoadDIBFromFile leaves the code to ReadDIBInfo otherwise and fails quietly when the
// block cannot be grown.
#include <algorithm>
#include <cstring>

#include "vexora.h"

#include "dib_layout.hpp"
#include "file_io.hpp"
#include "guards.hpp"
#include "outcome.hpp"
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
    return RunExport(ModuleCode{.outOfMemory = kNoCode}, [&]() -> Outcome<HDIB> {
        OFSTRUCT info;
        FileHandle file(OpenFile(fileName, &info, OF_READ));
        if (!file.valid()) return Fail(IMGERR_OPENFILE);
        OwnedBlock block(ReadDIBInfo(file.get()));
        if (!block) return Fail();  // ReadDIBInfo has said why

        uint64_t pixelOffset = 0, pixelBytes = 0;
        {
            BlockLock lock(block.get());
            if (!lock) return Fail();
            const auto layout = InspectDib(lock.data(), lock.size());
            if (!layout) return Fail();
            pixelOffset = layout->pixelOffset;
            // biSizeImage is trusted as the pixel size. An uncompressed DIB gets room for all of
            // its rows when the header understates them, and no more than the file holds when it
            // overstates them (a 100-byte file cannot ask for gigabytes).
            pixelBytes = layout->sizeImage;
            if (!layout->compressed())
                pixelBytes = std::max(layout->imageBytes, std::min(pixelBytes, BytesLeft(file.get())));
        }
        const uint64_t total = pixelOffset + pixelBytes;
        if (total > kMaxBlockBytes) return Fail();
        // Growth is zeroed so that rows a short file leaves out read as zero; Windows does that
        // only when asked.
        HGLOBAL grown = GlobalReAlloc(block.get(), static_cast<size_t>(total), GMEM_ZEROINIT);
        if (grown == nullptr) return Fail();
        block.assign(grown);

        BlockLock lock(block.get());
        if (lock) ReadInto(file.get(), lock.data() + pixelOffset, pixelBytes);
        lock.unlock();
        return block.release();
    });
}

VXAPI BOOL VXCALL SaveDIB(LPCSTR fileName, HDIB dib) {
    return RunExport(ModuleCode{}, [&]() -> Outcome<BOOL> {
        if (dib == nullptr) return Fail(IMGERR_PARAMETER);
        // Checked before the file is created, so a bad block never truncates an existing file.
        BlockLock lock(dib);
        const auto layout = lock ? InspectDib(lock.data(), lock.size()) : std::nullopt;
        if (!layout || !layout->holdsHeaderAndTable()) return Fail(IMGERR_PARAMETER);
        OFSTRUCT info;
        FileHandle file(OpenFile(fileName, &info, OF_CREATE | OF_READWRITE));
        if (!file.valid()) return Fail(IMGERR_OPENFILE);
        platform::WaitCursor wait;
        const uint64_t blockBytes = lock.size();
        uint8_t fileHeader[kFileHeaderSize] = {};
        StoreU16(fileHeader, kBmpSignature);
        StoreU32(fileHeader + 2, static_cast<uint32_t>(blockBytes + kFileHeaderSize));
        StoreU32(fileHeader + 10, static_cast<uint32_t>(kFileHeaderSize + layout->pixelOffset));
        if (_lwrite(file.get(), reinterpret_cast<LPCCH>(fileHeader), sizeof fileHeader) != sizeof fileHeader ||
            !WriteAll(file.get(), lock.data(), blockBytes))
            return Fail(IMGERR_IO);
        return TRUE;
    });
}

}  // extern "C"

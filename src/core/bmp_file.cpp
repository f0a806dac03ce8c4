// bmp_file.cpp - Windows bitmap files: LoadDIBFromFile, SaveDIB and FileLength.
//
// A BMP file is a 14-byte BITMAPFILEHEADER followed by a packed DIB. Loading goes through
// ReadDIBInfo (header and colour table, the file left at the pixels), then reads the pixels in
// one go straight into a block of the final size that is not zero-filled first; a file cut
// short leaves the missing rows zero rather than failing, because damaged scans are still
// worth showing, and only those bytes are zeroed. Saving writes the file header and then the
// whole memory block as it is, slack at its end included (one gathered write on POSIX
// systems, over the pages of the file it replaces: see FileRewrite): bfSize counts the block,
// not the DIB, and applications compare files written this way byte for byte.
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
        // The block for header, table and pixels is a new one, not zero-filled: the pixels are
        // read straight into it and only what the file does not hold is zeroed (Windows zeroes
        // growth only when asked; rows a short file leaves out read as zero here).
        OwnedBlock whole = OwnedBlock::Allocate(total, GMEM_MOVEABLE);
        BlockLock into(whole.get());
        if (!into) return Fail();
        uint64_t kept = 0;
        {
            BlockLock info(block.get());
            if (!info) return Fail();
            kept = std::min<uint64_t>(info.size(), total);
            std::memcpy(into.data(), info.data(), static_cast<size_t>(kept));
        }
        block.reset();
        if (kept < pixelOffset) std::memset(into.data() + kept, 0, static_cast<size_t>(pixelOffset - kept));
        const uint64_t arrived = ReadUpTo(file.get(), into.data() + pixelOffset, pixelBytes);
        const uint64_t filled = std::max(kept, pixelOffset + arrived);
        std::memset(into.data() + filled, 0, static_cast<size_t>(total - filled));
        into.unlock();
        return whole.release();
    });
}

VXAPI BOOL VXCALL SaveDIB(LPCSTR fileName, HDIB dib) {
    return RunExport(ModuleCode{}, [&]() -> Outcome<BOOL> {
        if (dib == nullptr) return Fail(IMGERR_PARAMETER);
        // Checked before the file is created, so a bad block never truncates an existing file.
        BlockLock lock(dib);
        const auto layout = lock ? InspectDib(lock.data(), lock.size()) : std::nullopt;
        if (!layout || !layout->holdsHeaderAndTable()) return Fail(IMGERR_PARAMETER);
        FileRewrite file(fileName);
        if (!file.valid()) return Fail(IMGERR_OPENFILE);
        platform::WaitCursor wait;
        const uint64_t blockBytes = lock.size();
        uint8_t fileHeader[kFileHeaderSize] = {};
        StoreU16(fileHeader, kBmpSignature);
        StoreU32(fileHeader + 2, static_cast<uint32_t>(blockBytes + kFileHeaderSize));
        StoreU32(fileHeader + 10, static_cast<uint32_t>(kFileHeaderSize + layout->pixelOffset));
        if (!file.write(fileHeader, sizeof fileHeader, lock.data(), blockBytes)) return Fail(IMGERR_IO);
        return TRUE;
    });
}

}  // extern "C"

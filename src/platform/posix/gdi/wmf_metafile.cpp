// wmf_metafile.cpp - Windows metafiles as objects of the Linux subset: SetMetaFileBitsEx,
// GetMetaFileBitsEx, GetMetaFileA, CopyMetaFileA and DeleteMetaFile, and WriteMetaFile
// (wmf_recorder.hpp), which CloseMetaFile and CopyMetaFileA write files with.
//
// A metafile object (MetaFile of objects.hpp) holds the file's bytes, header first. Its header
// is checked as Windows checks it: at least the 18 bytes of the header, the in-memory type 1
// (a file may also say 2, the type of a file), a header of 9 words and version 0x300. The
// other fields are kept as given, except the size in words, which SetMetaFileBitsEx sets to
// the bytes it was given (an odd count is refused) and GetMetaFileA takes from the file (refusing a file shorter than
// it says). The records are not looked at until the metafile is played. A placeable metafile
// (the 22-byte header with the key 0x9AC6CDD7 in front) is not a metafile here, as in Windows.
//
// GetMetaFileBitsEx copies as many bytes as fit, answering how many; a null buffer asks the
// size.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "formats/wmf_records.hpp"
#include "platform/posix/gdi/wmf_recorder.hpp"

namespace vx::posix::gdi {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

uint32_t Read16(const uint8_t* p) { return p[0] | uint32_t{p[1]} << 8; }
uint32_t Read32(const uint8_t* p) { return Read16(p) | Read16(p + 2) << 16; }

// Whether `bytes` start with a header Windows takes (`fileTypes`: the type 2 of a file too).
bool GoodHeader(const uint8_t* bytes, size_t size, bool fileTypes) {
    if (size < formats::kWmfHeaderBytes) return false;
    const uint32_t type = Read16(bytes);
    return (type == 1 || (fileTypes && type == 2)) && Read16(bytes + 2) == formats::kWmfHeaderBytes / 2 &&
           Read16(bytes + 4) == 0x300;
}

HMETAFILE AddMetaFile(std::vector<uint8_t> bytes) {
    auto metafile = std::make_unique<MetaFile>();
    metafile->bytes = std::move(bytes);
    return static_cast<HMETAFILE>(Objects().add(std::move(metafile)));
}

// The bytes of a metafile, copied out of the table.
bool BytesOf(HMETAFILE handle, std::vector<uint8_t>& bytes) {
    auto objects = Objects();
    const MetaFile* metafile = objects.find<MetaFile>(handle);
    if (metafile == nullptr) return false;
    bytes = metafile->bytes;
    return true;
}

}  // namespace

bool WriteMetaFile(const char* fileName, const std::vector<uint8_t>& bytes) {
    File file(std::fopen(fileName, "wb"));
    if (!file) return false;
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return false;
    return std::fclose(file.release()) == 0;
}

}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HMETAFILE SetMetaFileBitsEx(UINT size, const BYTE* bits) {
    if (bits == nullptr || size % 2 != 0 || !GoodHeader(bits, size, false)) return nullptr;
    try {
        std::vector<uint8_t> bytes(bits, bits + size);
        const uint32_t words = size / 2;
        std::memcpy(bytes.data() + 6, &words, 4);  // little-endian, as the file
        return AddMetaFile(std::move(bytes));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI UINT GetMetaFileBitsEx(HMETAFILE metafile, UINT size, LPVOID bits) {
    return CopyMetafileBytes<MetaFile>(metafile, size, bits);
}

VXPLATFORMAPI HMETAFILE GetMetaFileA(LPCSTR fileName) {
    if (fileName == nullptr) return nullptr;
    try {
        File file(std::fopen(fileName, "rb"));
        if (!file) return nullptr;
        uint8_t header[vx::formats::kWmfHeaderBytes];
        if (std::fread(header, 1, sizeof header, file.get()) != sizeof header) return nullptr;
        if (!GoodHeader(header, sizeof header, true)) return nullptr;
        const uint64_t size = uint64_t{Read32(header + 6)} * 2;
        if (size < sizeof header || size > UINT32_MAX) return nullptr;
        std::vector<uint8_t> bytes(static_cast<size_t>(size));
        std::memcpy(bytes.data(), header, sizeof header);
        const size_t rest = bytes.size() - sizeof header;
        if (std::fread(bytes.data() + sizeof header, 1, rest, file.get()) != rest) return nullptr;
        bytes[0] = 1;  // in memory now
        return AddMetaFile(std::move(bytes));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI HMETAFILE CopyMetaFileA(HMETAFILE metafile, LPCSTR fileName) {
    try {
        std::vector<uint8_t> bytes;
        if (!BytesOf(metafile, bytes)) return nullptr;
        if (fileName != nullptr && !WriteMetaFile(fileName, bytes)) return nullptr;
        return AddMetaFile(std::move(bytes));
    } catch (...) {
        return nullptr;
    }
}

VXPLATFORMAPI BOOL DeleteMetaFile(HMETAFILE metafile) {
    std::unique_ptr<GdiObject> object;
    {
        auto objects = Objects();
        if (objects.find<MetaFile>(metafile) == nullptr) return FALSE;
        object = objects.remove(metafile);
    }
    return TRUE;  // the bytes go after the lock is released
}

}  // extern "C"

// enh_metafile.cpp - enhanced metafile objects of the Linux subset: SetEnhMetaFileBits,
// GetEnhMetaFileBits, GetEnhMetaFileHeader, GetEnhMetaFileA, CopyEnhMetaFileA and
// DeleteEnhMetaFile, and AddEnhMetaFile, which the recording DC hands its finished bytes to.
//
// An EnhMetaFile object is the metafile's bytes and nothing else; the player and the writers
// read them afresh each time. Accepting bytes checks what Windows checks: the first record is
// an EMR_HEADER carrying the " EMF" signature, and its nBytes (the metafile's length, which is
// all that is kept) is no more than the bytes given. Windows trusts the rest, and so do we:
// record sizes, counts and offsets are checked by whoever walks the records. One difference:
// Windows accepts an nBytes shorter than the header itself and then reads the header past its
// own copy; we refuse a metafile shorter than the smallest header (88 bytes).
//
// GetEnhMetaFileHeader answers the header record's nSize when asked for the size, and copies
// at most that many bytes; a header claiming more than the metafile holds is completed with
// zeros rather than read past the end.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "formats/emf_records.hpp"
#include "platform/posix/gdi/objects.hpp"

namespace vx::posix::gdi {

constexpr size_t kSmallestEmfHeader = 88;

// A new metafile object holding `bytes` (already checked); null when out of memory.
HENHMETAFILE AddEnhMetaFile(std::vector<uint8_t> bytes) {
    try {
        auto metafile = std::make_unique<EnhMetaFile>();
        metafile->bytes = std::move(bytes);
        auto objects = Objects();
        return static_cast<HENHMETAFILE>(objects.add(std::move(metafile)));
    } catch (...) {
        return nullptr;
    }
}

namespace {

using formats::ReadU32;

// The length of the metafile `bytes` open with when Windows would accept them; 0 otherwise.
size_t AcceptedLength(std::span<const uint8_t> bytes) {
    if (bytes.size() < kSmallestEmfHeader) return 0;
    if (ReadU32(bytes, 0) != EMR_HEADER || ReadU32(bytes, 40) != ENHMETA_SIGNATURE) return 0;
    const size_t length = ReadU32(bytes, 48);
    return length >= kSmallestEmfHeader && length <= bytes.size() ? length : 0;
}

HENHMETAFILE FromBytes(std::span<const uint8_t> bytes) {
    const size_t length = AcceptedLength(bytes);
    if (length == 0) return nullptr;
    try {
        return AddEnhMetaFile(std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(length)));
    } catch (...) {
        return nullptr;
    }
}

// A copy of a live metafile's bytes; false for a handle that is not one.
bool CopyBytes(HENHMETAFILE handle, std::vector<uint8_t>& out) {
    try {
        auto objects = Objects();
        const EnhMetaFile* metafile = objects.find<EnhMetaFile>(handle);
        if (metafile == nullptr) return false;
        out = metafile->bytes;
        return true;
    } catch (...) {
        return false;
    }
}

bool WriteFile(LPCSTR fileName, const std::vector<uint8_t>& bytes) {
    std::FILE* file = std::fopen(fileName, "wb");
    if (file == nullptr) return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

}  // namespace
}  // namespace vx::posix::gdi

using namespace vx::posix::gdi;

extern "C" {

VXPLATFORMAPI HENHMETAFILE SetEnhMetaFileBits(UINT size, const BYTE* bits) {
    if (bits == nullptr) return nullptr;
    return FromBytes({bits, size});
}

VXPLATFORMAPI UINT GetEnhMetaFileBits(HENHMETAFILE handle, UINT size, LPBYTE bits) {
    return CopyMetafileBytes<EnhMetaFile>(handle, size, bits);
}

VXPLATFORMAPI UINT GetEnhMetaFileHeader(HENHMETAFILE handle, UINT size, LPENHMETAHEADER header) {
    auto objects = Objects();
    const EnhMetaFile* metafile = objects.find<EnhMetaFile>(handle);
    if (metafile == nullptr) return 0;
    const UINT claimed = vx::formats::ReadU32(metafile->bytes, 4);
    if (header == nullptr) return claimed;
    const UINT answer = std::min(size, claimed);
    const size_t held = std::min<size_t>(answer, metafile->bytes.size());
    auto* out = reinterpret_cast<uint8_t*>(header);
    std::memcpy(out, metafile->bytes.data(), held);
    std::memset(out + held, 0, answer - held);
    return answer;
}

VXPLATFORMAPI HENHMETAFILE GetEnhMetaFileA(LPCSTR fileName) {
    if (fileName == nullptr) return nullptr;
    std::FILE* file = std::fopen(fileName, "rb");
    if (file == nullptr) return nullptr;
    std::vector<uint8_t> bytes;
    try {
        uint8_t chunk[65536];
        for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, file)) > 0;) bytes.insert(bytes.end(), chunk, chunk + n);
    } catch (...) {
        bytes.clear();
    }
    std::fclose(file);
    return FromBytes(bytes);
}

VXPLATFORMAPI HENHMETAFILE CopyEnhMetaFileA(HENHMETAFILE handle, LPCSTR fileName) {
    std::vector<uint8_t> bytes;
    if (!CopyBytes(handle, bytes)) return nullptr;
    if (fileName == nullptr) return AddEnhMetaFile(std::move(bytes));
    return WriteFile(fileName, bytes) ? GetEnhMetaFileA(fileName) : nullptr;
}

VXPLATFORMAPI BOOL DeleteEnhMetaFile(HENHMETAFILE handle) {
    std::unique_ptr<GdiObject> object;
    {
        auto objects = Objects();
        if (objects.find<EnhMetaFile>(handle) == nullptr) return FALSE;
        object = objects.remove(handle);
    }
    return object != nullptr ? TRUE : FALSE;
}

}  // extern "C"

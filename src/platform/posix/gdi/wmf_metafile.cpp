// wmf_metafile.cpp - Windows metafiles as objects of the Linux subset: GetMetaFileBitsEx and
// DeleteMetaFile.
//
// A metafile object (MetaFile of objects.hpp) holds the file's bytes, header first, exactly as
// recorded or as given.
#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/posix/gdi/objects.hpp"

using vx::posix::gdi::GdiObject;
using vx::posix::gdi::MetaFile;
using vx::posix::gdi::Objects;

extern "C" {

VXPLATFORMAPI UINT GetMetaFileBitsEx(HMETAFILE metafile, UINT size, LPVOID bits) {
    auto objects = Objects();
    const MetaFile* found = objects.find<MetaFile>(metafile);
    if (found == nullptr) return 0;
    const auto total = static_cast<UINT>(found->bytes.size());
    if (bits == nullptr) return total;
    if (size < total) return 0;
    std::memcpy(bits, found->bytes.data(), total);
    return total;
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

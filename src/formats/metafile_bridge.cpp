// metafile_bridge.cpp - LoadMetaFileIntoBitmap, SaveBitmapIntoMetaFile and
// SaveBitmapIntoEnhMetaFile before the device bitmaps they draw through exist: the reader
// refuses with IMGERR_FILEFORMAT, the writers answer 0 (see metafile_bridge.hpp).
#include "formats/metafile_bridge.hpp"

#include "outcome.hpp"

namespace vx::formats {

HBITMAP LoadMetaFileIntoBitmap(LPCSTR /*fileName*/) {
    return RunExport(ModuleCode{}, []() -> Outcome<HBITMAP> { return Fail(IMGERR_FILEFORMAT); });
}

int SaveBitmapIntoMetaFile(HDC /*dc*/, HBITMAP /*bitmap*/, LPCSTR /*fileName*/) { return 0; }

int SaveBitmapIntoEnhMetaFile(HDC /*dc*/, HBITMAP /*bitmap*/, LPCSTR /*fileName*/) { return 0; }

}  // namespace vx::formats

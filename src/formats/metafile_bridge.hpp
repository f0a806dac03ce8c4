// metafile_bridge.hpp - the metafile bridge as the format router uses it:
// LoadMetaFileIntoBitmap, SaveBitmapIntoMetaFile and SaveBitmapIntoEnhMetaFile.
//
// The reader plays a metafile into a device bitmap; the writers record a device bitmap into a
// metafile for the device context they are given. They draw through device bitmaps and
// device contexts, which come with the bridge to the graphics interface; until then they
// answer failure. The reader reports IMGERR_FILEFORMAT: the file is a metafile, which this
// build cannot read.
#pragma once

#include "vexora.h"

namespace vx::formats {

HBITMAP LoadMetaFileIntoBitmap(LPCSTR fileName);
int SaveBitmapIntoMetaFile(HDC dc, HBITMAP bitmap, LPCSTR fileName);
int SaveBitmapIntoEnhMetaFile(HDC dc, HBITMAP bitmap, LPCSTR fileName);

}  // namespace vx::formats

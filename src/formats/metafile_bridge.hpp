// metafile_bridge.hpp - what the metafile exports and the clipboard reader share: owners of
// metafile handles, the metafile picture of a clipboard file (ReadClipboardPicture, defined
// with the clipboard reader) and its size in pixels (ClipboardPictureSize).
//
// The exports themselves (LoadMetaFileIntoBitmap, DrawMetaFileIntoBitmap, the four Save...
// writers and the two CLP placers) are declared in vexora.h; the format router calls them
// under their exported names like any caller.
#pragma once

#include "vexora.h"

#include "guards.hpp"
#include "outcome.hpp"

namespace vx::formats {

struct DeleteWindowsMetaFile {
    void operator()(HMETAFILE metafile) const { DeleteMetaFile(metafile); }
};
struct DeleteEnhancedMetaFile {
    void operator()(HENHMETAFILE metafile) const { DeleteEnhMetaFile(metafile); }
};
using OwnedMetaFile = OwnedHandle<HMETAFILE, DeleteWindowsMetaFile>;
using OwnedEnhMetaFile = OwnedHandle<HENHMETAFILE, DeleteEnhancedMetaFile>;

// The CF_METAFILEPICT entry of a clipboard file: its picture header (mapping mode, extents)
// and the metafile made of its bits.
struct ClipboardPicture {
    int mapMode = 0;
    int xExt = 0;
    int yExt = 0;
    OwnedMetaFile metafile;
};

struct PictureSize {
    int width = 0;
    int height = 0;
};

// Reads the first CF_METAFILEPICT entry of a clipboard file, with LoadClipboardFormat's
// checks and codes; a metafile that cannot be made of its bits is a refusal without a code.
Outcome<ClipboardPicture> ReadClipboardPicture(LPCSTR fileName);

// The bitmap size of a metafile picture at the screen's resolution, by the historic table of
// mapping modes (see clipboard_file.cpp).
PictureSize ClipboardPictureSize(const ClipboardPicture& picture);

}  // namespace vx::formats

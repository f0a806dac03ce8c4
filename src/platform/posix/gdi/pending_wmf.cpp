// pending_wmf.cpp - the Windows metafile calls of the Linux subset until they are built: each
// answers its failure value. A definition leaves this file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HMETAFILE GetMetaFileA(LPCSTR fileName) { return nullptr; }
VXPLATFORMAPI HMETAFILE CopyMetaFileA(HMETAFILE metafile, LPCSTR fileName) { return nullptr; }
VXPLATFORMAPI HMETAFILE SetMetaFileBitsEx(UINT size, const BYTE *bits) { return nullptr; }
VXPLATFORMAPI BOOL PlayMetaFile(HDC dc, HMETAFILE metafile) { return FALSE; }
}  // extern "C"

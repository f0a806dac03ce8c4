// pending_wmf.cpp - the Windows metafile calls of the Linux subset until they are built: each
// answers its failure value. A definition leaves this file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HDC CreateMetaFileA(LPCSTR fileName) { return nullptr; }
VXPLATFORMAPI HMETAFILE CloseMetaFile(HDC dc) { return nullptr; }
VXPLATFORMAPI BOOL DeleteMetaFile(HMETAFILE metafile) { return FALSE; }
VXPLATFORMAPI HMETAFILE GetMetaFileA(LPCSTR fileName) { return nullptr; }
VXPLATFORMAPI HMETAFILE CopyMetaFileA(HMETAFILE metafile, LPCSTR fileName) { return nullptr; }
VXPLATFORMAPI HMETAFILE SetMetaFileBitsEx(UINT size, const BYTE *bits) { return nullptr; }
VXPLATFORMAPI UINT GetMetaFileBitsEx(HMETAFILE metafile, UINT size, LPVOID bits) { return 0; }
VXPLATFORMAPI BOOL PlayMetaFile(HDC dc, HMETAFILE metafile) { return FALSE; }
}  // extern "C"

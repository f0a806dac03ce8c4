// pending_emf.cpp - the enhanced metafile calls of the Linux subset until they are built: each
// answers its failure value. A definition leaves this file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HDC CreateEnhMetaFileA(HDC reference, LPCSTR fileName, const RECT *frame, LPCSTR description) {
    return nullptr;
}
VXPLATFORMAPI HENHMETAFILE CloseEnhMetaFile(HDC dc) { return nullptr; }
VXPLATFORMAPI HENHMETAFILE SetWinMetaFileBits(UINT size, const BYTE *bits, HDC reference,
                                              const METAFILEPICT *picture) {
    return nullptr;
}
}  // extern "C"

// pending_emf.cpp - the enhanced metafile calls of the Linux subset until they are built: each
// answers its failure value. A definition leaves this file when its call lands.
#include "vexora_win32.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"

extern "C" {
VXPLATFORMAPI HENHMETAFILE SetWinMetaFileBits(UINT size, const BYTE *bits, HDC reference,
                                              const METAFILEPICT *picture) {
    return nullptr;
}
}  // extern "C"

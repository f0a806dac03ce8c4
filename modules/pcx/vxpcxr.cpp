// vxpcxr.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadPCXIntoDIB(LPCSTR, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }
HDIB VXMODULECALL LoadDCXIntoDIB(LPCSTR, int, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

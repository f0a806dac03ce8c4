// vxpngr.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadPNGIntoDIB(LPCSTR, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

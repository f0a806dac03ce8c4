// vxgifr.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadGIFIntoDIB(LPCSTR, int, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

// vxtgar.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadTGAIntoDIB(LPCSTR, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

// vxtifr.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadTiffIntoDIB(LPCSTR, int, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }
HDIB VXMODULECALL LoadCALSIntoDIB(LPCSTR, int* status) { return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

// vxjpgr.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

HDIB VXMODULECALL LoadJPEGIntoDIB(LPCSTR) { int* status = nullptr; return vxmod::FailLoad(status, VXSTATUS_UNSUPPORTED); }

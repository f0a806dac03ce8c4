// vxjpgw.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

int VXMODULECALL SaveDIBInJPEGFile(LPCSTR, HDIB, int) { return vxmod::FailSave(IMGERR_FILEFORMAT); }

// vxgifw.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

int VXMODULECALL SaveDIBInGIFFormat(LPCSTR, HDIB, int, int*) { return vxmod::FailSave(IMGERR_FILEFORMAT); }

// vxtifw.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

int VXMODULECALL SaveDIBInTiffFormat(LPCSTR, HDIB, int, int) { return vxmod::FailSave(IMGERR_FILEFORMAT); }
int VXMODULECALL SAVEDIBINCALSFORMAT(LPCSTR, HDIB, int, int, int) { return vxmod::FailSave(IMGERR_FILEFORMAT); }

// vxtgaw.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

int VXMODULECALL SaveDIBInTGAFormat(LPCSTR, HDIB, int, int) { return vxmod::FailSave(IMGERR_FILEFORMAT); }

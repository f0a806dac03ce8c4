// vxpcxw.cpp - not yet written: every entry point fails.
#include "module_support.hpp"

int VXMODULECALL SaveDIBInPCXFormat(LPCSTR, HDIB, int*) { return vxmod::FailSave(IMGERR_FILEFORMAT); }
int VXMODULECALL MakeDCXFile(LPCSTR, int*) { return vxmod::FailSave(IMGERR_FILEFORMAT); }
int VXMODULECALL SaveDIBInDCXFormat(LPCSTR, HDIB, int*) { return vxmod::FailSave(IMGERR_FILEFORMAT); }

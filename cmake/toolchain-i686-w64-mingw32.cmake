# 32-bit Windows: VEXORA.DLL with __stdcall exports under their plain names.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(VEXORA_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)

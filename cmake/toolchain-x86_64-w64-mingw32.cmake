# 64-bit Windows: VEXORA.DLL and the test programs, run under Wine.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(VEXORA_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)

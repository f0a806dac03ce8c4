# Shared by the MinGW-w64 toolchain files: set VEXORA_MINGW_TRIPLE, then include this.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${VEXORA_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VEXORA_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VEXORA_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${VEXORA_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The runtime is linked statically: the DLL and the programs need only system DLLs.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

# The codecs of the format modules, as the imported targets PNG::PNG, JPEG::JPEG, TIFF::TIFF and
# GIF::GIF (and ZLIB::ZLIB under them on Windows), for the format modules and for the tool,
# which writes PNG itself. GLOBAL, so that they are seen from every directory whichever one
# includes this file.
#
# Linux: Debian's packages (libpng-dev, libjpeg62-turbo-dev, libtiff-dev, libgif-dev).
# Windows: the same upstream versions, cross-built from Debian's source packages into static
# libraries by scripts/build-codecs.sh TRIPLE PREFIX, and found here through
# -DVEXORA_CODEC_PREFIX=PREFIX (scripts/test.sh passes build/codecs/TRIPLE); zlib is Debian's
# MinGW package (libz-mingw-w64-dev). Static libraries only, so each module DLL carries its
# codecs and imports nothing but system DLLs and VEXORA.DLL.
if(NOT WIN32)
  find_package(PNG REQUIRED GLOBAL)
  find_package(JPEG REQUIRED GLOBAL)
  find_package(TIFF REQUIRED GLOBAL)
  find_package(GIF REQUIRED GLOBAL)
  return()
endif()

set(VEXORA_CODEC_PREFIX "" CACHE PATH
  "Where scripts/build-codecs.sh put the Windows codecs (lib/, include/)")
set(codec_triple TRIPLE)
if(VEXORA_MINGW_TRIPLE)
  set(codec_triple ${VEXORA_MINGW_TRIPLE})
endif()
string(CONCAT build_hint "build them with scripts/build-codecs.sh ${codec_triple} PREFIX and "
  "configure with -DVEXORA_CODEC_PREFIX=PREFIX (scripts/test.sh does both for the Windows lanes)")
if(NOT VEXORA_CODEC_PREFIX)
  message(FATAL_ERROR "The Windows format modules link codecs cross-built from Debian's sources: "
    "${build_hint}")
endif()

# MinGW's zlib: its static archive by full name, so that nothing links zlib1.dll.
find_library(VEXORA_MINGW_ZLIB NAMES libz.a)
find_path(VEXORA_MINGW_ZLIB_INCLUDE zlib.h)
if(NOT VEXORA_MINGW_ZLIB OR NOT VEXORA_MINGW_ZLIB_INCLUDE)
  message(FATAL_ERROR "MinGW's static zlib (libz.a, zlib.h) was not found under "
    "${CMAKE_FIND_ROOT_PATH}: install the Debian package libz-mingw-w64-dev "
    "(scripts/install-deps.sh windows)")
endif()
unset(codec_triple)

# vexora_codec(TARGET LIBRARY [DEPENDENCIES...]): one static archive of the prefix.
function(vexora_codec target library)
  set(path ${VEXORA_CODEC_PREFIX}/lib/${library})
  if(NOT EXISTS ${path} OR NOT EXISTS ${VEXORA_CODEC_PREFIX}/include)
    message(FATAL_ERROR "The codec library ${path} is missing: ${build_hint}")
  endif()
  add_library(${target} STATIC IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${path}
    INTERFACE_INCLUDE_DIRECTORIES ${VEXORA_CODEC_PREFIX}/include
    INTERFACE_LINK_LIBRARIES "${ARGN}")
endfunction()

add_library(ZLIB::ZLIB STATIC IMPORTED GLOBAL)
set_target_properties(ZLIB::ZLIB PROPERTIES IMPORTED_LOCATION ${VEXORA_MINGW_ZLIB}
  INTERFACE_INCLUDE_DIRECTORIES ${VEXORA_MINGW_ZLIB_INCLUDE})
vexora_codec(JPEG::JPEG libjpeg.a)
vexora_codec(PNG::PNG libpng.a ZLIB::ZLIB)
vexora_codec(TIFF::TIFF libtiff.a JPEG::JPEG ZLIB::ZLIB)
vexora_codec(GIF::GIF libgif.a)

cmake_minimum_required(VERSION 3.25)
# Makes the import library of the 32-bit VEXORA.DLL.
#
# The DLL exports plain names (RotateDIB90), but a 32-bit caller compiled against vexora.h
# refers to the __stdcall symbol (_RotateDIB90@4). The import library must map one onto the
# other, so it is rebuilt from a decorated export list: every name of the .def file is looked
# up among the library's own symbols as _Name@N. A name without such a symbol is not __stdcall
# and stops the build.
#   NM, DLLTOOL   the cross tools
#   OBJECTS       the library's static archive
#   DEF           the .def file with plain names
#   DLL_NAME      the DLL's file name
#   OUTPUT        the import library to write
#   WORK          a scratch directory
execute_process(COMMAND ${NM} --defined-only ${OBJECTS} OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "${NM} failed on ${OBJECTS}")
endif()
file(STRINGS ${DEF} lines)
set(decorated "LIBRARY ${DLL_NAME}\nEXPORTS\n")
set(missing "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]+([A-Za-z_][A-Za-z0-9_]*)[ \t]*$")
    set(name ${CMAKE_MATCH_1})
    if(symbols MATCHES " T _${name}@([0-9]+)\n")
      string(APPEND decorated "    ${name}@${CMAKE_MATCH_1}\n")
    else()
      list(APPEND missing ${name})
    endif()
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "not __stdcall (no _Name@N symbol): ${missing}")
endif()
file(WRITE ${WORK}/vexora-decorated.def "${decorated}")
execute_process(COMMAND ${DLLTOOL} --dllname ${DLL_NAME} --def ${WORK}/vexora-decorated.def
  --kill-at --output-lib ${OUTPUT} RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "${DLLTOOL} failed")
endif()

cmake_minimum_required(VERSION 3.25)
# Reads a DLL's export and import tables with objdump:
#  - every name of EXPORTS (|-separated) is exported under its plain name, nothing else is, and
#    nothing is decorated;
#  - only system DLLs are imported, and the DLLs of ALSO_IMPORTS (|-separated; a format module
#    imports VEXORA.DLL).
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "${OBJDUMP} -p ${DLL} failed")
endif()
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n(([ \t]+\\[[ 0-9]+\\] [^\n]+\n)*)" table "${dump}")
# Rows read "\t[   0] Name"; brackets would confuse CMake lists, so keep the names only.
string(REGEX REPLACE "[ \t]+\\[[ 0-9]+\\] ([^\n]+)\n" "\\1;" exported "${CMAKE_MATCH_1}")
list(REMOVE_ITEM exported "")
string(REPLACE "|" ";" expected "${EXPORTS}")
set(problems "")
include(${CMAKE_CURRENT_LIST_DIR}/../compare_exports.cmake)
vexora_compare_exports("${exported}" "${expected}" problems)
string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${dump}")
string(REPLACE "|" ";" also_imported "${ALSO_IMPORTS}")
foreach(import IN LISTS imports)
  string(REPLACE "DLL Name: " "" dll "${import}")
  string(TOUPPER "${dll}" dll)
  if(NOT dll MATCHES "^(KERNEL32|USER32|GDI32|WINSPOOL\\.DRV|MSVCRT|UCRTBASE|API-MS-WIN-CRT-.*)(\\.DLL)?$"
      AND NOT dll IN_LIST also_imported)
    string(APPEND problems "imports a non-system DLL: ${dll}\n")
  endif()
endforeach()
if(problems)
  message(FATAL_ERROR "${problems}")
endif()
list(LENGTH exported count)
if(ALSO_IMPORTS)
  message(STATUS "${count} exports, all under plain names; imports: system DLLs, ${ALSO_IMPORTS}")
else()
  message(STATUS "${count} exports, all under plain names; system imports only")
endif()

# files_case(NAME): registers the tool case NAME of files_run.cmake, which makes the files it
# needs (links, FIFOs, modes, fax sets, streams) in a directory of its own, runs the tool and
# checks what became of them. It reads the demo's 8-bit sample (fixture tool_samples).
include_guard()
function(files_case name)
  set(defs -DTOOL=$<TARGET_FILE:vexora_tool> -DCASE=${name} -DDIR=${work}/files/${name}
    -DSAMPLE=${work}/demo/sample-8.bmp -DVERSION=${PROJECT_VERSION})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "|" emulator)
    list(APPEND defs "-DEMULATOR=${emulator}")
  endif()
  add_test(NAME ${name} COMMAND ${CMAKE_COMMAND} ${defs} -P ${CMAKE_CURRENT_LIST_DIR}/files_run.cmake)
  # A hang (a device read without end, a fax set's listing of every claimed page) is a failure.
  set_tests_properties(${name} PROPERTIES LABELS tool FIXTURES_REQUIRED tool_samples TIMEOUT 60)
endfunction()

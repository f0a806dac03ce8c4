cmake_minimum_required(VERSION 3.25)
# Runs the vexora tool once and checks its exit code and output.
#   TOOL         the tool's path (EMULATOR, '|'-separated, runs it when set)
#   ARGS         its arguments, separated by '|'
#   WORKDIR      directory to run in
#   EXIT         expected exit code
#   STDOUT_MATCH / STDERR_MATCH  regular expressions the outputs must match
#   ABSENT       a file that must not exist afterwards
#   SAME_FILES   two files ('|'-separated) that must be identical afterwards
string(REPLACE "|" ";" args "${ARGS}")
string(REPLACE "|" ";" emulator "${EMULATOR}")
execute_process(COMMAND ${emulator} ${TOOL} ${args}
  WORKING_DIRECTORY ${WORKDIR}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc STREQUAL "${EXIT}")
  message(FATAL_ERROR "exit code ${rc}, expected ${EXIT}\nstdout: ${out}\nstderr: ${err}")
endif()
if(DEFINED STDOUT_MATCH AND NOT out MATCHES "${STDOUT_MATCH}")
  message(FATAL_ERROR "stdout does not match '${STDOUT_MATCH}':\n${out}")
endif()
if(DEFINED STDERR_MATCH AND NOT err MATCHES "${STDERR_MATCH}")
  message(FATAL_ERROR "stderr does not match '${STDERR_MATCH}':\n${err}")
endif()
if(DEFINED ABSENT AND EXISTS "${WORKDIR}/${ABSENT}")
  message(FATAL_ERROR "${ABSENT} exists but should not")
endif()
if(DEFINED SAME_FILES)
  string(REPLACE "|" ";" pair "${SAME_FILES}")
  list(GET pair 0 first)
  list(GET pair 1 second)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${first} ${second}
    WORKING_DIRECTORY ${WORKDIR} RESULT_VARIABLE differ)
  if(differ)
    message(FATAL_ERROR "${first} and ${second} differ")
  endif()
endif()

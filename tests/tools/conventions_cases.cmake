# The usual command-line conventions: --version, help COMMAND, --quiet, --format, '-' for the
# standard streams (files_run.cmake).
include(${CMAKE_CURRENT_LIST_DIR}/files_case.cmake)
files_case(conventions_version_and_help)
files_case(conventions_quiet_and_format)
files_case(conventions_standard_streams)

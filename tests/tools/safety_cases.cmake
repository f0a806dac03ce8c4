# Outputs that are links, devices, protected files, directories or long names; inputs that are
# not files; colour fax sets that claim billions of pages or name missing planes (files_run.cmake).
include(${CMAKE_CURRENT_LIST_DIR}/files_case.cmake)
files_case(safety_output_write_protected)
files_case(safety_output_not_writable)
files_case(safety_input_not_a_file)
files_case(safety_fax_claimed_pages)
files_case(safety_fax_page_refused)
if(NOT WIN32)
  # Symbolic links, FIFOs, devices and POSIX modes are made by the host's tools for the Linux
  # tool; Windows names are limited to MAX_PATH (260) characters in all, so a 255-byte name in
  # the build tree does not fit there.
  files_case(safety_output_through_link)
  files_case(safety_output_mode_kept)
  files_case(safety_output_through_fifo)
  files_case(safety_output_long_name)
  files_case(safety_input_streams)
endif()

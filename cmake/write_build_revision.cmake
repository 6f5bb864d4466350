# <number of commits>:<first 12 hexadecimal digits of the commit>, or zeros where there is no history to ask.
set(revision "0:000000000000")
execute_process(
  COMMAND git -C ${SOURCE_DIR} rev-list --count HEAD
  OUTPUT_VARIABLE count
  OUTPUT_STRIP_TRAILING_WHITESPACE
  RESULT_VARIABLE count_result
  ERROR_QUIET)
execute_process(
  COMMAND git -C ${SOURCE_DIR} rev-parse HEAD
  OUTPUT_VARIABLE commit
  OUTPUT_STRIP_TRAILING_WHITESPACE
  RESULT_VARIABLE commit_result
  ERROR_QUIET)
if("${count_result}" STREQUAL "0" AND "${commit_result}" STREQUAL "0")
  string(SUBSTRING "${commit}" 0 12 commit)
  set(revision "${count}:${commit}")
endif()
file(WRITE ${HEADER}.new "#pragma once\n\n#define BUILD_REVISION \"${revision}\"\n")
file(COPY_FILE ${HEADER}.new ${HEADER} ONLY_IF_DIFFERENT)
file(REMOVE ${HEADER}.new)

# A header with the revision that "About" shows, written again at every build and touched only when it changes.
set(BUILD_REVISION_DIR ${CMAKE_BINARY_DIR}/generated)
add_custom_target(
  build_revision
  BYPRODUCTS ${BUILD_REVISION_DIR}/build_revision.h
  COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${CMAKE_SOURCE_DIR} -D HEADER=${BUILD_REVISION_DIR}/build_revision.h -P
          ${CMAKE_SOURCE_DIR}/cmake/write_build_revision.cmake
  COMMENT "Asking for the revision")

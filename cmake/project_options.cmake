# Warnings and language habits that all of our own code is held to. Link privately.
add_library(project_options INTERFACE)
target_compile_options(
  project_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wnull-dereference
            -Wdouble-promotion
            -Wformat=2
            -Werror)
target_compile_definitions(
  project_options INTERFACE QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_STRICT_ITERATORS
                            QT_DISABLE_DEPRECATED_BEFORE=0x060400)

option(BUILD_BENCHMARKS "Build the programs of bench/" OFF)
option(SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(FUZZ "Build the programs of tests/fuzz; with clang only" OFF)
if(FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

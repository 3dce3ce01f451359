# tarvix_options: how all of our own code is compiled.
add_library(tarvix_options INTERFACE)
target_compile_features(tarvix_options INTERFACE cxx_std_20)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(MSVC)
  target_compile_options(tarvix_options INTERFACE /W4 /fp:precise /utf-8 /permissive- $<$<BOOL:${TARVIX_WERROR}>:/WX>)
else()
  # The convergence search and the ratio test of the registration are defined to the last bit: no
  # contraction to fused multiply-add, no fast mathematics.
  target_compile_options(
    tarvix_options
    INTERFACE -ffp-contract=off
              -fno-fast-math
              -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              -Wnon-virtual-dtor
              -Woverloaded-virtual
              $<$<BOOL:${TARVIX_WERROR}>:-Werror>)
  # OpenCV's messages name our source: as filters/lines.cpp, without the folder of the machine that built it.
  # ccache passes that folder relative to the build folder.
  file(RELATIVE_PATH from_build "${CMAKE_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
  string(REGEX REPLACE "/$" "" from_build "${from_build}")
  foreach(folder IN ITEMS "${PROJECT_SOURCE_DIR}" "${from_build}")
    target_compile_options(tarvix_options INTERFACE "-fmacro-prefix-map=${folder}/=")
  endforeach()
endif()

# TARVIX_SANITIZE: a list for -fsanitize=, e.g. "address,undefined" or "thread".
set(TARVIX_SANITIZE "" CACHE STRING "Sanitizers to build everything with")
if(TARVIX_SANITIZE)
  add_compile_options(-fsanitize=${TARVIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TARVIX_SANITIZE})
endif()

# What a target does not use of OpenCV is not loaded with it. Debian's g++ does so by itself unless it links a sanitizer,
# other compilers do not.
set(TARVIX_AS_NEEDED)
if(CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  set(TARVIX_AS_NEEDED "LINKER:--as-needed")
endif()

# For shared libraries on ELF systems: clang links the sanitizers' run time into programs only, and libraries
# find it there.
set(TARVIX_NO_UNDEFINED)
if(NOT TARVIX_SANITIZE)
  set(TARVIX_NO_UNDEFINED "LINKER:--no-undefined")
endif()

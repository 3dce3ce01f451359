# Cross build for 64-bit Windows with MinGW-w64, posix threads; programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64) # as a native Windows build says it

set(triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# TARVIX_WINDOWS_PREFIX: where OpenCV, GoogleTest and the header-only libraries for Windows lie (a list). The
# scripts know.
if(NOT DEFINED TARVIX_WINDOWS_PREFIX)
  foreach(script build_opencv build_test_libraries)
    execute_process(
      COMMAND "${CMAKE_CURRENT_LIST_DIR}/../../scripts/windows/${script}.sh" --print-prefix
      OUTPUT_VARIABLE prefix
      OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT EXISTS "${prefix}/complete")
      message(FATAL_ERROR "${prefix} does not exist yet: run scripts/windows.sh, or scripts/windows/${script}.sh alone")
    endif()
    list(APPEND TARVIX_WINDOWS_PREFIX "${prefix}")
  endforeach()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARVIX_WINDOWS_PREFIX)

# Nothing of the build machine's own headers and libraries may be found.
set(CMAKE_FIND_ROOT_PATH ${TARVIX_WINDOWS_PREFIX} /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/windows/wine_run.sh")

# The compiler keeps the stack aligned to 16 bytes only, yet spills wider vectors with aligned moves; the
# assembler turns these into unaligned ones.
string(APPEND CMAKE_C_FLAGS_INIT " -Wa,-muse-unaligned-vector-move")
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wa,-muse-unaligned-vector-move")

# The same input makes the same bytes: no time of linking in the files.
foreach(kind EXE MODULE SHARED)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -Wl,--no-insert-timestamp")
endforeach()

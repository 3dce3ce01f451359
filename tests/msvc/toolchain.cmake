# clang-cl for Microsoft's dialect, with libc++'s and MinGW's headers, for scripts/msvc_check.sh. It compiles; nothing can
# be linked. TARVIX_MSVC_TARGET is x86_64 or i686.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TARVIX_MSVC_TARGET)
set(CMAKE_FIND_PACKAGE_PREFER_CONFIG ON)
list(APPEND CMAKE_PREFIX_PATH "${CMAKE_CURRENT_LIST_DIR}/packages")

file(GLOB llvm_folders /usr/lib/llvm-*)
list(SORT llvm_folders COMPARE NATURAL ORDER DESCENDING)
list(TRANSFORM llvm_folders APPEND /bin OUTPUT_VARIABLE programs)
find_program(CMAKE_CXX_COMPILER clang-cl HINTS ${programs} REQUIRED)
find_path(TARVIX_LIBCXX __config PATHS ${llvm_folders} PATH_SUFFIXES include/c++/v1 NO_DEFAULT_PATH REQUIRED)
find_path(TARVIX_MINGW_HEADERS _mingw.h PATHS /usr/share/mingw-w64/include /usr/x86_64-w64-mingw32/include NO_DEFAULT_PATH
                                                                                                    REQUIRED)
execute_process(COMMAND "${CMAKE_CXX_COMPILER}" /clang:-print-resource-dir OUTPUT_VARIABLE resources
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

find_program(CMAKE_AR llvm-lib HINTS ${programs} REQUIRED)
find_program(CMAKE_RC_COMPILER llvm-rc HINTS ${programs} REQUIRED)
foreach(program LINKER MT) # nothing is linked, but CMake asks for the programs
  set(CMAKE_${program} true)
endforeach()

set(flags "--target=${TARVIX_MSVC_TARGET}-pc-windows-msvc" -fms-compatibility-version=19.33 -nobuiltininc
          -D_LIBCPP_NO_VCRUNTIME)
if(TARVIX_MSVC_TARGET STREQUAL "i686")
  list(APPEND flags /arch:SSE2 -D_X86_ -D__i386__)
endif()
foreach(folder "${CMAKE_CURRENT_LIST_DIR}/class_library" "${CMAKE_CURRENT_LIST_DIR}/system" "${TARVIX_LIBCXX}"
        "${resources}/include" "${TARVIX_MINGW_HEADERS}")
  list(APPEND flags "/imsvc${folder}")
endforeach()
list(JOIN flags " " CMAKE_CXX_FLAGS_INIT)

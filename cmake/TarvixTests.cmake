# tarvix_add_test(NAME [SOURCES ...] [LINKS target ...] [DEFINITIONS ...] [SERIAL])
#
# tests/<folder>/test_NAME.cpp (or SOURCES) becomes the program test_NAME and the CTest entry <folder>.NAME.
# Every test links the module as a host does; LINKS adds the static libraries of operations under test.
# SERIAL keeps the entry from running beside others (it measures memory or fills a disk).
#
# Half the time to compile a test is the headers that all of them include, and most of the rest is the optimiser, which
# the tests' own code does not need: tests include precompiled headers and are compiled without optimisation. What
# they test is compiled as for users. A source that computes much is named in tarvix_optimise().
function(tarvix_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "" "SOURCES;LINKS;DEFINITIONS")
  if(NOT arg_SOURCES)
    set(arg_SOURCES test_${name}.cpp)
  endif()
  get_filename_component(folder "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  add_executable(test_${name} ${arg_SOURCES})
  set_property(DIRECTORY APPEND PROPERTY TARVIX_TESTED ${arg_SOURCES})
  target_link_libraries(test_${name} PRIVATE tarvix_test_support tarvix_test_main ${arg_LINKS})
  if(NOT "OpenMP::OpenMP_CXX" IN_LIST arg_LINKS) # its compiler option makes other precompiled headers necessary
    tarvix_use_test_headers(test_${name})
  endif()
  if(arg_DEFINITIONS)
    target_compile_definitions(test_${name} PRIVATE ${arg_DEFINITIONS})
  endif()
  add_test(NAME ${folder}.${name} COMMAND test_${name})
  # The limit only ends a hang; no test depends on how long it takes.
  set_tests_properties(${folder}.${name} PROPERTIES TIMEOUT 1500)
  if(TARVIX_SANITIZE MATCHES "address")
    # Sizes that no machine has are asked for on purpose; OpenCV's answer to that is under test.
    set_tests_properties(${folder}.${name} PROPERTIES ENVIRONMENT "ASAN_OPTIONS=allocator_may_return_null=1")
  endif()
  if(arg_SERIAL)
    set_tests_properties(${folder}.${name} PROPERTIES RUN_SERIAL TRUE)
  endif()
endfunction()

# tarvix_add_other_tests(LINKS target ...): a test of each test_*.cpp of the folder that is in no test so far.
function(tarvix_add_other_tests)
  get_property(tested DIRECTORY PROPERTY TARVIX_TESTED)
  file(GLOB sources RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/test_*.cpp")
  foreach(source IN LISTS sources)
    if(NOT source IN_LIST tested)
      string(REGEX REPLACE "^test_(.*)\\.cpp$" "\\1" name "${source}")
      tarvix_add_test(${name} ${ARGN})
    endif()
  endforeach()
endfunction()

# tarvix_runs_openmp(CTEST_ENTRY): under the thread checker, the entry needs help with code that is not built
# with it. OpenCV's decoders and the OpenMP run time lock mutexes that the checker cannot follow, so it is told
# to leave their calls out; LLVM's Archer (package libomp-dev) tells it of OpenMP's forks and joins.
function(tarvix_runs_openmp entry)
  if(TARVIX_SANITIZE MATCHES "thread")
    file(GLOB folders /usr/lib/llvm-*/lib)
    find_library(TARVIX_ARCHER archer PATHS ${folders} REQUIRED)
    set_tests_properties(
      ${entry} PROPERTIES ENVIRONMENT
                          "TSAN_OPTIONS=ignore_noninstrumented_modules=1;OMP_TOOL_LIBRARIES=${TARVIX_ARCHER}")
  endif()
endfunction()

# tarvix_use_test_headers(TARGET): for a program of tests.
function(tarvix_use_test_headers target)
  if(TARGET tarvix_test_headers)
    target_compile_options(${target} PRIVATE -fpch-preprocess) # for the compiler cache
    target_precompile_headers(${target} REUSE_FROM tarvix_test_headers)
  endif()
endfunction()

# tarvix_optimise(source ...): compiles these sources of tests as the product is.
function(tarvix_optimise)
  if(NOT MSVC)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Release>:-O2>"
                                                   SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# tarvix_add_family(NAME OPERATIONS a.cpp ... EXPORTS exports.cpp ...)
#
# A family is one folder. Its operations become the static library tarvix_NAME, which tests, fuzzers and
# benchmarks link directly. Its exports are compiled into the module itself.
#
# Operations know OpenCV, common/ and their own folder, nothing else of ours: no bitmap, no class library, no call of
# the system. The include path and the link line enforce this, and the tests of the layers try to break it.
function(tarvix_add_family name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "OPERATIONS;EXPORTS")
  tarvix_add_operations(${name} ${arg_OPERATIONS})
  foreach(source IN LISTS arg_EXPORTS)
    target_sources(Tarvix PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
  endforeach()
  target_link_libraries(Tarvix PRIVATE tarvix_${name})
endfunction()

# tarvix_add_operations(NAME source ...): makes the static library tarvix_NAME of such operations.
function(tarvix_add_operations name)
  add_library(tarvix_${name} STATIC ${ARGN})
  target_include_directories(tarvix_${name} SYSTEM PUBLIC ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(tarvix_${name} PUBLIC tarvix_options tarvix_common ${OpenCV_LIBS})
  set_property(GLOBAL APPEND PROPERTY TARVIX_OPERATIONS tarvix_${name})
endfunction()

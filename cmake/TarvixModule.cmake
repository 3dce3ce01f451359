# tarvix_add_family(NAME OPERATIONS a.cpp ... EXPORTS exports.cpp ...)
#
# A family is one folder. Its operations (plain functions on cv::Mat, points and structs) become the
# static library tarvix_NAME, which tests, fuzzers and benchmarks link directly; its exports are compiled
# into the module itself.
function(tarvix_add_family name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "OPERATIONS;EXPORTS")
  add_library(tarvix_${name} STATIC ${arg_OPERATIONS})
  target_link_libraries(tarvix_${name} PUBLIC tarvix_bridge)
  foreach(source IN LISTS arg_EXPORTS)
    target_sources(Tarvix PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
  endforeach()
  target_link_libraries(Tarvix PRIVATE tarvix_${name})
endfunction()

# tarvix_add_family(NAME)
#
# A family is one folder. Its exports.cpp is compiled into the module itself. All its other sources are its operations:
# they become the static library tarvix_NAME, which tests, fuzzers and benchmarks link directly.
#
# Operations know OpenCV, common/ and their own folder, nothing else of ours: no bitmap, no class library, no call of
# the system. The include path and the link line enforce this, and the tests of the layers try to break it.
function(tarvix_add_family name)
  file(GLOB sources RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  list(REMOVE_ITEM sources exports.cpp)
  tarvix_add_operations(${name} ${sources})
  target_sources(Tarvix PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/exports.cpp")
  target_link_libraries(Tarvix PRIVATE tarvix_${name})
endfunction()

# tarvix_add_operations(NAME source ...): makes the static library tarvix_NAME of such operations.
function(tarvix_add_operations name)
  add_library(tarvix_${name} STATIC ${ARGN})
  target_include_directories(tarvix_${name} SYSTEM PUBLIC ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(tarvix_${name} PUBLIC tarvix_options tarvix_common ${OpenCV_LIBS})
  set_property(GLOBAL APPEND PROPERTY TARVIX_OPERATIONS tarvix_${name})
endfunction()

include("${CMAKE_CURRENT_LIST_DIR}/headers.cmake")
tarvix_header_folder(folder benchmark/benchmark.h)
add_library(benchmark::benchmark INTERFACE IMPORTED)
set_target_properties(benchmark::benchmark PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${folder}")

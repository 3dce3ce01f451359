include("${CMAKE_CURRENT_LIST_DIR}/headers.cmake")
tarvix_header_folder(folder CLI/CLI.hpp)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${folder}")
# xxHash is one header, which no package finds: the host takes it from where the others are.
file(CREATE_LINK /usr/include/xxhash.h "${folder}/xxhash.h" SYMBOLIC)

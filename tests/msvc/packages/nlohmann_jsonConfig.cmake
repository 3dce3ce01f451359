include("${CMAKE_CURRENT_LIST_DIR}/headers.cmake")
tarvix_header_folder(folder nlohmann/json.hpp)
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
set_target_properties(nlohmann_json::nlohmann_json PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${folder}")

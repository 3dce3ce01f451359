# Libraries that the sample host uses where they are: Boost's headers (TARVIX_BOOST_INCLUDE; for the workbench), yaml-cpp (TARVIX_YAML is its target) and libharu
# (TARVIX_HPDF_LIBRARY, TARVIX_HPDF_INCLUDE). Neither is packaged for MinGW, and the host does without them there.
set(TARVIX_YAML)
find_package(yaml-cpp QUIET CONFIG)
foreach(target IN ITEMS yaml-cpp::yaml-cpp yaml-cpp)
  if(TARGET ${target} AND NOT TARVIX_YAML)
    set(TARVIX_YAML ${target})
  endif()
endforeach()
find_path(TARVIX_HPDF_INCLUDE hpdf.h)
find_library(TARVIX_HPDF_LIBRARY hpdf)
find_path(TARVIX_BOOST_INCLUDE boost/beast/http.hpp)

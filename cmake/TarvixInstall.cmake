# What is installed, in three components: Runtime (the module and the libraries it comes with), Development
# (headers, link libraries, CMake package) and Host (the program tarvix and the cascades beside it).
include(CMakePackageConfigHelpers)

set(tarvix_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Tarvix")
set(tarvix_targets Tarvix tarvix_platform tarvix_win32 tarvix_afx tarvix_dib)
set(tarvix_header_dirs "${PROJECT_SOURCE_DIR}/include/tarvix/" "${PROJECT_BINARY_DIR}/include/tarvix/")
set(tarvix_platform_header_dirs)
foreach(stand_in IN ITEMS TarvixWin32 TarvixAfx MorvelDib)
  if(TARGET ${stand_in})
    list(APPEND tarvix_targets ${stand_in})
    get_target_property(dir ${stand_in} SOURCE_DIR)
    list(APPEND tarvix_platform_header_dirs "${dir}/include/")
  endif()
endforeach()
install(
  TARGETS ${tarvix_targets}
  EXPORT TarvixTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
install(EXPORT TarvixTargets NAMESPACE Tarvix:: DESTINATION "${tarvix_package_dir}" COMPONENT Development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TarvixConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/TarvixConfig.cmake" INSTALL_DESTINATION "${tarvix_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TarvixConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TarvixConfig.cmake" "${PROJECT_BINARY_DIR}/TarvixConfigVersion.cmake"
        DESTINATION "${tarvix_package_dir}" COMPONENT Development)
install(DIRECTORY ${tarvix_header_dirs} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarvix" COMPONENT Development
        FILES_MATCHING PATTERN "*.h")
if(tarvix_platform_header_dirs)
  install(DIRECTORY ${tarvix_platform_header_dirs} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarvix/platform"
          COMPONENT Development FILES_MATCHING PATTERN "*.h" PATTERN "MorvelDibTesting.h" EXCLUDE)
endif()
if(TARGET tarvix_host)
  install(TARGETS tarvix_host RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Host)
endif()
if(MINGW)
  include(TarvixWindowsArchive)
endif()

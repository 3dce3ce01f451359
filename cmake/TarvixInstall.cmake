# What is installed, in three components: Runtime (the module and the libraries that come with it), Development
# (headers, link libraries, CMake package, pkg-config file) and Host (the program tarvix and the cascades beside
# it). The tree may be moved: its files find each other by relative paths.
include(CMakePackageConfigHelpers)

set(tarvix_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Tarvix")
set(tarvix_shared_libraries Tarvix)
set(tarvix_platform_header_dirs)
foreach(stand_in IN ITEMS TarvixWin32 TarvixAfx MorvelDib)
  if(TARGET ${stand_in})
    list(APPEND tarvix_shared_libraries ${stand_in})
    get_target_property(dir ${stand_in} SOURCE_DIR)
    list(APPEND tarvix_platform_header_dirs "${dir}/include/")
  endif()
endforeach()

# The cascades are beside the host's program. On Windows so are the DLLs. Elsewhere the program has a folder of
# its own and a link in the folder of programs.
if(WIN32)
  set(tarvix_host_dir "${CMAKE_INSTALL_BINDIR}")
else()
  set(tarvix_host_dir "${CMAKE_INSTALL_LIBEXECDIR}/tarvix")
  set_target_properties(${tarvix_shared_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET TarvixLive) # no host links it
  set_target_properties(TarvixLive PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS TarvixLive LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_SKIP)
endif()

install(
  TARGETS ${tarvix_shared_libraries} tarvix_platform tarvix_win32 tarvix_afx tarvix_dib
  EXPORT TarvixTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
if(MSVC) # their symbols, for debuggers
  foreach(library IN LISTS tarvix_shared_libraries)
    install(FILES "$<TARGET_PDB_FILE:${library}>" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Development OPTIONAL)
  endforeach()
endif()
if(TARGET tarvix-message-box)
  install(TARGETS tarvix-message-box RUNTIME DESTINATION "${CMAKE_INSTALL_LIBDIR}/tarvix" COMPONENT Runtime)
endif()

# What is installed is hardened as distributions do it: all symbols are resolved when it is loaded, and the tables of their
# addresses cannot be written afterwards.
foreach(target IN ITEMS ${tarvix_shared_libraries} TarvixLive tarvix-message-box tarvix_host)
  if(TARGET ${target} AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
    target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now)
  endif()
endforeach()

install(EXPORT TarvixTargets NAMESPACE Tarvix:: DESTINATION "${tarvix_package_dir}" COMPONENT Development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TarvixConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/TarvixConfig.cmake" INSTALL_DESTINATION "${tarvix_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TarvixConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TarvixConfig.cmake" "${PROJECT_BINARY_DIR}/TarvixConfigVersion.cmake"
        DESTINATION "${tarvix_package_dir}" COMPONENT Development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/tarvix/" "${PROJECT_BINARY_DIR}/include/tarvix/"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarvix" COMPONENT Development FILES_MATCHING PATTERN "*.h")
if(tarvix_platform_header_dirs)
  install(DIRECTORY ${tarvix_platform_header_dirs} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarvix/platform"
          COMPONENT Development FILES_MATCHING PATTERN "*.h" PATTERN "MorvelDibTesting.h" EXCLUDE)
endif()
if(NOT MSVC)
  set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  string(REGEX REPLACE "[^/]+" ".." pc_to_prefix "${pc_dir}")
  list(TRANSFORM tarvix_shared_libraries PREPEND "-l" OUTPUT_VARIABLE pc_libraries)
  list(APPEND pc_libraries ${TARVIX_DIB_LIBRARY})
  list(JOIN pc_libraries " " pc_libraries)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/tarvix.pc.in" "${PROJECT_BINARY_DIR}/tarvix.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/tarvix.pc" DESTINATION "${pc_dir}" COMPONENT Development)
endif()

if(NOT WIN32)
  # The project that the pages show, to copy.
  file(GLOB examples LIST_DIRECTORIES false CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/examples/*")
  install(FILES ${examples} DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libtarvix-dev/examples" COMPONENT Development)
endif()

if(TARGET tarvix_host)
  install(TARGETS tarvix_host RUNTIME DESTINATION "${tarvix_host_dir}" COMPONENT Host)
  install(FILES ${TARVIX_CASCADES} DESTINATION "${tarvix_host_dir}" COMPONENT Host)
  if(NOT WIN32)
    file(RELATIVE_PATH to_libraries "/${tarvix_host_dir}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(tarvix_host PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
    file(RELATIVE_PATH to_program "/${CMAKE_INSTALL_BINDIR}" "/${tarvix_host_dir}/tarvix")
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/link")
    file(CREATE_LINK "${to_program}" "${PROJECT_BINARY_DIR}/link/tarvix" SYMBOLIC)
    install(FILES "${PROJECT_BINARY_DIR}/link/tarvix" DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Host)

    # Its manual page is made from its own --help.
    set(man_page "${PROJECT_BINARY_DIR}/tarvix.1")
    add_custom_command(
      OUTPUT "${man_page}"
      COMMAND "${PROJECT_SOURCE_DIR}/host/man_page.sh" $<TARGET_FILE:tarvix_host> ${PROJECT_VERSION} > "${man_page}.new"
      COMMAND ${CMAKE_COMMAND} -E rename "${man_page}.new" "${man_page}"
      DEPENDS tarvix_host "${PROJECT_SOURCE_DIR}/host/man_page.sh"
      COMMENT "Writing the manual page of tarvix"
      VERBATIM)
    add_custom_target(tarvix_man_page ALL DEPENDS "${man_page}")
    install(FILES "${man_page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Host)
    install(PROGRAMS "${PROJECT_SOURCE_DIR}/docs/examples/slurm/tarvix-array.sh"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/tarvix/examples/slurm" COMPONENT Host)
    install(FILES "${PROJECT_SOURCE_DIR}/host/completion.bash" RENAME tarvix
            DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT Host)
    install(FILES "${PROJECT_SOURCE_DIR}/host/completion.zsh" RENAME _tarvix
            DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT Host)
    install(FILES "${PROJECT_SOURCE_DIR}/host/completion.fish" RENAME tarvix.fish
            DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT Host)
  endif()
endif()

if(TARVIX_IS_TOP_LEVEL) # a project that contains this one has packages of its own
  include(TarvixPackages)
endif()

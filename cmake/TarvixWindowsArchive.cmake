# The archive for users of the MinGW build. A Windows machine needs nothing else: the archive has the run-time
# libraries of the compiler, OpenCV, and the licences and versions of what is bundled.
set(ENV{SOURCE_DATE_EPOCH} 315532800) # strip writes a date into what it strips: here, and in cpack's process
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/windows-date.cmake")
file(CONFIGURE OUTPUT "${CPACK_PROJECT_CONFIG_FILE}" CONTENT "set(ENV{SOURCE_DATE_EPOCH} 315532800)\n")
set(run_time_libraries)
set(versions "Tarvix ${PROJECT_VERSION}\n")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/run-time")
foreach(name IN ITEMS libstdc++-6 libgcc_s_seh-1 libwinpthread-1 libgomp-1)
  execute_process(
    COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${name}.dll OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE
                                                                                     COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR "The compiler's run-time library ${name}.dll is missing")
  endif()
  # Their debugging symbols are removed: with them, they are ten times as large.
  set(stripped "${PROJECT_BINARY_DIR}/run-time/${name}.dll")
  execute_process(COMMAND "${CMAKE_STRIP}" -o "${stripped}" "${path}" COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND run_time_libraries "${stripped}")
  file(REAL_PATH "${path}" path)
  execute_process(COMMAND dpkg-query -S "${path}" OUTPUT_VARIABLE package COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE ":.*" "" package "${package}")
  execute_process(COMMAND dpkg-query -W -f "\${Version}" ${package} OUTPUT_VARIABLE version COMMAND_ERROR_IS_FATAL ANY)
  string(APPEND versions "${name}.dll ${version} (${package})\n")
endforeach()
list(REMOVE_DUPLICATES OpenCV_LIBS)
install(FILES ${run_time_libraries} "$<TARGET_FILE:opencv_world>" DESTINATION "${CMAKE_INSTALL_BINDIR}"
        COMPONENT Runtime)

# Debian's copyright files refer to the full texts of common licences by name.
set(texts)
foreach(prefix IN LISTS TARVIX_WINDOWS_PREFIX)
  install(DIRECTORY "${prefix}/licenses/" DESTINATION licenses COMPONENT Runtime)
  file(READ "${prefix}/versions.txt" more)
  string(APPEND versions "${more}")
  file(GLOB licences "${prefix}/licenses/*")
  foreach(licence IN LISTS licences)
    file(READ "${licence}" content)
    string(REGEX MATCHALL "/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]" more "${content}")
    list(APPEND texts ${more})
  endforeach()
endforeach()
list(REMOVE_DUPLICATES texts)
foreach(text IN LISTS texts)
  get_filename_component(name "${text}" NAME)
  file(REAL_PATH "${text}" text) # GPL is a link to the newest
  install(FILES "${text}" DESTINATION licenses/common-licenses RENAME "${name}" COMPONENT Runtime)
endforeach()
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/versions.txt" CONTENT "${versions}" @ONLY NEWLINE_STYLE DOS)
install(FILES "${PROJECT_BINARY_DIR}/versions.txt" DESTINATION . COMPONENT Runtime)
configure_file("${PROJECT_SOURCE_DIR}/cmake/windows-readme.txt.in" "${PROJECT_BINARY_DIR}/README.txt" @ONLY
               NEWLINE_STYLE DOS)
install(FILES "${PROJECT_BINARY_DIR}/README.txt" DESTINATION . COMPONENT Runtime)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "Tarvix-${PROJECT_VERSION}-win64")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
configure_file("${PROJECT_SOURCE_DIR}/cmake/windows-repack.cmake.in" "${PROJECT_BINARY_DIR}/windows-repack.cmake" @ONLY)
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/windows-repack.cmake")

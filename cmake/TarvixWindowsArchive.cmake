# The archive for users of the MinGW build. A Windows machine needs nothing else: the archive has the run-time
# libraries of the compiler, OpenCV, and the licences of what is bundled.
set(run_time_libraries)
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
endforeach()
list(REMOVE_DUPLICATES OpenCV_LIBS)
install(FILES ${run_time_libraries} "$<TARGET_FILE:opencv_world>" DESTINATION "${CMAKE_INSTALL_BINDIR}"
        COMPONENT Runtime)

foreach(prefix IN LISTS TARVIX_WINDOWS_PREFIX)
  install(DIRECTORY "${prefix}/licenses/" DESTINATION licenses COMPONENT Runtime)
endforeach()
configure_file("${PROJECT_SOURCE_DIR}/cmake/windows-readme.txt.in" "${PROJECT_BINARY_DIR}/README.txt" @ONLY
               NEWLINE_STYLE DOS)
install(FILES "${PROJECT_BINARY_DIR}/README.txt" DESTINATION . COMPONENT Runtime)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "Tarvix-${PROJECT_VERSION}-win64")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)

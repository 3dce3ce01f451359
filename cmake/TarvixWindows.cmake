# tarvix_version_resource(TARGET "description")
#
# On Windows, puts a version resource into a DLL or program, for the file's properties. Does nothing
# elsewhere.
if(WIN32)
  enable_language(RC)
endif()
function(tarvix_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set(TARVIX_FILE_TYPE VFT_APP)
    set(suffix "${CMAKE_EXECUTABLE_SUFFIX}")
  else()
    set(TARVIX_FILE_TYPE VFT_DLL)
    set(suffix "${CMAKE_SHARED_LIBRARY_SUFFIX}")
  endif()
  get_target_property(TARVIX_FILE_STEM ${target} OUTPUT_NAME)
  if(NOT TARVIX_FILE_STEM)
    set(TARVIX_FILE_STEM ${target})
  endif()
  set(TARVIX_FILE_NAME "${TARVIX_FILE_STEM}${suffix}")
  set(TARVIX_FILE_DESCRIPTION "${description}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc" @ONLY)
  target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
endfunction()

# tarvix_begin_shipped(), tarvix_end_shipped()
#
# Between them are the targets whose code users get. The MinGW build compiles these for debuggers (names and lines),
# and without the folders of the machine that builds: the same sources are the same bytes everywhere.
macro(tarvix_begin_shipped)
  get_property(tarvix_options_of_others DIRECTORY PROPERTY COMPILE_OPTIONS)
  if(MINGW)
    file(RELATIVE_PATH from_build "${CMAKE_BINARY_DIR}" "${PROJECT_SOURCE_DIR}") # as ccache passes the folder
    string(REGEX REPLACE "/$" "" from_build "${from_build}")
    # For debuggers only: what messages say is set in TarvixOptions.cmake.
    add_compile_options(-g1 "-fdebug-prefix-map=${PROJECT_SOURCE_DIR}=." "-fdebug-prefix-map=${from_build}=."
                        "-fdebug-prefix-map=${CMAKE_BINARY_DIR}=build")
    foreach(prefix IN LISTS TARVIX_WINDOWS_PREFIX)
      add_compile_options("-ffile-prefix-map=${prefix}=")
    endforeach()
  endif()
endmacro()
macro(tarvix_end_shipped)
  set_property(DIRECTORY PROPERTY COMPILE_OPTIONS "${tarvix_options_of_others}")
endmacro()

# tarvix_debug_file(TARGET)
#
# The MinGW build puts what debuggers need of a DLL or program into <its name>.debug, in the build's folder debug/.
# The file names that one, also after it is stripped.
function(tarvix_debug_file target)
  if(MINGW)
    set(folder "${PROJECT_BINARY_DIR}/debug")
    set(debug "${folder}/$<TARGET_FILE_NAME:${target}>.debug")
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(
      TARGET ${target} POST_BUILD
      # Without a date of its own, objcopy would write today's into both files.
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=315532800 "${CMAKE_OBJCOPY}" --only-keep-debug
              $<TARGET_FILE:${target}> "${debug}"
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=315532800 "${CMAKE_OBJCOPY}" "--add-gnu-debuglink=${debug}"
              $<TARGET_FILE:${target}>
      VERBATIM)
    install(FILES "${debug}" DESTINATION debug COMPONENT Debug)
  endif()
endfunction()

# tarvix_utf8_names(PROGRAM)
#
# On Windows 10 from version 1903 on, makes UTF-8 the code page of the program's process: its multi-byte
# strings, and those of the module in it, can then name every file. Older systems ignore this. Does
# nothing elsewhere.
function(tarvix_utf8_names program)
  set(manifest "${PROJECT_SOURCE_DIR}/cmake/utf8-names.manifest")
  if(MSVC)
    target_sources(${program} PRIVATE "${manifest}") # the linker merges it with its own
  elseif(WIN32)
    set(resource "${CMAKE_CURRENT_BINARY_DIR}/${program}_manifest.rc")
    file(CONFIGURE OUTPUT "${resource}" CONTENT "1 24 \"${manifest}\"\n") # the program's own manifest
    target_sources(${program} PRIVATE "${resource}")
    set_source_files_properties("${resource}" PROPERTIES OBJECT_DEPENDS "${manifest}")
  endif()
endfunction()

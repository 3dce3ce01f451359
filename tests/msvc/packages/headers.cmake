# tarvix_header_folder(VARIABLE HEADER [FOLDER_OF_SYSTEM]): makes a folder that has the headers of one installed library
# and nothing else of the system's include folder, whose C library is another one.
function(tarvix_header_folder variable header)
  cmake_path(GET header PARENT_PATH name)
  find_path(found "${header}" PATHS /usr/include /usr/local/include PATH_SUFFIXES ${ARGN} NO_CACHE NO_DEFAULT_PATH
                                                                    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  set(folder "${PROJECT_BINARY_DIR}/headers")
  file(MAKE_DIRECTORY "${folder}")
  file(CREATE_LINK "${found}/${name}" "${folder}/${name}" SYMBOLIC)
  set(${variable} "${folder}" PARENT_SCOPE)
endfunction()

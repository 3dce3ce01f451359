# Finds OpenCV's cascade files for the faces. The target tarvix_cascades copies them beside the host's executable;
# TARVIX_CASCADES lists them for the installation. They are in the distribution's package opencv-data, on other
# systems in OpenCV's own folder.
set(TARVIX_CASCADES)
function(tarvix_find_cascade variable folder file)
  find_path(
    ${variable} ${file}
    HINTS "${OpenCV_DIR}" /usr/share/opencv4
    PATH_SUFFIXES ${folder} etc/${folder}
    DOC "Folder of OpenCV's ${folder}"
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT EXISTS "${${variable}}/${file}")
    message(FATAL_ERROR "${file} is missing: install the package opencv-data, or set ${variable} to the folder that has it")
  endif()
  list(APPEND TARVIX_CASCADES "${${variable}}/${file}")
  set(TARVIX_CASCADES "${TARVIX_CASCADES}" PARENT_SCOPE)
endfunction()
tarvix_find_cascade(TARVIX_HAAR_CASCADES haarcascades haarcascade_frontalface_alt.xml)
tarvix_find_cascade(TARVIX_LBP_CASCADES lbpcascades lbpcascade_frontalface.xml)

set(folder "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(is_multi_config)
  string(APPEND folder "/$<CONFIG>")
endif()
set(copies)
foreach(cascade IN LISTS TARVIX_CASCADES)
  get_filename_component(name "${cascade}" NAME)
  add_custom_command(
    OUTPUT "${folder}/${name}"
    COMMAND ${CMAKE_COMMAND} -E copy "${cascade}" "${folder}/${name}"
    DEPENDS "${cascade}"
    COMMENT "Copying ${name}"
    VERBATIM)
  list(APPEND copies "${folder}/${name}")
endforeach()
add_custom_target(tarvix_cascades ALL DEPENDS ${copies})
add_dependencies(Tarvix tarvix_cascades)

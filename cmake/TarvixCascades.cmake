# Finds OpenCV's cascade files for the faces. The target tarvix_cascades copies them beside the host's executable;
# TARVIX_CASCADES lists them for the installation. They are in the distribution's package opencv-data, on other
# systems in OpenCV's own folder. Package managers that install neither leave OpenCV's source archive, which has them, and
# also the photographs for the tests.
set(TARVIX_OPENCV_SOURCE "" CACHE PATH "An unpacked source archive of OpenCV: for its cascades and photographs, where these are not installed")
set(TARVIX_CASCADES)
set(cascade_places "${OpenCV_DIR}" "${TARVIX_OPENCV_SOURCE}")
set(cascade_advice "install the package opencv-data, or set")
if(MSVC)
  set(cascade_advice
      "vcpkg does not install it. Download and unpack https://github.com/opencv/opencv/archive/${OpenCV_VERSION}.zip and pass "
      "-DTARVIX_OPENCV_SOURCE=C:/.../opencv-${OpenCV_VERSION}, or set")
  list(JOIN cascade_advice "" cascade_advice)
else()
  list(APPEND cascade_places /usr/share/opencv4)
endif()
function(tarvix_find_cascade variable folder file)
  find_path(
    ${variable} ${file}
    HINTS ${cascade_places}
    PATH_SUFFIXES ${folder} etc/${folder} data/${folder}
    DOC "Folder of OpenCV's ${folder}"
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT EXISTS "${${variable}}/${file}")
    message(FATAL_ERROR "${file} is missing: ${cascade_advice} ${variable} to the folder that has it.")
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

# OpenCV 4.1 or later, but not 5.
set(modules
    core
    imgproc
    imgcodecs
    photo
    features2d
    flann
    calib3d
    objdetect
    videoio
    highgui
    stitching)
find_package(OpenCV 4.1 QUIET COMPONENTS ${modules})
if(NOT OpenCV_FOUND)
  foreach(version IN LISTS OpenCV_CONSIDERED_VERSIONS)
    if(version VERSION_GREATER_EQUAL 5)
      message(
        FATAL_ERROR
          "OpenCV ${version} is too new: Tarvix needs OpenCV 4 (4.1 or later), because OpenCV 5 has no cascade "
          "classifiers and no KAZE, AKAZE and BRISK features any more. Install OpenCV 4, or set OpenCV_DIR to the "
          "folder of its OpenCVConfig.cmake.")
    endif()
  endforeach()
  find_package(OpenCV 4.1 REQUIRED COMPONENTS ${modules}) # says what is missing
endif()

# As the file of OpenCV 5 answers to a wish for OpenCV 4.
set(PACKAGE_VERSION 5.0.0)
set(PACKAGE_VERSION_COMPATIBLE FALSE)

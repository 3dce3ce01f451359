# The Debian packages, one for each component: the module, what hosts are built with, the program tarvix.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL Runtime Development Host)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each component's description has its own first line
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")

set(library libtarvix${PROJECT_VERSION_MAJOR})
set(same_version "${library} (= ${PROJECT_VERSION})")
set(about
    "Tarvix is a dynamic library of computer-vision operations for applications
that display and process images: image operations, faces, perspective
geometry, features and stitching, calibration and stereo.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS opencv-data) # the cascades, for hosts that look for faces
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "computer-vision operations on bitmaps - shared libraries
${about}

This package contains the libraries that a host program loads.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtarvix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libopencv-dev) # to catch its exceptions by type
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "computer-vision operations on bitmaps - development files
${about}

This package contains the headers, a CMake package, a pkg-config file,
examples, and pages about each function.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME tarvix)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "${same_version}, opencv-data")
set(CPACK_DEBIAN_HOST_PACKAGE_SUGGESTS opencv-doc) # the photographs of "tarvix gallery"
set(CPACK_DEBIAN_HOST_DESCRIPTION "computer-vision operations on bitmaps - command-line program
${about}

This package contains a sample host: one sub-command for each operation, and
a gallery that shows them all on photographs.")

# Hosts that were linked with this version run with it and with later ones of the same name. CPack has one setting
# for all components, but only the libraries' package has libraries.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers"
                                                 "${PROJECT_BINARY_DIR}/debian/symbols") # complete.cmake writes it

# The other contents of a Debian package.
file(RELATIVE_PATH TARVIX_TO_SHARE "/${tarvix_host_dir}" "/share")
string(TIMESTAMP TARVIX_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/complete.cmake.in" "${PROJECT_BINARY_DIR}/debian/complete.cmake"
               @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/debian/complete.cmake")

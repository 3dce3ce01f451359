# Two headers without a folder of their own. The installed zconf.h is configured for a system with unistd.h.
set(folder "${PROJECT_BINARY_DIR}/headers")
file(MAKE_DIRECTORY "${folder}")
file(CREATE_LINK /usr/include/zlib.h "${folder}/zlib.h" SYMBOLIC)
file(READ /usr/include/zconf.h text)
string(REGEX REPLACE "#if 1([^\n]*\n#  *define Z_HAVE_UNISTD_H)" "#if 0\\1" text "${text}")
file(WRITE "${folder}/zconf.h" "${text}")
add_library(ZLIB::ZLIB INTERFACE IMPORTED)
set_target_properties(ZLIB::ZLIB PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${folder}")

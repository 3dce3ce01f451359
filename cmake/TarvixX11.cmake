# Tarvix::xcb: the X11 client library, for systems whose windows are X11's. The only place that looks for it.
if(NOT WIN32)
  find_library(TARVIX_XCB_LIBRARY xcb REQUIRED)
  find_path(TARVIX_XCB_INCLUDE_DIR xcb/xcb.h REQUIRED)
  add_library(Tarvix::xcb UNKNOWN IMPORTED)
  set_target_properties(Tarvix::xcb PROPERTIES IMPORTED_LOCATION "${TARVIX_XCB_LIBRARY}"
                                               INTERFACE_INCLUDE_DIRECTORIES "${TARVIX_XCB_INCLUDE_DIR}")
endif()

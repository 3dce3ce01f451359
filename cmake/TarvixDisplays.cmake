# Tarvix::xcb and Tarvix::wayland: the client libraries of X11 and Wayland, for systems whose windows are theirs. The
# only place that looks for them.
if(NOT WIN32)
  find_library(TARVIX_XCB_LIBRARY xcb REQUIRED)
  find_path(TARVIX_XCB_INCLUDE_DIR xcb/xcb.h REQUIRED)
  add_library(Tarvix::xcb UNKNOWN IMPORTED)
  set_target_properties(Tarvix::xcb PROPERTIES IMPORTED_LOCATION "${TARVIX_XCB_LIBRARY}"
                                               INTERFACE_INCLUDE_DIRECTORIES "${TARVIX_XCB_INCLUDE_DIR}")
  find_library(TARVIX_WAYLAND_LIBRARY wayland-client REQUIRED)
  find_path(TARVIX_WAYLAND_INCLUDE_DIR wayland-client-core.h REQUIRED)
  add_library(Tarvix::wayland UNKNOWN IMPORTED)
  set_target_properties(Tarvix::wayland PROPERTIES IMPORTED_LOCATION "${TARVIX_WAYLAND_LIBRARY}"
                                                   INTERFACE_INCLUDE_DIRECTORIES "${TARVIX_WAYLAND_INCLUDE_DIR}")
endif()

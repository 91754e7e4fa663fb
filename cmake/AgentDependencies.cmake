# What the agent needs beside what it shares with the relay.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  pkg_check_modules(libsecret REQUIRED IMPORTED_TARGET libsecret-1)
  pkg_check_modules(libplist REQUIRED IMPORTED_TARGET libplist-2.0)
  pkg_check_modules(libsystemd REQUIRED IMPORTED_TARGET libsystemd)
  pkg_check_modules(xcb REQUIRED IMPORTED_TARGET xcb xcb-ewmh xcb-icccm xcb-xtest)
endif()
set(qt_parts Core Gui Network Widgets)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  list(APPEND qt_parts DBus)
endif()
find_package(Qt6 6.4 REQUIRED COMPONENTS ${qt_parts})
pkg_check_modules(qrcodegencpp IMPORTED_TARGET qrcodegencpp)
if(NOT TARGET PkgConfig::qrcodegencpp)
  # The library's own makefiles, and packages that follow them, tell pkg-config nothing.
  find_library(QUILLARD_QRCODEGENCPP_LIBRARY qrcodegencpp REQUIRED)
  find_path(QUILLARD_QRCODEGENCPP_FOLDER qrcodegen.hpp PATH_SUFFIXES qrcodegencpp qrcodegen REQUIRED)
  add_library(PkgConfig::qrcodegencpp UNKNOWN IMPORTED)
  set_target_properties(PkgConfig::qrcodegencpp PROPERTIES
    IMPORTED_LOCATION ${QUILLARD_QRCODEGENCPP_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${QUILLARD_QRCODEGENCPP_FOLDER})
endif()

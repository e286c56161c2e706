# Installation and the Debian package.
#
#   scripts/build-release                            the optimised tree, build-release/
#   cmake --install build-release [--prefix DIR]     the programs, the stand-in library,
#                                                    man pages, desktop entry and icon
#   (cd build-release && cpack -G DEB)               sensiva-vrel_<version>_<arch>.deb
#
# What is installed runs for hours on a cell's computer: the package is made
# from an optimised tree only, and says which build it is.  Installing builds
# only what it installs (target installed_programs), not the test suites.
#
# Installed: vrel_util, the history program vrel_history, the simulated cell orvane-sim, the table builder
# bld_tables and the reference-standard control orvane-refcontrol into bin,
# liborvane_host into lib.  The utility starts the builder as
# /orvane/bin/bld_tables; orvane-sim makes that path point at the builder
# installed beside itself when the host's own is not there.  The programs
# find the library through their run path, $ORIGIN/../lib, wherever the
# tree is unpacked; on a station the host's own library of the same name
# takes its place (see README.md).

include(GNUInstallDirs)

set(VREL_INSTALLED_PROGRAMS vrel_util vrel_history orvane-sim bld_tables orvane-refcontrol)
set_target_properties(${VREL_INSTALLED_PROGRAMS} PROPERTIES
  INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

add_custom_target(installed_programs DEPENDS ${VREL_INSTALLED_PROGRAMS} orvane_host)
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS ${VREL_INSTALLED_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The run-time library only: no headers are installed, so no link-time name.
install(TARGETS orvane_host LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
install(FILES
  ${CMAKE_SOURCE_DIR}/docs/man/vrel_util.1
  ${CMAKE_SOURCE_DIR}/docs/man/vrel_history.1
  ${CMAKE_SOURCE_DIR}/docs/man/orvane-sim.1
  ${CMAKE_SOURCE_DIR}/docs/man/bld_tables.1
  ${CMAKE_SOURCE_DIR}/docs/man/orvane-refcontrol.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_SOURCE_DIR}/share/vrel_util.desktop ${CMAKE_SOURCE_DIR}/share/vrel_history.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${CMAKE_SOURCE_DIR}/share/vrel_util.svg
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

# The Debian package.
set(CPACK_PACKAGE_NAME "sensiva-vrel")
set(CPACK_PACKAGE_VENDOR "Sensiva")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Sensor calibration utility for engine test cells")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
  "The Sensiva Calibration Utility calibrates the analogue sensors of an engine\n"
  "test cell against a reference standard: As-Found, adjustment of the channel's\n"
  "table, Verification, with a history, data files and a CSV report per event,\n"
  "and vrel_history for the archive's drift, intervals and certificates.\n"
  "The package also holds a stand-in for the cell host's libraries, a simulated\n"
  "test cell (orvane-sim), its table builder and a reference-standard control\n"
  "for training.\n"
  "Build type: ${CMAKE_BUILD_TYPE}.")
set(CPACK_PACKAGE_CONTACT "Sensiva calibration software <vrel@sensiva.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "science")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
# Dependencies from the programs' own links when dpkg-shlibdeps is there
# (it names the packages of whatever Debian release builds the package);
# otherwise the run-time packages of Qt 5 Widgets, Qwt and GSL by name.
find_program(VREL_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(VREL_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The stand-in library ships in the package itself.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/lib")
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libc6, libstdc++6, libqt5core5a (>= 5.11), libqt5gui5 (>= 5.11), libqt5widgets5 (>= 5.11), libqwt-qt5-6, libgsl27")
endif()
# cpack refuses a tree that is not optimised, before it packs anything.
configure_file(${CMAKE_CURRENT_LIST_DIR}/CPackProjectConfig.cmake.in
  ${CMAKE_BINARY_DIR}/CPackProjectConfig.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/CPackProjectConfig.cmake)
include(CPack)

# Packages, built by `cpack` in a build folder: a .deb for Debian and derivatives, and a .tar.gz.
set(CPACK_PACKAGE_NAME orvel)
set(CPACK_PACKAGE_VENDOR "The Orvel developers")
set(CPACK_PACKAGE_CONTACT "The Orvel developers <${ORVEL_CONTACT}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "editor for the content archives of the game Tribes 2")
set(CPACK_PACKAGE_DESCRIPTION
  "Orvel edits the archives in which the game Tribes 2 stores its scripts,\n\
missions, textures and sounds. Each file opens in a program of your choice.\n\
A game that is installed under Wine is found automatically. An archive is\n\
never half written.")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB TGZ)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${ORVEL_SITE})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# xdg-utils and gio (libglib2.0-bin) open folders and texts; qt6-wayland gives sharp windows at each
# scale on Wayland.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, libglib2.0-bin, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS wine)
# The zip libraries are private; other packages do not link to them.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)

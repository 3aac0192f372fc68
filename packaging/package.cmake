# Packages, made by `cpack` in a build folder: a .deb for Debian and its like, a .tar.gz for others.
set(CPACK_PACKAGE_NAME orvel)
set(CPACK_PACKAGE_VENDOR "The Orvel developers")
set(CPACK_PACKAGE_CONTACT "The Orvel developers <${ORVEL_CONTACT}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "editor for the content archives of the game Tribes 2")
set(CPACK_PACKAGE_DESCRIPTION
  "Orvel opens the archives in which the game Tribes 2 keeps its scripts,\n\
missions, textures and sounds, and lets you change what is in them with your\n\
own programs. A game that is installed under Wine is found by itself. An\n\
archive is never half written.")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB TGZ)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${ORVEL_SITE})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Opening a folder asks the desktop's own opener; on Wayland, windows are sharp at every scale with
# Qt's part for it.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, libglib2.0-bin, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS wine)
# The companion libraries lie in a private folder and are no one else's to link with.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)

target_sources(orvel_platform PRIVATE
  posix/activationToken.cpp posix/activationToken.h
  posix/commandLine.cpp posix/commandLine.h
  posix/detached.cpp posix/detached.h
  posix/files.cpp
  posix/folders.cpp
  posix/library.cpp
  posix/narrow.cpp
  posix/paths.cpp posix/paths.h
  posix/shell.cpp
  posix/trash.cpp)

# The Wayland protocol for the focus of a program that is started.
find_package(PkgConfig REQUIRED)
pkg_check_modules(wayland REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(wayland_scanner wayland-scanner wayland_scanner)
pkg_get_variable(wayland_protocols wayland-protocols pkgdatadir)
set(protocol ${wayland_protocols}/staging/xdg-activation/xdg-activation-v1.xml)
set(generated ${CMAKE_BINARY_DIR}/generated/wayland)
file(MAKE_DIRECTORY ${generated})
add_custom_command(
  OUTPUT ${generated}/xdg-activation-v1.h ${generated}/xdg-activation-v1.c
  COMMAND ${wayland_scanner} client-header ${protocol} ${generated}/xdg-activation-v1.h
  COMMAND ${wayland_scanner} private-code ${protocol} ${generated}/xdg-activation-v1.c
  DEPENDS ${protocol}
  VERBATIM)
add_library(xdg_activation STATIC
  ${generated}/xdg-activation-v1.h ${generated}/xdg-activation-v1.c)
target_include_directories(xdg_activation SYSTEM PUBLIC ${generated})
target_link_libraries(xdg_activation PUBLIC PkgConfig::wayland)
target_link_libraries(orvel_platform PRIVATE xdg_activation)

# The package's data and private libraries relative to its programs, so that an installation can be
# moved as a whole.
file(RELATIVE_PATH data ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR}/orvel)
file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR}/orvel/modules)
set_property(SOURCE posix/folders.cpp APPEND PROPERTY
  COMPILE_DEFINITIONS ORVEL_DATA_FROM_BIN="${data}")
set_property(SOURCE posix/library.cpp APPEND PROPERTY
  COMPILE_DEFINITIONS ORVEL_LIBRARIES_FROM_BIN="${libraries}")

# In the build tree the Windows folder is beside the programs.
configure_file(posix/windows/NOTEPAD.EXE
  ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/windows/NOTEPAD.EXE COPYONLY)

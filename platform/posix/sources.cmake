target_sources(orvel_platform PRIVATE
  posix/commandLine.cpp posix/commandLine.h
  posix/detached.cpp posix/detached.h
  posix/files.cpp
  posix/folders.cpp
  posix/library.cpp
  posix/narrow.cpp
  posix/paths.cpp posix/paths.h
  posix/shell.cpp
  posix/trash.cpp)

find_package(Qt6 REQUIRED COMPONENTS Network)
target_link_libraries(orvel_forms PUBLIC Qt6::Network)

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

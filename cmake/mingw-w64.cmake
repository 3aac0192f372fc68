# Toolchain for 64-bit Windows with mingw-w64 and the static Qt of scripts/windows-qt.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# The target folder of scripts/windows-qt.
if(NOT DEFINED ORVEL_WINDOWS_DEPS)
  if(DEFINED ENV{ORVEL_WINDOWS_DEPS})
    set(deps $ENV{ORVEL_WINDOWS_DEPS})
  else()
    cmake_path(SET deps NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps)
  endif()
  set(ORVEL_WINDOWS_DEPS ${deps} CACHE PATH "The target folder of scripts/windows-qt")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVEL_WINDOWS_DEPS)

set(CMAKE_FIND_ROOT_PATH /usr/${triplet} ${ORVEL_WINDOWS_DEPS} ${ORVEL_WINDOWS_DEPS}/qt6-mingw)
set(CMAKE_PREFIX_PATH ${ORVEL_WINDOWS_DEPS}/qt6-mingw)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
# Static libraries only, so that the program needs no other files.
set(ZLIB_LIBRARY /usr/${triplet}/lib/libz.a CACHE FILEPATH "zlib, static")
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

# Qt's build tools are those of the host.
execute_process(COMMAND gcc -dumpmachine OUTPUT_VARIABLE host OUTPUT_STRIP_TRAILING_WHITESPACE)
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${host}/cmake)
set(Qt6HostInfo_DIR /usr/lib/${host}/cmake/Qt6HostInfo)

# Test programs run under Wine.
find_program(ORVEL_WINE NAMES wine wine64)
if(ORVEL_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ORVEL_WINE})
endif()

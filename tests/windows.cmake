# What tests need when they are built for Windows on another system.
if(NOT CMAKE_CROSSCOMPILING)
  return()
endif()

# No package has the test framework for Windows, but the distribution has its sources.
set(ORVEL_GTEST_SOURCES /usr/src/googletest CACHE PATH "The sources of GoogleTest")
set(gtest_force_shared_crt ON)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${ORVEL_GTEST_SOURCES} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

# One Wine prefix for all test programs, of the build's own; it is made by the first one.
set(ORVEL_TEST_ENVIRONMENT WINEPREFIX=${CMAKE_BINARY_DIR}/wine WINEDEBUG=-all
  ORVEL_TEST_FONT=Z:/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf)

if(ORVEL_SYSTEM STREQUAL posix)
  orvel_test(files_test
    SOURCES copyFileTest.cpp dosAttributesTest.cpp filesTest.cpp namesTest.cpp
            pathsTest.cpp sweepTest.cpp
    LIBRARIES orvel_platform)
  add_subdirectory(library)
  add_subdirectory(probe)
  add_subdirectory(shell)
endif()

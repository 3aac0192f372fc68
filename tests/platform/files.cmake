if(ORVEL_SYSTEM STREQUAL posix)
  orvel_test(files_test
    SOURCES filesTest.cpp namesTest.cpp pathsTest.cpp workFolderCleanerTest.cpp
            posix/filesTest.cpp posix/workFolderCleanerTest.cpp
    LIBRARIES orvel_platform)
  add_subdirectory(probe)
  add_subdirectory(shell)
endif()

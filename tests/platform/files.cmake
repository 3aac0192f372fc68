orvel_test(storage_test
  SOURCES storageTest.cpp ${ORVEL_SYSTEM}/storageTest.cpp storageFixture.h
  LIBRARIES orvel_storage)
if(ORVEL_SYSTEM STREQUAL posix)
  orvel_test(files_test
    SOURCES filesTest.cpp namesTest.cpp pathsTest.cpp sweepTest.cpp
            posix/filesTest.cpp posix/sweepTest.cpp
    LIBRARIES orvel_platform)
  add_subdirectory(probe)
  add_subdirectory(shell)
endif()

if(ORVEL_SYSTEM STREQUAL posix)
  set(zones container/dostimeTest.cpp) # names time zones in the POSIX way
endif()
orvel_test(ziplib_container_test
  SOURCES container/codecTest.cpp container/directoryTest.cpp container/lineendsTest.cpp
          container/namesTest.cpp container/patternTest.cpp container/workersTest.cpp ${zones}
  LIBRARIES ziplib_container Threads::Threads)

# What follows makes links, pipes and processes of POSIX.
if(NOT ORVEL_SYSTEM STREQUAL posix)
  return()
endif()

orvel_test(storage_test SOURCES storageTest.cpp LIBRARIES orvel_storage)

# Fixed time zone: times in archives are local. Large archives are made by the script.
orvel_test(vl2uzip_test
  SOURCES vl2uzip/archivesTest.cpp vl2uzip/callbacksTest.cpp vl2uzip/diskTest.cpp
          vl2uzip/hostileTest.cpp vl2uzip/largeTest.cpp vl2uzip/optionsTest.cpp
          vl2uzip/passwordTest.cpp vl2uzip/unzipCall.cpp vl2uzip/unzipCall.h
  LIBRARIES vl2uzip
  ENVIRONMENT TZ=UTC)

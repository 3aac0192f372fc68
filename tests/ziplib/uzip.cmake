if(ORVEL_SYSTEM STREQUAL posix)
  set(zones format/dosTimeTest.cpp)   # names time zones in the POSIX form
  set(disks vl2uzip/posix/diskTest.cpp)  # links, pipes, small disks and low limits
endif()
orvel_test(ziplib_shared_test
  SOURCES codec/codecTest.cpp format/namesTest.cpp format/recordsTest.cpp
          common/patternTest.cpp ${zones}
  LIBRARIES ziplib_shared Threads::Threads)

# Fixed time zone: times in archives are local.
orvel_test(vl2uzip_test
  SOURCES vl2uzip/archivesTest.cpp vl2uzip/callbacksTest.cpp
          vl2uzip/hostileTest.cpp vl2uzip/optionsTest.cpp
          vl2uzip/unzipCall.cpp vl2uzip/unzipCall.h ${disks}
  LIBRARIES vl2uzip orvel_storage
  ENVIRONMENT TZ=UTC)

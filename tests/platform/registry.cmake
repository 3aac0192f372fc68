if(ORVEL_SYSTEM STREQUAL posix)
  orvel_test(hiveTest
    SOURCES hiveTest.cpp hiveValueTest.cpp hiveFileTest.cpp
    LIBRARIES orvel_platform)
  orvel_test(registryTest
    SOURCES registryTest.cpp
    LIBRARIES orvel_platform)
endif()

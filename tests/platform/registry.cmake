if(ORVEL_SYSTEM STREQUAL posix)
  orvel_test(hive_test
    SOURCES hiveTest.cpp hiveValueTest.cpp
    LIBRARIES orvel_platform)
endif()

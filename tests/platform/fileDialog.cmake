# By the execute bit, or by their names alone.
set(programs "my tool|PAINT.EXE|Setup.exe|tool")
if(WIN32)
  set(programs "PAINT.EXE|Setup.exe")
endif()
orvel_test(fileDialogTest SOURCES fileDialogTest.cpp
           LIBRARIES orvel_forms Qt6::Test orvel_test_main)
target_compile_definitions(fileDialogTest PRIVATE ORVEL_PROGRAMS="${programs}")

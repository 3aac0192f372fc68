if(ORVEL_SYSTEM STREQUAL windows)
  add_executable(command_recorder windows/recorder.cpp)
  target_link_libraries(command_recorder PRIVATE orvel_warnings)

  orvel_test(windows_storage_test SOURCES windows/storageTest.cpp windows/scratchFolder.h
    LIBRARIES orvel_storage)
  orvel_test(windows_files_test
    SOURCES windows/filesTest.cpp windows/registryTest.cpp windows/shellTest.cpp
            windows/sweepTest.cpp windows/scratchFolder.h namesTest.cpp
    LIBRARIES orvel_platform)
  add_dependencies(windows_files_test command_recorder)
endif()

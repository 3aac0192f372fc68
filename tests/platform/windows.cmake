if(ORVEL_SYSTEM STREQUAL windows)
  add_executable(command_recorder windows/recorder.cpp)
  target_link_libraries(command_recorder PRIVATE orvel_warnings)

  orvel_test(windows_files_test
    SOURCES filesTest.cpp namesTest.cpp workFolderCleanerTest.cpp windows/filesTest.cpp ../registry/windows/registryTest.cpp
            windows/shellTest.cpp
    LIBRARIES orvel_registry orvel_platform)
  add_dependencies(windows_files_test command_recorder)
endif()

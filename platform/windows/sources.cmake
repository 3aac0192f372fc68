target_sources(orvel_storage PRIVATE
  windows/storage_claim.cpp
  windows/storage_commit.cpp
  windows/storage_folder.cpp
  windows/storage_info.cpp
  windows/storage_input.cpp
  windows/storage_newfile.cpp
  windows/storage_paths.cpp
  windows/storage_system.cpp windows/storage_system.h
  windows/storage_time.cpp)
target_link_libraries(orvel_storage PUBLIC ntdll advapi32 user32)

target_sources(orvel_platform PRIVATE
  windows/copyFile.cpp
  windows/files.cpp
  windows/folders.cpp
  windows/library.cpp
  windows/narrow.cpp
  windows/paths.cpp
  windows/registry.cpp
  windows/shell.cpp
  windows/sweep.cpp
  windows/system.h)
target_link_libraries(orvel_platform PUBLIC advapi32 shell32 user32)

target_sources(orvel_forms PRIVATE windows/fileDialog.cpp windows/systemMenu.cpp)

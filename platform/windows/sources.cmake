target_sources(orvel_platform PRIVATE
  windows/files.cpp
  windows/folders.cpp
  windows/library.cpp
  windows/narrow.cpp
  windows/paths.cpp
  windows/shell.cpp
  windows/system.h
  windows/trash.cpp)
target_link_libraries(orvel_platform PUBLIC advapi32 shell32 user32)

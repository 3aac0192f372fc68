target_sources(orvel_storage PRIVATE
  posix/copyRange.cpp posix/copyRange.h posix/diskKind.cpp posix/diskKind.h posix/dosRecord.cpp
  posix/dosRecord.h posix/fileLock.cpp posix/fileLock.h posix/storage_claim.cpp posix/storage_commit.cpp posix/storage_error.cpp
  posix/storage_error.h posix/storage_folder.cpp posix/storage_info.cpp posix/storage_info.h
  posix/storage_input.cpp posix/storage_newfile.cpp posix/storage_paths.cpp
  posix/writeBehind.cpp posix/writeBehind.h)
target_sources(orvel_platform PRIVATE posix/narrow.cpp)
target_sources(orvel_forms PRIVATE posix/fileDialog.cpp posix/systemMenu.cpp)
include(${CMAKE_CURRENT_LIST_DIR}/registry.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/files.cmake)

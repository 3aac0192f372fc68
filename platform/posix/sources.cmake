target_sources(orvel_storage PRIVATE posix/placeholder.cpp)
target_sources(orvel_platform PRIVATE posix/narrow.cpp)
target_sources(orvel_forms PRIVATE posix/fileDialog.cpp posix/systemMenu.cpp)
include(${CMAKE_CURRENT_LIST_DIR}/registry.cmake)

add_library(ziplib_container STATIC container/bytes.h container/placeholder.cpp)
target_link_libraries(ziplib_container
  PUBLIC orvel_warnings orvel_storage
  PRIVATE Deflate::Deflate ZLIB::ZLIB Threads::Threads)
set_target_properties(ziplib_container PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

# With the widest registers that the compiler knows and, where it runs, the processor has. Windows
# compilers do not align the stack for them.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND NOT WIN32)
  set(crc container/crcWide.cpp)
else()
  set(crc container/crc.cpp)
endif()

add_library(ziplib_container STATIC
  ${crc} container/bytes.h
  container/code.h container/codec.cpp container/codec.h container/codecStream.cpp
  container/crypt.cpp container/crypt.h
  container/directory.cpp container/directory.h container/properties.cpp
  container/dostime.cpp container/dostime.h
  container/endrecord.cpp container/endrecord.h
  container/interfaceText.cpp container/interfaceText.h
  container/leftovers.cpp container/leftovers.h
  container/lineends.cpp container/lineends.h
  container/loan.h
  container/local.cpp container/local.h
  container/names.cpp container/names.h
  container/pattern.cpp container/pattern.h
  container/records.h
  container/utf8.cpp container/utf8.h
  container/workers.cpp container/workers.h)
target_link_libraries(ziplib_container
  PUBLIC orvel_warnings orvel_storage
  PRIVATE Deflate::Deflate ZLIB::ZLIB Threads::Threads)
set_target_properties(ziplib_container PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

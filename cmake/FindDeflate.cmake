# Finds libdeflate, since not every version has a CMake package.
find_path(DEFLATE_INCLUDE_DIR libdeflate.h)
find_library(DEFLATE_LIBRARY NAMES deflate libdeflate)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Deflate REQUIRED_VARS DEFLATE_LIBRARY DEFLATE_INCLUDE_DIR)
if(Deflate_FOUND AND NOT TARGET Deflate::Deflate)
  add_library(Deflate::Deflate UNKNOWN IMPORTED)
  set_target_properties(Deflate::Deflate PROPERTIES
    IMPORTED_LOCATION ${DEFLATE_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${DEFLATE_INCLUDE_DIR})
endif()
mark_as_advanced(DEFLATE_INCLUDE_DIR DEFLATE_LIBRARY)

# Tests of vl2zip. Each calls the library itself and asks Python, 7-Zip and bsdtar about the result.
add_library(zip_packer STATIC vl2zip/packer.cpp)
target_link_libraries(zip_packer PUBLIC orvel_warnings orvel_test_support vl2zip)
target_compile_definitions(zip_packer PRIVATE ORVEL_JUDGE="${CMAKE_CURRENT_SOURCE_DIR}/judge.py")

foreach(unit inOrder pack packFaults packOptions records)
  # What only one system has: links and pipes, other users, small disks.
  set(own vl2zip/${ORVEL_SYSTEM}/${unit}Test.cpp)
  if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${own})
    set(own)
  endif()
  orvel_test(${unit}Test SOURCES vl2zip/${unit}Test.cpp ${own} LIBRARIES zip_packer ziplib_pack)
endforeach()

# Tests of vl2zip. Each calls the library itself and asks Python, 7-Zip and bsdtar about the result.
add_library(zip_packer STATIC vl2zip/packer.cpp)
target_link_libraries(zip_packer PUBLIC orvel_warnings vl2zip)
target_compile_definitions(zip_packer PRIVATE ORVEL_JUDGE="${CMAKE_CURRENT_SOURCE_DIR}/judge.py")

foreach(unit inOrder lineEnds pack packFaults packOptions records)
  orvel_test(${unit}Test SOURCES vl2zip/${unit}Test.cpp LIBRARIES zip_packer ziplib_pack)
endforeach()

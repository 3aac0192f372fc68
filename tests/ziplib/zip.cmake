# Tests of vl2zip. Each calls the library itself and asks Python, 7-Zip and bsdtar about the result.
add_library(zip_packer STATIC vl2zip/packer.cpp)
target_link_libraries(zip_packer PUBLIC orvel_warnings orvel_test_support vl2zip)
target_compile_definitions(zip_packer PRIVATE ORVEL_JUDGE="${CMAKE_CURRENT_SOURCE_DIR}/judge.py")

foreach(unit pack packFaults packOptions records)
  # What only one system has: links, pipes, other users; files that a program keeps to itself.
  set(own vl2zip/${ORVEL_SYSTEM}/${unit}Test.cpp)
  if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${own})
    set(own)
  endif()
  orvel_test(${unit}Test SOURCES vl2zip/${unit}Test.cpp ${own} LIBRARIES zip_packer vl2zip_parts)
endforeach()

orvel_test(orderedParallelForTest SOURCES common/orderedParallelForTest.cpp LIBRARIES ziplib_shared Threads::Threads)

add_executable(saveDriver vl2zip/saveDriver.cpp)
target_link_libraries(saveDriver PRIVATE zip_packer)
set_target_properties(saveDriver PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
if(CMAKE_CROSSCOMPILING)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  foreach(script same_bytes save_together)
    add_test(NAME ziplib.${script}
      COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/${script}.py
              $<TARGET_FILE:saveDriver> ${CMAKE_CURRENT_BINARY_DIR}/${script})
    set_tests_properties(ziplib.${script} PROPERTIES
      TIMEOUT 600 ENVIRONMENT "${ORVEL_TEST_ENVIRONMENT}")
  endforeach()
endif()

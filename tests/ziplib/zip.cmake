# Tests of vl2zip. Each calls the library itself; Python, 7-Zip and bsdtar check the result.
add_library(zip_packer STATIC vl2zip/packer.cpp)
target_link_libraries(zip_packer PUBLIC orvel_warnings orvel_test_support vl2zip GTest::gtest
  PRIVATE ziplib_shared)
target_compile_definitions(zip_packer PRIVATE
  ORVEL_ARCHIVE_SCRIPT="${CMAKE_SOURCE_DIR}/tests/support/archives.py")

orvel_test(vl2zip_test
  SOURCES vl2zip/packTest.cpp vl2zip/packFaultsTest.cpp vl2zip/packOptionsTest.cpp vl2zip/scanTest.cpp
          vl2zip/${ORVEL_SYSTEM}/packFaultsTest.cpp
  LIBRARIES zip_packer vl2zip_parts)

# Saves by several processes, and by both systems.
add_executable(saveDriver vl2zip/saveDriver.cpp)
target_link_libraries(saveDriver PRIVATE zip_packer)
set_target_properties(saveDriver PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(runs together)
if(CMAKE_CROSSCOMPILING)
  list(APPEND runs same-bytes)
endif()
foreach(run IN LISTS runs)
  add_test(NAME saves.${run}
    COMMAND ${ORVEL_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/saves.py ${run}
            ${CMAKE_CURRENT_BINARY_DIR}/saves-${run} ${CMAKE_CROSSCOMPILING_EMULATOR}
            $<TARGET_FILE:saveDriver>)
  set_tests_properties(saves.${run} PROPERTIES
    TIMEOUT 600 ENVIRONMENT "${ORVEL_TEST_ENVIRONMENT}")
endforeach()

# Tests of vl2zip. Each calls the library itself and asks Python, 7-Zip and bsdtar about the result.
add_library(zip_packer STATIC vl2zip/packer.cpp)
target_link_libraries(zip_packer PUBLIC orvel_warnings vl2zip)
target_compile_definitions(zip_packer PRIVATE ORVEL_JUDGE="${CMAKE_CURRENT_SOURCE_DIR}/judge.py")

foreach(unit inOrder lineEnds pack packFaults packOptions records)
  orvel_test(${unit}Test SOURCES vl2zip/${unit}Test.cpp LIBRARIES zip_packer ziplib_pack)
endforeach()

# Saves that are killed. The sanitizers' own runtime would have to be loaded first.
if(NOT ORVEL_SANITIZE AND NOT WIN32)
  add_library(kill_at SHARED vl2zip/killAt.cpp)
  target_link_libraries(kill_at PRIVATE orvel_warnings ${CMAKE_DL_LIBS})
  add_executable(zip_packer_main vl2zip/packerMain.cpp)
  target_link_libraries(zip_packer_main PRIVATE zip_packer)
  orvel_test(packKillTest SOURCES vl2zip/packKillTest.cpp LIBRARIES zip_packer)
  target_compile_definitions(packKillTest PRIVATE
    ORVEL_KILL_AT_LIBRARY="$<TARGET_FILE:kill_at>" ORVEL_PACKER="$<TARGET_FILE:zip_packer_main>")
  add_dependencies(packKillTest kill_at zip_packer_main)
endif()

# Stands for the user's programs.
add_executable(stand_in standIn.cpp standIn.h ${ORVEL_SYSTEM}/standIn.cpp)
target_link_libraries(stand_in PRIVATE orvel_warnings)

foreach(unit editFile editFolder)
  set(own ${ORVEL_SYSTEM}/${unit}Test.cpp)
  if(NOT EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${own})
    set(own)
  endif()
  orvel_test(${unit}Test LIBRARIES orvel_ui workspace_test_window orvel_test_main
    SOURCES ${unit}Test.cpp ${own} editWindow.cpp editWindow.h ${ORVEL_SYSTEM}/editWindow.cpp)
  target_compile_definitions(${unit}Test PRIVATE ORVEL_STAND_IN="$<TARGET_FILE:stand_in>")
  add_dependencies(${unit}Test vl2uzip vl2zip stand_in)
endforeach()

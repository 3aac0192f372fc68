foreach(unit editFile editFolder)
  orvel_test(${unit}Test LIBRARIES orvel_ui orvel_test_main
    SOURCES ${unit}Test.cpp editWindow.cpp editWindow.h window.cpp window.h)
  add_dependencies(${unit}Test vl2uzip vl2zip)
endforeach()

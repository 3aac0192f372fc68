set(own)
if(ORVEL_SYSTEM STREQUAL posix)
  set(own posix/modRegistryTest.cpp)
endif()
orvel_test(modRegistryTest SOURCES modRegistryTest.cpp ${own} LIBRARIES orvel_core)

orvel_test(orvelRegTest
  SOURCES orvelRegTest.cpp orvelReg.h ${ORVEL_SYSTEM}/orvelRegTest.cpp LIBRARIES orvel_core)
add_dependencies(orvelRegTest orvel-reg)
target_compile_definitions(orvelRegTest PRIVATE
  ORVEL_REG="$<TARGET_FILE:orvel-reg>" ORVEL_VERSION="${PROJECT_VERSION}")

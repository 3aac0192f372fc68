# The interface target with the compile options of all targets.
add_library(orvel_warnings INTERFACE)
option(ORVEL_STRICT "Treat warnings as errors; newer compilers may have new warnings" OFF)
target_compile_options(orvel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ORVEL_STRICT}>:-Werror>
  # GCC 12 reports false overlaps and bounds in std::string with full optimisation. Only in that configuration,
  # since clang-tidy reads the options of the other builds and does not know this one.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-stringop-overflow>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-array-bounds>)
target_include_directories(orvel_warnings INTERFACE ${CMAKE_SOURCE_DIR})

if(ORVEL_SANITIZE)
  # With their checks in between, GCC 12 takes what a std::optional does not hold for uninitialised.
  target_compile_options(orvel_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_compile_options(-fsanitize=${ORVEL_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVEL_SANITIZE})
endif()
if(ORVEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Hardening options of distributions, since the program reads untrusted archives. On Windows they
# require a library that not all compilers have.
if(NOT WIN32)
  add_compile_options($<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2> $<$<CONFIG:Release>:-fstack-protector-strong>)
endif()
add_link_options($<$<AND:$<CONFIG:Release>,$<PLATFORM_ID:Linux>>:LINKER:-z,relro,-z,now>)

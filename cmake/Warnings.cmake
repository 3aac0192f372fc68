# One interface target holds what every target of the project is compiled with.
add_library(orvel_warnings INTERFACE)
option(ORVEL_STRICT "Fail at warnings; newer compilers may have some that nobody has seen" OFF)
target_compile_options(orvel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ORVEL_STRICT}>:-Werror>
  # GCC 12 sees an overlap in std::string's own code when it optimises fully. Only there: the
  # static checks read the other builds' options, and do not know this one.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
target_include_directories(orvel_warnings INTERFACE ${CMAKE_SOURCE_DIR})

if(ORVEL_SANITIZE)
  add_compile_options(-fsanitize=${ORVEL_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVEL_SANITIZE})
endif()
if(ORVEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What reads archives from strangers is built as distributions build such programs. Compilers for
# Windows need a library of their own for that, which not all of them have.
if(NOT WIN32)
  add_compile_options($<$<CONFIG:Release>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2> $<$<CONFIG:Release>:-fstack-protector-strong>)
endif()
add_link_options($<$<AND:$<CONFIG:Release>,$<PLATFORM_ID:Linux>>:LINKER:-z,relro,-z,now>)

# Icon, version and manifest of the programs and libraries.
enable_language(RC)

# The icon file combines the pictures of all sizes.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(ORVEL_ICON ${CMAKE_BINARY_DIR}/generated/orvel.ico)
set(pictures)
foreach(size 16 24 32 48 64 128 256)
  list(APPEND pictures ${CMAKE_SOURCE_DIR}/assets/application/${size}.png)
endforeach()
add_custom_command(OUTPUT ${ORVEL_ICON}
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/make_icon.py ${ORVEL_ICON} ${pictures}
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/make_icon.py ${pictures} VERBATIM)
add_custom_target(orvel_icon DEPENDS ${ORVEL_ICON})

function(orvel_windows_file target name type description)
  set(ORVEL_FILE_NAME ${name})
  set(ORVEL_FILE_TYPE ${type})
  set(ORVEL_DESCRIPTION ${description})
  set(file ${CMAKE_BINARY_DIR}/generated/${target}.rc)
  configure_file(${CMAKE_SOURCE_DIR}/platform/windows/orvel.rc.in ${file} @ONLY)
  set_source_files_properties(${file} TARGET_DIRECTORY ${target} PROPERTIES OBJECT_DEPENDS ${ORVEL_ICON})
  target_sources(${target} PRIVATE ${file})
  add_dependencies(${target} orvel_icon)
endfunction()

orvel_windows_file(orvel orvel.exe VFT_APP "Orvel, editor for the archives of Tribes 2")
orvel_windows_file(orvel-reg orvel-reg.exe VFT_APP "Settings of Orvel")
orvel_windows_file(vl2uzip vl2uzip.dll VFT_DLL "Reading of archives for Orvel")
orvel_windows_file(vl2zip vl2zip.dll VFT_DLL "Writing of archives for Orvel")

foreach(program orvel orvel-reg)
  target_sources(${program} PRIVATE ${CMAKE_SOURCE_DIR}/platform/windows/manifest.rc)
endforeach()
set_source_files_properties(${CMAKE_SOURCE_DIR}/platform/windows/manifest.rc
  TARGET_DIRECTORY orvel orvel-reg
  PROPERTIES OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/platform/windows/orvel.manifest)
# No console window beside the program's.
set_target_properties(orvel PROPERTIES WIN32_EXECUTABLE ON)
foreach(target orvel orvel-reg vl2uzip vl2zip)
  target_link_options(${target} PRIVATE $<$<CONFIG:MinSizeRel,Release>:-s>)
endforeach()

# Adding to zip archives, updating them and deleting from them.
set(vl2zip_sources
  background.cpp commit.cpp entrypaths.cpp entryreader.cpp examine.cpp failures.cpp folderpool.cpp
  inorder.cpp layout.cpp lookagain.cpp
  output.cpp pack.cpp packed.cpp plan.cpp records.cpp report.cpp rewrite.cpp scan.cpp
  selection.cpp source.cpp target.cpp update.cpp verdicts.cpp verify.cpp)
list(TRANSFORM vl2zip_sources PREPEND vl2zip/)

# Apart from the library, so that tests can reach what it does not export.
add_library(ziplib_pack STATIC ${vl2zip_sources})
target_link_libraries(ziplib_pack PUBLIC ziplib_container Threads::Threads)
set_target_properties(ziplib_pack PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

target_sources(vl2zip PRIVATE vl2zip/vl2zip.cpp)
target_link_libraries(vl2zip PRIVATE ziplib_pack)

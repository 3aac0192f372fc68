target_sources(vl2uzip PRIVATE
  vl2uzip.h
  vl2uzip/caller.cpp vl2uzip/caller.h
  vl2uzip/entryReader.cpp vl2uzip/entryReader.h
  vl2uzip/extractTask.cpp vl2uzip/extractTask.h
  vl2uzip/extraction.cpp vl2uzip/extraction.h
  vl2uzip/fileSink.cpp vl2uzip/fileSink.h
  vl2uzip/folderTree.cpp vl2uzip/folderTree.h
  vl2uzip/listing.cpp vl2uzip/listing.h
  vl2uzip/nameFilter.cpp vl2uzip/nameFilter.h
  vl2uzip/callResult.cpp vl2uzip/callResult.h
  vl2uzip/ownFiles.h
  vl2uzip/passwords.cpp vl2uzip/passwords.h
  vl2uzip/plan.cpp vl2uzip/plan.h
  vl2uzip/request.cpp vl2uzip/request.h
  vl2uzip/vl2uzip.cpp)
target_compile_definitions(vl2uzip PRIVATE
  VL2_VERSION_MAJOR=${PROJECT_VERSION_MAJOR} VL2_VERSION_MINOR=${PROJECT_VERSION_MINOR}
  VL2_VERSION_PATCH=${PROJECT_VERSION_PATCH})

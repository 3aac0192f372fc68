# Sources that are the same on every system.
target_sources(orvel_platform PRIVATE error.cpp error.h namePattern.cpp namePattern.h packedFiles.cpp packedFiles.h)
target_sources(orvel_forms PRIVATE forms.cpp fileDialog.cpp fileDialog.h)
target_sources(orvel_storage PRIVATE
  diskTime.cpp keptFile.cpp status.h storage.h place.cpp
  safePath.cpp safePath.h temporary.cpp temporary.h)

# Sources that are the same on every system.
target_sources(orvel_platform PRIVATE error.cpp error.h namePattern.cpp namePattern.h)
target_sources(orvel_forms PRIVATE forms.cpp fileDialog.cpp fileDialog.h)
target_sources(orvel_storage PRIVATE
  keptFile.cpp status.h storage.h place.cpp temporary.cpp temporary.h)

target_sources(orvel_platform PRIVATE
  posix/descriptor.h
  posix/hive.cpp posix/hive.h
  posix/hiveFile.cpp posix/hiveFile.h
  posix/hiveValue.cpp posix/hiveValue.h
  posix/registry.cpp
  posix/registryFiles.cpp posix/registryFiles.h
  posix/registryText.cpp posix/registryText.h
  posix/replaceFile.cpp posix/replaceFile.h)

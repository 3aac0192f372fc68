# The folder with the sources for the target system, in platform/, registry/ and storage/.
if(WIN32)
  set(ORVEL_SYSTEM windows)
else()
  set(ORVEL_SYSTEM posix)
endif()

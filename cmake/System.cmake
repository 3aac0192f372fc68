# The folder under platform/ that holds the sources for the system built for.
if(WIN32)
  set(ORVEL_SYSTEM windows)
else()
  set(ORVEL_SYSTEM posix)
endif()

# Sources that are the same on every system.
target_sources(orvel_platform PRIVATE error.cpp)

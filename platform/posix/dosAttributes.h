#pragma once

#include <sys/stat.h>

// DOS attributes by path, kept as dosRecord.h says.
namespace platform {

// Hidden, system and archive bits of what the path leads to; 0 where nothing is kept.
int storedBits(const char *path);

// All bits of what the path leads to, directory bit included. `info` is its stat.
int attributeBits(const char *path, const struct stat &info);

// Makes read-only, hidden, system and archive exactly `value`. Returns 0 or an errno.
int applyAttributes(const char *path, const struct stat &info, int value);

} // namespace platform

#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

// Functions for files and for the own process that the standard library lacks.

// A new folder among the temporary ones.
std::filesystem::path makeScratchFolder();
// Removes a folder with all that is in it, read-only files too.
void removeTree(const std::filesystem::path &folder);

// Makes a link to a file or folder. False where the system or the disk has none.
bool makeLink(const std::filesystem::path &target, const std::filesystem::path &link);

// When a file, or the link itself, was changed last: nanoseconds since 1970; -1 where it is
// missing.
std::int64_t fileTime(const std::filesystem::path &file);
void setFileTime(const std::filesystem::path &file, std::int64_t seconds);

// Read-only, hidden and system as DOS numbers them.
int dosAttributes(const std::filesystem::path &file);
// False where the disk has no place for them.
bool setDosAttributes(const std::filesystem::path &file, int attributes);

// Files and other things that this process holds open.
std::size_t openHandles();
// The peak memory of this process, in bytes.
std::uint64_t peakMemory();

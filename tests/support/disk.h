#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

// Files and the test process, beyond the standard library.

// Makes a new temporary folder.
std::filesystem::path makeScratchFolder();
// Removes a folder and everything in it, read-only files too.
void removeTree(const std::filesystem::path &folder);

// Makes a link to a file or folder. False if the system or the disk supports none.
bool makeLink(const std::filesystem::path &target, const std::filesystem::path &link);

// The modification time of a file, or of the link itself: nanoseconds since 1970; -1 if it is
// missing.
std::int64_t fileTime(const std::filesystem::path &file);
void setFileTime(const std::filesystem::path &file, std::int64_t seconds);

// The read-only, hidden and system attributes, with their DOS numbers.
int dosAttributes(const std::filesystem::path &file);
// False if the disk cannot store them.
bool setDosAttributes(const std::filesystem::path &file, int attributes);

// The number of files and other handles that this process has open.
std::size_t openHandles();
// The peak memory of this process, in bytes.
std::uint64_t peakMemory();

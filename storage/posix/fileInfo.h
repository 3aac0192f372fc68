#pragma once

#include "storage/storage.h"

#include <sys/stat.h>

namespace platform {

class Disk;

// The path to what a descriptor refers to, for calls that take no descriptor.
std::string pathThrough(int descriptor);

FileInfo fileInfo(const struct stat &st);
FileInfo fileInfo(const struct statx &st);

// Opens an ordinary file in a folder; `shown` is its path for messages.
Status openInputAt(int folder, const std::string &name, const std::string &shown, bool followLinks,
                   int &descriptor, FileInfo &info);

// What root creates in the folder of another user belongs to that user, who could not change it
// otherwise.
void giveToOwnerOf(int folder, int file);

// Reads and writes the extended attribute that holds the DOS bits, as Samba and Wine keep it.
std::uint8_t readDosBits(Disk &disk, int descriptor);
std::uint8_t readDosBits(Disk &disk, const std::string &path);
Status writeDosBits(Disk &disk, int descriptor, std::uint8_t bits, const std::string &shown);
// The same for an item of a folder, without opening it; links are not followed.
std::uint8_t readDosBitsAt(Disk &disk, int folder, const std::string &name);
// `dropped`: whether there were any.
Status dropDosBitsAt(Disk &disk, int folder, const std::string &name, const std::string &shown,
                     bool &dropped);
// Copies every extended attribute that can be copied.
void copyAttributes(int from, int to);

} // namespace platform

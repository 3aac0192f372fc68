#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <sys/types.h>

// DOS attributes on disks without them, in the form of Samba and Wine: hidden, system and archive
// in an extended attribute, read-only as the owner's missing write bit.
namespace platform {

// The extended attribute's name.
inline constexpr const char *kDosAttributeName = "user.DOSATTRIB";

// Hidden, system and archive in a value of that attribute: a number as text ("0x22"), or Samba's
// binary record of any version. 0 for any other value.
std::uint8_t dosBitsOf(std::string_view value);

// The bits recorded for a file. `read` returns the attribute's value in the manner of getxattr,
// also for a buffer of size 0.
std::uint8_t readDosBits(const std::function<ssize_t(void *value, std::size_t size)> &read);

// Whether a file of this mode is read-only.
inline bool isReadOnly(mode_t mode) {
    return (mode & S_IWUSR) == 0;
}

} // namespace platform

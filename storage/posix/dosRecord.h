#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <sys/types.h>

// DOS attributes on disks that know none, as Samba and Wine keep them: hidden, system and archive
// in an extended attribute, read-only as the owner's missing write bit.
namespace platform {

// The extended attribute's name.
inline constexpr const char *kDosAttributeName = "user.DOSATTRIB";

// The bits that a value of that attribute stands for, of hidden, system and archive: a number as
// text ("0x22"), or Samba's binary record of any version. 0 where it is neither.
std::uint8_t dosBitsOf(std::string_view value);

// The bits kept for a file. `read` gives the attribute's value as getxattr does, for a buffer of
// size 0 too.
std::uint8_t readDosBits(const std::function<ssize_t(void *value, std::size_t size)> &read);

// Whether a file of this mode is read-only.
inline bool isReadOnly(mode_t mode) {
    return (mode & S_IWUSR) == 0;
}

} // namespace platform

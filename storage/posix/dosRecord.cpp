#include "storage/posix/dosRecord.h"

#include "storage/storage.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace platform {

namespace {

constexpr std::uint8_t kKeptBits = kAttributeHidden | kAttributeSystem | kAttributeArchive;

// Samba's record: a text, which is empty in all but the oldest versions, then little-endian
// numbers.
constexpr std::size_t kRecordVersion = 2;
constexpr std::size_t kRecordFirst = 8;
constexpr std::size_t kRecordSecond = 12;
constexpr std::uint32_t kCompatibleVersion = 0xFFFF;

// 0 if the value is too short.
std::uint32_t numberAt(std::string_view value, std::size_t at, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; at + size <= value.size() && i-- > 0;)
        number = number << 8U | static_cast<unsigned char>(value[at + i]);
    return number;
}

std::uint32_t bitsOfRecord(std::string_view value) {
    const std::uint32_t version = numberAt(value, kRecordVersion, 2);
    switch (version) {
    case 0:
        return 0;
    case 1:
    case kCompatibleVersion:
        return numberAt(value, kRecordFirst, 4);
    case 2: // flags first, which say nothing of the bits
        return numberAt(value, kRecordSecond, 4);
    default: // which fields are valid first
        return (numberAt(value, kRecordFirst, 4) & 1U) != 0 ? numberAt(value, kRecordSecond, 4) : 0;
    }
}

} // namespace

std::uint8_t dosBitsOf(std::string_view value) {
    if (value.starts_with("0x") || value.starts_with("0X")) {
        return static_cast<std::uint8_t>(std::strtoul(std::string(value).c_str(), nullptr, 16) &
                                         kKeptBits);
    }
    const bool isRecord = !value.empty() && value[0] == '\0';
    return static_cast<std::uint8_t>(isRecord ? bitsOfRecord(value) & kKeptBits : 0);
}

std::uint8_t readDosBits(const std::function<ssize_t(void *value, std::size_t size)> &read) {
    std::array<char, 256> usual; // NOLINT(*-member-init): the call below fills it
    ssize_t size = read(usual.data(), usual.size());
    if (size >= 0)
        return dosBitsOf({usual.data(), static_cast<std::size_t>(size)});
    if (errno != ERANGE || (size = read(nullptr, 0)) <= 0)
        return 0;
    std::string value(static_cast<std::size_t>(size), '\0');
    size = read(value.data(), value.size());
    return size < 0 ? 0
                    : dosBitsOf(std::string_view(value).substr(0, static_cast<std::size_t>(size)));
}

} // namespace platform

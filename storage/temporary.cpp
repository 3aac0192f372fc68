#include "storage/temporary.h"

#include "storage/storage.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <random>

namespace platform {

namespace {

constexpr std::string_view kStart = ".orvel-";
constexpr std::string_view kEnd = ".part";
// File systems take names of 255 bytes or letters; the number behind it needs some.
constexpr std::size_t kLongName = 200;

std::string reservedName(std::uint64_t number) {
    char digits[20];
    std::snprintf(digits, sizeof digits, "%08lx%08lx", static_cast<unsigned long>(number >> 32U),
                  static_cast<unsigned long>(number & 0xFFFFFFFFU));
    return std::string(kStart) + digits + std::string(kEnd);
}

} // namespace

bool isTemporaryName(std::string_view name) {
    if (name.size() <= kStart.size() + kEnd.size() || name.substr(0, kStart.size()) != kStart ||
        name.substr(name.size() - kEnd.size()) != kEnd)
        return false;
    const std::string_view number =
        name.substr(kStart.size(), name.size() - kStart.size() - kEnd.size());
    return number.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::string temporaryName() {
    static const std::uint64_t start = [] {
        std::random_device random;
        return static_cast<std::uint64_t>(random()) << 32U | random();
    }();
    static std::atomic<std::uint64_t> next{0};
    return reservedName(start + next++);
}

std::string claimName(std::string_view name) {
    std::uint64_t hash = 0xCBF29CE484222325; // FNV-1a
    for (const char c : name) {
        const char folded = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        hash = (hash ^ static_cast<unsigned char>(folded)) * 0x100000001B3;
    }
    return reservedName(hash);
}

std::string keptName(const std::string &name, int number) {
    return (name.size() <= kLongName ? name : std::string("archive")) + ".new-" +
           std::to_string(number);
}

} // namespace platform

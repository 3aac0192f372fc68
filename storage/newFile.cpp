#include "storage/pathText.h"
#include "storage/storage.h"
#include "storage/temporary.h"
#include "storage/utf8.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <random>
#include <utility>

// The parts of NewFile that are the same on all systems, and the names of files beside others.
namespace platform {

namespace {

constexpr std::string_view kStart = ".orvel-";
constexpr std::string_view kEnd = ".part";
// File systems allow names of 255 bytes or characters, including the suffix.
constexpr std::size_t kLongName = 200;
constexpr int kMostKept = 1000;
// The least number of digits in a name that a client gives to a deleted file.
constexpr std::size_t kClientDigits = 16;

std::string reservedName(std::uint64_t number) {
    char digits[20];
    std::snprintf(digits, sizeof digits, "%08lx%08lx", static_cast<unsigned long>(number >> 32U),
                  static_cast<unsigned long>(number & 0xFFFFFFFFU));
    return std::string(kStart) + digits + std::string(kEnd);
}

bool isHex(std::string_view text) {
    return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

} // namespace

bool isTemporaryName(std::string_view name) {
    if (name.size() <= kStart.size() + kEnd.size() || name.substr(0, kStart.size()) != kStart ||
        name.substr(name.size() - kEnd.size()) != kEnd)
        return false;
    return isHex(name.substr(kStart.size(), name.size() - kStart.size() - kEnd.size()));
}

bool isNameOfDeleted(std::string_view name) {
    for (const std::string_view start : {".fuse_hidden", ".nfs"})
        if (name.size() >= start.size() + kClientDigits && name.substr(0, start.size()) == start)
            return isHex(name.substr(start.size()));
    return false;
}

std::string temporaryName() {
    static const std::uint64_t start = [] {
        std::random_device random;
        return static_cast<std::uint64_t>(random()) << 32U | random();
    }();
    static std::atomic<std::uint64_t> next{0};
    return reservedName(start + next++);
}

std::string lockFileName(std::string_view name) {
    std::uint64_t hash = kHashStart;
    for (const char c : name)
        hash = hashStep(hash, foldAscii(c));
    return reservedName(hash);
}

std::string keptName(const std::string &name, int number) {
    return (name.size() <= kLongName ? name : std::string("archive")) + ".new-" +
           std::to_string(number);
}

Status NewFile::write(const void *data, std::size_t size) {
    return writeAt(m_size, data, size);
}

Status NewFile::setAside(const std::string &name) {
    Status status;
    for (int number = 1; number <= kMostKept; ++number) {
        status = takeFreeName(keptName(name, number));
        if (!status.is(Failure::Exists))
            break;
    }
    return status;
}

Status NewFile::keep(const std::string &name, const Status &failed) {
    if (isTemporaryName(m_temporary))
        (void)setAside(name);
    const std::string path = m_folder->pathOf(std::exchange(m_temporary, std::string()));
    discard();
    // A file that is being deleted can still appear in a listing.
    InputFile there;
    const bool gone = m_folder->openFile(name, there).is(Failure::NotFound);
    return {failed.kind,
            failed.message + (gone ? "; " + m_folder->pathOf(name) + " is gone" : "") +
                "; the new file is whole and was kept as " + path,
            path};
}

} // namespace platform

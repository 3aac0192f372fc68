#include "storage/safePath.h"

#include "storage/storage.h"
#include "storage/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace platform {

namespace {

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return text.size() == lowerCase.size() && std::equal(
                                                  text.begin(), text.end(), lowerCase.begin(),
                                                  [](char a, char b) { return foldAscii(a) == b; });
}

// Limits that every system supports, and that leave room for the path of the folder: a file that
// can be written but not opened by its whole path could be neither saved nor deleted.
constexpr std::size_t kLongestComponent = 255;
constexpr std::size_t kLongestPath = 3000;

const char *unsafeComponent(std::string_view component) {
    if (component.size() > kLongestComponent)
        return "a part of its name is too long";
    if (component.empty())
        return "its path has an empty part";
    if (component == "..")
        return "its path leads upwards";
    if (component.back() == '.' || component.back() == ' ')
        return "a part of its name ends in a dot or a blank";
    if (isDeviceName(component))
        return "its name is that of a device";
    if (isTemporaryName(component))
        return "its name is reserved";
    return nullptr;
}

} // namespace

bool isDeviceName(std::string_view component) {
    std::string_view stem = component.substr(0, component.find('.'));
    while (!stem.empty() && stem.back() == ' ')
        stem.remove_suffix(1);
    constexpr std::array<std::string_view, 7> kDevices = {"con",    "prn",     "aux",   "nul",
                                                          "conin$", "conout$", "clock$"};
    if (std::any_of(kDevices.begin(), kDevices.end(),
                    [stem](std::string_view d) { return equalsIgnoringCase(stem, d); }))
        return true;
    const std::string_view start = stem.substr(0, 3);
    if (!equalsIgnoringCase(start, "com") && !equalsIgnoringCase(start, "lpt"))
        return false;
    const std::string_view number = stem.substr(std::min<std::size_t>(3, stem.size()));
    // Windows treats superscript one, two and three as digits.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\xC2\xB9" ||
           number == "\xC2\xB2" || number == "\xC2\xB3";
}

const char *unsafeReason(std::string_view path) {
    if (path.empty())
        return "it has no name";
    if (path.size() > kLongestPath)
        return "its path is too long";
    if (path.front() == '/')
        return "its path is absolute";
    if (path.find("\xEF\xBF\xBD") != std::string_view::npos ||
        std::any_of(path.begin(), path.end(),
                    [](char c) { return static_cast<std::uint8_t>(c) < 0x20 || c == 0x7F; }))
        return "its name holds a control character";
    if (path.find(':') != std::string_view::npos)
        return "its name holds a drive or a stream";
    if (path.back() == '/')
        path.remove_suffix(1);
    while (true) {
        const std::size_t slash = path.find('/');
        if (const char *reason = unsafeComponent(path.substr(0, slash)))
            return reason;
        if (slash == std::string_view::npos)
            return nullptr;
        path.remove_prefix(slash + 1);
    }
}

} // namespace platform

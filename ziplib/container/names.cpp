#include "ziplib/container/names.h"

#include "platform/storage.h"
#include "ziplib/container/utf8.h"

#include <algorithm>
#include <array>

namespace ziplib {

namespace {

// Code page 437 from 0x80 on. The lower half is ASCII: bytes below 0x20 are control characters
// here, not the pictures that a screen of the time showed.
constexpr std::array<char16_t, 128> codePage437 = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0};

bool isAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return text.size() == lowerCase.size() &&
           std::equal(text.begin(), text.end(), lowerCase.begin(),
                      [](char a, char b) { return lower(a) == b; });
}

// True for names that open a device on Windows, whatever extension follows.
bool isDevice(std::string_view component) {
    std::string_view stem = component.substr(0, component.find('.'));
    while (!stem.empty() && stem.back() == ' ') {
        stem.remove_suffix(1);
    }
    constexpr std::array<std::string_view, 7> devices = {"con",    "prn",     "aux",   "nul",
                                                         "conin$", "conout$", "clock$"};
    if (std::any_of(devices.begin(), devices.end(),
                    [stem](std::string_view d) { return equalsIgnoringCase(stem, d); })) {
        return true;
    }
    const std::string_view start = stem.substr(0, 3);
    if (!equalsIgnoringCase(start, "com") && !equalsIgnoringCase(start, "lpt")) {
        return false;
    }
    const std::string_view number = stem.substr(std::min<std::size_t>(3, stem.size()));
    // Superscript one, two and three count as digits there.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\xC2\xB9" ||
           number == "\xC2\xB2" || number == "\xC2\xB3";
}

// What every system can store, and a path that still leaves room for the folder that it is put in:
// a file that can be written but not opened by its whole path could be neither saved nor deleted.
constexpr std::size_t longestComponent = 255;
constexpr std::size_t longestPath = 3000;

const char *unsafeComponent(std::string_view component) {
    if (component.size() > longestComponent) {
        return "a part of its name is too long";
    }
    if (component.empty()) {
        return "its path has an empty part";
    }
    if (component == "..") {
        return "its path leads upwards";
    }
    if (component.back() == '.' || component.back() == ' ') {
        return "a part of its name ends in a dot or a blank";
    }
    if (isDevice(component)) {
        return "its name is that of a device";
    }
    if (platform::isTemporaryName(component)) {
        return "its name is reserved";
    }
    return nullptr;
}

} // namespace

std::string decodeName(std::string_view raw) {
    std::string path;
    if (isAscii(raw) || isUtf8(raw)) {
        path = raw;
    } else {
        path.reserve(raw.size() * 2);
        for (const char c : raw) {
            const auto byte = static_cast<std::uint8_t>(c);
            appendUtf8(path, byte < 0x80 ? byte : codePage437[byte - 0x80U]);
        }
    }
    std::replace(path.begin(), path.end(), '\\', '/');
    for (std::size_t at = path.find('\0'); at != std::string::npos; at = path.find('\0', at)) {
        path.replace(at, 1, "\xEF\xBF\xBD");
    }
    std::size_t start = 0;
    while (path.compare(start, kRootFolder.size(), kRootFolder) == 0 &&
           start + kRootFolder.size() < path.size()) {
        start += kRootFolder.size();
    }
    return path.substr(start);
}

const char *unsafeReason(std::string_view path) {
    if (path.empty()) {
        return "it has no name";
    }
    if (path.size() > longestPath) {
        return "its path is too long";
    }
    if (path.front() == '/') {
        return "its path is absolute";
    }
    if (path.find("\xEF\xBF\xBD") != std::string_view::npos ||
        std::any_of(path.begin(), path.end(),
                    [](char c) { return static_cast<std::uint8_t>(c) < 0x20 || c == 0x7F; })) {
        return "its name holds a control character";
    }
    if (path.find(':') != std::string_view::npos) {
        return "its name holds a drive or a stream";
    }
    if (path.back() == '/') {
        path.remove_suffix(1);
    }
    while (true) {
        const std::size_t slash = path.find('/');
        if (const char *reason = unsafeComponent(path.substr(0, slash))) {
            return reason;
        }
        if (slash == std::string_view::npos) {
            return nullptr;
        }
        path.remove_prefix(slash + 1);
    }
}

} // namespace ziplib

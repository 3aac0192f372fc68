#include "ziplib/common/interfaceText.h"

#include "storage/storage.h"

#include <cstdint>

namespace ziplib {

namespace {

// Bytes of the control character at `at`, 0 if there is none. Terminals also interpret those from
// U+0080 to U+009F, which are two bytes long.
std::size_t controlLength(std::string_view text, std::size_t at) {
    const auto byte = static_cast<std::uint8_t>(text[at]);
    if (byte < 0x20 || byte == 0x7F)
        return 1;
    const bool upper = byte == 0xC2 && at + 1 < text.size() &&
                       static_cast<std::uint8_t>(text[at + 1]) >= 0x80 &&
                       static_cast<std::uint8_t>(text[at + 1]) < 0xA0;
    return upper ? 2 : 0;
}

} // namespace

std::string fromProgram(const char *text) {
    return text == nullptr ? std::string() : platform::utf8FromNarrow(text);
}

std::string toProgram(std::string_view text) {
    return platform::narrowFromUtf8(text);
}

std::string messageToProgram(std::string_view text) {
    std::string shown(text);
    for (std::size_t at = 0; at < shown.size(); ++at)
        if (const std::size_t length = controlLength(shown, at); length > 0)
            shown.replace(at, length, 1, '?');
    return toProgram(shown);
}

std::string asProgramSees(std::string_view text) {
    return platform::utf8FromNarrow(platform::narrowFromUtf8(text));
}

} // namespace ziplib

#include "platform/storage.h"

namespace platform {

bool isTemporaryName(std::string_view name) {
    constexpr std::string_view start = ".orvel-";
    constexpr std::string_view end = ".part";
    if (name.size() <= start.size() + end.size() || name.substr(0, start.size()) != start ||
        name.substr(name.size() - end.size()) != end) {
        return false;
    }
    const std::string_view number =
        name.substr(start.size(), name.size() - start.size() - end.size());
    return number.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

} // namespace platform

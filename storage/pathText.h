#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The text of paths.
namespace platform {

// The character between the components of a path of this system, and whether a character separates
// components: "/", on Windows "\" as well.
char pathSeparator();
bool isPathSeparator(char c);

// The path of `below` in a folder; `below` itself if the folder is "", the current one.
inline std::string joinPath(std::string folder, std::string_view below) {
    if (!folder.empty() && !isPathSeparator(folder.back()))
        folder += pathSeparator();
    return folder.append(below);
}

// For paths with "/" between their components, as all paths below a folder have.
// The part after the last "/".
inline std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

// The part before the last "/"; "" if there is none.
inline std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.rfind('/') == std::string_view::npos ? 0 : path.rfind('/'));
}

// The 64-bit hash FNV-1a of a text: its start, and the hash with one more byte or code point.
inline constexpr std::uint64_t kHashStart = 0xCBF29CE484222325;
inline std::uint64_t hashStep(std::uint64_t hash, char32_t c) {
    return (hash ^ c) * 0x100000001B3;
}
inline std::uint64_t hashStep(std::uint64_t hash, char c) {
    return hashStep(hash, char32_t{static_cast<std::uint8_t>(c)});
}

} // namespace platform

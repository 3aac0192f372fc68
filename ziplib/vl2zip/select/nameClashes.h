#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace ziplib {

// Finds names that the game, or a disk that ignores the letters' case, cannot hold side by side:
// equal but for the case, or one a file and the other a folder.
class NameClashes {
  public:
    // The path of a file, or that of a folder with "/" at its end.
    void add(std::string_view path);
    // The path that was added and that this one clashes with, or "".
    std::string find(std::string_view path) const;

  private:
    std::unordered_map<std::string, std::string> m_names;   // by folded path
    std::unordered_map<std::string, std::string> m_folders; // without "/"; a path in each
};

} // namespace ziplib

#pragma once

#include <string_view>

namespace ziplib {

// Rules for matching names with a pattern.
struct PatternRules {
    bool ignoreCase = false;
    bool brackets = true; // [abc], [a-z], [!a] stand for one character of a set
};

// True if the whole UTF-8 name matches: "*" stands for any text, "/" included, "?" for one
// character. A bracket that is not closed stands for itself.
bool matchesPattern(std::string_view pattern, std::string_view name, PatternRules rules);

// True if a pattern is more than a plain name.
bool hasWildcards(std::string_view pattern, PatternRules rules);

} // namespace ziplib

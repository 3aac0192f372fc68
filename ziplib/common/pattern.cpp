#include "ziplib/common/pattern.h"

#include "storage/utf8.h"

#include <cstddef>

namespace ziplib {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

char32_t compared(char32_t c, bool ignoreCase) {
    return ignoreCase ? platform::foldCase(c) : c;
}

// The end of the set that starts at `open`, after its "]"; npos if it is not closed. A "]" that
// comes first is a member.
std::size_t endOfSet(std::string_view pattern, std::size_t open) {
    std::size_t at = open + 1;
    if (at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^'))
        ++at;
    const std::size_t close = pattern.find(']', at + 1);
    return at < pattern.size() && close != kNone ? close + 1 : kNone;
}

bool setContains(std::string_view set, char32_t c, bool ignoreCase) {
    const bool negated = !set.empty() && (set[0] == '!' || set[0] == '^');
    std::size_t at = negated ? 1 : 0;
    const char32_t expected = compared(c, ignoreCase);
    bool found = false;
    while (at < set.size()) {
        const char32_t first = platform::nextCodePoint(set, at);
        char32_t last = first;
        if (at + 1 < set.size() && set[at] == '-') {
            ++at;
            last = platform::nextCodePoint(set, at);
        }
        found = found || (c >= first && c <= last) ||
                (expected >= compared(first, ignoreCase) && expected <= compared(last, ignoreCase));
    }
    return found != negated;
}

// Matches one character of the pattern other than "*" and advances both positions past it.
bool matchesOne(std::string_view pattern, std::size_t &p, std::string_view name, std::size_t &n,
                PatternRules rules) {
    const std::size_t setEnd = rules.brackets && pattern[p] == '[' ? endOfSet(pattern, p) : kNone;
    if (setEnd != kNone) {
        const std::string_view set = pattern.substr(p + 1, setEnd - p - 2);
        p = setEnd;
        return setContains(set, platform::nextCodePoint(name, n), rules.ignoreCase);
    }
    if (pattern[p] == '?') {
        ++p;
        platform::nextCodePoint(name, n);
        return true;
    }
    const char32_t expected = platform::nextCodePoint(pattern, p);
    return compared(expected, rules.ignoreCase) ==
           compared(platform::nextCodePoint(name, n), rules.ignoreCase);
}

} // namespace

bool matchesPattern(std::string_view pattern, std::string_view name, PatternRules rules) {
    std::size_t p = 0;
    std::size_t n = 0;
    // If the text after the last "*" does not match, the next try starts one character further in
    // the name. Earlier stars need no second try, so the cost stays a product of both lengths.
    std::size_t afterStar = kNone;
    std::size_t starName = 0;
    while (n < name.size() || p < pattern.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            afterStar = ++p;
            starName = n;
            continue;
        }
        if (p < pattern.size() && n < name.size() && matchesOne(pattern, p, name, n, rules))
            continue;
        if (afterStar == kNone || starName >= name.size())
            return false;
        platform::nextCodePoint(name, starName);
        p = afterStar;
        n = starName;
    }
    return true;
}

bool hasWildcards(std::string_view pattern, PatternRules rules) {
    return pattern.find_first_of(rules.brackets ? "*?[" : "*?") != kNone;
}

} // namespace ziplib

#include "ziplib/vl2zip/select/selection.h"

#include "storage/storage.h"
#include "ziplib/common/pattern.h"
#include "ziplib/format/names.h"

#include <algorithm>

namespace ziplib {

namespace {

std::size_t depthOf(std::string_view path) {
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
}

bool matches(std::string_view pattern, std::string_view name) {
    PatternRules rules;
    rules.ignoreCase = platform::namesIgnoreCase();
    // A name with brackets also matches literally.
    return pattern == name || matchesPattern(pattern, name, rules);
}

// True if each component of the path matches the pattern component at the same position.
bool matchesByParts(std::string_view pattern, std::string_view path) {
    for (;;) {
        const auto patternEnd = pattern.find('/');
        const auto pathEnd = path.find('/');
        if (!matches(pattern.substr(0, patternEnd), path.substr(0, pathEnd)))
            return false;
        if (patternEnd == std::string_view::npos || pathEnd == std::string_view::npos)
            return patternEnd == pathEnd;
        pattern.remove_prefix(patternEnd + 1);
        path.remove_prefix(pathEnd + 1);
    }
}

} // namespace

Selection::Selection(const std::vector<std::string> &patterns, bool recurse)
    : m_recurse(recurse), m_needsFolders(recurse) {
    for (const auto &given : patterns) {
        Pattern pattern{given, given, 0, false};
        std::replace(pattern.text.begin(), pattern.text.end(), '\\', '/');
        while (pattern.text.starts_with("./"))
            pattern.text.erase(0, 2);
        if (pattern.text.empty())
            continue;
        pattern.depth = depthOf(pattern.text);
        m_needsFolders = m_needsFolders || pattern.depth > 0;
        m_patterns.push_back(std::move(pattern));
    }
}

bool Selection::selectsFile(std::string_view path) {
    const std::size_t depth = depthOf(path);
    bool selected = false;
    for (auto &pattern : m_patterns) {
        bool match = false;
        if (m_recurse)
            match = matches(pattern.text, pattern.depth == 0 ? lastComponent(path) : path);
        else
            match = pattern.depth == depth && matchesByParts(pattern.text, path);
        pattern.matched = pattern.matched || match;
        selected = selected || match;
    }
    return selected;
}

bool Selection::selectsEntry(std::string_view path) {
    bool selected = false;
    for (auto &pattern : m_patterns) {
        const bool match =
            matches(pattern.text, path) ||
            (m_recurse && pattern.depth == 0 && matches(pattern.text, lastComponent(path)));
        pattern.matched = pattern.matched || match;
        selected = selected || match;
    }
    return selected;
}

const std::string *Selection::unmatched() const {
    const auto found = std::find_if(m_patterns.begin(), m_patterns.end(),
                                    [](const Pattern &pattern) { return !pattern.matched; });
    return found == m_patterns.end() ? nullptr : &found->given;
}

} // namespace ziplib

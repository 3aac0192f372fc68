#include "ziplib/vl2uzip/nameFilter.h"

#include "platform/storage.h"
#include "ziplib/container/utf8.h"

#include <algorithm>

namespace ziplib {

NameFilter::List::List(const std::vector<std::string> &names, bool ignoreCase)
    : m_rules{ignoreCase, false} {
    for (const std::string &name : names) {
        std::string text = platform::utf8FromNarrow(name);
        std::replace(text.begin(), text.end(), '\\', '/');
        if (ignoreCase) {
            text = foldCase(text);
        }
        const std::size_t index = m_names.size();
        if (!m_exact.emplace(text, index).second) {
            continue;
        }
        m_names.push_back({text, hasWildcards(text, m_rules), false});
        if (m_names.back().wildcards) {
            m_patterns.push_back(index);
        }
    }
}

bool NameFilter::List::matches(const std::string &path) {
    if (m_names.empty()) {
        return false;
    }
    bool found = false;
    const auto exact = m_exact.find(m_rules.ignoreCase ? foldCase(path) : path);
    if (exact != m_exact.end()) {
        m_names[exact->second].matched = true;
        found = true;
    }
    for (const std::size_t index : m_patterns) {
        // A pattern that has matched is only needed while nothing else has.
        if ((!found || !m_names[index].matched) &&
            matchesPattern(m_names[index].text, path, m_rules)) {
            m_names[index].matched = true;
            found = true;
        }
    }
    return found;
}

NameFilter::NameFilter(const std::vector<std::string> &wanted,
                       const std::vector<std::string> &unwanted, bool ignoreCase)
    : m_wanted(wanted, ignoreCase), m_unwanted(unwanted, ignoreCase) {}

bool NameFilter::accepts(const std::string &path) {
    return (m_wanted.empty() || m_wanted.matches(path)) && !m_unwanted.matches(path);
}

std::vector<std::string> NameFilter::unmatched() const {
    std::vector<std::string> texts;
    for (const Name &name : m_wanted.names()) {
        if (!name.matched) {
            texts.push_back(name.text);
        }
    }
    return texts;
}

} // namespace ziplib

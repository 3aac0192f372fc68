#include "ziplib/vl2uzip/nameFilter.h"

#include "storage/utf8.h"
#include "ziplib/common/interfaceText.h"

#include <algorithm>

namespace ziplib {

NameFilter::List::List(const std::vector<std::string> &names, bool ignoreCase)
    : m_rules{ignoreCase, false} {
    for (const std::string &name : names) {
        std::string text = name;
        std::replace(text.begin(), text.end(), '\\', '/');
        if (ignoreCase)
            text = platform::foldCase(text);
        const std::size_t index = m_names.size();
        if (!m_exact.emplace(text, index).second)
            continue;
        m_names.push_back({text, hasWildcards(text, m_rules)});
        if (m_names.back().wildcards)
            m_patterns.push_back(index);
    }
}

NameFilter::Name *NameFilter::List::find(const std::string &path, Meaning meaning) {
    const std::string text = meaning == Meaning::Own ? path : asProgramSees(path);
    const auto found = m_exact.find(m_rules.ignoreCase ? platform::foldCase(text) : text);
    return found == m_exact.end() ? nullptr : &m_names[found->second];
}

void NameFilter::List::resolve(const std::string &path) {
    for (const Meaning meaning : {Meaning::Own, Meaning::SeenAs})
        if (Name *name = find(path, meaning); name != nullptr)
            name->meaning = std::max(name->meaning, meaning);
}

bool NameFilter::List::matches(const std::string &path) {
    if (m_names.empty())
        return false;
    bool found = false;
    for (const Meaning meaning : {Meaning::Own, Meaning::SeenAs}) {
        Name *name = find(path, meaning);
        if (name != nullptr && name->meaning == meaning) {
            name->matched = true;
            found = true;
        }
    }
    for (const std::size_t index : m_patterns) {
        Name &name = m_names[index];
        // A pattern that has matched before matters only if nothing else matches this path.
        if (name.meaning == Meaning::Pattern && (!found || !name.matched) &&
            matchesPattern(name.text, path, m_rules)) {
            name.matched = true;
            found = true;
        }
    }
    return found;
}

NameFilter::NameFilter(const std::vector<std::string> &wanted,
                       const std::vector<std::string> &unwanted, bool ignoreCase,
                       const Directory &directory, const platform::KeepGoing &keepGoing)
    : m_wanted(wanted, ignoreCase), m_unwanted(unwanted, ignoreCase) {
    if (m_wanted.empty() && m_unwanted.empty())
        return;
    for (const Entry entry : directory.entries()) {
        const std::string path = directory.path(entry);
        m_wanted.resolve(path);
        m_unwanted.resolve(path);
        keepGoing();
    }
}

bool NameFilter::accepts(const std::string &path) {
    return (m_wanted.empty() || m_wanted.matches(path)) && !m_unwanted.matches(path);
}

std::vector<std::string> NameFilter::unmatched() const {
    std::vector<std::string> texts;
    for (const Name &name : m_wanted.names())
        if (!name.matched)
            texts.push_back(name.text);
    return texts;
}

} // namespace ziplib

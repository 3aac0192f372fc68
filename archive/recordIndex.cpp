#include "archive/recordIndex.h"

#include "archive/libraryEvents.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace {

// Each mark needs some 300 bytes; finding an entry decodes half as many on average.
constexpr std::size_t kStep = 64;

constexpr unsigned kHalf = 32;

// Without a number.
std::uint64_t keyOf(std::string_view path) {
    return std::uint64_t{std::hash<std::string_view>()(path)} << kHalf;
}

std::uint64_t hashOf(std::uint64_t key) {
    return key >> kHalf;
}

std::size_t numberOf(std::uint64_t key) {
    return static_cast<std::uint32_t>(key);
}

} // namespace

void RecordIndex::build() {
    if (m_isBuilt)
        return;
    m_keys.reserve(m_entries.size());
    m_marks.reserve(m_entries.size() / kStep + 1);
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        if (entry.number() % kStep == 0)
            m_marks.push_back(entry);
        m_keys.push_back(keyOf(entry->path) | entry.number());
        callIdleHandler(entry.number());
    }
    std::sort(m_keys.begin(), m_keys.end());
    m_isBuilt = true;
}

RecordEntries::Iterator RecordIndex::at(std::size_t number) {
    build();
    RecordEntries::Iterator entry = m_marks[number / kStep];
    while (entry.number() < number)
        ++entry;
    return entry;
}

const RecordEntry *RecordIndex::find(std::string_view path) {
    if (m_isFound)
        ++m_next;
    m_isFound = m_next != m_entries.end() && m_next->path == path;
    if (m_isFound)
        return &*m_next;
    build();
    const std::uint64_t wanted = keyOf(path);
    for (auto key = std::lower_bound(m_keys.begin(), m_keys.end(), wanted);
         key != m_keys.end() && hashOf(*key) == hashOf(wanted) && !m_isFound; ++key) {
        RecordEntries::Iterator entry = at(numberOf(*key));
        m_isFound = entry->path == path;
        if (m_isFound)
            m_next = std::move(entry);
    }
    return m_isFound ? &*m_next : nullptr;
}

std::vector<std::pair<std::size_t, std::size_t>> RecordIndex::repetitions() {
    build();
    std::vector<std::pair<std::size_t, std::size_t>> found;
    for (auto key = m_keys.begin(); key != m_keys.end();) {
        const auto isOther = [hash = hashOf(*key)](std::uint64_t other) {
            return hashOf(other) != hash;
        };
        const auto end = std::find_if(key + 1, m_keys.end(), isOther);
        std::map<std::string, std::size_t> firsts;
        for (const bool isAlone = end - key == 1; key != end; ++key) {
            if (isAlone)
                continue;
            const std::size_t number = numberOf(*key);
            const auto [first, isNew] = firsts.try_emplace(at(number)->path, number);
            if (!isNew)
                found.emplace_back(first->second, number);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

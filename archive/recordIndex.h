#pragma once

#include "archive/recordEntries.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

// Finds the entries of a list by their path. The list must not change while this is used. Needs
// some 16 bytes an entry once an entry is not the next one after the last that was found.
class RecordIndex {
  public:
    explicit RecordIndex(const RecordEntries &entries)
        : m_entries(entries), m_next(entries.begin()) {}

    // The first entry of exactly this path, valid until the next call; null if there is none.
    const RecordEntry *find(std::string_view path);

    // Of each entry whose path earlier ones have: the number of the first of these, and its own.
    // Sorted.
    std::vector<std::pair<std::size_t, std::size_t>> repetitions();

    // The entry of a number.
    RecordEntries::Iterator at(std::size_t number);

  private:
    void build();

    const RecordEntries &m_entries;
    RecordEntries::Iterator m_next; // the last entry that was found, or the first one
    bool m_isFound = false;         // it was found
    bool m_isBuilt = false;
    // The hash of a path in the upper half, and an entry's number in the lower one. Sorted.
    std::vector<std::uint64_t> m_keys;
    std::vector<RecordEntries::Iterator> m_marks; // at every kStep-th entry
};

#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/candidate.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace ziplib {

// A hash table of a directory's entries by path; of several with one path the last. Does not store
// the paths, which need several times the memory of the table.
class EntryPaths {
  public:
    explicit EntryPaths(const Directory &directory) : m_directory(directory) {}

    // To be called after the directory was read.
    void fill();

    bool empty() const { return m_count == 0; }
    std::size_t size() const { return m_count; } // different paths
    // The entry of exactly this path, or kNoEntry.
    std::uint32_t find(std::string_view path) const;
    void each(const std::function<void(std::string_view path, std::uint32_t entry)> &take) const;

  private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t number = 0; // of the entry, from 1; 0 if the slot is free
    };
    std::size_t slotOf(std::string_view path, std::uint32_t hash) const;

    const Directory &m_directory;
    std::vector<Slot> m_slots; // two thirds of them used
    std::size_t m_count = 0;
};

} // namespace ziplib

#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2zip/select/candidate.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace ziplib {

// Finds the entries of a directory by their paths; of several of one path the last. Keeps no paths:
// those of a large archive need several times the memory of the rest.
class EntryPaths {
  public:
    explicit EntryPaths(const Directory &directory) : m_directory(directory) {}

    // To be called once the directory is read.
    void fill();

    bool empty() const { return m_count == 0; }
    std::size_t size() const { return m_count; } // different paths
    // The entry of exactly this path, or kNoEntry.
    std::size_t find(std::string_view path) const;
    void each(const std::function<void(std::string_view path, std::size_t entry)> &take) const;

  private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t number = 0; // of the entry, from 1; 0 where the slot is free
    };
    std::size_t slotOf(std::string_view path) const;

    const Directory &m_directory;
    std::vector<Slot> m_slots; // as many as a power of two, at most half of them taken
    std::size_t m_count = 0;
};

} // namespace ziplib

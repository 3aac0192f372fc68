#pragma once

#include "storage/recordBytes.h"
#include "ziplib/vl2zip/select/candidate.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// Versions by path, in one buffer: half a million of them need some 20 MB.
class PackedVersions {
  public:
    // In place of an earlier version of the path; the greater `written` of both stays. Throws
    // std::bad_alloc if there are too many, at more than 4 GiB.
    void add(std::string_view path, const BaseVersion &version);
    bool empty() const { return m_count == 0; }
    // The number of the version of exactly this path, or kNoVersion. Valid until the next add().
    std::uint32_t find(std::string_view path) const;
    BaseVersion at(std::uint32_t number) const;
    std::string path(std::uint32_t number) const;
    // Calls `take` for each, in no particular order.
    void each(const std::function<void(std::uint32_t number)> &take) const;

  private:
    // A path in the buffer: the start of another one, and the rest.
    struct Path {
        std::string_view start;
        std::string_view rest;

        bool operator==(std::string_view whole) const {
            return whole.size() == start.size() + rest.size() && whole.starts_with(start) &&
                   whole.ends_with(rest);
        }
    };

    // Leaves `in` at what follows the path.
    Path readPath(std::uint32_t number, platform::RecordReader &in) const;
    platform::RecordReader readerAt(std::uint32_t number) const;
    std::size_t slotOf(std::string_view path) const;
    void grow();
    std::uint64_t indexOfDevice(std::uint64_t device);

    // Each version: path, flags, numbers. Its number is its offset. A path is whole, or begins like
    // the last whole one before it, as most paths of a folder do.
    platform::RecordWriter m_out;
    std::uint32_t m_whole = kNoVersion; // the last one with a whole path
    std::vector<std::uint32_t> m_slots; // a hash table by path: a power of two, at most half used
    std::size_t m_count = 0;
    std::vector<std::uint64_t> m_devices;
    // Of the first version with times, from which the others differ little.
    std::uint64_t m_modified = 0;
    std::uint64_t m_changed = 0;
};

} // namespace ziplib

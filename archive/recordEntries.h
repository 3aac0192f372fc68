#pragma once

#include "archive/recordEntry.h"
#include "storage/recordBytes.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

// A list of entries in the form that a record's file has. An entry needs some 30 bytes, a fifth of
// what an object for each would need, and is decoded when a loop reaches it.
class RecordEntries {
  public:
    class Iterator;

    std::size_t size() const { return m_count; }
    // Makes room for as many entries of the usual size.
    void reserve(std::size_t count);
    // Adds an entry at the end. Keeps all but `known`. After an exception, the list is as before.
    void append(const RecordEntry &entry);

    // Valid until the next change.
    Iterator begin() const;
    Iterator end() const;

    // All entries in the form of the file, of the version kVersion.
    static constexpr unsigned char kVersion = 3;
    static constexpr unsigned char kOldest = 2; // that load() reads
    const std::string &bytes() const { return m_bytes.bytes(); }
    // Replaces the entries by those of a file of a version. False, with any entries, if `bytes` are
    // not exactly `count` entries.
    bool load(std::string bytes, std::uint64_t count, unsigned char version);

  private:
    platform::RecordWriter m_bytes;
    std::size_t m_count = 0;
    // Those of the last entry, and the file of the last written one: the next entry is stored as
    // the difference.
    std::string m_path;
    platform::FileInfo m_file;
};

// Decodes the entries of a list in their order. A copy continues where the original is.
class RecordEntries::Iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = RecordEntry;
    using difference_type = std::ptrdiff_t;
    using pointer = const RecordEntry *;
    using reference = const RecordEntry &;

    // Valid until the iterator moves.
    const RecordEntry &operator*() const { return m_entry; }
    const RecordEntry *operator->() const { return &m_entry; }
    Iterator &operator++();
    bool operator==(const Iterator &other) const { return m_number == other.m_number; }
    // Of the entry in the list, from 0.
    std::size_t number() const { return m_number; }

  private:
    friend class RecordEntries;

    Iterator(const RecordEntries &list, std::size_t number);
    void decode();

    const RecordEntries *m_list;
    std::size_t m_number;
    std::size_t m_next = 0; // where the next entry begins in the list's bytes
    RecordEntry m_entry;
    platform::FileInfo m_file; // of the last written entry, this one included
};

inline RecordEntries::Iterator RecordEntries::begin() const {
    return {*this, 0};
}

inline RecordEntries::Iterator RecordEntries::end() const {
    return {*this, m_count};
}

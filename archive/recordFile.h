#pragma once

#include "archive/workRecord.h"

#include <cstdint>
#include <string>

// Reads a record's file step by step. Each step returns false if the record counts as none.
class RecordFile {
  public:
    // The version that write() writes.
    static constexpr unsigned char kVersion = RecordEntries::kVersion;

    bool open(const QString &folders, const QString &name);
    // False if the file is no record of any version.
    bool readVersion();
    unsigned char version() const { return m_version; }
    bool readHead();
    // The same from the copy at the end. readEntries() is not possible after it.
    bool readLastHead();
    bool readEntries(RecordEntries &entries);

    // What precedes the entries.
    struct Head {
        WorkRecord::Archive archive;
        std::uint64_t device = 0;       // of the time `began`
        std::int64_t began = INT64_MIN; // by the work folder's disk
    };
    const Head &head() const { return m_head; }

    // Writes a record's file. Calls the idle handler.
    static platform::Status write(platform::NewFile &file, const Head &head,
                                  const RecordEntries &entries);

  private:
    // Appends bytes of the file to `bytes`. Calls the idle handler.
    bool read(std::uint64_t offset, std::uint64_t size, std::string &bytes) const;
    bool readUpTo(std::uint64_t end);

    platform::InputFile m_file;
    std::uint64_t m_size = 0;
    std::uint64_t m_start = 0; // of m_bytes in the file
    std::uint64_t m_count = 0; // of the entries
    std::string m_bytes;
    unsigned char m_version = 0;
    Head m_head;
};

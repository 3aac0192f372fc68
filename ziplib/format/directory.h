#pragma once

#include "storage/storage.h"
#include "ziplib/common/buffer.h"
#include "ziplib/format/endRecord.h"
#include "ziplib/format/records.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// One record of the central directory, decoded. Fields of variable length stay in the directory's
// buffer.
struct Entry {
    std::uint64_t localOffset = 0; // of its local header, in the file
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint32_t record = 0; // offset of its record in the directory
    std::uint32_t crc = 0;
    std::uint32_t externalAttributes = 0;
    std::uint16_t madeBy = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint16_t time = 0;
    std::uint16_t date = 0;
    std::uint16_t internalAttributes = 0;
    std::uint16_t nameLength = 0;
    std::uint16_t extraLength = 0;
    std::uint16_t commentLength = 0;

    bool isEncrypted() const { return (flags & kFlagEncrypted) != 0; }
    bool isMarkedText() const { return (internalAttributes & kInternalText) != 0; }
};

// The central directory of an archive: kept in memory as it is stored. Of each entry only the
// offset of its record is kept beside it, and the entry is decoded at each access.
class Directory {
  public:
    // The entries in stored order.
    class Entries {
      public:
        class Iterator {
          public:
            Iterator(const Directory &directory, std::size_t index)
                : m_directory(&directory), m_index(index) {}
            Entry operator*() const { return m_directory->entries()[m_index]; }
            Iterator &operator++() {
                ++m_index;
                return *this;
            }
            bool operator==(const Iterator &other) const { return m_index == other.m_index; }

          private:
            const Directory *m_directory;
            std::size_t m_index;
        };

        explicit Entries(const Directory &directory) : m_directory(&directory) {}
        std::size_t size() const { return m_directory->m_records.size(); }
        bool empty() const { return size() == 0; }
        Entry operator[](std::size_t index) const {
            return m_directory->decode(m_directory->m_records[index]);
        }
        Iterator begin() const { return {*m_directory, 0}; }
        Iterator end() const { return {*m_directory, size()}; }

      private:
        const Directory *m_directory;
    };

    // Reads it. WrongFormat, EndsEarly or Damaged if it cannot be read; it is empty then. Handles
    // data in front of the archive and a comment that holds an end record.
    platform::Status read(const platform::InputFile &file,
                          const platform::KeepGoing &keepGoing = {});

    // Reads it like read(), but keeps no entry: passes each to `take`, which may use its record.
    platform::Status readEach(const platform::InputFile &file,
                              const std::function<void(const Entry &entry)> &take,
                              const platform::KeepGoing &keepGoing = {});

    Entries entries() const { return Entries(*this); }

    std::string_view rawName(const Entry &entry) const;
    std::string_view extra(const Entry &entry) const;
    std::string_view comment(const Entry &entry) const;
    // The whole record, as stored.
    std::string_view record(const Entry &entry) const;

    // The decoded path with "/" separators; a folder's ends in "/".
    std::string path(const Entry &entry) const;
    bool isFolder(const Entry &entry) const;
    // True for a link, a device or anything else that is neither file nor folder.
    bool isSpecial(const Entry &entry) const;
    // Modification time in nanoseconds since 1970, UTC: the most precise one that is stored.
    std::int64_t modified(const Entry &entry) const;
    // The platform::kAttribute... bits.
    std::uint8_t attributes(const Entry &entry) const;

    std::string_view archiveComment() const { return m_end.comment; }
    // Whether both were read from the same bytes at the same place.
    bool hasBytesOf(const Directory &other) const {
        return start() == other.start() && m_bytes == other.m_bytes;
    }
    // Bytes in front of the archive; offsets of entries include them.
    std::uint64_t base() const { return m_end.base; }
    // Offset and size of the directory in the file.
    std::uint64_t start() const { return m_end.directory; }
    std::uint64_t size() const { return m_end.directorySize; }
    // Size of the file when it was read.
    std::uint64_t fileSize() const { return m_fileSize; }
    // Bytes after the end record and its comment.
    std::uint64_t trailing() const { return m_end.trailing; }
    // Not ok if the directory was read but contradicts itself: entries may be missing.
    const platform::Status &damage() const { return m_damage; }
    // 1 if any number of entries is missing: the directory is truncated, or has fewer entries than
    // declared.
    std::uint64_t missing() const { return m_missing; }

  private:
    using Take = std::function<void(const Entry &entry)>;
    platform::Status readAll(const platform::InputFile &file, const Take &take,
                             const platform::KeepGoing &keepGoing);
    platform::Status readRecords(const platform::InputFile &file, const Take &take,
                                 const platform::KeepGoing &keepGoing, std::uint64_t &count);
    // The size of the record at `at`, or 0 if there is none before `filled`.
    std::uint64_t recordSize(std::uint64_t at, std::uint64_t filled) const;
    Entry decode(std::uint64_t at) const;
    std::string_view slice(std::size_t at, std::size_t size) const;

    Bytes m_bytes;
    std::vector<std::uint32_t> m_records; // their offsets in m_bytes
    EndRecord m_end;
    std::uint64_t m_fileSize = 0;
    std::uint64_t m_missing = 0;
    platform::Status m_damage;
};

} // namespace ziplib

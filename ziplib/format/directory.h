#pragma once

#include "storage/storage.h"
#include "ziplib/common/buffer.h"
#include "ziplib/format/records.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ziplib {

// One entry as the directory tells it. What is of varying length stays in the directory's buffer.
struct Entry {
    std::uint64_t localOffset = 0; // of its local header in the file
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint64_t record = 0; // where its record starts in the directory
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

// The directory of an archive: read in one go, kept as it is stored, described by compact entries.
class Directory {
  public:
    // Reads it. NotArchive, EndsEarly or Damaged where there is none to be read; then it is empty.
    // Data in front of the archive and a comment that holds an end record are taken care of.
    platform::Status read(const platform::InputFile &file,
                          const platform::KeepGoing &keepGoing = {});

    // In stored order.
    const std::vector<Entry> &entries() const { return m_entries; }

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
    // Modification time in nanoseconds since 1970, UTC: the most exact one that is stored.
    std::int64_t modified(const Entry &entry) const;
    // The platform::attribute... bits.
    std::uint8_t attributes(const Entry &entry) const;

    std::string_view archiveComment() const { return m_comment; }
    // Bytes in front of the archive; offsets of entries include them.
    std::uint64_t base() const { return m_base; }
    // Where the directory starts in the file, and the file's size when it was read.
    std::uint64_t start() const { return m_start; }
    std::uint64_t size() const { return m_size; }
    std::uint64_t fileSize() const { return m_fileSize; }
    // Bytes after the end record, which belong to nothing.
    std::uint64_t trailing() const { return m_trailing; }
    // Not ok where the directory was read but contradicts itself: entries may be missing.
    const platform::Status &damage() const { return m_damage; }
    // 1 where entries are missing, however many: the directory breaks off, or the archive tells of
    // more than it has.
    std::uint64_t missing() const { return m_missing; }

  private:
    platform::Status readRecords(const platform::InputFile &file,
                                 const platform::KeepGoing &keepGoing);
    bool parseRecord(std::uint64_t at, std::uint64_t filled, Entry &entry);
    std::string_view slice(std::uint64_t at, std::size_t size) const;

    Bytes m_bytes;
    std::vector<Entry> m_entries;
    std::string m_comment;
    std::uint64_t m_base = 0;
    std::uint64_t m_start = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_fileSize = 0;
    std::uint64_t m_trailing = 0;
    std::uint64_t m_missing = 0;
    platform::Status m_damage;
};

} // namespace ziplib

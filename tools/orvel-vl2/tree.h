#pragma once

#include "tools/orvel-vl2/readEntries.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vl2 {

// Texts that stay where they are, in few allocations: half a million paths must take little memory.
class TextArena {
  public:
    std::string_view add(std::string_view text);

  private:
    std::deque<std::string> m_blocks;
};

// The path of an entry: a part of the directory if it is stored as such, else a text in `arena`.
std::string_view pathIn(const ziplib::Directory &directory, const ziplib::Entry &entry,
                        TextArena &arena);

// A file of an archive or of a folder.
struct TreeFile {
    std::string_view path;
    std::uint64_t size = 0;
    std::uint32_t crc = 0;   // set for an archive's entry; for a file once it was measured
    std::uint32_t index = 0; // of the entry in the archive, or of the file in the folder
};

// The size of a file, and the CRC-32 of its bytes. A file of another size than `onlyIfSize` is not
// read, and its CRC is 0.
platform::Status measureFile(const platform::Location &location,
                             std::optional<std::uint64_t> onlyIfSize, std::uint64_t &size,
                             std::uint32_t &crc);

// The files of an archive, or of a folder as they would be packed. Throws Failed if it cannot be
// read.
class Tree {
  public:
    explicit Tree(const std::string &path);

    const std::string &path() const { return m_path; }
    // Sorted by path; of several entries with one path the last. Those of an archive are found at
    // the first call.
    std::vector<TreeFile> &files();
    // Of a file of a folder, in nanoseconds since 1970, UTC.
    std::int64_t modified(const TreeFile &file) const { return m_modified[file.index]; }
    // Whether the CRC of a file is known.
    bool isMeasured(const TreeFile &file) const {
        return isArchive() || m_measured[file.index] != 0;
    }
    // Messages about what a folder holds and no archive can, as a pipe.
    const std::vector<std::string> &leftOut() const { return m_leftOut; }
    bool isArchive() const { return m_archive != nullptr; }
    // Null for a folder.
    const Archive *archive() const { return m_archive.get(); }
    // Reads files of a folder for their CRCs, in parallel.
    void measure(const std::vector<TreeFile *> &files);
    std::string read(const TreeFile &file) const;

  private:
    void scan();
    void fill();

    std::string m_path;
    std::unique_ptr<Archive> m_archive;
    TextArena m_texts;
    std::vector<TreeFile> m_files;
    std::vector<std::int64_t> m_modified;
    std::vector<std::uint8_t> m_measured;
    std::vector<std::string> m_leftOut;
};

// Prints them on standard error; Findings if there are any.
Exit complainLeftOut(const Tree &tree);

} // namespace vl2

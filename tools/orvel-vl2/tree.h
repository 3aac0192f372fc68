#pragma once

#include "tools/orvel-vl2/readEntries.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vl2 {

// A file of an archive or of a folder.
struct TreeFile {
    std::string path;
    std::uint64_t size = 0;
    std::optional<std::uint32_t> crc; // of an archive's entry; of a file once it was measured
    std::size_t index = 0;            // of the entry in the archive
    std::int64_t modified = 0;        // nanoseconds since 1970, UTC; of a file
};

// The files of an archive, or of a folder as they would be packed. Throws Failed if it cannot be
// read.
class Tree {
  public:
    explicit Tree(const std::string &path);

    const std::string &path() const { return m_path; }
    // Sorted by path; of several entries with one path the last.
    std::vector<TreeFile> &files() { return m_files; }
    const std::vector<TreeFile> &files() const { return m_files; }
    bool isArchive() const { return m_archive != nullptr; }
    // Null for a folder.
    const Archive *archive() const { return m_archive.get(); }
    // Reads files of a folder for their CRCs, in parallel.
    void measure(const std::vector<TreeFile *> &files) const;
    std::string read(const TreeFile &file) const;

  private:
    std::string m_path;
    std::unique_ptr<Archive> m_archive;
    std::vector<TreeFile> m_files;
};

} // namespace vl2

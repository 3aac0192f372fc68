#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

// A scratch folder in memory, emptied for each run. Aborts where it cannot be made.
class Folder {
  public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    const std::string &path() const { return m_path; }
    // Empties the folder and makes `name` in it hold the bytes; returns its path.
    std::string reset(const std::string &name, const std::uint8_t *data, std::size_t size);
    void write(const std::string &name, const std::string &bytes);
    std::string read(const std::string &name) const;
    // Path and content of every file below a folder in it.
    std::map<std::string, std::string> files(const std::string &name) const;
    // Aborts where the folder holds anything but `expected`, temporaries included.
    void expectOnly(const std::vector<std::string> &expected) const;

  private:
    std::string m_path;
};

// One listed entry, as the callback got it.
struct Entry {
    std::string name;
    std::uint32_t packed = 0;
    std::uint32_t size = 0;
    std::uint32_t crc = 0;
    bool operator==(const Entry &) const = default;
};

using Listing = std::pair<std::int32_t, std::vector<Entry>>;

// The return code and the entries of an archive.
Listing list(std::string archive);
// Extracts everything, overwriting; answers each password request with "fuzz".
std::int32_t extract(std::string archive, std::string folder);

} // namespace fuzz

#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// A temporary folder, removed at the end of a test.
class TestFolder {
  public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder &) = delete;
    TestFolder &operator=(const TestFolder &) = delete;

    std::filesystem::path operator/(const std::string &name) const { return m_path / name; }
    const std::filesystem::path &path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

// Makes the folders above the file, too.
void writeFile(const std::filesystem::path &file, const std::string &bytes);
std::string readFile(const std::filesystem::path &file);

// Path and content of everything below a folder; empty if it is missing. Folders end in "/", links
// in "@".
std::map<std::string, std::string> filesIn(const std::filesystem::path &folder);
// The paths alone, in order.
std::vector<std::string> namesIn(const std::filesystem::path &folder);

// A file below tests/data.
std::string dataFile(const std::string &name);

// Name and content of each entry, from the output of "archives.py read".
std::vector<std::pair<std::string, std::string>> filesOfListing(const std::string &output);

#include "tests/support/files.h"

#include "tests/support/disk.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace fs = std::filesystem;

TestFolder::TestFolder() : m_path(makeScratchFolder()) {}

TestFolder::~TestFolder() {
    removeTree(m_path);
}

void writeFile(const fs::path &file, const std::string &bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string readFile(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::map<std::string, std::string> filesIn(const fs::path &folder) {
    std::map<std::string, std::string> found;
    std::error_code none;
    for (const auto &item : fs::recursive_directory_iterator(folder, none)) {
        const std::string name = item.path().lexically_relative(folder).generic_string();
        if (item.is_symlink())
            found[name + "@"] = fs::read_symlink(item.path()).string();
        else if (item.is_directory())
            found[name + "/"] = "";
        else
            found[name] = readFile(item.path());
    }
    return found;
}

std::vector<std::string> namesIn(const fs::path &folder) {
    std::vector<std::string> names;
    for (const auto &[name, content] : filesIn(folder))
        names.push_back(name);
    return names;
}

std::string dataFile(const std::string &name) {
    const char *folder = std::getenv("ORVEL_TEST_DATA");
    return std::string(folder != nullptr ? folder : "tests/data") + "/" + name;
}

std::vector<std::pair<std::string, std::string>> filesOfListing(const std::string &output) {
    std::istringstream text(output);
    std::vector<std::pair<std::string, std::string>> found;
    std::string size;
    for (std::string name; std::getline(text, name) && std::getline(text, size);) {
        found.emplace_back(name, std::string(std::strtoul(size.c_str(), nullptr, 10), '\0'));
        text.read(found.back().second.data(),
                  static_cast<std::streamsize>(found.back().second.size()));
    }
    return found;
}

#include "fuzz/fuzzFolder.h"

#include "ziplib/vl2uzip.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::vector<fuzz::Entry> *listed = nullptr;

void keepEntry(std::uint32_t size, std::uint32_t packed, std::int32_t, std::int32_t, std::int32_t,
               std::int32_t, std::int32_t, std::int32_t, char, char *name, char *method,
               std::uint32_t crc, char) {
    if (std::strlen(method) > 255)
        std::abort();
    listed->push_back({name, packed, size, crc});
}

std::int32_t password(char *p, std::int32_t n, char *, char *) {
    std::snprintf(p, static_cast<std::size_t>(n), "fuzz");
    return 0;
}

} // namespace

fuzz::Folder::Folder() {
    char name[] = "/dev/shm/orvel-fuzz-XXXXXX";
    if (mkdtemp(name) == nullptr)
        std::abort();
    m_path = name;
}

fuzz::Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string fuzz::Folder::reset(const std::string &name, const std::uint8_t *data,
                                std::size_t size) {
    for (const fs::directory_entry &entry : fs::directory_iterator(m_path))
        fs::remove_all(entry.path());
    std::ofstream(m_path + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    return m_path + "/" + name;
}

void fuzz::Folder::write(const std::string &name, const std::string &bytes) {
    fs::create_directories(fs::path(m_path + "/" + name).parent_path());
    std::ofstream(m_path + "/" + name, std::ios::binary) << bytes;
}

std::string fuzz::Folder::read(const std::string &name) const {
    std::ifstream file(m_path + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::map<std::string, std::string> fuzz::Folder::files(const std::string &name) const {
    std::map<std::string, std::string> found;
    const fs::path root = m_path + "/" + name;
    if (!fs::exists(root))
        return found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().lexically_relative(root).string();
        if (entry.is_regular_file())
            found[path] = read(fs::path(name) / path);
    }
    return found;
}

void fuzz::Folder::expectOnly(const std::vector<std::string> &expected) const {
    for (const fs::directory_entry &entry : fs::directory_iterator(m_path)) {
        const std::string name = entry.path().filename().string();
        if (std::find(expected.begin(), expected.end(), name) == expected.end()) {
            std::fprintf(stderr, "left behind: %s\n", name.c_str());
            std::abort();
        }
    }
}

fuzz::Listing fuzz::list(std::string archive) {
    std::vector<Entry> entries;
    listed = &entries;
    std::string folder;
    DCL options{};
    options.nvflag = 1;
    options.lpszZipFN = archive.data();
    options.lpszExtractDir = folder.data();
    USERFUNCTIONS callbacks{};
    callbacks.SendApplicationMessage = keepEntry;
    const std::int32_t code = Wiz_SingleEntryUnzip(0, nullptr, 0, nullptr, &options, &callbacks);
    return {code, std::move(entries)};
}

std::int32_t fuzz::extract(std::string archive, std::string folder) {
    DCL options{};
    options.ndflag = 1;
    options.noflag = 1;
    options.lpszZipFN = archive.data();
    options.lpszExtractDir = folder.data();
    USERFUNCTIONS callbacks{};
    callbacks.password = password;
    return Wiz_SingleEntryUnzip(0, nullptr, 0, nullptr, &options, &callbacks);
}

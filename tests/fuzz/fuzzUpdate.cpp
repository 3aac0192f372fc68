// Any bytes as an archive, and a small folder that follows from them, packed into it: the archive
// is as it was, or it lists, holds the folder's files with their contents, and keeps the others.

#include "fuzz/fuzzFolder.h"

#include "ziplib/vl2zip.h"

#include <algorithm>
#include <cstdlib>

namespace {

std::int32_t update(std::string archive, std::string root) {
    ZPOPT options{};
    options.szRootDir = root.data();
    options.fNoDirEntries = 1;
    options.fRecurse = 2;
    ZIPUSERFUNCTIONS callbacks{};
    ZpInit(&callbacks);
    ZpSetOptions(&options);
    std::string pattern = "*";
    char *names[] = {pattern.data(), nullptr, nullptr};
    return ZpArchive({1, archive.data(), names});
}

// Names that differ in case only may stand for one entry.
std::string folded(std::string text) {
    for (char &c : text) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + ('a' - 'A'));
    }
    return text;
}

std::string fill(std::uint8_t seed) {
    return std::string(seed % 7 * 40U, static_cast<char>('a' + seed % 5)) + std::string(1, '\n');
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 4)
        return 0;
    static fuzz::Folder folder;
    const std::string archive = folder.reset("a.vl2", data + 2, size - 2);
    const fuzz::Listing before = fuzz::list(archive);
    // One name of the archive's own, where it can be a plain file name, and one that is new.
    std::string name = "new.txt";
    if (!before.second.empty()) {
        const std::string &old = before.second[data[0] % before.second.size()].name;
        const bool plain = std::all_of(old.begin(), old.end(), [](unsigned char c) {
            return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
        });
        if (plain && !old.empty() && old.size() < 200)
            name = old;
    }
    folder.write("w/" + name, fill(data[0]));
    folder.write("w/sub/other.cs", fill(data[1]));
    const std::int32_t code = update(archive, folder.path() + "/w");
    folder.expectOnly({"a.vl2", "w"});
    if (code > 1) {
        if (folder.read("a.vl2") != std::string(reinterpret_cast<const char *>(data + 2), size - 2))
            std::abort();
        return 0;
    }
    const fuzz::Listing after = fuzz::list(archive);
    if (after.first > 1)
        std::abort();
    const auto holds = [&](const std::string &wanted, std::size_t bytes) {
        return std::any_of(after.second.begin(), after.second.end(), [&](const fuzz::Entry &entry) {
            return folded(entry.name) == wanted && entry.size == bytes;
        });
    };
    if (!holds(name, fill(data[0]).size()) || !holds("sub/other.cs", fill(data[1]).size()))
        std::abort();
    for (const fuzz::Entry &entry : before.second) {
        const std::string plain = folded(entry.name);
        const bool replaced = plain == name || plain == "sub/other.cs";
        if (!replaced &&
            std::find(after.second.begin(), after.second.end(), entry) == after.second.end())
            std::abort();
    }
    return 0;
}

// Any bytes as an archive, and a small folder that follows from them, packed into it: the archive
// is as it was, or it lists, gives the folder's files back, and gives the others as it did before.

#include "fuzz/fuzzFolder.h"

#include "ziplib/vl2zip.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

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

// A file that was just written is given time to age before it is packed, so that another change
// would show in its time. Here nobody changes it.
extern "C" int nanosleep(const timespec * /*wanted*/, timespec * /*left*/) {
    return 0;
}

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
        if (plain && !old.empty() && old.size() < 200 && old != "sub")
            name = old;
    }
    fuzz::extract(archive, folder.path() + "/before");
    folder.write("w/" + name, fill(data[0]));
    folder.write("w/sub/other.cs", fill(data[1]));
    const std::int32_t code = update(archive, folder.path() + "/w");
    folder.expectOnly({"a.vl2", "w", "before"});
    if (code > 1) {
        if (folder.read("a.vl2") != std::string(reinterpret_cast<const char *>(data + 2), size - 2))
            std::abort();
        return 0;
    }
    const fuzz::Listing after = fuzz::list(archive);
    if (after.first > 1)
        std::abort();
    for (const fuzz::Entry &entry : before.second) {
        const std::string plain = folded(entry.name);
        const bool replaced = plain == name || plain == "sub/other.cs";
        if (!replaced &&
            std::find(after.second.begin(), after.second.end(), entry) == after.second.end())
            std::abort();
    }
    std::map<std::string, std::string> wanted = folder.files("before");
    // What the two files replace, names in another case included, and what they stand in the way
    // of.
    std::erase_if(wanted, [&](const auto &file) {
        const std::string plain = folded(file.first);
        return plain == name || plain.starts_with(name + "/") || plain == "sub" ||
               plain == "sub/other.cs" || plain.starts_with("sub/other.cs/");
    });
    constexpr std::int32_t kDoesNotFit = 50; // told sizes beyond any disk: nothing is extracted
    if (fuzz::extract(archive, folder.path() + "/after") == kDoesNotFit)
        return 0;
    const std::map<std::string, std::string> found = folder.files("after");
    for (const auto &[path, content] : wanted) {
        if (found.count(path) == 0 || found.at(path) != content) {
            std::fprintf(stderr, "no longer the same: %s\n", path.c_str());
            std::abort();
        }
    }
    const auto gives = [&](const std::string &path, const std::string &content) {
        // A kept entry may need a folder of that name, or be a file where this needs a folder.
        const bool blocked =
            std::any_of(before.second.begin(), before.second.end(), [&](const fuzz::Entry &entry) {
                const std::string plain = folded(entry.name);
                return plain.starts_with(path + "/") || path.starts_with(plain + "/");
            });
        return blocked || std::any_of(found.begin(), found.end(), [&](const auto &file) {
                   return folded(file.first) == path && file.second == content;
               });
    };
    if (!gives(name, fill(data[0])) || !gives("sub/other.cs", fill(data[1])))
        std::abort();
    return 0;
}

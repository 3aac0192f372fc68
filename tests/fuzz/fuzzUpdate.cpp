// Any bytes as an archive, and a small folder that follows from them, packed into it: the archive
// is as it was, or it lists, gives the folder's files back, and gives the others as it did before.

#include "tests/fuzz/fuzzCall.h"

#include "ziplib/vl2zip.h"

#include <algorithm>
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
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    return text;
}

std::string fill(std::uint8_t seed) {
    return std::string(seed % 7 * 40U, static_cast<char>('a' + seed % 5)) + std::string(1, '\n');
}

} // namespace

// The save waits until a file that was just written is old enough for another change to change its
// time. Here no file changes.
extern "C" int nanosleep(const timespec * /*wanted*/, timespec * /*left*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 4)
        return 0;
    const TestFolder folder;
    const std::string archive = folder / "a.vl2";
    const std::string original(data + 2, data + size);
    writeFile(archive, original);
    UnzipCall before;
    before.list(archive);
    // One name of the archive's own, where it can be a plain file name, and one that is new.
    std::string name = "new.txt";
    if (!before.paths.empty()) {
        const std::string &old = before.paths[data[0] % before.paths.size()];
        const bool plain =
            old.find_first_not_of("_0123456789abcdefghijklmnopqrstuvwxyz") == old.npos;
        if (plain && !old.empty() && old.size() < 200 && old != "sub")
            name = old;
    }
    fuzz::extract(archive, folder / "before");
    writeFile(folder / ("w/" + name), fill(data[0]));
    writeFile(folder / "w/sub/other.cs", fill(data[1]));
    const std::int32_t code = update(archive, folder / "w");
    for (const auto &item : std::filesystem::directory_iterator(folder.path())) {
        const std::string there = item.path().filename();
        fuzz::demand(there == "a.vl2" || there == "w" || there == "before", there + " is gone");
    }
    if (code > 1) {
        fuzz::demand(readFile(archive) == original, "the archive is as it was");
        return 0;
    }
    UnzipCall after;
    fuzz::demand(after.list(archive) <= 1, "what was saved can be listed");
    for (std::size_t i = 0; i < before.paths.size(); ++i) {
        const std::string plain = folded(before.paths[i]);
        const bool same =
            std::count(after.listed.begin(), after.listed.end(), before.listed[i]) > 0;
        fuzz::demand(same || plain == name || plain == "sub/other.cs", plain + " is the same");
    }
    constexpr std::int32_t kDoesNotFit = 50; // declared sizes beyond any disk: nothing is extracted
    if (fuzz::extract(archive, folder / "after") == kDoesNotFit)
        return 0;
    const auto found = filesIn(folder / "after");
    for (const auto &[path, content] : filesIn(folder / "before")) {
        // Replaced by the two files, under a name in another case, too, or blocked by them.
        const std::string plain = folded(path);
        const bool replaced = plain == name || plain.starts_with(name + "/") || plain == "sub" ||
                              plain == "sub/other.cs" || plain.starts_with("sub/other.cs/");
        const bool same = found.count(path) != 0 && found.at(path) == content;
        fuzz::demand(replaced || path.back() == '/' || same, path + " is the same");
    }
    const auto gives = [&](const std::string &path, const std::string &content) {
        // A kept entry may need a folder of that name, or be a file where this needs a folder.
        const bool blocked =
            std::any_of(before.paths.begin(), before.paths.end(), [&](const std::string &entry) {
                const std::string plain = folded(entry);
                return plain.starts_with(path + "/") || path.starts_with(plain + "/");
            });
        return blocked || std::any_of(found.begin(), found.end(), [&](const auto &file) {
                   return folded(file.first) == path && file.second == content;
               });
    };
    fuzz::demand(gives(name, fill(data[0])) && gives("sub/other.cs", fill(data[1])),
                 "the folder's files come back");
    return 0;
}

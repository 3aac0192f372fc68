#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace {

struct Verdict {
    std::string archive;
    std::int32_t listing;
    unsigned entries;
    std::int32_t extraction;
    std::set<std::string> files; // in the target afterwards, without folders
    std::int32_t missing = 1;    // entries that were not extracted
};

const std::set<std::string> good = {"good.txt"};

// Entries with unsafe names; the other one is written.
const char *const refused =
    "name-dotdot name-dotdot-inside name-absolute name-drive name-drive-relative name-unc "
    "name-backslash-dotdot name-backslash-absolute name-backslash-unc name-mixed-dotdot "
    "name-nul name-control name-newline name-device name-device-extension name-device-extensions "
    "name-device-port name-device-blank name-device-superscript name-stream name-trailing-dot "
    "name-trailing-blank name-folder-trailing-dot name-dot name-double-separator name-empty "
    "name-reserved name-folder-dotdot name-too-long path-too-long link device-node";

// Entries with damaged data; the other one is written.
const char *const damaged =
    "overlap-directory overlap-extra bomb-more-than-told bomb-less-than-told bomb-size-forged "
    "checksum-wrong data-damaged stored-sizes-differ local-name-differs local-method-differs "
    "local-size-differs local-checksum-differs local-encryption-differs local-missing";

const Verdict others[] = {
    {"link-then-file", 0, 3, 1, {"evil/a.txt", "good.txt"}},
    {"file-is-folder", 0, 3, 1, {"a/b.txt", "good.txt"}},
    {"folder-is-file", 0, 3, 1, {"a/b.txt", "good.txt"}},
    {"method-unknown", 0, 2, 81, good},
    {"overlap-quoted", 0, 3, 2, good, 2},
    {"overlap-same-data", 0, 3, 2, good},
    {"bomb-size-zip64", 0, 2, 50, {}, 2},
    {"offset-past-end", 0, 2, 51, good},
    {"encrypted-too-short", 0, 2, 82, good},
    {"count-too-small", 2, 2, 2, {"a.txt", "good.txt"}, 0},
    {"count-too-large", 2, 2, 2, {"a.txt", "good.txt"}},
    {"directory-offset-wrong", 3, 0, 3, {}},
    {"zip64-locator-wrong", 0, 1, 0, good, 0},
    {"zip64-offset-wrong", 3, 0, 3, {}},
    {"zip64-count-wrong", 2, 1, 2, good},
    {"zip64-size-wrong", 3, 0, 3, {}},
    {"zip64-extra-missing", 0, 2, 51, good},
    {"zip64-extra-short", 0, 2, 51, good},
    {"zip64-extra-past-end", 0, 2, 51, good},
    {"zip64-entry-offset-wrong", 0, 2, 51, good},
    {"end-in-comment", 0, 1, 0, good, 0},
    {"archive-in-comment", 0, 1, 0, good, 0},
    {"comment-cut", 51, 1, 51, good, 0},
    {"bytes-behind", 1, 1, 1, good, 0},
    {"not-an-archive", 3, 0, 3, {}},
    {"nothing", 3, 0, 3, {}},
    {"end-only-half", 3, 0, 3, {}},
};

std::vector<Verdict> detector() {
    std::vector<Verdict> all(std::begin(others), std::end(others));
    for (const auto &[list, extraction] : {std::pair{refused, 1}, std::pair{damaged, 2}}) {
        std::istringstream names(list);
        for (std::string name; names >> name;)
            all.push_back({name, 0, 2, extraction, good});
    }
    return all;
}

// Files below a folder, without folders.
std::set<std::string> names(const fs::path &folder) {
    std::set<std::string> found;
    for (const std::string &name : namesIn(folder))
        if (name.back() != '/')
            found.insert(name);
    return found;
}

} // namespace

TEST(HostileArchives, ListAndExtractAsTheTableSays) {
    std::set<std::string> seen;
    for (const Verdict &verdict : detector()) {
        SCOPED_TRACE(verdict.archive);
        seen.insert(verdict.archive + ".vl2");
        const std::string archive = "hostile/" + verdict.archive;
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive), verdict.listing);
        EXPECT_EQ(listing.listed.size(), verdict.entries);

        // The target is two folders down, so that a file outside of it is found.
        const TestFolder folder;
        const fs::path target = folder / "work" / "target";
        fs::create_directories(target);
        UnzipCall extraction;
        EXPECT_EQ(extraction.extract(archive, target), verdict.extraction);
        EXPECT_EQ(UzpMissingCount(), verdict.missing);
        EXPECT_EQ(names(target), verdict.files);
        EXPECT_EQ(names(folder.path()).size(), verdict.files.size());
        EXPECT_TRUE(verdict.extraction == 0 || !extraction.messages.empty());
        for (const std::string &message : extraction.messages)
            EXPECT_EQ(message.find_first_of("\n\x1B\x9B"), std::string::npos) << message;
        EXPECT_EQ(readFile(target / "good.txt"),
                  verdict.files.count("good.txt") != 0 ? "good" : "");
    }
    EXPECT_EQ(seen, names(dataFile("hostile"))) << "the table has no row for a file, or too many";
}

TEST(HostileArchives, EveryTruncationAndEveryFlippedByteGivesRightFilesOrNone) {
    const std::string original = "archives/descriptor-signed";
    const TestFolder folder;
    UnzipCall complete;
    ASSERT_EQ(complete.extract(original, folder / "whole"), 0);
    std::set<std::string> right;
    for (const auto &[name, content] : filesIn(folder / "whole"))
        right.insert(content);
    const std::string whole = readFile(dataFile(original + ".vl2"));
    const std::string changed = (folder / "changed.vl2").string();
    const fs::path out = folder / "out";
    for (std::size_t at = 0; at < whole.size(); ++at) {
        SCOPED_TRACE(at);
        writeFile(changed, whole.substr(0, at));
        UnzipCall listing;
        const std::int32_t code = listing.list(changed);
        EXPECT_TRUE(code == 51 || code == 3) << code;
        EXPECT_TRUE(listing.listed.empty());
        UnzipCall cut;
        EXPECT_EQ(cut.extract(changed, out), code);
        EXPECT_TRUE(filesIn(out).empty());

        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        writeFile(changed, bytes);
        UnzipCall flipped;
        flipped.extract(changed, out);
        for (const auto &[name, content] : filesIn(out))
            EXPECT_EQ(right.count(content), 1U) << name;
        removeTree(out);
    }
}

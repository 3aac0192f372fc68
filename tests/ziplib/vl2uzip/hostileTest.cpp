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
    std::size_t entries;
    std::int32_t extraction;
    std::set<std::string> files; // all that is there afterwards, folders left out
};

const std::set<std::string> good = {"good.txt"};

// Entries that may not be written; the other one is.
const char *const refused =
    "name-dotdot name-dotdot-inside name-absolute name-drive name-drive-relative name-unc "
    "name-backslash-dotdot name-backslash-absolute name-backslash-unc name-mixed-dotdot "
    "name-nul name-control name-newline name-device name-device-extension name-device-extensions "
    "name-device-port name-device-blank name-device-superscript name-stream name-trailing-dot "
    "name-trailing-blank name-folder-trailing-dot name-dot name-double-separator name-empty "
    "name-reserved name-folder-dotdot name-too-long path-too-long link device-node";

const Verdict others[] = {
    {"link-then-file", 0, 3, 1, {"evil/a.txt", "good.txt"}},
    {"file-is-folder", 0, 3, 1, {"a/b.txt", "good.txt"}},
    {"folder-is-file", 0, 3, 1, {"a/b.txt", "good.txt"}},
    {"method-unknown", 0, 2, 81, good},
    {"overlap-quoted", 0, 3, 2, good},
    {"overlap-same-data", 0, 3, 2, good},
    {"overlap-directory", 0, 2, 2, good},
    {"overlap-extra", 0, 2, 2, good},
    {"bomb-more-than-told", 0, 2, 2, good},
    {"bomb-less-than-told", 0, 2, 2, good},
    {"bomb-size-forged", 0, 2, 2, good},
    {"checksum-wrong", 0, 2, 2, good},
    {"data-damaged", 0, 2, 2, good},
    {"bomb-size-zip64", 0, 2, 50, {}},
    {"stored-sizes-differ", 0, 2, 2, good},
    {"local-name-differs", 0, 2, 2, good},
    {"local-method-differs", 0, 2, 2, good},
    {"local-size-differs", 0, 2, 2, good},
    {"local-checksum-differs", 0, 2, 2, good},
    {"local-encryption-differs", 0, 2, 2, good},
    {"local-missing", 0, 2, 2, good},
    {"offset-past-end", 0, 2, 51, good},
    {"encrypted-too-short", 0, 2, 82, good},
    {"count-too-small", 2, 2, 2, {"a.txt", "good.txt"}},
    {"count-too-large", 2, 2, 2, {"a.txt", "good.txt"}},
    {"directory-offset-wrong", 3, 0, 3, {}},
    {"zip64-locator-wrong", 0, 1, 0, good},
    {"zip64-offset-wrong", 3, 0, 3, {}},
    {"zip64-count-wrong", 2, 1, 2, good},
    {"zip64-size-wrong", 3, 0, 3, {}},
    {"zip64-extra-missing", 0, 2, 51, good},
    {"zip64-extra-short", 0, 2, 51, good},
    {"zip64-extra-past-end", 0, 2, 51, good},
    {"zip64-entry-offset-wrong", 0, 2, 51, good},
    {"end-in-comment", 0, 1, 0, good},
    {"archive-in-comment", 0, 1, 0, good},
    {"comment-cut", 51, 1, 51, good},
    {"bytes-behind", 1, 1, 1, good},
    {"not-an-archive", 3, 0, 3, {}},
    {"nothing", 3, 0, 3, {}},
    {"end-only-half", 3, 0, 3, {}},
};

std::vector<Verdict> verdicts() {
    std::vector<Verdict> all(std::begin(others), std::end(others));
    std::istringstream names(refused);
    for (std::string name; names >> name;) {
        all.push_back({name, 0, 2, 1, good});
    }
    return all;
}

// Files below a folder, without folders.
std::set<std::string> names(const fs::path &folder) {
    std::set<std::string> found;
    for (const auto &[name, content] : filesIn(folder)) {
        if (name.back() != '/') {
            found.insert(name);
        }
    }
    return found;
}

} // namespace

TEST(HostileArchives, ListAndExtractAsTheTableSays) {
    for (const Verdict &verdict : verdicts()) {
        SCOPED_TRACE(verdict.archive);
        const std::string archive = dataFile("hostile/" + verdict.archive + ".vl2");
        ASSERT_TRUE(fs::exists(archive));
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive), verdict.listing);
        EXPECT_EQ(listing.listed.size(), verdict.entries);

        // The target lies two folders down, so that whatever climbs out of it is seen.
        const ScratchFolder scratch;
        const fs::path target = scratch / "work" / "target";
        fs::create_directories(target);
        UnzipCall extraction;
        EXPECT_EQ(extraction.extract(archive, target), verdict.extraction);
        EXPECT_EQ(names(target), verdict.files);
        std::set<std::string> all;
        for (const std::string &name : verdict.files) {
            all.insert("work/target/" + name);
        }
        EXPECT_EQ(names(scratch.path()), all);
        if (verdict.extraction != 0) {
            EXPECT_FALSE(extraction.messages.empty());
        }
        for (const auto &[name, content] : filesIn(target)) {
            if (name == "good.txt") {
                EXPECT_EQ(content, "good");
            }
        }
    }
}

TEST(HostileArchives, EveryFileOfTheFolderIsInTheTable) {
    std::set<std::string> told;
    for (const Verdict &verdict : verdicts()) {
        told.insert(verdict.archive);
    }
    for (const auto &item : fs::directory_iterator(dataFile("hostile"))) {
        EXPECT_TRUE(told.count(item.path().stem().string())) << item.path();
    }
}

TEST(HostileArchives, EveryTruncationAndEveryFlippedByteGivesRightFilesOrNone) {
    const std::string original = dataFile("archives/descriptor-signed.vl2");
    const ScratchFolder scratch;
    UnzipCall complete;
    ASSERT_EQ(complete.extract(original, scratch / "whole"), 0);
    const auto expected = filesIn(scratch / "whole");
    const std::string whole = contentOf(original);
    const std::string changed = (scratch / "changed.vl2").string();
    const fs::path out = scratch / "out";
    for (std::size_t at = 0; at < whole.size(); ++at) {
        SCOPED_TRACE(at);
        writeFile(changed, whole.substr(0, at));
        UnzipCall listing;
        const std::int32_t code = listing.list(changed);
        EXPECT_TRUE(code == 51 || code == 3) << code;
        EXPECT_TRUE(listing.listed.empty());
        UnzipCall cut;
        EXPECT_EQ(cut.extract(changed, out), code);
        EXPECT_TRUE(!fs::exists(out) || filesIn(out).empty());

        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        writeFile(changed, bytes);
        UnzipCall flipped;
        flipped.extract(changed, out);
        for (const auto &[name, content] : fs::exists(out) ? filesIn(out) : decltype(expected)()) {
            const bool right = std::any_of(expected.begin(), expected.end(),
                                           [&](const auto &e) { return e.second == content; });
            EXPECT_TRUE(right) << name;
        }
        removeTree(out);
    }
}

#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <set>

namespace fs = std::filesystem;

namespace {

struct Verdict {
    const char *archive;
    std::int32_t listing;
    std::size_t entries;
    std::int32_t extraction;
    std::set<std::string> files; // all that is there afterwards, folders left out
};

const std::set<std::string> good = {"good.txt"};

const Verdict verdicts[] = {
    {"name-dotdot", 0, 2, 1, good},
    {"name-dotdot-inside", 0, 2, 1, good},
    {"name-absolute", 0, 2, 1, good},
    {"name-drive", 0, 2, 1, good},
    {"name-drive-relative", 0, 2, 1, good},
    {"name-unc", 0, 2, 1, good},
    {"name-backslash-dotdot", 0, 2, 1, good},
    {"name-backslash-absolute", 0, 2, 1, good},
    {"name-backslash-unc", 0, 2, 1, good},
    {"name-mixed-dotdot", 0, 2, 1, good},
    {"name-nul", 0, 2, 1, good},
    {"name-control", 0, 2, 1, good},
    {"name-newline", 0, 2, 1, good},
    {"name-device", 0, 2, 1, good},
    {"name-device-extension", 0, 2, 1, good},
    {"name-device-extensions", 0, 2, 1, good},
    {"name-device-port", 0, 2, 1, good},
    {"name-device-blank", 0, 2, 1, good},
    {"name-device-superscript", 0, 2, 1, good},
    {"name-stream", 0, 2, 1, good},
    {"name-trailing-dot", 0, 2, 1, good},
    {"name-trailing-blank", 0, 2, 1, good},
    {"name-folder-trailing-dot", 0, 2, 1, good},
    {"name-dot", 0, 2, 1, good},
    {"name-double-separator", 0, 2, 1, good},
    {"name-empty", 0, 2, 1, good},
    {"name-reserved", 0, 2, 1, good},
    {"name-folder-dotdot", 0, 2, 1, good},
    {"name-too-long", 0, 2, 1, good},
    {"path-too-long", 0, 2, 1, good},
    {"link", 0, 2, 1, good},
    {"link-then-file", 0, 3, 1, {"evil/a.txt", "good.txt"}},
    {"device-node", 0, 2, 1, good},
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
    for (const Verdict &verdict : verdicts) {
        SCOPED_TRACE(verdict.archive);
        const std::string archive = dataFile("hostile/" + std::string(verdict.archive) + ".vl2");
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
    for (const Verdict &verdict : verdicts) {
        told.insert(verdict.archive);
    }
    for (const auto &item : fs::directory_iterator(dataFile("hostile"))) {
        EXPECT_TRUE(told.count(item.path().stem().string())) << item.path();
    }
}

TEST(HostileArchives, EveryTruncationEndsInACleanCodeAndWholeFiles) {
    const std::string whole = contentOf(dataFile("archives/descriptor-signed.vl2"));
    const ScratchFolder scratch;
    UnzipCall complete;
    ASSERT_EQ(complete.extract(dataFile("archives/descriptor-signed.vl2"), scratch / "whole"), 0);
    const auto expected = filesIn(scratch / "whole");
    const std::string cut = (scratch / "cut.vl2").string();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        writeFile(cut, whole.substr(0, size));
        UnzipCall listing;
        const std::int32_t code = listing.list(cut);
        EXPECT_TRUE(code == 51 || code == 3) << code;
        EXPECT_TRUE(listing.listed.empty());
        UnzipCall extraction;
        EXPECT_EQ(extraction.extract(cut, scratch / "out"), code);
        for (const auto &[name, content] : filesIn(scratch.path())) {
            if (name.rfind("out/", 0) == 0 && name.size() > 4) {
                ADD_FAILURE() << name;
            }
        }
    }
}

TEST(HostileArchives, EveryFlippedByteGivesRightFilesOrNone) {
    const std::string original = dataFile("archives/descriptor-signed.vl2");
    const ScratchFolder scratch;
    UnzipCall complete;
    ASSERT_EQ(complete.extract(original, scratch / "whole"), 0);
    const auto expected = filesIn(scratch / "whole");
    const std::string whole = contentOf(original);
    const std::string changed = (scratch / "changed.vl2").string();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        SCOPED_TRACE(at);
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        writeFile(changed, bytes);
        removeTree(scratch / "out");
        UnzipCall extraction;
        extraction.extract(changed, scratch / "out");
        if (!fs::exists(scratch / "out")) {
            continue;
        }
        for (const auto &[name, content] : filesIn(scratch / "out")) {
            const bool right = std::any_of(expected.begin(), expected.end(),
                                           [&](const auto &e) { return e.second == content; });
            EXPECT_TRUE(right) << name;
        }
    }
}

#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <tuple>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

const char *const kDamaged =
    "overlap-directory overlap-extra overlap-same-data bomb-more-than-declared "
    "bomb-less-than-declared "
    "bomb-size-forged checksum-wrong data-damaged stored-sizes-differ local-name-differs "
    "local-method-differs local-size-differs local-checksum-differs local-encryption-differs "
    "local-missing";
const char *const kBeyond = "offset-past-end zip64-extra-missing zip64-extra-short "
                            "zip64-extra-past-end zip64-entry-offset-wrong";
const char *const kNone = "directory-offset-wrong zip64-offset-wrong zip64-size-wrong "
                          "not-an-archive nothing end-only-half";

// Archives with one result: the code of a listing, the number of listed entries, the code of an
// extraction, the number of entries that are not extracted, and the files in the target.
const std::tuple<const char *, int, std::size_t, int, int, Names> kVerdicts[] = {
    {"names", 0, 47, 1, 46, {"good.txt"}},
    {kDamaged, 0, 2, 2, 1, {"good.txt"}},
    {kBeyond, 0, 2, 51, 1, {"good.txt"}},
    {kNone, 3, 0, 3, 1, {}},
    {"link-then-file", 0, 3, 1, 1, {"evil/", "evil/a.txt", "good.txt"}},
    {"file-is-folder folder-is-file", 0, 3, 1, 1, {"a/", "a/b.txt", "good.txt"}},
    {"method-unknown", 0, 2, 81, 1, {"good.txt"}},
    {"overlap-quoted", 0, 3, 2, 2, {"good.txt"}},
    {"bomb-size-zip64", 0, 2, 50, 2, {}},
    {"encrypted-too-short", 0, 2, 82, 1, {"good.txt"}},
    {"count-too-small", 2, 2, 2, 0, {"a.txt", "good.txt"}},
    {"count-too-large", 2, 2, 2, 1, {"a.txt", "good.txt"}},
    {"zip64-count-wrong", 2, 1, 2, 1, {"good.txt"}},
    {"zip64-locator-wrong end-in-comment archive-in-comment", 0, 1, 0, 0, {"good.txt"}},
    {"comment-cut", 51, 1, 51, 0, {"good.txt"}},
    {"bytes-behind", 1, 1, 1, 0, {"good.txt"}},
};

} // namespace

TEST(HostileArchives, ListAndExtractAsTheTableSays) {
    std::set<std::string> seen;
    for (const auto &[group, listed, entries, extracted, missing, files] : kVerdicts) {
        std::istringstream list(group);
        for (std::string name; list >> name;) {
            SCOPED_TRACE(name);
            seen.insert(name + ".vl2");
            UnzipCall listing;
            EXPECT_EQ(listing.list("hostile/" + name), listed);
            EXPECT_EQ(listing.listed.size(), name == "overlap-same-data" ? 3 : entries);

            // The target is two folders down, so that a file outside of it is found.
            const TestFolder folder;
            const fs::path target = folder / "work" / "target";
            fs::create_directories(target);
            UnzipCall extraction;
            EXPECT_EQ(extraction.extract("hostile/" + name, target), extracted);
            EXPECT_EQ(UzpMissingCount(), missing);
            EXPECT_EQ(namesIn(target), files);
            EXPECT_EQ(namesIn(folder.path()).size(), files.size() + 2);
            EXPECT_TRUE(extracted == 0 || !extraction.messages.empty());
            for (const std::string &message : extraction.messages)
                EXPECT_EQ(message.find_first_of("\n\x1B\x7F\x9B"), std::string::npos) << message;
            EXPECT_EQ(readFile(target / "good.txt"), files.empty() ? "" : "good");
        }
    }
    EXPECT_EQ(Names(seen.begin(), seen.end()), namesIn(dataFile("hostile")))
        << "the table has no row for a file, or too many";
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
        UnzipCall cut;
        const std::int32_t code = cut.list(changed);
        EXPECT_TRUE(code == 51 || code == 3) << code;
        EXPECT_TRUE(cut.listed.empty());
        EXPECT_EQ(cut.extract(changed, out), code);
        EXPECT_TRUE(filesIn(out).empty());

        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        writeFile(changed, bytes);
        UnzipCall flipped;
        flipped.extract(changed, out);
        for (const auto &[name, content] : filesIn(out))
            EXPECT_TRUE(right.contains(content)) << name;
        removeTree(out);
    }
}

#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

using Files = std::map<std::string, std::string>;
using Paths = std::vector<std::string>;

namespace {

// Seconds since 1970.
std::int64_t modifiedOf(const std::filesystem::path &file) {
    return fileTime(file) / 1'000'000'000;
}

} // namespace

TEST(ArchivesOfOtherTools, GiveTheSameFiles) {
    const TestFolder folder;
    UnzipCall first;
    ASSERT_EQ(first.extract("archives/python-zipfile", folder / "first"), 0);
    const auto expected = filesIn(folder / "first");
    ASSERT_EQ(expected.at("scripts/deep/er/x.cs"), "");
    ASSERT_EQ(expected.at("sound/w.wav").size(), 9000U);
    for (const std::string tool :
         {"7zip", "7zip-stored", "bsdtar-descriptors", "bsdtar-whole-folder"}) {
        SCOPED_TRACE(tool);
        UnzipCall call;
        EXPECT_EQ(call.extract("archives/" + tool, folder / tool), 0);
        EXPECT_EQ(filesIn(folder / tool), expected);
        EXPECT_EQ(modifiedOf(folder / tool / "readme.txt"), 987514662);
    }
}

TEST(Listing, ReportsEveryEntryInStoredOrder) {
    UnzipCall call;
    ASSERT_EQ(call.list("archives/python-zipfile"), 0);
    ASSERT_EQ(call.listedPaths(),
              (Paths{"maps/", "maps/base/", "maps/base/a.png", "maps/base/b.mis", "readme.txt",
                     "scripts/deep/er/x.cs", "sound/w.wav"}));
    UnzipCall::Listed readme = call.listed[4];
    EXPECT_LT(readme.compressedSize, 200U);
    EXPECT_EQ(readme.factor, 100 - static_cast<int>(readme.compressedSize * 100 / readme.size));
    readme.compressedSize = readme.crc = 0;
    readme.factor = 0;
    EXPECT_EQ(readme, (UnzipCall::Listed{"readme.txt", "Deflated", "2001-04-17 13:37", 2440, 0, 0,
                                         0, ' ', ' '}));
    EXPECT_EQ(call.functions.NumMembers, 7);
    EXPECT_EQ(call.functions.cchComment, 0);
    EXPECT_TRUE(call.processed.empty());
    UnzipCall backslashes;
    EXPECT_EQ(backslashes.list("archives/backslashes"), 0);
    EXPECT_EQ(backslashes.listedPaths(), (Paths{"maps/base/a.png", "maps/b.txt", "empty/"}));
}

TEST(Listing, IncludesEntriesThatCannotBeExtracted) {
    const struct {
        const char *archive;
        const char *method;
        char encrypted;
    } rows[] = {{"archives/aes", "AES", 'E'},
                {"archives/strong-encryption", "Stored", 'E'},
                {"archives/method-bzip2", "BZip2", ' '},
                {"archives/method-lzma", "LZMA", ' '}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.archive);
        const TestFolder folder;
        UnzipCall call;
        EXPECT_EQ(call.list(row.archive), 0);
        ASSERT_EQ(call.listed.size(), 2U);
        EXPECT_EQ(call.listed[0].method, row.method);
        EXPECT_EQ(call.listed[0].encrypted, row.encrypted);
        EXPECT_EQ(call.extract(row.archive, folder.path()), 81);
        EXPECT_EQ(filesIn(folder.path()), (Files{{"good.txt", "good"}}));
    }
}

TEST(Listing, SaysWhyAnArchiveCannotBeRead) {
    const TestFolder folder;
    const std::string missing = platform::narrowFromUtf8("é.vl2");
    for (const std::string &archive :
         {std::string(), folder.path().string(), (folder / missing).string()}) {
        SCOPED_TRACE(archive);
        UnzipCall call;
        EXPECT_EQ(call.list(archive), 9);
        ASSERT_FALSE(call.messages.empty());
        EXPECT_NE(call.messages.back().find(archive), std::string::npos) << call.messages.back();
    }
}

TEST(UnusualArchives, ExtractCompletely) {
    const Paths three = {"a.txt", "c.png", "dir/", "dir/b.txt"};
    const struct {
        const char *archive;
        Paths files;
    } rows[] = {
        {"backslashes", {"empty/", "maps/", "maps/b.txt", "maps/base/", "maps/base/a.png"}},
        {"names-cp437", {"café.txt", "Üß.txt"}},
        {"names-utf8", {"café.txt", "Привет.txt"}},
        {"front-shifted", three},
        {"front-counted", three},
        {"gaps", three},
        {"odd-order", three},
        {"count-modulo", three},
        {"comment-65535", three},
        {"zip64-end", three},
        {"zip64-sizes", {"big.txt", "good.txt"}},
        {"descriptor-signed", {"a.txt", "good.txt"}},
        {"descriptor-plain", {"a.txt", "good.txt"}},
        {"descriptor-zero-checksum", {"a.txt", "b.txt", "good.txt"}},
        {"descriptor-zip64", {"a.txt", "good.txt"}},
        {"deflated-empty", {"a.txt", "good.txt"}},
        {"folder-by-attribute", {"dir/", "dir/a"}},
        {"brackets", {"map1.mis", "map[1].mis"}},
        {"empty", {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.archive);
        const TestFolder folder;
        UnzipCall call;
        EXPECT_EQ(call.extract("archives/" + std::string(row.archive), folder.path()), 0);
        EXPECT_EQ(namesIn(folder.path()), row.files);
    }
}

TEST(Extraction, RestoresTheMostExactTimeThatIsStored) {
    const TestFolder folder;
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/times", folder.path()), 0);
    EXPECT_EQ(modifiedOf(folder / "dos.txt"), 987514662);
    EXPECT_EQ(modifiedOf(folder / "unix.txt"), 987654321);
    EXPECT_EQ(fileTime(folder / "ntfs.txt"), 987654321'500'000'000);
    EXPECT_EQ(modifiedOf(folder / "never.txt"), 315532800);
}

TEST(Extraction, RestoresReadOnlyHiddenAndSystem) {
    const TestFolder folder;
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/attributes", folder.path()), 0);
    const std::pair<const char *, int> rows[] = {{"readonly.txt", 1}, {"unix.txt", 1},
                                                 {"hidden.txt", 2},   {"system.txt", 6},
                                                 {"plain.txt", 0},    {"archive.txt", 0}};
    writeFile(folder / "probe", "");
    // Some disks hold read-only alone.
    const int held = setDosAttributes(folder / "probe", 2) ? 7 : 1;
    for (const auto &[name, attributes] : rows)
        EXPECT_EQ(dosAttributes(folder / name), attributes & held) << name;
}

TEST(Version, IsWrittenAsFarAsTheCallersStructureReaches) {
    for (const std::uint32_t length : {12U, 64U}) {
        UzpVer2 version{};
        version.structlen = length;
        UzpVersion2(&version);
        EXPECT_EQ(version.windll.major, length == 64 ? 1 : 0);
    }
    EXPECT_EQ(sizeof(UzpVer2), 64U);
}

#include "platform/storage.h"
#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

TEST(ArchivesOfOtherTools, GiveTheSameFiles) {
    const ScratchFolder scratch;
    UnzipCall first;
    ASSERT_EQ(first.extract(dataFile("archives/python-zipfile.vl2"), scratch / "first"), 0);
    const auto expected = filesIn(scratch / "first");
    ASSERT_EQ(expected.at("scripts/deep/er/x.cs"), "");
    ASSERT_EQ(expected.at("sound/w.wav").size(), 9000U);
    for (const char *tool : {"7zip", "7zip-stored", "bsdtar-descriptors", "bsdtar-whole-folder"}) {
        SCOPED_TRACE(tool);
        UnzipCall call;
        EXPECT_EQ(call.extract(dataFile("archives/" + std::string(tool) + ".vl2"), scratch / tool),
                  0);
        EXPECT_EQ(filesIn(scratch / tool), expected);
        EXPECT_EQ(modifiedOf(scratch / tool / "readme.txt"), 987514662);
    }
}

TEST(Listing, TellsEveryEntryInStoredOrderWithItsFolders) {
    UnzipCall call;
    ASSERT_EQ(call.list(dataFile("archives/python-zipfile.vl2")), 0);
    ASSERT_EQ(call.listedPaths(),
              (Paths{"maps/", "maps/base/", "maps/base/a.png", "maps/base/b.mis", "readme.txt",
                     "scripts/deep/er/x.cs", "sound/w.wav"}));
    const UnzipCall::Listed &readme = call.listed[4];
    EXPECT_EQ(readme.method, "Deflated");
    EXPECT_EQ(readme.date, "2001-04-17 13:37");
    EXPECT_EQ(readme.size, 2440U);
    EXPECT_LT(readme.packedSize, 200U);
    EXPECT_EQ(readme.factor, 100 - static_cast<int>(readme.packedSize * 100 / readme.size));
    EXPECT_EQ(readme.encrypted, ' ');
    EXPECT_EQ(call.functions.NumMembers, 7);
    EXPECT_EQ(call.functions.cchComment, 0);
    EXPECT_TRUE(call.processed.empty());
}

TEST(Listing, TellsWhatItCannotExtract) {
    const struct {
        const char *archive;
        const char *method;
        char encrypted;
    } rows[] = {{"aes", "AES", 'E'},
                {"strong-encryption", "Stored", 'E'},
                {"method-bzip2", "BZip2", ' '},
                {"method-lzma", "LZMA", ' '}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.archive);
        const std::string archive = dataFile("archives/" + std::string(row.archive) + ".vl2");
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive), 0);
        ASSERT_EQ(listing.listed.size(), 2U);
        EXPECT_EQ(listing.listed[0].method, row.method);
        EXPECT_EQ(listing.listed[0].encrypted, row.encrypted);
        const ScratchFolder scratch;
        UnzipCall extraction;
        EXPECT_EQ(extraction.extract(archive, scratch.path()), 81);
        EXPECT_EQ(filesIn(scratch.path()),
                  (std::map<std::string, std::string>{{"good.txt", "good"}}));
    }
}

TEST(Listing, SaysWhyAnArchiveCannotBeRead) {
    const ScratchFolder scratch;
    const std::string folder = scratch.path().string();
    for (const std::string &archive : {std::string(), folder, folder + "/missing.vl2"}) {
        SCOPED_TRACE(archive);
        UnzipCall call;
        EXPECT_EQ(call.list(archive), 9);
        EXPECT_FALSE(call.messages.empty());
    }
}

TEST(UnusualArchives, ExtractCompletely) {
    const struct {
        const char *archive;
        Paths files;
    } rows[] = {
        {"backslashes", {"empty/", "maps/", "maps/b.txt", "maps/base/", "maps/base/a.png"}},
        {"names-cp437", {"café.txt", "Üß.txt"}},
        {"names-utf8", {"café.txt", "Привет.txt"}},
        {"front-shifted", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"front-counted", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"gaps", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"odd-order", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"count-modulo", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"comment-65535", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"zip64-end", {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"zip64-sizes", {"big.txt", "good.txt"}},
        {"descriptor-signed", {"a.txt", "good.txt"}},
        {"descriptor-plain", {"a.txt", "good.txt"}},
        {"descriptor-zero-checksum", {"a.txt", "b.txt", "good.txt"}},
        {"descriptor-zip64", {"a.txt", "good.txt"}},
        {"deflated-empty", {"a.txt", "good.txt"}},
        {"folder-by-attribute", {"dir/", "dir/a"}},
        {"brackets", {"map1.mis", "map[1].mis"}},
        {"case-only", platform::namesIgnoreCase() ? Paths{"A.txt"} : Paths{"A.txt", "a.txt"}},
        {"empty", {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.archive);
        const ScratchFolder scratch;
        UnzipCall call;
        EXPECT_EQ(
            call.extract(dataFile("archives/" + std::string(row.archive) + ".vl2"), scratch.path()),
            0);
        Paths found;
        for (const auto &[name, content] : filesIn(scratch.path())) {
            found.push_back(name);
        }
        EXPECT_EQ(found, row.files);
    }
}

TEST(UnusualArchives, ListBackslashesAsSeparatorsAndTakeThemInNames) {
    const std::string archive = dataFile("archives/backslashes.vl2");
    UnzipCall listing;
    EXPECT_EQ(listing.list(archive), 0);
    EXPECT_EQ(listing.listedPaths(), (Paths{"maps/base/a.png", "maps/b.txt", "empty/"}));
    for (const char *name : {"maps/b.txt", "maps\\b.txt"}) {
        const ScratchFolder scratch;
        UnzipCall call;
        call.wanted = {name};
        EXPECT_EQ(call.extract(archive, scratch.path()), 0);
        EXPECT_EQ(filesIn(scratch.path()),
                  (std::map<std::string, std::string>{{"maps/", ""}, {"maps/b.txt", "b"}}));
    }
}

TEST(UnusualArchives, TheLastOfSeveralEntriesOfOnePathWins) {
    const ScratchFolder scratch;
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile("archives/duplicates.vl2"), scratch.path()), 0);
    EXPECT_EQ(filesIn(scratch.path()),
              (std::map<std::string, std::string>{{"a.txt", "new"}, {"b.txt", "b"}}));
    EXPECT_EQ(call.processed, (Paths{"a.txt", "b.txt", "a.txt"}));
}

TEST(Extraction, RestoresTheMostExactTimeThatIsStored) {
    const ScratchFolder scratch;
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile("archives/times.vl2"), scratch.path()), 0);
    EXPECT_EQ(modifiedOf(scratch / "dos.txt"), 987514662);
    EXPECT_EQ(modifiedOf(scratch / "unix.txt"), 987654321);
    EXPECT_EQ(modifiedOf(scratch / "ntfs.txt"), 987654321);
    EXPECT_EQ(fileTime(scratch / "ntfs.txt") % 1'000'000'000, 500'000'000);
    EXPECT_EQ(modifiedOf(scratch / "never.txt"), 315532800);
}

TEST(Extraction, RestoresReadOnlyHiddenAndSystem) {
    const ScratchFolder scratch;
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile("archives/attributes.vl2"), scratch.path()), 0);
    const struct {
        const char *name;
        int attributes;
    } rows[] = {{"readonly.txt", 1}, {"unix.txt", 1},  {"hidden.txt", 2},
                {"system.txt", 6},   {"plain.txt", 0}, {"archive.txt", 0}};
    writeFile(scratch / "probe", "");
    // Some disks hold read-only alone.
    const int held = setDosAttributes(scratch / "probe", 2) ? 7 : 1;
    for (const auto &row : rows) {
        EXPECT_EQ(dosAttributes(scratch / row.name), row.attributes & held) << row.name;
    }
}

TEST(Version, TellsThatOfTheProject) {
    UzpVer2 version{};
    version.structlen = 64;
    UzpVersion2(&version);
    EXPECT_EQ(sizeof version, 64U);
    EXPECT_EQ(version.windll.major, 1);
    EXPECT_GT(std::string(version.zlib_version).size(), 2U);
    UzpVer2 small{};
    small.structlen = 12;
    UzpVersion2(&small);
    EXPECT_EQ(small.windll.major, 0);
}

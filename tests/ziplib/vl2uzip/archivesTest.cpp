#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/support/tool.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <tuple>

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
    ASSERT_EQ(call.paths, (Paths{"maps/", "maps/base/", "maps/base/a.png", "maps/base/b.mis",
                                 "readme.txt", "scripts/deep/er/x.cs", "sound/w.wav"}));
    EXPECT_EQ(call.listed[4], "readme.txt|Deflated|2001-04-17 13:37|2440|80|97|FC6129CD|  ");
    EXPECT_EQ(call.functions.NumMembers, 7);
    EXPECT_EQ(call.functions.cchComment, 0);
    EXPECT_TRUE(call.processed.empty());
}

TEST(Listing, IncludesEntriesThatCannotBeExtracted) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"archives/aes", "|AES|", "|E "},
        {"archives/strong-encryption", "|Stored|", "|E "},
        {"archives/method-bzip2", "|BZip2|", "|  "},
        {"archives/method-lzma", "|LZMA|", "|  "}};
    for (const auto &[archive, method, encrypted] : rows) {
        SCOPED_TRACE(archive);
        UnzipCall call;
        EXPECT_EQ(call.list(archive), 0);
        ASSERT_EQ(call.listed.size(), 2U);
        EXPECT_NE(call.listed[0].find(method), std::string::npos) << call.listed[0];
        EXPECT_TRUE(call.listed[0].ends_with(encrypted)) << call.listed[0];
        EXPECT_EQ(call.extract(archive), 81);
        EXPECT_EQ(namesIn(call.folder.path()), Paths{"good.txt"});
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
    const std::pair<const char *, Paths> rows[] = {
        {"backslashes", {"empty/", "maps/", "maps/b.txt", "maps/base/", "maps/base/a.png"}},
        {"names-utf8", {"café.txt", "Привет.txt"}},
        {"front-shifted front-counted gaps odd-order count-modulo comment-65535 zip64-end",
         {"a.txt", "c.png", "dir/", "dir/b.txt"}},
        {"zip64-sizes", {"big.txt", "good.txt"}},
        {"descriptor-signed descriptor-plain descriptor-zip64 deflated-empty",
         {"a.txt", "good.txt"}},
        {"descriptor-zero-checksum", {"a.txt", "b.txt", "good.txt"}},
        {"folder-by-attribute", {"dir/", "dir/a"}},
        {"empty", {}},
    };
    for (const auto &[archives, files] : rows) {
        std::istringstream list(archives);
        for (std::string archive; list >> archive;) {
            SCOPED_TRACE(archive);
            UnzipCall call;
            EXPECT_EQ(call.extract("archives/" + archive), 0);
            EXPECT_EQ(namesIn(call.folder.path()), files);
        }
    }
}

TEST(Extraction, RestoresTheMostExactTimeAndTheAttributes) {
    UnzipCall call;
    EXPECT_EQ(call.extract("archives/times"), 0);
    EXPECT_EQ(modifiedOf(call.folder / "dos.txt"), 987514662);
    EXPECT_EQ(modifiedOf(call.folder / "unix.txt"), 987654321);
    EXPECT_EQ(fileTime(call.folder / "ntfs.txt"), 987654321'500'000'000);
    EXPECT_EQ(modifiedOf(call.folder / "never.txt"), 315532800);
    call.plain.clear();
    EXPECT_EQ(call.extract("archives/attributes", call.folder / "x"), 0);
    const std::pair<const char *, int> rows[] = {{"readonly.txt", 1}, {"unix.txt", 1},
                                                 {"hidden.txt", 2},   {"system.txt", 6},
                                                 {"plain.txt", 0},    {"archive.txt", 0}};
    // Some disks hold read-only alone.
    const int held = setDosAttributes(call.folder / "dos.txt", 2) ? 7 : 1;
    for (const auto &[name, attributes] : rows) {
        EXPECT_EQ(dosAttributes(call.folder / "x" / name), attributes & held) << name;
        // Windows gives new files the archive attribute.
        const bool isPlain =
            std::find(call.plain.begin(), call.plain.end(), name) != call.plain.end();
        EXPECT_EQ(isPlain, attributes == 0 && !platform::namesIgnoreCase()) << name;
    }
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

// Archives that are too large to be kept among the test data. One test, so that they are made once.
TEST(LargeArchives, AreListedAndReadWithLittleMemoryAndRegularCallbacks) {
    const TestFolder folder;
    const auto made =
        runTool({ORVEL_PYTHON, dataFile("make_archives.py"), "--large", folder.path().string()});
    ASSERT_EQ(made.code, 0) << made.output;
    const auto archive = [&](const char *name) {
        return (folder / (name + std::string(".vl2"))).string();
    };

    for (const auto &[name, entries] : {std::pair{"entries-65535", 65535U},
                                        {"entries-65536", 65536U},
                                        {"entries-modulo", 65539U}}) {
        UnzipCall call;
        EXPECT_EQ(call.list(archive(name)), 0) << name;
        EXPECT_EQ(call.listed.size(), entries) << name;
    }

    UnzipCall beyond;
    EXPECT_EQ(beyond.extract(archive("offset-4g+1"), folder / "x"), 0);
    EXPECT_EQ(readFile(folder / "x/good.txt"), "good");

    // The size as the callback's 32 bits hold it, and whether they hold all of it.
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"stored-4g-1", "|4294967295|4294967295|", "|  "},
        {"stored-4g+1", "|4294967295|4294967295|", "| +"},
        {"deflated-4g+64m", "|4294967295|", "| +"}};
    for (const auto &[name, sizes, mark] : rows) {
        SCOPED_TRACE(name);
        UnzipCall listing;
        EXPECT_EQ(listing.list(archive(name)), 0);
        ASSERT_EQ(listing.listed.size(), 1U);
        EXPECT_NE(listing.listed[0].find(sizes), std::string::npos) << listing.listed[0];
        EXPECT_TRUE(listing.listed[0].ends_with(mark)) << listing.listed[0];
        UnzipCall call;
        const auto start = std::chrono::steady_clock::now();
        call.options.ntflag = 1;
        EXPECT_EQ(call.run(archive(name), ""), 0);
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        // On average as often as promised; single callbacks may be late on a busy machine.
        EXPECT_LT(took.count() / (call.heartbeats + 1), 50);
        EXPECT_LT(static_cast<double>(call.longestSilence.count()), took.count() / 4);
    }
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LT(peakMemory(), 160U << 20U);
#endif
}

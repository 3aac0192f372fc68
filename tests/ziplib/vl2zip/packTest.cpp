#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace packer; // NOLINT: the tests speak this language

namespace {

using Names = std::vector<std::string>;
constexpr std::uint32_t kNoiseCrc = 0x28775DB0; // of noise(5000)

class Pack : public testing::Test {
  protected:
    TestFolder folder;
    fs::path archive = folder / "base/classic.vl2";
    fs::path work = folder / "work";

    void SetUp() override { fs::create_directories(folder / "base"); }
    Call call() { return {archive, work}; }
    void make(const std::string &recipe) {
        ASSERT_TRUE(judge({"make", recipe, archive}));
        writeFile(folder / "old.vl2", readFile(archive));
    }
};

TEST_F(Pack, ANewArchiveHoldsEveryFileAsOtherToolsReadIt) {
    writeFile(work / "textures/sky.png", noise(5000));
    writeFile(work / "scripts/a.cs", std::string(4000, 'a'));
    writeFile(work / ".hidden by a dot", "dot");
    writeFile(work / "empty.txt", "");
    writeFile(work / u8"textures/\u00fc.bmp", "umlaut");
    setFileTime(work / "empty.txt", 986558400 + 3);

    const auto result = run(call());

    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_TRUE(judge({"check", archive}));
    const auto list = entries(archive);
    ASSERT_EQ(list.size(), 5U);
    EXPECT_EQ(list[0].substr(0, 24), ".hidden by a dot|3|0|0|2");
    EXPECT_EQ(list[1].substr(0, 16), "empty.txt|0|0|0|");
    EXPECT_NE(list[1].find(":04|0|20|0"), std::string::npos) << list[1]; // whole 2 s, DOS, no extra
    EXPECT_EQ(list[2].substr(0, 22), "scripts/a.cs|4000|8|0|");
    EXPECT_EQ(list[3].substr(0, 25), "textures/sky.png|5000|0|0"); // deflate would not shrink it
    EXPECT_EQ(list[4].substr(0, 24), "textures/\xc3\xbc.bmp|6|0|2048");
    EXPECT_EQ(content(archive, "textures/sky.png"), noise(5000));
    auto files = names(archive);
    std::transform(files.begin(), files.end(), files.begin(), platform::narrowFromUtf8);
    EXPECT_EQ(result.files, files);
    ASSERT_EQ(result.packed.size(), 5U);
    const ZPPACKED &sky = result.packed.at("textures/sky.png");
    EXPECT_EQ(result.packed.count("textures/\xc3\xbc.bmp"), 1U);
    EXPECT_EQ(sky.size, 5000U);
    EXPECT_EQ(sky.crc, kNoiseCrc);
    EXPECT_EQ(sky.modified, fileTime(work / "textures/sky.png"));
    EXPECT_GE(sky.began, sky.changed); // by one clock, the disk's
    EXPECT_LT(sky.began, sky.changed + 3'600'000'000'000);
    // Who saves again hears the same of files whose bytes the archive has.
    const auto again = run(call());
    EXPECT_EQ(again.packed.size(), 5U);
    EXPECT_EQ(again.packed.at("textures/sky.png").crc, kNoiseCrc);
    EXPECT_EQ(again.packed.at("textures/sky.png").id, sky.id);
    EXPECT_TRUE(temporaries(folder.path()).empty());
}

// Of the system's narrow code page none holds all of these letters.
TEST_F(Pack, FilesAndFoldersWithNamesInAnyScriptArePackedAndComparedAgain) {
    const fs::path files[] = {u8"\u6f22\u5b57/\u0416/x.cs", u8"\u6f22.cs"};
    for (const char *text : {"before", "after and longer", "after and longer"}) {
        for (const auto &file : files)
            writeFile(work / file, text);
        const auto result = run(call());
        ASSERT_EQ(result.code, 0) << result.all();
        for (const auto &file : files)
            EXPECT_EQ(content(archive, file), text);
    }
    writeFile(work / files[0], "another process wrote this");
    writeFile((work / files[0]).replace_filename(".orvel-0123456789abcdef.part"), "left");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(names(archive).size(), 2U);
    EXPECT_TRUE(temporaries(work).empty());
}

// Under the name that is stored, which need not be spelled as that of the file.
TEST_F(Pack, AReplacedEntryStaysInItsPlaceAndAllOthersAsTheyWere) {
    struct Row {
        const char *recipe;
        fs::path file;
        fs::path stored;
    };
    const fs::path edit = "edit.txt";
    const fs::path sub = "sub/edit.txt";
    const Row rows[] = {{"plain", edit, edit},
                        {"prefix", edit, edit},
                        {"descriptor", edit, edit},
                        {"unreadable", edit, edit},
                        {"odd order", edit, edit},
                        {"zip64", edit, edit},
                        {"duplicates", edit, edit},
                        {"shared", edit, edit},
                        {"backslash", sub, "sub\\edit.txt"},
                        {"cp437", u8"\u00fcber.txt", u8"\u00fcber.txt"},
                        {"dotted", sub, "./sub/edit.txt"},
                        {"case", sub, "Sub/Edit.TXT"}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.recipe);
        fs::remove_all(work);
        make(row.recipe);
        writeFile(work / row.file, "after, and longer than before");
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(content(archive, row.stored), "after, and longer than before");
        EXPECT_EQ(names(archive), names(folder / "old.vl2"));
        const auto kept = judge({"kept", folder / "old.vl2", archive, row.stored});
        EXPECT_TRUE(kept) << kept.output;
    }
}

TEST_F(Pack, AReplacedEntryIsMarkedAsTextWhereItWasAndStillIsOne) {
    const struct {
        const char *recipe;
        std::string content;
        char mark;
    } rows[] = {{"text", "after", '1'},
                {"text", std::string("\0after", 6), '0'},
                {"text", std::string(17U << 20U, 't'), '1'}, // streams
                {"text", std::string(17U << 20U, '\0'), '0'},
                {"plain", "after", '0'}};
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        make(row.recipe);
        writeFile(work / "edit.txt", row.content);
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(content(archive, "edit.txt"), row.content);
        EXPECT_EQ(entries(archive)[1].back(), row.mark) << entries(archive)[1];
    }
}

TEST_F(Pack, WhatStandsBeforeAnArchiveWithoutEntriesStays) {
    make("empty prefix");
    const auto start = readFile(archive).substr(0, fs::file_size(archive) - 22);
    writeFile(work / "a.txt", "a");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(readFile(archive).substr(0, start.size()), start);
    EXPECT_EQ(content(archive, "a.txt"), "a");
}

TEST_F(Pack, NewFilesComeAfterTheEntriesInTheOrderOfTheirNames) {
    make("plain");
    writeFile(work / "sub/b.txt", "b");
    writeFile(work / "a.txt", "a");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_TRUE(judge({"check", archive}));
    EXPECT_TRUE(judge({"kept", folder / "old.vl2", archive, "a.txt", "sub/b.txt"}));
    EXPECT_EQ(names(archive),
              (Names{"keep.txt", "edit.txt", "sub/last.bin", "a.txt", "sub/b.txt"}));
}

TEST_F(Pack, UnchangedFilesCostNothing) {
    for (int i = 0; i < 20; ++i)
        writeFile(work / ("f" + std::to_string(i)), noise(1000, static_cast<unsigned>(i)));
    writeFile(work / "text", std::string(10000, 't'));
    ASSERT_EQ(run(call()).code, 0);
    const auto before = readFile(archive);
    const auto stamp = fs::last_write_time(archive);
    fs::permissions(archive, fs::perms::owner_read); // even a read-only one is up to date
    for (const bool newTimes : {false, true}) {
        if (newTimes)
            for (const auto &item : fs::directory_iterator(work))
                setFileTime(item.path(), 1000000000);
        auto again = call();
        again.options.fVerbose = 1;
        const auto result = run(again);
        EXPECT_EQ(result.code, 0) << result.all();
        EXPECT_NE(result.all().find("unchanged: text"), std::string::npos);
        EXPECT_EQ(result.files.size(), 21U);
        EXPECT_EQ(readFile(archive), before);
        EXPECT_EQ(fs::last_write_time(archive), stamp);
    }
}

TEST_F(Pack, AnEditIsNoticedThatKeepsTheSizeAndTheTimeOrTheCrc) {
    struct Row {
        const char *before;
        const char *after;
        std::int64_t time;
    };
    // CRC-32 alone would call the last two the same; their times tell.
    for (const Row &row :
         {Row{"before", "AFTER!", 1000000000}, {"plumless", "buckeroo", 1000000002}}) {
        writeFile(work / "a.txt", row.before);
        setFileTime(work / "a.txt", 1000000000);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "a.txt", row.after);
        setFileTime(work / "a.txt", row.time);
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(content(archive, "a.txt"), row.after);
    }
}

// Many workers begin to write before they have compared what looks as it was: right or wrong.
TEST_F(Pack, OneWorkerAndEightWriteTheSameBytes) {
    const auto put = [&](const std::string &name, unsigned seed, std::int64_t later = 0) {
        writeFile(work / name, noise(2000, seed) + std::string(400'000, 'x'));
        setFileTime(work / name, 1000000000 + later);
    };
    for (unsigned i = 0; i < 100; ++i) {
        writeFile(work / ("d" + std::to_string(i % 7)) / ("f" + std::to_string(i)),
                  noise(std::size_t{i} * 37, i));
        put("d" + std::to_string(i % 3) + "/large" + std::to_string(i), i);
    }
    const std::vector<std::function<void()>> edits = {
        [] {}, // makes the archive
        [&] { writeFile(work / "d1/f8", "edited"); },
        [&] {
            writeFile(work / "d1/f8", "edited again");
            put("d0/large99", 1000, 60);
        },
        [&] {
            writeFile(work / "d0/new", "new");
            put("d2/large98", 1001); // with its entry's size and time
            put("d0/large99", 1002, 60);
        },
    };
    std::string saved;
    for (const auto &edit : edits) {
        edit();
        std::string bytes[2];
        for (const int many : {0, 1}) {
            setVariable("ORVEL_WORKERS", many != 0 ? "8" : "1");
            writeFile(archive, saved);
            if (saved.empty())
                fs::remove(archive);
            ASSERT_EQ(run(call()).code, 0);
            bytes[many] = readFile(archive);
        }
        ASSERT_TRUE(bytes[0] == bytes[1]);
        ASSERT_FALSE(bytes[0] == saved);
        saved = bytes[0];
        for (const char *name : {"d1/f8", "d0/large99", "d2/large98"})
            EXPECT_TRUE(content(archive, name) == readFile(work / name)) << name;
    }
    setVariable("ORVEL_WORKERS", "");
}

TEST_F(Pack, ALargeFileStreamsAndIsStoredWhereDeflateDoesNotShrinkIt) {
    writeFile(work / "noise.bin", noise(20U << 20U));
    writeFile(work / "text.bin", std::string(20U << 20U, 't'));
    const auto result = run(call());
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_TRUE(judge({"check", archive}));
    const auto list = entries(archive);
    EXPECT_EQ(list[0].substr(0, 23), "noise.bin|20971520|0|0|");
    EXPECT_EQ(list[1].substr(0, 22), "text.bin|20971520|8|0|");
    EXPECT_LT(fs::file_size(archive), 21500000U);
    EXPECT_EQ(run(call()).code, 0);
    setFileTime(work / "text.bin", 1000000000); // compared by its bytes, which stream, too
    const auto before = readFile(archive);
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_TRUE(readFile(archive) == before);
}

TEST_F(Pack, MoreEntriesThanSixteenBitsCountAreWrittenAndReadBack) {
    make("many");
    for (int i = 0; i < 40; ++i)
        writeFile(work / ("new" + std::to_string(i)), "x");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(names(archive).size(), 65540U);
    writeFile(work / "new7", "changed");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(content(archive, "new7"), "changed");
    EXPECT_EQ(names(archive).size(), 65540U);
}

} // namespace

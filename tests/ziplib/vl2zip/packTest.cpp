#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2zip/packer.h"

#include <algorithm>

using namespace packer; // NOLINT: the tests speak this language

namespace {

constexpr std::uint32_t kNoiseCrc = 0x28775DB0; // of noise(5000)

TEST_F(Pack, ANewArchiveHoldsEveryFileAsOtherToolsReadIt) {
    writeFile(work / "textures/sky.png", noise(5000));
    writeFile(work / "scripts/a.cs", std::string(4000, 'a'));
    writeFile(work / ".hidden by a dot", "dot");
    writeFile(work / "empty.txt", "");
    writeFile(work / u8"textures/\u00fc.bmp", "umlaut");
    setFileTime(work / "empty.txt", 986558400 + 3);

    const auto result = run(call());

    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_TRUE(check(archive));
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
    EXPECT_GE(sky.began, sky.changed); // both by the clock of the disk
    EXPECT_LT(sky.began, sky.changed + 3'600'000'000'000);
    // A second save reports the same of unchanged files.
    const auto again = run(call());
    EXPECT_EQ(again.packed.size(), 5U);
    EXPECT_EQ(again.packed.at("textures/sky.png").crc, kNoiseCrc);
    EXPECT_EQ(again.packed.at("textures/sky.png").id, sky.id);
    EXPECT_TRUE(temporaries(folder.path()).empty());
}

// No narrow code page of a system holds all of these letters.
TEST_F(Pack, FilesAndFoldersWithNamesInAnyScriptArePackedAndComparedAgain) {
    const fs::path paths[] = {u8"\u6f22.cs", u8"\u6f22\u5b57/\u0416/x.cs"};
    for (const char *text : {"before", "after and longer", "after and longer"}) {
        for (const auto &file : paths)
            writeFile(work / file, text);
        const auto result = run(call());
        ASSERT_EQ(result.code, 0) << result.all();
        EXPECT_EQ(files(archive), (Files{{"\u6f22.cs", text}, {"\u6f22\u5b57/\u0416/x.cs", text}}));
    }
    writeFile(work / paths[1], "another process wrote this");
    writeFile((work / paths[1]).replace_filename(".orvel-0123456789abcdef.part"), "left");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(names(archive).size(), 2U);
    EXPECT_TRUE(temporaries(work).empty());
}

// The stored name is kept, which may be spelled in another way than that of the file.
TEST_F(Pack, AReplacedEntryStaysInItsPlaceAndAllOthersAsTheyWere) {
    const fs::path umlaut = u8"\u00fcber.txt";
    const struct {
        const char *recipe;
        fs::path file = "edit.txt";
        fs::path stored = "edit.txt";
    } rows[] = {{"plain"},
                {"prefix"},
                {"descriptor"},
                {"unreadable"},
                {"odd order"},
                {"zip64"},
                {"duplicates"},
                {"shared"},
                {"backslash", "sub/edit.txt", "sub\\edit.txt"},
                {"cp437", umlaut, umlaut},
                {"dotted", "sub/edit.txt", "./sub/edit.txt"},
                {"case", "sub/edit.txt", "Sub/Edit.TXT"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.recipe);
        fs::remove_all(work);
        make(row.recipe);
        writeFile(work / row.file, "after, and longer than before");
        ASSERT_EQ(run(call()).code, 0);
        const auto replaced = judge({"replaced", folder / "old.vl2", archive, row.stored});
        EXPECT_TRUE(replaced) << replaced.output;
        EXPECT_EQ(replaced.output, "after, and longer than before");
    }
}

TEST_F(Pack, AReplacedEntryKeepsItsTextMarkIfItIsStillText) {
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

TEST_F(Pack, DataBeforeAnArchiveWithoutEntriesStays) {
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
    EXPECT_TRUE(check(archive));
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
    fs::permissions(archive, fs::perms::owner_read); // which an archive that is up to date may be
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

TEST_F(Pack, AnEditThatKeepsTheSizeAndTheTimeOrTheCrcIsPacked) {
    const struct {
        const char *before;
        const char *after;
        std::int64_t time;
    } rows[] = {{"before", "AFTER!", 1000000000},
                {"plumless", "buckeroo", 1000000002}}; // with the same CRC-32
    for (const auto &row : rows) {
        writeFile(work / "a.txt", row.before);
        setFileTime(work / "a.txt", 1000000000);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "a.txt", row.after);
        setFileTime(work / "a.txt", row.time);
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(content(archive, "a.txt"), row.after);
    }
}

// Many workers write files before all comparisons are done, on a guess that may be wrong.
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
        for (const auto &[name, stored] : files(archive))
            EXPECT_TRUE(stored == readFile(work / name)) << name;
    }
    setVariable("ORVEL_WORKERS", "");
}

TEST_F(Pack, ALargeFileIsStreamedAndIsStoredIfDeflateDoesNotShrinkIt) {
    writeFile(work / "noise.bin", noise(20U << 20U));
    writeFile(work / "text.bin", std::string(20U << 20U, 't'));
    const auto result = run(call());
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_TRUE(check(archive));
    const auto list = entries(archive);
    EXPECT_EQ(list[0].substr(0, 23), "noise.bin|20971520|0|0|");
    EXPECT_EQ(list[1].substr(0, 22), "text.bin|20971520|8|0|");
    EXPECT_LT(fs::file_size(archive), 21500000U);
    EXPECT_EQ(run(call()).code, 0);
    setFileTime(work / "text.bin", 1000000000); // compared by its bytes, streamed
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

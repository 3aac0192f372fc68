#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/support/environment.h"
#include "tests/ziplib/vl2zip/packer.h"

#include <algorithm>
#include <tuple>

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
    check(archive);
    const auto list = entries(archive);
    const char *const starts[] = {".hidden by a dot|3|0|0|2", "empty.txt|0|0|0|",
                                  "scripts/a.cs|4000|8|0|",
                                  "textures/sky.png|5000|0|0", // deflate would not shrink it
                                  "textures/\xc3\xbc.bmp|6|0|2048"};
    ASSERT_EQ(list.size(), std::size(starts));
    for (std::size_t i = 0; i < list.size(); ++i)
        EXPECT_TRUE(list[i].starts_with(starts[i])) << list[i];
    EXPECT_NE(list[1].find(":04|0|20|0"), std::string::npos) << list[1]; // whole 2 s, DOS, no extra
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
    writeFile(base / ".orvel-fedcba9876543210.part", "left");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(names(archive).size(), 2U);
    EXPECT_TRUE(temporaries(folder.path()).empty());
}

// The stored name is kept, which may be spelled in another way than that of the file.
TEST_F(Pack, AReplacedEntryStaysInItsPlaceAndAllOthersAsTheyWere) {
    const fs::path umlaut = u8"\u00fcber.txt";
    const fs::path file = "edit.txt";
    const fs::path sub = "sub/edit.txt";
    const std::tuple<const char *, fs::path, fs::path> rows[] = {
        {"plain", file, file},         {"prefix", file, file},
        {"descriptor", file, file},    {"unreadable", file, file},
        {"odd order", file, file},     {"zip64", file, file},
        {"duplicates", file, file},    {"shared", file, file},
        {"cp437", umlaut, umlaut},     {"backslash", sub, "sub\\edit.txt"},
        {"case", sub, "Sub/Edit.TXT"}, {"dotted", sub, "./sub/edit.txt"}};
    for (const auto &[recipe, edited, stored] : rows) {
        SCOPED_TRACE(recipe);
        fs::remove_all(work);
        make(recipe);
        writeFile(work / edited, "after, and longer than before");
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(judge({"replaced", folder / "old.vl2", archive, stored}),
                  "after, and longer than before");
    }
}

TEST_F(Pack, AReplacedEntryKeepsItsTextMarkIfItIsStillText) {
    const std::tuple<const char *, std::string, char> rows[] = {
        {"text", "after", '1'},
        {"text", std::string("\0after", 6), '0'},
        {"text", std::string(17U << 20U, 't'), '1'}, // streams
        {"text", std::string(17U << 20U, '\0'), '0'},
        {"plain", "after", '0'}};
    for (const auto &[recipe, text, mark] : rows) {
        make(recipe);
        writeFile(work / "edit.txt", text);
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_TRUE(content(archive, "edit.txt") == text);
        EXPECT_EQ(entries(archive)[1].back(), mark) << entries(archive)[1];
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
    const std::tuple<const char *, const char *, std::int64_t> rows[] = {
        {"before", "AFTER!", 1000000000}, {"plumless", "buckeroo", 1000000002}}; // the same CRC-32
    for (const auto &[before, after, time] : rows) {
        writeFile(work / "a.txt", before);
        setFileTime(work / "a.txt", 1000000000);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "a.txt", after);
        setFileTime(work / "a.txt", time);
        ASSERT_EQ(run(call()).code, 0);
        EXPECT_EQ(content(archive, "a.txt"), after);
    }
}

// Many workers write files before all comparisons are done, on a guess that may be wrong.
TEST_F(Pack, OneWorkerAndEightWriteTheSameBytes) {
    const auto put = [&](const std::string &name, unsigned seed, std::int64_t later = 0) {
        writeFile(work / name, noise(2000, seed) + std::string(400'000, 'x'));
        setFileTime(work / name, 1000000000 + later);
    };
    for (unsigned i = 0; i < 100; ++i) {
        const std::string number = std::to_string(i);
        writeFile(work / ("d" + std::to_string(i % 7)) / ("f" + number), noise(i * 37U, i));
        put("d" + std::to_string(i % 3) + "/large" + number, i);
    }
    std::string saved;
    for (const int step : {0, 1, 2, 3}) { // the first makes the archive
        if (step > 0)
            writeFile(work / "d1/f8", "edited" + std::to_string(step));
        if (step > 1)
            put("d0/large99", 1000U + static_cast<unsigned>(step), 60);
        if (step > 2)
            put("d2/large98", 1001); // with its entry's size and time
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
    check(archive);
    EXPECT_TRUE(entries(archive)[0].starts_with("noise.bin|20971520|0|0|"));
    EXPECT_TRUE(entries(archive)[1].starts_with("text.bin|20971520|8|0|"));
    EXPECT_LT(fs::file_size(archive), 21500000U);
    EXPECT_EQ(run(call()).code, 0);
    setFileTime(work / "text.bin", 1000000000); // compared by its bytes, streamed
    const auto before = readFile(archive);
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_TRUE(readFile(archive) == before);
}

} // namespace

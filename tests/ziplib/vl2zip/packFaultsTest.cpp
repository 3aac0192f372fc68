#include "tests/ziplib/vl2zip/packFaults.h"
#include "tests/support/disk.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <thread>

using namespace packer; // NOLINT: the tests speak this language

namespace {

TEST_F(PackFaults, AReadOnlyArchiveIsLeftAlone) {
    fs::permissions(archive, fs::perms::owner_read);
    expectRefused(run(call()), {14}, "read-only");
}

TEST_F(PackFaults, WhatIsNoWholeArchiveIsNeverReplaced) {
    const std::pair<const char *, std::vector<int>> rows[] = {{"data missing", {2, 51}},
                                                              {"not an archive", {3}}};
    for (const auto &[recipe, codes] : rows) {
        SCOPED_TRACE(recipe);
        ASSERT_TRUE(judge({"make", recipe, archive}));
        before = readFile(archive);
        expectRefused(run(call()), codes, archive.string());
    }
}

TEST_F(PackFaults, EveryCutOfAnArchiveIsRefusedUntouched) {
    const std::string whole = before;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        writeFile(archive, before = whole.substr(0, size));
        expectRefused(run(call()), {2, 3, 51}, archive.string());
    }
}

// What a power cut leaves of files that were extracted a moment before must not take the place of
// their entries; what somebody wrote must.
TEST_F(PackFaults, WhatAPowerCutLeftOfAFileDoesNotReplaceItsEntry) {
    const std::string whole = noise(300U << 10U);
    std::string holes = whole;
    std::fill(holes.begin() + 8192, holes.begin() + 65536, '\0');
    std::string other = whole.substr(0, 4096);
    other[100] = static_cast<char>(other[100] ^ 1);
    constexpr std::int64_t kTime = 985'780'800;
    struct Row {
        std::string left;
        std::int64_t time;
        bool replaces;
    };
    const Row rows[] = {{"", kTime, false},
                        {whole.substr(0, 4096), kTime, false},
                        {std::string(4096, '\0'), kTime, false},
                        {holes, kTime, false},
                        {"", kTime + 2, true},
                        {whole.substr(0, 4096), kTime + 2, true},
                        {other, kTime, true},
                        {whole + '\0', kTime, true}};
    for (const Row &row : rows) {
        SCOPED_TRACE(&row - rows);
        writeFile(work / "cut.bin", whole);
        setFileTime(work / "cut.bin", kTime);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "cut.bin", row.left);
        setFileTime(work / "cut.bin", row.time);
        writeFile(work / "a.txt", std::to_string(&row - rows));
        const auto result = run(call());
        EXPECT_EQ(result.code, row.replaces ? 0 : 1);
        EXPECT_EQ(result.all().find("cut off") != std::string::npos, !row.replaces);
        EXPECT_EQ(content(archive, "cut.bin"), row.replaces ? row.left : whole);
        EXPECT_EQ(content(archive, "a.txt"), std::to_string(&row - rows));
    }
    writeFile(work / "cut.bin", "");
    setFileTime(work / "cut.bin", kTime);
    auto encrypted = call();
    encrypted.patterns = {"cut.bin"};
    encrypted.options.fEncrypt = 1;
    encrypted.password = "secret";
    EXPECT_EQ(run(encrypted).code, 1);
    EXPECT_TRUE(content(archive, "cut.bin") == whole + '\0');
}

TEST_F(PackFaults, AMissingFolderOrArchiveNameIsToldAndNothingMade) {
    auto pack = call();
    pack.root = (folder / "nowhere").string();
    expectRefused(run(pack), {18}, "nowhere");
    pack = call();
    pack.archive = "";
    EXPECT_EQ(run(pack).code, 15);
    pack.archive = folder / "nowhere/new.vl2";
    EXPECT_EQ(run(pack).code, 15);
    pack.archive = base;
    EXPECT_GT(run(pack).code, 1);
    EXPECT_FALSE(fs::exists(folder / "nowhere"));
}

TEST_F(PackFaults, TheArchiveInsideItsOwnFolderIsNotPacked) {
    auto pack = call();
    pack.archive = work / "self.vl2";
    ASSERT_EQ(run(pack).code, 0);
    writeFile(work / "a.txt", "again");
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(names(work / "self.vl2"), (std::vector<std::string>{"a.txt"}));
}

// What a file holds at one moment whose versions, each one letter over and over, are written over
// each other from the front: the newer letter up to some place, the one before it from there on.
bool isOfOneMoment(const std::string &bytes, std::size_t size) {
    const char newer = bytes.empty() ? '\0' : bytes.front();
    const char older = newer == 'a' ? 'z' : static_cast<char>(newer - 1);
    const std::size_t end = std::min(bytes.find_first_not_of(newer), size);
    return bytes.size() == size && bytes.find_first_not_of(older, end) == std::string::npos;
}

// The writer may be put to sleep in the middle of a version for as long as a save takes.
TEST_F(PackFaults, AFileThatNeverStopsChangingFailsTheSaveOrIsPackedAsItWasAtOneMoment) {
    // Each version is one byte over and over.
    std::atomic<bool> stop = false;
    writeFile(work / "busy.bin", std::string(200000, 'a'));
    std::thread writer([&] {
        for (char version = 'a'; !stop;
             version = version == 'z' ? 'a' : static_cast<char>(version + 1)) {
            const std::string bytes(200000, version);
            std::fstream file(work / "busy.bin", std::ios::in | std::ios::out | std::ios::binary);
            for (std::size_t at = 0; at < bytes.size(); at += 20000)
                file.write(bytes.data() + at, 20000).flush();
        }
    });
    const auto result = run(call());
    stop = true;
    writer.join();
    if (result.code == 0) {
        const auto packed = content(archive, "busy.bin");
        EXPECT_TRUE(isOfOneMoment(packed, 200000));
    } else {
        expectRefused(result, {18}, "busy.bin");
    }
    EXPECT_EQ(run(call()).code, 0); // the writer is gone
    EXPECT_EQ(content(archive, "busy.bin"), readFile(work / "busy.bin"));
}

// Files that are moved in have old times, and times can be put back: nothing but a second look at
// all that was seen tells. The same whether there is something to write or not.
TEST_F(PackFaults, WhatChangesMeanwhileIsInTheArchive) {
    const fs::path sub = work / "sub";
    const fs::path other = folder / "other";
    const struct {
        const char *what;
        std::function<void()> change;
        const char *entry;
        const char *expected;
    } rows[] = {
        {"a folder takes another's place",
         [&] {
             moveTo(sub, folder / "aside");
             moveTo(other, sub);
         },
         "sub/b.txt", "moved in"},
        {"a folder is new", [&] { moveTo(other, work / "new"); }, "new/b.txt", "moved in"},
        {"a file is new", [&] { moveTo(other / "b.txt", sub / "c.txt"); }, "sub/c.txt", "moved in"},
        {"a file takes another's place", [&] { moveTo(other / "b.txt", sub / "b.txt"); },
         "sub/b.txt", "moved in"},
        {"a file is written to",
         [&] {
             const auto time = fs::last_write_time(sub / "b.txt");
             writeFile(sub / "b.txt", "edit");
             fs::last_write_time(sub / "b.txt", time);
         },
         "sub/b.txt", "edit"},
        {"the first file is edited once more", [&] { writeFile(work / "a.txt", "at last"); },
         "a.txt", "at last"},
    };
    for (const auto &row : rows) {
        for (const bool changes : {false, true}) {
            SCOPED_TRACE(std::string(row.what) + (changes ? ", something is written" : ""));
            for (const auto &gone : {work, other, folder / "aside"})
                fs::remove_all(gone);
            writeFile(work / "a.txt", "seen");
            writeFile(sub / "b.txt", "seen");
            writeFile(other / "b.txt", "moved in");
            ASSERT_EQ(run(call()).code, 0);
            if (changes)
                writeFile(work / "a.txt", "edited");
            const auto result = runWhile(row.change);
            ASSERT_EQ(result.code, 0) << result.all();
            EXPECT_EQ(content(archive, row.entry), row.expected);
        }
    }
}

TEST_F(PackFaults, WhatAnEarlierAttemptMissedIsNoWarningOfTheLastOne) {
    auto pack = call();
    pack.patterns = {"*", "late.txt"};
    const auto result = runWhile(pack, [&] { writeFile(work / "late.txt", "there by now"); });
    EXPECT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(content(archive, "late.txt"), "there by now");
    fs::remove(work / "late.txt");
    EXPECT_EQ(run(pack).code, 1);
}

TEST_F(PackFaults, AnArchiveReplacedMeanwhileIsReadAfreshAndNeverMixed) {
    ASSERT_TRUE(judge({"make", "plain", folder / "other.vl2"}));
    const auto result = runWhile([&] {
        moveTo(archive, folder / "aside.vl2");
        moveTo(folder / "other.vl2", archive);
    });
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(names(archive),
              (std::vector<std::string>{"keep.txt", "edit.txt", "sub/last.bin", "a.txt"}));
    EXPECT_TRUE(judge({"check", archive}));
}

TEST_F(PackFaults, AnArchiveThatVanishedIsMadeAnewWithAllThatItHad) {
    writeFile(work / "other.txt", "not extracted");
    ASSERT_EQ(run(call()).code, 0);
    fs::remove(work / "other.txt");
    writeFile(work / "a.txt", "after that");
    ASSERT_EQ(runWhile([&] { fs::remove(archive); }).code, 0);
    EXPECT_EQ(content(archive, "a.txt"), "after that");
    EXPECT_EQ(content(archive, "other.txt"), "not extracted");
}

TEST_F(PackFaults, CallersHearFromItAtShortIntervals) {
    for (int i = 0; i < 6; ++i) {
        writeFile(work / ("large" + std::to_string(i)),
                  std::string(12U << 20U, 'x') + noise(1U << 20U));
    }
    const auto result = run(call());
    EXPECT_EQ(result.code, 0);
    // 50 ms are promised; a busy machine may add its share, which grows with all that it does.
    EXPECT_LE(result.longestGap, std::max<std::int64_t>(150, result.took / 6));
}

} // namespace

#include "tests/ziplib/vl2zip/packFaults.h"
#include "tests/support/disk.h"

#include <functional>

using namespace packer; // NOLINT: the tests speak this language

namespace {

TEST_F(PackFaults, AReadOnlyOrDamagedArchiveIsNeverReplaced) {
    fs::permissions(archive, fs::perms::owner_read);
    expectRefused(run(call()), {14}, "read-only");
    fs::permissions(archive, fs::perms::owner_read | fs::perms::owner_write);
    const std::pair<const char *, std::vector<int>> rows[] = {{"data missing", {2, 51}},
                                                              {"not an archive", {3}}};
    for (const auto &[recipe, codes] : rows) {
        SCOPED_TRACE(recipe);
        make(recipe);
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

// A power cut soon after an extraction may leave empty or cut files, which must not replace their
// entries; files that a user wrote must.
TEST_F(PackFaults, AFileCutOffByAPowerCutDoesNotReplaceItsEntry) {
    const std::string whole = noise(300U << 10U);
    std::string holes = whole;
    std::fill(holes.begin() + 8192, holes.begin() + 65536, '\0');
    std::string other = whole.substr(0, 4096);
    other[100] = static_cast<char>(other[100] ^ 1);
    constexpr std::int64_t kTime = 985'780'800;
    const struct {
        std::string left;
        bool replaces = false;
        std::int64_t time = kTime;
    } rows[] = {{""},          {whole.substr(0, 4096)}, {std::string(4096, '\0')},
                {holes},       {"", true, kTime + 2},   {whole.substr(0, 4096), true, kTime + 2},
                {other, true}, {whole + '\0', true}};
    auto pack = call();
    const auto cut = [&](const std::string &bytes, std::int64_t time) {
        writeFile(work / "cut.bin", bytes);
        setFileTime(work / "cut.bin", time);
        return run(pack);
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        ASSERT_EQ(cut(whole, kTime).code, 0);
        writeFile(work / "a.txt", std::to_string(&row - rows));
        const auto result = cut(row.left, row.time);
        EXPECT_EQ(result.code, row.replaces ? 0 : 1);
        EXPECT_EQ(result.all().find("cut off") != std::string::npos, !row.replaces);
        EXPECT_TRUE(files(archive) == (Files{{"a.txt", std::to_string(&row - rows)},
                                             {"cut.bin", row.replaces ? row.left : whole}}));
    }
    pack.patterns = {"cut.bin"};
    pack.options.fEncrypt = 1;
    pack.password = "secret";
    EXPECT_EQ(cut("", kTime).code, 1);
    EXPECT_TRUE(content(archive, "cut.bin") == whole + '\0');
}

TEST_F(PackFaults, AMissingFolderOrArchiveNameIsReportedAndNothingMade) {
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

TEST_F(PackFaults, AnArchiveInsideItsWorkFolderIsNotPacked) {
    auto pack = call();
    pack.archive = work / "self.vl2";
    ASSERT_EQ(run(pack).code, 0);
    writeFile(work / "a.txt", "again");
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(names(work / "self.vl2"), (Names{"a.txt"}));
}

// Moved files have old times and times can be set, so the save must check each file and folder
// again before it ends, whether it writes something or not.
TEST_F(PackFaults, AChangeDuringTheSaveIsInTheArchive) {
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

TEST_F(PackFaults, AWarningOfAnEarlierAttemptIsNotRepeated) {
    auto pack = call();
    pack.patterns = {"*", "late.txt"};
    const auto result = runWhile(pack, [&] { writeFile(work / "late.txt", "there by now"); });
    EXPECT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(content(archive, "late.txt"), "there by now");
    fs::remove(work / "late.txt");
    EXPECT_EQ(run(pack).code, 1);
}

TEST_F(PackFaults, AnArchiveReplacedDuringTheSaveIsReadAnew) {
    ASSERT_TRUE(judge({"make", "plain", folder / "other.vl2"}));
    const auto result = runWhile([&] {
        moveTo(archive, folder / "aside.vl2");
        moveTo(folder / "other.vl2", archive);
    });
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(names(archive), (Names{"keep.txt", "edit.txt", "sub/last.bin", "a.txt"}));
    EXPECT_TRUE(check(archive));
}

TEST_F(PackFaults, AnArchiveDeletedDuringTheSaveIsMadeAnewWithItsEntries) {
    writeFile(work / "other.txt", "not extracted");
    ASSERT_EQ(run(call()).code, 0);
    fs::remove(work / "other.txt");
    writeFile(work / "a.txt", "after that");
    ASSERT_EQ(runWhile([&] { fs::remove(archive); }).code, 0);
    EXPECT_EQ(files(archive), (Files{{"a.txt", "after that"}, {"other.txt", "not extracted"}}));
}

} // namespace

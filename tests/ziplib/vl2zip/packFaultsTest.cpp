#include "tests/ziplib/vl2zip/packFaults.h"
#include "storage/storage.h"
#include "tests/support/disk.h"
#include "ziplib/codec/codec.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <thread>
#include <tuple>

using namespace packer; // NOLINT: the tests speak this language

namespace {

TEST_F(PackFaults, AReadOnlyOrDamagedArchiveIsNeverReplaced) {
    fs::permissions(archive, fs::perms::owner_read);
    expectRefused(run(call()), {14}, "read-only");
    fs::permissions(archive, fs::perms::owner_read | fs::perms::owner_write);
    make("data missing");
    before = readFile(archive);
    expectRefused(run(call()), {2, 51}, archive.string());
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
    // What is left of the file, its time, and whether it replaces the entry.
    const std::tuple<std::string, std::int64_t, bool> rows[] = {
        {"", kTime, false},    {whole.substr(0, 4096), kTime, false},
        {"", kTime + 2, true}, {whole.substr(0, 4096), kTime + 2, true},
        {holes, kTime, false}, {std::string(4096, '\0'), kTime, false},
        {other, kTime, true},  {whole + '\0', kTime, true}};
    auto pack = call();
    const auto cut = [&](const std::string &bytes, std::int64_t time) {
        writeFile(work / "cut.bin", bytes);
        setFileTime(work / "cut.bin", time);
        return run(pack);
    };
    int round = 0;
    for (const auto &[left, time, replaces] : rows) {
        SCOPED_TRACE(++round);
        ASSERT_EQ(cut(whole, kTime).code, 0);
        writeFile(work / "a.txt", std::to_string(round));
        const auto result = cut(left, time);
        EXPECT_EQ(result.code, replaces ? 0 : 1);
        EXPECT_EQ(result.all().find("cut off") != std::string::npos, !replaces);
        EXPECT_TRUE(files(archive) == (Files{{"a.txt", std::to_string(round)},
                                             {"cut.bin", replaces ? left : whole}}));
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
    for (const fs::path &missing : {fs::path(), folder / "nowhere/new.vl2"}) {
        pack.archive = missing;
        EXPECT_EQ(run(pack).code, 15);
    }
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
    // What happens during the save, the entry, and its content afterwards.
    const std::tuple<std::function<void()>, const char *, const char *> rows[] = {
        {[&] { moveTo(sub, folder / "aside"), moveTo(other, sub); }, "sub/b.txt", "moved in"},
        {[&] { moveTo(other, work / "new"); }, "new/b.txt", "moved in"},
        {[&] { moveTo(other / "b.txt", sub / "c.txt"); }, "sub/c.txt", "moved in"},
        {[&] { moveTo(other / "b.txt", sub / "b.txt"); }, "sub/b.txt", "moved in"},
        {[&] {
             const auto time = fs::last_write_time(sub / "b.txt");
             writeFile(sub / "b.txt", "edit");
             fs::last_write_time(sub / "b.txt", time);
         },
         "sub/b.txt", "edit"},
        {[&] { writeFile(work / "a.txt", "at last"); }, "a.txt", "at last"},
    };
    for (const auto &[change, entry, expected] : rows) {
        for (const bool changes : {false, true}) {
            SCOPED_TRACE(std::string(entry) + expected + (changes ? ", something is written" : ""));
            for (const auto &gone : {work, other, folder / "aside"})
                fs::remove_all(gone);
            writeFile(work / "a.txt", "seen");
            writeFile(sub / "b.txt", "seen");
            writeFile(other / "b.txt", "moved in");
            ASSERT_EQ(run(call()).code, 0);
            if (changes)
                writeFile(work / "a.txt", "edited");
            const auto result = runWhile(change);
            ASSERT_EQ(result.code, 0) << result.all();
            EXPECT_EQ(content(archive, entry), expected);
        }
    }
}

TEST_F(PackFaults, AFileThatIsRenamedBeforeItIsReadIsPackedUnderItsNewName) {
    writeFile(work / "b.txt", "old");
    writeFile(work / "b.new", std::string(17U << 20U, 'n')); // is streamed, so it is read late
    const auto result = runWhile([&] { moveTo(work / "b.new", work / "b.txt"); });
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(names(archive), (Names{"a.txt", "b.txt"}));
    EXPECT_EQ(content(archive, "b.txt").size(), 17U << 20U);
}

TEST_F(PackFaults, AFileThatKeepsGrowingIsNamed) {
    const fs::path log = work / "b.log";
    writeFile(log, std::string(17U << 20U, 'n'));
    std::atomic<bool> ends = false;
    std::thread writer;
    const auto result = runWhile([&] {
        writer = std::thread([&] {
            for (; !ends; std::this_thread::sleep_for(std::chrono::milliseconds(1)))
                std::ofstream(log, std::ios::app) << 'n';
        });
    });
    ends = true;
    writer.join();
    expectRefused(result, {18}, "b.log: another program keeps writing to it");
}

TEST_F(PackFaults, AWarningOfAnEarlierAttemptIsNotRepeated) {
    const auto result = runWhile([&] { writeFile(work / "late.txt", "now"); }, {"*", "late.txt"});
    EXPECT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(content(archive, "late.txt"), "now");
}

TEST_F(PackFaults, AnArchiveReplacedDuringTheSaveIsReadAnew) {
    judge({"make", "plain", folder / "other.vl2"});
    const auto result = runWhile([&] {
        moveTo(archive, folder / "aside.vl2");
        moveTo(folder / "other.vl2", archive);
    });
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(names(archive), (Names{"keep.txt", "edit.txt", "sub/last.bin", "a.txt"}));
    check(archive);
}

// What another program puts into the archive during a save is merged in the next attempt.
TEST_F(PackFaults, AnArchiveReplacedDuringTheSaveIsMergedAnew) {
    const std::map<std::string, std::string> atExtraction{{"a.txt", "before"}, {"edit.txt", "old"}};
    for (const bool conflict : {false, true}) {
        writeFile(archive, before);
        judge({"make", "plain", folder / "other.vl2"}); // edit.txt: "before"
        writeFile(work / "edit.txt", conflict ? "mine" : "old");
        mergeBase = atExtraction;
        mergeBase->emplace("keep.txt", "removed meanwhile");
        writeFile(work / "keep.txt", conflict ? "mine" : "removed meanwhile");
        const auto result = runWhile([&] {
            moveTo(archive, folder / "aside.vl2");
            moveTo(folder / "other.vl2", archive);
            writeFile(folder / "other.vl2", readFile(archive));
        });
        if (conflict) {
            EXPECT_EQ(result.code, 83);
            EXPECT_EQ(result.conflicts, (Names{"edit.txt", "keep.txt"}));
            EXPECT_EQ(readFile(archive), readFile(folder / "other.vl2"));
            EXPECT_TRUE(result.packed.empty());
            EXPECT_TRUE(temporaries(folder.path()).empty());
            continue;
        }
        EXPECT_EQ(result.code, 0) << result.all();
        EXPECT_EQ(content(archive, "edit.txt"), "before");
        EXPECT_EQ(content(archive, "a.txt"), "after");
        EXPECT_EQ(result.packed.at("edit.txt").outcome, VL2ZIP_KEPT);
        EXPECT_EQ(result.packed.at("a.txt").outcome, VL2ZIP_RESTORED);
    }
}

// The file to be merged is known early. The others look untouched, so writing starts before they
// have been compared: that must happen in one attempt only.
TEST_F(PackFaults, EditsThatKeepSizeAndTimeArePackedBesideAMerge) {
    constexpr std::int64_t kTime = 985'780'800;
    const auto put = [&](const std::string &name, std::size_t size, char byte) {
        writeFile(work / name, std::string(size, byte));
        setFileTime(work / name, kTime);
    };
    for (int i = 0; i < 200; ++i)
        put("m" + std::to_string(i) + ".txt", 40'000, 'x');
    put("c.txt", 100, 'x');
    put("z.txt", 40'000, 'x');
    ASSERT_EQ(run(call()).code, 0);
    put("c.txt", 100, 'y');
    put("z.txt", 40'000, 'y');
    writeFile(work / "gone.txt", "edited");
    auto pack = call();
    pack.base.emplace()["gone.txt"] = "removed since";
    for (const auto &[name, bytes] : files(archive))
        pack.base->emplace(name, bytes);
    const auto result = run(pack);
    EXPECT_EQ(result.code, 0) << result.all();
    for (const char *name : {"c.txt", "z.txt"})
        EXPECT_EQ(content(archive, name)[0], 'y') << name;
    EXPECT_EQ(content(archive, "gone.txt"), "edited");
}

// Shown by an edit that the base denies: it is packed if the file is read.
TEST_F(PackFaults, OnlyAFileWhoseTimesProveThatItIsAsExtractedIsNotRead) {
    fs::path file = work / "a.txt";
    const auto record = [&](ZPVERSION &version) {
        platform::InputFile opened;
        platform::FileInfo info;
        EXPECT_TRUE(opened.open(file.string(), info).ok());
        version = {version.path, info.size, version.crc,   1,           1,
                   info.device,  info.id,   info.modified, info.changed};
    };
    const auto edit = [&](const char *bytes) {
        writeFile(file, bytes);
        setFileTime(file, 1'000'000'000);
    };
    platform::Folder top;
    ASSERT_TRUE(top.open(work.string()).ok());
    const fs::path memory = "/dev/shm/orvel-test" + folder.path().filename().string();
    // What is done before the save, and the bytes that are in the archive then; "" for a conflict.
    using Change = std::function<void(Call & pack, ZPVERSION & version)>;
    const std::tuple<const char *, std::string, Change> rows[] = {
        {"as extracted", top.stampsWrites() ? "before" : "AFTER!", [](Call &, ZPVERSION &) {}},
        {"no proof", "AFTER!", [](Call &, ZPVERSION &v) { v.timesTell = 0; }},
        {"not written", "AFTER!", [](Call &, ZPVERSION &v) { v.written = 0; }},
        {"of unknown size", "AFTER!", [](Call &, ZPVERSION &v) { v.size = UINT64_MAX; }},
        {"on another disk", "AFTER!", [](Call &, ZPVERSION &v) { ++v.device; }},
        {"another file", "AFTER!", [](Call &, ZPVERSION &v) { ++v.id; }},
        {"of another time", "AFTER!", [](Call &, ZPVERSION &v) { ++v.modified; }},
        {"with new properties", "AFTER!", [](Call &, ZPVERSION &v) { ++v.changed; }},
        {"beside a new entry", "", [](Call &, ZPVERSION &v) { ++v.crc; }},
        {"to be encrypted", "AFTER!", [](Call &pack, ZPVERSION &) { pack.options.fEncrypt = 1; }},
        {"to be converted", "AFTER!", [](Call &pack, ZPVERSION &) { pack.options.fCRLF_LF = 1; }},
        {"edited, then given its old time", "LATER!", [&](Call &, ZPVERSION &) { edit("LATER!"); }},
        {"a link", "AFTER!",
         [&](Call &, ZPVERSION &v) {
             fs::rename(file, folder / "elsewhere");
             if (makeLink(folder / "elsewhere", file))
                 record(v);
             else
                 edit("AFTER!");
         }},
        {"on a disk in memory", "AFTER!", [&](Call &pack, ZPVERSION &v) {
             pack.root = memory.string();
             file = memory / "a.txt";
             writeFile(memory / "b.txt", "new");
             edit("AFTER!");
             record(v);
         }}};
    for (const auto &[what, expected, change] : rows) {
        SCOPED_TRACE(what);
        writeFile(archive, before);
        fs::remove(file);
        edit("AFTER!");
        writeFile(work / "b.txt", "new");
        auto pack = call();
        pack.password = "secret";
        pack.base.emplace()["a.txt"] = "before";
        pack.onVersion = [&record, &change = change](Call &running, ZPVERSION &version) {
            record(version);
            change(running, version);
        };
        const auto result = run(pack);
        EXPECT_EQ(result.code, expected.empty() ? 83 : 0) << result.all();
        EXPECT_EQ(readFile(archive) == before, expected.empty());
        if (expected.empty())
            continue;
        EXPECT_GE(result.files.size(), 2U); // more if the save was tried again
        EXPECT_EQ(result.packed.at("b.txt").outcome, VL2ZIP_ADDED);
        // What a clean-up relies on.
        const ZPPACKED &packed = result.packed.at("a.txt");
        ZPVERSION now{};
        record(now);
        EXPECT_EQ(packed.outcome, expected == "before" ? VL2ZIP_SAME : VL2ZIP_CHANGED);
        EXPECT_EQ(packed.crc, ziplib::crc32(0, expected.data(), expected.size()));
        EXPECT_EQ(packed.size, 6U);
        EXPECT_TRUE(packed.device == now.device && packed.id == now.id);
        EXPECT_TRUE(packed.modified == now.modified && packed.changed == now.changed);
    }
    fs::remove_all(memory);
}

TEST_F(PackFaults, NoFileIsPackedBesideAFolderOfItsName) {
    // The archive's file and folders, then the work folder's.
    for (const auto &[entry, file] : {std::pair("b.cs/x.cs", "b.cs"), std::pair("d", "d/e/f.cs")}) {
        fs::remove(archive);
        fs::remove_all(work);
        writeFile(work / entry, "theirs");
        ASSERT_EQ(run(call()).code, 0);
        for (const bool isEdited : {false, true}) {
            fs::remove_all(work);
            writeFile(work / file, isEdited ? "mine" : "extracted");
            writeFile(work / "b.cs.txt", "new");
            auto pack = call();
            pack.base.emplace()[file] = "extracted";
            const auto result = run(pack);
            EXPECT_EQ(result.code, isEdited ? 1 : 0) << result.all();
            EXPECT_EQ(result.last().find(file) == 0, isEdited) << result.all();
            EXPECT_EQ(files(archive), (Files{{entry, "theirs"}, {"b.cs.txt", "new"}}));
            EXPECT_NE(result.packed.contains(file), isEdited);
        }
    }
}

TEST_F(PackFaults, AConflictWithAnEntryInAnotherCaseCanBeSettled) {
    fs::remove(archive);
    fs::remove_all(work);
    writeFile(work / "Scripts/Camera.cs", "newer");
    ASSERT_EQ(run(call()).code, 0);
    fs::remove_all(work);
    writeFile(work / "scripts/camera.cs", "mine");
    auto pack = call();
    pack.base.emplace()["scripts/camera.cs"] = "extracted";
    const auto result = run(pack);
    EXPECT_EQ(result.code, 83);
    EXPECT_EQ(result.conflicts, Names{"Scripts/Camera.cs"});
    (*pack.base)["Scripts/Camera.cs"] = "newer";
    EXPECT_EQ(run(pack).code, 0);
    EXPECT_EQ(files(archive), (Files{{"Scripts/Camera.cs", "mine"}}));
}

// On a disk that ignores case, two entries have one file, which may be listed in any case.
TEST_F(PackFaults, AFileIsPackedOverItsOwnEntryOfTwoThatDifferInCase) {
    constexpr const char *kUpper = "s/Camera.cs";
    constexpr const char *kLower = "s/camera.cs";
    struct Row {
        const char *what, *listed, *content;
        Names written;     // of the base; "none" for no base
        const char *saved; // "upper" then "lower" as before, "" for none
        int code = 0;
        bool removed = false; // the file's entry, since the extraction
    };
    for (const Row &row :
         {Row{"unedited", kLower, "upper", {kUpper}, "upper lower"},
          Row{"edited", kLower, "mine", {kUpper}, "mine lower"},
          Row{"unedited, without a base", kLower, "upper", {"none"}, "upper lower"},
          Row{"edited, without a base", kLower, "mine", {"none"}, "upper mine"},
          Row{"unedited, of a killed extraction", kLower, "upper", {}, "upper lower"},
          Row{"edited, of a killed extraction", kLower, "mine", {}, "upper lower", 83},
          Row{"unedited, in a third case", "s/CAMERA.cs", "upper", {kUpper}, "upper lower"},
          Row{"edited, in a third case", "s/CAMERA.cs", "mine", {kUpper}, "mine lower"},
          Row{"unedited, removed", kLower, "upper", {kUpper}, " lower", 0, true},
          Row{"edited, removed", kLower, "mine", {kUpper}, "mine lower", 0, true}}) {
        SCOPED_TRACE(row.what);
        for (const fs::path &path : {archive, work})
            fs::remove_all(path);
        judge({"make", row.removed ? "lower" : "twins", archive});
        writeFile(work / row.listed, row.content);
        auto pack = call();
        if (row.written != Names{"none"})
            pack.base = {{kUpper, "upper"}, {kLower, "lower"}};
        for (const char *path : {kUpper, kLower})
            if (std::count(row.written.begin(), row.written.end(), path) == 0)
                pack.unwritten.emplace_back(path);
        const auto result = run(pack);
        EXPECT_EQ(result.code, row.code) << result.all();
        std::map<std::string, std::string> saved;
        for (const auto &[name, bytes] : files(archive))
            saved[name] = bytes;
        EXPECT_EQ(saved[kUpper] + ' ' + saved[kLower], row.saved);
        EXPECT_EQ(result.packed.size(), row.code == 0 ? 1U : 0U);
        // After the user was told, the second attempt packs.
        if (row.code == 0)
            continue;
        (*pack.base)[kLower] = "lower";
        std::erase(pack.unwritten, kLower);
        EXPECT_EQ(run(pack).code, 0);
        EXPECT_EQ(content(archive, kLower), "mine");
    }
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

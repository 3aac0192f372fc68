#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace packer; // NOLINT: the tests speak this language

namespace {

class PackFaults : public testing::Test {
  protected:
    TestFolder folder;
    fs::path base = folder / "base";
    fs::path archive = base / "classic.vl2";
    fs::path work = folder / "work";

    void SetUp() override {
        fs::create_directories(base);
        write(work / "a.txt", "before");
        ASSERT_EQ(run(call()).code, 0);
        write(work / "a.txt", "after");
        before = read(archive);
    }
    Call call() { return {archive, work}; }

    // The call fails, says so last, and nothing is lost or left behind.
    void expectRefused(const Result &result, std::vector<int> codes, const std::string &text) {
        EXPECT_NE(std::find(codes.begin(), codes.end(), result.code), codes.end())
            << result.code << ' ' << result.all();
        EXPECT_NE(result.last().find(text), std::string::npos) << result.all();
        expectUntouched();
    }
    void expectUntouched() {
        EXPECT_EQ(read(archive), before);
        EXPECT_TRUE(temporaries(folder.path()).empty());
    }

    std::string before;
};

// Runs `work` in a child process as somebody without privileges; its result is the exit code.
int asNobody(const std::function<int()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
            ::_exit(200);
        }
        ::_exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(PackFaults, AReadOnlyArchiveIsLeftAlone) {
    fs::permissions(archive, fs::perms::owner_read);
    expectRefused(run(call()), {14}, "read-only");
}

TEST_F(PackFaults, AFolderThatTakesNoNewFileIsLeftAlone) {
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(archive, fs::perms::all);
    fs::permissions(base, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(asNobody([&] {
                  const auto result = run(call());
                  return result.last().find(archive) != std::string::npos ? result.code : 99;
              }),
              15);
    expectUntouched();
}

TEST_F(PackFaults, AFileThatCannotBeReadStopsTheSaveAndIsNamed) {
    write(work / "locked.txt", "mine");
    fs::permissions(work / "locked.txt", fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(base, fs::perms::all);
    EXPECT_EQ(asNobody([&] {
                  const auto result = run(call());
                  return result.last().find("locked.txt") != std::string::npos ? result.code : 99;
              }),
              18);
    expectUntouched();
}

TEST_F(PackFaults, AFullDiskLeavesTheOldArchive) {
    if (::mount("tmpfs", base.c_str(), "tmpfs", 0, "size=400k") != 0) {
        GTEST_SKIP() << "needs the right to mount";
    }
    write(archive, before);
    write(work / "large.bin", noise(600U << 10U));
    expectRefused(run(call()), {50}, archive.string());
    write(work / "large.bin", "small after all");
    EXPECT_EQ(run(call()).code, 0);
    ::umount(base.c_str());
}

TEST_F(PackFaults, WhatIsNoWholeArchiveIsNeverReplaced) {
    struct Row {
        const char *recipe;
        std::vector<int> codes;
    };
    const Row rows[] = {{"cut", {2, 3, 51}}, {"data missing", {2, 51}}, {"not an archive", {3}}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.recipe);
        ASSERT_TRUE(judge({"make", row.recipe, archive}));
        before = read(archive);
        expectRefused(run(call()), row.codes, archive.string());
    }
    write(archive, before = "");
    expectRefused(run(call()), {2, 3, 51}, archive.string());
}

TEST_F(PackFaults, EveryCutOfAnArchiveIsRefusedUntouched) {
    const std::string whole = before;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        write(archive, before = whole.substr(0, size));
        const auto result = run(call());
        ASSERT_GT(result.code, 1) << size;
        ASSERT_EQ(read(archive), before) << size;
    }
}

TEST_F(PackFaults, AMissingFolderOrArchiveNameIsToldAndNothingMade) {
    auto pack = call();
    pack.root = folder / "nowhere";
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

TEST_F(PackFaults, NamesThatTheGameOrOtherReadersCannotTakeAreRefused) {
    const std::string names[] = {
        std::string(210, 'n'), "back\\slash", "co:lon", "aux.txt", "dot.", "\xff\xfe"};
    for (const auto &name : names) {
        SCOPED_TRACE(name);
        write(work / name, "x");
        expectRefused(run(call()), {18}, name);
        fs::remove(work / name);
    }
    write(work / std::string(209, 'n'), "x");
    EXPECT_EQ(run(call()).code, 0);
}

TEST_F(PackFaults, LinksToFilesArePackedAndAllElseThatIsNoFileIsSkippedAndSaid) {
    write(folder / "outside/secret.txt", "linked");
    fs::create_symlink(folder / "outside/secret.txt", work / "link.txt");
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_EQ(content(archive, "link.txt"), "linked");

    fs::create_directory_symlink(folder / "outside", work / "linked folder");
    ASSERT_EQ(::mkfifo((work / "pipe").c_str(), 0600), 0);
    fs::create_symlink("nothing", work / "broken");
    write(work / "a.txt", "after that");
    const auto result = run(call());
    EXPECT_EQ(result.code, 1);
    for (const char *name : {"linked folder", "pipe", "broken"}) {
        EXPECT_NE(result.all().find(name), std::string::npos) << name;
    }
    EXPECT_EQ(names(archive), (std::vector<std::string>{"a.txt", "link.txt"}));
    EXPECT_EQ(content(archive, "a.txt"), "after that");
}

TEST_F(PackFaults, ALinkToTheArchiveIsWrittenThroughAndModeAndOwnerStay) {
    fs::rename(archive, folder / "real.vl2");
    fs::create_symlink("../real.vl2", archive);
    ::chmod((folder / "real.vl2").c_str(), 0640);
    const bool root = ::geteuid() == 0;
    if (root) {
        ASSERT_EQ(::chown((folder / "real.vl2").c_str(), 1234, 4321), 0);
    }
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_TRUE(fs::is_symlink(archive));
    EXPECT_EQ(content(folder / "real.vl2", "a.txt"), "after");
    struct stat info {};
    ASSERT_EQ(::stat((folder / "real.vl2").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_uid, root ? 1234U : ::getuid());
}

TEST_F(PackFaults, TheArchiveInsideItsOwnFolderIsNotPacked) {
    auto pack = call();
    pack.archive = work / "self.vl2";
    ASSERT_EQ(run(pack).code, 0);
    write(work / "a.txt", "again");
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(names(work / "self.vl2"), (std::vector<std::string>{"a.txt"}));
}

TEST_F(PackFaults, WhatKilledRunsLeftIsRemovedButNotWhatALiveOneHolds) {
    write(base / ".orvel-0123456789abcdef.part", "left");
    write(work / ".orvel-fedcba9876543210.part", "left");
    write(base / ".orvel-1111111111111111.part", "held");
    const int held = ::open((base / ".orvel-1111111111111111.part").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    ASSERT_EQ(run(call()).code, 0);
    ::close(held);
    EXPECT_EQ(names(archive), (std::vector<std::string>{"a.txt"}));
    EXPECT_EQ(temporaries(folder.path()),
              (std::vector<std::string>{".orvel-1111111111111111.part"}));
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
    write(work / "busy.bin", std::string(200000, 'a'));
    std::thread writer([&] {
        for (char version = 'a'; !stop;
             version = version == 'z' ? 'a' : static_cast<char>(version + 1)) {
            const std::string bytes(200000, version);
            const int file = ::open((work / "busy.bin").c_str(), O_WRONLY | O_CLOEXEC);
            for (std::size_t at = 0; at < bytes.size(); at += 20000) {
                static_cast<void>(
                    !::pwrite(file, bytes.data() + at, 20000, static_cast<off_t>(at)));
            }
            ::close(file);
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
    EXPECT_EQ(content(archive, "busy.bin"), read(work / "busy.bin"));
}

TEST_F(PackFaults, AFileThatChangesWhileOthersArePackedIsInTheArchiveInItsLastVersion) {
    write(work / "z.txt", "new");
    bool edited = false;
    auto pack = call();
    pack.onFile = [&](const std::string &name) {
        if (name == "z.txt" && !edited) {
            edited = true;
            write(work / "a.txt", "edited at the last moment");
        }
        return 0;
    };
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_TRUE(edited);
    EXPECT_EQ(content(archive, "a.txt"), "edited at the last moment");
}

// Its files have old times: nothing but a second look tells them from those that were seen.
TEST_F(PackFaults, AFolderThatIsMovedInWhileNothingElseChangesIsInTheArchive) {
    write(work / "sub/b.txt", "seen");
    ASSERT_EQ(run(call()).code, 0);
    write(folder / "other/b.txt", "moved in");
    bool moved = false;
    auto pack = call();
    pack.onFile = [&](const std::string & /*name*/) {
        if (!moved) {
            moved = true;
            fs::rename(work / "sub", folder / "aside");
            fs::rename(folder / "other", work / "sub");
        }
        return 0;
    };
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_TRUE(moved);
    EXPECT_EQ(content(archive, "sub/b.txt"), "moved in");
}

TEST_F(PackFaults, AnArchiveReplacedMeanwhileIsReadAfreshAndNeverMixed) {
    ASSERT_TRUE(judge({"make", "plain", folder / "other.vl2"}));
    bool replaced = false;
    auto pack = call();
    pack.onFile = [&](const std::string & /*name*/) {
        if (!replaced) {
            replaced = true;
            fs::rename(folder / "other.vl2", archive);
        }
        return 0;
    };
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(names(archive),
              (std::vector<std::string>{"keep.txt", "edit.txt", "sub/last.bin", "a.txt"}));
    EXPECT_TRUE(judge({"check", archive}));
}

TEST_F(PackFaults, AnArchiveThatVanishedIsMadeAnew) {
    auto pack = call();
    pack.onFile = [&](const std::string & /*name*/) {
        fs::remove(archive);
        return 0;
    };
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(content(archive, "a.txt"), "after");
}

// Two processes save their own folders into one archive, over and over.
TEST_F(PackFaults, TwoThatSaveAtOnceLoseNothingOfEachOther) {
    constexpr int kRounds = 15;
    fs::remove(archive); // they also meet where there is none yet
    const auto saver = [&](const std::string &own) {
        for (int i = 0; i < kRounds; ++i) {
            write(folder / own / (own + std::to_string(i)), noise(3000, static_cast<unsigned>(i)));
            if (run(Call(archive, folder / own)).code != 0) {
                return 1;
            }
        }
        return 0;
    };
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(saver("one"));
    }
    EXPECT_EQ(saver("two"), 0);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(names(archive).size(), 2U * kRounds);
    EXPECT_TRUE(judge({"check", archive}));
    EXPECT_TRUE(temporaries(folder.path()).empty());
}

TEST_F(PackFaults, CallersHearFromItAtShortIntervals) {
    for (int i = 0; i < 6; ++i) {
        write(work / ("large" + std::to_string(i)),
              std::string(12U << 20U, 'x') + noise(1U << 20U));
    }
    const auto result = run(call());
    EXPECT_EQ(result.code, 0);
    // 50 ms are promised; a busy machine may add its share.
    EXPECT_LE(result.longestGap, 150);
}

} // namespace

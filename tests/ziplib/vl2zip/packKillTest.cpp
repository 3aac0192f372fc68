#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

using namespace packer; // NOLINT: the tests speak this language

namespace {

using Calls = std::vector<std::string>;

class PackKill : public testing::TestWithParam<const char *> {
  protected:
    TestFolder folder;
    fs::path archive = folder / "base/classic.vl2";
    fs::path work = folder / "work";
    fs::path log = folder / "calls";

    // The state before a save: kept, changed and new entries, and one too large for memory.
    void prepare() {
        fs::remove_all(folder / "base");
        fs::create_directories(folder / "base");
        if (GetParam() != std::string("none")) {
            ASSERT_TRUE(fs::copy_file(folder / "old.vl2", archive));
        }
    }
    void SetUp() override {
        if (GetParam() != std::string("none")) {
            ASSERT_TRUE(judge({"make", GetParam(), folder / "old.vl2"}));
            old = read(folder / "old.vl2");
        }
        write(work / "edit.txt", "the user's edit");
        write(work / "new.bin", noise(3U << 20U));
        write(work / "text/large.txt", std::string(17U << 20U, 't'));
        for (const char *name : {"edit.txt", "new.bin", "text/large.txt"}) {
            setTime(work / name, 1000000000);
        }
    }

    // Saves in another process that ends at that call; 0 lets it end by itself. Its wait status.
    int save(int killAt) {
        fs::remove(log);
        const pid_t child = ::fork();
        if (child == 0) {
            // By bare name: in a list of paths, blanks separate.
            const fs::path watcher = ORVEL_KILL_AT_LIBRARY;
            ::setenv("LD_PRELOAD", watcher.filename().c_str(), 1);
            ::setenv("LD_LIBRARY_PATH", watcher.parent_path().c_str(), 1);
            ::setenv("ORVEL_KILL_AT", std::to_string(killAt).c_str(), 1);
            ::setenv("ORVEL_CALL_LOG", log.c_str(), 1);
            static_cast<void>(!::freopen("/dev/null", "w", stdout));
            ::execl(ORVEL_PACKER, ORVEL_PACKER, archive.c_str(), work.c_str(), nullptr);
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }
    Calls calls() const {
        std::istringstream text(read(log));
        Calls lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    std::string old;
};

TEST_P(PackKill, AtEveryCallTheArchiveIsTheOldOrTheNewOneAndSavingAgainSucceeds) {
    prepare();
    ASSERT_EQ(save(0), 0);
    const auto count = static_cast<int>(calls().size());
    const std::string fresh = read(archive);
    ASSERT_TRUE(judge({"read", archive, "edit.txt"}));
    ASSERT_GT(count, 8);
    int seenOld = 0;
    for (int at = 1; at <= count; ++at) {
        SCOPED_TRACE("killed at call " + std::to_string(at));
        prepare();
        const int status = save(at);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
        if (old.empty()) {
            ASSERT_TRUE(!fs::exists(archive) || read(archive) == fresh);
        } else {
            const auto now = read(archive);
            ASSERT_TRUE(now == old || now == fresh);
            seenOld += now == old ? 1 : 0;
        }
        ASSERT_EQ(read(work / "edit.txt"), "the user's edit");
        ASSERT_EQ(save(0), 0);
        ASSERT_TRUE(read(archive) == fresh);
        ASSERT_TRUE(temporaries(folder.path()).empty());
    }
    RecordProperty("killPoints", count);
    EXPECT_TRUE(old.empty() || seenOld == count - 1); // all but the sync of the folder
}

// What is renamed is durable, and the name is made durable before the call ends, since the caller
// deletes the work folder next.
TEST_P(PackKill, DataIsSyncedBeforeTheRenameAndTheFolderAfterIt) {
    prepare();
    ASSERT_EQ(save(0), 0);
    const auto seen = calls();
    const auto rename = std::find(seen.begin(), seen.end(), "rename");
    ASSERT_NE(rename, seen.end());
    ASSERT_EQ(std::count(seen.begin(), seen.end(), "rename"), 1);
    ASSERT_NE(rename, seen.begin());
    EXPECT_EQ(*(rename - 1), "sync");
    ASSERT_NE(rename + 1, seen.end());
    EXPECT_EQ(Calls(rename + 1, seen.end()).back(), "sync");
    EXPECT_EQ(std::count(rename, seen.end(), "write"), 0);
}

INSTANTIATE_TEST_SUITE_P(Archives, PackKill, testing::Values("plain", "prefix", "none"));

} // namespace

#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

namespace {

// A small disk of its own; absent where the user may not mount one.
class SmallDisk {
  public:
    SmallDisk(const fs::path &where, const char *options) : m_where(where) {
        fs::create_directories(where);
        m_mounted = mount("tmpfs", where.c_str(), "tmpfs", 0, options) == 0;
    }
    ~SmallDisk() {
        if (m_mounted) {
            umount(m_where.c_str());
        }
    }
    bool mounted() const { return m_mounted; }

  private:
    fs::path m_where;
    bool m_mounted;
};

// Runs `work` in a child that starts under other limits; its return value is the exit code.
template<typename Work>
int inChild(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void limit(decltype(RLIMIT_NOFILE) what, rlim_t value) {
    const struct rlimit limits = {value, value};
    setrlimit(what, &limits);
}

const char *const sample = "archives/python-zipfile.vl2";

} // namespace

TEST(Disk, LinksBelowTheTargetAreNeverFollowed) {
    const ScratchFolder scratch;
    const fs::path outside = scratch / "outside";
    const fs::path target = scratch / "target";
    fs::create_directories(outside);
    fs::create_directories(target);
    fs::create_directory_symlink(outside, target / "maps");
    writeFile(outside / "readme.txt", "mine");
    fs::create_symlink(outside / "readme.txt", target / "readme.txt");
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), target), 1);
    EXPECT_EQ(filesIn(outside), (Files{{"readme.txt", "mine"}}));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target / "readme.txt")));
    EXPECT_TRUE(fs::exists(target / "sound" / "w.wav"));
}

TEST(Disk, AFolderThatBecomesALinkMeanwhileLeadsNowhere) {
    // Somebody swaps a folder for a link all the time while the archive is extracted.
    const ScratchFolder scratch;
    const fs::path outside = scratch / "outside";
    const fs::path target = scratch / "target";
    fs::create_directories(outside);
    fs::create_directories(target);
    fs::create_directory_symlink(outside, scratch / "link");
    std::atomic<bool> end{false};
    std::thread attacker([&] {
        while (!end) {
            std::error_code ignored;
            fs::rename(target / "maps", scratch / "aside", ignored);
            fs::rename(scratch / "link", target / "maps", ignored);
            fs::rename(target / "maps", scratch / "link", ignored);
            fs::rename(scratch / "aside", target / "maps", ignored);
        }
    });
    for (int i = 0; i < 200; ++i) {
        UnzipCall call;
        call.extract(dataFile(sample), target);
    }
    end = true;
    attacker.join();
    EXPECT_TRUE(filesIn(outside).empty());
}

TEST(Disk, WhatDoesNotFitIsRefusedBeforeAnythingIsWritten) {
    const ScratchFolder scratch;
    const SmallDisk disk(scratch / "disk", "size=8k");
    if (!disk.mounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), scratch / "disk"), 50);
    EXPECT_TRUE(filesIn(scratch / "disk").empty());
    EXPECT_FALSE(call.messages.empty());
}

TEST(Disk, ADiskThatFillsUpLeavesWholeFilesOnly) {
    const ScratchFolder scratch;
    // Room for the bytes, but not for the number of files.
    const SmallDisk disk(scratch / "disk", "size=1m,nr_inodes=6");
    if (!disk.mounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    UnzipCall whole;
    ASSERT_EQ(whole.extract(dataFile(sample), scratch / "whole"), 0);
    const Files expected = filesIn(scratch / "whole");
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(sample), scratch / "disk"), 50);
    const Files found = filesIn(scratch / "disk");
    EXPECT_LT(found.size(), expected.size());
    for (const auto &[name, content] : found) {
        ASSERT_TRUE(expected.count(name)) << name;
        EXPECT_EQ(content, expected.at(name));
    }
}

TEST(Disk, FewHandlesAndNoThreadsMakeItSlowerOnly) {
    const ScratchFolder scratch;
    UnzipCall whole;
    ASSERT_EQ(whole.extract(dataFile(sample), scratch / "whole"), 0);
    const std::string archive = dataFile(sample);
    const auto extraction = [&](const char *target) {
        UnzipCall call;
        return call.extract(archive, scratch / target);
    };
    EXPECT_EQ(inChild([&] {
                  limit(RLIMIT_NOFILE, 12);
                  return extraction("handles");
              }),
              0);
    EXPECT_EQ(filesIn(scratch / "handles"), filesIn(scratch / "whole"));
    EXPECT_EQ(inChild([&] {
                  // The limit on processes counts for ordinary users only.
                  fs::create_directory(scratch / "threads");
                  fs::permissions(scratch.path(), fs::perms::all);
                  fs::permissions(scratch / "threads", fs::perms::all);
                  limit(RLIMIT_NPROC, 0);
                  if (geteuid() == 0 && setuid(65534) != 0) {
                      return 99;
                  }
                  return extraction("threads");
              }),
              0);
    EXPECT_EQ(filesIn(scratch / "threads"), filesIn(scratch / "whole"));
}

TEST(Disk, APipeIsNoArchiveAndNeverWaitedFor) {
    const ScratchFolder scratch;
    const std::string pipe = scratch / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    UnzipCall call;
    EXPECT_EQ(call.list(pipe), 9);
    EXPECT_FALSE(call.messages.empty());
}

#include "registry/posix/hiveFile.h"

#include "registry/posix/hiveLock.h"
#include "registry/registry.h"
#include "tests/registry/printBytes.h"
#include "tests/registry/registryHome.h"

#include <QElapsedTimer>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <thread>

namespace {

using namespace platform::hive; // NOLINT(google-build-using-namespace): the subject

std::int32_t set(const QString &path, const QString &name, const QByteArray &text) {
    return changeHive(
        path.toUtf8(),
        [&](const Hive &old) { return old.withValue(u"Key", name, valueFromNarrow(1, text), 0); });
}

QByteArray get(const QString &path, const QString &name) {
    const std::optional<Value> value = readHive(path.toUtf8())->value(u"Key", name);
    return value ? narrowData(*value) : QByteArray("(missing)");
}

struct stat infoOf(const QString &path) {
    struct stat info = {};
    EXPECT_EQ(::stat(path.toUtf8().constData(), &info), 0) << path.toStdString();
    return info;
}

// Runs `work` in a child process and returns its result (0 to 255), or -1 if it was killed. As root
// it runs as a user without rights if `asNobody` is set.
int inChild(const std::function<int()> &work, bool asNobody = false) {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (asNobody && ::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            ::_exit(255);
        ::_exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class HiveFile : public testing::Test {
  protected:
    RegistryHome home;
    QString path = home.hivePath();

    QStringList files() const {
        return QDir(path.section('/', 0, -2)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
};

TEST_F(HiveFile, ItsFolderIsMadeForTheOwnerOfTheFolderAboveAlone) {
    const bool isRoot = ::geteuid() == 0;
    QDir().mkpath(home.path("config"));
    ASSERT_TRUE(!isRoot || ::chown(home.path("config").toUtf8().constData(), 1234, 2345) == 0);
    ASSERT_EQ(set(path, "a", "1"), 0);
    EXPECT_EQ(get(path, "a"), "1");
    EXPECT_EQ(infoOf(home.path("config/orvel")).st_mode & 07777U, 0700U);
    for (const QString &each : {home.path("config/orvel"), path, path + ".lock"})
        EXPECT_EQ(infoOf(each).st_uid, isRoot ? 1234U : ::geteuid()) << each.toStdString();
    EXPECT_EQ(files(), QStringList({"system.reg", "system.reg.lock"}));
}

TEST_F(HiveFile, ModeAndOwnerStay) {
    home.setHive("[Key]\n");
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0640), 0);
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::chown(path.toUtf8().constData(), 1234, 2345) == 0);
    ASSERT_EQ(set(path, "a", "1"), 0);
    const struct stat info = infoOf(path);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_uid, isRoot ? 1234U : ::geteuid());
    EXPECT_EQ(info.st_gid, isRoot ? 2345U : ::getegid());
}

TEST_F(HiveFile, ALinkIsWrittenThrough) {
    QDir().mkpath(home.path("config/orvel"));
    const QString target = home.path("dotfiles/deep/real.reg");
    ASSERT_TRUE(QFile::link("../../middle", path)); // relative, and to a link
    ASSERT_TRUE(QFile::link(target, home.path("middle")));
    ASSERT_EQ(set(path, "a", "1"), 0) << "target and folder are missing at first";
    ASSERT_EQ(set(path, "b", "2"), 0);
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_TRUE(QFileInfo(home.path("middle")).isSymLink());
    EXPECT_EQ(get(target, "a") + get(path, "b"), "12");

    const QString circle = home.path("circle");
    ASSERT_TRUE(QFile::link(circle, circle));
    EXPECT_NE(set(circle, "a", "1"), 0);
}

TEST_F(HiveFile, AStaleTemporaryIsRemoved) {
    home.setHive("[Key]\n");
    writeFile(home.path("config/orvel/.orvel-0123456789abcdef.part"), "half a hi");
    ASSERT_EQ(set(path, "a", "1"), 0);
    EXPECT_EQ(files(), QStringList({"system.reg", "system.reg.lock"}));
}

TEST_F(HiveFile, AHiveThatCannotBeReadIsNeverReplaced) {
    const QByteArray utf16("\xFF\xFE[\0K\0", 6);
    home.setHive(utf16);
    EXPECT_EQ(set(path, "a", "1"), platform::kBadHive);
    EXPECT_EQ(home.hive(), utf16);

    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QDir().mkpath(path + "/inside"));
    EXPECT_EQ(get(path, "a"), "(missing)");
    EXPECT_NE(set(path, "a", "1"), 0);
    EXPECT_TRUE(QFileInfo(path + "/inside").isDir());

    ASSERT_TRUE(QDir(path).removeRecursively());
    ASSERT_EQ(::mkfifo(path.toUtf8().constData(), 0600), 0);
    EXPECT_EQ(get(path, "a"), "(missing)");
    EXPECT_NE(set(path, "a", "1"), 0);
}

TEST_F(HiveFile, AWriteWithoutTheRightToItIsRefused) {
    home.setHive("[Key]\n\"a\"=str:\"old\"\n");
    const QByteArray before = home.hive();
    const QByteArray folder = home.path("config/orvel").toUtf8();
    for (const QByteArray &each : {home.path("").toUtf8(), home.path("config").toUtf8(), folder})
        ASSERT_EQ(::chmod(each.constData(), 0755), 0);
    struct Row {
        const char *what;
        mode_t folder;
        mode_t file;
        const char *reads;
    };
    const Row rows[] = {
        {"the folder", 0555, 0666, "old"},
        {"the file", 0777, 0444, "old"},
        {"the file, nor read", 0777, 0000, "(missing)"},
        {"the folder, nor looked into", 0000, 0666, "(missing)"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        ASSERT_EQ(::chmod(path.toUtf8().constData(), row.file), 0);
        ASSERT_EQ(::chmod(folder.constData(), row.folder), 0);
        EXPECT_EQ(inChild([&] { return set(path, "a", "new"); }, true), platform::kAccessDenied);
        EXPECT_EQ(inChild([&] { return get(path, "a") == row.reads ? 0 : 1; }, true), 0);
    }
    ASSERT_EQ(::chmod(folder.constData(), 0755), 0);
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0644), 0);
    EXPECT_EQ(home.hive(), before);
}

TEST_F(HiveFile, AFullDiskLeavesTheOldHive) {
    const QByteArray folder = home.path("disk").toUtf8();
    QDir().mkpath(home.path("disk"));
    constexpr int kNoMount = 77;
    const int result = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.constData(), "tmpfs", 0, "size=64k") != 0)
            return kNoMount;
        const QString onDisk = home.path("disk/orvel/system.reg");
        if (set(onDisk, "a", "old") != 0)
            return 1;
        if (set(onDisk, "big", QByteArray(100'000, 'x')) != platform::kDiskFull)
            return 2;
        const QDir disk(home.path("disk/orvel"));
        if (get(onDisk, "a") != "old" || disk.entryList(QDir::Files | QDir::Hidden).size() != 2)
            return 3;
        return set(onDisk, "b", "small") == 0 && get(onDisk, "a") == "old" ? 0 : 4;
    });
    if (result == kNoMount)
        GTEST_SKIP() << "needs root: to mount a small disk";
    EXPECT_EQ(result, 0);
}

TEST_F(HiveFile, ALockHeldTooLongFailsTheWriteAndAReleasedOneDoesNot) {
    ASSERT_EQ(set(path, "a", "1"), 0);
    std::optional<platform::hive::HiveLock> holder{std::in_place};
    ASSERT_TRUE(holder->acquire((path + ".lock").toUtf8()).ok());
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(set(path, "a", "2"), platform::kLockViolation);
    EXPECT_GE(timer.elapsed(), 1000);
    EXPECT_LE(timer.elapsed(), 8000);
    EXPECT_EQ(get(path, "a"), "1");
    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        holder.reset();
    });
    EXPECT_EQ(set(path, "a", "3"), 0);
    releaser.join();
    EXPECT_EQ(get(path, "a"), "3");
}

} // namespace

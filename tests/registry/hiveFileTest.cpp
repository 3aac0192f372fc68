#include "registry/posix/hiveFile.h"

#include "registry/posix/hiveLock.h"
#include "registry/registry.h"
#include "tests/registry/printBytes.h"
#include "tests/registry/registryHome.h"

#include <QElapsedTimer>

#include <fcntl.h>
#include <gtest/gtest.h>
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

// Runs `work` in a child process, and not as root. Returns its result (0 to 254).
int inChild(const std::function<int()> &work) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(::geteuid() == 0 && ::setuid(65534) != 0 ? 255 : work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

class HiveFile : public testing::Test {
  protected:
    RegistryHome home;
    QString path = home.hivePath();
};

TEST_F(HiveFile, ItsFolderIsMadeForTheOwnerOfTheFolderAboveAlone) {
    const bool isRoot = ::geteuid() == 0;
    QDir().mkpath(home.path("config"));
    ASSERT_TRUE(!isRoot || ::chown(home.path("config").toUtf8().constData(), 1234, 2345) == 0);
    ASSERT_EQ(set(path, "a", "0"), 0);
    writeFile(home.path("config/orvel/.orvel-0123456789abcdef.part"), "left by a killed run");
    ASSERT_EQ(set(path, "a", "1"), 0);
    EXPECT_EQ(get(path, "a"), "1");
    EXPECT_EQ(infoOf(home.path("config/orvel")).st_mode & 07777U, 0700U);
    for (const QString &each : {home.path("config/orvel"), path, path + ".lock"})
        EXPECT_EQ(infoOf(each).st_uid, isRoot ? 1234U : ::geteuid()) << each.toStdString();
    EXPECT_EQ(namesIn(pathOf(home.path("config/orvel"))),
              std::vector<std::string>({"system.reg", "system.reg.lock"}));
}

TEST_F(HiveFile, ALinkIsWrittenThroughAndModeAndOwnerStay) {
    QDir().mkpath(home.path("config/orvel"));
    const QString target = home.path("dotfiles/deep/real.reg");
    ASSERT_TRUE(QFile::link("../../middle", path)); // relative, and to a link
    ASSERT_TRUE(QFile::link(target, home.path("middle")));
    ASSERT_EQ(set(path, "a", "1"), 0) << "target and folder are missing at first";
    const bool isRoot = ::geteuid() == 0;
    ASSERT_EQ(::chmod(target.toUtf8().constData(), 0640), 0);
    ASSERT_TRUE(!isRoot || ::chown(target.toUtf8().constData(), 1234, 2345) == 0);
    ASSERT_EQ(set(path, "b", "2"), 0);
    EXPECT_TRUE(QFileInfo(path).isSymLink() && QFileInfo(home.path("middle")).isSymLink());
    EXPECT_EQ(get(target, "a") + get(path, "b"), "12");
    const struct stat info = infoOf(target);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_uid, isRoot ? 1234U : ::geteuid());
    EXPECT_EQ(info.st_gid, isRoot ? 2345U : ::getegid());

    const QString circle = home.path("circle");
    ASSERT_TRUE(QFile::link(circle, circle));
    EXPECT_NE(set(circle, "a", "1"), 0);
}

TEST_F(HiveFile, AHiveThatCannotBeReadIsNeverReplaced) {
    const QByteArray utf16("\xFF\xFE[\0K\0", 6);
    home.setHive(utf16);
    EXPECT_EQ(set(path, "a", "1"), platform::kBadHive);
    EXPECT_EQ(home.hive(), utf16);

    for (const bool isPipe : {false, true}) {
        ASSERT_EQ(std::remove(path.toUtf8().constData()), 0);
        ASSERT_EQ(isPipe ? ::mkfifo(path.toUtf8().constData(), 0600)
                         : ::mkdir(path.toUtf8().constData(), 0700),
                  0);
        EXPECT_EQ(get(path, "a"), "(missing)");
        EXPECT_NE(set(path, "a", "1"), 0);
    }
}

TEST_F(HiveFile, AWriteWithoutTheRightToItIsRefused) {
    home.setHive("[Key]\n\"a\"=str:\"old\"\n");
    const QByteArray before = home.hive();
    const QByteArray folder = home.path("config/orvel").toUtf8();
    for (const QByteArray &each : {home.path("").toUtf8(), home.path("config").toUtf8(), folder})
        ASSERT_EQ(::chmod(each.constData(), 0755), 0);
    struct Row {
        mode_t folder;
        mode_t file;
        const char *reads;
    };
    for (const Row &row : {Row{0555, 0666, "old"}, Row{0777, 0444, "old"},
                           Row{0777, 0000, "(missing)"}, Row{0000, 0666, "(missing)"}}) {
        SCOPED_TRACE(testing::Message() << std::oct << row.folder << ' ' << row.file);
        ASSERT_EQ(::chmod(path.toUtf8().constData(), row.file), 0);
        ASSERT_EQ(::chmod(folder.constData(), row.folder), 0);
        EXPECT_EQ(inChild([&] { return set(path, "a", "new"); }), platform::kAccessDenied);
        EXPECT_TRUE(inChild([&] { return get(path, "a") == row.reads; }));
    }
    ASSERT_EQ(::chmod(folder.constData(), 0755), 0);
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0644), 0);
    EXPECT_EQ(home.hive(), before);
}

TEST_F(HiveFile, ALockHeldTooLongFailsTheWriteAndAReleasedOneDoesNot) {
    ASSERT_EQ(set(path, "a", "1"), 0);
    std::optional<platform::hive::HiveLock> holder{std::in_place};
    ASSERT_TRUE(holder->acquire((path + ".lock").toStdString()).ok());
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

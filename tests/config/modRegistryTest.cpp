#include "config/modRegistry.h"

#include "platform/narrow.h"
#include "tests/registry/printBytes.h"
#include "tests/registry/registryHome.h"

#include <QDeadlineTimer>
#include <QDir>

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

namespace {

const QString kKey = QString::fromUtf16(kProgramKey);

QString get(const QString &key, const QString &name, const QString &otherwise = {}) {
    return RegGetString(kHkeyLocalMachine, key, name, otherwise);
}

void set(const QString &key, const QString &name, const QString &text) {
    RegSetString(kHkeyLocalMachine, key, name, text);
}

void store(const QString &name, std::uint32_t type, const QByteArray &data) {
    platform::RegKey key = 0;
    ASSERT_EQ(platform::RegCreateKeyA(kHkeyLocalMachine, kKey.toUtf8(), key), platform::kSuccess);
    ASSERT_EQ(platform::RegSetValueExA(key, name.toUtf8(), type, data), platform::kSuccess);
    platform::RegCloseKey(key);
}

class ModRegistry : public testing::Test {
  protected:
    RegistryHome home;
};

TEST_F(ModRegistry, OnlyTextIsReturnedAndItEndsAtItsFirstNul) {
    const QString otherwise = "default";
    EXPECT_EQ(get(kKey, "v", otherwise), otherwise); // no key
    set(kKey, "other", "x");
    EXPECT_EQ(get(kKey, "v", otherwise), otherwise);               // no value
    EXPECT_EQ(RegGetString(0x80000001U, kKey, "other", "d"), "d"); // another root
    const struct {
        const char *what;
        std::uint32_t type;
        QByteArray data;
        QString text;
    } rows[] = {
        {"without a NUL", 1, "D:\\work\\temp", "D:\\work\\temp"},
        {"with a NUL", 1, QByteArray("D:\\work\\temp\0", 13), "D:\\work\\temp"},
        {"a NUL inside", 1, QByteArray("D:\\wo\0rk", 8), "D:\\wo"},
        {"empty", 1, "", ""},
        {"beyond ASCII", 1, platform::toNarrow(QString::fromUtf16(u"D:\\Zo\u00eb")),
         QString::fromUtf16(u"D:\\Zo\u00eb")},
        {"blanks at the end stay", 1, "a  ", "a  "},
        {"longer than any path", 1, QByteArray(100'000, 'x'), QString(100'000, 'x')},
        {"an expandable text", 2, QByteArray("%TEMP%\0", 7), otherwise},
        {"bytes", 3, "abc", otherwise},
        {"a number", 4, "abcd", otherwise},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        store("v", row.type, row.data);
        EXPECT_EQ(get(kKey, "v", otherwise), row.text);
    }
}

// Even if the code page lacks letters of it.
TEST_F(ModRegistry, APathReadsBackAsOneOfTheSameFile) {
    const QString folder = home.path("J\u0101nis \u65e5");
    ASSERT_TRUE(QDir().mkpath(folder));
    set(kKey, "tempdir", folder + "/temp");
    ASSERT_TRUE(QDir().mkdir(get(kKey, "tempdir")));
    EXPECT_TRUE(QDir(folder + "/temp").exists());
}

// The reader asks for the size first and for the bytes afterwards; between the two the value may
// change in length.
TEST_F(ModRegistry, AValueThatIsReplacedWhileItIsReadIsReadWholeInOneFormOrTheOther) {
    const QString texts[] = {"/short", "/long" + QString(500, 'x')};
    set(kKey, "v", texts[0]);
    std::atomic<bool> isEnough = false;
    std::atomic<int> writes = 0;
    std::thread writer([&] {
        while (!isEnough)
            set(kKey, "v", texts[++writes % 2]);
    });
    std::set<QString> seen;
    // With files in memory, many writes may pass before the reader runs.
    const QDeadlineTimer limit(30'000);
    while ((writes < 150 || seen.size() < 2) && !limit.hasExpired())
        seen.insert(get(kKey, "v"));
    isEnough = true;
    writer.join();
    EXPECT_EQ(seen, std::set<QString>(std::begin(texts), std::end(texts)));
}

} // namespace

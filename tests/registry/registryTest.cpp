#include "registry/registry.h"

#include "tests/registry/printBytes.h"
#include "tests/registry/registryHome.h"

#include <gtest/gtest.h>

namespace {

using namespace platform; // NOLINT(google-build-using-namespace): its functions are the subject

#define BYTES(literal) QByteArray(literal, sizeof(literal) - 1)

const QByteArray kKey = "SOFTWARE\\Voxhollow\\Game Editors\\Tribes2\\Orvel";
const QByteArray kMissing = "(missing)";

QByteArray read(const QByteArray &path, const QByteArray &name) {
    RegKey key = 0;
    RegOpenKeyA(kLocalMachine, path, key);
    QByteArray data(100, ' ');
    auto size = static_cast<std::uint32_t>(data.size());
    const auto result = RegQueryValueExA(key, name, nullptr, data.data(), size);
    RegCloseKey(key);
    return result == kSuccess ? data.first(size) : kMissing;
}

std::int32_t open(const QByteArray &path) {
    RegKey key = 0;
    return RegOpenKeyA(kLocalMachine, path, key);
}

std::int32_t write(const QByteArray &path, const QByteArray &name, const QByteArray &data,
                   std::uint32_t type = kTypeString) {
    RegKey key = 0;
    RegCreateKeyA(kLocalMachine, path, key);
    const std::int32_t result = RegSetValueExA(key, name, type, data);
    RegCloseKey(key);
    return result;
}

class Registry : public testing::Test {
  protected:
    RegistryHome home;
};

TEST_F(Registry, HandlesAreCheckedAndServeOneRootOnly) {
    RegKey key = 7;
    EXPECT_EQ(RegOpenKeyA(kLocalMachine, kKey, key), kNotFound);
    EXPECT_EQ(key, 0U);
    EXPECT_EQ(RegCreateKeyA(0x80000001U, kKey, key), kNotFound);
    ASSERT_EQ(RegCreateKeyA(kLocalMachine, kKey, key), kSuccess);
    RegKey second = 0;
    ASSERT_EQ(RegOpenKeyA(kLocalMachine, kKey, second), kSuccess);
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    EXPECT_EQ(RegSetValueExA(second, "a", kTypeString, "b"), kSuccess);
    std::uint32_t size = 0;
    QByteArrayList names;
    EXPECT_EQ(RegQueryValueExA(key, "a", nullptr, nullptr, size), kInvalidHandle);
    EXPECT_EQ(RegSetValueExA(key, "a", kTypeString, "c"), kInvalidHandle);
    EXPECT_EQ(RegValueNames(key, names), kInvalidHandle);
    EXPECT_EQ(RegCloseKey(key), kInvalidHandle);
    EXPECT_EQ(read(kKey, "a"), "b");
}

TEST_F(Registry, AQueryReportsTypeAndSizeAndNeverOverrunsTheBuffer) {
    ASSERT_EQ(write(kKey, "name", "twelve bytes"), kSuccess);
    RegKey key = 0;
    ASSERT_EQ(RegOpenKeyA(kLocalMachine, kKey, key), kSuccess);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(RegQueryValueExA(key, "NAME", &type, nullptr, size), kSuccess);
    EXPECT_EQ(type, kTypeString);
    EXPECT_EQ(size, 12U);
    EXPECT_EQ(RegQueryValueExA(key, "other", &type, nullptr, size), kNotFound);

    QByteArray buffer(20, '.');
    size = 11;
    EXPECT_EQ(RegQueryValueExA(key, "name", nullptr, buffer.data(), size), kMoreData);
    EXPECT_EQ(size, 12U);
    EXPECT_EQ(buffer, QByteArray(20, '.'));
    size = 20;
    EXPECT_EQ(RegQueryValueExA(key, "name", nullptr, buffer.data(), size), kSuccess);
    EXPECT_EQ(size, 12U);
    EXPECT_EQ(buffer, "twelve bytes........");
}

TEST_F(Registry, NamesCompareWithoutRegardToCaseAndEndAtANul) {
    ASSERT_EQ(write("Software\\\u00c9t\u00e9", "Na\u00cfve", "1"), kSuccess);
    ASSERT_EQ(write("SOFTWARE\\\u00e9T\u00c9", "nA\u00efVE", "2"), kSuccess);
    EXPECT_EQ(read("software\\\u00e9t\u00e9", "na\u00efve"), "2");
    EXPECT_EQ(read(BYTES("software\\\u00e9t\u00e9\0\\x"), BYTES("na\u00efve\0x")), "2");
    EXPECT_EQ(read("\\software\\\\\u00e9t\u00e9\\", "na\u00efve"), "2");
    EXPECT_EQ(home.hive().count('['), 1);
    EXPECT_EQ(open("software"), kSuccess);
    EXPECT_EQ(open("softwar"), kNotFound);
    EXPECT_EQ(open(""), kSuccess);
}

const QByteArray kWine = R"(WINE REGISTRY Version 2

[Software\\Sierra Online\\Setup\\Tribes2] 1
"directory"="plain"
"only plain"="plain"

[Software\\Wow6432Node\\Sierra Online\\Setup\\Tribes2] 1
"Directory"="twin"
"only twin"="twin"

[System\\Setup] 1
"a"="system"
)";
const QByteArray kGame = "SOFTWARE\\Sierra Online\\Setup\\Tribes2";

TEST_F(Registry, MissingValuesAreReadFromTheWinePrefixThe32BitTwinFirst) {
    EXPECT_EQ(open(kGame), kNotFound);
    home.setWine(kWine);
    EXPECT_EQ(open(kGame), kSuccess);
    EXPECT_EQ(read(kGame, "directory"), BYTES("twin\0"));
    EXPECT_EQ(read(kGame, "only plain"), BYTES("plain\0"));
    EXPECT_EQ(read(kGame, "only twin"), BYTES("twin\0"));
    EXPECT_EQ(read("system\\setup", "A"), BYTES("system\0"));
    EXPECT_EQ(home.hive(), "") << "reading must not create a hive";
    EXPECT_EQ(write(kGame, "new", "own"), kSuccess);

    // Now that the hive has the key, the prefix still supplies missing values.
    EXPECT_EQ(read(kGame, "new"), "own");
    EXPECT_EQ(read(kGame, "directory"), BYTES("twin\0"));
    EXPECT_EQ(write(kGame, "DIRECTORY", "own", 3), kSuccess);
    EXPECT_EQ(read(kGame, "directory"), "own") << "a value of another type counts as there";
    QByteArrayList names;
    RegKey key = 0;
    ASSERT_EQ(RegOpenKeyA(kLocalMachine, kGame, key), kSuccess);
    EXPECT_EQ(RegValueNames(key, names), kSuccess);
    EXPECT_EQ(names, QByteArrayList({"new", "DIRECTORY", "only twin", "only plain"}));
    // Nor does a damaged own value hide it.
    const QByteArray damaged =
        "[Software\\\\Sierra Online\\\\Setup\\\\Tribes2]\n\"directory\"=\"x\n";
    home.setHive(damaged);
    EXPECT_EQ(read(kGame, "directory"), BYTES("twin\0"));
    EXPECT_EQ(write(kGame, "directory", "own"), kSuccess);
    EXPECT_TRUE(home.hive().startsWith(damaged));
    EXPECT_EQ(readFile(home.path("wine/system.reg")), kWine);
    EXPECT_EQ(QDir(home.path("wine")).entryList(QDir::Files), QStringList({"system.reg"}));
}

TEST_F(Registry, TheFilesAreWhereTheVariablesSay) {
    qputenv("HOME", home.path("h").toUtf8());
    const QString standard = home.path("h/.config/orvel/system.reg");
    for (const char *value : {"", "relative/config", "."}) {
        SCOPED_TRACE(value);
        qputenv("XDG_CONFIG_HOME", value);
        ASSERT_EQ(write(kKey, "v", value), kSuccess);
        EXPECT_EQ(read(kKey, "v"), value);
        EXPECT_TRUE(QFile::exists(standard));
    }
    EXPECT_FALSE(QFile::exists("relative"));
    writeFile(home.path("h/.wine/system.reg"), kWine);
    for (const char *value : {"", "relative/wine"}) {
        qputenv("WINEPREFIX", value);
        EXPECT_EQ(read(kGame, "directory"), BYTES("twin\0"));
    }
    qputenv("XDG_CONFIG_HOME", home.path("elsewhere").toUtf8());
    EXPECT_EQ(read(kKey, "v"), kMissing);
}

TEST_F(Registry, ChangesByAnotherProgramAreSeenAtTheNextRead) {
    // In place, of equal length, and often within one tick of the file system's clock.
    for (char value = 'a'; value <= 'z'; ++value) {
        home.setHive(QByteArray("[K]\n\"v\"=str:\"") + value + "\"\n");
        ASSERT_EQ(read("K", "v"), QByteArray(1, value));
    }
    ASSERT_TRUE(QFile::remove(home.hivePath()));
    EXPECT_EQ(read("K", "v"), kMissing);
    EXPECT_EQ(write("K", "v", "again"), kSuccess);
    EXPECT_EQ(read("K", "v"), "again");
}

} // namespace

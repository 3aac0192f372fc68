#include "registry/registry.h"

#include "platform/windows/system.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace platform; // NOLINT(google-build-using-namespace): its functions are the subject

constexpr char kPath[] = "SOFTWARE\\Orvel Test\\Deep";
constexpr char kInWholeView[] = "SOFTWARE\\Wow6432Node\\Orvel Test";
constexpr char kVirtual[] =
    "Software\\Classes\\VirtualStore\\MACHINE\\SOFTWARE\\Wow6432Node\\Orvel Test";

class WindowsRegistry : public testing::Test {
  protected:
    WindowsRegistry() { clean(); }
    ~WindowsRegistry() override { clean(); }

    static void clean() {
        ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, kInWholeView);
        ::RegDeleteKeyExA(HKEY_LOCAL_MACHINE, kInWholeView, KEY_WOW64_64KEY, 0);
        ::RegDeleteTreeA(HKEY_CURRENT_USER, kVirtual);
    }
    static void set(const QByteArray &name, const QByteArray &data) {
        RegKey key = 0;
        ASSERT_EQ(RegCreateKeyA(kLocalMachine, kPath, key), kSuccess);
        EXPECT_EQ(RegSetValueExA(key, name, kTypeString, data), kSuccess);
        EXPECT_EQ(RegCloseKey(key), kSuccess);
    }
    static QByteArray get(const QByteArray &name) {
        RegKey key = 0;
        RegOpenKeyA(kLocalMachine, kPath, key);
        QByteArray data(100, '\0');
        auto size = static_cast<std::uint32_t>(data.size());
        const auto result = RegQueryValueExA(key, name, nullptr, data.data(), size);
        RegCloseKey(key);
        // The system puts a NUL behind texts that are stored without one.
        return result == kSuccess ? QByteArray(data.constData()) : QByteArray("(missing)");
    }
};

TEST_F(WindowsRegistry, ValuesOfTheMachineLieInTheViewOf32BitPrograms) {
    EXPECT_EQ(get("v"), QByteArray("(missing)"));
    set("v", "D:\\Tribes2");
    EXPECT_EQ(get("V"), QByteArray("D:\\Tribes2"));
    char bytes[64] = {};
    DWORD size = sizeof bytes;
    EXPECT_EQ(::RegGetValueA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Wow6432Node\\Orvel Test\\Deep", "v",
                             RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, bytes, &size),
              ERROR_SUCCESS);
    EXPECT_STREQ(bytes, "D:\\Tribes2");
}

TEST_F(WindowsRegistry, TheUsersVirtualCopyIsReadFirstAndDropsOutAtTheNextWrite) {
    set("v", "machine");
    set("other", "machine");
    HKEY twin = nullptr;
    ASSERT_EQ(
        ::RegCreateKeyA(HKEY_CURRENT_USER, (QByteArray(kVirtual) + "\\Deep").constData(), &twin),
        ERROR_SUCCESS);
    ::RegSetValueExA(twin, "v", 0, REG_SZ, reinterpret_cast<const BYTE *>("user"), 5);
    ::RegCloseKey(twin);
    EXPECT_EQ(get("v"), QByteArray("user"));
    EXPECT_EQ(get("other"), QByteArray("machine"));
    EXPECT_EQ(get("none"), QByteArray("(missing)"));
    RegKey key = 0;
    QByteArrayList names;
    ASSERT_EQ(RegOpenKeyA(kLocalMachine, kPath, key), kSuccess);
    EXPECT_EQ(RegValueNames(key, names), kSuccess);
    RegCloseKey(key);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (QByteArrayList{"other", "v"}));
    set("v", "machine again");
    EXPECT_EQ(get("v"), QByteArray("machine again"));
}

} // namespace

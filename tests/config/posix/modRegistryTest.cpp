#include "config/modRegistry.h"

#include "tests/registry/registryHome.h"

#include <gtest/gtest.h>

TEST(ModRegistryHive, ARefusedWriteChangesNothingAndIsNotReported) {
    const RegistryHome home;
    const QString key = QString::fromUtf16(kProgramKey);
    RegistryHome::write(home.path("config"), "a file where the folder should be");
    RegSetString(kHkeyLocalMachine, key, "v", "text");
    EXPECT_EQ(RegGetString(kHkeyLocalMachine, key, "v", "d"), "d");
    EXPECT_EQ(RegistryHome::read(home.path("config")), "a file where the folder should be");
}

TEST(ModRegistryHive, TheTextIsStoredWithoutANul) {
    const RegistryHome home;
    const QString path = QString::fromUtf16(kProgramKey);
    RegSetString(kHkeyLocalMachine, path, "v", "four");
    platform::RegKey key = 0;
    platform::RegOpenKeyA(kHkeyLocalMachine, path.toUtf8(), key);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(platform::RegQueryValueExA(key, "v", &type, nullptr, size), platform::kSuccess);
    EXPECT_EQ(type, platform::kTypeString);
    EXPECT_EQ(size, 4U);
    platform::RegCloseKey(key);
}

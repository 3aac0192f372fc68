#include "config/modRegistry.h"

#include "tests/registry/registryHome.h"

#include <gtest/gtest.h>

TEST(ModRegistryHive, ATextIsStoredWithoutANulAndARefusedWriteIsNotReported) {
    RegistryHome home;
    const QString key = QString::fromUtf16(kProgramKey);
    RegSetString(kHkeyLocalMachine, key, "v", "four");
    EXPECT_TRUE(home.hive().endsWith("\"v\"=str:\"four\"\n"));
    home.clear();
    writeFile(home.path("config"), "a file in place of the folder");
    RegSetString(kHkeyLocalMachine, key, "v", "text");
    EXPECT_EQ(RegGetString(kHkeyLocalMachine, key, "v", "d"), "d");
    EXPECT_EQ(readFile(home.path("config")), "a file in place of the folder");
}

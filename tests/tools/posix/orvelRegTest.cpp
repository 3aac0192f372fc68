#include "tests/tools/orvelReg.h"

#include "tests/registry/printBytes.h"
#include "tests/registry/registryHome.h"

#include <memory>

namespace {

std::unique_ptr<RegistryHome> home;

} // namespace

QString OrvelReg::ownKey() {
    home = std::make_unique<RegistryHome>();
    return "SOFTWARE\\Orvel-reg test";
}

void OrvelReg::dropCache(const QString & /*key*/) {
    home.reset();
}

TEST_F(OrvelReg, AQueryWithoutANamePrintsWhatTheWinePrefixHoldsToo) {
    home->setHive("[A]\n@=\"default\"\n\"n\"=dword:1\n\"t\"=str:\"own\"\n");
    home->setWine("[A]\n\"T\"=\"hidden\"\n\"N\"=\"hidden\"\n\"w\"=\"wine\"\n");
    const Outcome found = run({"query", "HKLM\\a"});
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.out, "=default\nt=own\nw=wine\n");
}

TEST_F(OrvelReg, ARefusedWriteIsSaidAndFails) {
    RegistryHome::write(home->path("config"), "a file where the folder should be");
    for (const QString text : {"text", ""}) {
        const Outcome refused = run({"add", key, "directory", text});
        EXPECT_EQ(refused.code, 1);
        EXPECT_TRUE(refused.error.contains("could not be stored"));
    }
}

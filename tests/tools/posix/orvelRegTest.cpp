#include "tests/tools/orvelReg.h"

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

TEST_F(OrvelReg, ARefusedWriteFailsWithAMessage) {
    writeFile(home->path("config"), "a file in place of the folder");
    for (const QString text : {"text", ""})
        expect({"add", key, "directory", text}, 1, "", "could not be stored");
}

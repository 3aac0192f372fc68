#include "registry/posix/registryFiles.h"

#include "storage/posix/environment.h"

namespace platform {

QByteArray ownHivePath() {
    const auto folder = QByteArray::fromStdString(userConfigFolder());
    return folder.isEmpty() ? folder : folder + "/system.reg";
}

QByteArray wineHivePath() {
    const auto prefix = QByteArray::fromStdString(winePrefix());
    return prefix.isEmpty() ? prefix : prefix + "/system.reg";
}

} // namespace platform

#include "platform/posix/registryFiles.h"

#include "platform/posix/environment.h"

namespace platform {

QByteArray ownHivePath() {
    const QByteArray folder = userConfigFolder();
    return folder.isEmpty() ? folder : folder + "/system.reg";
}

QByteArray wineHivePath() {
    const QByteArray prefix = winePrefix();
    return prefix.isEmpty() ? prefix : prefix + "/system.reg";
}

} // namespace platform

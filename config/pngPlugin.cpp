#include "config/pngPlugin.h"

#include "config/modRegistry.h"
#include "platform/files.h"

#include <QString>

#include <exception>

namespace {

void tryCopy(const QString &source, const QString &target) {
    try {
        platform::copyFile(source, target);
    } catch (const std::exception &) {
        // A missing plug-in or one in use: the user's own stays.
    }
}

} // namespace

void InstallPngPlugin() {
    try {
        // The registered folder ends in its separator.
        const QString photoshop =
            RegGetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString());
        if (photoshop.isEmpty())
            return;
        const QString plugin =
            photoshop + QStringLiteral("Plug-Ins\\Adobe Photoshop Only\\File Formats\\Png.8bi");
        tryCopy(plugin, plugin + QStringLiteral(".bak"));
        tryCopy(platform::programFolder() + QStringLiteral("\\Png.8bi"), plugin);
    } catch (const std::exception &) {
        // Without a readable registration or program folder there is nothing to copy.
    }
}

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
        // A plug-in is missing or in use: the existing one stays.
    }
}

} // namespace

void InstallPngPlugin() {
    try {
        // The registered path ends in a separator.
        const QString photoshop =
            RegGetString(kHkeyLocalMachine, QString::fromUtf16(kPhotoshopKey), QString());
        if (photoshop.isEmpty())
            return;
        const QString plugin =
            photoshop + QStringLiteral("Plug-Ins\\Adobe Photoshop Only\\File Formats\\Png.8bi");
        tryCopy(plugin, plugin + QStringLiteral(".bak"));
        tryCopy(platform::programFolder() + QStringLiteral("\\Png.8bi"), plugin);
    } catch (const std::exception &) {
        // The registered path or the program's folder cannot be read: nothing to copy.
    }
}

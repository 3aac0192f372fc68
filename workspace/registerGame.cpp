#include "workspace/registerGame.h"

#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"

#include <QDir>
#include <QFileInfo>

namespace {

bool holdsGame(const QString &folder) {
    return QFileInfo(platform::nativePath(folder + "\\GameData\\base")).isDir();
}

} // namespace

bool RegisterGameFolder() {
    const QString key = QString::fromUtf16(kGameKey);
    for (;;) {
        const auto folder = platform::chooseFolder("Choose the folder of Tribes 2");
        if (!folder)
            return false;
        if (!holdsGame(*folder)) {
            platform::MsgBox(QStringLiteral("%1 is not the folder of the game: it holds no folder "
                                            "GameData with a folder base.")
                                 .arg(QDir::toNativeSeparators(*folder)),
                             platform::kInformation, "Orvel");
            continue;
        }
        RegSetString(kHkeyLocalMachine, key, "directory", *folder);
        if (RegGetString(kHkeyLocalMachine, key, "directory") == *folder)
            return true;
        platform::MsgBox("The folder could not be registered: the settings cannot be written.",
                         platform::kCritical, "Orvel");
        return false;
    }
}

#include "tools/orvel-vl2/game.h"

#include "config/modRegistry.h"
#include "platform/files.h"
#include "storage/pathText.h"
#include "storage/storage.h"
#include "storage/utf8.h"
#include "tools/orvel-vl2/output.h"

#include <algorithm>

namespace vl2 {

namespace {

bool isSeparator(QChar c) {
    return c == u'\\' || c == u'/';
}

std::vector<platform::FolderItem> itemsOf(const std::string &folder) {
    platform::Folder opened;
    std::vector<platform::FolderItem> items;
    if (auto status = opened.open(folder); !status.ok())
        throw Failed(status);
    if (auto status = opened.list(items); !status.ok())
        throw Failed(status);
    return items;
}

} // namespace

std::string gameDataFolder() {
    QString folder =
        RegGetString(kHkeyLocalMachine, QString::fromUtf16(kGameKey), QStringLiteral("directory"));
    while (folder.size() > 1 && isSeparator(folder.back()))
        folder.chop(1);
    folder += QStringLiteral("\\GameData");
    if (folder.size() == 9 || platform::storedName(folder).isEmpty())
        throw Failed(Exit::System, "no game is registered; see orvel-reg --help");
    return platform::storagePath(folder);
}

bool isArchiveName(std::string_view name) {
    return platform::foldCase(name).ends_with(".vl2");
}

std::vector<std::string> archivesOf(const std::string &folder) {
    std::vector<std::pair<std::string, std::string>> sorted;
    for (const platform::FolderItem &item : itemsOf(folder)) {
        if (item.kind != platform::FileInfo::Kind::Folder && isArchiveName(item.name))
            sorted.emplace_back(platform::foldCase(item.name),
                                platform::joinPath(folder, item.name));
    }
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::string> paths(sorted.size());
    std::transform(sorted.begin(), sorted.end(), paths.begin(),
                   [](auto &item) { return std::move(item.second); });
    return paths;
}

std::vector<std::string> gameFolders(const std::vector<std::string> &mods) {
    const std::string data = gameDataFolder();
    std::vector<std::string> names{"base"};
    names.insert(names.end(), mods.begin(), mods.end());
    const std::vector<platform::FolderItem> items = itemsOf(data);
    std::vector<std::string> folders;
    for (const std::string &name : names) {
        const auto found = std::find_if(items.begin(), items.end(), [&](const auto &item) {
            return platform::foldCase(item.name) == platform::foldCase(name);
        });
        if (found == items.end())
            throw Failed(Exit::System, std::string(data).append(": there is no folder ") + name);
        const std::string folder = platform::joinPath(data, found->name);
        if (std::find(folders.begin(), folders.end(), folder) == folders.end())
            folders.push_back(folder);
    }
    return folders;
}

} // namespace vl2

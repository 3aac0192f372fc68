#include "config/modRegistry.h"
#include "platform/error.h"
#include "platform/files.h"
#include "storage/safePath.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/frmMain.h"

#include <QDir>
#include <QFileInfo>

#include <limits>

namespace {

constexpr int kWindowsFolderBuffer = 260;

QString defaultWorkFolders() {
    return platform::programFolder() + "\\temp";
}

QString gameFolderSetting() {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kGameKey), "directory");
}

} // namespace

void frmMain::LocateGame() {
    QString folder = gameFolderSetting();
    while (folder.size() > 1 && platform::isSeparator(folder.back()))
        folder.chop(1);
    m_strGamePath = GetLongFileName(folder) + '\\';
    m_strBasePath = m_strGamePath + "GameData\\base\\";
    if (WorkFolderSetting().isEmpty())
        SetDefaultWorkFolder();
    // If the recorded folder does not exist, its long name is "" and m_strGamePath is "\".
    if (m_strGamePath.size() == 1 || platform::storedName(m_strBasePath.chopped(1)).isEmpty())
        throw platform::RuntimeError(platform::ErrorNumber::PathNotFound,
                                     "Orvel could not detect Tribes 2 on your computer.", "Orvel");
}

QString frmMain::WorkFolderSetting() {
    return RegGetString(kHkeyLocalMachine, QString::fromUtf16(kProgramKey), "tempdir");
}

void frmMain::SetDefaultWorkFolder() {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramKey), "tempdir",
                 defaultWorkFolders());
}

QString frmMain::WorkFolders() {
    const QString folder = WorkFolderSetting();
    return folder.isEmpty() ? defaultWorkFolders() : folder;
}

QString frmMain::GetLongFileName(const QString &ShortFileName) const {
    if (ShortFileName.size() > std::numeric_limits<std::int16_t>::max())
        platform::raise(platform::ErrorNumber::Overflow);
    if (ShortFileName.isEmpty())
        return "\\";
    // The components follow the drive or share, if there is one.
    const qsizetype root = platform::rootLength(ShortFileName);
    const bool rooted = root > 0 || platform::isSeparator(ShortFileName[0]);
    const QChar separator = root > 0 ? '\\' : '/';
    QString name = ShortFileName.left(root);
    for (qsizetype start = root, end = 0; start < ShortFileName.size(); start = end + 1) {
        for (end = start; end < ShortFileName.size() && !platform::isSeparator(ShortFileName[end]);)
            ++end;
        if (end == start)
            continue;
        const QString stored = platform::storedName(ShortFileName.left(end));
        if (stored.isEmpty())
            return {};
        if (rooted || !name.isEmpty())
            name += separator;
        name += stored;
    }
    return name.isEmpty() ? ShortFileName.left(1) : name;
}

QString frmMain::GetWinPath() const {
    return platform::windowsFolder(kWindowsFolderBuffer);
}

std::int16_t frmMain::FileExists(const QString &strPath) const {
    try {
        return platform::findFirst(strPath, platform::kAttributeNormal).isEmpty() ? 0 : 1;
    } catch (const platform::RuntimeError &) {
        return 0;
    }
}

QString frmMain::ProperCase(const QString &text) {
    const QString separators = QString::fromUtf16(u" \0\t\n\v\f\r", 7);
    QString result = text.toLower();
    bool first = true;
    for (QChar &c : result) {
        if (first)
            c = c.toUpper();
        first = separators.contains(c);
    }
    return result;
}

QString frmMain::ArchivePath() const {
    return ArchivePath(drpVL2File->currentIndex());
}

QString frmMain::ArchivePath(int entry) const {
    const QString file = drpVL2File->itemData(entry, kArchiveFileRole).toString();
    return QDir::isAbsolutePath(file) ? file : m_strBasePath + file;
}

bool frmMain::StaysBelow(const QString &line) {
    QString path = line;
    path.replace('\\', '/');
    // The lines of top-level files begin with a separator.
    if (path.startsWith('/'))
        path.remove(0, 1);
    return platform::unsafeReason(path.toStdString()) == nullptr;
}

QString frmMain::ExtractedPath(const QString &folder, const QString &name) const {
    const QString line = name.isEmpty() ? folder : folder + '\\' + name;
    const bool isWorkFolder = line.isEmpty();
    if (folder.startsWith('\\') || (!isWorkFolder && !StaysBelow(line)))
        return {};
    // Saving does not follow links to folders either: their files do not belong to the archive.
    const auto real = [](const QString &path) { return QFileInfo(path).canonicalFilePath(); };
    const QString top = real(platform::nativePath(WorkFolder()));
    QString existing = platform::nativePath(WorkFolder() + '\\' + folder);
    while (!top.isEmpty() && real(existing).isEmpty() && QFileInfo(existing).path() != existing)
        existing = QFileInfo(existing).path();
    if (!top.isEmpty() && !(real(existing) + '/').startsWith(top + '/'))
        return {};
    return WorkFolder() + '\\' + line;
}

QString frmMain::ProbeFile() const {
    const ArchiveNodes &nodes = m_tree->Nodes();
    if (nodes.Count() == 0)
        return {};
    return ExtractedPath(nodes.Text(1), nodes.Text(nodes.FirstChild(1)));
}

int frmMain::SelectedNode() const {
    const QModelIndexList selected = treArchive->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? 0 : m_tree->NodeOf(selected.first());
}

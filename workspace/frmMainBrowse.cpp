#include "archive/mZip.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/fileTypes.h"
#include "workspace/frmMain.h"
#include "workspace/reasons.h"
#include "ziplib/returnCode.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QLocale>
#include <QPushButton>
#include <QTimer>

#include <chrono>
#include <filesystem>
#include <system_error>

using namespace std::chrono_literals;
using ziplib::ReturnCode;

namespace {

// Bytes of files that are compared by content at a selection: the others count as edited.
constexpr std::uint64_t kMostRead = 64U << 20U;
constexpr std::chrono::milliseconds kRetryInterval(200);

} // namespace

// Selecting another entry sends the change and then the click, selecting the same entry again only
// the click. The archive is opened once in both cases.
void frmMain::drpVL2File_Change() {
    Guarded([this] { ArchiveChosen(); });
    m_changeHandled = true;
    QTimer::singleShot(0, this, [this] { m_changeHandled = false; });
}

void frmMain::drpVL2File_Click() {
    if (!m_changeHandled)
        Guarded([this] { ArchiveChosen(); });
}

void frmMain::ChooseArchive(const QString &sFile) {
    const std::filesystem::path wanted = QFileInfo(sFile).filesystemAbsoluteFilePath();
    for (int entry = 0; entry < drpVL2File->count(); ++entry) {
        const QFileInfo listed(platform::nativePath(ArchivePath(entry)));
        // Compares the files, as the paths may differ by a link, a short name or the letter case.
        std::error_code ignored;
        if (!std::filesystem::equivalent(listed.filesystemFilePath(), wanted, ignored))
            continue;
        // Choosing the same one again lists it again, as in the drop-down.
        if (entry == drpVL2File->currentIndex())
            Guarded([this] { ArchiveChosen(); });
        else
            drpVL2File->setCurrentIndex(entry);
        return;
    }
    const QFileInfo file(sFile);
    const QString base = platform::nativePath(m_strBasePath.chopped(1));
    const bool hidden = ProperCase(file.completeBaseName()) == QLatin1String("Interiors") &&
                        QFileInfo(file.absolutePath()) == QFileInfo(base);
    const QString reason = !file.isFile() ? QStringLiteral("There is no such file.")
                           : hidden       ? QStringLiteral("Orvel does not edit this archive.")
                           : file.suffix().compare("vl2", Qt::CaseInsensitive) != 0
                               ? QStringLiteral("The names of the game's archives end in .vl2.")
                               : QString();
    if (reason.isEmpty())
        drpVL2File->setCurrentIndex(AddArchive(file.absoluteFilePath()));
    else
        platform::MsgBox(QStringLiteral("%1 cannot be opened.\n\n%2")
                             .arg(QDir::toNativeSeparators(sFile), reason),
                         platform::kInformation, "Orvel");
}

// Its text has a separator, which no archive of the game's folder has, and so much of the path that
// no other entry has the same.
int frmMain::AddArchive(const QString &path) {
    const QStringList parts = QDir::toNativeSeparators(path).chopped(4).split(QDir::separator());
    QString text = parts.last();
    for (qsizetype i = parts.size() - 2; i >= 0; --i) {
        text.prepend(parts.at(i) + QDir::separator());
        if (drpVL2File->findText(text) < 0)
            break;
    }
    const QSignalBlocker quiet(drpVL2File);
    drpVL2File->addItem(text, path);
    AssignWorkFolders();
    return drpVL2File->count() - 1;
}

bool frmMain::ShowArchive(const QString &sFile) {
    if (!IsFree())
        return false;
    showNormal();
    raise();
    activateWindow();
    ChooseLater(sFile, 0ms);
    return true;
}

void frmMain::ChooseLater(const QString &sFile, std::chrono::milliseconds delay) {
    QTimer::singleShot(
        delay, this,
        [this, sFile] {
            if (IsFree())
                ChooseArchive(sFile);
            else
                ChooseLater(sFile, kRetryInterval);
        });
}

void frmMain::ArchiveChosen() {
    if (drpVL2File->currentText().isEmpty())
        return;
    // Another window may have extracted an archive or cleaned up since.
    AssignWorkFolders();
    OpenSelectedArchive();
    UpdateButtons();
    QStringList notes{ListingNote(), UnsavedNote(), OtherWorkNote()};
    notes.removeAll(QString());
    const QString note = notes.join('\n');
    if (!note.isEmpty() && !m_lock.isRefused())
        ShowNote(note);
}

void frmMain::OpenSelectedArchive() {
    ListArchive(ArchivePath());
}

void frmMain::ListArchive(const QString &path) {
    DisableWindow(); // the next step repaints, and nothing may start a look then
    StopLooking();
    m_lines->SetEntries(nullptr);
    m_listing = nullptr;
    m_tree->Clear();
    platform::setMousePointer(this, 11);
    m_cUnzip->setZipFile(path);
    const auto archive = WorkRecord::archiveAt(path);
    m_listed = archive ? archive->seen : platform::FileInfo{};
    const std::int32_t code = m_cUnzip->Directory();
    const int count = m_cUnzip->FileCount();
    if (count > 0)
        ShowProgressBar(count);
    m_listing = m_cUnzip->Entries();
    ArchiveNodes nodes(m_listing);
    for (int i = 1; i <= count; ++i) {
        const int image = ImageOfFile(m_cUnzip->Filename(i));
        if (image != 0)
            nodes.AddFile(i, image);
        SetProgress(i);
    }
    m_tree->Fill(std::move(nodes), &platform::repaintPending);
    m_lines->SetEntries(m_listing);
    HideProgressBar();
    EnableWindow();
    if (count > 0)
        lblStatus->SetText("Click Extract to begin editing files");
    else if (ReturnCode{code} == ReturnCode::Done || ReturnCode{code} == ReturnCode::Warnings)
        lblStatus->SetText("The archive holds no files.");
    else
        lblStatus->SetText("Cannot read the archive: " + Reason(code, m_cUnzip->LastMessage()));
    platform::setMousePointer(this, 0);
}

QString frmMain::ListingNote() const {
    const std::int32_t code = m_cUnzip->LastCode();
    const QString reason = Reason(code, m_cUnzip->LastMessage());
    if (ReturnCode{code} == ReturnCode::Warnings) // the list is complete
        return OddArchiveNote(reason);
    if (m_cUnzip->FileCount() == 0)
        return {};
    if (code != 0)
        return QStringLiteral("The archive is damaged: %1. What can be read of it is shown.")
            .arg(reason);
    if (m_tree->Nodes().Count() == 0)
        return QStringLiteral("The archive holds nothing that can be edited here: all of its files "
                              "are of types that only the game's own tools read.");
    return {};
}

// Such as one that an editor has saved after the clean-up removed the folder.
QString frmMain::UnsavedNote() const {
    if (!cmdExtract->isEnabled())
        return {};
    const QString folder = platform::nativePath(WorkFolder());
    QStringList names;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    const platform::PackedFiles known =
        files.hasNext() ? KnownFiles(m_listing) : platform::PackedFiles();
    std::uint64_t unread = kMostRead;
    while (files.hasNext()) {
        const std::string path = files.next().toStdString();
        const QString name = files.filePath().mid(folder.size() + 1);
        platform::InputFile file;
        platform::FileInfo info;
        const bool isOpen = file.open(path, info).ok();
        const auto open = [&]() -> platform::InputFile * {
            if (info.size > unread) // too large to look into
                return nullptr;
            unread -= info.size;
            return &file;
        };
        if (!isOpen || !known.hold(name, info, true, open))
            names.append(name);
        platform::repaintPending();
    }
    if (names.isEmpty())
        return {};
    names.sort();
    return QStringLiteral(
               "Work in progress that is not saved: %1. Extract adds the other files and "
               "keeps these.")
        .arg(ShortList(names));
}

void frmMain::UpdateButtons() {
    const bool chosen = !drpVL2File->currentText().isEmpty();
    const bool listed = m_tree->Nodes().Count() > 0;
    const bool extracted = listed && FileExists(ProbeFile()) != 0;
    if (!chosen || !extracted) {
        m_lock.release();
        m_conflicts.clear();
    }
    const bool owned = chosen && extracted && OwnsWorkFolder();

    cmdExtract->setEnabled(chosen && listed && !extracted);
    cmdSaveChanges->setEnabled(owned);
    cmdCancel->setEnabled(owned);
    cmdEditFile->setEnabled(owned);
    cmdOpenFolder->setEnabled(owned);

    if (chosen)
        MarkWork(drpVL2File->currentIndex(), true);
    if (owned) {
        LookForChanges();
        // Once the buttons are painted: it takes as long as half of the save of a small archive.
        QTimer::singleShot(0, this, [] { mZip::PreloadLibrary(); });
    } else {
        StopLooking();
    }
    if (extracted)
        lblStatus->SetText("Select a file to edit.");
    if (!chosen)
        lblStatus->SetText("Please select a category.");
    if (m_lock.isRefused())
        ShowOwner();
}

void frmMain::ShowOwner() {
    for (QPushButton *button : {cmdExtract, cmdSaveChanges, cmdCancel, cmdEditFile, cmdOpenFolder})
        button->setEnabled(false);
    const QString holder = m_lock.holder();
    ShowNote(QStringLiteral("Another Orvel%1 works on this archive. When it has saved or cancelled "
                            "or shows another archive, select this one again.")
                 .arg(holder.isEmpty() ? holder : " (" + holder + ")"));
}

// The listing has the compressed size and the percentage saved, but not the size: it is estimated
// from these until the file is extracted.
QString frmMain::EntryTip(int entry) const {
    const QLocale locale;
    const qint64 compressedSize = static_cast<std::uint32_t>(m_cUnzip->FileSize(entry));
    const int saved = m_cUnzip->FileCompressionRatio(entry);
    const QFileInfo extracted(platform::nativePath(
        ExtractedPath(m_cUnzip->FileDirectory(entry), m_cUnzip->Filename(entry))));
    QString size = QStringLiteral("about ") +
                   locale.formattedDataSize(compressedSize * 100 / (100 - qBound(0, saved, 99)), 0);
    if (extracted.isFile() || saved == 0)
        size = QStringLiteral("%1 bytes")
                   .arg(locale.toString(extracted.isFile() ? extracted.size() : compressedSize));
    return QStringLiteral("Size: %1\nPacked: %2 bytes\nDate: %3")
        .arg(size, locale.toString(compressedSize),
             locale.toString(m_cUnzip->FileDate(entry), QLocale::ShortFormat));
}

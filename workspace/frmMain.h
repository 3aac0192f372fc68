#pragma once

#include "archive/cUnzip.h"
#include "archive/cZip.h"
#include "archive/workRecord.h"
#include "platform/workFolderCleaner.h"
#include "platform/workFolderLock.h"
#include "workspace/archiveTree.h"
#include "workspace/changedFiles.h"

#include <QHash>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class ArchiveDropDown;
class ArchiveLines;
class ArchiveTreeView;
class FileList;
class frmSettings;
class ImageList;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class StatusLabel;

// The main window, which works on one archive of the game from selection to saving. Each task has a
// source file: frmMainBrowse.cpp, frmMainExtract.cpp, frmMainSave.cpp ...
class frmMain : public QWidget {
  public:
    // Creates the controls. Load completes the window.
    frmMain();
    ~frmMain() override;

    // The load step, run once before the window is shown: caption, size, archive objects, game
    // folder, button states, drop-down. Raises 76 if the folder of the game or that of its archives
    // is missing or unreadable.
    void Load();

    // Selects the archive at a path in the system's form, as a selection in the drop-down does. One
    // that the game's folder does not hold becomes an entry of this window's drop-down, named with
    // its folder. Shows a message box if the file is no such archive or is never offered.
    void ChooseArchive(const QString &sFile);
    // Comes to the front and selects an archive, unless an operation is running or a dialog is
    // open. Returns whether it does.
    bool ShowArchive(const QString &sFile);

    // The path with each component as the file system stores it; "" if a component does not exist,
    // "\" for an empty path. Raises 6 for a path of more than 32767 characters.
    QString GetLongFileName(const QString &ShortFileName) const;
    // The Windows folder without a trailing separator, or "" if there is none.
    QString GetWinPath() const;
    // 1 if a file that is neither hidden nor a system file exists at the path, which may contain
    // wildcards, else 0. Raises no error.
    std::int16_t FileExists(const QString &strPath) const;
    // The program set for a file type, or "".
    QString GetProgram(const QString &FileType) const;

    // The text with the first letter of each word in upper case and the others in lower case.
    static QString ProperCase(const QString &text);

  protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    // Data of a drop-down entry: the archive's file name as stored, or its whole path if the game's
    // folder does not hold it, and the name of its work folder, which differs from the text if that
    // is not a valid folder name or already in use.
    static constexpr int kArchiveFileRole = Qt::UserRole;
    static constexpr int kWorkFolderRole = Qt::UserRole + 1;

    // frmMain.cpp: the window
    void PlaceControls();
    void ConnectHandlers();
    void FillArchiveList();
    // Adds an archive outside the game's folder to the drop-down and returns its entry.
    int AddArchive(const QString &path);

    // frmMainLocate.cpp: paths of the game and of the work folders
    void LocateGame();
    void SetDefaultWorkFolder();
    // The current value of the "tempdir" setting; "" if there is none.
    static QString WorkFolderSetting();
    // The parent folder of all work folders: the setting, or the default if it cannot be stored.
    static QString WorkFolders();
    // The path of the selected archive, with its file name as stored.
    QString ArchivePath() const;
    // The same for an entry of the drop-down.
    QString ArchivePath(int entry) const;
    // The work folder of the selected archive, without a trailing separator.
    QString WorkFolder() const;
    // Gives each archive of the drop-down its work folder's name: that of the folder whose record
    // names the archive, else the first free one for its text. Marks archives with work in
    // progress.
    void AssignWorkFolders() const;
    // Marks an entry of the drop-down by its font if its work folder exists and holds files; all
    // entries.
    void MarkWork(int entry, bool exists) const;
    void MarkAllWork() const;
    // Whether no other window works on the selected archive's work folder. If so, none can until
    // this one releases the lock.
    bool OwnsWorkFolder();
    // The same before an action: the "tempdir" setting may have changed to a folder in which
    // another program works. If so, shows it and returns false.
    bool KeepsWorkFolder();
    // True if a line of the entry list is a safe path below the work folder. Extraction applies the
    // same rule, so other lines have no extracted file.
    static bool StaysBelow(const QString &line);
    // The path of an extracted file, or of the folder if `name` is ""; "" if it is outside the work
    // folder, by its text or through a symbolic link.
    QString ExtractedPath(const QString &folder, const QString &name) const;
    // The file whose existence shows that the archive is extracted: the first one of the tree. ""
    // if its path is not in the work folder.
    QString ProbeFile() const;

    // frmMainBusy.cpp: long operations
    // Runs a handler. On an error, restores window and pointer and shows it in a message box.
    void Guarded(const std::function<void()> &handler);
    // Whether no handler, message or other window keeps this one from another archive. A handler
    // that repaints lets timers and requests of other processes run, too.
    bool IsFree() const;
    // Disable the window, and enable it again after discarding the input of that time.
    void DisableWindow();
    void EnableWindow();
    void ShowProgressBar(int maximum);
    // Begins an operation whose status text the bar covers: it is shown after half a second.
    void BeginProgress(int maximum);
    void SetProgress(int value);
    // One more entry or file is done.
    void StepProgress() { SetProgress(m_progress + 1); }
    void HideProgressBar();
    // Shows a text as a tool tip of the status line, in addition to the line's text.
    void ShowNote(const QString &text);

    // frmMainBrowse.cpp: selecting and listing an archive
    void drpVL2File_Change();
    void drpVL2File_Click();
    // Runs ChooseArchive from the event loop, when the window is free.
    void ChooseLater(const QString &sFile, std::chrono::milliseconds delay);
    void ArchiveChosen();
    void OpenSelectedArchive();
    void ListArchive(const QString &path);
    // The note about the listing, in addition to the status text; "" for none.
    QString ListingNote() const;
    // That about files in the work folder of an archive that is not extracted.
    QString UnsavedNote() const;
    // That about a work folder which seems to be this archive's, but whose record names another one
    // that the drop-down does not have.
    QString OtherWorkNote() const;
    void UpdateButtons();
    QString EntryTip(int entry) const;
    // Disables the action buttons and says which other window works on the archive.
    void ShowOwner();

    // frmMainChanges.cpp: what differs from the archive
    // Starts a look at the work folder if this window works on it.
    void LookForChanges();
    void ShowChanges(FolderChanges changes);
    // Ends the looks, as the work folder is about to change.
    void StopLooking();

    // frmMainExtract.cpp
    void cmdExtract_Click();
    // Extracts every entry into the work folder and returns a note about it, "" for none.
    QString ExtractAll();
    QString PrepareWorkFolder();
    // Only of files that may have any. Takes over the times that it changes.
    void ClearFileAttributes(RecordEntries &extracted);
    // The note about an extraction that reported a problem.
    QString ExtractionNote() const;
    // Removes the extracted files, except the paths in `before`, and returns a note of the reason.
    QString UndoExtraction(const QSet<QString> &before);

    // frmMainRecord.cpp: what the archive held when the work folder was extracted
    // The name of the selected archive's work folder in WorkFolders().
    QString WorkFolderName() const;
    // Writes the record before an extraction and returns it. `exists`: whether the work folder has
    // a file; empty if it has none. `written` receives the outcome of the writing.
    WorkRecord PrepareRecord(const WorkRecord::Archive &archive,
                             const std::function<bool(const QString &)> &exists,
                             platform::Status &written);
    // Writes the record after an extraction, from what PrepareRecord returned and the extraction
    // reported. A success replaces `written`.
    void WriteRecord(const WorkRecord &prepared, const RecordEntries &extracted,
                     platform::Status &written);
    // The record of the work folder; none if there is none or it is unreadable.
    std::optional<WorkRecord> ReadRecord() const;
    // What a save has to compare folder and archive with; none without a record, nothing with an
    // unreadable one.
    cZip::BaseSource SaveBase() const;
    // Whether the work folder has a file for each entry. If not, and without a record, its files
    // may be those that came back after a clean-up.
    bool HoldsAllFiles() const;
    // Notes in the record, if there is one, what the last save has packed, and where. Fails if it
    // cannot be written.
    platform::Status UpdateRecord();

    // frmMainConflicts.cpp: files that were changed in the folder and in the archive
    // Remembers the conflicts of the last save whose versions in the archive are kept beside the
    // work folder, and returns the text about all.
    QString ConflictText();
    // The folder for these versions.
    QString TheirsFolder() const;
    // Copies the whole archive there, for versions that cannot be extracted. Returns those that the
    // copy holds, and in `copy` its path.
    std::vector<EntryVersion> CopyTheirs(const std::vector<EntryVersion> &conflicts,
                                         QString &copy) const;
    // Extracts the versions there, as NAME.theirs, or NAME.theirs~2 ... beside files that differ.
    // Returns those that are there then, in `reason` why others are not, and in `numbered` the
    // names of the latter kind.
    std::vector<EntryVersion> ExtractTheirs(const std::vector<EntryVersion> &conflicts,
                                            QString &reason, QStringList &numbered) const;

    // frmMainSave.cpp
    void cmdSaveChanges_Click();
    void cmdCancel_Click();
    // Packs the work folder. Returns "" if every file is in the archive, else an error text.
    QString PackWorkFolder();
    // Empties and removes the work folder, and its record once it holds no file. Keep: deletes only
    // the files in `known`. Trash: moves the others to the desktop's trash. Returns a note about
    // these, "" if there are none.
    enum class Others { Keep, Trash };
    QString CleanUpWorkFolder(const platform::PackedFiles *known, Others others);
    // The files of the work folder in the versions that the archive held, or holds by a listing.
    platform::PackedFiles KnownFiles(const ChangedFiles::Listing &listing) const;
    // The entries of the archive as it is now; null if it cannot be read.
    ChangedFiles::Listing ListedNow() const;
    // The listed entries, by their content alone.
    platform::PackedFiles ListedFiles() const;
    // Deletes the files of entries that the archive has lost since the extraction, and the folders
    // that it has lost with them.
    void DeleteLostFiles(platform::WorkFolderCleaner &cleaner) const;
    // What the last save did.
    QString SaveNote() const;

    // frmMainEdit.cpp
    void cmdEditFile_Click();
    void treArchive_DblClick();
    void EditSelectedFile();
    void EditNode(int node, const QString &textEditor);
    void cmdSettings_Click();
    void ShowSettings();
    void cmdOpenFolder_Click();
    void OpenWorkFolder();

    // The selected node of the tree, 0 if none is selected.
    int SelectedNode() const;

    QString m_strGamePath; // the game's folder and "\"
    QString m_strBasePath; // the folder of its archives and "\"
    std::unique_ptr<cUnzip> m_cUnzip;
    std::unique_ptr<cZip> m_cZ;
    platform::WorkFolderLock m_lock; // of the extracted archive that is shown

    ImageList *imgIcons16;
    QLabel *Label1;
    ArchiveDropDown *drpVL2File;
    QPushButton *cmdExtract;
    QPushButton *cmdSaveChanges;
    QPushButton *cmdCancel;
    QLabel *Label2;
    ArchiveTreeView *treArchive;
    QPushButton *cmdEditFile;
    QPushButton *cmdOpenFolder;
    QPushButton *cmdSettings;
    StatusLabel *lblStatus;
    QProgressBar *ProgressBar;
    QListView *lstArchive;
    FileList *filVL2;

    ArchiveTree *m_tree;          // the model of treArchive
    ArchiveLines *m_lines;        // the model of lstArchive
    mutable QString m_assignedIn; // the parent of the work folders at AssignWorkFolders
    // The archives of the recorded work folders there that no entry of the drop-down has, by name;
    // without a path if the record is unreadable.
    mutable QHash<QString, WorkRecord::Archive> m_ownerless;
    QSet<QString> m_emptied; // work folders whose record a clean-up has deleted
    ChangedFiles *m_changes;
    ChangedFiles::Listing m_listing; // of the archive listed last
    platform::FileInfo m_listed;     // that archive, before it was read
    // The archive's versions that the user was told about: the next save replaces them.
    std::vector<EntryVersion> m_conflicts;
    QString m_conflictArchive;
    QTimer m_barDelay;  // until the progress bar is shown
    int m_progress = 0; // its value
    QPointer<QWidget> m_focus;
    bool m_changeHandled = false;
    int m_handlers = 0; // that run
};

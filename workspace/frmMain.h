#pragma once

#include "archive/cUnzip.h"
#include "archive/cZip.h"
#include "workspace/archiveTree.h"

#include <QPointer>
#include <QSet>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

class ArchiveLines;
class ArchiveTreeView;
class FileList;
class frmSettings;
class ImageList;
class QComboBox;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class StatusLabel;

// The main window: one archive of the game from choice to saving. Each verb of the user lives in a
// source file of its own, frmMainBrowse, frmMainExtract, frmMainSave, ...
class frmMain : public QWidget {
  public:
    // Makes the controls. Load does the rest.
    frmMain();
    ~frmMain() override;

    // The load step, run once before the window is shown: caption, size, archive objects, game
    // folder, button states, drop-down. Raises an error where the game's folder is gone.
    void Load();

    // Picks the archive at a path of the system's form, as a person does in the drop-down; says so
    // in a box where it is none of those.
    void ChooseArchive(const QString &sFile);

    // The path with each component as the file system stores it; "" where a component does not
    // exist, "\" for an empty path. Raises 6 for a path of more than 32767 characters.
    QString GetLongFileName(const QString &ShortFileName) const;
    // The Windows folder without a trailing separator, or "" where there is none.
    QString GetWinPath() const;
    // 1 where a file that is neither hidden nor a system file exists at the path (wildcards may
    // match any), else 0. Raises nothing.
    std::int16_t FileExists(const QString &strPath) const;
    // The program that is set for a file type, or "".
    QString GetProgram(const QString &FileType) const;

    // The words of the archive's file name as the drop-down shows them.
    static QString ProperCase(const QString &text);

  protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

  private:
    // What an entry of the drop-down knows beside its text: the archive's file name as stored, and
    // the name of its work folder, which is the text unless that could be no folder or another's.
    static constexpr int kArchiveFileRole = Qt::UserRole;
    static constexpr int kWorkFolderRole = Qt::UserRole + 1;

    // frmMain.cpp: the window
    void PlaceControls();
    void ConnectHandlers();
    void FillArchiveList();
    void AddArchive(const QString &file);

    // frmMainLocate.cpp: where the game and the work folders are
    void LocateGame();
    void SetDefaultWorkFolder();
    // The "tempdir" setting, read afresh; "" where there is none.
    static QString WorkFolderSetting();
    // The folder above every work folder: the setting, or its default where the store took none.
    static QString WorkFolders();
    // The chosen archive's path, by the name under which the file system stores it.
    QString ArchivePath() const;
    // The folder above, "\" and the chosen archive's name, without a trailing separator.
    QString WorkFolder() const;
    // Whether a line of the list can be a file below the work folder. Extraction keeps to the same
    // rule, so that any other line is no file of this program's.
    static bool StaysBelow(const QString &line);
    // An extracted file, or the folder itself where there is no name; "" where that would lead out
    // of the work folder, by its text or through a link to a folder.
    QString ExtractedPath(const QString &folder, const QString &name) const;
    // The file whose existence says that the archive is extracted: the tree's first. "" where it
    // cannot be in the work folder.
    QString ProbeFile() const;

    // frmMainBusy.cpp: long operations
    // Runs a handler; an error that leaves it gives window and pointer back and is shown in a box.
    void Guarded(const std::function<void()> &handler);
    // Takes the window away from the user, and gives it back without what was typed meanwhile.
    void DisableWindow();
    void EnableWindow();
    void ShowProgressBar(int maximum);
    void SetProgress(int value);
    // Tells what the status line has no words for: its tool tip, popped up.
    void ShowNote(const QString &text);

    // frmMainBrowse.cpp: choosing and listing an archive
    void drpVL2File_Change();
    void drpVL2File_Click();
    void ArchiveChosen();
    void OpenSelectedArchive();
    void ListArchive(const QString &path);
    // What is to be known of the archive's list beside the status line's text; "" for nothing.
    QString ListingNote() const;
    void UpdateButtons();
    QString EntryTip(int entry) const;

    // frmMainExtract.cpp
    void cmdExtract_Click();
    QString PrepareWorkFolder();
    void ClearFileAttributes();
    // What is to be known of an extraction that did not go well.
    QString ExtractionNote() const;
    // Removes what was extracted just now, but for what is in `before`, and says why.
    QString UndoExtraction(const QSet<QString> &before);

    // frmMainSave.cpp
    void cmdSaveChanges_Click();
    void cmdCancel_Click();
    // Packs the work folder. "" where every file is in the archive, else what went wrong.
    QString PackWorkFolder();
    // Empties the work folder and removes it; after a save only of what was `packed`.
    void CleanUpWorkFolder(const platform::PackedFiles *packed);

    // frmMainEdit.cpp
    void cmdEditFile_Click();
    void treArchive_DblClick();
    void EditSelectedFile();
    void EditNode(int node, const QString &textEditor);
    void cmdSettings_Click();
    void ShowSettings();

    // frmMainFolder.cpp
    void cmdOpenFolder_Click();
    void OpenWorkFolder();

    // The tree's selected node, 1 for the first one added; 0 where none is selected.
    int SelectedNode() const;

    QString m_strGamePath; // the game's folder and "\"
    QString m_strBasePath; // the folder of its archives and "\"
    std::unique_ptr<cUnzip> m_cUnzip;
    std::unique_ptr<cZip> m_cZ;

    ImageList *imgIcons16;
    QLabel *Label1;
    QComboBox *drpVL2File;
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

    ArchiveTree *m_tree;   // what treArchive shows
    ArchiveLines *m_lines; // what lstArchive holds
    QPointer<QWidget> m_focus;
    bool m_changeHandled = false;
};

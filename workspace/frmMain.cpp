#include "workspace/frmMain.h"

#include "archive/libraryEvents.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/forms.h"
#include "platform/version.h"
#include "storage/largeMemory.h"
#include "storage/safePath.h"
#include "workspace/archiveTreeView.h"
#include "workspace/controls.h"
#include "workspace/fileTypes.h"

#include <QAbstractItemView>
#include <QCloseEvent>
#include <QDir>
#include <QKeyEvent>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>

#include <array>
#include <chrono>
#include <utility>

namespace {

// Twips. The outer size is 4095 x 7500 with a frame of 4 pixels at the sides and the bottom and 23
// at the top, so that the controls have a margin of 180 twips.
constexpr int kClientWidth = 3975;
constexpr int kClientHeight = 7095;

constexpr std::chrono::milliseconds kBarDelay(500);

struct Layout {
    QWidget *control;
    const char *name;
    const char *caption;          // "&" precedes the accelerator key
    int left, top, width, height; // twips
};

} // namespace

frmMain::frmMain()
    : QWidget(nullptr, Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint),
      imgIcons16(new ImageList(this, kImages)), Label1(new QLabel(this)),
      drpVL2File(new ArchiveDropDown(this)), cmdExtract(new QPushButton(this)),
      cmdSaveChanges(new QPushButton(this)), cmdCancel(new QPushButton(this)),
      Label2(new QLabel(this)), treArchive(new ArchiveTreeView(this)),
      cmdEditFile(new QPushButton(this)), cmdOpenFolder(new QPushButton(this)),
      cmdSettings(new QPushButton(this)), lblStatus(new StatusLabel(this)),
      ProgressBar(new QProgressBar(this)), lstArchive(new QListView(this)),
      filVL2(new FileList(this)), m_tree(new ArchiveTree(
                                      this, [this](int image) { return imgIcons16->Image(image); },
                                      [this](int entry) { return EntryTip(entry); })),
      m_lines(new ArchiveLines(this)),
      m_changes(new ChangedFiles(
          this, [this](FolderChanges changes) { ShowChanges(std::move(changes)); })) {
    setObjectName("frmMain");
    setWindowTitle("Orvel");
    platform::setLayoutFont(this);
    imgIcons16->setObjectName("imgIcons16");
    treArchive->ShowTree(m_tree);
    lstArchive->setModel(m_lines);
    PlaceControls();
    ConnectHandlers();
}

frmMain::~frmMain() = default;

void frmMain::PlaceControls() {
    const std::array layouts{
        Layout{Label1, "Label1", "Select a category", 180, 180, 3615, 255},
        Layout{drpVL2File, "drpVL2File", "", 180, 420, 3615, 315},
        Layout{cmdExtract, "cmdExtract", "&Extract", 180, 840, 1215, 375},
        Layout{cmdSaveChanges, "cmdSaveChanges", "&Save Changes", 1380, 840, 1215, 375},
        Layout{cmdCancel, "cmdCancel", "&Cancel", 2580, 840, 1215, 375},
        Layout{Label2, "Label2", "Select a file to edit", 180, 1320, 3615, 255},
        Layout{treArchive, "treArchive", "", 180, 1560, 3615, 4515},
        Layout{cmdEditFile, "cmdEditFile", "&Edit File", 180, 6180, 1215, 375},
        Layout{cmdOpenFolder, "cmdOpenFolder", "&Open Folder", 1380, 6180, 1215, 375},
        Layout{cmdSettings, "cmdSettings", "&Settings...", 2580, 6180, 1215, 375},
        Layout{lblStatus, "lblStatus", "", 180, 6660, 3615, 255},
        Layout{ProgressBar, "ProgressBar", "", 180, 6600, 3615, 315},
        Layout{lstArchive, "lstArchive", "", 4080, 720, 1695, 2985},
        Layout{filVL2, "filVL2", "", 4080, 180, 1695, 480},
    };
    QWidget *before = nullptr;
    for (const Layout &row : layouts) {
        row.control->setObjectName(row.name);
        row.control->setGeometry(platform::rectFromTwips(row.left, row.top, row.width, row.height));
        if (*row.caption != '\0')
            row.control->setProperty("text", row.caption);
        row.control->setAccessibleName(QString(row.caption).remove('&'));
        if (before != nullptr)
            setTabOrder(before, row.control);
        before = row.control;
    }
    Label1->setBuddy(drpVL2File);
    drpVL2File->setAccessibleName(Label1->text());
    drpVL2File->view()->setAccessibleName(Label1->text());
    Label2->setBuddy(treArchive);
    treArchive->setAccessibleName(Label2->text());
    ProgressBar->setAccessibleName("Progress");
    ProgressBar->setTextVisible(false);
    ProgressBar->hide();
    lstArchive->setAccessibleName("Entries");
    filVL2->setAccessibleName("Archives");
    lstArchive->hide();
    filVL2->hide();
    platform::fitCaptions(this);
}

void frmMain::ConnectHandlers() {
    const auto onClick = [this](QPushButton *button, void (frmMain::*handler)()) {
        connect(button, &QPushButton::clicked, this,
                [this, handler] { Guarded([this, handler] { (this->*handler)(); }); });
    };
    onClick(cmdExtract, &frmMain::cmdExtract_Click);
    onClick(cmdSaveChanges, &frmMain::cmdSaveChanges_Click);
    onClick(cmdCancel, &frmMain::cmdCancel_Click);
    onClick(cmdEditFile, &frmMain::cmdEditFile_Click);
    onClick(cmdOpenFolder, &frmMain::cmdOpenFolder_Click);
    onClick(cmdSettings, &frmMain::cmdSettings_Click);
    connect(drpVL2File, &QComboBox::currentIndexChanged, this, &frmMain::drpVL2File_Change);
    connect(drpVL2File, &QComboBox::activated, this, &frmMain::drpVL2File_Click);
    m_barDelay.setSingleShot(true);
    m_barDelay.setInterval(kBarDelay);
    connect(&m_barDelay, &QTimer::timeout, ProgressBar, &QWidget::show);
    connect(treArchive, &QTreeView::doubleClicked, this,
            [this] { Guarded([this] { treArchive_DblClick(); }); });
}

void frmMain::Load() {
    platform::surviveLargeWrites();
    platform::returnFreedMemory();
    setWindowTitle(QStringLiteral("%1 v%2").arg(windowTitle(), kVersion));
    platform::fixWindow(this, {platform::pixels(kClientWidth), platform::pixels(kClientHeight)});
    platform::centreOnScreen(this);
    m_cUnzip = std::make_unique<cUnzip>();
    m_cZ = std::make_unique<cZip>();
    m_cUnzip->Cancel = m_cZ->Cancel = [this](const QString &, bool &) { StepProgress(); };
    // Not reset when this window is destroyed: it repaints every window of the program.
    setIdleHandler(platform::repaintPending);
    LocateGame();
    UpdateButtons();
    FillArchiveList();
}

void frmMain::FillArchiveList() {
    const QSignalBlocker quiet(drpVL2File);
    try {
        filVL2->SetPath(m_strBasePath, "*.vl2");
    } catch (const platform::RuntimeError &error) {
        const QString base = platform::nativePath(m_strBasePath.chopped(1));
        throw platform::RuntimeError(error.number(),
                                     "Orvel could not read the folder of the game's archives:\n" +
                                         QDir::toNativeSeparators(base),
                                     "Orvel");
    }
    const QStringList files = filVL2->Files();
    for (const QString &file : files) {
        const QString name = ProperCase(file.chopped(4));
        if (name != QLatin1String("Interiors"))
            drpVL2File->addItem(name, file);
    }
    AssignWorkFolders();
    drpVL2File->setCurrentIndex(-1);
}

// Other programs edit the files while they have the focus.
void frmMain::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || !isActiveWindow() || !isEnabled())
        return;
    // No other archive is chosen in a repaint of these.
    Guarded([this] {
        MarkAllWork();
        LookForChanges();
    });
}

// The window cannot be closed during a long operation.
void frmMain::closeEvent(QCloseEvent *event) {
    event->setAccepted(isEnabled());
}

// Enter on a button presses it, as Space does.
void frmMain::keyPressEvent(QKeyEvent *event) {
    auto *button = qobject_cast<QPushButton *>(focusWidget());
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && button != nullptr)
        button->click();
    else
        QWidget::keyPressEvent(event);
}

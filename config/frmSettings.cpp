#include "config/frmSettings.h"

#include "config/modRegistry.h"
#include "config/pngPlugin.h"
#include "platform/version.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <exception>

namespace {

enum class Group { Images, OtherFiles };

// One row of the window. Rows are in tab order and in the order of writing. The controls are named
// txt..., cmd...browse, and the dialog is titled "... Editor...", with `name` in place of the dots.
struct Row {
    Group group;
    int top; // twips, within the group
    const char *label;
    const char *caption;
    const char *name;
    const char *value;
    const char *secondValue = nullptr; // written with the text of `value`
};

constexpr std::array<Row, frmSettings::kRowCount> kRows{
    Row{Group::Images, 420, "Label5", "&PNG Image Editor", "PNG", "PNG"},
    Row{Group::Images, 1500, "Label3", "&JPEG Image Editor", "JPG", "JPG"},
    Row{Group::Images, 2580, "Label2", "&GIF Image Editor", "GIF", "GIF"},
    Row{Group::Images, 3660, "Label4", "&BMP Image Editor", "BMP", "BMP"},
    Row{Group::OtherFiles, 420, "Label8", "&Text Editor", "Text", "Text"},
    Row{Group::OtherFiles, 1500, "Label10", "&Sound Editor", "Sound", "WAV", "MP3"},
    Row{Group::OtherFiles, 2580, "Label11", "&Video Editor", "Video", "AVI", "MPG"},
};

constexpr int kPngRow = 0;
constexpr char kFilter[] = "Programs (*.exe) | *.EXE";

QString programsKey() {
    return QString::fromUtf16(kProgramsKey);
}

QString withoutMnemonic(const QString &caption) {
    return QString(caption).remove(u'&');
}

// Sets a control's object name, its position and its name for screen readers.
template<typename Control>
Control *setUp(Control *control, const QString &name, QRect geometry,
               const QString &accessibleName) {
    control->setObjectName(name);
    control->setGeometry(geometry);
    control->setAccessibleName(accessibleName);
    return control;
}

} // namespace

frmSettings::frmSettings(QWidget *main) : QDialog(main), m_main(main) {
    setObjectName(QStringLiteral("frmSettings"));
    setWindowTitle(QStringLiteral("Orvel Settings"));
    platform::setLayoutFont(this);
    platform::fixWindow(this, platform::rectFromTwips(0, 0, 9840, 5085).size());

    auto *images = setUp(new QGroupBox("Images", this), "fraImages",
                         platform::rectFromTwips(120, 120, 4695, 4815), "Images");
    auto *otherFiles = setUp(new QGroupBox("Other Files", this), "fraOtherFiles",
                             platform::rectFromTwips(4980, 120, 4695, 3735), "Other Files");
    createRows(images, otherFiles);
    createButtons();
    setTabOrders();
    platform::fitCaptions(this);
    Form_Load();
    platform::centreOnScreen(this);
}

void frmSettings::createRows(QWidget *images, QWidget *otherFiles) {
    for (std::size_t i = 0; i < kRowCount; ++i) {
        const Row &row = kRows.at(i);
        QWidget *frame = row.group == Group::Images ? images : otherFiles;
        const QString caption = withoutMnemonic(row.caption);
        const QString name = row.name;

        auto *label = setUp(new QLabel(row.caption, frame), row.label,
                            platform::rectFromTwips(120, row.top, 4395, 255), caption);
        auto *box = setUp(new QLineEdit(frame), "txt" + name,
                          platform::rectFromTwips(120, row.top + 240, 4395, 315), caption);
        label->setBuddy(box);
        // If unset, screen readers read the markup of the tool tip.
        box->setAccessibleDescription("Path of a program");
        // Most paths are wider than their box.
        connect(box, &QLineEdit::textChanged, box,
                [box](const QString &path) { box->setToolTip(platform::plainTip(path)); });
        auto *browse = setUp(new QPushButton("Browse...", frame), "cmd" + name + "browse",
                             platform::rectFromTwips(3300, row.top + 600, 1215, 375), "Browse...");
        // Distinguishes the seven buttons of the same name.
        browse->setAccessibleDescription(caption);
        connect(browse, &QPushButton::clicked, this, [this, i] { Browse(i); });
        m_rows.at(i) = {box, browse};
    }
}

void frmSettings::createButtons() {
    const auto button = [this](const char *name, const char *caption, int left,
                               void (frmSettings::*handler)()) {
        auto *control =
            setUp(new QPushButton(caption, this), name,
                  platform::rectFromTwips(left, 4080, 1215, 375), withoutMnemonic(caption));
        connect(control, &QPushButton::clicked, this, handler);
        return control;
    };
    m_cmdSaveSettings = button("cmdSaveSettings", "&OK", 5700, &frmSettings::cmdSaveSettings_Click);
    m_cmdCancelSettings =
        button("cmdCancelSettings", "&Cancel", 7080, &frmSettings::cmdCancelSettings_Click);
    m_cmdApplySettings =
        button("cmdApplySettings", "&Apply", 8460, &frmSettings::cmdApplySettings_Click);
    m_cmdSaveSettings->setDefault(true);
    m_cmdApplySettings->setEnabled(false);

    const QString credits = QString("Orvel %1 - free software, MIT License").arg(kVersion);
    setUp(new QLabel(credits, this), "lblInfo", platform::rectFromTwips(4980, 4680, 4695, 255),
          credits);
}

void frmSettings::setTabOrders() {
    QWidget *last = m_rows.front().box;
    const auto next = [&last](QWidget *widget) {
        setTabOrder(last, widget);
        last = widget;
    };
    for (const RowControls &row : m_rows) {
        if (row.box != last)
            next(row.box);
        next(row.browse);
    }
    next(m_cmdSaveSettings);
    next(m_cmdCancelSettings);
    next(m_cmdApplySettings);
    m_rows.front().box->setFocus();
}

void frmSettings::Form_Load() {
    platform::trimSystemMenu(this);
    for (std::size_t i = 0; i < kRowCount; ++i) {
        try {
            m_rows.at(i).box->setText(
                RegGetString(kHkeyLocalMachine, programsKey(), kRows.at(i).value));
        } catch (const std::exception &) {
            // An unreadable value leaves its box empty; the other boxes are still filled.
        }
    }
}

void frmSettings::Browse(std::size_t row) {
    std::optional<platform::ChosenFile> chosen;
    try {
        chosen = DlgBrowse.show(this, kRows.at(row).name + QString(" Editor..."), kFilter);
    } catch (const std::exception &) {
        return;
    }
    if (!chosen)
        return;
    m_rows.at(row).box->setText(chosen->path);
    m_cmdApplySettings->setEnabled(true);
    if (row == kPngRow && chosen->name.toUpper() == "PHOTOSHP.EXE")
        InstallPngPlugin();
}

void frmSettings::SaveSettings() {
    for (std::size_t i = 0; i < kRowCount; ++i)
        for (const char *value : {kRows.at(i).value, kRows.at(i).secondValue})
            if (value != nullptr)
                RegSetString(kHkeyLocalMachine, programsKey(), value, m_rows.at(i).box->text());
}

void frmSettings::CloseSettings() {
    hide();
    deleteLater();
    if (!m_main)
        return;
    m_main->setEnabled(true);
    m_main->show();
    m_main->raise();
    m_main->activateWindow();
}

void frmSettings::cmdSaveSettings_Click() {
    SaveSettings();
    CloseSettings();
}

void frmSettings::cmdCancelSettings_Click() {
    CloseSettings();
}

void frmSettings::cmdApplySettings_Click() {
    SaveSettings();
    m_cmdApplySettings->setEnabled(false);
}

void frmSettings::reject() {
    m_cmdCancelSettings->click();
}

// Ignores the title bar, the system menu and Alt+F4: only the buttons close the window.
void frmSettings::closeEvent(QCloseEvent *event) {
    event->ignore();
}

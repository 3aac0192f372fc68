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
#include <vector>

namespace {

enum class Group { Images, OtherFiles };

// One row of the window. Within a group the rows stand in this order, which is also the tab order
// and the order of writing.
struct Row {
    Group group;
    const char *label;
    const char *caption;
    int top; // twips, within the group
    const char *box;
    const char *button;
    const char *dialogTitle;
    const char *shownValue;
    std::vector<const char *> writtenValues;
};

const std::array<Row, frmSettings::kRowCount> &rows() {
    static const std::array<Row, frmSettings::kRowCount> table{{
        {Group::Images,
         "Label5",
         "&PNG Image Editor",
         420,
         "txtPNG",
         "cmdPNGbrowse",
         "PNG Editor...",
         "PNG",
         {"PNG"}},
        {Group::Images,
         "Label3",
         "&JPEG Image Editor",
         1500,
         "txtJPG",
         "cmdJPGbrowse",
         "JPG Editor...",
         "JPG",
         {"JPG"}},
        {Group::Images,
         "Label2",
         "&GIF Image Editor",
         2580,
         "txtGIF",
         "cmdGIFbrowse",
         "GIF Editor...",
         "GIF",
         {"GIF"}},
        {Group::Images,
         "Label4",
         "&BMP Image Editor",
         3660,
         "txtBMP",
         "cmdBMPbrowse",
         "BMP Editor...",
         "BMP",
         {"BMP"}},
        {Group::OtherFiles,
         "Label8",
         "&Text Editor",
         420,
         "txtText",
         "cmdTextbrowse",
         "Text Editor...",
         "Text",
         {"Text"}},
        {Group::OtherFiles,
         "Label10",
         "&Sound Editor",
         1500,
         "txtSound",
         "cmdSoundbrowse",
         "Sound Editor...",
         "WAV",
         {"WAV", "MP3"}},
        {Group::OtherFiles,
         "Label11",
         "&Video Editor",
         2580,
         "txtVideo",
         "cmdVideobrowse",
         "Video Editor...",
         "AVI",
         {"AVI", "MPG"}},
    }};
    return table;
}

constexpr int kPngRow = 0;
constexpr char16_t kFilter[] = u"Programs (*.exe) | *.EXE";
constexpr char16_t kPhotoshop[] = u"Photoshp.exe";

QString text(const char *literal) {
    return QString::fromLatin1(literal);
}

QString programsKey() {
    return QString::fromUtf16(kProgramsKey);
}

QString withoutMnemonic(const QString &caption) {
    return QString(caption).remove(u'&');
}

// A tool tip that shows a text as it is, whatever it looks like.
QString plainTip(const QString &shown) {
    return shown.isEmpty() ? QString() : QStringLiteral("<qt>%1</qt>").arg(shown.toHtmlEscaped());
}

// Names a control for the program, for tests and for a screen reader, and puts it in its place.
template<typename Control>
Control *place(Control *control, const char *name, QRect where, const QString &accessibleName) {
    control->setObjectName(text(name));
    control->setGeometry(where);
    control->setAccessibleName(accessibleName);
    return control;
}

QGroupBox *createFrame(QWidget *window, const char *name, const char *caption, QRect where) {
    return place(new QGroupBox(text(caption), window), name, where, text(caption));
}

} // namespace

frmSettings::frmSettings(QWidget *main) : QDialog(main), m_main(main) {
    setObjectName(QStringLiteral("frmSettings"));
    setWindowTitle(QStringLiteral("Orvel Settings"));
    platform::setLayoutFont(this);
    setFixedSize(platform::rectFromTwips(0, 0, 9840, 5085).size());

    auto *images =
        createFrame(this, "fraImages", "Images", platform::rectFromTwips(120, 120, 4695, 4815));
    auto *otherFiles = createFrame(this, "fraOtherFiles", "Other Files",
                                   platform::rectFromTwips(4980, 120, 4695, 3735));
    createRows(images, otherFiles);
    createButtons();
    setTabOrders();
    platform::fitCaptions(this);
    Form_Load();
    platform::centreOnScreen(this);
}

void frmSettings::createRows(QWidget *images, QWidget *otherFiles) {
    for (std::size_t i = 0; i < kRowCount; ++i) {
        const Row &row = rows().at(i);
        QWidget *frame = row.group == Group::Images ? images : otherFiles;
        const QString name = withoutMnemonic(text(row.caption));

        auto *label = place(new QLabel(text(row.caption), frame), row.label,
                            platform::rectFromTwips(120, row.top, 4395, 255), name);
        auto *box = place(new QLineEdit(frame), row.box,
                          platform::rectFromTwips(120, row.top + 240, 4395, 315), name);
        label->setBuddy(box);
        box->setAccessibleDescription("Path of a program"); // else its tool tip, with the markup
        // Most paths are wider than their box.
        connect(box, &QLineEdit::textChanged, box,
                [box](const QString &path) { box->setToolTip(plainTip(path)); });
        auto *browse = place(new QPushButton(QStringLiteral("Browse..."), frame), row.button,
                             platform::rectFromTwips(3300, row.top + 600, 1215, 375),
                             QStringLiteral("Browse..."));
        // Seven buttons read alike: this tells them apart.
        browse->setAccessibleDescription(name);
        connect(browse, &QPushButton::clicked, this, [this, i] { Browse(i); });
        m_rows.at(i) = {box, browse};
    }
}

void frmSettings::createButtons() {
    const auto button = [this](const char *name, const char *caption, int left,
                               void (frmSettings::*handler)()) {
        auto *made =
            place(new QPushButton(text(caption), this), name,
                  platform::rectFromTwips(left, 4080, 1215, 375), withoutMnemonic(text(caption)));
        connect(made, &QPushButton::clicked, this, handler);
        return made;
    };
    m_cmdSaveSettings = button("cmdSaveSettings", "&OK", 5700, &frmSettings::cmdSaveSettings_Click);
    m_cmdCancelSettings =
        button("cmdCancelSettings", "&Cancel", 7080, &frmSettings::cmdCancelSettings_Click);
    m_cmdApplySettings =
        button("cmdApplySettings", "&Apply", 8460, &frmSettings::cmdApplySettings_Click);
    m_cmdSaveSettings->setDefault(true);
    m_cmdApplySettings->setEnabled(false);

    const QString credits = QStringLiteral("Orvel %1.%2.%3 - free software, MIT License")
                                .arg(kVersionMajor)
                                .arg(kVersionMinor)
                                .arg(kVersionRevision);
    place(new QLabel(credits, this), "lblInfo", platform::rectFromTwips(4980, 4680, 4695, 255),
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
                RegGetString(kHkeyLocalMachine, programsKey(), text(rows().at(i).shownValue)));
        } catch (const std::exception &) {
            // A value that cannot be read leaves its box empty and costs the others nothing.
        }
    }
}

void frmSettings::Browse(std::size_t row) {
    std::optional<platform::ChosenFile> chosen;
    try {
        chosen =
            DlgBrowse.show(this, text(rows().at(row).dialogTitle), QString::fromUtf16(kFilter));
    } catch (const std::exception &) {
        return;
    }
    if (!chosen)
        return;
    m_rows.at(row).box->setText(chosen->path);
    m_cmdApplySettings->setEnabled(true);
    if (row == kPngRow && chosen->name.toUpper() == QString::fromUtf16(kPhotoshop).toUpper())
        InstallPngPlugin();
}

void frmSettings::SaveSettings() {
    for (std::size_t i = 0; i < kRowCount; ++i)
        for (const char *value : rows().at(i).writtenValues)
            RegSetString(kHkeyLocalMachine, programsKey(), text(value), m_rows.at(i).box->text());
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

// The title bar, the system menu and Alt+F4 ask for this; the window closes by its buttons alone.
void frmSettings::closeEvent(QCloseEvent *event) {
    event->ignore();
}

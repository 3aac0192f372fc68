#include "workspace/controls.h"

#include "platform/files.h"
#include "platform/forms.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QWheelEvent>

#include <utility>

namespace {

// Some styles show a drop-down list as a menu, which is as high as the screen and has no scroll
// bar.
class ListStyle : public QProxyStyle {
  public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override {
        return hint == SH_ComboBox_Popup ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

} // namespace

ImageList::ImageList(QObject *parent, int count) : QObject(parent) {
    for (int number = 1; number <= count; ++number) {
        const QString file = QStringLiteral(":/assets/icons/%1.png").arg(number);
        QIcon image(file);
        image.addFile(file, {}, QIcon::Selected); // prevents tinting of the selected node
        m_images.push_back(image);
    }
}

QIcon ImageList::Image(int number) const {
    return m_images.at(static_cast<std::size_t>(number) - 1);
}

FileList::FileList(QWidget *parent) : QListWidget(parent) {}

void FileList::SetPath(const QString &folder, const QString &pattern) {
    clear();
    addItems(platform::listFiles(folder, pattern));
}

QStringList FileList::Files() const {
    QStringList files;
    for (int row = 0; row < count(); ++row)
        files.append(item(row)->text());
    return files;
}

ArchiveDropDown::ArchiveDropDown(QWidget *parent) : QComboBox(parent) {
    auto *style = new ListStyle; // NOLINT(cppcoreguidelines-owning-memory): Qt's
    style->setParent(this);
    setStyle(style);
}

void ArchiveDropDown::keyPressEvent(QKeyEvent *event) {
    const bool types = !event->text().isEmpty() && event->text().front().isPrint() &&
                       event->key() != Qt::Key_Space &&
                       (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) == 0;
    if (!types) {
        QComboBox::keyPressEvent(event);
        return;
    }
    showPopup();
    view()->keyboardSearch(event->text());
}

void ArchiveDropDown::wheelEvent(QWheelEvent *event) {
    event->ignore();
}

ArchiveLines::ArchiveLines(QObject *parent) : QAbstractListModel(parent) {}

void ArchiveLines::SetEntries(std::shared_ptr<const EntryList> entries) {
    beginResetModel();
    m_entries = std::move(entries);
    endResetModel();
}

QString ArchiveLines::Text(int line) const {
    return m_entries->folder(line) + QLatin1Char('\\') + m_entries->name(line);
}

int ArchiveLines::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : Count();
}

QVariant ArchiveLines::data(const QModelIndex &index, int role) const {
    return index.isValid() && role == Qt::DisplayRole ? QVariant(Text(index.row())) : QVariant();
}

StatusLabel::StatusLabel(QWidget *parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
}

void StatusLabel::SetText(const QString &text) {
    setText(text);
    setAccessibleName(text);
    const bool fits = fontMetrics().horizontalAdvance(text) <= width();
    m_note = fits ? QString() : text;
    Describe();
}

void StatusLabel::SetNote(const QString &note) {
    m_note = note;
    Describe();
}

void StatusLabel::SetState(const QString &state) {
    m_state = state;
    Describe();
}

void StatusLabel::Describe() {
    const QString text =
        m_note.isEmpty() || m_state.isEmpty() ? m_note + m_state : m_note + '\n' + m_state;
    setToolTip(platform::plainTip(text));
    // If unset, screen readers read the markup of the tool tip.
    setAccessibleDescription(text);
}

void StatusLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRect area = contentsRect();
    style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width()),
                          foregroundRole());
}

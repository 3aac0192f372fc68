#include "tests/workspace/window.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QTimer>
#include <QWindow>

MainWindow::MainWindow() {
    m_form.Load();
    m_form.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_form));
}

QString MainWindow::status() const {
    return control<QLabel>("lblStatus")->text();
}

QString MainWindow::note() const {
    return control<QLabel>("lblStatus")->accessibleDescription();
}

bool MainWindow::isReady() const {
    return m_form.isEnabled() && QGuiApplication::overrideCursor() == nullptr &&
           !control<QProgressBar>("ProgressBar")->isVisible();
}

QStringList MainWindow::texts(const QAbstractItemModel &model) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts.append(model.index(row, 0).data().toString());
    return texts;
}

QStringList shownTree(const ArchiveTree &tree) {
    QStringList texts;
    for (int row = 0; row < tree.rowCount(); ++row) {
        const QModelIndex folder = tree.index(row, 0);
        texts.append(folder.data().toString());
        for (int child = 0; child < tree.rowCount(folder); ++child) {
            const int file = tree.NodeOf(tree.index(child, 0, folder));
            texts.append(
                QString("  %1#%2").arg(tree.Nodes().Text(file)).arg(tree.Nodes().Image(file)));
        }
    }
    return texts;
}

QString MainWindow::tip(int folder) const {
    const QAbstractItemModel *model = tree()->model();
    return model->index(0, 0, model->index(folder, 0)).data(Qt::ToolTipRole).toString();
}

QStringList MainWindow::bold() const {
    QStringList texts;
    const QAbstractItemModel *model = tree()->model();
    const auto add = [&](const QModelIndex &node) {
        if (node.data(Qt::FontRole).value<QFont>().bold())
            texts.append(node.data().toString());
    };
    for (int folder = 0; folder < model->rowCount(); ++folder) {
        const QModelIndex parent = model->index(folder, 0);
        add(parent);
        for (int file = 0; file < model->rowCount(parent); ++file)
            add(model->index(file, 0, parent));
    }
    return texts;
}

QStringList MainWindow::boldEntries() const {
    QStringList texts;
    QFont bold = dropDown()->font();
    bold.setBold(true);
    for (int entry = 0; entry < dropDown()->count(); ++entry)
        if (dropDown()->itemData(entry, Qt::FontRole) == bold)
            texts.append(dropDown()->itemText(entry));
    return texts;
}

void MainWindow::returnTo(const QStringList &bold) {
    QWidget other;
    other.show();
    other.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&other));
    m_form.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return this->bold() == bold; }))
        << joined(this->bold()) << " instead of " << joined(bold);
}

void MainWindow::waitForLook() const {
    const auto *look = control<QTimer>("tmrLook");
    EXPECT_TRUE(QTest::qWaitFor([&] { return look == nullptr || !look->isActive(); }));
}

QStringList MainWindow::enabledButtons() const {
    QStringList names;
    const char *const buttons[] = {"cmdExtract", "cmdSaveChanges", "cmdCancel", "cmdEditFile",
                                   "cmdOpenFolder"};
    for (const char *name : buttons)
        if (button(name)->isEnabled())
            names.append(QString(name).mid(3));
    return names;
}

void MainWindow::pick(int entry) {
    dropDown()->showPopup();
    QAbstractItemView *list = dropDown()->view();
    QTest::keyClick(list, Qt::Key_Home);
    for (int step = 0; step < entry; ++step)
        QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(dropDown()->currentIndex(), entry);
    QCoreApplication::processEvents();
}

void MainWindow::pick(const QString &text) {
    const int entry = dropDown()->findText(text);
    ASSERT_GE(entry, 0) << text.toStdString();
    pick(entry);
}

void MainWindow::click(const char *name) const {
    ASSERT_TRUE(button(name)->isEnabled()) << name;
    QTest::mouseClick(button(name), Qt::LeftButton);
}

void MainWindow::clickFromOutside(const char *name) const {
    QWindow *handle = m_form.windowHandle();
    const QPointF at = button(name)->geometry().center();
    const auto post = [&](QEvent::Type type, Qt::MouseButtons held) {
        auto *event = new QMouseEvent(type, at, handle->mapToGlobal(at), Qt::LeftButton, held,
                                      Qt::NoModifier);
        QCoreApplication::postEvent(handle, event);
    };
    post(QEvent::MouseButtonPress, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
}

void MainWindow::typeFromOutside(int key) const {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        QCoreApplication::postEvent(m_form.windowHandle(),
                                    new QKeyEvent(type, key, Qt::NoModifier, " "));
}

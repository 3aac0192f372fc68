#include "tests/workspace/editWindow.h"

#include "config/modRegistry.h"

#include <QFileInfo>

void EditWindow::extract(const std::vector<ArchiveFile> &files) {
    makeArchive(archive(), files);
    window = std::make_unique<MainWindow>();
    window->pick("My Mod");
    click("cmdExtract");
}

QString EditWindow::program(const QString &name, const QByteArray &manner) {
    QString path = inRoot(name);
    QDir().mkpath(QFileInfo(path).path());
    EXPECT_TRUE(QFile::copy(ORVEL_STAND_IN, path));
    if (!manner.isEmpty())
        writeFile(path + ".manner", manner);
    return path;
}

void EditWindow::choose(const QString &value, const QString &path) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, path);
}

std::string EditWindow::startedAs(const QString &program) {
    // The file may exist before it can be opened.
    QFile written(program + ".started");
    if (!QTest::qWaitFor([&] { return written.exists() && written.open(QIODevice::ReadOnly); },
                         kPatience)) {
        ADD_FAILURE() << qPrintable(program) << " was not started";
        return {};
    }
    std::string line = written.readAll().toStdString();
    written.close();
    written.remove();
    return line;
}

bool EditWindow::started(const QString &program) {
    // Longer than a start takes.
    QTest::qWait(200);
    return QFile::exists(program + ".started.part") || QFile::exists(program + ".started");
}

QModelIndex EditWindow::node(const QString &folder, const QString &name) {
    const auto *tree = static_cast<const ArchiveTree *>(window->tree()->model());
    const ArchiveNodes &nodes = tree->Nodes();
    for (int i = 1; i <= nodes.Count(); ++i)
        if (nodes.HasChildren(i) ? name.isEmpty() && nodes.Text(i) == folder
                                 : nodes.Text(i) == name && nodes.Text(nodes.Parent(i)) == folder)
            return tree->IndexOf(i);
    ADD_FAILURE() << "no node " << qPrintable(folder) << " " << qPrintable(name);
    return {};
}

void EditWindow::select(const QString &folder, const QString &name) {
    window->tree()->setCurrentIndex(node(folder, name));
}

std::string EditWindow::boxes(int next) {
    std::string lines = said(*answers);
    answers.reset();
    answers.emplace(next);
    return lines;
}

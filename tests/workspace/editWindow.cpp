#include "tests/workspace/editWindow.h"

#include "config/modRegistry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

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
    const QAbstractItemModel *model = window->tree()->model();
    for (int i = 0; i < model->rowCount(); ++i) {
        const QModelIndex parent = model->index(i, 0);
        if (parent.data().toString() != folder)
            continue;
        if (name.isEmpty())
            return parent;
        for (int j = 0; j < model->rowCount(parent); ++j)
            if (const QModelIndex file = model->index(j, 0, parent); file.data() == name)
                return file;
    }
    ADD_FAILURE() << "no node " << qPrintable(folder) << " " << qPrintable(name);
    return {};
}

void EditWindow::select(const QString &folder, const QString &name) {
    window->tree()->setCurrentIndex(node(folder, name));
}

std::string EditWindow::boxes() {
    std::string said;
    for (; boxesSeen < answers->boxes().size(); ++boxesSeen) {
        const Answers::Box &box = answers->boxes()[boxesSeen];
        said += std::to_string(box.style) + ' ' + box.title.toStdString() + ": " +
                box.text.toStdString() + '\n';
    }
    return said;
}

void EditWindow::answer(int value) {
    answers.reset();
    answers.emplace(value);
    boxesSeen = 0;
}

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

QString EditWindow::program(const QString &name, const QByteArray &commands) {
    QString path = inRoot(name);
    QDir().mkpath(QFileInfo(path).path());
    writeFile(path, "#!/bin/sh\n"
                    "printf '%s\\0' \"$@\" > \"$0.part\"\n"
                    "for f; do :; done\n" +
                        commands + "\nmv \"$0.part\" \"$0.arguments\"\n");
    EXPECT_TRUE(
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    return path;
}

void EditWindow::choose(const QString &value, const QString &path) {
    RegSetString(kHkeyLocalMachine, QString::fromUtf16(kProgramsKey), value, path);
}

std::vector<std::string> EditWindow::arguments(const QString &program) {
    const QString written = program + ".arguments";
    if (!QTest::qWaitFor([&] { return QFile::exists(written); })) {
        ADD_FAILURE() << qPrintable(program) << " was not started";
        return {};
    }
    const std::string bytes = readFile(written).toStdString();
    QFile::remove(written);
    std::vector<std::string> list;
    for (std::size_t start = 0; start < bytes.size(); start += list.back().size() + 1)
        list.push_back(bytes.substr(start, bytes.find('\0', start) - start));
    return list;
}

bool EditWindow::started(const QString &program) {
    // What a start takes at most on a busy machine, as against never.
    QTest::qWait(200);
    return QFile::exists(program + ".part") || QFile::exists(program + ".arguments");
}

QModelIndex EditWindow::node(const QString &folder, const QString &name) {
    const QAbstractItemModel *model = window->tree()->model();
    for (int i = 0; i < model->rowCount(); ++i) {
        const QModelIndex parent = model->index(i, 0);
        if (parent.data().toString() != folder)
            continue;
        if (name.isEmpty())
            return parent;
        for (int j = 0; j < model->rowCount(parent); ++j) {
            if (const QModelIndex file = model->index(j, 0, parent); file.data() == name)
                return file;
        }
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

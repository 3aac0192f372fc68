#include "tests/support/archives.h"

#include "tests/support/tool.h"

#include <QFileInfo>
#include <QTemporaryFile>

#include <gtest/gtest.h>

namespace {

std::string runScript(const QStringList &arguments) {
    std::vector<std::string> words{ORVEL_PYTHON, "-IS", ORVEL_ARCHIVE_SCRIPT};
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    const ToolRun run = runTool(words);
    EXPECT_EQ(run.code, 0) << run.output;
    return run.output;
}

} // namespace

void makeArchive(const QString &path, const std::vector<ArchiveFile> &files) {
    QByteArray list;
    for (const ArchiveFile &file : files)
        list += file.name.toUtf8() + '\n' + QByteArray::number(file.attributes) + '\n' +
                QByteArray::number(file.bytes.size()) + '\n' + file.bytes;
    QTemporaryFile source;
    EXPECT_TRUE(source.open() && source.write(list) == list.size());
    source.close();
    runScript({"pack", source.fileName(), path});
}

void makeLargeArchive(const QString &path, int count, int folders) {
    runScript({"many", QString::number(count), QString::number(folders), path});
}

void makeBigArchive(const QString &path, int megabytes) {
    runScript({"noise", QString::number(megabytes), path});
}

QString dataArchive(const QString &name) {
    return QFileInfo(ORVEL_ARCHIVE_SCRIPT).path() + "/../data/archives/" + name + ".vl2";
}

std::map<QString, QByteArray> readArchive(const QString &path) {
    std::map<QString, QByteArray> files;
    for (const auto &[name, bytes] : filesOfListing(runScript({"read", path})))
        files[QString::fromStdString(name)] = QByteArray::fromStdString(bytes);
    return files;
}

#include "tests/support/archives.h"

#include "tests/support/tool.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <gtest/gtest.h>

namespace {

QByteArray runScript(const QStringList &arguments) {
    std::vector<std::string> words{"python3", "-IS", ORVEL_ARCHIVE_SCRIPT};
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    const ToolRun run = runTool(words);
    EXPECT_EQ(run.code, 0) << run.output;
    return QByteArray::fromStdString(run.output);
}

} // namespace

void makeArchive(const QString &path, const std::vector<ArchiveFile> &files) {
    QJsonArray list;
    for (const ArchiveFile &file : files)
        list.append(QJsonObject{{"name", file.name},
                                {"bytes", QString::fromLatin1(file.bytes.toBase64())},
                                {"attributes", file.attributes}});
    QTemporaryFile input;
    EXPECT_TRUE(input.open() && input.write(QJsonDocument(list).toJson()) > 0);
    input.close();
    runScript({"make", path, input.fileName()});
}

void makeLargeArchive(const QString &path, int count, int folders) {
    runScript({"large", path, QString::number(count), QString::number(folders)});
}

void makeBigArchive(const QString &path, int megabytes) {
    runScript({"big", path, QString::number(megabytes)});
}

std::map<QString, QByteArray> readArchive(const QString &path) {
    std::map<QString, QByteArray> files;
    const QJsonArray list = QJsonDocument::fromJson(runScript({"read", path})).array();
    for (const QJsonValue entry : list)
        files[entry["name"].toString()] =
            QByteArray::fromBase64(entry["bytes"].toString().toLatin1());
    return files;
}

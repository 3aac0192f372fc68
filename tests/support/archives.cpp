#include "tests/support/archives.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

QByteArray runScript(const QStringList &arguments, const QByteArray &input = {}) {
    QProcess process;
    process.start("python3", QStringList(ORVEL_ARCHIVE_SCRIPT) + arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(120000);
    EXPECT_TRUE(finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << process.readAllStandardError().constData();
    return process.readAllStandardOutput();
}

QJsonArray entriesOf(const QString &path) {
    return QJsonDocument::fromJson(runScript({"read", path})).array();
}

} // namespace

void makeArchive(const QString &path, const std::vector<ArchiveFile> &files) {
    QJsonArray list;
    for (const ArchiveFile &file : files)
        list.append(QJsonObject{{"name", file.name},
                                {"bytes", QString::fromLatin1(file.bytes.toBase64())},
                                {"attributes", file.attributes}});
    runScript({"make", path}, QJsonDocument(list).toJson());
}

void makeLargeArchive(const QString &path, int count, int folders) {
    runScript({"large", path, QString::number(count), QString::number(folders)});
}

void makeBigArchive(const QString &path, int megabytes) {
    runScript({"big", path, QString::number(megabytes)});
}

std::map<QString, QByteArray> readArchive(const QString &path) {
    std::map<QString, QByteArray> files;
    const QJsonArray list = entriesOf(path);
    for (const QJsonValue &entry : list)
        files[entry["name"].toString()] =
            QByteArray::fromBase64(entry["bytes"].toString().toLatin1());
    return files;
}

std::vector<QString> namesInArchive(const QString &path) {
    std::vector<QString> names;
    const QJsonArray list = entriesOf(path);
    for (const QJsonValue &entry : list)
        names.push_back(entry["name"].toString());
    return names;
}

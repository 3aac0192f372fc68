#include "tests/support/archives.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

namespace {

QByteArray runScript(const QStringList &arguments, const QByteArray &input = {}) {
    QTemporaryDir folder;
    const QString in = folder.filePath("in");
    const QString out = folder.filePath("out");
    QFile file(in);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(input) == input.size());
    file.close();
    EXPECT_EQ(exitCodeOf("python3", QStringList(ORVEL_ARCHIVE_SCRIPT) + arguments, in, out), 0);
    QFile written(out);
    EXPECT_TRUE(written.open(QIODevice::ReadOnly));
    return written.readAll();
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
    for (const QJsonValue entry : list)
        files[entry["name"].toString()] =
            QByteArray::fromBase64(entry["bytes"].toString().toLatin1());
    return files;
}

std::vector<QString> namesInArchive(const QString &path) {
    std::vector<QString> names;
    const QJsonArray list = entriesOf(path);
    for (const QJsonValue entry : list)
        names.push_back(entry["name"].toString());
    return names;
}

int exitCodeOf(const QString &program, const QStringList &arguments, const QString &in,
               const QString &out) {
    const auto quoted = [](QString text) {
        return QString(u'\'' + text.replace(u'\'', QStringLiteral("'\\''")) + u'\'');
    };
    QString line = program;
    for (const QString &argument : arguments)
        line += u' ' + quoted(argument);
    line += QStringLiteral(" <%1 >%2").arg(quoted(in), quoted(out));
    const int status = std::system(QFile::encodeName(line).constData());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

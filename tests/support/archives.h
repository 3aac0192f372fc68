#pragma once

#include "tests/support/files.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <vector>

// Archives written and read by Python's zipfile.

struct ArchiveFile {
    QString name; // as stored, "/" between components; a folder ends in "/"
    QByteArray bytes;
    int attributes = 0; // DOS attribute bits
};

void makeArchive(const QString &path, const std::vector<ArchiveFile> &files);

// `count` small files in `folders` folders.
void makeLargeArchive(const QString &path, int count, int folders);

// One file of incompressible bytes.
void makeBigArchive(const QString &path, int megabytes);

// The path of an archive of tests/data.
QString dataArchive(const QString &name);

// Name and content of each entry, every CRC checked. Fails the test if the archive is damaged.
std::map<QString, QByteArray> readArchive(const QString &path);

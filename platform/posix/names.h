#pragma once

#include <QByteArray>
#include <QString>

#include <dirent.h>

#include <memory>

// File names: conversion, listing and search in a folder.
namespace platform {

// The text of a stored name. Invalid UTF-8 becomes replacement characters, so that such a file is
// listed; findName finds it by that text.
QString nameText(const QByteArray &stored);

// The entries of one folder, without "." and "..".
class FolderEntries {
  public:
    // errno holds the reason if isOpen() is false.
    explicit FolderEntries(const QByteArray &path);

    bool isOpen() const { return m_stream != nullptr; }
    // The next entry, or null at the end.
    const dirent *next();

  private:
    struct Close {
        void operator()(DIR *stream) const { ::closedir(stream); }
    };
    std::unique_ptr<DIR, Close> m_stream;
};

// The stored name that matches a name: the name itself, else the name without trailing blanks, else
// either case-insensitively; "" if there is none. Of several that differ in case only, always the
// same one.
QByteArray findName(FolderEntries entries, const QByteArray &name);

// The name without trailing blanks.
QByteArray withoutTrailingBlanks(const QByteArray &name);

} // namespace platform

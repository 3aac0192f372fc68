#include "platform/files.h"

#include "platform/error.h"
#include "storage/pathText.h"

namespace platform {

QString fittedName(const QString &name, qsizetype added) {
    constexpr qsizetype kLongest = 255; // bytes, on most disks
    constexpr qsizetype kCut = 200;
    const QByteArray bytes = name.toUtf8();
    if (bytes.size() + added <= kLongest)
        return name;
    std::uint64_t hash = kHashStart;
    for (const char byte : bytes)
        hash = hashStep(hash, byte);
    QString cut = name;
    while (cut.toUtf8().size() > kCut || cut.back().isHighSurrogate())
        cut.chop(1);
    return cut + '~' + QString::number(hash, 16);
}

namespace {

// Writes the copy beside the target and renames it over the target.
Status replaceByCopy(const InputFile &source, std::uint64_t size, const Folder &folder,
                     const std::string &name) {
    NewFile file;
    Status status = file.create(folder);
    if (status.ok())
        status = file.copyFrom(source, 0, size);
    if (status.ok())
        status = file.copyProperties(source);
    if (status.ok())
        status = file.sync();
    return status.ok() ? file.commit(name, NewFile::Replace::Yes) : status;
}

} // namespace

void copyFile(const QString &source, const QString &target) {
    InputFile input;
    FileInfo info;
    if (const Status opened = input.open(storagePath(source), info); !opened.ok())
        raise(errorNumberOf(opened), source);
    Folder folder;
    std::string path;
    std::string name;
    if (!resolvePath(storagePath(target), path, name).ok() || !folder.open(path).ok())
        raise(ErrorNumber::PathNotFound, target);
    FileInfo old;
    if (folder.info(name, old).ok() && (old.kind != FileInfo::Kind::File || old.readOnly))
        raise(ErrorNumber::PathFileAccess, target);
    if (const Status done = replaceByCopy(input, info.size, folder, name); !done.ok())
        raise(errorNumberOf(done, ErrorNumber::PathFileAccess), target);
}

void makeFolder(const QString &path) {
    if (const Status made = makeOneFolder(storagePath(path)); !made.ok())
        raise(errorNumberOf(made, ErrorNumber::PathNotFound), path);
}

void removeFolder(const QString &path) {
    if (const Status removed = removeOneFolder(storagePath(path)); !removed.ok())
        raise(errorNumberOf(removed, ErrorNumber::PathNotFound), path);
}

} // namespace platform

#include "workspace/fileOnDisk.h"

#include "platform/packedFiles.h"
#include "storage/storage.h"

FileOnDisk::FileOnDisk(const QString &folder, const EntryVersion &version) {
    const std::string path = folder.toStdString() + '/' + version.path;
    platform::InputFile file;
    platform::FileInfo info;
    exists = file.open(path, info).ok();
    if (!exists)
        return;
    const QString name = QString::fromStdString(version.path);
    platform::FileInfo seen;
    seen.size = version.size;
    platform::PackedFiles wanted;
    wanted.add(name, seen, version.crc, INT64_MIN);
    same = wanted.hold(name, info, false, [&] { return &file; });
}

#include "storage/pathText.h"
#include "storage/storage.h"

#include <utility>

// The parts of Folder that are the same on all systems.
namespace platform {

namespace {

constexpr std::int64_t kTimeOfEveryDisk = 1'000'000'000'000'000'000; // in 2001

} // namespace

std::string Location::path() const {
    return below.empty() ? folder : joinPath(folder, below);
}

std::string Folder::pathOf(const std::string &name) const {
    return joinPath(m_path, name);
}

Folder::Folder(Folder &&other) noexcept
    : m_disk(other.m_disk.load()), m_handle(std::exchange(other.m_handle, -1)),
      m_path(std::move(other.m_path)) {}

Folder &Folder::operator=(Folder &&other) noexcept {
    if (this != &other) {
        close();
        m_disk = other.m_disk.load();
        m_handle = std::exchange(other.m_handle, -1);
        m_path = std::move(other.m_path);
    }
    return *this;
}

Status Folder::openFile(const std::string &name, InputFile &file, Links links) const {
    FileInfo info;
    return openFile(name, file, links, info);
}

Status Folder::newFileInfo(FileInfo &info) const {
    NewFile file;
    InputFile opened;
    FileInfo written;
    if (Status made = file.create(*this); !made.ok())
        return made;
    if (Status known = file.info(written); !known.ok())
        return known;
    static_cast<void>(file.setModified(kTimeOfEveryDisk));
    if (Status reopened = file.openWritten(opened); !reopened.ok())
        return reopened;
    Status status = opened.info(info);
    if (info.changed == info.modified)
        info.changed = INT64_MIN;
    info.modified = written.modified;
    return status;
}

Status Folder::openSame(const std::string &name, Links links, const FileInfo &info,
                        InputFile &file) const {
    FileInfo found;
    Status status = openFile(name, file, links, found);
    if (status.ok() && !sameFile(found, info))
        return {Failure::Busy, pathOf(name) + " was replaced by another program", pathOf(name)};
    return status;
}

} // namespace platform

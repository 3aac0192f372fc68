#include "storage/storage.h"

namespace platform {

Status Folder::newFileInfo(FileInfo &info) const {
    NewFile file;
    InputFile opened;
    if (Status made = file.create(*this); !made.ok())
        return made;
    if (Status reopened = file.openWritten(opened); !reopened.ok())
        return reopened;
    return opened.info(info);
}

Status Folder::openSame(const std::string &name, Links links, const FileInfo &info,
                        InputFile &file) const {
    FileInfo found;
    Status status = openFile(name, file, links, found);
    if (status.ok() && !sameFile(found, info))
        return {Failure::Busy, pathOf(name) + " was replaced meanwhile", pathOf(name)};
    return status;
}

} // namespace platform

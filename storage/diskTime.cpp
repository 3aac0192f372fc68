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

} // namespace platform

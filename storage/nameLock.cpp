#include "storage/storage.h"

namespace platform {

Status NameLock::hold(const Folder &folder, const std::string &name, const std::string &note,
                      std::string &holder) {
    holder.clear();
    Status status = acquire(folder, name, Content::Note, {}, {});
    if (status.ok() && isHeld())
        writeNote(note);
    InputFile file;
    if (status.is(Failure::Busy) && folder.openFile(m_lockFile, file).ok()) {
        char text[512];
        std::size_t size = 0;
        if (file.readAt(0, text, sizeof text, size).ok())
            holder.assign(text, size);
    }
    return status;
}

bool NameLock::isHeldIn(const Folder &folder) const {
    FileInfo held;
    FileInfo found;
    return isHeld() && m_file.info(held).ok() && folder.info(m_lockFile, found).ok() &&
           sameFile(held, found);
}

} // namespace platform

#include "storage/posix/disk.h"
#include "storage/posix/freeName.h"
#include "storage/posix/systemError.h"
#include "storage/storage.h"
#include "storage/temporary.h"

#include <cerrno>
#include <cstdio>

// The removal of a file that was checked.
namespace platform {

// A program that saves a file by a rename may hold the folder while its new file is written to the
// disk; a removal by name would wait and then remove the new file. So the file first gets a name
// that no other program knows. If it is not the one that was checked, it gets its own name again.
Status Folder::removeFileIf(const std::string &name, bool fresh,
                            const RemoveCheck &mayRemove) const {
    Status kept{Failure::Busy, pathOf(name) + " is kept", pathOf(name)};
    FileInfo info;
    Links links = Links::Refuse;
    const auto readInfo = [&](const std::string &of, FileInfo &found) {
        return fresh ? freshInfo(of, found, links) : this->info(of, found, links);
    };
    if (Status status = readInfo(name, info); !status.ok())
        return status;
    if (info.kind == FileInfo::Kind::Link)
        links = Links::Follow;
    if (links == Links::Follow && !readInfo(name, info).ok())
        return kept;
    InputFile file;
    const auto check = [&](const std::string &of) {
        file.close();
        const auto open = [&] { return openSame(of, links, info, file).ok() ? &file : nullptr; };
        const bool isHeld = mayRemove(info, open) && file.heldOffWriters();
        if (fresh)
            file.close(); // a server may keep a file that is open under another name
        return isHeld;
    };
    if (!check(name))
        return kept;
    const int folder = static_cast<int>(m_handle);
    const std::string aside = temporaryName();
    if (renameat(folder, name.c_str(), folder, aside.c_str()) != 0)
        return errnoStatus(errno, "cannot delete", pathOf(name));
    FileInfo now;
    const bool isThere = readInfo(aside, now).ok();
    const bool hasWriter = !file.heldOffWriters();
    bool isHeld = sameFile(now, info) && now.size == info.size && now.modified == info.modified;
    // It may be another file; or a disk gives a file a new number or time with a new name.
    if (isThere && !hasWriter && !isHeld) {
        info = now;
        isHeld = check(aside);
    }
    Status result = kept;
    if (isThere && !hasWriter && isHeld)
        result = removeFile(aside);
    if (result.ok())
        return result;
    // If the name is taken by now, both files stay.
    std::string back = name;
    for (int number = 1; renameToFree(disk(), folder, aside, back) != 0; ++number) {
        if (errno != EEXIST)
            return errnoStatus(errno, "cannot rename", pathOf(aside));
        back = keptName(name, number);
    }
    return result;
}

} // namespace platform

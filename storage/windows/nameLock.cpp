#include "storage/lockWait.h"
#include "storage/temporary.h"
#include "storage/windows/system.h"

namespace platform {

namespace {

constexpr auto kSharingViolation = static_cast<NTSTATUS>(0xC0000043);
constexpr auto kDeletePending = static_cast<NTSTATUS>(0xC0000056);

// Folds the case of all letters, not only of ASCII letters.
std::string foldedName(const std::string &name) {
    std::wstring folded = wideFromUtf8(name);
    CharLowerBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return utf8FromWide(folded);
}

} // namespace

// A file that no other program may open for deletion, as a lock needs it. The system deletes it
// with its handle, even if the process is killed.
Status NameLock::acquire(const Folder &folder, const std::string &name, Content content,
                         std::chrono::milliseconds wait, const KeepGoing &keepGoing) {
    release();
    m_lockFile = lockFileName(foldedName(name));
    const LockWait until(wait, keepGoing, folder.pathOf(name));
    Access access;
    access.rights =
        DELETE | FILE_READ_ATTRIBUTES | (content == Content::Note ? FILE_WRITE_DATA : 0U);
    access.disposition = FILE_OPEN_IF;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_DELETE_ON_CLOSE;
    access.share = content == Content::Note ? FILE_SHARE_READ : 0;
    Handle file;
    for (;;) {
        const NTSTATUS status = openAt(handleOf(folder.m_handle), m_lockFile, access, file);
        if (status >= 0) {
            m_file.m_handle = numberOf(file.release());
            return {};
        }
        const DWORD error = errorOf(status);
        if (status != kSharingViolation && status != kDeletePending) {
            const bool takesNoFile = error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT;
            return takesNoFile ? Status()
                               : errorStatus(error, "cannot lock a name in", folder.path());
        }
        if (Status waited = until.pause(); !waited.ok())
            return waited;
    }
}

Status NameLock::take(const Folder &folder, const std::string &name, std::chrono::milliseconds wait,
                      const KeepGoing &keepGoing) {
    return acquire(folder, name, Content::Empty, wait, keepGoing);
}

void NameLock::writeNote(const std::string &note) {
    OVERLAPPED start{};
    DWORD written = 0;
    WriteFile(handleOf(m_file.m_handle), note.data(), static_cast<DWORD>(note.size()), &written,
              &start);
}

void NameLock::release() {
    m_file.close();
}

} // namespace platform

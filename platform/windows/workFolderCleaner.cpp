#include "platform/workFolderCleaner.h"

#include "platform/windows/system.h"
#include "storage/windows/system.h"

#include <QStringList>

#include <functional>
#include <list>
#include <optional>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t kKeptOpen = 16;
constexpr auto kNotPacked = static_cast<NTSTATUS>(0xC0000043); // a sharing violation

QString plainPath(const QString &path) {
    QString text = path;
    return text.replace(u'/', u'\\');
}

// Without the blanks at its end, which the system ignores.
QString trimmedName(QString name) {
    while (name.endsWith(u' '))
        name.chop(1);
    return name;
}

bool isUsableName(const QString &name) {
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(u':') &&
           !name.contains(QChar(u'\0'));
}

// A name of a listing: the folder that it is in, relative to the work folder, and the file.
struct RelativeName {
    QString folder;
    std::string name;
};

std::optional<RelativeName> relativeName(const QString &path) {
    const QString text = plainPath(path);
    const qsizetype cut = text.lastIndexOf(u'\\');
    const QString name = trimmedName(text.sliced(cut + 1));
    if (!isUsableName(name))
        return {};
    return RelativeName{text.first(cut < 0 ? 0 : cut), name.toStdString()};
}

bool makeNormal(HANDLE folder, const std::string &name) {
    Access access;
    access.rights = FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    Handle file;
    FileInfo info;
    return openAt(folder, name, access, file) >= 0 && fileInfo(file.get(), info) == ERROR_SUCCESS &&
           info.kind == FileInfo::Kind::File && setOpenedAttributes(file.get(), 0) >= 0;
}

} // namespace

struct WorkFolderCleaner::State {
    struct Used {
        QString folder;
        Handle handle;
    };

    QString path;
    Handle root;
    std::list<Used> used; // the last one used first
    const PackedFiles *packed = nullptr;
    bool timesTell = false; // whether the disk's clock has not been set back since the save

    // Deletes a name of an open folder, which `file` leads to from the work folder.
    NTSTATUS deleteIn(HANDLE folder, const std::string &name, QStringView file) const {
        return packed == nullptr ? deleteAt(folder, name, FILE_NON_DIRECTORY_FILE)
                                 : deletePacked(folder, name, file);
    }
    NTSTATUS deletePacked(HANDLE folder, const std::string &name, QStringView file) const;

    void openRoot() {
        root = Handle(CreateFileW(wide(path), FILE_LIST_DIRECTORY | FILE_TRAVERSE | SYNCHRONIZE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    }

    // The folder's handle, or INVALID_HANDLE_VALUE where there is none inside the work folder.
    HANDLE open(const QString &given) {
        const QString folder = plainPath(given);
        if (folder.isEmpty() || !root.isOpen())
            return root.get();
        for (auto known = used.begin(); known != used.end(); ++known) {
            if (known->folder.compare(folder, Qt::CaseInsensitive) == 0) {
                used.splice(used.begin(), used, known);
                return known->handle.get();
            }
        }
        Handle current;
        if (openFolderAt(root.get(), "", current) < 0)
            return INVALID_HANDLE_VALUE;
        for (const QString &component : folder.split(u'\\', Qt::SkipEmptyParts)) {
            const QString name = trimmedName(component);
            if (name == u".")
                continue;
            Handle next;
            if (!isUsableName(name) || openFolderAt(current.get(), name.toStdString(), next) < 0)
                return INVALID_HANDLE_VALUE;
            current = std::move(next);
        }
        used.push_front({folder, std::move(current)});
        if (used.size() > kKeptOpen)
            used.pop_back();
        return used.front().handle.get();
    }

    // Lets go of a folder and of all in it: one that is open cannot always be removed.
    void close(const QString &given) {
        const QString folder = plainPath(given);
        used.remove_if([&](const Used &open) {
            return folder.isEmpty() || open.folder.compare(folder, Qt::CaseInsensitive) == 0 ||
                   open.folder.startsWith(folder + u'\\', Qt::CaseInsensitive);
        });
        if (folder.isEmpty())
            root.close();
    }
};

// By one handle, which lets nobody write meanwhile: the times of a file that is being written to
// may be those of before.
NTSTATUS WorkFolderCleaner::State::deletePacked(HANDLE folder, const std::string &name,
                                                QStringView file) const {
    Access access;
    access.rights = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    access.options = FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT;
    access.share = FILE_SHARE_READ | FILE_SHARE_DELETE;
    Handle opened;
    if (const NTSTATUS status = openAt(folder, name, access, opened); status < 0)
        return status;
    FileInfo info;
    if (fileInfo(opened.get(), info) != ERROR_SUCCESS)
        return kNotPacked;
    const bool isLink = info.kind == FileInfo::Kind::Link;
    Handle target;
    if (isLink && (!openInputAt(folder, name, name, true, target).ok() ||
                   fileInfo(target.get(), info) != ERROR_SUCCESS))
        return kNotPacked;
    const auto read = [&](void *data, std::size_t size, std::uint64_t offset) -> std::int64_t {
        FileInfo found;
        if (!target.isOpen() &&
            (!openInputAt(folder, name, name, false, target).ok() ||
             fileInfo(target.get(), found) != ERROR_SUCCESS || !sameFile(found, info)))
            return -1;
        std::size_t got = 0;
        return readHandleAt(target.get(), offset, data, size, got) == ERROR_SUCCESS
                   ? static_cast<std::int64_t>(got)
                   : -1;
    };
    return packed->hold(file, info, timesTell, std::ref(read)) ? deleteOpened(opened.get())
                                                               : kNotPacked;
}

WorkFolderCleaner::WorkFolderCleaner(const QString &workFolder)
    : m_workFolder(workFolder), m_state(std::make_unique<State>()) {
    m_state->path = longPath(workFolder);
    m_state->openRoot();
}

WorkFolderCleaner::~WorkFolderCleaner() = default;

void WorkFolderCleaner::deleteOnly(const PackedFiles &packed) {
    m_state->packed = &packed;
    m_state->timesTell = packed.isClockRunning(m_workFolder);
}

bool WorkFolderCleaner::clearAttributes(const QString &file) {
    const auto parts = relativeName(file);
    const HANDLE folder = parts ? m_state->open(parts->folder) : INVALID_HANDLE_VALUE;
    return folder != INVALID_HANDLE_VALUE && makeNormal(folder, parts->name);
}

bool WorkFolderCleaner::deleteFile(const QString &file) {
    const auto parts = relativeName(file);
    const HANDLE folder = parts ? m_state->open(parts->folder) : INVALID_HANDLE_VALUE;
    return folder != INVALID_HANDLE_VALUE && m_state->deleteIn(folder, parts->name, file) >= 0;
}

bool WorkFolderCleaner::deleteFilesIn(const QString &folder) {
    const HANDLE opened = m_state->open(folder);
    if (opened == INVALID_HANDLE_VALUE)
        return false;
    bool noneLeft = true;
    std::vector<std::string> names;
    const DWORD error =
        listOpened(opened, [&](const std::string &name, DWORD attributes, FileInfo::Kind) {
            constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
            if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                return;
            if ((attributes & kKept) != 0)
                noneLeft = false;
            else
                names.push_back(name);
        });
    for (const std::string &name : names) {
        const QString file = folder + u'\\' + QString::fromStdString(name);
        const NTSTATUS status = m_state->deleteIn(opened, name, file);
        if (status < 0 && errorOf(status) != ERROR_FILE_NOT_FOUND)
            noneLeft = false;
    }
    return error == ERROR_SUCCESS && noneLeft;
}

bool WorkFolderCleaner::removeFolder(const QString &folder) {
    m_state->close(folder);
    if (folder.isEmpty()) {
        const bool removed = RemoveDirectoryW(wide(m_state->path)) != FALSE;
        if (!removed)
            m_state->openRoot();
        return removed;
    }
    const auto parts = relativeName(folder);
    const HANDLE parent = parts ? m_state->open(parts->folder) : INVALID_HANDLE_VALUE;
    return parent != INVALID_HANDLE_VALUE &&
           deleteAt(parent, parts->name, FILE_DIRECTORY_FILE) >= 0;
}

} // namespace platform

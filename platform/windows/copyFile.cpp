#include "platform/files.h"
#include "platform/windows/system.h"

namespace platform {

namespace {

bool flush(const QString &path) {
    const HANDLE file = CreateFileW(wide(path), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool done = FlushFileBuffers(file) != FALSE;
    CloseHandle(file);
    return done;
}

// The file behind a link, so that the link stays.
QString linkTarget(const QString &path) {
    const HANDLE file = CreateFileW(wide(path), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return path;
    QString real(32768, QChar(0));
    const DWORD size = GetFinalPathNameByHandleW(file, reinterpret_cast<wchar_t *>(real.data()),
                                                 static_cast<DWORD>(real.size()), 0);
    CloseHandle(file);
    real.truncate(static_cast<qsizetype>(size));
    return size == 0 || size >= 32768 ? path : real;
}

void checkTarget(const QString &path, const QString &given) {
    const DWORD kind = GetFileAttributesW(wide(path));
    if (kind != INVALID_FILE_ATTRIBUTES &&
        (kind & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) != 0)
        raise(ErrorNumber::PathFileAccess, given);
}

QString temporaryBeside(const QString &path) {
    static int count = 0;
    const QString name = QStringLiteral(".orvel-copy-%1-%2")
                             .arg(GetCurrentProcessId(), 0, 16)
                             .arg(GetTickCount64() + static_cast<unsigned>(++count), 0, 16);
    return path.first(path.lastIndexOf(u'\\') + 1) + name;
}

} // namespace

// The copy is written beside the target and renamed over it, so that a copy that fails leaves the
// target as it was. It keeps the source's attributes and time.
void copyFile(const QString &source, const QString &target) {
    const QString from = checkedPath(source);
    const DWORD kind = GetFileAttributesW(wide(from));
    if (kind == INVALID_FILE_ATTRIBUTES)
        raise(numberFor(GetLastError()), source);
    if ((kind & FILE_ATTRIBUTE_DIRECTORY) != 0)
        raise(ErrorNumber::PathFileAccess, source);
    const QString to = linkTarget(checkedPath(target));
    checkTarget(to, target);

    const QString temporary = temporaryBeside(to);
    if (!CopyFileExW(wide(from), wide(temporary), nullptr, nullptr, nullptr,
                     COPY_FILE_FAIL_IF_EXISTS)) {
        const DWORD error = GetLastError();
        DeleteFileW(wide(temporary));
        if (error == ERROR_PATH_NOT_FOUND || error == ERROR_FILE_NOT_FOUND)
            raise(ErrorNumber::PathNotFound, target);
        raise(numberFor(error), source);
    }
    // A read-only file takes no writing handle to be flushed through, and no delete.
    SetFileAttributesW(wide(temporary), kind & ~DWORD{FILE_ATTRIBUTE_READONLY});
    const bool done =
        flush(temporary) && SetFileAttributesW(wide(temporary), kind) &&
        MoveFileExW(wide(temporary), wide(to), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    if (!done) {
        const DWORD error = GetLastError();
        SetFileAttributesW(wide(temporary), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(wide(temporary));
        raise(numberFor(error) == ErrorNumber::PermissionDenied ? ErrorNumber::PermissionDenied
                                                                : ErrorNumber::PathFileAccess,
              target);
    }
}

} // namespace platform

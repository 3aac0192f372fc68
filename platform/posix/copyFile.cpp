#include "platform/error.h"
#include "platform/files.h"
#include "platform/posix/dosAttributes.h"
#include "platform/posix/paths.h"
#include "storage/posix/descriptor.h"
#include "storage/posix/dosRecord.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <vector>

namespace platform {

namespace {

bool copyBytes(int from, int to) {
    std::vector<char> buffer(std::size_t{1} << 18U);
    while (true) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t wrote =
                ::write(to, buffer.data() + done, static_cast<std::size_t>(got - done));
            if (wrote < 0 && errno != EINTR)
                return false;
            done += wrote > 0 ? wrote : 0;
        }
    }
}

// The file behind a link, so that the link stays.
QByteArray linkTarget(const QByteArray &path) {
    QByteArray real = realPath(path);
    return real.isEmpty() ? path : real;
}

Descriptor openSource(const QByteArray &path, const QString &given, struct stat &info) {
    Descriptor source(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!source.isOpen())
        raise(errno == EACCES ? ErrorNumber::PermissionDenied : ErrorNumber::FileNotFound, given);
    if (::fstat(source.get(), &info) != 0 || !S_ISREG(info.st_mode))
        raise(ErrorNumber::PathFileAccess, given);
    return source;
}

void checkTarget(const QByteArray &path, const QString &given) {
    struct stat info = {};
    if (::stat(path.constData(), &info) == 0 &&
        (!S_ISREG(info.st_mode) || isReadOnly(info.st_mode)))
        raise(ErrorNumber::PathFileAccess, given);
}

} // namespace

// The copy is written beside the target and renamed over it, so that a copy that fails leaves the
// target as it was. It keeps the source's mode, attributes and time.
void copyFile(const QString &source, const QString &target) {
    const QByteArray from = resolveChecked(source);
    struct stat info = {};
    const Descriptor input = openSource(from, source, info);
    const QByteArray to = linkTarget(resolveChecked(target));
    checkTarget(to, target);

    QByteArray temporary = to.first(to.lastIndexOf('/') + 1) + ".orvel-copy-XXXXXX";
    const Descriptor output(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!output.isOpen()) {
        const bool noFolder = errno == ENOENT || errno == ENOTDIR;
        raise(noFolder ? ErrorNumber::PathNotFound : ErrorNumber::PathFileAccess, target);
    }
    const std::array<timespec, 2> times = {info.st_atim, info.st_mtim};
    const bool done =
        copyBytes(input.get(), output.get()) &&
        applyAttributes(temporary.constData(), info, storedBits(from.constData())) == 0 &&
        ::fchmod(output.get(), info.st_mode & 07777U) == 0 &&
        ::futimens(output.get(), times.data()) == 0 && ::fsync(output.get()) == 0 &&
        ::rename(temporary.constData(), to.constData()) == 0;
    if (!done) {
        ::unlink(temporary.constData());
        raise(ErrorNumber::PathFileAccess, target);
    }
}

} // namespace platform

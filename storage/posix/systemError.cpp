#include "storage/posix/systemError.h"

#include <cerrno>
#include <cstring>

namespace platform {

namespace {

Failure failureOf(int error) {
    switch (error) {
    case ENOENT:
        return Failure::NotFound;
    case EEXIST:
    case ENOTEMPTY:
        return Failure::Exists;
    case ENOTDIR:
    case EISDIR:
    case ELOOP:
    case ENXIO:
        return Failure::WrongKind;
    case EACCES:
    case EPERM:
    case EROFS:
        return Failure::Denied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Failure::Full;
    case ENAMETOOLONG:
    case EILSEQ:
    case EINVAL:
        return Failure::NameTooLong;
    case EWOULDBLOCK:
    case EBUSY:
    case ETXTBSY:
        return Failure::Busy;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
        return Failure::Resources;
    default:
        return Failure::Io;
    }
}

} // namespace

Status errnoStatus(int error, const char *what, const std::string &path) {
    return {failureOf(error), std::string(what) + " " + path + ": " + std::strerror(error), path};
}

} // namespace platform

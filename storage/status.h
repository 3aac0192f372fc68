#pragma once

#include <string>
#include <utility>

namespace platform {

// Kinds of errors.
enum class Failure {
    None,
    NotFound,    // no such file or folder
    Exists,      // a file or folder of that name exists
    WrongKind,   // a folder, a link or a device instead of a file, or the reverse
    Denied,      // the system does not permit it
    Full,        // no space on the disk, or the quota is exhausted
    NameTooLong, // the file system does not support such a name
    Busy,        // in use by another program
    Resources,   // memory, threads or file handles are exhausted
    Io,          // the device failed, or any other error of the system
    WrongFormat, // the content is of another format
    EndsEarly,   // the content ends early
    Damaged,     // the content contradicts itself
    Unsupported, // the content needs a feature that is not supported
    Password,    // a password is wrong or missing
    Unsafe,      // a name that may lead outside of a folder
    Cancelled,   // by the caller
    CannotOpen,  // a file cannot be opened or read, for a reason not listed above
    CannotCreate,
    CannotWrite,
    NothingMatched, // nothing has a given name
    Conflict,       // changed by others too, in another way
    NothingToDo     // everything is in the wanted state already
};

// The result of an operation. `message` is for the user: the operation, the file and the system's
// error text. `path` is the file. Both are empty on success, which allocates no memory.
struct [[nodiscard]] Status {
    Failure kind = Failure::None;
    std::string message;
    std::string path;

    Status() = default;
    Status(Failure failure, std::string text, std::string file = {})
        : kind(failure), message(std::move(text)), path(std::move(file)) {}

    bool ok() const { return kind == Failure::None; }
    bool is(Failure failure) const { return kind == failure; }
};

} // namespace platform

#pragma once

#include <string>
#include <utility>

namespace platform {

// Why something could not be done.
enum class Failure {
    None,
    NotFound,    // no such file or folder
    Exists,      // the name is taken
    WrongKind,   // a folder, a link or a device stands where a file should, or the reverse
    Denied,      // the system does not permit it
    Full,        // no room on the disk, or the quota is used up
    NameTooLong, // the file system takes no such name
    Busy,        // another program holds it
    Resources,   // no memory, threads or file handles to be had just now
    Io,          // the device failed, or anything else that the system reports
    NotArchive,  // not a zip archive
    EndsEarly,   // the archive lacks its end
    Damaged,     // the archive contradicts itself
    Unsupported, // a method or encryption that is not handled
    Password,    // the password is wrong or missing
    Unsafe,      // a name that may not be written
    Cancelled,   // the caller wanted it to end
    CannotOpen,  // a file cannot be opened or read, for a reason not listed above
    CannotCreate,
    CannotWrite,
    NothingMatched, // no file or entry has a given name
    NothingToDo     // everything is as it should be already
};

// How a step ended. `message` is for a person and names what was being done; `path` is the file it
// was about. Both are empty on success, which costs no memory.
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

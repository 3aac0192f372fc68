#pragma once

#include "storage/status.h"

#include <cstdint>

namespace ziplib {

using platform::Failure;
using platform::Status;

// The codes that the calls of both libraries return.
enum class ReturnCode : std::int32_t {
    Done = 0,
    Warnings = 1,
    Damaged = 2,
    SevereDamage = 3,
    NoArchive = 9,
    NothingMatched = 11,
    NothingToDo = 12,
    CannotWrite = 14,
    CannotCreate = 15,
    CannotOpen = 18,
    DiskFull = 50,
    EndsEarly = 51,
    Cancelled = 80,
    Unsupported = 81,
    NoPassword = 82,
};

// The code for a status. `otherwise` is the code for kinds that have none of their own.
ReturnCode returnCodeOf(const Status &status, ReturnCode otherwise);

// A status with the path in its message, and with `kind` in place of a kind that has no return code
// of its own. A success stays a success.
Status failure(const Status &status, Failure kind);

} // namespace ziplib

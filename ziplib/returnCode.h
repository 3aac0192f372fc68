#pragma once

#include <cstdint>

namespace ziplib {

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
    Conflict = 83,
};

} // namespace ziplib

#pragma once

namespace platform {

enum class Lock {
    Taken,
    Held, // by another descriptor
    None  // the disk has no locks
};

// Takes the lock that keeps all others out which ask for it, until the descriptor is closed,
// without waiting. A disk that locks only what may be written gets the descriptor opened for
// writing, too; where that is denied, the lock still shows whether another one holds it.
Lock tryLock(int descriptor);

} // namespace platform

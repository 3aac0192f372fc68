#pragma once

namespace platform {

enum class Lock {
    Taken,
    Held, // by another descriptor
    None  // the disk has no locks
};

// Takes an exclusive advisory lock without waiting; it ends when the descriptor is closed. If the
// disk locks only writable files, the descriptor is reopened for writing; without write permission
// the result still shows whether another process holds the lock.
Lock tryLock(int descriptor);

} // namespace platform

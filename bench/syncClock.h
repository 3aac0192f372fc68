#pragma once

namespace bench {

// Returns the milliseconds that this process has spent in fsync, fdatasync and syncfs.
double syncMilliseconds();

} // namespace bench

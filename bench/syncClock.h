#pragma once

namespace bench {

// Milliseconds that this process has spent in fsync, fdatasync and syncfs.
double syncMilliseconds();

} // namespace bench

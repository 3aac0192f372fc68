#pragma once

#include "storage/status.h"
#include "ziplib/returnCode.h"

namespace ziplib {

using platform::Failure;
using platform::Status;

// The code for a status. `otherwise` is the code for kinds that have none of their own.
ReturnCode returnCodeOf(const Status &status, ReturnCode otherwise);

// A status with the path in its message, and with `kind` in place of a kind that has no return code
// of its own. A success stays a success.
Status failure(const Status &status, Failure kind);

} // namespace ziplib

#pragma once

#include "storage/status.h"
#include "ziplib/common/outcome.h"

namespace ziplib {

// What a failed step means for the caller: `usual` is the code where the failure's kind has none of
// its own (a full disk, an archive that ends early, ...). Ok gives an ok outcome.
Outcome failure(const platform::Status &status, ReturnCode usual);

} // namespace ziplib

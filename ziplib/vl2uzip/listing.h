#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/nameFilter.h"

namespace ziplib {

// Reports every entry that the filter accepts to the caller, in stored order, folders included.
void listEntries(const Directory &directory, NameFilter &filter, Caller &caller,
                 CallResult &result);

// Warns about each wanted name that matched nothing; the result is NothingMatched if none did.
void reportUnmatched(const NameFilter &filter, bool anyMatched, Caller &caller, CallResult &result);

} // namespace ziplib

#pragma once

#include "ziplib/format/directory.h"
#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/nameFilter.h"

namespace ziplib {

// Tells the caller every entry that the filter accepts, in stored order, folders included.
void listEntries(const Directory &directory, NameFilter &filter, Caller &caller,
                 CallResult &outcome);

// Says which of the given names fitted nothing, and whether any did.
void reportUnmatched(const NameFilter &filter, bool anyMatched, Caller &caller,
                     CallResult &outcome);

} // namespace ziplib

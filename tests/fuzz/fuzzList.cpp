// Any bytes as an archive: the listing ends with a known code and is the same twice.

#include "fuzz/fuzzFolder.h"

#include <cstdlib>
#include <set>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static fuzz::Folder folder;
    static const std::set<std::int32_t> known{0, 1, 2, 3, 9, 11, 50, 51, 80, 81, 82};
    const std::string archive = folder.reset("a.vl2", data, size);
    const fuzz::Listing first = fuzz::list(archive);
    if (!known.contains(first.first) || fuzz::list(archive) != first)
        std::abort();
    folder.expectOnly({"a.vl2"});
    return 0;
}

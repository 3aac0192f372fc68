// Any bytes as an archive: the listing ends with a known code and is the same twice.

#include "tests/fuzz/fuzzCall.h"

#include <set>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const std::set<std::int32_t> known{0, 1, 2, 3, 9, 11, 50, 51, 80, 81, 82};
    static const TestFolder folder;
    const std::string archive = folder / "a.vl2";
    writeFile(archive, {data, data + size});
    UnzipCall first;
    UnzipCall second;
    const std::int32_t code = first.list(archive);
    fuzz::demand(known.contains(code), "a known code");
    fuzz::demand(second.list(archive) == code && second.listed == first.listed, "the same twice");
    fuzz::demand(namesIn(folder.path()).size() == 1, "nothing is left behind");
    return 0;
}

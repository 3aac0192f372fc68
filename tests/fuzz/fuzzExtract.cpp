// Any bytes as an archive: what is extracted stays below its folder, leaves no temporaries, and
// the archive is as it was.

#include "tests/fuzz/fuzzCall.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const TestFolder folder;
    const std::string archive = folder / "a.vl2";
    const fs::path target = folder / "outer/inner";
    writeFile(archive, {data, data + size});
    fs::create_directories(target);
    fuzz::extract(archive, target);
    for (const auto &item : fs::recursive_directory_iterator(folder.path())) {
        const fs::path &path = item.path();
        const bool below = path.string().starts_with(target.string() + "/");
        fuzz::demand(below || path == archive || path == target || path == target.parent_path(),
                     path.string() + " lies below the target");
        fuzz::demand(!item.is_symlink() && path.extension() != ".part",
                     path.string() + " is no link and no temporary");
    }
    fuzz::demand(readFile(archive) == std::string(data, data + size), "the archive is as it was");
    return 0;
}

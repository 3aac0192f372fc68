// Any bytes as an archive: what is extracted stays below its folder, leaves no temporaries, and
// the archive is as it was.

#include "fuzz/fuzzFolder.h"

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static fuzz::Folder folder;
    const std::string archive = folder.reset("a.vl2", data, size);
    fs::create_directories(folder.path() + "/outer/inner");
    fuzz::extract(archive, folder.path() + "/outer/inner");
    folder.expectOnly({"a.vl2", "outer"});
    for (const fs::directory_entry &entry : fs::directory_iterator(folder.path() + "/outer")) {
        if (entry.path().filename() != "inner")
            std::abort();
    }
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder.path())) {
        if (entry.is_symlink() || entry.path().extension() == ".part")
            std::abort();
    }
    if (folder.read("a.vl2") != std::string(reinterpret_cast<const char *>(data), size))
        std::abort();
    return 0;
}

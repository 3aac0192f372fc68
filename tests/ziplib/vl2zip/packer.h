#pragma once

#include "tests/support/files.h"
#include "ziplib/vl2zip.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

// Calls the library as the program does, and reads the archives with other tools.
namespace packer {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, std::string>>; // name and content, in order

// One call, with the program's defaults.
struct Call {
    fs::path archive;
    std::string root;
    Names patterns{"*"};
    ZPOPT options{};
    std::string password;                                   // "" declines
    std::optional<std::map<std::string, std::string>> base; // content by path
    Names unwritten;                                        // of the base, without a file
    // May change a version of the base, and the call.
    std::function<void(Call &call, ZPVERSION &version)> onVersion;
    // Non-zero stops the call at this file.
    std::function<std::int32_t(const std::string &name)> onFile;

    Call(fs::path zip, const fs::path &folder) : archive(std::move(zip)), root(folder.string()) {
        options.fNoDirEntries = 1;
        options.fRecurse = 2;
    }
};

struct Result {
    std::int32_t code = -1;
    Names messages;
    Names files;                            // as passed to the service callback
    std::map<std::string, ZPPACKED> packed; // by path; the path pointers in the records are invalid
    Names conflicts;
    int passwordsAsked = 0;

    std::string last() const { return messages.empty() ? "" : messages.back(); }
    std::string all() const;
};

Result run(Call call);

// Bytes that do not compress, the same for the same seed.
std::string noise(std::size_t size, unsigned seed = 1);

// The output of tests/support/archives.py with these arguments. Expects this exit code.
std::string judge(const std::vector<fs::path> &arguments, int code = 0);
// Expects that zipfile, 7-Zip and bsdtar read every entry.
inline void check(const fs::path &archive) {
    judge({"check", archive});
}
// One line for each entry; see archives.py.
Names entries(const fs::path &archive);
Names names(const fs::path &archive);
Files files(const fs::path &archive);
std::string content(const fs::path &archive, const std::string &name);
// Names of temporary files in a folder and below.
Names temporaries(const fs::path &folder);

// A work folder and the name of an archive, in a folder that exists.
class Pack : public testing::Test {
  protected:
    TestFolder folder;
    fs::path base = folder / "base";
    fs::path archive = base / "classic.vl2";
    fs::path work = folder / "work";

    void SetUp() override { fs::create_directories(base); }
    Call call() const { return {archive, work}; }
    void make(const std::string &recipe) {
        judge({"make", recipe, archive});
        writeFile(folder / "old.vl2", readFile(archive));
    }
};

} // namespace packer

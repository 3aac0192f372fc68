#pragma once

#include "tests/support/files.h"
#include "ziplib/vl2zip.h"

#include <cstdint>
#include <functional>
#include <map>

// Calls the library as the program does, and asks other tools about what comes of it.
namespace packer {

namespace fs = std::filesystem;

// One call, with what the program sets by default.
struct Call {
    fs::path archive;
    std::string root;
    std::vector<std::string> patterns{"*"};
    ZPOPT options{};
    std::string password; // "" is declined
    // Non-zero stops the call at this file.
    std::function<std::int32_t(const std::string &name)> onFile;

    Call(fs::path zip, const fs::path &folder);
};

struct Result {
    std::int32_t code = -1;
    std::vector<std::string> messages;
    std::vector<std::string> files;         // as given to the service callback
    std::map<std::string, ZPPACKED> packed; // by path; the paths in the records are gone
    std::int64_t longestGap = 0;            // milliseconds between two callbacks
    std::int64_t took = 0;                  // milliseconds
    int passwordsAsked = 0;

    std::string last() const { return messages.empty() ? "" : messages.back(); }
    std::string all() const;
};

Result run(Call call);

// Bytes that do not compress, always the same.
std::string noise(std::size_t size, unsigned seed = 1);

struct Judgement {
    bool ok = false;
    std::string output;
    explicit operator bool() const { return ok; }
};
// Runs the judge with these arguments.
Judgement judge(const std::vector<fs::path> &arguments);
// The lines of the judge's list.
std::vector<std::string> entries(const fs::path &archive);
// Names of the entries, in order.
std::vector<std::string> names(const fs::path &archive);
std::string content(const fs::path &archive, const fs::path &name);
// Names in a folder of reserved temporaries.
std::vector<std::string> temporaries(const fs::path &folder);

} // namespace packer

#pragma once

#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline void demand(bool condition, const std::string &what) {
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", what.c_str());
        std::abort();
    }
}

// Extracts everything; answers each request for a password with that of the seeds. The code.
inline std::int32_t extract(const std::string &archive, const std::filesystem::path &target) {
    UnzipCall call;
    call.passwords.assign(1000, "secret");
    return call.extract(archive, target);
}

} // namespace fuzz

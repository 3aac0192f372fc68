#pragma once

#include "ziplib/vl2uzip.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// A stand-in for vl2uzip that keeps what it was given and does what a test tells it to.
struct FakeUnzip {
    using Text = std::optional<std::string>; // none for a null pointer

    struct Call {
        std::int32_t includeCount = 0;
        std::int32_t excludeCount = 0;
        std::vector<Text> include; // all 1024 slots
        std::vector<Text> exclude;
        DCL options{}; // its texts are in the two that follow
        Text zipFile;
        Text folder;
        USERFUNCTIONS functions{};
    };
    std::vector<Call> calls;
    // Runs inside the call and gives its code; unset: 0.
    std::function<std::int32_t(USERFUNCTIONS &)> script;

    std::int32_t missing = 0; // what is answered

    UzpVer2 askedVersion{};
    UzpVer2 version{}; // what is answered
};

extern "C" FakeUnzip *fakeUnzipState();

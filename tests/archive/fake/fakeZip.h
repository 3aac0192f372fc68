#pragma once

#include "ziplib/vl2zip.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// A stand-in for vl2zip that keeps what it was given and does what a test tells it to.
struct FakeZip {
    using Text = std::optional<std::string>; // none for a null pointer

    struct Call {
        ZPOPT options{};
        Text date;
        Text rootDir;
        Text tempDir;
        std::int32_t count = 0;
        Text zipFile;
        std::vector<Text> names; // all 1024 slots
    };
    std::vector<Call> calls;        // one for each ZpArchive
    std::vector<std::string> order; // the functions called
    // Runs inside ZpArchive and gives its code; unset: 0.
    std::function<std::int32_t(ZIPUSERFUNCTIONS &)> script;

    ZIPUSERFUNCTIONS *functions = nullptr;
    VL2ZIP_PACKED packed = nullptr;
    ZPOPT *options = nullptr;
};

extern "C" FakeZip *fakeZipState();

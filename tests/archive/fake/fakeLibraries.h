#pragma once

#include "ziplib/vl2uzip.h"
#include "ziplib/vl2zip.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Stand-ins for the companion libraries: each records its calls and runs a script of the test.

using Text = std::optional<std::string>; // none for a null pointer

struct FakeUnzip {
    struct Call {
        std::int32_t includeCount = 0;
        std::int32_t excludeCount = 0;
        std::vector<Text> include; // all 1024 slots
        std::vector<Text> exclude;
        DCL options{}; // its texts are in the two that follow
        Text zipFile;
        Text folder;
    };
    std::vector<Call> calls;
    // Runs inside the call and returns its code; unset: 0.
    std::function<std::int32_t(USERFUNCTIONS &)> script;
    std::int32_t missing = 0; // the count that the library returns
    UzpVer2 version{};        // the version that the library returns
};

struct FakeZip {
    struct Call {
        ZPOPT options{};
        Text rootDir;
        std::int32_t count = 0;
        Text zipFile;
        std::vector<Text> names; // all 1024 slots
    };
    std::vector<Call> calls;        // one for each ZpArchive
    std::vector<std::string> order; // the functions called
    // Runs inside ZpArchive and returns its code; unset: 0.
    std::function<std::int32_t(ZIPUSERFUNCTIONS &)> script;

    ZIPUSERFUNCTIONS *functions = nullptr;
    VL2ZIP_PACKED packed = nullptr;
    ZPOPT *options = nullptr;
};

// Exported by both stand-ins; each has a state of its own.
extern "C" VL2UZIP_API FakeUnzip *fakeUnzipState();
extern "C" VL2ZIP_API FakeZip *fakeZipState();

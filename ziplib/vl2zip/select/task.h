#pragma once

#include "ziplib/common/buffer.h"
#include "ziplib/common/outcome.h"
#include "ziplib/vl2zip/write/pack.h"

#include <cstddef>
#include <string_view>

namespace ziplib {

inline constexpr std::size_t kNoEntry = static_cast<std::size_t>(-1);

// One file that the call is about, and what becomes of it.
struct Task {
    enum class Verdict {
        Pack,          // its bytes go into the archive
        Same,          // its entry holds these very bytes already
        Archive,       // it is the archive itself
        NotNewer,      // its entry holds other bytes and is to be replaced by newer files only
        Hidden,        // a hidden or system file that is new and left out
        HiddenChanged, // the same, and its entry holds other bytes
        CutOff,        // a part of its entry that nobody edited
    };

    std::size_t file = 0;         // in the scan; a folder where `folder`
    std::size_t entry = kNoEntry; // in the old directory
    std::string_view path;        // the path that it has in the archive; kept by the scan
    bool folder = false;          // an entry for a folder
    bool timeTells = false;       // the file has its entry's time
    bool compared = false;        // whether its verdict is found
    Verdict verdict = Verdict::Pack;
    std::uint8_t attributes = 0; // DOS attributes
    bool text = false;           // its entry is marked as a text, and it still is one
    Packing packing;
    Bytes data; // until it is written
    Outcome outcome;
};

} // namespace ziplib

#pragma once

#include "ziplib/vl2uzip.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ziplib {

// The parameters of one call. Texts are UTF-8.
struct Request {
    enum class Work { List, Test, Extract };

    Work work = Work::Extract;
    std::string archive;
    std::string target;
    std::vector<std::string> wanted;
    std::vector<std::string> unwanted;
    bool onlyNewer = false;
    bool blanksToUnderscores = false;
    bool replaceAll = false;
    bool makeFolders = false;
    bool convertLineEnds = false;
    bool ignoreCase = false;
};

Request makeRequest(const DCL &options, std::int32_t wantedCount, char **wanted,
                    std::int32_t unwantedCount, char **unwanted);

} // namespace ziplib

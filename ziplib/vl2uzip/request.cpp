#include "ziplib/vl2uzip/request.h"

#include "ziplib/common/interfaceText.h"

namespace ziplib {

namespace {

std::vector<std::string> names(std::int32_t count, char **table) {
    std::vector<std::string> texts;
    for (std::int32_t i = 0; table != nullptr && i < count; ++i)
        if (table[i] != nullptr)
            texts.push_back(fromProgram(table[i]));
    return texts;
}

} // namespace

Request makeRequest(const DCL &options, std::int32_t wantedCount, char **wanted,
                    std::int32_t unwantedCount, char **unwanted) {
    Request request;
    if (options.nvflag != 0)
        request.work = Request::Work::List;
    else if (options.ntflag != 0)
        request.work = Request::Work::Test;
    request.archive = fromProgram(options.lpszZipFN);
    request.target = fromProgram(options.lpszExtractDir);
    request.wanted = names(wantedCount, wanted);
    request.unwanted = names(unwantedCount, unwanted);
    request.onlyNewer = options.ExtractOnlyNewer != 0;
    request.blanksToUnderscores = options.SpaceToUnderscore != 0;
    // Otherwise the program is asked, whatever PromptToOverwrite says.
    request.replaceAll = options.noflag != 0;
    request.makeFolders = options.ndflag != 0;
    request.convertLineEnds = options.naflag != 0;
    request.ignoreCase = options.C_flag != 0;
    return request;
}

} // namespace ziplib

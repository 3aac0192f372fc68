#include "storage/storage.h"

namespace platform {

std::string Location::path() const {
    if (below.empty())
        return folder;
    std::string whole = folder;
    if (!whole.empty() && whole.back() != '/' && whole.back() != '\\')
        whole += '/';
    return whole + below;
}

} // namespace platform

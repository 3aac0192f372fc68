#pragma once

#include "storage/status.h"

#include <string>

namespace platform {

// The status for an errno: "<what> <path>: <the system's words>".
Status errnoStatus(int error, const char *what, const std::string &path);

} // namespace platform

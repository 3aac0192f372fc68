#pragma once

#include <cstdint>
#include <filesystem>

namespace bench {

struct TreeRead {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

// Reads each file below `root` completely, with `threads` threads: the lower bound for comparing
// the contents of a work folder. Throws std::runtime_error if a file cannot be read.
TreeRead readTree(const std::filesystem::path &root, unsigned threads);

} // namespace bench

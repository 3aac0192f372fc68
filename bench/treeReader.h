#pragma once

#include <cstdint>
#include <filesystem>

namespace bench {

struct TreeRead {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

// Reads every file below `root` whole, with `threads` threads: what proving the contents of a work
// folder costs at the very least. Throws std::runtime_error where a file cannot be read.
TreeRead readTree(const std::filesystem::path &root, unsigned threads);

} // namespace bench

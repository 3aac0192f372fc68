#pragma once

#include <cstddef>

namespace platform {

// From here on, memory is taken by allocateLarge().
inline constexpr std::size_t kLargeMemory = 4U << 20U;

// Takes memory in the largest pages that the system offers: the first use of a page is a call of
// the system, which may take longer than filling it. Raises std::bad_alloc.
void *allocateLarge(std::size_t bytes);
void freeLarge(void *memory) noexcept;

// From now on, large memory that the process frees goes back to the system at once, where it would
// otherwise stay with the process in pieces.
void returnFreedMemory();

} // namespace platform

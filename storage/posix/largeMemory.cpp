#include "storage/largeMemory.h"

#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sys/mman.h>

namespace platform {

namespace {

constexpr std::size_t kHugePage = 2U << 20U;

} // namespace

void *allocateLarge(std::size_t bytes) {
    void *const memory = std::aligned_alloc(kHugePage, (bytes + kHugePage - 1) & ~(kHugePage - 1));
    if (memory == nullptr)
        throw std::bad_alloc();
    // Only whole huge pages: of a part of one, the rest would take memory.
    static_cast<void>(madvise(memory, bytes & ~(kHugePage - 1), MADV_HUGEPAGE));
    return memory;
}

void freeLarge(void *memory) noexcept {
    std::free(memory);
}

// Without it, the first large block that is freed raises the limit for blocks of the heap to its
// size.
void returnFreedMemory() {
    static_cast<void>(mallopt(M_MMAP_THRESHOLD, static_cast<int>(kLargeMemory)));
}

} // namespace platform

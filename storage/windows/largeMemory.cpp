#include "storage/largeMemory.h"

#include <new>

namespace platform {

// Large pages need a privilege that users do not have.
void *allocateLarge(std::size_t bytes) {
    return ::operator new(bytes);
}

void freeLarge(void *memory) noexcept {
    ::operator delete(memory);
}

// The system's heap does that.
void returnFreedMemory() {}

} // namespace platform

#pragma once

#include "storage/largeMemory.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace ziplib {

// Leaves new elements uninitialised: buffers are filled by reading. Takes large ones in large
// pages.
template<typename T>
struct UninitialisedAllocator : std::allocator<T> {
    template<typename U>
    struct rebind {
        using other = UninitialisedAllocator<U>;
    };
    T *allocate(std::size_t count) {
        return isLarge(count) ? static_cast<T *>(platform::allocateLarge(count * sizeof(T)))
                              : std::allocator<T>::allocate(count);
    }
    void deallocate(T *at, std::size_t count) {
        if (isLarge(count))
            platform::freeLarge(at);
        else
            std::allocator<T>::deallocate(at, count);
    }
    template<typename U>
    void construct(U *at) {
        ::new (static_cast<void *>(at)) U;
    }
    template<typename U, typename... Arguments>
    void construct(U *at, Arguments &&...arguments) {
        ::new (static_cast<void *>(at)) U(std::forward<Arguments>(arguments)...);
    }

  private:
    static bool isLarge(std::size_t count) { return count >= platform::kLargeMemory / sizeof(T); }
};

// A buffer of bytes whose new part is not initialised.
using Bytes = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;

// Gives a buffer that is used again and again at least `size` bytes; what it held is lost.
inline std::uint8_t *reserve(Bytes &buffer, std::size_t size) {
    if (buffer.size() < size) {
        Bytes().swap(buffer); // before the new memory is taken
        buffer.resize(size);
    }
    return buffer.data();
}

// Frees a buffer of more than `kept` bytes.
inline void shrink(Bytes &buffer, std::size_t kept) {
    if (buffer.capacity() > kept)
        Bytes().swap(buffer);
}

} // namespace ziplib

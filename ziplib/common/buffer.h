#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace ziplib {

// Leaves what it makes uninitialised: buffers are about to be read into.
template<typename T>
struct UninitialisedAllocator : std::allocator<T> {
    template<typename U>
    struct rebind {
        using other = UninitialisedAllocator<U>;
    };
    template<typename U>
    void construct(U *at) {
        ::new (static_cast<void *>(at)) U;
    }
    template<typename U, typename... Arguments>
    void construct(U *at, Arguments &&...arguments) {
        ::new (static_cast<void *>(at)) U(std::forward<Arguments>(arguments)...);
    }
};

using Bytes = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;

} // namespace ziplib

#pragma once

#include <cstddef>
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

// Bytes reserved for one piece of work, not initialised, kept from one use to the next.
class Buffer {
  public:
    // Room for at least `size` bytes; what it held is lost where it must grow.
    std::uint8_t *reserve(std::size_t size) {
        if (size > m_capacity || !m_data) {
            m_data.reset();
            m_capacity = 0;
            m_data.reset(new std::uint8_t[size]);
            m_capacity = size;
        }
        return m_data.get();
    }
    std::uint8_t *data() { return m_data.get(); }
    const std::uint8_t *data() const { return m_data.get(); }
    std::size_t capacity() const { return m_capacity; }
    // Gives back what is more than `keep` bytes.
    void shrink(std::size_t keep) {
        if (m_capacity > keep) {
            m_data.reset();
            m_capacity = 0;
        }
    }

  private:
    std::unique_ptr<std::uint8_t[]> m_data;
    std::size_t m_capacity = 0;
};

using Bytes = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;

} // namespace ziplib
